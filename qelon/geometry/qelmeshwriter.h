#pragma once
// Fills a mesh's store and one new index list straight through their arrays:
// the generators of large shapes write millions of points, where the
// per-point setters would cost more than the geometry.
#include <GL/gl.h>

#include <cstdint>

#include "qelon/geometry/qelprimitiveobj.h"

class TQelMeshWriter {
public:
  // Appends a list of the GL mode to obj; the counts are first guesses, the
  // arrays grow when they are passed.
  TQelMeshWriter(TQelPrimitiveObj* obj, int32_t type, int32_t points, int32_t indices);
  // Sets the final counts.
  ~TQelMeshWriter();
  TQelMeshWriter(const TQelMeshWriter&) = delete;
  TQelMeshWriter& operator=(const TQelMeshWriter&) = delete;

  int32_t PointCount() const { return count_; }
  int32_t Point(const TQelMathVector& p, const TQelMathVector& n, double s, double t);
  // Marks the point as one that moves with the others at its position, so
  // that seams and poles stay closed when a point is edited.
  void Link(int32_t i);
  void Index(int32_t i);
  void Triangle(int32_t a, int32_t b, int32_t c) {
    Index(a);
    Index(b);
    Index(c);
  }

  // A grid of (nu + 1) x (nv + 1) points, row by row (v outer), from
  // at(u, v, position, normal, s, t) with s = u / nu and t = v / nv preset;
  // returns the number of its first point.
  template <class At>
  int32_t Grid(int32_t nu, int32_t nv, At at) {
    const int32_t first = count_;
    Reserve(count_ + (nu + 1) * (nv + 1), 0);
    for (int32_t v = 0; v <= nv; ++v)
      for (int32_t u = 0; u <= nu; ++u) {
        TQelMathVector p, n;
        double s = double(u) / nu, t = double(v) / nv;
        at(u, v, p, n, s, t);
        Point(p, n, s, t);
      }
    return first;
  }
  // The triangles of such a grid, two a cell, facing the side that
  // d(position)/du x d(position)/dv points to. A row whose points all stand
  // at one place (a pole, a cone's tip) gives one triangle a cell; its
  // points and the grid's seam points (u = 0 and u = nu when closedU) are
  // linked.
  // The grid's rows: the first / last standing at one place, and whether
  // the grid closes round u (seam columns at one place) or round v (first
  // and last rows at one place).
  struct TGridRows {
    bool firstIsPoint = false, lastIsPoint = false, closedU = false, closedV = false;
  };
  void GridTriangles(int32_t first, int32_t nu, int32_t nv, TGridRows rows);
  // A whole grid shape: one GL_TRIANGLES list over one grid.
  template <class At>
  static void AddGrid(TQelPrimitiveObj* obj, int32_t nu, int32_t nv, TGridRows rows, At at) {
    TQelMeshWriter mesh(obj, GL_TRIANGLES, (nu + 1) * (nv + 1),
                        3 * GridTriangleCount(nu, nv, rows.firstIsPoint, rows.lastIsPoint));
    mesh.GridTriangles(mesh.Grid(nu, nv, at), nu, nv, rows);
  }
  // The triangles GridTriangles makes.
  static int32_t GridTriangleCount(int32_t nu, int32_t nv, bool firstRowIsPoint, bool lastRowIsPoint);

private:
  void Reserve(int32_t points, int32_t indices);

  TQelPrimitivePoints* points_;
  TQelPrimitiveArray* list_;
  int32_t count_ = 0;
  int32_t indexCount_ = 0;
};

#pragma once
// Mesh algorithms over a vertex store and index lists, free of any object
// around them: the coincidence search, vertex normals, texture-coordinate
// generation, open edges, editing (split, invert, free points), extrusion
// and relief. The mesh object calls them and decides what to signal; none
// of them raises a change signal of its own except through the store and
// list setters they use (the caller holds those back when it wants).
//
// Point numbers outside the store are ignored: faces with such a corner
// count for nothing, and nothing is read or written past Count.
#include <GL/gl.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <vector>

#include "qelon/geometry/qelprimclasses.h"
#include "qelon/math/qelmath.h"

class TBitmap;

// An edge from point a to point b, in the direction its face runs.
struct TQelEdge {
  int32_t a = -1, b = -1;
  bool operator==(const TQelEdge&) const = default;
};
using TQelEdgeArray = std::vector<TQelEdge>;

// The index lists of one mesh, in drawing order.
using TQelPrimitiveArrays = std::span<TQelPrimitiveArray* const>;

// GL_TRIANGLES up to GL_POLYGON: the kinds that draw faces.
inline bool QelMeshIsFaceKind(int32_t type) { return type >= GL_TRIANGLES && type <= GL_POLYGON; }

// Calls fn(corners, n) for every face of a face list, corners in the order
// GL draws them (a strip's odd triangles turned back to the strip's
// winding, a quad strip's quad as (2k, 2k+1, 2k+3, 2k+2)); faces with a
// corner at or above pointLimit are left out. Lists of other kinds have no
// faces.
template <typename Fn>
void QelMeshForEachFace(const TQelPrimitiveArray& array, uint32_t pointLimit, Fn&& fn) {
  const uint32_t* i = array.GetIndexArray();
  const int32_t n = array.GetCount();
  if (!i || n <= 0) return;
  auto face = [&](std::initializer_list<uint32_t> c) {
    for (uint32_t p : c)
      if (p >= pointLimit) return;
    fn(c.begin(), static_cast<int32_t>(c.size()));
  };
  switch (array.GetType()) {
    case GL_TRIANGLES:
      for (int32_t k = 0; k + 2 < n; k += 3) face({i[k], i[k + 1], i[k + 2]});
      break;
    case GL_TRIANGLE_STRIP:
      for (int32_t k = 0; k + 2 < n; ++k)
        if (k % 2 == 0)
          face({i[k], i[k + 1], i[k + 2]});
        else
          face({i[k + 1], i[k], i[k + 2]});
      break;
    case GL_TRIANGLE_FAN:
      for (int32_t k = 1; k + 1 < n; ++k) face({i[0], i[k], i[k + 1]});
      break;
    case GL_QUADS:
      for (int32_t k = 0; k + 3 < n; k += 4) face({i[k], i[k + 1], i[k + 2], i[k + 3]});
      break;
    case GL_QUAD_STRIP:
      for (int32_t k = 0; 2 * k + 3 < n; ++k)
        face({i[2 * k], i[2 * k + 1], i[2 * k + 3], i[2 * k + 2]});
      break;
    case GL_POLYGON:
      if (n < 3) break;
      for (int32_t k = 0; k < n; ++k)
        if (i[k] >= pointLimit) return;
      fn(i, n);
      break;
    default:
      break;
  }
}

// master[i] = the point that stands for point i's position: points whose
// flag byte has the bit (0..7) and whose positions are equal (EqualPos)
// share one; every other point stands for itself. Sorts the points by
// their quantised squared distance to a random reference point and
// compares only neighbours whose keys differ by at most 1: n log n, not
// quadratic.
void QelMeshCalcMaster(const TQelPrimitivePoints& points, int32_t bit, iArray& master);

// Vertex normals from the enabled lists: every face's unit normal is added
// to its corners (to one shared accumulator per position for points with
// the normal link bit), then each point takes its sum normalised, or
// (0, 0, 1) when nothing was added. Points and lines add (0, 0, 1). Defines
// the normal array when it is missing.
void QelMeshCalcNormals(TQelPrimitivePoints& points, TQelPrimitiveArrays arrays);

// The texture coordinate (s, t, 0) of point i from its position, by the
// flags' mode (a TQelTextureMode): txStandard leaves it, the linear modes
// map one or two axes through Scale and Shift, txSphereZ the distance to
// ParamVector. Modes above txSphereZ are ignored.
void QelMeshCalcTexturePoint(TQelPrimitivePoints& points, const TQelTextureFlags& flags, int32_t i);
// Defines the texture array when missing, then every point as above.
void QelMeshCalcTexture(TQelPrimitivePoints& points, const TQelTextureFlags& flags);

// The sum of the area-weighted normals of the enabled faces: the direction
// a flat or open shape faces, twice its projected area long.
TQelMathVector QelMeshFrontVector(const TQelPrimitivePoints& points, TQelPrimitiveArrays arrays);

// The edges that belong to exactly one face of the enabled face lists.
// Corners are compared by position, so a mesh with split normals, like a
// box, is still closed. Each edge is listed once, as its face runs, in face
// order; faces with two corners at one position are left out.
void QelMeshGetOpenEdges(const TQelPrimitivePoints& points, TQelPrimitiveArrays arrays,
                         TQelEdgeArray& edges);

// Splits triangle number triangle (slots 3t..3t+2) of a GL_TRIANGLES list
// into four by its edge midpoints. For (a, b, c) with midpoints ab, bc, ca,
// appended as points in that order, the slots become (a, ab, ca) and the
// list gains (ab, b, bc), (ca, bc, c), (ab, bc, ca): all four keep the
// original winding. Midpoints interpolate position, normal, texture
// coordinate and colour halfway and carry the flag bits both ends share.
// False (nothing done) for another kind or a bad triangle.
bool QelMeshSplitTriangle(TQelPrimitivePoints& points, TQelPrimitiveArray& array, int32_t triangle);

// Turns every face of every list round.
void QelMeshInvert(TQelPrimitiveArrays arrays);

// Among the indices of the list, the point nearest to position (the first
// of equally near ones); -1 for an empty list or a store without positions.
int32_t QelMeshGetNearPoint(const TQelPrimitivePoints& points, const TQelPrimitiveArray& array,
                            const TQelMathVector& position);

// Removes points i .. i+n-1; every index above them, in every list, moves
// down by the number removed. False when nothing was removed.
bool QelMeshFreePoints(TQelPrimitivePoints& points, TQelPrimitiveArrays arrays, int32_t i, int32_t n);
// Removes every point no enabled list refers to, keeping every index on
// the point it named. False when nothing was removed.
bool QelMeshFreeUnusedPoints(TQelPrimitivePoints& points, TQelPrimitiveArrays arrays);

// Extrudes the enabled faces by the vector into a closed, outward solid:
// the store gains a copy of every point offset by the vector, added gets a
// copy of each face list over those points (with that list's appearance)
// and last a GL_QUADS wall joining every open edge to its copy. When the
// vector points to the faces' front the copy is the top and the original
// lists are turned round, otherwise the copies are; the turned side's
// normals are negated. Wall quads have four points of their own with the
// quad's flat normal and s 0..1 along the edge, t 0..1 towards the copy;
// the wall carries wallTexture (Textured when there is one, which also puts
// texture coordinates into the store's UseArrays). False (nothing done)
// without faces, open edges or positions, or for a zero vector.
bool QelMeshExtrude(TQelPrimitivePoints& points, TQelPrimitiveArrays arrays,
                    const TQelMathVector& vector, TQelTexture* wallTexture,
                    std::vector<std::unique_ptr<TQelPrimitiveArray>>& added);

// Lifts every point along its normal by the pixel its texture coordinate
// falls on (nearest pixel, s along the width and t up the height, both
// repeating outside 0..1): by red * scaleRed + green * scaleGreen +
// blue * scaleBlue, channels read as 0..1. False (nothing done) without
// positions, normals or texture coordinates, or for an empty bitmap.
bool QelMeshSetReliefBitmap(TQelPrimitivePoints& points, const TBitmap& bitmap, double scaleRed,
                            double scaleGreen, double scaleBlue);

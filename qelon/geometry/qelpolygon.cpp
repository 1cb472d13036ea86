#include "qelpolygon.h"
#include "qelon/geometry/qelshaperegistry.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <memory>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelMathVector kSquare[] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
constexpr TQelShapePointList kLists[] = {{"Points", 3, 1 << 24, kSquare}};

// Newell's area normal: robust for concave outlines, zero for a line.
TQelMathVector AreaNormal(const TQelPointList& outline) {
  TQelMathVector n;
  for (size_t i = 0; i < outline.size(); ++i) {
    const TQelMathVector& a = outline[i];
    const TQelMathVector& b = outline[(i + 1) % outline.size()];
    n.x += (a.y - b.y) * (a.z + b.z);
    n.y += (a.z - b.z) * (a.x + b.x);
    n.z += (a.x - b.x) * (a.y + b.y);
  }
  return n;
}

// What the tessellator's callbacks fill: every vertex (outline and the
// crossings it adds) and the corners of the triangles it emits.
struct Vertex {
  TQelMathVector p;
  int32_t index;
};
struct Tessellation {
  std::deque<Vertex> points;  // stable addresses for the tessellator
  std::vector<int32_t> corners;
};

void TessVertex(void* vertex, void* data) {
  auto* t = static_cast<Tessellation*>(data);
  t->corners.push_back(static_cast<Vertex*>(vertex)->index);
}

void TessCombine(GLdouble coords[3], void*[4], GLfloat[4], void** out, void* data) {
  auto* t = static_cast<Tessellation*>(data);
  t->points.push_back({{coords[0], coords[1], coords[2]}, static_cast<int32_t>(t->points.size())});
  *out = &t->points.back();
}

// Asking for edge flags makes the tessellator emit separate triangles only.
void TessEdgeFlag(GLboolean, void*) {}

}  // namespace

TQelPolygon::TQelPolygon(TComponent* AOwner) : TQelPointsShape(AOwner, {}, kLists) {}

void TQelPolygon::Generate() {
  const TQelPointList& outline = GetPointsList();
  TQelMathVector normal = AreaNormal(outline);
  if (QelMathVectorLength(normal) == 0) return;  // a line: nothing to fill
  QelMathNormalize(normal);

  Tessellation tess;
  for (const TQelMathVector& p : outline) tess.points.push_back({p, static_cast<int32_t>(tess.points.size())});
  std::unique_ptr<GLUtesselator, void (*)(GLUtesselator*)> tobj(gluNewTess(), gluDeleteTess);
  if (!tobj) return;
  gluTessCallback(tobj.get(), GLU_TESS_VERTEX_DATA, reinterpret_cast<_GLUfuncptr>(TessVertex));
  gluTessCallback(tobj.get(), GLU_TESS_COMBINE_DATA, reinterpret_cast<_GLUfuncptr>(TessCombine));
  gluTessCallback(tobj.get(), GLU_TESS_EDGE_FLAG_DATA, reinterpret_cast<_GLUfuncptr>(TessEdgeFlag));
  gluTessProperty(tobj.get(), GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD);
  gluTessNormal(tobj.get(), normal.x, normal.y, normal.z);
  gluTessBeginPolygon(tobj.get(), &tess);
  gluTessBeginContour(tobj.get());
  for (size_t i = 0; i < outline.size(); ++i) gluTessVertex(tobj.get(), &tess.points[i].p.x, &tess.points[i]);
  gluTessEndContour(tobj.get());
  gluTessEndPolygon(tobj.get());

  // Texture axes in the plane: any direction across the normal, and the
  // one across both.
  TQelMathVector e1, e2;
  QelMathCrossProduct(normal, std::fabs(normal.x) < 0.9 ? TQelMathVector{1, 0, 0} : TQelMathVector{0, 1, 0}, e2);
  QelMathNormalize(e2);
  QelMathCrossProduct(e2, normal, e1);
  double lo[2] = {1e308, 1e308}, hi[2] = {-1e308, -1e308};
  for (const auto& [p, index] : tess.points) {
    const double st[2] = {QelMathDotProduct(p, e1), QelMathDotProduct(p, e2)};
    for (int k = 0; k < 2; ++k) lo[k] = std::min(lo[k], st[k]), hi[k] = std::max(hi[k], st[k]);
  }
  TQelMeshWriter mesh(this, GL_TRIANGLES, static_cast<int32_t>(tess.points.size()),
                      static_cast<int32_t>(tess.corners.size()));
  for (const auto& [p, index] : tess.points) {
    const double s = (QelMathDotProduct(p, e1) - lo[0]) / std::max(hi[0] - lo[0], 1e-300);
    const double t = (QelMathDotProduct(p, e2) - lo[1]) / std::max(hi[1] - lo[1], 1e-300);
    mesh.Point(p, normal, s, t);
  }
  for (size_t k = 0; k + 2 < tess.corners.size(); k += 3) {
    const int32_t a = tess.corners[k], b = tess.corners[k + 1], c = tess.corners[k + 2];
    // The tessellator keeps the outline's turn; make each triangle face the
    // polygon's front whatever it chose.
    TQelMathVector face;
    QelMathNormalVector(tess.points[a].p, tess.points[b].p, tess.points[c].p, false, face);
    if (QelMathDotProduct(face, normal) < 0)
      mesh.Triangle(a, c, b);
    else
      mesh.Triangle(a, b, c);
  }
}

namespace {
const TQelRegisterShapes<TQelPolygon> registered;
}  // namespace

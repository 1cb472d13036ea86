#include "qelpointshape.h"
#include "qelon/geometry/qelshaperegistry.h"

#include <GL/gl.h>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelMathVector kOrigin[] = {{0, 0, 0}};
constexpr TQelMathVector kUnitLine[] = {{0, 0, 0}, {1, 0, 0}};
constexpr TQelMathVector kUnitTriangle[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
constexpr TQelShapePointList kPointLists[] = {{"Points", 1, 1 << 24, kOrigin}};
constexpr TQelShapePointList kLineLists[] = {{"Points", 2, 1 << 24, kUnitLine}};
constexpr TQelShapePointList kTriangleLists[] = {{"Points", 3, 3, kUnitTriangle}};
constexpr TQelMathVector kUp{0, 0, 1};

}  // namespace

TQelPoint::TQelPoint(TComponent* AOwner) : TQelPointsShape(AOwner, {}, kPointLists) {}
TQelLine::TQelLine(TComponent* AOwner) : TQelPointsShape(AOwner, {}, kLineLists) {}
TQelTriangle::TQelTriangle(TComponent* AOwner) : TQelPointsShape(AOwner, {}, kTriangleLists) {}

void TQelPoint::Generate() {
  const TQelPointList& points = GetPointsList();
  const auto n = static_cast<int32_t>(points.size());
  TQelMeshWriter mesh(this, GL_POINTS, n, n);
  for (int32_t i = 0; i < n; ++i) mesh.Index(mesh.Point(points[i], kUp, n > 1 ? double(i) / (n - 1) : 0, 0));
}

void TQelLine::Generate() {
  const TQelPointList& points = GetPointsList();
  const auto n = static_cast<int32_t>(points.size());
  double length = 0;
  for (int32_t i = 1; i < n; ++i) length += QelMathVectorDist(points[i - 1], points[i]);
  TQelMeshWriter mesh(this, GL_LINE_STRIP, n, n);
  double along = 0;
  for (int32_t i = 0; i < n; ++i) {
    if (i > 0) along += QelMathVectorDist(points[i - 1], points[i]);
    mesh.Index(mesh.Point(points[i], kUp, length > 0 ? along / length : 0, 0));
  }
}

void TQelTriangle::Generate() {
  const TQelPointList& c = GetPointsList();
  TQelMathVector normal;
  if (QelMathNormalVector(c[0], c[1], c[2], true, normal) == 0) normal = kUp;
  TQelMeshWriter mesh(this, GL_TRIANGLES, 3, 3);
  mesh.Triangle(mesh.Point(c[0], normal, 0, 0), mesh.Point(c[1], normal, 1, 0), mesh.Point(c[2], normal, 0, 1));
}

namespace {
const TQelRegisterShapes<TQelPoint, TQelLine, TQelTriangle> registered;
}  // namespace

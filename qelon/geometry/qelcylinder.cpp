#include "qelcylinder.h"
#include "qelon/geometry/qelshaperegistry.h"

#include <GL/gl.h>

#include <cmath>
#include <numbers>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kCylinderParams[] = {
    {"BottomRadius", 1, 0, 1e30},
    {"TopRadius", 1, 0, 1e30},
    {"Height", 1, 0, 1e30, pkFloat, true},
    QelSlicesParam(24, 3), QelStacksParam(1, 1),
    {"Caps", 1, 0, 1, pkBool},
};
constexpr TQelShapeParam kConeParams[] = {
    kCylinderParams[0], {"TopRadius", 0, 0, 1e30}, kCylinderParams[2],
    kCylinderParams[3], kCylinderParams[4],        kCylinderParams[5],
};

// A cap at height z facing up or down: a ring of points round the centre,
// each cell one triangle.
void AddCap(TQelMeshWriter& mesh, int32_t slices, double radius, double z, bool up) {
  const TQelMathVector normal{0, 0, up ? 1.0 : -1.0};
  const int32_t first = mesh.Grid(slices, 1, [&](int32_t u, int32_t v, TQelMathVector& p, TQelMathVector& n, double& s, double& t) {
    const double a = 2 * std::numbers::pi * u / slices;
    // The rim first when facing up, so that du x dv points up.
    const double r = (v == 0) == up ? radius : 0;
    p = {r * std::cos(a), r * std::sin(a), z};
    n = normal;
    s = 0.5 + p.x / (2 * radius);
    t = 0.5 + (up ? p.y : -p.y) / (2 * radius);
  });
  mesh.GridTriangles(first, slices, 1, {.firstIsPoint = !up, .lastIsPoint = up, .closedU = true});
}

}  // namespace

TQelCylinder::TQelCylinder(TComponent* AOwner) : TQelGridShape(AOwner, kCylinderParams) {}
TQelCylinder::TQelCylinder(TComponent* AOwner, TQelShapeParams params) : TQelGridShape(AOwner, params) {}
TQelCone::TQelCone(TComponent* AOwner) : TQelCylinder(AOwner, kConeParams) {}

bool TQelCylinder::Accepts(int32_t param, double value) const {
  if (param == pBottomRadius) return value > 0 || GetTopRadius() > 0;
  if (param == pTopRadius) return value > 0 || GetBottomRadius() > 0;
  return true;
}

void TQelCylinder::Generate() {
  const int32_t nu = GetSlices(), nv = GetStacks();
  const double r0 = GetBottomRadius(), r1 = GetTopRadius(), h = GetHeight();
  const bool bottomCap = GetCaps() && r0 > 0, topCap = GetCaps() && r1 > 0;
  const int32_t capTriangles = nu * (int32_t(bottomCap) + int32_t(topCap));
  TQelMeshWriter mesh(this, GL_TRIANGLES, (nu + 1) * (nv + 1) + 2 * (nu + 1) * capTriangles / nu,
                      3 * (TQelMeshWriter::GridTriangleCount(nu, nv, r0 == 0, r1 == 0) + capTriangles));
  // The side's normal leans towards the narrower end: (h cos a, h sin a, r0 - r1).
  const double length = std::hypot(h, r0 - r1);
  const int32_t side = mesh.Grid(nu, nv, [&](int32_t u, int32_t v, TQelMathVector& p, TQelMathVector& n, double&, double&) {
    const double a = 2 * std::numbers::pi * u / nu;
    const double r = r0 + (r1 - r0) * v / nv;
    p = {r * std::cos(a), r * std::sin(a), -h / 2 + h * v / nv};
    n = {h / length * std::cos(a), h / length * std::sin(a), (r0 - r1) / length};
  });
  mesh.GridTriangles(side, nu, nv, {.firstIsPoint = r0 == 0, .lastIsPoint = r1 == 0, .closedU = true});
  if (bottomCap) AddCap(mesh, nu, r0, -h / 2, false);
  if (topCap) AddCap(mesh, nu, r1, h / 2, true);
}

namespace {
const TQelRegisterShapes<TQelCylinder, TQelCone> registered;
}  // namespace

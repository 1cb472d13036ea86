#include "qeldisc.h"

#include <GL/gl.h>

#include <cmath>
#include <numbers>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kParams[] = {
    {"InnerRadius", 0, 0, 1e30},
    {"OuterRadius", 1, 0, 1e30, pkFloat, true},
    {"StartAngle", 0, -360, 360},
    {"SweepAngle", 360, 0, 360, pkFloat, true},
    {"Slices", 24, 3, 1e6, pkInteger},
    {"Stacks", 1, 1, 1e6, pkInteger},
};
constexpr TQelShapeTable kTable{kParams};

}  // namespace

TQelDisc::TQelDisc(TComponent* AOwner) : TQelShape(AOwner, kTable) {}

bool TQelDisc::Accepts(int32_t param, double value) const {
  if (param == pInnerRadius) return value < GetOuterRadius();
  if (param == pOuterRadius) return value > GetInnerRadius();
  return true;
}

void TQelDisc::Generate() {
  const int32_t nu = GetSlices(), nv = GetStacks();
  const double r0 = GetInnerRadius(), r1 = GetOuterRadius();
  const double a0 = GetStartAngle() * std::numbers::pi / 180, da = GetSweepAngle() * std::numbers::pi / 180 / nu;
  const bool hole = r0 > 0;
  TQelMeshWriter mesh(this, GL_TRIANGLES, (nu + 1) * (nv + 1),
                      3 * TQelMeshWriter::GridTriangleCount(nu, nv, false, !hole));
  // Rings from the outer edge inwards, so that du x dv points to +z.
  const int32_t first = mesh.Grid(nu, nv, [&](int32_t u, int32_t v, TQelMathVector& p, TQelMathVector& n, double& s, double& t) {
    const double r = r1 + (r0 - r1) * v / nv;
    p = {r * std::cos(a0 + u * da), r * std::sin(a0 + u * da), 0};
    n = {0, 0, 1};
    s = 0.5 + p.x / (2 * r1);
    t = 0.5 + p.y / (2 * r1);
  });
  mesh.GridTriangles(first, nu, nv, false, !hole, GetSweepAngle() == 360);
}

namespace {
const TQelRegisterShapes<TQelDisc> registered;
}  // namespace

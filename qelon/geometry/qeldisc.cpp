#include "qeldisc.h"
#include "qelon/geometry/qelshaperegistry.h"

#include <GL/gl.h>

#include <cmath>
#include <numbers>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kParams[] = {
    {"InnerRadius", 0, 0, 1e30, pkFloat, false, TQelDisc::pOuterRadius},
    {"OuterRadius", 1, 0, 1e30, pkFloat, true},
    {"StartAngle", 0, -360, 360},
    {"SweepAngle", 360, 0, 360, pkFloat, true},
    QelSlicesParam(24, 3), QelStacksParam(1, 1),
};

}  // namespace


void TQelDisc::Generate() {
  const int32_t nu = GetSlices(), nv = GetStacks();
  const double r0 = GetInnerRadius(), r1 = GetOuterRadius();
  const double a0 = GetStartAngle() * std::numbers::pi / 180, da = GetSweepAngle() * std::numbers::pi / 180 / nu;
  const bool hole = r0 > 0;
  // Rings from the outer edge inwards, so that du x dv points to +z.
  TQelMeshWriter::AddGrid(this, nu, nv, {.lastIsPoint = !hole, .closedU = GetSweepAngle() == 360}, [&](int32_t u, int32_t v, TQelMathVector& p, TQelMathVector& n, double& s, double& t) {
    const double r = r1 + (r0 - r1) * v / nv;
    p = {r * std::cos(a0 + u * da), r * std::sin(a0 + u * da), 0};
    n = {0, 0, 1};
    s = 0.5 + p.x / (2 * r1);
    t = 0.5 + p.y / (2 * r1);
  });
}

TQelDisc::TQelDisc(TComponent* AOwner) : TQelGridShape(AOwner, kParams) {}

namespace {
const TQelRegisterShapes<TQelDisc> registered;
}  // namespace

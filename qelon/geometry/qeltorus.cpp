#include "qeltorus.h"
#include "qelon/geometry/qelshaperegistry.h"

#include <GL/gl.h>

#include <cmath>
#include <numbers>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kParams[] = {
    {"MajorRadius", 1, 0, 1e30, pkFloat, true},
    {"MinorRadius", 0.25, 0, 1e30, pkFloat, true, TQelTorus::pMajorRadius},
    QelSlicesParam(24, 3), QelStacksParam(12, 3),
};

}  // namespace


void TQelTorus::Generate() {
  const int32_t nu = GetSlices(), nv = GetStacks();
  const double big = GetMajorRadius(), small = GetMinorRadius();
  TQelMeshWriter::AddGrid(this, nu, nv, {.closedU = true, .closedV = true}, [&](int32_t u, int32_t v, TQelMathVector& p, TQelMathVector& n, double&, double&) {
    const double a = 2 * std::numbers::pi * u / nu, b = 2 * std::numbers::pi * v / nv;
    n = {std::cos(b) * std::cos(a), std::cos(b) * std::sin(a), std::sin(b)};
    const double r = big + small * std::cos(b);
    p = {r * std::cos(a), r * std::sin(a), small * n.z};
  });
}

TQelTorus::TQelTorus(TComponent* AOwner) : TQelGridShape(AOwner, kParams) {}

namespace {
const TQelRegisterShapes<TQelTorus> registered;
}  // namespace

#include "qeltorus.h"

#include <GL/gl.h>

#include <cmath>
#include <numbers>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kParams[] = {
    {"MajorRadius", 1, 0, 1e30, pkFloat, true},
    {"MinorRadius", 0.25, 0, 1e30, pkFloat, true},
    {"Slices", 24, 3, 1e6, pkInteger},
    {"Stacks", 12, 3, 1e6, pkInteger},
};
constexpr TQelShapeTable kTable{kParams};

}  // namespace

TQelTorus::TQelTorus(TComponent* AOwner) : TQelShape(AOwner, kTable) {}

bool TQelTorus::Accepts(int32_t param, double value) const {
  if (param == pMajorRadius) return value > GetMinorRadius();
  if (param == pMinorRadius) return value < GetMajorRadius();
  return true;
}

void TQelTorus::Generate() {
  const int32_t nu = GetSlices(), nv = GetStacks();
  const double big = GetMajorRadius(), small = GetMinorRadius();
  TQelMeshWriter mesh(this, GL_TRIANGLES, (nu + 1) * (nv + 1), 6 * nu * nv);
  const int32_t first = mesh.Grid(nu, nv, [&](int32_t u, int32_t v, TQelMathVector& p, TQelMathVector& n, double&, double&) {
    const double a = 2 * std::numbers::pi * u / nu, b = 2 * std::numbers::pi * v / nv;
    n = {std::cos(b) * std::cos(a), std::cos(b) * std::sin(a), std::sin(b)};
    const double r = big + small * std::cos(b);
    p = {r * std::cos(a), r * std::sin(a), small * n.z};
  });
  mesh.GridTriangles(first, nu, nv, false, false, true);
  // The tube's seam (first and last ring) is one place too.
  for (int32_t u = 0; u <= nu; ++u) {
    mesh.Link(first + u);
    mesh.Link(first + nv * (nu + 1) + u);
  }
}

namespace {
const TQelRegisterShapes<TQelTorus> registered;
}  // namespace

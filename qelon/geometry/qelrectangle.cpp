#include "qelrectangle.h"

#include <GL/gl.h>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kParams[] = {
    {"Width", 1, 0, 1e30, pkFloat, true},
    {"Height", 1, 0, 1e30, pkFloat, true},
    {"Slices", 1, 1, 1e6, pkInteger},
    {"Stacks", 1, 1, 1e6, pkInteger},
};
constexpr TQelShapeTable kTable{kParams};

}  // namespace

TQelRectangle::TQelRectangle(TComponent* AOwner) : TQelShape(AOwner, kTable) {}

void TQelRectangle::Generate() {
  const int32_t nu = GetSlices(), nv = GetStacks();
  const double w = GetWidth(), h = GetHeight();
  TQelMeshWriter mesh(this, GL_TRIANGLES, (nu + 1) * (nv + 1), 6 * nu * nv);
  const int32_t first = mesh.Grid(nu, nv, [&](int32_t, int32_t, TQelMathVector& p, TQelMathVector& n, double& s, double& t) {
    p = {(s - 0.5) * w, (t - 0.5) * h, 0};
    n = {0, 0, 1};
  });
  mesh.GridTriangles(first, nu, nv, false, false, false);
}

namespace {
const TQelRegisterShapes<TQelRectangle> registered;
}  // namespace

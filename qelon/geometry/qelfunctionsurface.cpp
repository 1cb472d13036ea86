#include "qelfunctionsurface.h"

#include <GL/gl.h>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kParams[] = {
    {"XMin", -1, -1e30, 1e30}, {"XMax", 1, -1e30, 1e30},
    {"YMin", -1, -1e30, 1e30}, {"YMax", 1, -1e30, 1e30},
    {"Slices", 16, 1, 1e6, pkInteger}, {"Stacks", 16, 1, 1e6, pkInteger},
};
constexpr TQelShapeTable kTable{kParams};

}  // namespace

TQelFunctionSurface::TQelFunctionSurface(TComponent* AOwner) : TQelShape(AOwner, kTable) {}

void TQelFunctionSurface::SetFunction(TQelSurfaceFunction f) {
  function_ = std::move(f);
  Regenerate();
}

bool TQelFunctionSurface::Accepts(int32_t param, double value) const {
  switch (param) {
    case pXMin: return value < GetXMax();
    case pXMax: return value > GetXMin();
    case pYMin: return value < GetYMax();
    case pYMax: return value > GetYMin();
    default: return true;
  }
}

void TQelFunctionSurface::Generate() {
  const int32_t nu = GetSlices(), nv = GetStacks();
  const double x0 = GetXMin(), dx = GetXMax() - x0, y0 = GetYMin(), dy = GetYMax() - y0;
  {
    TQelMeshWriter mesh(this, GL_TRIANGLES, (nu + 1) * (nv + 1), 6 * nu * nv);
    const int32_t first = mesh.Grid(nu, nv, [&](int32_t, int32_t, TQelMathVector& p, TQelMathVector&, double& s, double& t) {
      p = {x0 + s * dx, y0 + t * dy, 0};
      if (function_) p.z = function_(p.x, p.y);
    });
    mesh.GridTriangles(first, nu, nv, false, false, false);
  }
  CalcNormals();
  if (function_) SetStoreMode(smAll);
}

namespace {
const TQelRegisterShapes<TQelFunctionSurface> registered;
}  // namespace

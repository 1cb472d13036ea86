#include "qelfunctionsurface.h"
#include "qelon/geometry/qelshaperegistry.h"

#include <GL/gl.h>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kParams[] = {
    {"XMin", -1, -1e30, 1e30, pkFloat, false, TQelFunctionSurface::pXMax}, {"XMax", 1, -1e30, 1e30},
    {"YMin", -1, -1e30, 1e30, pkFloat, false, TQelFunctionSurface::pYMax}, {"YMax", 1, -1e30, 1e30},
    QelSlicesParam(16, 1), QelStacksParam(16, 1),
};

}  // namespace


void TQelFunctionSurface::SetFunction(TQelSurfaceFunction f) {
  function_ = std::move(f);
  Regenerate();
}

void TQelFunctionSurface::Generate() {
  const double x0 = GetXMin(), dx = GetXMax() - x0, y0 = GetYMin(), dy = GetYMax() - y0;
  TQelMeshWriter::AddGrid(this, GetSlices(), GetStacks(), {}, [&](int32_t, int32_t, TQelMathVector& p, TQelMathVector&, double& s, double& t) {
    p = {x0 + s * dx, y0 + t * dy, 0};
    if (function_) p.z = function_(p.x, p.y);
  });
  CalcNormals();
  if (function_) SetStoreMode(smAll);
}

TQelFunctionSurface::TQelFunctionSurface(TComponent* AOwner) : TQelGridShape(AOwner, kParams) {}

namespace {
const TQelRegisterShapes<TQelFunctionSurface> registered;
}  // namespace

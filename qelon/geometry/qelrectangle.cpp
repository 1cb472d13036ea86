#include "qelrectangle.h"
#include "qelon/geometry/qelshaperegistry.h"

#include <GL/gl.h>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kParams[] = {
    {"Width", 1, 0, 1e30, pkFloat, true},
    {"Height", 1, 0, 1e30, pkFloat, true},
    QelSlicesParam(1, 1), QelStacksParam(1, 1),
};

}  // namespace


void TQelRectangle::Generate() {
  const double w = GetWidth(), h = GetHeight();
  TQelMeshWriter::AddGrid(this, GetSlices(), GetStacks(), {}, [&](int32_t, int32_t, TQelMathVector& p, TQelMathVector& n, double& s, double& t) {
    p = {(s - 0.5) * w, (t - 0.5) * h, 0};
    n = {0, 0, 1};
  });
}

TQelRectangle::TQelRectangle(TComponent* AOwner) : TQelGridShape(AOwner, kParams) {}

namespace {
const TQelRegisterShapes<TQelRectangle> registered;
}  // namespace

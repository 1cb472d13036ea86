#include "qelsphere.h"
#include "qelon/geometry/qelshaperegistry.h"

#include <GL/gl.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kParams[] = {
    {"Radius", 1, 0, 1e30, pkFloat, true},
    QelSlicesParam(24, 3), QelStacksParam(12, 1),
    {"StartLongitude", 0, -360, 360},
    {"SweepLongitude", 360, 0, 360, pkFloat, true},
    {"StartLatitude", -90, -90, 90},
    {"SweepLatitude", 180, 0, 180, pkFloat, true},
};

constexpr double kDegree = std::numbers::pi / 180;

}  // namespace


bool TQelSphere::Accepts(int32_t param, double value) const {
  if (param == pStartLatitude) return value + GetSweepLatitude() <= 90;
  if (param == pSweepLatitude) return GetStartLatitude() + value <= 90;
  return true;
}

void TQelSphere::Generate() {
  const int32_t nu = GetSlices(), nv = GetStacks();
  const double r = GetRadius();
  const double lon0 = GetStartLongitude() * kDegree, dlon = GetSweepLongitude() * kDegree / nu;
  const double lat0 = GetStartLatitude() * kDegree, dlat = GetSweepLatitude() * kDegree / nv;
  // One sine and cosine per column and per row, not per point.
  std::vector<double> cosLon(nu + 1), sinLon(nu + 1), cosLat(nv + 1), sinLat(nv + 1);
  for (int32_t u = 0; u <= nu; ++u) cosLon[u] = std::cos(lon0 + u * dlon), sinLon[u] = std::sin(lon0 + u * dlon);
  for (int32_t v = 0; v <= nv; ++v) cosLat[v] = std::cos(lat0 + v * dlat), sinLat[v] = std::sin(lat0 + v * dlat);
  const bool south = GetStartLatitude() == -90, north = GetStartLatitude() + GetSweepLatitude() == 90;
  if (south) cosLat[0] = 0, sinLat[0] = -1;
  if (north) cosLat[nv] = 0, sinLat[nv] = 1;

  const TQelMeshWriter::TGridRows rows{.firstIsPoint = south, .lastIsPoint = north, .closedU = GetSweepLongitude() == 360};
  TQelMeshWriter::AddGrid(this, nu, nv, rows, [&](int32_t u, int32_t v, TQelMathVector& p, TQelMathVector& n, double&, double&) {
    n = {cosLat[v] * cosLon[u], cosLat[v] * sinLon[u], sinLat[v]};
    p = {r * n.x, r * n.y, r * n.z};
  });
}

TQelSphere::TQelSphere(TComponent* AOwner) : TQelGridShape(AOwner, kParams) {}

namespace {
const TQelRegisterShapes<TQelSphere> registered;
}  // namespace

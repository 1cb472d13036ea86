#include "qelrevolution.h"
#include "qelon/geometry/qelshaperegistry.h"

#include <GL/gl.h>

#include <cmath>
#include <numbers>

#include "qelon/geometry/qelmeshwriter.h"

namespace {

constexpr TQelShapeParam kParams[] = {
    {"SweepAngle", 360, 0, 360, pkFloat, true},
    QelSlicesParam(24, 3),
};
constexpr TQelMathVector kTube[] = {{0.5, -0.5, 0}, {0.5, 0.5, 0}};
constexpr TQelShapePointList kLists[] = {{"Profile", 2, 1 << 24, kTube}};

}  // namespace


bool TQelRevolutionSurface::AcceptsPoints(int32_t, const TQelPointList& points) const {
  for (const TQelMathVector& p : points)
    if (p.x < 0) return false;
  return true;
}

void TQelRevolutionSurface::Generate() {
  const TQelPointList& profile = GetProfile();
  const int32_t nu = GetSlices(), nv = static_cast<int32_t>(profile.size()) - 1;
  const double sweep = GetSweepAngle() * std::numbers::pi / 180;
  // Per profile point: the length along the profile, and the profile's
  // outward normal (r, h) there, the mean of its segments' normals.
  std::vector<double> along(nv + 1, 0);
  std::vector<TQelMathVector> normal(nv + 1);
  for (int32_t v = 0; v < nv; ++v) {
    const double dr = profile[v + 1].x - profile[v].x, dh = profile[v + 1].y - profile[v].y;
    const double length = std::hypot(dr, dh);
    along[v + 1] = along[v] + length;
    if (length == 0) continue;
    for (int32_t end : {v, v + 1}) normal[end].x += dh / length, normal[end].y -= dr / length;
  }
  const bool firstOnAxis = profile.front().x == 0, lastOnAxis = profile.back().x == 0;
  const TQelMeshWriter::TGridRows rows{.firstIsPoint = firstOnAxis, .lastIsPoint = lastOnAxis, .closedU = GetSweepAngle() == 360};
  TQelMeshWriter::AddGrid(this, nu, nv, rows, [&](int32_t u, int32_t v, TQelMathVector& p, TQelMathVector& n, double&, double& t) {
    const double a = sweep * u / nu, c = std::cos(a), s = std::sin(a);
    p = {profile[v].x * c, profile[v].x * s, profile[v].y};
    n = {normal[v].x * c, normal[v].x * s, normal[v].y};
    QelMathNormalize(n);
    t = along[nv] > 0 ? along[v] / along[nv] : 0;
  });
}

TQelRevolutionSurface::TQelRevolutionSurface(TComponent* AOwner) : TQelGridShape(AOwner, kParams, kLists) {}

namespace {
const TQelRegisterShapes<TQelRevolutionSurface> registered;
}  // namespace

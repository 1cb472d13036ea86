#pragma once
// A sphere about the origin, or a part of one cut by longitude and latitude.
#include "qelon/geometry/qelshape.h"

// Longitude runs about the z axis from the x axis, latitude from -90 (the
// south pole, -z) to 90. The mesh is a grid of (Slices + 1) x (Stacks + 1)
// points with normals along the radius and texture coordinates s along the
// longitude and t along the latitude, both 0..1 over the part drawn. A pole
// row gives one triangle a slice. The whole sphere is closed.
class TQelSphere : public TQelGridShape {
  QEL_CLASS(TQelSphere)
public:
  explicit TQelSphere(TComponent* AOwner);
  enum { pRadius, pSlices, pStacks, pStartLongitude, pSweepLongitude, pStartLatitude, pSweepLatitude };
  double GetRadius() const { return GetParam(pRadius); }  void SetRadius(double v) { SetParam(pRadius, v); }
  // Degrees; the latitude band must stay within -90..90.
  double GetStartLongitude() const { return GetParam(pStartLongitude); }  void SetStartLongitude(double v) { SetParam(pStartLongitude, v); }
  double GetSweepLongitude() const { return GetParam(pSweepLongitude); }  void SetSweepLongitude(double v) { SetParam(pSweepLongitude, v); }
  double GetStartLatitude() const { return GetParam(pStartLatitude); }  void SetStartLatitude(double v) { SetParam(pStartLatitude, v); }
  double GetSweepLatitude() const { return GetParam(pSweepLatitude); }  void SetSweepLatitude(double v) { SetParam(pSweepLatitude, v); }

protected:
  void Generate() override;
  bool Accepts(int32_t param, double value) const override;
};

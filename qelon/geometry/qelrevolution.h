#pragma once
// A surface of revolution: a profile turned about the z axis.
#include "qelon/geometry/qelshape.h"

// The profile ("Profile", at least two points) gives each point's distance
// from the axis as x (0 or more) and its height as y. The grid has
// (Slices + 1) points round the sweep (s) for each profile point (t by the
// length along the profile). Points on the axis close the surface there,
// so a profile from the axis to the axis swept all round is closed. The
// surface faces outwards when the profile runs upwards on the outside.
class TQelRevolutionSurface : public TQelGridShape {
  QEL_CLASS(TQelRevolutionSurface)
public:
  explicit TQelRevolutionSurface(TComponent* AOwner);
  enum { pSweepAngle, pSlices, lProfile = 0 };
  const TQelPointList& GetProfile() const { return GetPointList(lProfile); }
  void SetProfile(const TQelPointList& v) { SetPointList(lProfile, v); }
  double GetSweepAngle() const { return GetParam(pSweepAngle); }  void SetSweepAngle(double v) { SetParam(pSweepAngle, v); }

protected:
  bool AcceptsPoints(int32_t list, const TQelPointList& points) const override;
  void Generate() override;
};

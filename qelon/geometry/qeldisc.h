#pragma once
// A flat disc, ring or sector in the x-y plane facing +z.
#include "qelon/geometry/qelshape.h"

// A grid of (Slices + 1) x (Stacks + 1) points, Slices round the sweep and
// Stacks rings from the outer edge in; texture coordinates map the square
// round the outer circle onto 0..1. Without a hole the centre gives one
// triangle a slice.
class TQelDisc : public TQelGridShape {
  QEL_CLASS(TQelDisc)
public:
  enum { pInnerRadius, pOuterRadius, pStartAngle, pSweepAngle, pSlices, pStacks };
  // 0 <= InnerRadius < OuterRadius.
  double GetInnerRadius() const { return GetParam(pInnerRadius); }  void SetInnerRadius(double v) { SetParam(pInnerRadius, v); }
  double GetOuterRadius() const { return GetParam(pOuterRadius); }  void SetOuterRadius(double v) { SetParam(pOuterRadius, v); }
  // Degrees from the x axis towards y.
  double GetStartAngle() const { return GetParam(pStartAngle); }  void SetStartAngle(double v) { SetParam(pStartAngle, v); }
  double GetSweepAngle() const { return GetParam(pSweepAngle); }  void SetSweepAngle(double v) { SetParam(pSweepAngle, v); }
  explicit TQelDisc(TComponent* AOwner);

protected:
  void Generate() override;
};

#pragma once
// A flat disc, ring or sector in the x-y plane facing +z.
#include "qelon/geometry/qelshape.h"

// A grid of (Slices + 1) x (Stacks + 1) points, Slices round the sweep and
// Stacks rings from the outer edge in; texture coordinates map the square
// round the outer circle onto 0..1. Without a hole the centre gives one
// triangle a slice.
class TQelDisc : public TQelShape {
  QEL_CLASS(TQelDisc)
public:
  enum { pInnerRadius, pOuterRadius, pStartAngle, pSweepAngle, pSlices, pStacks };
  explicit TQelDisc(TComponent* AOwner);

  // 0 <= InnerRadius < OuterRadius.
  double GetInnerRadius() const { return GetParam(pInnerRadius); }
  void SetInnerRadius(double v) { SetParam(pInnerRadius, v); }
  double GetOuterRadius() const { return GetParam(pOuterRadius); }
  void SetOuterRadius(double v) { SetParam(pOuterRadius, v); }
  // Degrees from the x axis towards y.
  double GetStartAngle() const { return GetParam(pStartAngle); }
  void SetStartAngle(double v) { SetParam(pStartAngle, v); }
  double GetSweepAngle() const { return GetParam(pSweepAngle); }
  void SetSweepAngle(double v) { SetParam(pSweepAngle, v); }
  int32_t GetSlices() const { return IntParam(pSlices); }
  void SetSlices(int32_t v) { SetParam(pSlices, v); }
  int32_t GetStacks() const { return IntParam(pStacks); }
  void SetStacks(int32_t v) { SetParam(pStacks, v); }

protected:
  void Generate() override;
  bool Accepts(int32_t param, double value) const override;
};

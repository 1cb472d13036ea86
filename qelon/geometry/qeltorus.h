#pragma once
// A torus round the z axis, centred on the origin.
#include "qelon/geometry/qelshape.h"

// A closed grid of (Slices + 1) x (Stacks + 1) points: Slices round the z
// axis (s), Stacks round the tube (t, from the outer equator over the top).
class TQelTorus : public TQelShape {
  QEL_CLASS(TQelTorus)
public:
  enum { pMajorRadius, pMinorRadius, pSlices, pStacks };
  explicit TQelTorus(TComponent* AOwner);

  // The tube's centre line / the tube; 0 < MinorRadius < MajorRadius.
  double GetMajorRadius() const { return GetParam(pMajorRadius); }
  void SetMajorRadius(double v) { SetParam(pMajorRadius, v); }
  double GetMinorRadius() const { return GetParam(pMinorRadius); }
  void SetMinorRadius(double v) { SetParam(pMinorRadius, v); }
  int32_t GetSlices() const { return IntParam(pSlices); }
  void SetSlices(int32_t v) { SetParam(pSlices, v); }
  int32_t GetStacks() const { return IntParam(pStacks); }
  void SetStacks(int32_t v) { SetParam(pStacks, v); }

protected:
  void Generate() override;
  bool Accepts(int32_t param, double value) const override;
};

#pragma once
// A torus round the z axis, centred on the origin.
#include "qelon/geometry/qelshape.h"

// A closed grid of (Slices + 1) x (Stacks + 1) points: Slices round the z
// axis (s), Stacks round the tube (t, from the outer equator over the top).
class TQelTorus : public TQelGridShape {
  QEL_CLASS(TQelTorus)
public:
  explicit TQelTorus(TComponent* AOwner);
  enum { pMajorRadius, pMinorRadius, pSlices, pStacks };
  // The tube's centre line / the tube; 0 < MinorRadius < MajorRadius.
  double GetMajorRadius() const { return GetParam(pMajorRadius); }  void SetMajorRadius(double v) { SetParam(pMajorRadius, v); }
  double GetMinorRadius() const { return GetParam(pMinorRadius); }  void SetMinorRadius(double v) { SetParam(pMinorRadius, v); }

protected:
  void Generate() override;
};

#pragma once
// A flat rectangle in the x-y plane, centred on the origin, facing +z.
#include "qelon/geometry/qelshape.h"

// A grid of (Slices + 1) x (Stacks + 1) points, Slices across the width
// (s 0..1 along x) and Stacks up the height (t 0..1 along y).
class TQelRectangle : public TQelGridShape {
  QEL_CLASS(TQelRectangle)
protected:
  void Generate() override;

public:
  enum { pWidth, pHeight, pSlices, pStacks };
  double GetWidth() const { return GetParam(pWidth); }  void SetWidth(double v) { SetParam(pWidth, v); }
  double GetHeight() const { return GetParam(pHeight); }  void SetHeight(double v) { SetParam(pHeight, v); }
  explicit TQelRectangle(TComponent* AOwner);
};

#pragma once
// A flat rectangle in the x-y plane, centred on the origin, facing +z.
#include "qelon/geometry/qelshape.h"

// A grid of (Slices + 1) x (Stacks + 1) points, Slices across the width
// (s 0..1 along x) and Stacks up the height (t 0..1 along y).
class TQelRectangle : public TQelShape {
  QEL_CLASS(TQelRectangle)
public:
  enum { pWidth, pHeight, pSlices, pStacks };
  explicit TQelRectangle(TComponent* AOwner);

  double GetWidth() const { return GetParam(pWidth); }
  void SetWidth(double v) { SetParam(pWidth, v); }
  double GetHeight() const { return GetParam(pHeight); }
  void SetHeight(double v) { SetParam(pHeight, v); }
  int32_t GetSlices() const { return IntParam(pSlices); }
  void SetSlices(int32_t v) { SetParam(pSlices, v); }
  int32_t GetStacks() const { return IntParam(pStacks); }
  void SetStacks(int32_t v) { SetParam(pStacks, v); }

protected:
  void Generate() override;
};

#pragma once
// The height field z = f(x, y) of a function the application gives, over a
// rectangle of the x-y plane.
#include <functional>

#include "qelon/geometry/qelshape.h"

using TQelSurfaceFunction = std::function<double(double x, double y)>;

// A grid of (Slices + 1) x (Stacks + 1) points over XMin..XMax (s 0..1) by
// YMin..YMax (t 0..1) with z = f(x, y), or 0 without a function; normals
// from the faces, facing +z. A function cannot be saved, so a surface
// generated from one is stored whole (StoreMode smAll), with its grid.
class TQelFunctionSurface : public TQelShape {
  QEL_CLASS(TQelFunctionSurface)
public:
  enum { pXMin, pXMax, pYMin, pYMax, pSlices, pStacks };
  explicit TQelFunctionSurface(TComponent* AOwner);

  const TQelSurfaceFunction& GetFunction() const { return function_; }
  // Regenerates at the next render.
  void SetFunction(TQelSurfaceFunction f);
  // The ranges keep Min below Max.
  double GetXMin() const { return GetParam(pXMin); }
  void SetXMin(double v) { SetParam(pXMin, v); }
  double GetXMax() const { return GetParam(pXMax); }
  void SetXMax(double v) { SetParam(pXMax, v); }
  double GetYMin() const { return GetParam(pYMin); }
  void SetYMin(double v) { SetParam(pYMin, v); }
  double GetYMax() const { return GetParam(pYMax); }
  void SetYMax(double v) { SetParam(pYMax, v); }
  int32_t GetSlices() const { return IntParam(pSlices); }
  void SetSlices(int32_t v) { SetParam(pSlices, v); }
  int32_t GetStacks() const { return IntParam(pStacks); }
  void SetStacks(int32_t v) { SetParam(pStacks, v); }

protected:
  void Generate() override;
  bool Accepts(int32_t param, double value) const override;

private:
  TQelSurfaceFunction function_;
};

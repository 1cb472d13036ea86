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
class TQelFunctionSurface : public TQelGridShape {
  QEL_CLASS(TQelFunctionSurface)
public:
  explicit TQelFunctionSurface(TComponent* AOwner);
  enum { pXMin, pXMax, pYMin, pYMax, pSlices, pStacks };
  // The ranges keep Min below Max.
  double GetXMin() const { return GetParam(pXMin); }  void SetXMin(double v) { SetParam(pXMin, v); }
  double GetXMax() const { return GetParam(pXMax); }  void SetXMax(double v) { SetParam(pXMax, v); }
  const TQelSurfaceFunction& GetFunction() const { return function_; }
  // Regenerates at the next render.
  void SetFunction(TQelSurfaceFunction f);
  double GetYMin() const { return GetParam(pYMin); }  void SetYMin(double v) { SetParam(pYMin, v); }
  double GetYMax() const { return GetParam(pYMax); }  void SetYMax(double v) { SetParam(pYMax, v); }

protected:
  void Generate() override;

private:
  TQelSurfaceFunction function_;
};

#pragma once
// A cylinder, a truncated cone or a cone along the z axis, centred on the
// origin, with caps.
#include "qelon/geometry/qelshape.h"

// The side is a grid of (Slices + 1) x (Stacks + 1) points from the bottom
// (z = -Height / 2) to the top, s around from the x axis, t up; its normals
// are those of the slanted side. Each cap with a radius above 0 is a fan of
// Slices triangles whose texture coordinates map the cap's square onto
// 0..1. With both caps the shape is closed.
class TQelCylinder : public TQelGridShape {
  QEL_CLASS(TQelCylinder)
public:
  enum { pBottomRadius, pTopRadius, pHeight, pSlices, pStacks, pCaps };
  bool GetCaps() const { return GetParam(pCaps) != 0; }
  void SetCaps(bool v) { SetParam(pCaps, v); }
  // Radii of 0 and above, not both 0.
  double GetBottomRadius() const { return GetParam(pBottomRadius); }  void SetBottomRadius(double v) { SetParam(pBottomRadius, v); }
  double GetTopRadius() const { return GetParam(pTopRadius); }  void SetTopRadius(double v) { SetParam(pTopRadius, v); }
  double GetHeight() const { return GetParam(pHeight); }  void SetHeight(double v) { SetParam(pHeight, v); }
  explicit TQelCylinder(TComponent* AOwner);

protected:
  TQelCylinder(TComponent* AOwner, TQelShapeParams params);
  void Generate() override;
  bool Accepts(int32_t param, double value) const override;
};

// A cylinder whose top radius is 0 unless set otherwise.
class TQelCone : public TQelCylinder {
  QEL_CLASS(TQelCone)
public:
  explicit TQelCone(TComponent* AOwner);
};

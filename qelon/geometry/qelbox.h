#pragma once
// A box centred on the origin: Width along x, Height along y, Depth along z.
#include "qelon/geometry/qelshape.h"

// 24 points (four per face, each with the face's normal and texture
// coordinates (0,0), (1,0), (1,1), (0,1) counter-clockwise seen from outside)
// and one GL_TRIANGLES list of 12 triangles, two per face, facing outwards.
// Faces in point order: front (+z), back (-z), left (-x), right (+x),
// top (+y), bottom (-y). The corners carry the position link bit, so moving
// one corner point moves the three that meet there.
class TQelBox : public TQelShape {
  QEL_CLASS(TQelBox)
public:
  explicit TQelBox(TComponent* AOwner);
  enum { pWidth, pHeight, pDepth };
  // Sizes above 0; others are ignored. A change regenerates the mesh at the next render.
  double GetWidth() const { return GetParam(pWidth); }  void SetWidth(double v) { SetParam(pWidth, v); }
  double GetHeight() const { return GetParam(pHeight); }  void SetHeight(double v) { SetParam(pHeight, v); }
  double GetDepth() const { return GetParam(pDepth); }  void SetDepth(double v) { SetParam(pDepth, v); }

protected:
  void Generate() override;
};

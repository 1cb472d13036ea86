#pragma once
// A box centred on the origin: Width along x, Height along y, Depth along z.
#include "qelon/geometry/qelprimitiveobj.h"

// 24 points (four per face, each with the face's normal and texture
// coordinates (0,0), (1,0), (1,1), (0,1) counter-clockwise seen from outside)
// and one GL_TRIANGLES list of 12 triangles, two per face, facing outwards.
// Faces in point order: front (+z), back (-z), left (-x), right (+x),
// top (+y), bottom (-y). The corners carry the position link bit, so moving
// one corner point moves the three that meet there.
class TQelBox : public TQelPrimitiveObj {
  QEL_CLASS(TQelBox)
public:
  explicit TQelBox(TComponent* AOwner);

  double GetWidth() const { return width_; }
  double GetHeight() const { return height_; }
  double GetDepth() const { return depth_; }
  // Sizes above 0; others are ignored. A change regenerates the mesh at the
  // next render.
  void SetWidth(double value);
  void SetHeight(double value);
  void SetDepth(double value);

  void InitPoints() override;
  void InitPrimitives() override;
  void Assign(TPersistent* Source) override;

  // "Width", "Height", "Depth" after the mesh's values.
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  void SetSize(double& field, double value);

  double width_ = 1, height_ = 1, depth_ = 1;
};

#pragma once
// Points, a line through points, and a triangle: the simplest shapes, each
// given by a published list of points.
#include "qelon/geometry/qelshape.h"

// A shape made from its list "Points"; a list of the wrong length is
// ignored.
class TQelPointsShape : public TQelShape {
  QEL_CLASS(TQelPointsShape)
public:
  const TQelPointList& GetPointsList() const { return GetPointList(0); }
  void SetPointsList(const TQelPointList& v) { SetPointList(0, v); }

protected:
  using TQelShape::TQelShape;
};

// One GL_POINTS list over the points ("Points", at least one). Normals are
// +z; s runs 0..1 over the list.
class TQelPoint : public TQelPointsShape {
  QEL_CLASS(TQelPoint)
public:
  explicit TQelPoint(TComponent* AOwner);

protected:
  void Generate() override;
};

// A line strip through the points ("Points", at least two). Normals are +z;
// s is the length along the line as a part of the whole.
class TQelLine : public TQelPointsShape {
  QEL_CLASS(TQelLine)
public:
  explicit TQelLine(TComponent* AOwner);

protected:
  void Generate() override;
};

// One triangle ("Points", exactly three corners), facing the side from
// which the corners run counter-clockwise; texture (0,0), (1,0), (0,1).
class TQelTriangle : public TQelPointsShape {
  QEL_CLASS(TQelTriangle)
public:
  explicit TQelTriangle(TComponent* AOwner);

protected:
  void Generate() override;
};

#pragma once
// A flat polygon from an outline, concave or self-touching, triangulated
// by the GLU tessellator.
#include "qelon/geometry/qelpointshape.h"

// The outline ("Points", at least three, closed implicitly) lies in a plane;
// the polygon faces the side from which the outline runs counter-clockwise
// (the outline's area normal) and every point's normal is that one.
// Interior follows the odd winding rule; crossing edges add points where
// they cross. Where outline points lie in a line the tessellator may leave
// a triangle of no area; it is kept, so that every inner edge is shared by
// two triangles and the outline is the only open edge. Texture coordinates map the outline's bounding rectangle in
// its plane onto 0..1.
class TQelPolygon : public TQelPointsShape {
  QEL_CLASS(TQelPolygon)
public:
  explicit TQelPolygon(TComponent* AOwner);

protected:
  void Generate() override;
};

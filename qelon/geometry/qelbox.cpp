#include "qelbox.h"
#include "qelon/geometry/qelshaperegistry.h"

#include <GL/gl.h>


namespace {

struct Face {
  TQelMathVector normal;
  // The corners counter-clockwise from outside, as signs of the half sizes.
  int corner[4][3];
};

constexpr Face kFaces[6] = {
    {{0, 0, 1}, {{-1, -1, 1}, {1, -1, 1}, {1, 1, 1}, {-1, 1, 1}}},          // front
    {{0, 0, -1}, {{1, -1, -1}, {-1, -1, -1}, {-1, 1, -1}, {1, 1, -1}}},     // back
    {{-1, 0, 0}, {{-1, -1, -1}, {-1, -1, 1}, {-1, 1, 1}, {-1, 1, -1}}},     // left
    {{1, 0, 0}, {{1, -1, 1}, {1, -1, -1}, {1, 1, -1}, {1, 1, 1}}},          // right
    {{0, 1, 0}, {{-1, 1, 1}, {1, 1, 1}, {1, 1, -1}, {-1, 1, -1}}},          // top
    {{0, -1, 0}, {{-1, -1, -1}, {1, -1, -1}, {1, -1, 1}, {-1, -1, 1}}},     // bottom
};

constexpr double kTexture[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};

constexpr TQelShapeParam kParams[] = {
    {"Width", 1, 0, 1e30, pkFloat, true},
    {"Height", 1, 0, 1e30, pkFloat, true},
    {"Depth", 1, 0, 1e30, pkFloat, true},
};

}  // namespace


void TQelBox::Generate() {
  TQelPrimitivePoints* points = GetPoints();
  points->SetSize(24);  // exactly the corners: many boxes stay small and close together
  const double half[3] = {GetWidth() / 2, GetHeight() / 2, GetDepth() / 2};
  for (const Face& face : kFaces)
    for (int c = 0; c < 4; ++c) {
      const TQelMathVector p{face.corner[c][0] * half[0], face.corner[c][1] * half[1],
                             face.corner[c][2] * half[2]};
      const int32_t i = points->Add(p, face.normal, {kTexture[c][0], kTexture[c][1], 0});
      points->SetFlag(i, TQelPrimitivePoints::PositionLinkBit, true);
    }
  const int32_t list = AddPrimitiveArray(GL_TRIANGLES);
  GetPrimitive(list)->SetSize(36);
  for (int32_t f = 0; f < 6; ++f)
    for (int32_t corner : {0, 1, 2, 0, 2, 3}) AddIndex(4 * f + corner, list);
}

TQelBox::TQelBox(TComponent* AOwner) : TQelShape(AOwner, kParams) {}

namespace {
const TQelRegisterShapes<TQelBox> registered;
}  // namespace

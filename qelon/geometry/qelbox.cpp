#include "qelbox.h"

#include <GL/gl.h>

#include "qelon/exchange/qeliexchange.h"
#include "qelon/scene/qelrenderstate.h"

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

}  // namespace

TQelBox::TQelBox(TComponent* AOwner) : TQelPrimitiveObj(AOwner) {}

void TQelBox::SetSize(double& field, double value) {
  if (!(value > 0) || value == field) return;
  field = value;
  SetInited(false);
  Changed();
}

void TQelBox::SetWidth(double value) { SetSize(width_, value); }
void TQelBox::SetHeight(double value) { SetSize(height_, value); }
void TQelBox::SetDepth(double value) { SetSize(depth_, value); }

void TQelBox::InitPoints() {
  TQelPrimitivePoints* points = GetPoints();
  points->SetSize(24);  // exactly the corners: many boxes stay small and close together
  const double half[3] = {width_ / 2, height_ / 2, depth_ / 2};
  for (const Face& face : kFaces)
    for (int c = 0; c < 4; ++c) {
      const TQelMathVector p{face.corner[c][0] * half[0], face.corner[c][1] * half[1],
                             face.corner[c][2] * half[2]};
      const int32_t i = points->Add(p, face.normal, {kTexture[c][0], kTexture[c][1], 0});
      points->SetFlag(i, TQelPrimitivePoints::PositionLinkBit, true);
    }
}

void TQelBox::InitPrimitives() {
  const int32_t list = AddPrimitiveArray(GL_TRIANGLES);
  GetPrimitive(list)->SetSize(36);
  for (int32_t f = 0; f < 6; ++f)
    for (int32_t corner : {0, 1, 2, 0, 2, 3}) AddIndex(4 * f + corner, list);
}

void TQelBox::Assign(TPersistent* Source) {
  if (auto* box = dynamic_cast<TQelBox*>(Source)) {
    width_ = box->width_;
    height_ = box->height_;
    depth_ = box->depth_;
  }
  TQelPrimitiveObj::Assign(Source);
}

void TQelBox::WriteValues(IQelExchange* exchange) {
  TQelPrimitiveObj::WriteValues(exchange);
  exchange->addtag("Width", width_, 1.0);
  exchange->addtag("Height", height_, 1.0);
  exchange->addtag("Depth", depth_, 1.0);
}

void TQelBox::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelPrimitiveObj::ReadValues(exchange, tag);
  // The sizes belong to the mesh just read: setting them must not mark a
  // stored mesh for generation.
  const bool inited = GetInited();
  double width = width_, height = height_, depth = depth_;
  if (exchange->getvalue("Width", width)) SetWidth(width);
  if (exchange->getvalue("Height", height)) SetHeight(height);
  if (exchange->getvalue("Depth", depth)) SetDepth(depth);
  SetInited(inited);
}

namespace {
const bool boxRegistered = [] {
  RegisterLibraryRenderClass<TQelBox>();
  return true;
}();
}  // namespace

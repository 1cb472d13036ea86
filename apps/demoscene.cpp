#include "demoscene.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdlib>
#include <numbers>

namespace {

// --- Shapes ---------------------------------------------------------------------

// A sphere of latitude bands centred on its origin.
class TDemoSphere : public TQelObject {
public:
  TDemoSphere(TComponent* AOwner, float radius) : TQelObject(AOwner), radius_(radius) {}

  void DoRender(TQelCustomView* view) override {
    TQelObject::DoRender(view);
    glDisable(GL_TEXTURE_2D);
    constexpr int kStacks = 18, kSlices = 32;
    const double pi = std::numbers::pi;
    for (int i = 0; i < kStacks; ++i) {
      const double a0 = pi * i / kStacks - pi / 2, a1 = pi * (i + 1) / kStacks - pi / 2;
      glBegin(GL_QUAD_STRIP);
      for (int j = 0; j <= kSlices; ++j) {
        const double b = 2 * pi * j / kSlices;
        for (double a : {a1, a0}) {
          const double nx = std::cos(a) * std::cos(b), ny = std::sin(a), nz = -std::cos(a) * std::sin(b);
          glNormal3d(nx, ny, nz);
          glVertex3d(radius_ * nx, radius_ * ny, radius_ * nz);
        }
      }
      glEnd();
    }
  }

private:
  float radius_;
};

// A square pyramid standing on its origin: a mesh shape, made the way every
// shape is, by filling the point store and the index lists.
class TDemoPyramid : public TQelPrimitiveObj {
public:
  TDemoPyramid(TComponent* AOwner, float base, float height)
      : TQelPrimitiveObj(AOwner), half_(base / 2), height_(height) {}

  void InitPoints() override {
    TQelPrimitivePoints* points = GetPoints();
    const double h = half_;
    const double corners[4][2] = {{-h, h}, {h, h}, {h, -h}, {-h, -h}};
    // Each side its own three points, so that CalcNormals gives flat faces.
    for (int i = 0; i < 4; ++i) {
      const double* a = corners[i];
      const double* b = corners[(i + 1) % 4];
      points->Add(a[0], 0, a[1]);
      points->Add(b[0], 0, b[1]);
      points->Add(0, height_, 0);
    }
    for (int i = 3; i >= 0; --i) points->Add(corners[i][0], 0, corners[i][1]);  // the base
  }

  void InitPrimitives() override {
    const int32_t sides = AddPrimitiveArray(GL_TRIANGLES);
    for (int32_t i = 0; i < 12; ++i) AddIndex(i, sides);
    const int32_t base = AddPrimitiveArray(GL_QUADS);
    for (int32_t i = 12; i < 16; ++i) AddIndex(i, base);
    CalcNormals();
  }

private:
  double half_, height_;
};

// A checkered square floor in the plane y = 0, tiles of one unit.
class TDemoFloor : public TQelObject {
public:
  TDemoFloor(TComponent* AOwner, int tiles) : TQelObject(AOwner), tiles_(tiles) {}

  void DoRender(TQelCustomView* view) override {
    TQelObject::DoRender(view);
    glDisable(GL_TEXTURE_2D);
    const float start = -tiles_ / 2.0f;
    glNormal3f(0, 1, 0);
    glBegin(GL_QUADS);
    for (int i = 0; i < tiles_; ++i)
      for (int k = 0; k < tiles_; ++k) {
        const float shade = (i + k) % 2 ? 0.75f : 0.45f;
        glColor3f(shade, shade, shade * 0.95f);
        const float x = start + i, z = start + k;
        glVertex3f(x, 0, z);
        glVertex3f(x, 0, z + 1);
        glVertex3f(x + 1, 0, z + 1);
        glVertex3f(x + 1, 0, z);
      }
    glEnd();
  }

private:
  int tiles_;
};

// --- Building ------------------------------------------------------------

// The shapes of the scene are made here only, so that the library's mesh
// shapes can take their place one by one.
TQelObject* MakeBox(TComponent* owner, float width, float height, float depth) {
  auto* box = new TQelBox(owner);
  box->SetWidth(width);
  box->SetHeight(height);
  box->SetDepth(depth);
  return box;
}

// A wooden crate's side, drawn in code so the demo needs no image files.
TQelTexture* MakeCrateTexture(TComponent* owner) {
  TBitmap bitmap(64, 64);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x) {
      const bool frame = x < 5 || x > 58 || y < 5 || y > 58;
      const bool brace = std::abs(x - y) < 4;
      const bool seam = y % 13 == 0;
      const int grain = ((x * 7 + y * 3) % 11) * 2;
      int r = 190 + grain, g = 140 + grain, b = 80;
      if (seam) r -= 60, g -= 50, b -= 30;
      if (frame || brace) r = 120 + grain, g = 80 + grain, b = 40;
      bitmap.SetPixel(x, y, TColor(r) | (TColor(g) << 8) | (TColor(b) << 16));
    }
  auto* texture = new TQelTexture(owner);
  texture->SetBitmap(&bitmap);
  texture->SetFilter({tfMagFilter, tfMinFilter});
  return texture;
}

TQelObject* MakeSphere(TComponent* owner, float radius) { return new TDemoSphere(owner, radius); }

TQelObject* MakePyramid(TComponent* owner, float base, float height) {
  return new TDemoPyramid(owner, base, height);
}

TQelObject* MakeFloor(TComponent* owner, int tiles) { return new TDemoFloor(owner, tiles); }

template <class T>
T* Add(TQelNode* node, T* item) {
  node->Add(item);
  return item;
}

// A shape lit in its own colour, placed at (x, y, z).
TQelObject* Place(TQelNode* node, TQelObject* shape, TColor color, float x, float y, float z) {
  shape->GetColor()->SetColor(color);
  shape->SetColorAsMaterial(cmAmbientDiffuse);
  shape->GetTransformation()->GetTranslation()->SetValues(x, y, z);
  return Add(node, shape);
}

}  // namespace

void BuildDemoScene(TQelNode* scene) {
  auto* attributes = Add(scene, new TQelAttributes(scene));
  attributes->SetLighting(true);
  attributes->SetLightTwoSide(true);  // the inside of the cut sphere is lit too
  attributes->GetColorAmbient()->SetParams(0.25f, 0.25f, 0.28f, 1);

  auto* sun = Add(scene, new TQelLight(scene));
  sun->SetKind(lkDirection);
  sun->GetDirection()->SetValues(0.45f, 0.8f, 0.4f);  // towards the light
  sun->GetColorDiffuse()->SetParams(0.9f, 0.88f, 0.8f, 1);
  sun->GetColorSpecular()->SetParams(1, 1, 1, 1);

  auto* material = Add(scene, new TQelMaterial(scene));
  material->GetColorSpecular()->SetParams(0.6f, 0.6f, 0.6f, 1);
  material->SetShininess(40);

  auto* fog = Add(scene, new TQelFog(scene));
  fog->SetMode(fmLinear);
  fog->SetStartDepth(6);
  fog->SetEndDepth(15);
  fog->GetColor()->SetColor(kDemoBackground);

  // Slightly below the world axes, so that they stay visible on it.
  TQelObject* floor = Place(scene, MakeFloor(scene, 12), 0xFFFFFF, 0, -0.01f, 0);
  floor->SetCached(true);  // many tiles, never changing

  // A textured crate; the texture modulates the lit white surface.
  auto* crate = static_cast<TQelPrimitiveObj*>(Place(scene, MakeBox(scene, 1, 1, 1), 0xFFFFFF, -1.2f, 0.5f, 0));
  crate->GetTransformation()->GetRotation()->SetY(25);
  crate->SetTexture(MakeCrateTexture(scene));
  crate->SetTextured(true);
  Place(scene, MakePyramid(scene, 1.1f, 1.3f), 0x20C0E0, 1.3f, 0, -0.9f);

  // The sphere with its top cap cut away, so that its inside shows. The
  // plane keeps y <= 0.3 in the node's frame and is switched off after the
  // sphere.
  auto* cut = Add(scene, new TQelNode(scene));
  cut->GetTransformation()->GetTranslation()->SetValues(0.4f, 0.7f, 1.1f);
  auto* clip = Add(cut, new TQelClip(cut));
  clip->SetPlane(0, 0);
  clip->SetPlane(1, -1);
  clip->SetPlane(2, 0);
  clip->SetPlane(3, 0.3);
  Place(cut, MakeSphere(cut, 0.7f), 0xD06040, 0, 0, 0);
  cut->OnAfterRender = [](TQelCustomView*) { glDisable(GL_CLIP_PLANE0); };
}

void PlaceDemoCamera(TQelCamera* camera) {
  camera->SetViewFar(40);
  camera->TurnAt({3.5, 3.2, 6.5}, {0, 0.4, 0});
}

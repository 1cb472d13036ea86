#include "demoscene.h"

#include <GL/gl.h>

#include <cmath>
#include <numbers>

namespace {

// --- Shapes drawn with plain GL, until the mesh shapes take their place ------

// An axis-aligned box centred on its origin.
class TDemoBox : public TQelObject {
public:
  TDemoBox(TComponent* AOwner, float width, float height, float depth)
      : TQelObject(AOwner), half_{width / 2, height / 2, depth / 2} {}

  void DoRender(TQelCustomView* view) override {
    TQelObject::DoRender(view);  // colour
    const float x = half_[0], y = half_[1], z = half_[2];
    glBegin(GL_QUADS);
    glNormal3f(0, 0, 1);
    glVertex3f(-x, -y, z); glVertex3f(x, -y, z); glVertex3f(x, y, z); glVertex3f(-x, y, z);
    glNormal3f(0, 0, -1);
    glVertex3f(x, -y, -z); glVertex3f(-x, -y, -z); glVertex3f(-x, y, -z); glVertex3f(x, y, -z);
    glNormal3f(1, 0, 0);
    glVertex3f(x, -y, z); glVertex3f(x, -y, -z); glVertex3f(x, y, -z); glVertex3f(x, y, z);
    glNormal3f(-1, 0, 0);
    glVertex3f(-x, -y, -z); glVertex3f(-x, -y, z); glVertex3f(-x, y, z); glVertex3f(-x, y, -z);
    glNormal3f(0, 1, 0);
    glVertex3f(-x, y, z); glVertex3f(x, y, z); glVertex3f(x, y, -z); glVertex3f(-x, y, -z);
    glNormal3f(0, -1, 0);
    glVertex3f(-x, -y, -z); glVertex3f(x, -y, -z); glVertex3f(x, -y, z); glVertex3f(-x, -y, z);
    glEnd();
  }

private:
  float half_[3];
};

// A sphere of latitude bands centred on its origin.
class TDemoSphere : public TQelObject {
public:
  TDemoSphere(TComponent* AOwner, float radius) : TQelObject(AOwner), radius_(radius) {}

  void DoRender(TQelCustomView* view) override {
    TQelObject::DoRender(view);
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

// A square pyramid standing on its origin.
class TDemoPyramid : public TQelObject {
public:
  TDemoPyramid(TComponent* AOwner, float base, float height)
      : TQelObject(AOwner), half_(base / 2), height_(height) {}

  void DoRender(TQelCustomView* view) override {
    TQelObject::DoRender(view);
    const float h = half_, t = height_;
    const float corners[5][2] = {{-h, h}, {h, h}, {h, -h}, {-h, -h}, {-h, h}};
    const float slope = h / std::sqrt(h * h + t * t), up = t / std::sqrt(h * h + t * t);
    glBegin(GL_TRIANGLES);
    for (int i = 0; i < 4; ++i) {
      const float* a = corners[i];
      const float* b = corners[i + 1];
      // The face's outward direction in the floor plane, tilted up.
      const float mx = (a[0] + b[0]) / 2, mz = (a[1] + b[1]) / 2;
      const float len = std::sqrt(mx * mx + mz * mz);
      glNormal3f(up * mx / len, slope, up * mz / len);
      glVertex3f(a[0], 0, a[1]);
      glVertex3f(b[0], 0, b[1]);
      glVertex3f(0, t, 0);
    }
    glEnd();
    glBegin(GL_QUADS);
    glNormal3f(0, -1, 0);
    for (int i = 3; i >= 0; --i) glVertex3f(corners[i][0], 0, corners[i][1]);
    glEnd();
  }

private:
  float half_, height_;
};

// A checkered square floor in the plane y = 0, tiles of one unit.
class TDemoFloor : public TQelObject {
public:
  TDemoFloor(TComponent* AOwner, int tiles) : TQelObject(AOwner), tiles_(tiles) {}

  void DoRender(TQelCustomView* view) override {
    TQelObject::DoRender(view);
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
  return new TDemoBox(owner, width, height, depth);
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

  Place(scene, MakeBox(scene, 1, 1, 1), 0x3030D0, -1.2f, 0.5f, 0)
      ->GetTransformation()->GetRotation()->SetY(25);
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

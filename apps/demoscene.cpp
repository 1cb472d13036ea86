#include "demoscene.h"

#include <GL/gl.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>

namespace {

constexpr int kFloorTiles = 6;  // along each side

// --- Shapes ---------------------------------------------------------------------

// Every shape is a plain mesh filled here, once, and stored in full, so that
// a saved scene needs no class of its own to load.
TQelPrimitiveObj* FinishMesh(TQelPrimitiveObj* mesh) {
  mesh->SetInited(true);  // the first render must not regenerate (and empty) it
  mesh->SetStoreMode(smAll);
  return mesh;
}

// A sphere of latitude bands centred on its origin.
TQelPrimitiveObj* MakeSphere(TComponent* owner, double radius) {
  constexpr int kStacks = 18, kSlices = 32;
  const double pi = std::numbers::pi;
  auto* sphere = new TQelPrimitiveObj(owner);
  TQelPrimitivePoints* points = sphere->GetPoints();
  for (int i = 0; i <= kStacks; ++i)
    for (int j = 0; j <= kSlices; ++j) {
      const double a = pi * i / kStacks - pi / 2, b = 2 * pi * j / kSlices;
      const TQelMathVector n{std::cos(a) * std::cos(b), std::sin(a), -std::cos(a) * std::sin(b)};
      points->Add({radius * n.x, radius * n.y, radius * n.z}, n, ZEROVEC);
    }
  // Two triangles per band cell, counter-clockwise seen from outside; the
  // ones that shrink to a point at a pole are left out.
  const int32_t list = sphere->AddPrimitiveArray(GL_TRIANGLES);
  auto at = [](int i, int j) { return i * (kSlices + 1) + j; };
  for (int i = 0; i < kStacks; ++i)
    for (int j = 0; j < kSlices; ++j) {
      const int32_t upper = at(i + 1, j), lower = at(i, j), lowerNext = at(i, j + 1),
                    upperNext = at(i + 1, j + 1);
      if (i > 0)
        for (int32_t k : {upper, lower, lowerNext}) sphere->AddIndex(k, list);
      if (i + 1 < kStacks)
        for (int32_t k : {upper, lowerNext, upperNext}) sphere->AddIndex(k, list);
    }
  return FinishMesh(sphere);
}

// A square pyramid standing on its origin.
TQelPrimitiveObj* MakePyramid(TComponent* owner, double base, double height) {
  auto* pyramid = new TQelPrimitiveObj(owner);
  TQelPrimitivePoints* points = pyramid->GetPoints();
  const double h = base / 2;
  const double corners[4][2] = {{-h, h}, {h, h}, {h, -h}, {-h, -h}};
  // Each side its own three points, so that CalcNormals gives flat faces.
  const int32_t sides = pyramid->AddPrimitiveArray(GL_TRIANGLES);
  for (int i = 0; i < 4; ++i) {
    const double* a = corners[i];
    const double* b = corners[(i + 1) % 4];
    pyramid->AddIndex(points->Add(a[0], 0, a[1]), sides);
    pyramid->AddIndex(points->Add(b[0], 0, b[1]), sides);
    pyramid->AddIndex(points->Add(0, height, 0), sides);
  }
  const int32_t bottom = pyramid->AddPrimitiveArray(GL_QUADS);
  for (int i = 3; i >= 0; --i) pyramid->AddIndex(points->Add(corners[i][0], 0, corners[i][1]), bottom);
  pyramid->CalcNormals();
  return FinishMesh(pyramid);
}

// The tiles of a checkered square floor in the plane y = 0, one unit each,
// whose corner tile's colour is even or not: two meshes make the pattern.
TQelPrimitiveObj* MakeFloorTiles(TComponent* owner, int tiles, bool odd) {
  auto* floor = new TQelPrimitiveObj(owner);
  TQelPrimitivePoints* points = floor->GetPoints();
  const int32_t quads = floor->AddPrimitiveArray(GL_QUADS);
  const double start = -tiles / 2.0;
  for (int i = 0; i < tiles; ++i)
    for (int k = 0; k < tiles; ++k) {
      if ((i + k) % 2 != odd) continue;
      const double x = start + i, z = start + k;
      constexpr int kCorners[4][2] = {{0, 0}, {0, 1}, {1, 1}, {1, 0}};
      for (const auto& c : kCorners)
        floor->AddIndex(points->Add({x + c[0], 0, z + c[1]}, {0, 1, 0}, ZEROVEC), quads);
    }
  return FinishMesh(floor);
}

// --- Building ------------------------------------------------------------

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

template <class T>
T* Add(TQelNode* node, T* item, const char* name) {
  item->SetName(name);
  node->Add(item);
  return item;
}

// A shape lit in its own colour, placed at (x, y, z).
template <class T>
T* Place(TQelNode* node, T* shape, const char* name, TColor color, float x, float y, float z) {
  shape->GetColor()->SetColor(color);
  shape->SetColorAsMaterial(cmAmbientDiffuse);
  shape->GetTransformation()->GetTranslation()->SetValues(x, y, z);
  return Add(node, shape, name);
}

// A clip plane keeping the points where a x + b y + c z + d >= 0.
void AddClip(TQelNode* node, const char* name, const std::array<double, 4>& plane) {
  auto* clip = Add(node, new TQelClip(node), name);
  for (int i = 0; i < 4; ++i) clip->SetPlane(i, plane[i]);
}

}  // namespace

void BuildDemoScene(TQelNode* scene) {
  auto* attributes = Add(scene, new TQelAttributes(scene), "Lighting");
  attributes->SetLighting(true);
  attributes->SetLightTwoSide(true);  // the inside of the cut sphere is lit too
  attributes->GetColorAmbient()->SetParams(0.25f, 0.25f, 0.28f, 1);

  auto* sun = Add(scene, new TQelLight(scene), "Sun");
  sun->SetKind(lkDirection);
  sun->GetDirection()->SetValues(0.45f, 0.8f, 0.4f);  // towards the light
  sun->GetColorDiffuse()->SetParams(0.9f, 0.88f, 0.8f, 1);
  sun->GetColorSpecular()->SetParams(1, 1, 1, 1);

  auto* material = Add(scene, new TQelMaterial(scene), "Gloss");
  material->GetColorSpecular()->SetParams(0.6f, 0.6f, 0.6f, 1);
  material->SetShininess(40);

  auto* fog = Add(scene, new TQelFog(scene), "Haze");
  fog->SetMode(fmLinear);
  fog->SetStartDepth(6);
  fog->SetEndDepth(15);
  fog->GetColor()->SetColor(kDemoBackground);

  // Slightly below the world axes, so that they stay visible on it.
  for (bool odd : {false, true}) {
    const float shade = odd ? 0.75f : 0.45f;
    auto* tiles = Place(scene, MakeFloorTiles(scene, kFloorTiles, odd),
                        odd ? "FloorLight" : "FloorDark", 0, 0, -0.01f, 0);
    tiles->GetColor()->SetParams(shade, shade, shade * 0.95f, 1);
    tiles->SetCached(true);  // many tiles, never changing
  }

  // A textured crate; the texture modulates the lit white surface.
  auto* crate = Place(scene, new TQelBox(scene), "Crate", 0xFFFFFF, -1.2f, 0.5f, 0);
  crate->GetTransformation()->GetRotation()->SetY(25);
  TQelTexture* wood = MakeCrateTexture(scene);
  wood->SetName("CrateWood");
  crate->SetTexture(wood);
  crate->SetTextured(true);
  Place(scene, MakePyramid(scene, 1.1, 1.3), "Pyramid", 0x20C0E0, 1.3f, 0, -0.9f);

  // The sphere with its top cap cut away, so that its inside shows. The
  // first plane keeps y <= 0.3 in the node's frame; the second one keeps
  // everything, which ends the cut for whatever is drawn after the node
  // (a disabled plane would switch it off too, but disabled items are not
  // saved).
  auto* cut = Add(scene, new TQelNode(scene), "CutSphere");
  cut->GetTransformation()->GetTranslation()->SetValues(0.4f, 0.7f, 1.1f);
  AddClip(cut, "Cut", {0, -1, 0, 0.3});
  Place(cut, MakeSphere(cut, 0.7), "Sphere", 0xD06040, 0, 0, 0);
  AddClip(cut, "Uncut", {0, 0, 0, 1});
}

void PlaceDemoCamera(TQelCamera* camera) {
  camera->SetViewFar(40);
  const TQelMathVector target{0, 0.4, 0};
  const TQelMathVector& d = kDemoViewDirection;
  camera->TurnAt({target.x + d.x, target.y + d.y, target.z + d.z}, target);
}

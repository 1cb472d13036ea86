// A shape of one's own: a mesh class that fills its points and index lists
// on demand and regenerates when its parameter changes.
#include <GL/gl.h>

#include <cmath>
#include <numbers>

#include "example.h"

// A star-shaped prism: Rays points around, extruded along z.
class TStarPrism : public TQelPrimitiveObj {
  QEL_CLASS(TStarPrism)
public:
  using TQelPrimitiveObj::TQelPrimitiveObj;
  void SetRays(int value) {
    if (value < 3 || value == rays_) return;
    rays_ = value;
    SetInited(false);  // InitPoints and InitPrimitives run again at the next render
    Changed();
  }

  void InitPoints() override {
    const int n = 2 * rays_;
    for (double z : {0.25, -0.25})
      for (int i = 0; i < n; ++i) {
        const double a = 2 * std::numbers::pi * i / n, r = i % 2 ? 0.45 : 1.0;
        GetPoints()->Add(r * std::cos(a), r * std::sin(a), z);
      }
  }
  void InitPrimitives() override {
    const int n = 2 * rays_;
    // Front and back as fans around the middle, and the sides as quads.
    for (int face = 0; face < 2; ++face) {
      const int32_t fan = AddPrimitiveArray(GL_TRIANGLES);
      const int32_t middle = GetPoints()->Add(0, 0, face ? -0.25 : 0.25);
      for (int i = 0; i < n; ++i) {
        const int a = face * n + i, b = face * n + (i + 1) % n;
        for (int32_t k : {middle, face ? b : a, face ? a : b}) AddIndex(k, fan);
      }
    }
    const int32_t sides = AddPrimitiveArray(GL_QUADS);
    for (int i = 0; i < n; ++i)
      for (int32_t k : {i, n + i, n + (i + 1) % n, (i + 1) % n}) AddIndex(k, sides);
    CalcNormals();
  }

private:
  int rays_ = 5;
};

int main(int argc, char** argv) {
  TQelNode scene(nullptr);
  auto* lighting = new TQelAttributes(&scene);
  lighting->SetLighting(true);
  scene.Add(lighting);
  auto* sun = new TQelLight(&scene);
  sun->SetKind(lkDirection);
  sun->GetDirection()->SetValues(0.5f, 0.7f, 1);  // towards the light
  scene.Add(sun);
  auto* star = new TStarPrism(&scene);
  star->SetRays(6);
  star->GetColor()->SetColor(0x30C0F0);
  star->SetColorAsMaterial(cmAmbientDiffuse);
  star->GetTransformation()->GetRotation()->SetValues(-25, 20, 0);
  scene.Add(star);

  TQelPerspectiveCamera camera(nullptr);
  camera.TurnAt({0, 0, 4}, {0, 0, 0});
  return SavePicture(scene, camera, 320, 240, OutputFile(argc, argv, "custom_shape.png"));
}

// A texture with alpha: a lattice whose holes show the box behind it. The
// alpha comes from a colour key (black texels become fully transparent);
// the attributes blend by alpha for what follows them.
#include "example.h"

int main(int argc, char** argv) {
  TQelNode scene(nullptr);
  auto* back = new TQelBox(&scene);
  back->GetColor()->SetColor(0x2080F0);
  back->GetTransformation()->GetTranslation()->SetValues(0, 0, -1.5f);
  scene.Add(back);

  TBitmap lattice(64, 64);  // sides must be powers of two
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x)
      lattice.SetPixel(x, y, (x % 16 < 4 || y % 16 < 4) ? 0xF0F0F0 : 0x000000);
  auto* texture = new TQelTexture(&scene);
  texture->SetBitmap(&lattice);
  texture->SetMaskAlpha(1.0, 0x000000, 0.0);
  scene.Add(texture);

  auto* blending = new TQelAttributes(&scene);
  blending->SetTransparency(tmAlpha);
  scene.Add(blending);
  auto* front = new TQelBox(&scene);
  front->SetDepth(0.1);
  front->SetWidth(2.5);
  front->SetHeight(2.5);
  front->SetTexture(texture);
  front->SetTextured(true);
  scene.Add(front);

  TQelPerspectiveCamera camera(nullptr);
  camera.TurnAt({0.8, 0.5, 4}, {0, 0, -0.5});
  return SavePicture(scene, camera, 320, 240, OutputFile(argc, argv, "texture_alpha.png"));
}

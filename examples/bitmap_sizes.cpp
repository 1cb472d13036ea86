// Rendering into bitmaps of any size: the view's GetImage draws at the
// bitmap's size, whatever the view's own size, here from a thumbnail to a
// picture larger than most screens.
#include "example.h"

int main(int argc, char** argv) {
  TQelNode scene(nullptr);
  auto* box = new TQelBox(&scene);
  box->GetTransformation()->GetRotation()->SetValues(30, 40, 0);
  scene.Add(box);
  TQelPerspectiveCamera camera(nullptr);
  camera.TurnAt({0, 0, 4}, {0, 0, 0});

  const std::string base = OutputFile(argc, argv, "bitmap_sizes.png");
  const int sizes[][2] = {{64, 48}, {800, 600}, {3000, 1000}};
  int status = 0;
  for (const auto& s : sizes) {
    // The last one is the file the caller named; the others get their size
    // before the extension.
    const bool last = &s == &sizes[2];
    const std::string size = "-" + std::to_string(s[0]) + "x" + std::to_string(s[1]);
    const std::string name = last ? base : base.substr(0, base.size() - 4) + size + ".png";
    status |= SavePicture(scene, camera, s[0], s[1], name);
  }
  return status;
}

// Saving and loading a scene: a node with a light, a material and boxes is
// written as a scene file, read back into an empty node, and the loaded
// copy is drawn.
#include "example.h"

int main(int argc, char** argv) {
  const std::string picture = OutputFile(argc, argv, "save_load.png");
  const std::string file = picture + ".xml";
  {
    TQelNode scene(nullptr);
    auto* attributes = new TQelAttributes(&scene);
    attributes->SetLighting(true);
    scene.Add(attributes);
    scene.Add(new TQelLight(&scene));
    auto* red = new TQelMaterial(&scene);
    red->SetName("Red");  // references are saved by the referred object's ID
    red->GetColorDiffuse()->SetParams(0.9f, 0.2f, 0.1f, 1);
    scene.Add(red);
    for (int i = 0; i < 3; ++i) {
      auto* box = new TQelBox(&scene);
      box->SetName("Box" + std::to_string(i));
      box->SetMaterial(red);
      box->GetTransformation()->GetTranslation()->SetValues(1.5f * (i - 1), 0, 0);
      box->GetTransformation()->GetRotation()->SetValues(20, 30.0f * i, 0);
      scene.Add(box);
    }
    TQelExchange exchange(nullptr);
    exchange.SetFileDescription("three red boxes");
    if (!exchange.SaveToFile(file, &scene)) return 1;
    std::printf("saved %s\n", file.c_str());
  }
  TQelNode loaded(nullptr);
  TQelExchange exchange(nullptr);
  if (!exchange.LoadFromFile(file, &loaded)) return 1;
  std::printf("loaded %d items\n", static_cast<int>(loaded.GetCount()));
  TQelPerspectiveCamera camera(nullptr);
  camera.TurnAt({0, 1, 5}, {0, 0, 0});
  return SavePicture(loaded, camera, 400, 200, picture);
}

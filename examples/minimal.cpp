// The smallest scene: one box seen by a perspective camera, drawn headless.
#include "example.h"

int main(int argc, char** argv) {
  TQelNode scene(nullptr);
  auto* box = new TQelBox(&scene);  // the scene owns and deletes it
  box->GetTransformation()->GetRotation()->SetValues(20, 30, 0);
  scene.Add(box);

  TQelPerspectiveCamera camera(nullptr);
  camera.TurnAt({0, 0, 4}, {0, 0, 0});  // stand at z = 4, look at the origin
  return SavePicture(scene, camera, 320, 240, OutputFile(argc, argv, "minimal.png"));
}

// Materials, lights and fog: two rows of boxes that fade into the fog, lit
// by a white sun and a red spot light, in two shared materials. Lights and fog act on what the node draws after them.
#include "example.h"

int main(int argc, char** argv) {
  TQelNode scene(nullptr);
  auto* attributes = new TQelAttributes(&scene);
  attributes->SetLighting(true);
  scene.Add(attributes);

  auto* sun = new TQelLight(&scene);
  sun->SetKind(lkDirection);
  sun->GetDirection()->SetValues(0.3f, 1, 0.6f);  // towards the light
  scene.Add(sun);
  auto* spot = new TQelLight(&scene);
  spot->SetID(idLight1);  // each light its own GL light
  spot->SetKind(lkSpot);
  spot->SetCutOff(25);
  spot->GetColorDiffuse()->SetParams(1, 0.2f, 0.2f, 1);
  spot->GetTransformation()->GetTranslation()->SetValues(0, 3, 0);
  spot->GetDirection()->SetValues(0, -1, 0);
  scene.Add(spot);

  auto* fog = new TQelFog(&scene);
  fog->SetMode(fmLinear);
  fog->SetStartDepth(4);
  fog->SetEndDepth(14);
  fog->GetColor()->SetColor(0x302020);  // the background: far boxes vanish into it
  scene.Add(fog);

  // Materials are shared: each names its colours once, many objects use it.
  auto* gold = new TQelMaterial(&scene);
  gold->GetColorDiffuse()->SetParams(0.8f, 0.6f, 0.2f, 1);
  gold->GetColorSpecular()->SetParams(1, 1, 0.8f, 1);
  gold->SetShininess(60);
  scene.Add(gold);
  auto* jade = new TQelMaterial(&scene);
  jade->GetColorDiffuse()->SetParams(0.3f, 0.7f, 0.5f, 1);
  scene.Add(jade);

  for (int i = 0; i < 8; ++i) {
    auto* box = new TQelBox(&scene);
    box->SetMaterial(i % 2 ? jade : gold);
    box->GetTransformation()->GetTranslation()->SetValues(-1.5f + (i % 2) * 3, 0, -2.0f * (i / 2));
    box->GetTransformation()->GetRotation()->SetValues(0, 30.0f * i, 0);
    scene.Add(box);
  }

  TQelPerspectiveCamera camera(nullptr);
  camera.TurnAt({0, 2, 5}, {0, 0, -3});
  return SavePicture(scene, camera, 400, 300, OutputFile(argc, argv, "lights_fog.png"));
}

// Display-list caching: a grid of 10000 boxes, each compiled into its own
// display list on the first frame and replayed after that. Prints the time
// of the first frame (compiling) and of the next ones (replaying).
#include <chrono>

#include "example.h"

int main(int argc, char** argv) {
  constexpr int kSide = 100;
  TQelNode scene(nullptr);
  for (int i = 0; i < kSide * kSide; ++i) {
    auto* box = new TQelBox(&scene);
    box->SetWidth(0.6);
    box->SetHeight(0.2 + 0.6 * ((i * 7919) % 13) / 13.0);
    box->SetDepth(0.6);
    box->GetColor()->SetColor(0x404040 + ((i * 2654435761u) & 0x3F3F3F));
    box->GetTransformation()->GetTranslation()->SetValues(i % kSide - kSide / 2.0f, 0,
                                                          i / kSide - kSide / 2.0f);
    box->SetCached(true);  // a change of the box drops its list; nothing changes here
    scene.Add(box);
  }
  TQelPerspectiveCamera camera(nullptr);
  camera.SetViewFar(200);
  camera.TurnAt({0, 40, 70}, {0, 0, 0});

  QelSetWindowSystem(QelEGLWindowSystem());
  {
    TQelView view(nullptr);
    view.SetSize(320, 240);
    view.SetCamera(&camera);
    view.OnRender = [&](TQelView* v) { scene.Render(v); };
    TBitmap picture(320, 240);
    for (int frame = 0; frame < 3; ++frame) {
      const auto start = std::chrono::steady_clock::now();
      view.GetImage(picture);
      const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
      std::printf("frame %d: %.1f ms%s\n", frame, took.count(), frame ? "" : " (compiling the lists)");
    }
  }
  QelSetWindowSystem(nullptr);
  return SavePicture(scene, camera, 320, 240, OutputFile(argc, argv, "cached_scene.png"));
}

// Picking: which object lies under a window pixel. Two boxes and a mesh
// with two index lists; a click in the middle of each is asked of the view,
// and the picture marks the clicked places.
#include <GL/gl.h>

#include "example.h"

int main(int argc, char** argv) {
  TQelNode scene(nullptr);
  auto* left = new TQelBox(&scene);
  left->SetName("Left");
  left->GetTransformation()->GetTranslation()->SetValues(-1.5f, 0, 0);
  scene.Add(left);
  auto* right = new TQelBox(&scene);
  right->SetName("Right");
  right->GetColor()->SetColor(0x40A0F0);
  right->GetTransformation()->GetTranslation()->SetValues(1.5f, 0, 0);
  scene.Add(right);
  // Two squares in one mesh, one index list each: a hit names the list.
  auto* squares = new TQelPrimitiveObj(&scene);
  squares->SetName("Squares");
  for (int list = 0; list < 2; ++list) {
    const int32_t quads = squares->AddPrimitiveArray(GL_QUADS);
    const double x = list ? 0.1 : -0.9;
    for (const auto& c : {std::pair{0.0, 0.0}, {0.8, 0.0}, {0.8, 0.8}, {0.0, 0.8}})
      squares->AddIndex(squares->GetPoints()->Add(x + c.first, c.second - 1.6, 0), quads);
  }
  squares->SetInited(true);  // filled by hand: nothing to generate
  scene.Add(squares);

  TQelPerspectiveCamera camera(nullptr);
  camera.TurnAt({0, 0, 6}, {0, 0, 0});
  QelSetWindowSystem(QelEGLWindowSystem());
  int status = 0;
  {
    TQelView view(nullptr);
    view.SetSize(320, 240);
    view.SetCamera(&camera);
    view.OnRender = [&](TQelView* v) { scene.Render(v); };
    view.HandleNeeded();
    view.Paint();  // WinFrom3D projects through the matrices of the last paint
    // Window pixels (y down) of the boxes' centres, of each square and of empty space.
    for (TQelMathVector at : {TQelMathVector{-1.5, 0, 0}, {1.5, 0, 0}, {-0.5, -1.2, 0},
                              {0.5, -1.2, 0}, {0, 1.5, 0}}) {
      const TQelMathVector pixel = view.WinFrom3D(at);
      TObject* hit = nullptr;
      const int32_t list = view.GetObj(static_cast<int32_t>(pixel.x), static_cast<int32_t>(pixel.y), hit);
      auto* component = dynamic_cast<TComponent*>(hit);
      std::printf("at %3.0f,%3.0f: %s \"%s\", index list %d\n", pixel.x, pixel.y,
                  hit ? hit->ClassName() : "nothing", component ? component->GetName().c_str() : "",
                  list);
      if ((at.y > 1) != (hit == nullptr)) status = 1;  // only the last click misses
    }
  }
  QelSetWindowSystem(nullptr);
  return status | SavePicture(scene, camera, 320, 240, OutputFile(argc, argv, "picking.png"));
}

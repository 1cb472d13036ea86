// Draws a box headless with an installed Qelon and checks that the middle
// of the picture shows it and a corner the background.
#include <qelon/qelon.h>

#include <cstdio>

int main() {
  QelSetWindowSystem(QelEGLWindowSystem());
  int status = 1;
  {
    TQelNode scene(nullptr);
    auto* box = new TQelBox(&scene);
    scene.Add(box);
    TQelPerspectiveCamera camera(nullptr);
    camera.TurnAt({0, 0, 5}, {0, 0, 0});
    TQelView view(nullptr);
    view.SetSize(64, 64);
    view.SetBackgroundColor(0x000000);
    view.SetCamera(&camera);
    view.OnRender = [&](TQelView* v) { scene.Render(v); };
    TBitmap picture(64, 64);
    if (view.GetImage(picture)) {
      const TColor middle = picture.GetPixel(32, 32), corner = picture.GetPixel(0, 0);
      std::printf("Qelon %s: middle %06X, corner %06X\n", QelProductVersion().c_str(),
                  static_cast<unsigned>(middle), static_cast<unsigned>(corner));
      status = middle != corner && corner == 0x000000 ? 0 : 1;
    }
  }
  QelSetWindowSystem(nullptr);
  return status;
}

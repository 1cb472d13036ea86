#pragma once
// What the examples share: a headless view that draws a scene into a PNG.
#include <qelon/qelon.h>

#include <cstdio>
#include <string>

// Draws top, seen by camera, into a width by height PNG. 0 when the picture
// was written and shows more than the background.
inline int SavePicture(TQelNode& top, TQelCamera& camera, int width, int height,
                       const std::string& file) {
  QelSetWindowSystem(QelEGLWindowSystem());  // headless, display or not
  int status = 1;
  {
    TQelView view(nullptr);
    view.SetSize(width, height);
    view.SetBackgroundColor(0x302020);
    view.SetCamera(&camera);
    view.OnRender = [&](TQelView* v) { top.Render(v); };
    TBitmap picture(width, height);
    if (view.GetImage(picture)) {
      picture.SaveToFile(file);
      for (int y = 0; y < height && status; y += 4)
        for (int x = 0; x < width && status; x += 4)
          if (picture.GetPixel(x, y) != 0x302020) status = 0;
      std::printf("wrote %s (%dx%d)%s\n", file.c_str(), width, height,
                  status ? ": only background" : "");
    }
  }
  QelSetWindowSystem(nullptr);
  return status;
}

// The output file: the first argument, else name.
inline std::string OutputFile(int argc, char** argv, const char* name) {
  return argc > 1 ? argv[1] : name;
}

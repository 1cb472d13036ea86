#pragma once
// The qelon program's viewer: the demo scene or a scene file in a view with
// a camera, headless into a picture or in a window.
#include <string>

#include <qelon/qelon.h>

#include "scenefile.h"

struct TOptions {
  std::string scene;       // a scene file to draw instead of the demo scene
  std::string output = "demo.png";
  int width = 800, height = 600;
  int frames = 0;          // view: stop after drawing this many frames (0: no limit)
  double exitAfter = 0;    // view: stop after this many seconds (0: no limit)
};

extern const char* const kKeys;

// `qelon render`: the picture only, headless; the exit status.
int Render(const TOptions& o);
// `qelon view`: the window; the exit status (1 without a display).
int View(const TOptions& o);

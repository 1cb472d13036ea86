// The qelon program: renders the demo scene or a scene file into a PNG
// without a display, or shows it in a window that answers the mouse and the
// keyboard; lists and writes scene files. `qelon --help` and
// `qelon COMMAND --help` say the rest.
#include <cstdio>
#include <exception>
#include <string>

#include <CLI/CLI.hpp>
#include <qelon/qelon.h>

#include "scenefile.h"
#include "viewer.h"

namespace {

// "WxH" with both sides between 1 and 16384.
bool ParseSize(const std::string& text, int& width, int& height) {
  int w = 0, h = 0;
  char rest = 0;
  if (std::sscanf(text.c_str(), "%dx%d%c", &w, &h, &rest) != 2 || w < 1 || h < 1 || w > 16384 ||
      h > 16384)
    return false;
  width = w;
  height = h;
  return true;
}

const CLI::Validator kSize(
    [](std::string& text) {
      int w, h;
      return ParseSize(text, w, h) ? std::string()
                                   : "expected WIDTHxHEIGHT, each 1 to 16384, got " + text;
    },
    "WxH", "size");

void AddScene(CLI::App* command, TOptions& o) {
  command->add_option("SCENE", o.scene, "scene file to draw instead of the demo scene")
      ->check(CLI::ExistingFile);
}

void AddSize(CLI::App* command, std::string& size) {
  command->add_option("--size", size, "picture or window size in pixels")
      ->check(kSize)
      ->capture_default_str();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Draws the demo scene or a scene file, headless into a PNG or in a window; "
               "lists and writes scene files. Without a command: demo.png, then the window "
               "where a display exists.",
               "qelon");
  app.set_version_flag("--version", QelProductName() + " " + QelProductVersion());
  app.require_subcommand(0, 1);
  TOptions o;
  std::string size = "800x600", file;

  CLI::App* render = app.add_subcommand("render", "draw headless into a PNG file");
  AddScene(render, o);
  render->add_option("-o,--output", o.output, "PNG file to write")->capture_default_str();
  AddSize(render, size);

  CLI::App* view = app.add_subcommand("view", "show the scene in a window (needs a display)");
  view->footer(kKeys);
  AddScene(view, o);
  AddSize(view, size);
  view->add_option("--frames", o.frames, "stop after drawing this many frames")
      ->check(CLI::Range(1, 1000000000));
  view->add_option("--exit-after", o.exitAfter, "stop after this many seconds")
      ->check(CLI::Range(0.001, 1e9));

  CLI::App* info = app.add_subcommand(
      "info", "print the tree of a scene file and the messages of loading it; exit status 1 "
              "when loading logged errors");
  info->add_option("SCENE", file, "scene file")->required()->check(CLI::ExistingFile);

  CLI::App* saveDemo =
      app.add_subcommand("save-demo", "write the demo scene to a scene file (its texture beside it)");
  saveDemo->add_option("FILE", file, "scene file to write")->required();

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    // Help and version end well; every mistake in the command line gives 2.
    const int status = app.exit(e);
    return status == 0 ? 0 : 2;
  }
  ParseSize(size, o.width, o.height);
  try {
    if (*info) return SceneInfo(file);
    if (*saveDemo) return SaveDemo(file);
    if (*render) return Render(o);
    if (*view) return View(o);
    const int rendered = Render(o);
    if (rendered != 0 || !QelGLFWWindowSystem()) return rendered;
    return View(o);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "qelon: %s\n", e.what());
    return 1;
  }
}

// The qelon program: prints what it is and checks that the library works.
#include <cstdio>
#include <cstring>

#include <qelon/qelon.h>

static int SelfCheck() {
  TQelColor color;
  color.SetParams(0.5f, 0, 0, 0.25f);
  bool ok = (color.GetColor() == 128) && color.GetAlpha() == 0.25f;
  std::printf("self-check: %s\n", ok ? "ok" : "FAILED");
  return ok ? 0 : 1;
}

int main(int argc, char** argv) {
  std::printf("%s %s\n", QelProductName().c_str(), QelProductVersion().c_str());
  if (argc > 1 && std::strcmp(argv[1], "--version") == 0) return 0;
  return SelfCheck();
}

#include "qelpixelformat.h"

#include <cmath>
#include <cstdlib>
#include <tuple>

PIXELFORMATDESCRIPTOR QelEmptyPixelFormat() {
  PIXELFORMATDESCRIPTOR pfd{};
  pfd.nSize = sizeof(PIXELFORMATDESCRIPTOR);
  pfd.nVersion = 1;
  return pfd;
}

namespace {

constexpr uint32_t kRequiredFlags = PFD_DRAW_TO_WINDOW | PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL;

// Larger compares better; the fields are in order of importance.
using TFormatScore = std::tuple<bool, bool, bool, bool, bool, bool, int, int>;

TFormatScore Score(const PIXELFORMATDESCRIPTOR& f, const PIXELFORMATDESCRIPTOR& r) {
  const bool wantDouble = (r.dwFlags & PFD_DOUBLEBUFFER) != 0;
  const bool isDouble = (f.dwFlags & PFD_DOUBLEBUFFER) != 0;
  const int wantColor = r.cColorBits == 0 ? 24 : r.cColorBits;
  const bool depthOk = (r.dwFlags & PFD_DEPTH_DONTCARE) || f.cDepthBits >= r.cDepthBits;
  return {f.iPixelType == r.iPixelType,
          (r.dwFlags & PFD_DOUBLEBUFFER_DONTCARE) || isDouble == wantDouble,
          f.cStencilBits >= r.cStencilBits,
          depthOk,
          f.cColorBits >= wantColor,
          f.cAlphaBits >= r.cAlphaBits,
          -std::abs(int(f.cColorBits) - wantColor),
          int(f.cAlphaBits)};
}

}  // namespace

int QelChoosePixelFormat(const TPixelFormatDescriptorArray& list,
                         const PIXELFORMATDESCRIPTOR& request) {
  const uint32_t required = request.dwFlags & kRequiredFlags;
  int best = 0;
  TFormatScore bestScore{};
  for (size_t i = 0; i < list.size(); ++i) {
    if ((list[i].dwFlags & required) != required) continue;
    TFormatScore score = Score(list[i], request);
    if (best == 0 || score > bestScore) {
      best = static_cast<int>(i) + 1;
      bestScore = score;
    }
  }
  return best;
}

namespace {

uint8_t ComponentOf(int index, int bits, int shift) {
  // An index has eight bits; wider fields or shifts past them give nothing.
  if (bits <= 0 || shift >= 8) return 0;
  if (bits > 8) bits = 8;
  const int max = (1 << bits) - 1;
  // The spread values never fall on a tie (max is odd), so rounding mode
  // does not matter here.
  return static_cast<uint8_t>(std::lround(((index >> shift) & max) * 255.0 / max));
}

struct TSystemColor {
  int index;
  uint8_t red, green, blue;
};

// The colours the system reserves in a 3-3-2 palette.
constexpr TSystemColor kSystemColors[12] = {
    {3, 128, 0, 0},       {24, 0, 128, 0},      {27, 128, 128, 0},
    {64, 0, 0, 128},      {67, 128, 0, 128},    {88, 0, 128, 128},
    {173, 192, 192, 192}, {181, 192, 220, 192}, {236, 166, 202, 240},
    {247, 255, 246, 240}, {164, 160, 160, 164}, {91, 128, 128, 128}};

}  // namespace

bool CreateRGBPalette(const PIXELFORMATDESCRIPTOR& format, TQelLogPalette& palette) {
  if (!(format.dwFlags & PFD_NEED_PALETTE)) return false;
  palette = TQelLogPalette{};
  if (format.cColorBits == 8) {
    for (int i = 0; i < 256; ++i) {
      PALETTEENTRY& e = palette.palPalEntry[i];
      e.peRed = ComponentOf(i, format.cRedBits, format.cRedShift);
      e.peGreen = ComponentOf(i, format.cGreenBits, format.cGreenShift);
      e.peBlue = ComponentOf(i, format.cBlueBits, format.cBlueShift);
      e.peFlags = 0;
    }
    const bool is332 = format.cRedBits == 3 && format.cRedShift == 0 &&
                       format.cGreenBits == 3 && format.cGreenShift == 3 &&
                       format.cBlueBits == 2 && format.cBlueShift == 6;
    if (is332)
      for (const TSystemColor& c : kSystemColors)
        palette.palPalEntry[c.index] = {c.red, c.green, c.blue, 0};
  }
  return true;
}

// Pixel-format records, the choice of the closest format, and the palette
// of an 8-bit format.
#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <cmath>

namespace {

PIXELFORMATDESCRIPTOR Format(uint32_t flags, int r, int g, int b, int a, int depth, int stencil) {
  PIXELFORMATDESCRIPTOR f = QelEmptyPixelFormat();
  f.dwFlags = flags;
  f.cRedBits = r;
  f.cGreenBits = g;
  f.cBlueBits = b;
  f.cAlphaBits = a;
  f.cColorBits = r + g + b;
  f.cDepthBits = depth;
  f.cStencilBits = stencil;
  return f;
}

// What the view asks for a double-buffered window.
PIXELFORMATDESCRIPTOR WindowRequest() {
  PIXELFORMATDESCRIPTOR r = QelEmptyPixelFormat();
  r.dwFlags = 0x425;
  r.cColorBits = 24;
  r.cDepthBits = 32;
  r.cStencilBits = 1;
  return r;
}

// The 3-3-2 layout of an 8-bit palette format.
PIXELFORMATDESCRIPTOR Palette332() {
  PIXELFORMATDESCRIPTOR f = QelEmptyPixelFormat();
  f.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_NEED_PALETTE;
  f.iPixelType = PFD_TYPE_RGBA;
  f.cColorBits = 8;
  f.cRedBits = 3;
  f.cRedShift = 0;
  f.cGreenBits = 3;
  f.cGreenShift = 3;
  f.cBlueBits = 2;
  f.cBlueShift = 6;
  return f;
}

}  // namespace

TEST(PixelFormat, DescriptorHasThePublishedLayout) {
  EXPECT_EQ(sizeof(PIXELFORMATDESCRIPTOR), 40u);
  EXPECT_EQ(offsetof(PIXELFORMATDESCRIPTOR, dwFlags), 4u);
  EXPECT_EQ(offsetof(PIXELFORMATDESCRIPTOR, iPixelType), 8u);
  EXPECT_EQ(offsetof(PIXELFORMATDESCRIPTOR, cDepthBits), 23u);
  EXPECT_EQ(offsetof(PIXELFORMATDESCRIPTOR, iLayerType), 26u);
  EXPECT_EQ(offsetof(PIXELFORMATDESCRIPTOR, dwLayerMask), 28u);
  EXPECT_EQ(PFD_DOUBLEBUFFER | PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_SWAP_COPY, 0x425u);
  EXPECT_EQ(PFD_DRAW_TO_WINDOW | PFD_DRAW_TO_BITMAP | PFD_SUPPORT_GDI | PFD_SUPPORT_OPENGL |
                PFD_NEED_PALETTE,
            0xBCu);
  PIXELFORMATDESCRIPTOR empty = QelEmptyPixelFormat();
  EXPECT_EQ(empty.nSize, 40);
  EXPECT_EQ(empty.nVersion, 1);
  EXPECT_EQ(empty.dwFlags, 0u);
}

TEST(PixelFormat, ChoiceNeedsTheDrawingTargetAndPrefersStencilThenDepth) {
  const uint32_t window = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
  TPixelFormatDescriptorArray list = {
      Format(PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL, 8, 8, 8, 8, 24, 8),  // no window
      Format(window, 8, 8, 8, 8, 32, 0),                                  // no stencil
      Format(window, 10, 10, 10, 2, 24, 8),                               // far from 24 bits
      Format(window, 8, 8, 8, 0, 24, 8),
      Format(window, 8, 8, 8, 8, 24, 8),                                  // alpha wins the tie
      Format(window, 5, 6, 5, 0, 16, 8),
  };
  EXPECT_EQ(QelChoosePixelFormat(list, WindowRequest()), 5);

  // Only format 1 draws to a bitmap.
  PIXELFORMATDESCRIPTOR bitmap = QelEmptyPixelFormat();
  bitmap.dwFlags = 0x3C;  // window, bitmap, GDI, OpenGL
  EXPECT_EQ(QelChoosePixelFormat(list, bitmap), 0);
  bitmap.dwFlags = PFD_DRAW_TO_BITMAP | PFD_SUPPORT_GDI | PFD_SUPPORT_OPENGL;
  EXPECT_EQ(QelChoosePixelFormat(list, bitmap), 1);

  EXPECT_EQ(QelChoosePixelFormat({}, WindowRequest()), 0);
}

TEST(PixelFormat, ChoiceHonoursDoubleBufferingUnlessToldNotToCare) {
  const uint32_t window = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL;
  TPixelFormatDescriptorArray list = {Format(window, 8, 8, 8, 8, 24, 8),
                                      Format(window | PFD_DOUBLEBUFFER, 8, 8, 8, 8, 24, 8)};
  PIXELFORMATDESCRIPTOR single = WindowRequest();
  single.dwFlags = 0x24;
  EXPECT_EQ(QelChoosePixelFormat(list, single), 1);
  EXPECT_EQ(QelChoosePixelFormat(list, WindowRequest()), 2);
  single.dwFlags |= PFD_DOUBLEBUFFER_DONTCARE;
  EXPECT_EQ(QelChoosePixelFormat(list, single), 1);  // the lower number
  // A single-buffered list still serves a double-buffered request.
  EXPECT_EQ(QelChoosePixelFormat({list[0]}, WindowRequest()), 1);
}

TEST(PixelFormat, NoColourBitsMeansTheScreenDepth) {
  const uint32_t flags = PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL;
  TPixelFormatDescriptorArray list = {Format(flags, 5, 6, 5, 0, 24, 8),
                                      Format(flags, 16, 16, 16, 16, 24, 8),
                                      Format(flags, 8, 8, 8, 8, 24, 8)};
  PIXELFORMATDESCRIPTOR request = QelEmptyPixelFormat();
  request.dwFlags = flags;
  request.cDepthBits = 32;
  request.cStencilBits = 1;
  EXPECT_EQ(QelChoosePixelFormat(list, request), 3);
}

TEST(Palette, ThreeThreeTwoSpreadsTheBitsAndKeepsTheSystemColours) {
  TQelLogPalette palette;
  ASSERT_TRUE(CreateRGBPalette(Palette332(), palette));
  EXPECT_EQ(palette.palVersion, 0x300);
  EXPECT_EQ(palette.palNumEntries, 256);

  struct Rgb { int r, g, b; };
  const std::pair<int, Rgb> system[12] = {
      {3, {128, 0, 0}},       {24, {0, 128, 0}},      {27, {128, 128, 0}},
      {64, {0, 0, 128}},      {67, {128, 0, 128}},    {88, {0, 128, 128}},
      {173, {192, 192, 192}}, {181, {192, 220, 192}}, {236, {166, 202, 240}},
      {247, {255, 246, 240}}, {164, {160, 160, 164}}, {91, {128, 128, 128}}};
  for (int i = 0; i < 256; ++i) {
    const PALETTEENTRY& e = palette.palPalEntry[i];
    EXPECT_EQ(e.peFlags, 0);
    Rgb want{int(std::round((i & 7) * 255.0 / 7)), int(std::round(((i >> 3) & 7) * 255.0 / 7)),
             int(std::round(((i >> 6) & 3) * 255.0 / 3))};
    for (const auto& [index, colour] : system)
      if (index == i) want = colour;
    EXPECT_EQ(e.peRed, want.r) << "entry " << i;
    EXPECT_EQ(e.peGreen, want.g) << "entry " << i;
    EXPECT_EQ(e.peBlue, want.b) << "entry " << i;
  }
  // Hand-checked entries of the spread.
  EXPECT_EQ(palette.palPalEntry[1].peRed, 36);
  EXPECT_EQ(palette.palPalEntry[0xFF].peBlue, 255);
  EXPECT_EQ(palette.palPalEntry[0x80].peBlue, 170);
}

TEST(Palette, OtherEightBitLayoutsGetNoSystemColours) {
  PIXELFORMATDESCRIPTOR f = Palette332();
  f.cRedBits = 2;  // 2-3-3: blue at shift 5
  f.cRedShift = 0;
  f.cGreenShift = 2;
  f.cBlueBits = 3;
  f.cBlueShift = 5;
  TQelLogPalette palette;
  ASSERT_TRUE(CreateRGBPalette(f, palette));
  const PALETTEENTRY& e = palette.palPalEntry[3];  // a system colour slot in 3-3-2
  EXPECT_EQ(e.peRed, 255);
  EXPECT_EQ(e.peGreen, 0);
  EXPECT_EQ(e.peBlue, 0);
}

TEST(Palette, TrueColourFormatsNeedNone) {
  PIXELFORMATDESCRIPTOR f = Format(PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL, 8, 8, 8, 8, 24, 8);
  TQelLogPalette palette;
  palette.palPalEntry[5].peRed = 99;
  EXPECT_FALSE(CreateRGBPalette(f, palette));
  EXPECT_EQ(palette.palPalEntry[5].peRed, 99);
  // Nonsense shifts and widths do not reach outside the index.
  PIXELFORMATDESCRIPTOR odd = Palette332();
  odd.cRedShift = 200;
  odd.cGreenBits = 40;
  ASSERT_TRUE(CreateRGBPalette(odd, palette));
  EXPECT_EQ(palette.palPalEntry[255].peRed, 0);
  EXPECT_EQ(palette.palPalEntry[255].peGreen, 31);  // (255 >> 3) over 8 bits
}

#pragma once
// Pixel formats as the view sees them: the 40-byte descriptor record, the
// choice of the closest format, and the logical palette of an 8-bit format.
#include <array>
#include <cstdint>
#include <vector>

// The published 40-byte pixel-format descriptor layout.
struct PIXELFORMATDESCRIPTOR {
  uint16_t nSize;
  uint16_t nVersion;
  uint32_t dwFlags;
  uint8_t iPixelType;
  uint8_t cColorBits;  // red + green + blue, without alpha
  uint8_t cRedBits;
  uint8_t cRedShift;
  uint8_t cGreenBits;
  uint8_t cGreenShift;
  uint8_t cBlueBits;
  uint8_t cBlueShift;
  uint8_t cAlphaBits;
  uint8_t cAlphaShift;
  uint8_t cAccumBits;
  uint8_t cAccumRedBits;
  uint8_t cAccumGreenBits;
  uint8_t cAccumBlueBits;
  uint8_t cAccumAlphaBits;
  uint8_t cDepthBits;
  uint8_t cStencilBits;
  uint8_t cAuxBuffers;
  uint8_t iLayerType;
  uint8_t bReserved;
  uint32_t dwLayerMask;
  uint32_t dwVisibleMask;
  uint32_t dwDamageMask;
};
static_assert(sizeof(PIXELFORMATDESCRIPTOR) == 40, "the descriptor is a 40-byte record");

// Index i describes format number i + 1.
using TPixelFormatDescriptorArray = std::vector<PIXELFORMATDESCRIPTOR>;

constexpr uint8_t PFD_TYPE_RGBA = 0;
constexpr uint8_t PFD_TYPE_COLORINDEX = 1;
constexpr uint8_t PFD_MAIN_PLANE = 0;
constexpr uint8_t PFD_OVERLAY_PLANE = 1;
constexpr uint8_t PFD_UNDERLAY_PLANE = 0xFF;  // -1 as a byte

constexpr uint32_t PFD_DOUBLEBUFFER = 0x00000001;
constexpr uint32_t PFD_STEREO = 0x00000002;
constexpr uint32_t PFD_DRAW_TO_WINDOW = 0x00000004;
constexpr uint32_t PFD_DRAW_TO_BITMAP = 0x00000008;
constexpr uint32_t PFD_SUPPORT_GDI = 0x00000010;
constexpr uint32_t PFD_SUPPORT_OPENGL = 0x00000020;
constexpr uint32_t PFD_GENERIC_FORMAT = 0x00000040;
constexpr uint32_t PFD_NEED_PALETTE = 0x00000080;
constexpr uint32_t PFD_NEED_SYSTEM_PALETTE = 0x00000100;
constexpr uint32_t PFD_SWAP_EXCHANGE = 0x00000200;
constexpr uint32_t PFD_SWAP_COPY = 0x00000400;
constexpr uint32_t PFD_SWAP_LAYER_BUFFERS = 0x00000800;
constexpr uint32_t PFD_GENERIC_ACCELERATED = 0x00001000;
constexpr uint32_t PFD_DEPTH_DONTCARE = 0x20000000;
constexpr uint32_t PFD_DOUBLEBUFFER_DONTCARE = 0x40000000;
constexpr uint32_t PFD_STEREO_DONTCARE = 0x80000000;

// A zeroed descriptor with nSize 40 and nVersion 1.
PIXELFORMATDESCRIPTOR QelEmptyPixelFormat();

// The number (1-based) of the format in list closest to request, or 0 when
// none can serve: a candidate must offer every one of PFD_DRAW_TO_WINDOW,
// PFD_DRAW_TO_BITMAP and PFD_SUPPORT_OPENGL that the request sets. Among
// those the pixel type decides first, then double buffering (unless
// PFD_DOUBLEBUFFER_DONTCARE), then at least the requested stencil, depth,
// colour and alpha bits, then the colour bits nearest the request (0 counts
// as 24, the depth of the screen), then more alpha, then the lower number.
// PFD_SUPPORT_GDI, the swap hints and the remaining fields are preferences
// no backend can honour and are ignored.
int QelChoosePixelFormat(const TPixelFormatDescriptorArray& list,
                         const PIXELFORMATDESCRIPTOR& request);

struct PALETTEENTRY {
  uint8_t peRed;
  uint8_t peGreen;
  uint8_t peBlue;
  uint8_t peFlags;
};

// A logical palette of 256 entries.
struct TQelLogPalette {
  uint16_t palVersion = 0x300;
  uint16_t palNumEntries = 256;
  std::array<PALETTEENTRY, 256> palPalEntry{};
};

// Fills palette for a format that needs one and returns true; returns false
// (palette untouched) for a true-colour format. For an 8-bit format entry i
// spreads the bits of i over red, green and blue by the format's bit counts
// and shifts; the 3-3-2 layout also gets the twelve standard system colours.
bool CreateRGBPalette(const PIXELFORMATDESCRIPTOR& format, TQelLogPalette& palette);

#pragma once
// A device-independent bitmap: 24- or 32-bit pixels in blue, green, red
// (alpha) byte order, scan lines padded to four bytes and stored bottom-up,
// with a change event, pixel access and image files (BMP, PNG, JPEG).
#include <cstdint>
#include <string>
#include <vector>

#include "qelcomponent.h"

enum TPixelFormat { pf24bit, pf32bit };
extern const char* const TPixelFormatStr[2];

// What GetPixel answers outside the bitmap.
constexpr TColor CLR_INVALID = 0xFFFFFFFF;

class TBitmap : public TPersistent {
  QEL_CLASS(TBitmap)
public:
  TBitmap() = default;
  // Zero-filled pixels; fires nothing.
  TBitmap(int width, int height, TPixelFormat format = pf24bit);
  TBitmap(const TBitmap&) = delete;
  TBitmap& operator=(const TBitmap&) = delete;

  // Fired after the size, the format or the whole image changed (SetSize,
  // SetPixelFormat, LoadFromFile, Assign) and by Changed. Pixel writes
  // (SetPixel, scan lines) do not fire: call Changed after editing.
  TNotifyEvent OnChange;

  int GetWidth() const { return width_; }
  int GetHeight() const { return height_; }
  void SetWidth(int width) { SetSize(width, height_); }
  void SetHeight(int height) { SetSize(width_, height); }
  // Keeps the pixels of the overlapping top-left part; new pixels are zero.
  // Negative sizes count as 0. Throws EQelError beyond 1 GiB of pixels.
  void SetSize(int width, int height);
  // No pixels: width or height is 0.
  bool GetEmpty() const { return width_ == 0 || height_ == 0; }

  TPixelFormat GetPixelFormat() const { return format_; }
  // Converts the pixels; 24 to 32 bits makes them opaque (alpha 255).
  void SetPixelFormat(TPixelFormat format);
  int GetBitsPerPixel() const { return format_ == pf32bit ? 32 : 24; }
  // Bytes of one scan line: width * 3 or 4, rounded up to a multiple of 4.
  int GetStride() const { return Stride(width_, format_); }

  // Scan line row, counted from the top (row 0 is the top line): width
  // pixels of B, G, R (and A) bytes. Null for a row outside the bitmap.
  uint8_t* GetScanLine(int row);
  const uint8_t* GetScanLine(int row) const;
  // All pixels as one block whose first line is the bottom scan line
  // (GetScanLine(height - 1)); lines follow upwards, GetStride bytes apart.
  // This is the layout GL reads and writes as GL_BGR / GL_BGRA with the
  // default alignment of 4. Null when empty.
  uint8_t* GetBits() { return pixels_.empty() ? nullptr : pixels_.data(); }
  const uint8_t* GetBits() const { return pixels_.empty() ? nullptr : pixels_.data(); }

  // The colour (0x00BBGGRR) at column x, row y from the top; CLR_INVALID
  // outside.
  TColor GetPixel(int x, int y) const;
  // Sets the colour, and on 32 bits alpha 255; ignored outside.
  void SetPixel(int x, int y, TColor color);

  // Fires OnChange.
  void Changed();
  // Copies size, format and pixels of a TBitmap (not its OnChange); a null
  // source empties this bitmap; other classes are ignored.
  void Assign(TPersistent* Source) override;

  // Reads a BMP, PNG or JPEG file (found by its content). Images with an
  // alpha channel become 32-bit, others 24-bit. Throws EQelFileError
  // naming the file and the reason; the bitmap is then unchanged.
  void LoadFromFile(const std::string& fileName);
  // Writes a PNG when the name ends in ".png" (any case), else a BMP; 32-bit
  // bitmaps keep their alpha. Throws EQelFileError when the bitmap is empty
  // or the file cannot be written.
  void SaveToFile(const std::string& fileName) const;

private:
  static int Stride(int width, TPixelFormat format);
  int BytesPerPixel() const { return format_ == pf32bit ? 4 : 3; }

  int width_ = 0, height_ = 0;
  TPixelFormat format_ = pf24bit;
  std::vector<uint8_t> pixels_;  // bottom-up scan lines
};

#include "qelbitmap.h"

#include <stb_image.h>
#include <stb_image_write.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "qelerror.h"

const char* const TPixelFormatStr[2] = {"pf24bit", "pf32bit"};

namespace {

constexpr size_t kMaxBytes = size_t(1) << 30;

bool EndsWithPng(const std::string& name) {
  if (name.size() < 4) return false;
  std::string ext = name.substr(name.size() - 4);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  return ext == ".png";
}

}  // namespace

TBitmap::TBitmap(int width, int height, TPixelFormat format) : format_(format) {
  SetSize(width, height);
}

int TBitmap::Stride(int width, TPixelFormat format) {
  const int bytes = width * (format == pf32bit ? 4 : 3);
  return (bytes + 3) & ~3;
}

void TBitmap::SetSize(int width, int height) {
  width = std::max(width, 0);
  height = std::max(height, 0);
  if (width == width_ && height == height_) return;
  const size_t stride = static_cast<size_t>(Stride(width, format_));
  if (width > 0 && height > 0 && stride * static_cast<size_t>(height) > kMaxBytes)
    throw EQelError("The bitmap is too large.");
  std::vector<uint8_t> pixels(width > 0 && height > 0 ? stride * height : 0);
  // Keep the overlapping top-left part; memory lines run bottom-up.
  const int rows = std::min(height, height_);
  const size_t bytes = static_cast<size_t>(std::min(width, width_)) * BytesPerPixel();
  for (int row = 0; row < rows && bytes > 0; ++row)
    std::memcpy(pixels.data() + (height - 1 - row) * stride, GetScanLine(row), bytes);
  pixels_.swap(pixels);
  width_ = width;
  height_ = height;
  if (width_ == 0 || height_ == 0) pixels_.clear();
  Changed();
}

void TBitmap::SetPixelFormat(TPixelFormat format) {
  if (format == format_) return;
  TBitmap converted(width_, height_, format);
  const int from = BytesPerPixel(), to = converted.BytesPerPixel();
  for (int row = 0; row < height_; ++row) {
    const uint8_t* src = GetScanLine(row);
    uint8_t* dst = converted.GetScanLine(row);
    for (int x = 0; x < width_; ++x, src += from, dst += to) {
      dst[0] = src[0];
      dst[1] = src[1];
      dst[2] = src[2];
      if (to == 4) dst[3] = 255;
    }
  }
  pixels_.swap(converted.pixels_);
  format_ = format;
  Changed();
}

uint8_t* TBitmap::GetScanLine(int row) {
  if (row < 0 || row >= height_ || pixels_.empty()) return nullptr;
  return pixels_.data() + static_cast<size_t>(height_ - 1 - row) * GetStride();
}

const uint8_t* TBitmap::GetScanLine(int row) const {
  return const_cast<TBitmap*>(this)->GetScanLine(row);
}

TColor TBitmap::GetPixel(int x, int y) const {
  if (x < 0 || x >= width_) return CLR_INVALID;
  const uint8_t* line = GetScanLine(y);
  if (!line) return CLR_INVALID;
  const uint8_t* p = line + x * BytesPerPixel();
  return TColor(p[2]) | (TColor(p[1]) << 8) | (TColor(p[0]) << 16);
}

void TBitmap::SetPixel(int x, int y, TColor color) {
  if (x < 0 || x >= width_) return;
  uint8_t* line = GetScanLine(y);
  if (!line) return;
  uint8_t* p = line + x * BytesPerPixel();
  p[0] = static_cast<uint8_t>(color >> 16);
  p[1] = static_cast<uint8_t>(color >> 8);
  p[2] = static_cast<uint8_t>(color);
  if (format_ == pf32bit) p[3] = 255;
}

void TBitmap::Changed() {
  if (OnChange) OnChange(this);
}

void TBitmap::Assign(TPersistent* Source) {
  if (Source == this) return;
  if (!Source) {
    width_ = height_ = 0;
    pixels_.clear();
    Changed();
    return;
  }
  auto* other = dynamic_cast<TBitmap*>(Source);
  if (!other) return;
  width_ = other->width_;
  height_ = other->height_;
  format_ = other->format_;
  pixels_ = other->pixels_;
  Changed();
}

void TBitmap::LoadFromFile(const std::string& fileName) {
  FILE* file = std::fopen(fileName.c_str(), "rb");
  if (!file) throw EQelFileError(fileName, std::string(std::strerror(errno)) + ".");
  int width = 0, height = 0, channels = 0;
  std::unique_ptr<stbi_uc, void (*)(void*)> data(nullptr, stbi_image_free);
  if (stbi_info_from_file(file, &width, &height, &channels)) {
    const int wanted = (channels == 2 || channels == 4) ? 4 : 3;
    data.reset(stbi_load_from_file(file, &width, &height, &channels, wanted));
    channels = wanted;
  }
  std::fclose(file);
  if (!data) {
    const char* reason = stbi_failure_reason();
    throw EQelFileError(fileName, std::string("Not a readable BMP, PNG or JPEG image (") +
                                      (reason ? reason : "unknown error") + ").");
  }
  const TPixelFormat format = channels == 4 ? pf32bit : pf24bit;
  if (Stride(width, format) * static_cast<size_t>(height) > kMaxBytes)
    throw EQelFileError(fileName, "The image is too large.");
  TBitmap image(width, height, format);
  const stbi_uc* src = data.get();
  for (int row = 0; row < height; ++row) {
    uint8_t* dst = image.GetScanLine(row);
    for (int x = 0; x < width; ++x, src += channels, dst += channels) {
      dst[0] = src[2];
      dst[1] = src[1];
      dst[2] = src[0];
      if (channels == 4) dst[3] = src[3];
    }
  }
  width_ = width;
  height_ = height;
  format_ = format;
  pixels_.swap(image.pixels_);
  Changed();
}

void TBitmap::SaveToFile(const std::string& fileName) const {
  if (GetEmpty()) throw EQelFileError(fileName, "The bitmap is empty.");
  // The writers take top-down R, G, B (A) lines without padding.
  const int channels = BytesPerPixel();
  std::vector<uint8_t> rgb(static_cast<size_t>(width_) * height_ * channels);
  uint8_t* dst = rgb.data();
  for (int row = 0; row < height_; ++row) {
    const uint8_t* src = GetScanLine(row);
    for (int x = 0; x < width_; ++x, src += channels, dst += channels) {
      dst[0] = src[2];
      dst[1] = src[1];
      dst[2] = src[0];
      if (channels == 4) dst[3] = src[3];
    }
  }
  const int ok = EndsWithPng(fileName)
                     ? stbi_write_png(fileName.c_str(), width_, height_, channels, rgb.data(),
                                      width_ * channels)
                     : stbi_write_bmp(fileName.c_str(), width_, height_, channels, rgb.data());
  if (!ok) throw EQelFileError(fileName, "The file cannot be written.");
}

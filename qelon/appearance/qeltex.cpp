#include "qeltex.h"

#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>

#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/platform/qelerror.h"
#include "qelon/scene/qelobj.h"
#include "qelon/scene/qelrenderstate.h"

const char* const TQelTexModeStr[4] = {"tmModulate", "tmDecal", "tmBlend", "tmReplace"};
const char* const TQelTexFilterStr[4] = {"tfMagFilter", "tfMinFilter", "tfMipMapFilter",
                                         "tfMipMapping"};

namespace {

// 255 * a rounded half to even, as a byte.
uint32_t AlphaByte(double a) {
  return static_cast<uint32_t>(std::nearbyint(255.0 * a)) & 0xFF;
}

bool FileExists(const std::string& path) {
  std::error_code ec;
  return !path.empty() && std::filesystem::is_regular_file(path, ec);
}
}  // namespace

// --- cache ----------------------------------------------------------------

// The texture objects live in the render state that every view shares.

GLuint AddTexture(TQelTexture* t) {
  if (!t) return 0;
  TQelRenderState& state = TQelRenderState::Shared();
  if (static_cast<int>(state.textures.size()) >= state.maxTextures && !state.textures.empty())
    DeleteTexture(state.textures.front());
  state.textures.push_back(t);
  GLuint id = 0;
  glGenTextures(1, &id);
  return id;
}

void DeleteTexture(TQelTexture* t) {
  if (!t) return;
  std::vector<TQelTexture*>& textures = TQelRenderState::Shared().textures;
  auto it = std::find(textures.begin(), textures.end(), t);
  if (it != textures.end()) textures.erase(it);
  if (t->textureID_ != 0) glDeleteTextures(1, &t->textureID_);
  t->textureID_ = 0;
  t->needsUpload_ = true;
}

void SetLastRenderedTex(TQelTexture* t) {
  std::vector<TQelTexture*>& textures = TQelRenderState::Shared().textures;
  auto it = std::find(textures.begin(), textures.end(), t);
  if (it != textures.end()) std::rotate(it, it + 1, textures.end());
}

bool IsLastRenderedTex(TQelTexture* t) {
  TQelRenderState& state = TQelRenderState::Shared();
  const bool last =
      state.textureFrameStarted && !state.textures.empty() && state.textures.back() == t;
  state.textureFrameStarted = true;
  return last;
}

void RedrawTextures() { TQelRenderState::Shared().textureFrameStarted = false; }

void InvalidateTextures() {
  for (TQelTexture* t : TQelRenderState::Shared().textures) t->Invalidate();
}

int SetMaxTexture(int n) {
  TQelRenderState& state = TQelRenderState::Shared();
  if (n < state.maxTextures) {
    if (n < 1) return state.maxTextures;
    while (static_cast<int>(state.textures.size()) > n) DeleteTexture(state.textures.front());
  }
  state.maxTextures = n;
  return state.maxTextures;
}

int GetMaxTexture() { return TQelRenderState::Shared().maxTextures; }
const std::vector<TQelTexture*>& GetTextureList() { return TQelRenderState::Shared().textures; }

// --- TQelTexture --------------------------------------------------------------

TQelTexture::TQelTexture(TComponent* AOwner) : TQelRender(AOwner) {
  bitmap_ = std::make_unique<TBitmap>();
  WireBitmap();
  blendColor_ = std::make_unique<TQelColor>();
  WireBlendColor();
}

void TQelTexture::WireBlendColor() {
  // An edited blend colour is set again at the next render.
  blendColor_->OnChange =
      TQelChangeLink<TQelTexture, &TQelTexture::BlendColorChange>{this, GetLifeToken()};
}

TQelTexture::~TQelTexture() { DeleteTexture(this); }

void TQelTexture::WireBitmap() {
  bitmap_->OnChange =
      TQelChangeLink<TQelTexture, &TQelTexture::BitmapChange>{this, GetLifeToken()};
}

bool TQelTexture::IsValidSize(int n) { return n > 0 && (n & (n - 1)) == 0; }

bool TQelTexture::GetValid() const {
  return bitmap_ && !bitmap_->GetEmpty() && IsValidSize(bitmap_->GetWidth()) &&
         IsValidSize(bitmap_->GetHeight());
}

void TQelTexture::Invalidate() {
  needsUpload_ = true;
  dirty_ = true;
}

void TQelTexture::Changed() { Invalidate(); }

void TQelTexture::SetBitmap(TBitmap* bitmap) {
  bitmap_->Assign(bitmap);
  Invalidate();
}

void TQelTexture::SetAlpha(float value) {
  if (value == alpha_ || value < 0.0f || value > 1.0f) return;
  alpha_ = value;
  if (GetValid() && !pixels_.empty() && !IsDesigning())
    SetAlphaChannel(pixels_.data(), pixels_.size() * 4);
  dirty_ = true;
  Changed();
}

void TQelTexture::SetMode(TQelTexMode value) {
  if (value == mode_) return;
  mode_ = value;
  dirty_ = true;
  Changed();
}

void TQelTexture::SetBlendColor(TQelColor* value) {
  if (!value) return;
  blendColor_->Assign(value);
  WireBlendColor();
  dirty_ = true;
}

void TQelTexture::SetFilter(TQelTexFilters value) {
  if (value == filter_) return;
  if (value.Contains(tfMipMapping) != filter_.Contains(tfMipMapping))
    Invalidate();  // uploaded again, with or without mipmaps
  else
    dirty_ = true;
  filter_ = value;
}

void TQelTexture::SetClampX(bool value) {
  if (value == clampX_) return;
  clampX_ = value;
  dirty_ = true;
}

void TQelTexture::SetClampY(bool value) {
  if (value == clampY_) return;
  clampY_ = value;
  dirty_ = true;
}

void TQelTexture::SetFileName(const std::string& value) {
  if (value == fileName_) return;
  fileName_ = value;
  if (!IsDesigning() && FileExists(value)) LoadBitmap(value);
}

void TQelTexture::LoadFileAs(const std::string& path, const std::string& name) {
  fileName_ = name;
  LoadBitmap(path);
}

void TQelTexture::LoadBitmap(const std::string& path) {
  if (!bitmap_) {
    bitmap_ = std::make_unique<TBitmap>();
    WireBitmap();
  }
  bitmap_->LoadFromFile(path);  // fires BitmapChange
}

void TQelTexture::SetAlphaChannel(uint32_t* pixels, size_t byteCount) {
  const uint32_t a = AlphaByte(alpha_) << 24;
  for (size_t i = 0; i < byteCount / 4; ++i) pixels[i] = (pixels[i] & 0x00FFFFFF) | a;
  Invalidate();
}

void TQelTexture::SetAlphaBitmap(const TBitmap* alphaBitmap) {
  if (!alphaBitmap || alphaBitmap->GetEmpty() || bitmap_->GetEmpty()) return;
  const int width = bitmap_->GetWidth(), height = bitmap_->GetHeight();
  if (!pixels_.empty() && pixels_.size() == size_t(width) * height) {
    const double sx = double(alphaBitmap->GetWidth()) / width;
    const double sy = double(alphaBitmap->GetHeight()) / height;
    for (size_t i = 0; i < pixels_.size(); ++i) {
      const int row = height - 1 - int(i / width);  // bottom-up buffer, top-down bitmap
      const int column = int(i % width);
      // Clamped: rounding may land one past the alpha bitmap's last pixel.
      const int ax = std::min(int(std::nearbyint(column * sx)), alphaBitmap->GetWidth() - 1);
      const int ay = std::min(int(std::nearbyint(row * sy)), alphaBitmap->GetHeight() - 1);
      const TColor c = alphaBitmap->GetPixel(ax, ay);
      const uint32_t grey = ((c & 0xFF) + ((c >> 8) & 0xFF) + ((c >> 16) & 0xFF)) / 3;
      pixels_[i] = (pixels_[i] & 0x00FFFFFF) | (grey << 24);
    }
  }
  Invalidate();
}

bool TQelTexture::SetMaskAlpha(double alpha, TColor maskColor, double maskAlpha) {
  if (pixels_.empty()) return false;
  const uint32_t a1 = AlphaByte(alpha) << 24, a2 = AlphaByte(maskAlpha) << 24;
  const uint32_t key = maskColor & 0x00FFFFFF;
  for (uint32_t& p : pixels_) p = (p & 0x00FFFFFF) | ((p & 0x00FFFFFF) == key ? a2 : a1);
  Invalidate();
  return true;
}

void TQelTexture::SwapBits(uint32_t* pixels, size_t byteCount) {
  for (size_t i = 0; i < byteCount / 4; ++i) {
    const uint32_t p = pixels[i];
    pixels[i] = ((p & 0xFF0000) >> 16) | (p & 0xFF00) | ((p & 0xFF) << 16);
  }
}

void TQelTexture::BitmapChange(TObject* Sender) {
  if (IsDesigning()) return;
  pixels_.clear();
  pixels_.shrink_to_fit();
  if (GetValid()) {
    // Device-independent copy: 32-bit B, G, R, x pixels, rows bottom-up.
    const int width = bitmap_->GetWidth(), height = bitmap_->GetHeight();
    pixels_.assign(size_t(width) * height, 0);
    const int bpp = bitmap_->GetBitsPerPixel() / 8;
    for (int row = 0; row < height; ++row) {
      const uint8_t* line = bitmap_->GetScanLine(height - 1 - row);
      uint32_t* out = &pixels_[size_t(row) * width];
      for (int x = 0; x < width; ++x) {
        const uint8_t* p = line + x * bpp;
        out[x] = p[0] | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16);
      }
    }
    SwapBits(pixels_.data(), pixels_.size() * 4);
    SetAlphaChannel(pixels_.data(), pixels_.size() * 4);
  }
  Changed();
}

void TQelTexture::ScaleBitmap(TQelCustomView* view) {
  bitmap_->OnChange = nullptr;  // one rebuild at the end, not one per step
  bitmap_->SetPixelFormat(pf24bit);
  const int width = bitmap_->GetWidth(), height = bitmap_->GetHeight();
  const int newWidth = 1 << (QelMathIntLog2(width - 1) + 1);
  const int newHeight = 1 << (QelMathIntLog2(height - 1) + 1);
  // GLU writes rows padded as GL_PACK_ALIGNMENT says (4 by default), the
  // same padding the bitmap's scan lines have; size the buffer for it.
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  const int newStride = ((newWidth * 3 + 3) / 4) * 4;
  std::vector<uint8_t> buffer(size_t(newStride) * newHeight);
  const GLint result = gluScaleImage(GL_RGB, width, height, GL_UNSIGNED_BYTE,
                                     bitmap_->GetBits(), newWidth, newHeight,
                                     GL_UNSIGNED_BYTE, buffer.data());
  if (result != 0) {
    WireBitmap();
    throw EQelError(std::string("gluScaleImage error ") +
                    reinterpret_cast<const char*>(gluErrorString(result)));
  }
  bitmap_->SetSize(newWidth, newHeight);
  std::memcpy(bitmap_->GetBits(), buffer.data(), buffer.size());
  WireBitmap();
  BitmapChange(bitmap_.get());
}

void TQelTexture::InitTexture() {
  if (pixels_.empty()) return;
  if (!needsUpload_ && glIsTexture(textureID_)) return;
  const int width = bitmap_->GetWidth(), height = bitmap_->GetHeight();
  if (filter_.Contains(tfMipMapping))
    gluBuild2DMipmaps(GL_TEXTURE_2D, 4, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels_.data());
  else
    glTexImage2D(GL_TEXTURE_2D, 0, 4, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 pixels_.data());
  needsUpload_ = false;
}

void TQelTexture::DoRender(TQelCustomView* view) {
  // Asked every time: the question itself marks the frame as started, so the
  // second render of a texture in a frame is skipped even right after an
  // upload.
  const bool current = IsLastRenderedTex(this);
  TQelRenderState& state = QelRenderStateOf(view);
  if (current && !dirty_ && !state.Recording()) return;
  if (!bitmap_ || bitmap_->GetEmpty() || bitmap_->GetHeight() <= 0 || bitmap_->GetWidth() <= 0)
    return;
  if (!IsValidSize(bitmap_->GetHeight()) || !IsValidSize(bitmap_->GetWidth())) {
    state.Flush();  // scaling tells the bitmap's change handlers
    ScaleBitmap(view);
  }
  if (textureID_ == 0) textureID_ = AddTexture(this);

  SetLastRenderedTex(this);
  state.SetTexture2D(true);
  glBindTexture(GL_TEXTURE_2D, textureID_);
  InitTexture();

  static const GLint kModes[4] = {GL_MODULATE, GL_DECAL, GL_BLEND, GL_REPLACE};
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, kModes[mode_]);
  // The float components go to the integer entry point on purpose: GL reads
  // their bit patterns as integers.
  float rgba[4];
  blendColor_->GetParams(rgba);
  GLint asInts[4];
  std::memcpy(asInts, rgba, sizeof asInts);
  glTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_COLOR, asInts);

  int k = 0;
  if (filter_.Contains(tfMinFilter)) k = 1;
  if (filter_.Contains(tfMipMapFilter)) k = filter_.Contains(tfMinFilter) ? 3 : 2;
  if (filter_.Contains(tfMipMapping)) k += 4;
  static const GLint kMinFilters[8] = {GL_NEAREST, GL_LINEAR, GL_NEAREST, GL_LINEAR,
                                       GL_NEAREST_MIPMAP_NEAREST, GL_LINEAR_MIPMAP_NEAREST,
                                       GL_NEAREST_MIPMAP_LINEAR, GL_LINEAR_MIPMAP_LINEAR};
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, kMinFilters[k]);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER,
                  filter_.Contains(tfMagFilter) ? GL_LINEAR : GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, clampX_ ? GL_CLAMP : GL_REPEAT);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, clampY_ ? GL_CLAMP : GL_REPEAT);

  glMatrixMode(GL_TEXTURE);
  glLoadIdentity();
  GetTransformation()->Execute();
  glMatrixMode(GL_MODELVIEW);
  dirty_ = false;
}

void TQelTexture::DoDisable(TQelCustomView* view) {
  TQelRender::DoDisable(view);
  QelRenderStateOf(view).SetTexture2D(false);
}

void TQelTexture::Assign(TPersistent* Source) {
  if (auto* t = dynamic_cast<TQelTexture*>(Source)) bitmap_->Assign(t->bitmap_.get());
  TQelRender::Assign(Source);
}

void TQelTexture::WriteValues(IQelExchange* exchange) {
  TQelRender::WriteValues(exchange);
  exchange->addtag("Alpha", alpha_, 1.0f);
  exchange->addtag("Mode", mode_, TQelTexModeStr, tmModulate);
  exchange->addtag("ClampX", clampX_, false);
  exchange->addtag("ClampY", clampY_, false);
  exchange->addtag("Filter", uint32_t(filter_.ToBits()), TQelTexFilterStr, 4);
  blendColor_->WriteComp(exchange, "BlendColor");
  std::string name = fileName_;
  if (name.empty() && bitmap_ && !bitmap_->GetEmpty()) name = SaveBitmapBeside(exchange);
  exchange->addtag("Bitmap", name, std::string());
}

std::string TQelTexture::SaveBitmapBeside(IQelExchange* exchange) const {
  const std::string name = exchange->GetAFilename(".bmp");
  if (name.empty()) return name;
  const std::string path = exchange->GetAFilename(name);
  try {
    bitmap_->SaveToFile(path);
  } catch (const EQelFileError& e) {
    exchange->Error(qlError, std::string("Texture file not written: ") + e.what());
    return "";
  }
  return name;
}

void TQelTexture::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelRender::ReadValues(exchange, tag);
  float alpha = alpha_;
  if (exchange->getvalue("Alpha", alpha)) SetAlpha(alpha);
  TQelTexMode mode = mode_;
  if (exchange->getenum("Mode", TQelTexModeStr, mode)) SetMode(mode);
  bool clamp = clampX_;
  if (exchange->getvalue("ClampX", clamp)) SetClampX(clamp);
  clamp = clampY_;
  if (exchange->getvalue("ClampY", clamp)) SetClampY(clamp);
  uint32_t filter = 0;
  if (exchange->getvalue("Filter", filter, TQelTexFilterStr, 4))
    SetFilter(TQelTexFilters::FromBits(static_cast<uint8_t>(filter)));

  // The name is kept as written, so that saving again writes the same text.
  std::string name;
  if (!exchange->getvalue("Bitmap", name)) return;
  const std::string path = exchange->GetAFilename(name);
  if (!FileExists(path)) {
    fileName_ = name;
    exchange->Error(qlWarning, "Texture file \"" + path + "\" not found.");
    return;
  }
  try {
    LoadFileAs(path, name);
  } catch (const EQelFileError& e) {
    exchange->Error(qlWarning, std::string("Texture file not loaded: ") + e.what());
  }
}

TPersistent* TQelTexture::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name == "BlendColor") {
    blendColor_->ReadValues(exchange, tag);
    return blendColor_.get();
  }
  return TQelRender::ReadComp(exchange, tag);
}

namespace {
const bool registered = [] {
  RegisterLibraryRenderClass<TQelTexture>();
  return true;
}();
}  // namespace

#pragma once
// Textures: a 2D RGBA texture built from a bitmap, with overall alpha, an
// alpha bitmap or a colour key, environment mode, filters, wrapping and a
// texture-coordinate transformation. All textures that hold a GL texture
// object share one least-recently-used cache (at most 4 by default).
#include <memory>
#include <string>
#include <vector>

#include "qelon/platform/qelbitmap.h"
#include "qelon/scene/qelcomp.h"

enum TQelTexMode { tmModulate, tmDecal, tmBlend, tmReplace };
extern const char* const TQelTexModeStr[4];
enum TQelTexFilter { tfMagFilter, tfMinFilter, tfMipMapFilter, tfMipMapping };
extern const char* const TQelTexFilterStr[4];
using TQelTexFilters = TSet<TQelTexFilter, uint8_t>;

class TQelTexture : public TQelRender {
  QEL_CLASS(TQelTexture)
public:
  explicit TQelTexture(TComponent* AOwner);
  ~TQelTexture() override;

  static bool IsValidSize(int n);  // a power of two, 1 .. 2^31
  // A non-empty bitmap whose sides are powers of two.
  bool GetValid() const;
  // The image must be uploaded again and the parameters set again.
  void Invalidate();
  // Only invalidates: a texture's changes do not travel up a scene tree.
  void Changed() override;

  TBitmap* GetBitmap() const { return bitmap_.get(); }
  void SetBitmap(TBitmap* bitmap);
  float GetAlpha() const { return alpha_; }
  void SetAlpha(float value);  // 0..1
  TQelTexMode GetMode() const { return mode_; }
  void SetMode(TQelTexMode value);
  TQelColor* GetBlendColor() const { return blendColor_.get(); }
  void SetBlendColor(TQelColor* value);
  TQelTexFilters GetFilter() const { return filter_; }
  void SetFilter(TQelTexFilters value);
  bool GetClampX() const { return clampX_; }
  void SetClampX(bool value);
  bool GetClampY() const { return clampY_; }
  void SetClampY(bool value);
  const std::string& GetFileName() const { return fileName_; }
  // Loads the file into the bitmap when it exists; the name is kept either way.
  void SetFileName(const std::string& value);
  // Keeps name as FileName and loads the bitmap from path, where that file is
  // found (a scene file names its images relative to itself). The name is
  // kept even when loading fails with EQelFileError.
  void LoadFileAs(const std::string& path, const std::string& name);

  // The RGBA pixel buffer: width x height 32-bit pixels, rows bottom-up,
  // red in the low byte and alpha in the top byte. Empty until a valid
  // bitmap is set.
  const std::vector<uint32_t>& GetPixels() const { return pixels_; }
  GLuint GetTextureID() const { return textureID_; }
  bool GetNeedsUpload() const { return needsUpload_; }

  // Writes round(255 * Alpha) into the top byte of count / 4 pixels.
  void SetAlphaChannel(uint32_t* pixels, size_t byteCount);
  // Alpha from the grey level of a second bitmap, scaled to this size.
  void SetAlphaBitmap(const TBitmap* alphaBitmap);
  // Colour key: pixels of maskColor get maskAlpha, all others alpha.
  // False when there is no pixel buffer.
  bool SetMaskAlpha(double alpha, TColor maskColor, double maskAlpha);
  // Exchanges bytes 0 and 2 of each 32-bit pixel and clears byte 3.
  static void SwapBits(uint32_t* pixels, size_t byteCount);

  void BitmapChange(TObject* Sender);
  // Scales the bitmap up to the next powers of two.
  void ScaleBitmap(TQelCustomView* view);
  void InitTexture();

  void DoRender(TQelCustomView* view) override;
  void DoDisable(TQelCustomView* view) override;
  // Copies the bitmap only.
  void Assign(TPersistent* Source) override;

  // A bitmap without FileName is written to a new file beside the scene file.
  void WriteValues(IQelExchange* exchange) override;
  // A missing or unreadable image file is reported and loading goes on.
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

private:
  friend void DeleteTexture(TQelTexture* t);
  friend GLuint AddTexture(TQelTexture* t);
  void WireBitmap();
  void WireBlendColor();
  void BlendColorChange(TObject*) { dirty_ = true; }
  void LoadBitmap(const std::string& path);
  // Saves the bitmap beside the scene file; its name there, or "" on failure.
  std::string SaveBitmapBeside(IQelExchange* exchange) const;

  std::unique_ptr<TBitmap> bitmap_;
  std::vector<uint32_t> pixels_;
  float alpha_ = 1.0f;
  TQelTexMode mode_ = tmModulate;
  std::unique_ptr<TQelColor> blendColor_;
  GLuint textureID_ = 0;
  bool needsUpload_ = true;
  bool dirty_ = true;
  TQelTexFilters filter_;
  bool clampX_ = false;
  bool clampY_ = false;
  std::string fileName_;
};

// The texture cache, least recently used first.
GLuint AddTexture(TQelTexture* t);
void DeleteTexture(TQelTexture* t);
void SetLastRenderedTex(TQelTexture* t);
bool IsLastRenderedTex(TQelTexture* t);
// Called once per frame by the view: the first texture of a frame always
// sets its state.
void RedrawTextures();
// Called when a new GL context is connected: every cached image is uploaded
// again.
void InvalidateTextures();
// Shrinking below 1 is refused; returns the maximum in force.
int SetMaxTexture(int n);
int GetMaxTexture();
// The cached textures, least recently used first.
const std::vector<TQelTexture*>& GetTextureList();

#pragma once
// Attributes (rasterisation and lighting-model state) and fog.
#include <memory>

#include "qelon/scene/qelcomp.h"

enum TQelPolygonMode { pmPoint, pmLine, pmFill };
enum TQelCullFace { cfNone, cfFront, cfBack };
enum TQelShadeModel { smFlat, smSmooth };
enum TQelTransparencyMode { tmNone, tmAlpha, tmAddAlpha, tmAddColor, tmSubColor };
enum TQelLineStipple { lsClear, lsDash, lsDot, lsDashDot, lsDashDotDot, lsSolid };
enum TQelQuality { quFastest, quNicest, quDontCare };
enum TQelFogMode { fmLinear, fmExp, fmExp2 };
enum TQelDepthAlign { daStandard, daForeground, daBackground };
enum TQelTextureMode {
  txStandard, txLinearX, txLinearY, txLinearZ, txLinearXY, txLinearYZ, txLinearZX, txSphereZ
};
extern const char* const TQelPolygonModeStr[3];
extern const char* const TQelCullFaceStr[3];
extern const char* const TQelShadeModelStr[2];
extern const char* const TQelTransparencyModeStr[5];
extern const char* const TQelLineStippleStr[6];
extern const char* const TQelQualityStr[3];
extern const char* const TQelFogModeStr[3];
extern const char* const TQelDepthAlignStr[3];
extern const char* const TQelTextureModeStr[8];

class TQelAttributes : public TQelRender {
  QEL_CLASS(TQelAttributes)
public:
  explicit TQelAttributes(TComponent* AOwner);
  ~TQelAttributes() override;

  bool GetAntialiasing() const { return antialiasing_; }
  void SetAntialiasing(bool v);
  TQelColor* GetColorAmbient() const { return ambient_.get(); }
  // Copies the colour and signals a change, even when it is the same.
  void SetAmbient(TQelColor* c);
  void SetColorAmbient(TQelColor* c) { SetAmbient(c); }
  TQelCullFace GetCullFace() const { return cullFace_; }
  void SetCullFace(TQelCullFace v);
  bool GetDithering() const { return dithering_; }
  void SetDithering(bool v);
  bool GetLighting() const { return lighting_; }
  void SetLighting(bool v);
  bool GetLightTwoSide() const { return lightTwoSide_; }
  void SetLightTwoSide(bool v);
  TQelPolygonMode GetPolygonMode() const { return polygonMode_; }
  void SetPolygonMode(TQelPolygonMode v);
  TQelQuality GetPerspectiveCorrection() const { return perspectiveCorrection_; }
  void SetPerspectiveCorrection(TQelQuality v);
  TQelShadeModel GetShadeModel() const { return shadeModel_; }
  void SetShadeModel(TQelShadeModel v);
  TQelTransparencyMode GetTransparency() const { return transparency_; }
  void SetTransparency(TQelTransparencyMode v);
  TQelLineStipple GetLineStipple() const { return lineStipple_; }
  void SetLineStipple(TQelLineStipple v);
  float GetPointSize() const { return pointSize_; }
  void SetPointSize(float v);  // only values > 0
  float GetLineWidth() const { return lineWidth_; }
  void SetLineWidth(float v);  // only values > 0

  // Public: rotation (0..15, taken mod 16) and repeat factor of the stipple.
  int32_t StippleShift = 0;
  int32_t StippleFactor = 1;

  // The stipple pattern of the current settings, as DoRender hands it to GL.
  uint16_t GetStipplePattern() const;

  // A changed attributes component is issued again at its next render, even
  // within the frame.
  void Changed() override;
  void Render(TQelCustomView* view) override;
  void DoRender(TQelCustomView* view) override;
  void Assign(TPersistent* Source) override;

  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

private:
  bool antialiasing_ = false;
  std::unique_ptr<TQelColor> ambient_;
  TQelCullFace cullFace_ = cfNone;
  bool dithering_ = false;
  bool lighting_ = false;
  bool lightTwoSide_ = false;
  TQelPolygonMode polygonMode_ = pmFill;
  TQelQuality perspectiveCorrection_ = quDontCare;
  TQelShadeModel shadeModel_ = smSmooth;
  TQelTransparencyMode transparency_ = tmNone;
  TQelLineStipple lineStipple_ = lsSolid;
  float pointSize_ = 1.0f;
  // Starts at 0 on purpose: an untouched component hands GL a width it
  // rejects, so the width in force stays.
  float lineWidth_ = 0.0f;
};

bool IsLastRenderedAttributes(TQelAttributes* attributes);
void SetLastRenderedAttributes(TQelAttributes* attributes);

class TQelFog : public TQelRender {
  QEL_CLASS(TQelFog)
public:
  explicit TQelFog(TComponent* AOwner);

  TQelFogMode GetMode() const { return mode_; }
  void SetMode(TQelFogMode v);
  float GetDensity() const { return density_; }
  void SetDensity(float v);
  float GetStartDepth() const { return startDepth_; }
  void SetStartDepth(float v);
  float GetEndDepth() const { return endDepth_; }
  void SetEndDepth(float v);
  TQelColor* GetColor() const { return color_.get(); }
  void SetColor(TQelColor* c);
  TQelQuality GetQuality() const { return quality_; }
  void SetQuality(TQelQuality v);

  void DoRender(TQelCustomView* view) override;
  void DoDisable(TQelCustomView* view) override;
  void Assign(TPersistent* Source) override;

  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

private:
  TQelFogMode mode_ = fmExp;
  float density_ = 0.2f;
  float startDepth_ = 0.0f;
  float endDepth_ = 1.0f;
  std::unique_ptr<TQelColor> color_;
  TQelQuality quality_ = quDontCare;
};

// GL_FASTEST, GL_NICEST or GL_DONT_CARE.
unsigned QelQualityToGL(TQelQuality q);

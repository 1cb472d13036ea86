#pragma once
// Materials: the GL lighting material for the objects rendered after it.
// One process-wide last-rendered pointer lets a run of objects sharing a
// material issue its GL calls once per frame.
#include <memory>

#include "qelon/scene/qelcomp.h"

enum TMaterialFace { mfFront, mfBack, mfFrontBack };
extern const char* const TMaterialFaceStr[3];

class TQelMaterial : public TQelRender {
  QEL_CLASS(TQelMaterial)
public:
  explicit TQelMaterial(TComponent* AOwner);
  ~TQelMaterial() override;

  TMaterialFace GetFace() const { return face_; }
  void SetFace(TMaterialFace value);
  // Index 1 ambient, 2 diffuse, 3 specular, 4 emission; others: none / ignored.
  TQelColor* GetPartColor(int index) const;
  void SetPartColor(int index, TQelColor* value);
  TQelColor* GetColorAmbient() const { return GetPartColor(1); }
  TQelColor* GetColorDiffuse() const { return GetPartColor(2); }
  TQelColor* GetColorSpecular() const { return GetPartColor(3); }
  TQelColor* GetColorEmission() const { return GetPartColor(4); }
  void SetColorAmbient(TQelColor* c) { SetPartColor(1, c); }
  void SetColorDiffuse(TQelColor* c) { SetPartColor(2, c); }
  void SetColorSpecular(TQelColor* c) { SetPartColor(3, c); }
  void SetColorEmission(TQelColor* c) { SetPartColor(4, c); }
  int32_t GetShininess() const { return shininess_; }
  // 0..128; other values are ignored.
  void SetShininess(int32_t value);

  void Render(TQelCustomView* view) override;
  void DoRender(TQelCustomView* view) override;
  void Assign(TPersistent* Source) override;

  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

private:
  TMaterialFace face_ = mfFrontBack;
  TQelInlinePart<TQelColor> colors_[4];
  int32_t shininess_ = 0;
};

bool IsLastRenderedMaterial(TQelMaterial* material);
void SetLastRenderedMaterial(TQelMaterial* material);

#pragma once
// Lights: switch on one of the eight fixed GL lights while rendered. A light
// sits at the origin of its own frame, so its transformation places it.
#include <memory>

#include "qelon/scene/qelcomp.h"

enum TLightID { idLight0, idLight1, idLight2, idLight3, idLight4, idLight5, idLight6, idLight7 };
extern const char* const TLightIDStr[8];
enum TLightKind { lkPoint, lkDirection, lkSpot };
extern const char* const TLightKindStr[3];

class TQelLight : public TQelRender {
  QEL_CLASS(TQelLight)
public:
  explicit TQelLight(TComponent* AOwner);

  TLightID GetID() const { return id_; }
  void SetID(TLightID value);
  unsigned GetLightID() const;  // GL_LIGHT0 + ID
  TQelColor* GetColorAmbient() const { return ambient_.get(); }
  TQelColor* GetColorDiffuse() const { return diffuse_.get(); }
  TQelColor* GetColorSpecular() const { return specular_.get(); }
  void SetAmbient(TQelColor* c);
  void SetDiffuse(TQelColor* c);
  void SetSpecular(TQelColor* c);
  TLightKind GetKind() const { return kind_; }
  // Point and directional lights get a cut-off of 180, spots 90.
  void SetKind(TLightKind value);
  float GetCutOff() const { return cutOff_; }
  // Clamps instead of ignoring: 180 for point and directional lights,
  // 0..90 for spots.
  void SetCutOff(float value);
  TQelDirection* GetDirection() const { return direction_.get(); }
  void SetDirection(TQelDirection* d);

  void DoRender(TQelCustomView* view) override;
  void DoDisable(TQelCustomView* view) override;
  void Assign(TPersistent* Source) override;

  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

private:
  void Wire(TQelProperty* p);
  TLightID id_ = idLight0;
  std::unique_ptr<TQelColor> ambient_, diffuse_, specular_;
  TLightKind kind_ = lkPoint;
  float cutOff_ = 180.0f;
  std::unique_ptr<TQelDirection> direction_;
};

enum TQelClipIds {
  idClipPlane0, idClipPlane1, idClipPlane2, idClipPlane3, idClipPlane4, idClipPlane5
};
extern const char* const TQelClipIdsStr[6];

// A user clip plane a·x + b·y + c·z + d >= 0 (x, y, z, w published), in the
// frame of its own transformation.
class TQelClip : public TQelRender {
  QEL_CLASS(TQelClip)
public:
  explicit TQelClip(TComponent* AOwner);

  TQelClipIds GetID() const { return id_; }
  void SetID(TQelClipIds value);
  double GetPlane(int index) const;
  // Signals no change on purpose: a cached plane shows a new value only
  // after its list is rebuilt.
  void SetPlane(int index, double value);

  void DoRender(TQelCustomView* view) override;
  void DoDisable(TQelCustomView* view) override;
  void Assign(TPersistent* Source) override;

  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  TQelClipIds id_ = idClipPlane0;
  double plane_[4] = {1, 0, 0, 1};
};

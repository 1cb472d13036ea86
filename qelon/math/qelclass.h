#pragma once
// Value properties: small owned sub-objects (vectors, directions, normals,
// colours) that notify their owner when they change and exchange themselves
// with scene files.
#include <array>
#include <string>

#include "qelon/math/qelmath.h"
#include "qelon/platform/qelcomponent.h"

class IQelExchange;
class TXMLTag;

// Library-wide tolerance for position equality.
extern const float tolerance;

class TQelProperty : public TPersistent {
  QEL_CLASS(TQelProperty)
public:
  TQelProperty();
  TNotifyEvent OnChange;

  virtual void Clear();
  virtual void Changed();
  void Assign(TPersistent* Source) override;
};

// An owned part kept inside its owner, so that both are one block of memory
// (drawing reads them together), used like the unique_ptr it replaces.
template <class T>
class TQelInlinePart {
public:
  T* operator->() const { return &part_; }
  T* get() const { return &part_; }

private:
  mutable T part_;
};

class TQelRenderProperty : public TQelProperty {
  QEL_CLASS(TQelRenderProperty)
public:
  virtual void Render() {}
};

class TQelVector : public TQelProperty {
  QEL_CLASS(TQelVector)
public:
  TQelVector();
  float GetX() const { return x_; }
  float GetY() const { return y_; }
  float GetZ() const { return z_; }
  virtual void SetX(float v);
  virtual void SetY(float v);
  virtual void SetZ(float v);
  void SetValues(float x, float y, float z);
  void incX(float delta) { SetX(x_ + delta); }
  void incY(float delta) { SetY(y_ + delta); }
  void incZ(float delta) { SetZ(z_ + delta); }
  TQelMathVector GetAsMathVector() const { return {x_, y_, z_}; }
  void SetAsMathVector(const TQelMathVector& v);
  // The value Clear gives, which a scene file may leave out.
  virtual TQelMathVector GetDefault() const { return ZEROVEC; }
  // Writes this vector as tag name with def as the default of "P": for
  // owners that start it at another value than GetDefault(), so that
  // leaving defaults out never loses a value.
  void WriteAs(IQelExchange* exchange, const std::string& name, const TQelMathVector& def);
  void Clear() override;
  void Assign(TPersistent* Source) override;

  // "P": the three components.
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

protected:
  float x_ = 0, y_ = 0, z_ = 0;
};

// A vector whose components each lie in -1..1.
class TQelDirection : public TQelVector {
  QEL_CLASS(TQelDirection)
public:
  TQelDirection();
  void SetX(float v) override;
  void SetY(float v) override;
  void SetZ(float v) override;
  TQelMathVector GetDefault() const override { return {0, 0, 1}; }
  void Clear() override;
};

class TQelNormal : public TQelDirection {
  QEL_CLASS(TQelNormal)
public:
  void Normalize();
};

class TQelColor : public TQelProperty {
  QEL_CLASS(TQelColor)
public:
  TQelColor();
  TColor GetColor() const { return color_; }
  void SetColor(TColor c);
  float GetAlpha() const { return alpha_; }
  void SetAlpha(float a);
  // Red, green, blue as byte / 255 and alpha, the form glColor4fv takes.
  void GetParams(float (&params)[4]) const;
  std::array<float, 4> GetParams() const;
  // Stores without range check and without notification; callers that need
  // a repaint call Changed themselves.
  void SetParams(float r, float g, float b, float a);
  void Clear() override;
  void Assign(TPersistent* Source) override;

  // "Color" (the 0x00BBGGRR value) and "Alpha".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  // Writes this colour as tag name with the given defaults: for owners that
  // start it at another colour than white.
  void WriteAs(IQelExchange* exchange, const std::string& name, TColor defColor,
               float defAlpha = 1.0f);

private:
  TColor color_ = 0xFFFFFF;
  float alpha_ = 1.0f;
};

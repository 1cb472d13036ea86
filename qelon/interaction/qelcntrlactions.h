#pragma once
// The fourteen actions a controller runs, each bound to a key shortcut or to
// one axis of a mouse drag.
#include <array>
#include <cstdint>
#include <string>

#include "qelon/math/qelclass.h"

// Binding codes besides key shortcuts (which fit in 16 bits).
constexpr int32_t QelMouseLeftX = 0x10000;
constexpr int32_t QelMouseLeftY = 0x20000;
constexpr int32_t QelMouseRightX = 0x30000;
constexpr int32_t QelMouseRightY = 0x40000;
constexpr int32_t QelNoBinding = -1;

// Slots, in order; also the names of the published properties.
enum TQelControllerAction {
  caMoveLeft, caMoveRight, caMoveUp, caMoveDown, caMoveForward, caMoveBack, caTurnLeft,
  caTurnRight, caTurnUp, caTurnDown, caRollLeft, caRollRight, caReset, caAdjust
};
constexpr int QelActionCount = 14;
extern const char* const TQelControllerActionStr[QelActionCount];

class TQelControllerActions : public TQelProperty {
  QEL_CLASS(TQelControllerActions)
public:
  TQelControllerActions();

  // The text of a binding: a shortcut text, "MouseLeftX", "MouseLeftY",
  // "MouseRightX", "MouseRightY" (any letter case), or "(None)" and the
  // empty text for no binding. An unknown text or index changes nothing.
  void SetAction(int index, const std::string& text);
  // "(None)" for no binding, "" for an index out of range.
  std::string GetAction(int index) const;
  int32_t GetCode(int index) const;
  void SetCode(int index, int32_t code);

  // The published properties, one per slot.
#define QEL_ACTION_PROPERTY(Name)                                            \
  std::string Get##Name() const { return GetAction(ca##Name); }              \
  void Set##Name(const std::string& text) { SetAction(ca##Name, text); }
  QEL_ACTION_PROPERTY(MoveLeft)
  QEL_ACTION_PROPERTY(MoveRight)
  QEL_ACTION_PROPERTY(MoveUp)
  QEL_ACTION_PROPERTY(MoveDown)
  QEL_ACTION_PROPERTY(MoveForward)
  QEL_ACTION_PROPERTY(MoveBack)
  QEL_ACTION_PROPERTY(TurnLeft)
  QEL_ACTION_PROPERTY(TurnRight)
  QEL_ACTION_PROPERTY(TurnUp)
  QEL_ACTION_PROPERTY(TurnDown)
  QEL_ACTION_PROPERTY(RollLeft)
  QEL_ACTION_PROPERTY(RollRight)
  QEL_ACTION_PROPERTY(Reset)
  QEL_ACTION_PROPERTY(Adjust)
#undef QEL_ACTION_PROPERTY

  // The current bindings become the defaults that scene files leave out
  // (a controller calls this once it has bound its keys).
  void KeepAsDefaults() { defaults_ = codes_; }

  void Assign(TPersistent* Source) override;  // all fourteen slots
  void Clear() override;                      // no bindings

  // Each slot that differs from its default, by name.
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  std::array<int32_t, QelActionCount> codes_;
  std::array<int32_t, QelActionCount> defaults_;
};

// Binding code of a text (0 when unknown) and text of a code.
int32_t QelBindingOfText(const std::string& text);
std::string QelTextOfBinding(int32_t code);

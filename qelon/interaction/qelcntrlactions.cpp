#include "qelcntrlactions.h"

#include <cctype>

#include "qelon/exchange/qeliexchange.h"
#include "qelon/platform/qelshortcut.h"

const char* const TQelControllerActionStr[QelActionCount] = {
    "MoveLeft",  "MoveRight", "MoveUp",   "MoveDown",  "MoveForward", "MoveBack", "TurnLeft",
    "TurnRight", "TurnUp",    "TurnDown", "RollLeft",  "RollRight",   "Reset",    "Adjust"};

namespace {

constexpr struct {
  int32_t code;
  const char* name;
} kBindingNames[] = {{QelMouseLeftX, "MouseLeftX"},   {QelMouseLeftY, "MouseLeftY"},
                     {QelMouseRightX, "MouseRightX"}, {QelMouseRightY, "MouseRightY"},
                     {QelNoBinding, "(None)"},        {QelNoBinding, ""},
                     {VK_LEFT, "Left"},               {VK_UP, "Up"},
                     {VK_RIGHT, "Right"},             {VK_DOWN, "Down"}};

std::string Upper(std::string s) {
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

}  // namespace

int32_t QelBindingOfText(const std::string& text) {
  if (const TShortCut s = QelTextToShortCut(text)) return s;
  const std::string upper = Upper(text);
  for (const auto& b : kBindingNames)
    if (upper == Upper(b.name)) return b.code;
  return 0;
}

std::string QelTextOfBinding(int32_t code) {
  for (const auto& b : kBindingNames)
    if (code == b.code) return b.name;
  return code > 0 && code <= 0xFFFF ? QelShortCutToText(static_cast<TShortCut>(code)) : std::string();
}

TQelControllerActions::TQelControllerActions() {
  codes_.fill(QelNoBinding);
  defaults_ = codes_;
}

void TQelControllerActions::SetAction(int index, const std::string& text) {
  if (const int32_t code = QelBindingOfText(text)) SetCode(index, code);
}

std::string TQelControllerActions::GetAction(int index) const {
  return index >= 0 && index < QelActionCount ? QelTextOfBinding(codes_[index]) : std::string();
}

int32_t TQelControllerActions::GetCode(int index) const {
  return index >= 0 && index < QelActionCount ? codes_[index] : QelNoBinding;
}

void TQelControllerActions::SetCode(int index, int32_t code) {
  if (index < 0 || index >= QelActionCount || codes_[index] == code) return;
  codes_[index] = code;
  Changed();
}

void TQelControllerActions::Assign(TPersistent* Source) {
  if (auto* a = dynamic_cast<TQelControllerActions*>(Source)) {
    codes_ = a->codes_;
    Changed();
  }
  TQelProperty::Assign(Source);
}

void TQelControllerActions::Clear() { codes_.fill(QelNoBinding); }

void TQelControllerActions::WriteValues(IQelExchange* exchange) {
  TQelProperty::WriteValues(exchange);
  for (int i = 0; i < QelActionCount; ++i)
    if (codes_[i] != defaults_[i])
      exchange->addtag(TQelControllerActionStr[i], QelTextOfBinding(codes_[i]), std::string("\x01"));
}

void TQelControllerActions::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelProperty::ReadValues(exchange, tag);
  for (int i = 0; i < QelActionCount; ++i) {
    std::string text;
    if (exchange->getvalue(TQelControllerActionStr[i], text)) SetAction(i, text);
  }
}

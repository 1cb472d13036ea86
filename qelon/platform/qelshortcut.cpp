#include "qelshortcut.h"

#include <cctype>
#include <string_view>

namespace {

struct TKeyName {
  uint16_t key;
  const char* name;
};

// Written names first; a key's first entry is the one written.
constexpr TKeyName kKeyNames[] = {
    {VK_BACK, "BkSp"},     {VK_TAB, "Tab"},       {VK_ESCAPE, "Esc"},    {VK_RETURN, "Enter"},
    {VK_SPACE, "Space"},   {VK_PRIOR, "PgUp"},    {VK_NEXT, "PgDn"},     {VK_END, "End"},
    {VK_HOME, "Home"},     {VK_LEFT, "Left"},     {VK_UP, "Up"},         {VK_RIGHT, "Right"},
    {VK_DOWN, "Down"},     {VK_INSERT, "Ins"},    {VK_DELETE, "Del"},    {VK_BACK, "Backspace"},
    {VK_ESCAPE, "Escape"}, {VK_RETURN, "Return"}, {VK_PRIOR, "PageUp"},  {VK_NEXT, "PageDown"},
    {VK_PRIOR, "Page Up"}, {VK_NEXT, "Page Down"}, {VK_INSERT, "Insert"}, {VK_DELETE, "Delete"},
};

constexpr struct {
  TShortCut flag;
  const char* prefix;
} kModifiers[] = {{scCtrl, "Ctrl+"}, {scShift, "Shift+"}, {scAlt, "Alt+"}};

bool SameText(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (std::toupper(static_cast<unsigned char>(a[i])) != std::toupper(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

std::string KeyName(uint16_t key) {
  if ((key >= 'A' && key <= 'Z') || (key >= '0' && key <= '9')) return std::string(1, char(key));
  if (key >= VK_F1 && key < VK_F1 + 12) return "F" + std::to_string(key - VK_F1 + 1);
  for (const TKeyName& k : kKeyNames)
    if (k.key == key) return k.name;
  return {};
}

uint16_t KeyOfName(std::string_view name) {
  if (name.size() == 1) {
    const char c = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    if ((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return static_cast<uint16_t>(c);
  }
  for (int n = 1; n <= 12; ++n)
    if (SameText(name, "F" + std::to_string(n))) return static_cast<uint16_t>(VK_F1 + n - 1);
  for (const TKeyName& k : kKeyNames)
    if (SameText(name, k.name)) return k.key;
  return 0;
}

}  // namespace

TShortCut QelShortCut(uint16_t key, TShiftState shift) {
  TShortCut s = key & 0xFF;
  if (shift.Contains(ssShift)) s |= scShift;
  if (shift.Contains(ssCtrl)) s |= scCtrl;
  if (shift.Contains(ssAlt)) s |= scAlt;
  return s;
}

std::string QelShortCutToText(TShortCut shortCut) {
  const std::string name = KeyName(shortCut & 0xFF);
  if (name.empty()) return {};
  std::string text;
  for (const auto& m : kModifiers)
    if (shortCut & m.flag) text += m.prefix;
  return text + name;
}

TShortCut QelTextToShortCut(const std::string& text) {
  std::string_view rest = text;
  TShortCut flags = 0;
  for (bool found = true; found;) {
    found = false;
    for (const auto& m : kModifiers) {
      const std::string_view prefix = m.prefix;
      if (rest.size() > prefix.size() && SameText(rest.substr(0, prefix.size()), prefix)) {
        flags |= m.flag;
        rest.remove_prefix(prefix.size());
        found = true;
      }
    }
  }
  const uint16_t key = KeyOfName(rest);
  return key ? static_cast<TShortCut>(key | flags) : 0;
}

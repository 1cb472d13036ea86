#pragma once
// Keyboard shortcuts: a virtual-key code in the low byte with modifier flags
// above it, and their texts as menus and settings show them ("Ctrl+Shift+F5",
// "PgUp", "Left", "A").
#include <cstdint>
#include <string>

#include "qelinput.h"

using TShortCut = uint16_t;
constexpr TShortCut scShift = 0x2000;
constexpr TShortCut scCtrl = 0x4000;
constexpr TShortCut scAlt = 0x8000;

// The shortcut of a key pressed with the modifiers in shift (mouse buttons
// and double clicks do not count).
TShortCut QelShortCut(uint16_t key, TShiftState shift);

// "Ctrl+", "Shift+" and "Alt+" prefixes in that order, then the key's
// name; the empty text for 0 and for keys without a name.
std::string QelShortCutToText(TShortCut shortCut);

// The reverse: prefixes in any order, names in any letter case, also the
// long names ("Escape", "Insert", "PageUp", "Return"); 0 for any other text.
TShortCut QelTextToShortCut(const std::string& text);

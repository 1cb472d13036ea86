#pragma once
// Keyboard and mouse input as controls receive it: virtual-key codes, the
// shift state of modifier keys and mouse buttons, and the mouse buttons.
#include <cstdint>

#include "qelset.h"

enum TShiftStateFlag { ssShift, ssAlt, ssCtrl, ssLeft, ssRight, ssMiddle, ssDouble };
using TShiftState = TSet<TShiftStateFlag>;

enum TMouseButton { mbLeft, mbRight, mbMiddle };

// Virtual-key codes. Letters are their upper-case character ('A' 65 ..
// 'Z' 90), digits theirs ('0' 48 .. '9' 57).
constexpr uint16_t VK_BACK = 8;
constexpr uint16_t VK_TAB = 9;
constexpr uint16_t VK_RETURN = 13;
constexpr uint16_t VK_SHIFT = 16;
constexpr uint16_t VK_CONTROL = 17;
constexpr uint16_t VK_MENU = 18;  // Alt
constexpr uint16_t VK_PAUSE = 19;
constexpr uint16_t VK_CAPITAL = 20;
constexpr uint16_t VK_ESCAPE = 27;
constexpr uint16_t VK_SPACE = 32;
constexpr uint16_t VK_PRIOR = 33;  // Page Up
constexpr uint16_t VK_NEXT = 34;   // Page Down
constexpr uint16_t VK_END = 35;
constexpr uint16_t VK_HOME = 36;
constexpr uint16_t VK_LEFT = 37;
constexpr uint16_t VK_UP = 38;
constexpr uint16_t VK_RIGHT = 39;
constexpr uint16_t VK_DOWN = 40;
constexpr uint16_t VK_SNAPSHOT = 44;
constexpr uint16_t VK_INSERT = 45;
constexpr uint16_t VK_DELETE = 46;
constexpr uint16_t VK_LWIN = 91;
constexpr uint16_t VK_RWIN = 92;
constexpr uint16_t VK_APPS = 93;
constexpr uint16_t VK_NUMPAD0 = 96;  // .. VK_NUMPAD9 105
constexpr uint16_t VK_MULTIPLY = 106;
constexpr uint16_t VK_ADD = 107;
constexpr uint16_t VK_SUBTRACT = 109;
constexpr uint16_t VK_DECIMAL = 110;
constexpr uint16_t VK_DIVIDE = 111;
constexpr uint16_t VK_F1 = 112;  // .. VK_F24 135
constexpr uint16_t VK_NUMLOCK = 144;
constexpr uint16_t VK_SCROLL = 145;
constexpr uint16_t VK_OEM_1 = 0xBA;  // ;
constexpr uint16_t VK_OEM_PLUS = 0xBB;  // =
constexpr uint16_t VK_OEM_COMMA = 0xBC;
constexpr uint16_t VK_OEM_MINUS = 0xBD;
constexpr uint16_t VK_OEM_PERIOD = 0xBE;
constexpr uint16_t VK_OEM_2 = 0xBF;  // /
constexpr uint16_t VK_OEM_3 = 0xC0;  // `
constexpr uint16_t VK_OEM_4 = 0xDB;  // [
constexpr uint16_t VK_OEM_5 = 0xDC;  // backslash
constexpr uint16_t VK_OEM_6 = 0xDD;  // ]
constexpr uint16_t VK_OEM_7 = 0xDE;  // '

// The virtual-key code of a GLFW key code (GLFW_KEY_*), 0 for keys that
// have none.
uint16_t QelGLFWKeyToVirtualKey(int glfwKey);

// The shift state of GLFW modifier bits (GLFW_MOD_*) and the buttons held.
TShiftState QelGLFWShiftState(int glfwMods, bool left, bool right, bool middle);

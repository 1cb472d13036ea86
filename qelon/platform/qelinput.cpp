#include "qelinput.h"

#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

uint16_t QelGLFWKeyToVirtualKey(int key) {
  // Letters, digits and space carry their character code in both schemes.
  if ((key >= GLFW_KEY_A && key <= GLFW_KEY_Z) || (key >= GLFW_KEY_0 && key <= GLFW_KEY_9) ||
      key == GLFW_KEY_SPACE)
    return static_cast<uint16_t>(key);
  if (key >= GLFW_KEY_F1 && key <= GLFW_KEY_F24) return VK_F1 + (key - GLFW_KEY_F1);
  if (key >= GLFW_KEY_KP_0 && key <= GLFW_KEY_KP_9) return VK_NUMPAD0 + (key - GLFW_KEY_KP_0);
  switch (key) {
    case GLFW_KEY_ESCAPE: return VK_ESCAPE;
    case GLFW_KEY_ENTER: return VK_RETURN;
    case GLFW_KEY_KP_ENTER: return VK_RETURN;
    case GLFW_KEY_TAB: return VK_TAB;
    case GLFW_KEY_BACKSPACE: return VK_BACK;
    case GLFW_KEY_INSERT: return VK_INSERT;
    case GLFW_KEY_DELETE: return VK_DELETE;
    case GLFW_KEY_RIGHT: return VK_RIGHT;
    case GLFW_KEY_LEFT: return VK_LEFT;
    case GLFW_KEY_DOWN: return VK_DOWN;
    case GLFW_KEY_UP: return VK_UP;
    case GLFW_KEY_PAGE_UP: return VK_PRIOR;
    case GLFW_KEY_PAGE_DOWN: return VK_NEXT;
    case GLFW_KEY_HOME: return VK_HOME;
    case GLFW_KEY_END: return VK_END;
    case GLFW_KEY_CAPS_LOCK: return VK_CAPITAL;
    case GLFW_KEY_SCROLL_LOCK: return VK_SCROLL;
    case GLFW_KEY_NUM_LOCK: return VK_NUMLOCK;
    case GLFW_KEY_PRINT_SCREEN: return VK_SNAPSHOT;
    case GLFW_KEY_PAUSE: return VK_PAUSE;
    case GLFW_KEY_KP_DECIMAL: return VK_DECIMAL;
    case GLFW_KEY_KP_DIVIDE: return VK_DIVIDE;
    case GLFW_KEY_KP_MULTIPLY: return VK_MULTIPLY;
    case GLFW_KEY_KP_SUBTRACT: return VK_SUBTRACT;
    case GLFW_KEY_KP_ADD: return VK_ADD;
    case GLFW_KEY_LEFT_SHIFT:
    case GLFW_KEY_RIGHT_SHIFT: return VK_SHIFT;
    case GLFW_KEY_LEFT_CONTROL:
    case GLFW_KEY_RIGHT_CONTROL: return VK_CONTROL;
    case GLFW_KEY_LEFT_ALT:
    case GLFW_KEY_RIGHT_ALT: return VK_MENU;
    case GLFW_KEY_LEFT_SUPER: return VK_LWIN;
    case GLFW_KEY_RIGHT_SUPER: return VK_RWIN;
    case GLFW_KEY_MENU: return VK_APPS;
    case GLFW_KEY_SEMICOLON: return VK_OEM_1;
    case GLFW_KEY_EQUAL: return VK_OEM_PLUS;
    case GLFW_KEY_COMMA: return VK_OEM_COMMA;
    case GLFW_KEY_MINUS: return VK_OEM_MINUS;
    case GLFW_KEY_PERIOD: return VK_OEM_PERIOD;
    case GLFW_KEY_SLASH: return VK_OEM_2;
    case GLFW_KEY_GRAVE_ACCENT: return VK_OEM_3;
    case GLFW_KEY_LEFT_BRACKET: return VK_OEM_4;
    case GLFW_KEY_BACKSLASH: return VK_OEM_5;
    case GLFW_KEY_RIGHT_BRACKET: return VK_OEM_6;
    case GLFW_KEY_APOSTROPHE: return VK_OEM_7;
    default: return 0;
  }
}

TShiftState QelGLFWShiftState(int mods, bool left, bool right, bool middle) {
  TShiftState s;
  if (mods & GLFW_MOD_SHIFT) s.Include(ssShift);
  if (mods & GLFW_MOD_ALT) s.Include(ssAlt);
  if (mods & GLFW_MOD_CONTROL) s.Include(ssCtrl);
  if (left) s.Include(ssLeft);
  if (right) s.Include(ssRight);
  if (middle) s.Include(ssMiddle);
  return s;
}

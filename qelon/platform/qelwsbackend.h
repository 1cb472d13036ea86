#pragma once
// The handles of the window-system layer as backends see them. Only the
// layer and its backends include this; users hold the handles opaquely.
#include <memory>
#include <string>

#include "qelwindowsystem.h"

class TQelDeviceContext {
public:
  virtual ~TQelDeviceContext() = default;
  TQelWindow* window = nullptr;  // null for a memory device context
  int width = 0, height = 0;     // of a memory device context
  int pixelFormat = 0;           // 0 until set
};

class TQelWindow {
public:
  virtual ~TQelWindow() = default;
  IQelWindowEvents* events = nullptr;
  int width = 0, height = 0;
  std::string caption;
  bool invalid = false;  // a paint is due
  std::unique_ptr<TQelDeviceContext> dc;
};

// Contexts made with a share, or joined by ShareLists, hold the same group.
struct TQelShareGroup {};

class TQelRenderContext {
public:
  virtual ~TQelRenderContext() = default;
  TQelDeviceContext* dc = nullptr;  // the one it was made for; null once deleted
  int pixelFormat = 0;
  std::shared_ptr<TQelShareGroup> group = std::make_shared<TQelShareGroup>();
  bool used = false;  // has been current
};

inline int QelDCWidth(const TQelDeviceContext* dc) {
  return dc->window ? dc->window->width : dc->width;
}
inline int QelDCHeight(const TQelDeviceContext* dc) {
  return dc->window ? dc->window->height : dc->height;
}

#pragma once
// The platform rectangle: left, top, right, bottom in pixels, y down.
#include <cstdint>

struct TRect {
  int32_t Left = 0;
  int32_t Top = 0;
  int32_t Right = 0;
  int32_t Bottom = 0;
  bool operator==(const TRect&) const = default;
};

#include "qelpointlabels.h"

#include <string>

#include "qelon/geometry/qelprimitiveobj.h"

namespace {

// Segments a..g as (x0, y0, x1, y1) in a cell 1 wide and 2 high.
constexpr double kSegments[7][4] = {
    {0, 2, 1, 2}, {1, 2, 1, 1}, {1, 1, 1, 0}, {0, 0, 1, 0},
    {0, 0, 0, 1}, {0, 1, 0, 2}, {0, 1, 1, 1},
};
// Bit s set = segment s lit; digits 0..9, then '-'.
constexpr uint8_t kDigitSegments[11] = {0x3F, 0x06, 0x5B, 0x4F, 0x66, 0x6D,
                                        0x7D, 0x07, 0x7F, 0x6F, 0x40};

}  // namespace

TQelNode* QelCreatePointLabels(const TQelPrimitivePoints& points, double size, TComponent* AOwner) {
  auto* node = new TQelNode(AOwner);
  const double cell = size / 2;  // digit cells are half as wide as high
  for (int32_t p = 0; p < points.GetCount(); ++p) {
    auto* label = new TQelPrimitiveObj(node);
    const std::string text = std::to_string(p);
    label->SetObjectName(text);
    TQelPrimitivePoints& to = *label->GetPoints();
    TQelPrimitiveArray* list = label->GetPrimitive(label->AddPrimitiveArray(GL_LINES));
    const TQelMathVector at = points.GetVector(p, 0);
    for (size_t ch = 0; ch < text.size(); ++ch) {
      const int digit = text[ch] == '-' ? 10 : text[ch] - '0';
      const double left = at.x + ch * cell * 1.5;
      for (int s = 0; s < 7; ++s) {
        if (!(kDigitSegments[digit] & (1u << s))) continue;
        for (int end = 0; end < 2; ++end) {
          const TQelMathVector q{left + kSegments[s][2 * end] * cell,
                                 at.y + kSegments[s][2 * end + 1] * cell, at.z};
          list->AddIndex(static_cast<uint32_t>(to.Add(q, {0, 0, 1}, ZEROVEC)));
        }
      }
    }
    label->SetInited(true);
    node->Add(label);
  }
  return node;
}

#pragma once
// What the store, index list and point item sources share: the growth of
// their arrays and the attribute names and colour text of a point in scene
// files. Private to the geometry module.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

class IQelExchange;

namespace qelprim {

// Resizes one attribute or index array to n entries. The allocation grows
// geometrically underneath, so that the linear growth of Size by 120 costs
// amortised constant time per append even for millions of points; new
// entries are filled (never left uninitialised).
template <typename T>
void Reallocate(std::vector<T>& v, size_t n, T fill = T()) {
  if (n == 0) {
    std::vector<T>().swap(v);
    return;
  }
  if (n > v.capacity()) v.reserve(std::max(n, 2 * v.capacity()));
  v.resize(n, fill);
}

// Attribute names of the point path, made once: a point is read and written
// many thousand times per file.
inline const std::string kPosition = "P", kTexture = "T", kNormal = "N", kEdge = "E", kFlag = "F",
                         kColor = "C";

// Four floats joined by ",", each in the exchange's number format.
std::string ColorText(IQelExchange* exchange, const float* c);
// Reads attribute name as four floats joined by ","; false when missing.
bool ReadColor(IQelExchange* exchange, const std::string& name, float (&c)[4]);

}  // namespace qelprim

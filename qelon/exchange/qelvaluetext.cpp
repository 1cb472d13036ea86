#include "qelon/exchange/qelvaluetext.h"

#include <charconv>
#include <string>
#include <type_traits>

#include "qelon/platform/qelerror.h"

namespace {

template <class T>
char* WriteFloat(char* first, T value, int32_t digits) {
  char* last = first + 40;
  auto result = digits > 0 ? std::to_chars(first, last, value, std::chars_format::general, digits)
                           : std::to_chars(first, last, value);
  return result.ptr;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  if (text.size() > 1 && text.front() == '+') text.remove_prefix(1);
  return text;
}

[[noreturn]] void Malformed(std::string_view text, const char* what) {
  throw EQelConvertError("\"" + std::string(text) + "\" is not a valid " + what);
}

// Short decimals ("-0.5", "12.25", "3") are most of what a scene holds.
// With a mantissa and a power of ten both exact in T, one division gives
// the correctly rounded value; anything else goes the general way.
template <class T>
bool ParseShortDecimal(std::string_view t, T& value) {
  constexpr int kMaxDigits = std::is_same_v<T, float> ? 7 : 15;
  constexpr T kPow10[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10,
                          1e11, 1e12, 1e13, 1e14, 1e15};
  size_t i = 0;
  const bool negative = !t.empty() && t[0] == '-';
  if (negative) ++i;
  uint64_t mantissa = 0;
  int digits = 0, fraction = -1;
  for (; i < t.size(); ++i) {
    const char c = t[i];
    if (c >= '0' && c <= '9') {
      if (++digits > kMaxDigits) return false;
      mantissa = mantissa * 10 + static_cast<uint64_t>(c - '0');
      if (fraction >= 0) ++fraction;
    } else if (c == '.' && fraction < 0) {
      fraction = 0;
    } else {
      return false;
    }
  }
  if (digits == 0) return false;
  T v = static_cast<T>(mantissa);
  if (fraction > 0) v /= kPow10[fraction];
  value = negative ? -v : v;
  return true;
}

template <class T>
void Parse(std::string_view text, T& value, const char* what) {
  const std::string_view t = Trim(text);
  if constexpr (std::is_floating_point_v<T>) {
    if (ParseShortDecimal(t, value)) return;
  }
  T parsed{};
  auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), parsed);
  if (ec != std::errc() || end != t.data() + t.size() || t.empty()) Malformed(text, what);
  value = parsed;
}

template <class T>
std::string_view VectorText(char* buf, T x, T y, T z, int32_t digits) {
  char* p = WriteFloat(buf, x, digits);
  *p++ = ',';
  p = WriteFloat(p, y, digits);
  *p++ = ',';
  p = WriteFloat(p, z, digits);
  return {buf, static_cast<size_t>(p - buf)};
}

}  // namespace

std::string_view QelIntText(char* buf, int32_t value) {
  return {buf, static_cast<size_t>(std::to_chars(buf, buf + 16, value).ptr - buf)};
}

std::string_view QelFloatText(char* buf, double value, int32_t digits) {
  return {buf, static_cast<size_t>(WriteFloat(buf, value, digits) - buf)};
}

std::string_view QelFloatText(char* buf, float value, int32_t digits) {
  return {buf, static_cast<size_t>(WriteFloat(buf, value, digits) - buf)};
}

std::string_view QelVectorText(char* buf, double x, double y, double z, int32_t digits) {
  return VectorText(buf, x, y, z, digits);
}

std::string_view QelVectorText(char* buf, float x, float y, float z, int32_t digits) {
  return VectorText(buf, x, y, z, digits);
}

void QelParseNumber(std::string_view text, int32_t& value) { Parse(text, value, "integer value"); }

void QelParseNumber(std::string_view text, uint8_t& value) {
  int32_t wide = 0;
  Parse(text, wide, "integer value");
  if (wide < 0 || wide > 255) Malformed(text, "byte value");
  value = static_cast<uint8_t>(wide);
}

void QelParseNumber(std::string_view text, double& value) {
  Parse(text, value, "floating point value");
}

void QelParseNumber(std::string_view text, float& value) {
  Parse(text, value, "floating point value");
}

void QelParseVector(std::string_view text, TQelMathVector& vector) {
  double parts[3];
  std::string_view rest = text;
  for (int i = 0; i < 3; ++i) {
    const size_t comma = rest.find(',');
    if ((comma == std::string_view::npos) != (i == 2)) Malformed(text, "vector");
    Parse(rest.substr(0, comma), parts[i], "vector");
    if (i < 2) rest.remove_prefix(comma + 1);
  }
  vector = {parts[0], parts[1], parts[2]};
}

#pragma once
// Test-only recorder of GL calls. Test programs export a wrapper for every
// GL 1.1 entry point (and the GLU calls the library makes); while a
// GLRecorder is alive, each call the library issues is logged as text such
// as "glScalef(-1,-1,-1)" and then forwarded to the real driver.
#include <GL/gl.h>

#include <cstdio>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <vector>

namespace qeltest {

std::string FormatGLNumber(double v, bool isFloat);

template <typename T>
std::string FormatGLArg(T v) {
  if constexpr (std::is_floating_point_v<T>)
    return FormatGLNumber(static_cast<double>(v), std::is_same_v<T, float>);
  else if constexpr (std::is_pointer_v<T>)
    return "ptr";
  else
    return std::to_string(static_cast<long long>(v));
}

// The text the recorder logs for a call with these arguments, for use in
// expectations: GLCall("glScalef", -1.0f, -1.0f, -1.0f).
template <typename... A>
std::string GLCall(const char* name, A... args) {
  std::string s = std::string(name) + "(";
  bool first = true;
  ((s += (first ? "" : ","), s += FormatGLArg(args), first = false), ...);
  return s + ")";
}

class GLRecorder {
public:
  GLRecorder();   // starts recording
  ~GLRecorder();  // stops
  GLRecorder(const GLRecorder&) = delete;
  GLRecorder& operator=(const GLRecorder&) = delete;

  const std::vector<std::string>& Calls() const;
  // The entry point names alone, in order.
  std::vector<std::string> Names() const;
  // Only the calls to the given entry points, in order.
  std::vector<std::string> Only(std::initializer_list<const char*> names) const;
  // Calls whose entry point name starts with prefix.
  int Count(const char* name) const;
  void Clear();
  void Pause();
  void Resume();
};

}  // namespace qeltest

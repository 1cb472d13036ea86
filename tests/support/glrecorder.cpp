#include "glrecorder.h"

#include <GL/glu.h>
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <regex>
#include <string_view>

namespace qeltest {
namespace {

bool recording = false;
std::vector<std::string> calls;
thread_local int depth = 0;

// Calls made by GLU from inside a recorded GLU call are not logged: the test
// sees what the library asked for, not how GLU does it.
struct RecorderScope {
  RecorderScope() { ++depth; }
  ~RecorderScope() { --depth; }
  bool Outermost() const { return depth == 1 && recording; }
};

// How many elements a pointer argument holds, where that is known from the
// entry point and its enum argument; 0 prints "ptr".
int PointerLength(std::string_view name, const std::vector<long long>& ints) {
  auto pname = [&](size_t i) { return i < ints.size() ? ints[i] : -1; };
  if (name == "glMultMatrixd" || name == "glMultMatrixf" || name == "glLoadMatrixd" ||
      name == "glLoadMatrixf")
    return 16;
  if (name == "glClipPlane") return 4;
  if (name == "glMaterialfv" || name == "glMaterialiv")
    return pname(1) == GL_SHININESS ? 1 : pname(1) == GL_COLOR_INDEXES ? 3 : 4;
  if (name == "glLightfv" || name == "glLightiv") {
    long long p = pname(1);
    if (p == GL_SPOT_DIRECTION) return 3;
    if (p == GL_AMBIENT || p == GL_DIFFUSE || p == GL_SPECULAR || p == GL_POSITION) return 4;
    return 1;
  }
  if (name == "glLightModelfv" || name == "glLightModeliv")
    return pname(0) == GL_LIGHT_MODEL_AMBIENT ? 4 : 1;
  if (name == "glFogfv" || name == "glFogiv") return pname(0) == GL_FOG_COLOR ? 4 : 1;
  if (name == "glTexEnvfv" || name == "glTexEnviv")
    return pname(1) == GL_TEXTURE_ENV_COLOR ? 4 : 1;
  if (name.starts_with("glGet") || name.starts_with("glGen") || name == "glSelectBuffer" ||
      name == "glFeedbackBuffer" || name == "glReadPixels")
    return 0;  // output buffers
  // glColor4fv, glVertex3dv, glNormal3fv ...: the count is in the name.
  static const std::regex vectorForm(R"(^gl\w+?([234])(b|s|i|f|d|ub|us|ui)v$)");
  std::cmatch m;
  std::string n(name);
  if (std::regex_match(n.c_str(), m, vectorForm)) return m[1].str()[0] - '0';
  return 0;
}

struct Arg {
  std::string text;
  const void* pointer = nullptr;
  char kind = 0;  // element type of a pointer: f, d, i, u, b
};

template <typename T>
Arg MakeArg(T v) {
  Arg a;
  if constexpr (std::is_pointer_v<T>) {
    using E = std::remove_cv_t<std::remove_pointer_t<T>>;
    a.pointer = v;
    a.kind = std::is_same_v<E, GLfloat>    ? 'f'
             : std::is_same_v<E, GLdouble> ? 'd'
             : std::is_same_v<E, GLint>    ? 'i'
             : std::is_same_v<E, GLuint>   ? 'u'
             : std::is_same_v<E, GLubyte>  ? 'b'
                                           : 0;
    a.text = "ptr";
  } else {
    a.text = FormatGLArg(v);
  }
  return a;
}

std::string FormatArray(const Arg& a, int n) {
  std::string s = "[";
  for (int i = 0; i < n; ++i) {
    if (i) s += ",";
    switch (a.kind) {
      case 'f': s += FormatGLArg(static_cast<const GLfloat*>(a.pointer)[i]); break;
      case 'd': s += FormatGLArg(static_cast<const GLdouble*>(a.pointer)[i]); break;
      case 'i': s += FormatGLArg(static_cast<const GLint*>(a.pointer)[i]); break;
      case 'u': s += FormatGLArg(static_cast<const GLuint*>(a.pointer)[i]); break;
      case 'b': s += FormatGLArg(static_cast<const GLubyte*>(a.pointer)[i]); break;
      default: return "ptr";
    }
  }
  return s + "]";
}

template <typename... A>
void Record(const char* name, A... args) {
  std::vector<Arg> list{MakeArg(args)...};
  std::vector<long long> ints;
  for (const Arg& a : list) ints.push_back(a.pointer ? -1 : std::atoll(a.text.c_str()));
  std::string s = std::string(name) + "(";
  for (size_t i = 0; i < list.size(); ++i) {
    if (i) s += ",";
    const Arg& a = list[i];
    int n = a.pointer ? PointerLength(name, ints) : 0;
    s += (a.pointer && n > 0) ? FormatArray(a, n) : a.text;
  }
  calls.push_back(s + ")");
}

}  // namespace

std::string FormatGLNumber(double v, bool isFloat) {
  char buf[40];
  std::snprintf(buf, sizeof buf, isFloat ? "%.7g" : "%.15g", v);
  if (std::strcmp(buf, "-0") == 0) return "0";
  return buf;
}

GLRecorder::GLRecorder() {
  calls.clear();
  recording = true;
}
GLRecorder::~GLRecorder() { recording = false; }
const std::vector<std::string>& GLRecorder::Calls() const { return calls; }
std::vector<std::string> GLRecorder::Names() const {
  std::vector<std::string> names;
  for (const std::string& c : calls) names.push_back(c.substr(0, c.find('(')));
  return names;
}
std::vector<std::string> GLRecorder::Only(std::initializer_list<const char*> names) const {
  std::vector<std::string> out;
  for (const std::string& c : calls) {
    std::string n = c.substr(0, c.find('('));
    for (const char* want : names)
      if (n == want) out.push_back(c);
  }
  return out;
}
int GLRecorder::Count(const char* name) const {
  int n = 0;
  for (const std::string& c : calls) n += c.compare(0, c.find('('), name) == 0;
  return n;
}
void GLRecorder::Clear() { calls.clear(); }
void GLRecorder::Pause() { recording = false; }
void GLRecorder::Resume() { recording = true; }

}  // namespace qeltest

using qeltest::Record;
using qeltest::RecorderScope;

static void* QelRecorderNext(const char* name) {
  void* p = dlsym(RTLD_NEXT, name);
  if (!p) {
    // Not loaded yet by anything after the test program: ask the libraries.
    const bool glu = std::strncmp(name, "glu", 3) == 0;
    static void* glLib = dlopen("libOpenGL.so.0", RTLD_NOW | RTLD_GLOBAL);
    static void* gluLib = dlopen("libGLU.so.1", RTLD_NOW | RTLD_GLOBAL);
    void* lib = glu ? gluLib : glLib;
    if (lib) p = dlsym(lib, name);
  }
  if (!p) {
    std::fprintf(stderr, "GL recorder: no real %s\n", name);
    std::abort();
  }
  return p;
}

#include "gl_recorder_functions.inc"

#pragma once
// The interface through which every persistent class writes itself to a
// scene file and reads itself back. A class never sees the file: it names
// its values and sub-elements, and the exchange formats, places and parses
// them.
//
// Writing: a class's WriteValues adds attributes to the tag it stands for
// (addtag, AddRef, AddAsRef) and writes each child through the child's
// WriteComp(exchange, tagName). Reading: ReadValues reads the attributes of
// the tag being opened (getvalue, getenums, GetRef, GetAsRef); ReadComp is
// offered each child tag and returns the object that stands for it; ReadRef
// runs after the whole file, to resolve references (GetRefObj).
#include <cstdint>
#include <string>
#include <type_traits>

#include "qelon/math/qelmath.h"
#include "qelon/platform/qelcomponent.h"

class TQelVector;

// A value whose default is this has no default: it is always written.
inline constexpr double QelNoDefault = 1e100;

// Message levels of IQelExchange::Error.
enum : int32_t {
  qlCritical = 0,
  qlError = 10,
  qlWarning = 20,
  qlHint = 30,
  qlPlain = 40
};

// The tag a component is written under: its class name in upper case.
inline std::string QelTagNameOf(const TObject* obj) {
  std::string name = obj->ClassName();
  for (char& c : name)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return name;
}

// A class a reference must be of: its name (for messages) and the test.
struct TQelClassCheck {
  const char* ClassName;
  bool (*IsInstance)(const TObject* obj);
};
template <class T>
TQelClassCheck QelClassCheckOf() {
  return {T::StaticClassName(),
          [](const TObject* obj) { return dynamic_cast<const T*>(obj) != nullptr; }};
}

class IQelExchange {
public:
  virtual ~IQelExchange() = default;

  // --- text of values ------------------------------------------------------
  // Scalars, vectors and names as they are written. Under NoDefaultValues a
  // value equal to its default gives the empty text.
  virtual std::string toStr(const TComponent* component) = 0;  // its Name, or "nil"
  virtual std::string toStr(const char* const* names, int32_t count, int32_t value) = 0;
  virtual std::string toStr(const TQelMathVector& vector, const TQelMathVector& def) = 0;
  virtual std::string toStr(const TQelVector& vector, const TQelMathVector& def) = 0;
  virtual std::string toStr(int32_t value, int32_t def) = 0;
  virtual std::string toStr(double value, double def) = 0;
  virtual std::string toStr(float value, float def) = 0;
  virtual std::string toStr(bool value, bool def) = 0;
  virtual std::string toStr(const std::string& value, const std::string& def) = 0;
  // n as 8 upper-case hexadecimal digits; the reverse gives -1 for any other
  // character and 0 for the empty text.
  virtual std::string int2hex(int32_t n) = 0;
  virtual int32_t hex2int(const std::string& s) = 0;
  // Parse text; malformed numbers raise EQelConvertError. Booleans change
  // only for "true" and "false".
  virtual void Strto(const std::string& text, TQelMathVector& vector) = 0;
  virtual void Strto(const std::string& text, int32_t& value) = 0;
  virtual void Strto(const std::string& text, uint8_t& value) = 0;
  virtual void Strto(const std::string& text, double& value) = 0;
  virtual void Strto(const std::string& text, float& value) = 0;
  virtual void Strto(const std::string& text, bool& value) = 0;

  // --- writing ----------------------------------------------------------------
  // Every addtag writes an attribute name="text" of the current tag; values
  // equal to their default are left out under NoDefaultValues.
  virtual void addtag(const std::string& name, int32_t value, const char* const* names,
                      int32_t def) = 0;  // enumeration value by name
  virtual void addtag(const std::string& name, const TComponent* component,
                      const TComponent* def) = 0;  // reference by Name
  virtual void addtag(const std::string& name, const TQelMathVector& vector,
                      const TQelMathVector& def) = 0;
  virtual void addtag(const std::string& name, const TQelVector& vector,
                      const TQelMathVector& def) = 0;  // single precision
  virtual void addtag(const std::string& name, int32_t value, int32_t def) = 0;
  virtual void addtag(const std::string& name, double value, double def) = 0;
  virtual void addtag(const std::string& name, float value, float def) = 0;
  virtual void addtag(const std::string& name, bool value, bool def) = 0;
  virtual void addtag(const std::string& name, const std::string& value,
                      const std::string& def) = 0;
  // A set (bit n = member n) as the names of its members, ascending.
  virtual void addtag(const std::string& name, uint32_t set, const char* const* names,
                      int32_t count) = 0;
  // Character data inside the current tag.
  virtual void addvalue(const std::string& text) = 0;
  virtual void StartTag(const std::string& name) = 0;
  virtual void EndTag() = 0;
  // The ID of object (numbered as objects are first met) as attribute name;
  // nothing for null. AddAsRef also marks object as written here.
  virtual void AddRef(const std::string& name, TPersistent* object) = 0;
  virtual void AddAsRef(const std::string& name, TPersistent* object) = 0;

  // --- reading ----------------------------------------------------------------
  // Records the reference in attribute name for object, which holds it; the
  // exchange calls object's ReadRef after the file, where GetRefObj gives it.
  virtual void GetRef(const std::string& name, TPersistent* object) = 0;
  // Registers object as the one defined under the ID in attribute name.
  virtual void GetAsRef(const std::string& name, TPersistent* object) = 0;
  // In ReadRef: the object recorded under name, when it exists and is of
  // the class; otherwise a message, false, and target unchanged.
  virtual bool GetRefObj(const std::string& name, TPersistent*& target,
                         const TQelClassCheck& cls) = 0;
  template <class T>
  bool GetRefObj(const std::string& name, T*& target) {
    TPersistent* found = nullptr;
    if (!GetRefObj(name, found, QelClassCheckOf<T>())) return false;
    target = dynamic_cast<T*>(found);
    return true;
  }
  // Attributes of the tag being opened. A missing or empty attribute leaves
  // the target unchanged and gives false.
  virtual bool getvalue(const std::string& name, int32_t& value) = 0;
  virtual bool getvalue(const std::string& name, uint8_t& value) = 0;
  virtual bool getvalue(const std::string& name, double& value) = 0;
  virtual bool getvalue(const std::string& name, float& value) = 0;
  virtual bool getvalue(const std::string& name, bool& value) = 0;
  virtual bool getvalue(const std::string& name, std::string& value) = 0;
  virtual bool getvalue(const std::string& name, TQelMathVector& vector) = 0;
  // Sets each member named in the text; unknown names are skipped.
  virtual bool getvalue(const std::string& name, uint32_t& set, const char* const* names,
                        int32_t count) = 0;
  // The index of the enumeration name in attribute name, or -1.
  virtual int32_t getenums(const std::string& name, const char* const* names,
                           int32_t count) = 0;

  // --- progress, messages, files ---------------------------------------------
  virtual void ProgressStep() = 0;
  virtual void Error(int32_t level, const std::string& text) = 0;
  // A file name read from or written to the file, as a usable path:
  // relative names are taken from the scene file's folder. While saving,
  // a bare extension (".bmp") gives a new, unused relative name beside the
  // scene file, for an external file that goes with it.
  virtual std::string GetAFilename(const std::string& name) = 0;

  // Enumerations of any type through their name tables.
  template <class E>
  void addtag(const std::string& name, E value, const char* const* names, E def)
    requires std::is_enum_v<E>
  {
    addtag(name, static_cast<int32_t>(value), names, static_cast<int32_t>(def));
  }
  template <class E, size_t N>
  bool getenum(const std::string& name, const char* const (&names)[N], E& value)
    requires std::is_enum_v<E>
  {
    const int32_t index = getenums(name, names, static_cast<int32_t>(N));
    if (index < 0) return false;
    value = static_cast<E>(index);
    return true;
  }
};

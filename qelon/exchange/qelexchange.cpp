#include "qelon/exchange/qelexchange.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "qelon/exchange/qeltagwriter.h"
#include "qelon/exchange/qelvaluetext.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/math/qelclass.h"
#include "qelon/platform/qelerror.h"
#include "qelon/platform/qelfile.h"
#include "qelon/platform/qelproduct.h"
#include "qelon/scene/qelobj.h"

const char* const TQelExchangeStateStr[7] = {"stReady",     "stSave",      "stQELGLSave",
                                              "stQELGLLoad", "stStartLoad", "stEndSave",
                                              "stOBJLoad"};


// --- the exchange's working state ---------------------------------------------

struct TQelExchange::Impl {
  TQelTagWriter writer;

  // References while writing: object at index ID, and whether its own tag
  // has been written.
  std::vector<TPersistent*> refs;
  std::unordered_map<const TPersistent*, int32_t> refIds;
  std::vector<bool> defined;
  int32_t externalFiles = 0;

  // Reading.
  TXMLTag* tag = nullptr;        // the tag being opened
  TXMLTag* objectsTag = nullptr;  // "Objects"
  std::unordered_map<int32_t, TPersistent*> definedById;
  std::vector<std::pair<TPersistent*, std::string>> pending;  // object, "name=ID;..."
  std::unordered_map<const TPersistent*, size_t> pendingIndex;
  const std::string* refEntry = nullptr;  // the entry of the object in ReadRef

  // The value of attribute name of the tag being opened, or null.
  bool FindParam(std::string_view name, std::string_view& value) const {
    if (!tag) return false;
    std::string_view params = tag->Params;
    while (!params.empty()) {
      size_t end = params.find('\n');
      std::string_view line = params.substr(0, end);
      params = end == std::string_view::npos ? std::string_view() : params.substr(end + 1);
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      if (line.size() > name.size() && line[name.size()] == '=' &&
          line.compare(0, name.size(), name) == 0) {
        value = line.substr(name.size() + 1);
        return true;
      }
    }
    return false;
  }

  int32_t IdOf(TPersistent* object) {
    auto [it, added] = refIds.try_emplace(object, static_cast<int32_t>(refs.size()));
    if (added) {
      refs.push_back(object);
      defined.push_back(false);
    }
    return it->second;
  }
};

// --- TQelExchange: state -------------------------------------------------------

TQelExchange::TQelExchange(TComponent* AOwner)
    : TQelCustomExchange(AOwner), impl_(std::make_unique<Impl>()) {}

TQelExchange::~TQelExchange() { Destroying(); }

void TQelExchange::Clear() {
  Impl& d = *impl_;
  d.writer.Clear();
  d.refs.clear();
  d.refIds.clear();
  d.defined.clear();
  d.externalFiles = 0;
  d.tag = nullptr;
  d.objectsTag = nullptr;
  d.definedById.clear();
  d.pending.clear();
  d.pendingIndex.clear();
  d.refEntry = nullptr;
  ClearMessages();
}

const std::string& TQelExchange::GetText() { return impl_->writer.GetText(); }

// --- saving -------------------------------------------------------------------

bool TQelExchange::SaveToFile(const std::string& fileName) {
  return SaveToFile(fileName, GetObjectNode());
}

bool TQelExchange::SaveToFile(const std::string& fileName, TPersistent* object) {
  if (fileName.empty() || !object || state_ != stReady) return false;
  fileName_ = fileName;
  try {
    SaveObjs(object);
  } catch (...) {
    impl_->writer.Clear();
    state_ = stReady;
    throw;
  }
  return true;
}

void TQelExchange::SaveObjs(TPersistent* object) {
  if (fileName_.empty() || !object || state_ != stReady) return;
  Progress("SaveXML", 0);
  Clear();
  auto writeRoot = [this] {
    StartTag("QELGL");
    TQelTagWriter& w = impl_->writer;
    w.Attribute("version", QelProductVersion(), paramNewLine_);
    w.Attribute("program", QelProductName(), paramNewLine_);
    w.Attribute("description", fileDescription_, paramNewLine_);
    state_ = stQELGLSave;
  };
  if (auto* node = dynamic_cast<TQelNode*>(object)) {
    state_ = stSave;
    writeRoot();
    StartProgress("SaveXML", node->CountAllItems(true));
    node->WriteComp(this, "Objects");
    // Objects referenced but not written in the tree.
    StartTag("Anchor");
    Impl& d = *impl_;
    for (size_t id = 0; id < d.refs.size(); ++id) {
      if (d.defined[id]) continue;
      if (auto* component = dynamic_cast<TQelComponent*>(d.refs[id]))
        component->WriteComp(this, QelTagNameOf(component));
      else
        Error(qlError, std::string("Class ") + d.refs[id]->ClassName() + " is not a TQelComponent");
    }
    EndTag();
  } else {
    writeRoot();
    StartProgress("SaveXML", 1);
    StartTag("Objects");
    object->WriteComp(this, QelTagNameOf(object));
  }
  while (impl_->writer.GetDepth() > 0) EndTag();
  state_ = stEndSave;
  QelWriteFileAtomically(fileName_, impl_->writer.GetPieces());
  state_ = stReady;
  Progress("SaveXML finished", 1);
}

void TQelExchange::StartTag(const std::string& name) { impl_->writer.StartTag(name); }

void TQelExchange::EndTag() { impl_->writer.EndTag(noDefaultValues_); }

void TQelExchange::addvalue(const std::string& text) { impl_->writer.Value(text); }

// Writes name="text" on the current tag.
static void AddAttribute(TQelExchange::Impl& d, bool paramNewLine, const std::string& name,
                         std::string_view text) {
  d.writer.Attribute(name, text, paramNewLine);
}

void TQelExchange::addtag(const std::string& name, int32_t value, const char* const* names,
                          int32_t def) {
  if (noDefaultValues_ && value == def) return;
  AddAttribute(*impl_, paramNewLine_, name, names[value]);
}

void TQelExchange::addtag(const std::string& name, const TComponent* component,
                          const TComponent* def) {
  if (noDefaultValues_ && component == def) return;
  AddAttribute(*impl_, paramNewLine_, name, toStr(component));
}

void TQelExchange::addtag(const std::string& name, const TQelMathVector& vector,
                          const TQelMathVector& def) {
  const std::string text = toStr(vector, def);
  if (!text.empty()) AddAttribute(*impl_, paramNewLine_, name, text);
}

void TQelExchange::addtag(const std::string& name, const TQelVector& vector,
                          const TQelMathVector& def) {
  const std::string text = toStr(vector, def);
  if (!text.empty()) AddAttribute(*impl_, paramNewLine_, name, text);
}

void TQelExchange::addtag(const std::string& name, int32_t value, int32_t def) {
  if (noDefaultValues_ && value == def) return;
  char buf[16];
  AddAttribute(*impl_, paramNewLine_, name, QelIntText(buf, value));
}

void TQelExchange::addtag(const std::string& name, double value, double def) {
  if (noDefaultValues_ && def != QelNoDefault && value == def) return;
  char buf[40];
  AddAttribute(*impl_, paramNewLine_, name, QelFloatText(buf, value, decimals_));
}

void TQelExchange::addtag(const std::string& name, float value, float def) {
  if (noDefaultValues_ && !std::isinf(def) && value == def) return;
  char buf[40];
  AddAttribute(*impl_, paramNewLine_, name, QelFloatText(buf, value, decimals_));
}

void TQelExchange::addtag(const std::string& name, bool value, bool def) {
  if (noDefaultValues_ && value == def) return;
  AddAttribute(*impl_, paramNewLine_, name, value ? "true" : "false");
}

void TQelExchange::addtag(const std::string& name, const std::string& value,
                          const std::string& def) {
  if (noDefaultValues_ && value == def) return;
  AddAttribute(*impl_, paramNewLine_, name, value);
}

void TQelExchange::addtag(const std::string& name, uint32_t set, const char* const* names,
                          int32_t count) {
  std::string text;
  for (int32_t i = 0; i < count && i < 32; ++i) {
    if (!(set & (1u << i))) continue;
    if (!text.empty()) text += ',';
    text += names[i];
  }
  AddAttribute(*impl_, paramNewLine_, name, text);
}

void TQelExchange::AddRef(const std::string& name, TPersistent* object) {
  if (!object) return;
  char buf[16];
  AddAttribute(*impl_, paramNewLine_, name, QelIntText(buf, impl_->IdOf(object)));
}

void TQelExchange::AddAsRef(const std::string& name, TPersistent* object) {
  if (!object) return;
  AddRef(name, object);
  impl_->defined[impl_->IdOf(object)] = true;
}

// --- text of values ---------------------------------------------------------

std::string TQelExchange::toStr(const TComponent* component) {
  return component ? component->GetName() : "nil";
}

std::string TQelExchange::toStr(const char* const* names, int32_t count, int32_t value) {
  return value >= 0 && value < count ? names[value] : "";
}

std::string TQelExchange::toStr(const TQelMathVector& vector, const TQelMathVector& def) {
  if (noDefaultValues_ && def.x != QelNoDefault && vector.x == def.x && vector.y == def.y &&
      vector.z == def.z)
    return "";
  char buf[3 * 40];
  return std::string(QelVectorText(buf, vector.x, vector.y, vector.z, decimals_));
}

std::string TQelExchange::toStr(const TQelVector& vector, const TQelMathVector& def) {
  const float x = vector.GetX(), y = vector.GetY(), z = vector.GetZ();
  if (noDefaultValues_ && def.x != QelNoDefault && x == static_cast<float>(def.x) &&
      y == static_cast<float>(def.y) && z == static_cast<float>(def.z))
    return "";
  char buf[3 * 40];
  return std::string(QelVectorText(buf, x, y, z, decimals_));
}

std::string TQelExchange::toStr(int32_t value, int32_t def) {
  if (noDefaultValues_ && value == def) return "";
  return std::to_string(value);
}

std::string TQelExchange::toStr(double value, double def) {
  if (noDefaultValues_ && def != QelNoDefault && value == def) return "";
  char buf[40];
  return std::string(QelFloatText(buf, value, decimals_));
}

std::string TQelExchange::toStr(float value, float def) {
  if (noDefaultValues_ && !std::isinf(def) && value == def) return "";
  char buf[40];
  return std::string(QelFloatText(buf, value, decimals_));
}

std::string TQelExchange::toStr(bool value, bool def) {
  if (noDefaultValues_ && value == def) return "";
  return value ? "true" : "false";
}

std::string TQelExchange::toStr(const std::string& value, const std::string& def) {
  if (noDefaultValues_ && value == def) return "";
  return value;
}

std::string TQelExchange::int2hex(int32_t n) {
  char buf[9];
  static const char digits[] = "0123456789ABCDEF";
  uint32_t u = static_cast<uint32_t>(n);
  for (int i = 7; i >= 0; --i, u >>= 4) buf[i] = digits[u & 15];
  return std::string(buf, 8);
}

int32_t TQelExchange::hex2int(const std::string& s) {
  uint32_t value = 0;
  for (char c : s) {
    int digit;
    if (c >= '0' && c <= '9') digit = c - '0';
    else if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    else if (c >= 'a' && c <= 'f') digit = c - 'a' + 10;
    else return -1;
    value = (value << 4) | static_cast<uint32_t>(digit);
  }
  return static_cast<int32_t>(value);
}

void TQelExchange::Strto(const std::string& text, TQelMathVector& vector) {
  QelParseVector(text, vector);
}
void TQelExchange::Strto(const std::string& text, int32_t& value) { QelParseNumber(text, value); }
void TQelExchange::Strto(const std::string& text, uint8_t& value) { QelParseNumber(text, value); }
void TQelExchange::Strto(const std::string& text, double& value) { QelParseNumber(text, value); }
void TQelExchange::Strto(const std::string& text, float& value) { QelParseNumber(text, value); }
void TQelExchange::Strto(const std::string& text, bool& value) {
  if (text == "true") value = true;
  else if (text == "false") value = false;
}

// --- loading ------------------------------------------------------------------

bool TQelExchange::LoadFromFile(const std::string& fileName) {
  return LoadFromFile(fileName, GetObjectNode());
}

bool TQelExchange::LoadFromFile(const std::string& fileName, TPersistent* object) {
  if (state_ != stReady) return false;
  Progress("LoadXML", 0);
  Clear();
  fileName_ = fileName;
  state_ = stStartLoad;
  auto* component = dynamic_cast<TComponent*>(object);
  const bool wasLoading = component && component->IsLoading();
  if (component) component->SetLoading(true);
  TXMLParser parser(nullptr);
  parser.SetFileName(fileName);
  parser.OnTag = [this](TXMLTag*& tag) { atXMLTag(tag); };
  parser.OnProgress = [this](double progress) { Progress("LoadXML", progress); };
  try {
    parser.execute(object);
    impl_->tag = nullptr;
    // Resolve references now that every object is there.
    Impl& d = *impl_;
    for (size_t i = 0; i < d.pending.size(); ++i) {
      Error(qlHint, d.pending[i].second);
      d.refEntry = &d.pending[i].second;
      d.pending[i].first->ReadRef(this);
    }
    d.refEntry = nullptr;
  } catch (const EQelConvertError& e) {
    impl_->tag = nullptr;
    impl_->refEntry = nullptr;
    state_ = stReady;
    if (component) component->SetLoading(wasLoading);
    throw EQelConvertError(std::string(e.what()) + " in \"" + fileName + "\"");
  } catch (...) {
    impl_->tag = nullptr;
    impl_->refEntry = nullptr;
    state_ = stReady;
    if (component) component->SetLoading(wasLoading);
    throw;
  }
  if (component) component->SetLoading(wasLoading);
  state_ = stReady;
  Progress("LoadXML finished", 1);
  return true;
}

void TQelExchange::atXMLTag(TXMLTag* tag) {
  Impl& d = *impl_;
  d.tag = tag;
  TObject* parentData = tag->Parent ? tag->Parent->Data : nullptr;
  if (state_ == stStartLoad || state_ == stQELGLLoad) {
    if (tag->Name == "QELGL") {
      getvalue("description", fileDescription_);
      state_ = stQELGLLoad;
      tag->Data = parentData;
    } else if (tag->Name == "Objects") {
      state_ = stOBJLoad;
      tag->Data = parentData;
      d.objectsTag = tag;
      // The saved node's own values go to the node loaded into.
      if (auto* node = dynamic_cast<TQelNode*>(parentData)) node->ReadValues(this, tag);
    }
    return;
  }
  if (state_ != stOBJLoad) return;
  auto* parent = dynamic_cast<TPersistent*>(parentData);
  if (!parent) {
    tag->Data = nullptr;
    return;
  }
  // A single component or property saved on its own: the element inside
  // "Objects" named after the class of the object loaded into.
  if (tag->Parent == d.objectsTag && !dynamic_cast<TQelNode*>(parent) &&
      tag->Name == QelTagNameOf(parent)) {
    parent->ReadValues(this, tag);
    tag->Data = parent;
    return;
  }
  tag->Data = parent->ReadComp(this, tag);
}

bool TQelExchange::getvalue(const std::string& name, std::string& value) {
  std::string_view text;
  if (!impl_->FindParam(name, text) || text.empty()) return false;
  value.assign(text);
  return true;
}

// Parses attribute name with parse, naming the attribute when it fails.
template <class T, class Parse>
static bool ReadParam(TQelExchange::Impl& d, const std::string& name, T& value, Parse parse) {
  std::string_view text;
  if (!d.FindParam(name, text) || text.empty()) return false;
  try {
    parse(text, value);
  } catch (const EQelConvertError& e) {
    throw EQelConvertError(std::string(e.what()) + " (attribute \"" + name + "\")");
  }
  return true;
}

bool TQelExchange::getvalue(const std::string& name, int32_t& value) {
  return ReadParam(*impl_, name, value, [](std::string_view t, int32_t& v) { QelParseNumber(t, v); });
}

bool TQelExchange::getvalue(const std::string& name, uint8_t& value) {
  return ReadParam(*impl_, name, value, [](std::string_view t, uint8_t& v) { QelParseNumber(t, v); });
}

bool TQelExchange::getvalue(const std::string& name, double& value) {
  return ReadParam(*impl_, name, value, [](std::string_view t, double& v) { QelParseNumber(t, v); });
}

bool TQelExchange::getvalue(const std::string& name, float& value) {
  return ReadParam(*impl_, name, value, [](std::string_view t, float& v) { QelParseNumber(t, v); });
}

bool TQelExchange::getvalue(const std::string& name, TQelMathVector& vector) {
  return ReadParam(*impl_, name, vector,
                   [](std::string_view t, TQelMathVector& v) { QelParseVector(t, v); });
}

bool TQelExchange::getvalue(const std::string& name, bool& value) {
  std::string_view text;
  if (!impl_->FindParam(name, text)) return false;
  if (text == "true") value = true;
  else if (text == "false") value = false;
  else return false;
  return true;
}

bool TQelExchange::getvalue(const std::string& name, uint32_t& set, const char* const* names,
                            int32_t count) {
  // Present but empty is the empty set, so that an empty set reads back.
  std::string_view text;
  if (!impl_->FindParam(name, text)) return false;
  uint32_t bits = 0;
  while (true) {
    const size_t comma = text.find(',');
    const std::string_view item = text.substr(0, comma);
    for (int32_t i = 0; i < count && i < 32; ++i)
      if (item == names[i]) bits |= 1u << i;
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  set = bits;
  return true;
}

int32_t TQelExchange::getenums(const std::string& name, const char* const* names, int32_t count) {
  std::string_view text;
  if (!impl_->FindParam(name, text)) return -1;
  for (int32_t i = 0; i < count; ++i)
    if (text == names[i]) return i;
  return -1;
}

void TQelExchange::GetAsRef(const std::string& name, TPersistent* object) {
  int32_t id = -1;
  if (!object || !getvalue(name, id) || id < 0) return;
  if (!impl_->definedById.try_emplace(id, object).second)
    Error(qlWarning, "ID \"" + std::to_string(id) + "\" is defined twice; the first one counts.");
}

void TQelExchange::GetRef(const std::string& name, TPersistent* object) {
  int32_t id = -1;
  if (!object || !getvalue(name, id) || id < 0) return;
  Impl& d = *impl_;
  auto [it, added] = d.pendingIndex.try_emplace(object, d.pending.size());
  if (added) d.pending.emplace_back(object, std::string());
  d.pending[it->second].second += name + "=" + std::to_string(id) + ";";
}

bool TQelExchange::GetRefObj(const std::string& name, TPersistent*& target,
                             const TQelClassCheck& cls) {
  Impl& d = *impl_;
  if (!d.refEntry) return false;
  const std::string& entry = *d.refEntry;
  // Entries read "name=ID;name=ID;".
  size_t at = 0;
  while (at < entry.size()) {
    const size_t end = entry.find(';', at);
    const std::string_view item(entry.data() + at, (end == std::string::npos ? entry.size() : end) - at);
    at = end == std::string::npos ? entry.size() : end + 1;
    if (item.size() <= name.size() || item[name.size()] != '=' ||
        item.compare(0, name.size(), name) != 0)
      continue;
    const std::string id(item.substr(name.size() + 1));
    auto found = d.definedById.find(std::atoi(id.c_str()));
    if (found == d.definedById.end()) {
      Error(qlError, "ID \"" + id + "\" not found in \"" + entry + "\"");
      return false;
    }
    if (!cls.IsInstance(found->second)) {
      Error(qlError, std::string("RefClass(") + found->second->ClassName() + "," + cls.ClassName +
                         ")is not equal.");
      return false;
    }
    target = found->second;
    return true;
  }
  return false;
}

// --- progress, messages, files --------------------------------------------------

void TQelExchange::ProgressStep() { StepProgress(); }

void TQelExchange::Error(int32_t level, const std::string& text) { Log(level, text); }

std::string TQelExchange::GetAFilename(const std::string& name) {
  namespace fs = std::filesystem;
  const bool saving = state_ == stSave || state_ == stQELGLSave;
  const fs::path scene(fileName_);
  if (saving && name.size() > 1 && name[0] == '.' && name.find('/') == std::string::npos &&
      name.find('.', 1) == std::string::npos) {
    return scene.stem().string() + "-" + std::to_string(impl_->externalFiles++) + name;
  }
  const fs::path path(name);
  if (name.empty() || path.is_absolute() || fileName_.empty()) return name;
  return (scene.parent_path() / path).lexically_normal().string();
}

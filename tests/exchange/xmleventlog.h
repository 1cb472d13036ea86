#pragma once
// Logs every event of a TXMLParser as one line of text, so that a test can
// compare the whole sequence of a parse at once.
#include <qelon/exchange/xmlparser.h>

#include <cstdio>
#include <initializer_list>
#include <string>

namespace qeltest {

// Control characters made visible: CR as \r, LF as \n, tab as \t.
inline std::string Visible(const std::string& text) {
  std::string out;
  for (char ch : text) {
    switch (ch) {
      case '\r': out += "\\r"; break;
      case '\n': out += "\\n"; break;
      case '\t': out += "\\t"; break;
      default: out += ch;
    }
  }
  return out;
}

// Lines joined by LF, each ended by it: the form XMLEventLog::Text has.
inline std::string Lines(std::initializer_list<const char*> lines) {
  std::string out;
  for (const char* line : lines) out.append(line).append("\n");
  return out;
}

// Lines it writes (a nameless tag shows as ""):
//   OnTagName a           OnTag a [b=1\r\nb=1\r\n]   (Params, when there are any)
//   OnParam a: b=1        (the "name=value" just read)
//   OnValue a: \r\n       OnEndTag a
//   OnComment <!-- x -->  OnSpecial <?xml?>         OnProgress 0.5
class XMLEventLog {
public:
  explicit XMLEventLog(TXMLParser& parser, bool withProgress = false) {
    auto name = [](const TXMLTag* tag) {
      return tag->Name.empty() ? std::string("\"\"") : Visible(tag->Name);
    };
    parser.OnTagName = [this, name](TXMLTag*& tag) { Add("OnTagName " + name(tag)); };
    parser.OnTag = [this, name](TXMLTag*& tag) {
      Add("OnTag " + name(tag) + (tag->Params.empty() ? "" : " [" + Visible(tag->Params) + "]"));
    };
    parser.OnParam = [this, name, &parser](TXMLTag*& tag) {
      Add("OnParam " + name(tag) + ": " + Visible(parser.GetText()));
    };
    parser.OnValue = [this, name](TXMLTag*& tag) { Add("OnValue " + name(tag) + ": " + Visible(tag->Value)); };
    parser.OnEndTag = [this, name](TXMLTag*& tag) { Add("OnEndTag " + name(tag)); };
    parser.OnComment = [this](const std::string& text) { Add("OnComment " + Visible(text)); };
    parser.OnSpecial = [this](const std::string& text) { Add("OnSpecial " + Visible(text)); };
    if (withProgress) {
      parser.OnProgress = [this](double progress) {
        char number[32];
        std::snprintf(number, sizeof number, "%.6g", progress);
        Add(std::string("OnProgress ") + number);
      };
    }
  }

  void Add(const std::string& line) { text_.append(line).append("\n"); }
  const std::string& Text() const { return text_; }
  void Clear() { text_.clear(); }

private:
  std::string text_;
};

}  // namespace qeltest

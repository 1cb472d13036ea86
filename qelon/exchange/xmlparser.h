#pragma once
// The library's own event-driven XML reader. It reads what the scene
// exchange writes and nothing more general: a one-pass machine over the
// bytes of a file that keeps a stack of open tags and reports what it meets
// through events. It does not validate, decode entities or build a tree;
// the consumer hangs its own object on each tag (Data) as the tag opens.
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "qelon/platform/qelcomponent.h"

// The state of the machine. The order is fixed (values 0 to 6).
enum TStates {
  stDefault,   // outside the document element: skip up to a '<'
  stOpenTag,   // just after '<': collecting a tag name
  stCloseTag,  // inside "</name>" or after the '/' of "<name .../>"
  stValue,     // between tags: collecting character data
  stParam,     // inside a start tag after its name: collecting attributes
  stSpecial,   // inside "<?...>" or "<!...>"
  stComment    // inside "<!-- ... -->"
};
extern const char* const TStatesStr[7];

// One open element.
class TXMLTag : public TObject {
  QEL_CLASS(TXMLTag)
public:
  std::string Name;    // set when the name ends (space or '>')
  std::string Value;   // character data last collected directly inside
  std::string Params;  // "name=value" lines, each ended by CR LF
  int32_t Level = 0;   // 0 for the root, parent's Level + 1 below it
  // Set by the consumer in OnTag: 0 normal, 1 close this tag at once (it
  // has no end tag), 2 keep this tag current when it closes. The parser
  // resets it to 0 after OnTag and after every close.
  int32_t CloseMode = 0;
  TXMLTag* Parent = nullptr;  // the enclosing tag; null for the root
  TObject* Data = nullptr;    // the consumer's object for this tag
};

// The handler gets the current tag by reference and may replace it. A
// replacement must be made with new: the parser owns it from then on and
// frees it when it closes. A null replacement is ignored.
using TTagEvent = std::function<void(TXMLTag*& Tag)>;
using TXMLTextEvent = std::function<void(const std::string& Text)>;
using TXMLProgressEvent = std::function<void(double progress)>;

class TXMLParser : public TComponent {
  QEL_CLASS(TXMLParser)
public:
  explicit TXMLParser(TComponent* AOwner);
  ~TXMLParser() override;

  // Parses the buffer, or the file FileName when the buffer is empty, and
  // empties the buffer. Sender becomes the root tag's Data. A file that
  // cannot be read raises EQelFileError naming it. The buffer is detached
  // while it is parsed: what a handler writes to it meanwhile is dropped.
  void execute(TObject* Sender);

  const std::string& GetFileName() const { return fileName_; }
  void SetFileName(const std::string& Value) { fileName_ = Value; }

  // The text to parse; fill it instead of naming a file. A zero byte ends
  // parsing early.
  std::string& GetBuffer() { return buffer_; }
  void SetBuffer(std::string Text) { buffer_ = std::move(Text); }

  // The top of the tag stack and its bottom. The root exists from
  // construction and stays; the stack is not reset between runs.
  TXMLTag* GetCurrentTag() const { return current_; }
  TXMLTag* GetRootTag() const { return root_; }
  TStates GetState() const { return state_; }
  // The text gathered in the current state: in OnParam the "name=value"
  // just read.
  const std::string& GetText() const { return text_; }
  // The "name=value" lines (CR LF ended) of the tag being opened; during
  // OnTag the same text as the tag's Params.
  const std::string& GetParamList() const { return paramList_; }

  TTagEvent OnTag;      // a start tag is complete (not for "<a >" or "<a/>")
  TTagEvent OnEndTag;   // the innermost tag closes
  TTagEvent OnParam;    // an attribute was read
  TTagEvent OnValue;    // a run of character data ended at a '<'
  TTagEvent OnTagName;  // a tag's name ended
  TXMLTextEvent OnComment;  // the whole comment, "<!--" and "-->" included
  TXMLTextEvent OnSpecial;  // "<?...>" or "<!...>" from '<' to '>'
  // Parsed fraction: every 2000 characters and once at the end.
  TXMLProgressEvent OnProgress;

protected:
  // One step per state, run on the character under the cursor. They bind
  // inside the library (protected visibility) so that the loop of execute
  // can inline them; they are still callable from outside.
  [[gnu::visibility("protected")]] void OpenTag(char ch);
  [[gnu::visibility("protected")]] void CloseTag(char ch);
  [[gnu::visibility("protected")]] void Value(char ch);
  [[gnu::visibility("protected")]] void Param(char ch);
  [[gnu::visibility("protected")]] void Special(char ch);
  [[gnu::visibility("protected")]] void Comment(char ch);

  // One firing routine per event; each does nothing while unassigned.
  void atTag(char ch);
  void atEndtag();
  void atParam();
  void atValue();
  void atTagName();
  void atComment();
  void atProgress(double progress);
  void atSpecial();

private:
  void LoadBuffer();
  // The rare transitions of Param, kept apart so that Param stays small.
  void ParamRead();
  void ParamsEnd(char ch);
  void FireTagEvent(const TTagEvent& Event);
  void Append(char ch) { text_.push_back(ch); ++counter_; }
  void ClearText() { text_.clear(); counter_ = 0; }
  void PushTag();
  void PopTag();

  std::string fileName_;
  std::string buffer_;
  TStates state_ = stDefault;
  std::string text_;
  // Characters gathered in stOpenTag, stValue, stCloseTag and stSpecial;
  // the inside-quotes flag in stParam; consecutive '-' in stComment.
  int32_t counter_ = 0;
  TXMLTag* root_;
  TXMLTag* current_;
  std::string paramList_;
  std::vector<TXMLTag*> spareTags_;  // closed tags, reused
};

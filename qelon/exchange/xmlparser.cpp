#include "xmlparser.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "qelon/platform/qelerror.h"

const char* const TStatesStr[7] = {"stDefault", "stOpenTag", "stCloseTag", "stValue",
                                   "stParam",   "stSpecial", "stComment"};

namespace {

// Progress is reported after every this many characters.
constexpr int32_t kProgressStep = 2000;

bool IsEndTagNameChar(char ch) {
  return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') ||
         ch == '_' || ch == ':' || ch == '-';
}

// How many characters from p on a state only gathers (or skips) without
// any other effect; they are taken as one run. Stops at the zero byte.
size_t PlainRun(TStates state, bool inQuotes, const char* p) {
  const char* q = p;
  switch (state) {
    case stDefault:
    case stValue:
      while (*q && *q != '<') ++q;
      break;
    case stParam:
      if (inQuotes) {
        while (*q && *q != '"') ++q;
      } else {
        while (*q && *q != ' ' && *q != '"' && *q != '/' && *q != '>') ++q;
      }
      break;
    default:
      break;
  }
  return static_cast<size_t>(q - p);
}

void AddLine(std::string& list, const std::string& item) {
  list.append(item);
  list.append("\r\n", 2);
}

}  // namespace

TXMLParser::TXMLParser(TComponent* AOwner) : TComponent(AOwner) {
  root_ = new TXMLTag;
  current_ = root_;
  // Room for the longest names, attribute lists and runs of text of a
  // saved scene, so that building them character by character rarely
  // has to grow them.
  text_.reserve(1024);
  paramList_.reserve(1024);
}

TXMLParser::~TXMLParser() {
  Destroying();
  TXMLTag* tag = current_;
  while (tag && tag != root_) {
    TXMLTag* parent = tag->Parent;
    delete tag;
    tag = parent;
  }
  delete root_;
  for (TXMLTag* spare : spareTags_) delete spare;
}

void TXMLParser::LoadBuffer() {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(fileName_.c_str(), "rb"),
                                                       &std::fclose);
  if (!file) throw EQelFileError(fileName_, std::strerror(errno));
  std::string text;
  // Reserved at the file's size, the text is not copied as it grows.
  if (std::fseek(file.get(), 0, SEEK_END) == 0) {
    const long size = std::ftell(file.get());
    if (size > 0) text.reserve(static_cast<size_t>(size));
    std::rewind(file.get());
  }
  char chunk[65536];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, file.get())) > 0) text.append(chunk, got);
  if (std::ferror(file.get())) throw EQelFileError(fileName_, std::strerror(errno));
  buffer_.swap(text);
}

void TXMLParser::execute(TObject* Sender) {
  root_->Data = Sender;
  counter_ = 0;
  if (buffer_.empty()) LoadBuffer();
  // Parse a detached buffer, so that a handler touching GetBuffer() can
  // never move the text under the cursor.
  std::string work;
  work.swap(buffer_);
  // The string's own terminating zero ends the text: appending one would
  // copy the whole buffer whenever it is full. It counts in the size.
  const char* const start = work.c_str();
  const double size = static_cast<double>(work.size() + 1);
  const char* cursor = start;
  state_ = stDefault;
  size_t nextProgress = kProgressStep;
  auto progressTo = [&](const char* at) {
    for (; static_cast<size_t>(at - start) >= nextProgress; nextProgress += kProgressStep)
      atProgress(static_cast<double>(nextProgress) / size);
  };
  for (char ch; (ch = *cursor) != '\0';) {
    // Runs of plain characters in the frequent states go at once.
    if (const size_t run = PlainRun(state_, counter_ != 0, cursor); run > 0) {
      if (state_ == stValue) {
        text_.append(cursor, run);
        counter_ += static_cast<int32_t>(run);
      } else if (state_ == stParam) {
        text_.append(cursor, run);
      }
      cursor += run;
      progressTo(cursor);
      continue;
    }
    switch (state_) {
      case stDefault:
        if (ch == '<') state_ = stOpenTag;
        break;
      case stOpenTag: OpenTag(ch); break;
      case stCloseTag: CloseTag(ch); break;
      case stValue: Value(ch); break;
      case stParam: Param(ch); break;
      case stSpecial: Special(ch); break;
      case stComment: Comment(ch); break;
    }
    ++cursor;
    progressTo(cursor);
  }
  atProgress(static_cast<double>(cursor - start) / size);
  buffer_.clear();
}

void TXMLParser::PushTag() {
  TXMLTag* tag;
  if (spareTags_.empty()) {
    tag = new TXMLTag;
  } else {
    tag = spareTags_.back();
    spareTags_.pop_back();
  }
  tag->Parent = current_;
  tag->Level = current_->Level + 1;
  current_ = tag;
}

void TXMLParser::PopTag() {
  TXMLTag* old = current_;
  // A tag put in by a handler may have no parent; it then stays current.
  if (!old->Parent) return;
  current_ = old->Parent;
  // Kept for the next tag, strings with their room: a scene file opens
  // hundreds of thousands of tags.
  old->Name.clear();
  old->Value.clear();
  old->Params.clear();
  old->CloseMode = 0;
  old->Data = nullptr;
  spareTags_.push_back(old);
}

void TXMLParser::OpenTag(char ch) {
  if (counter_ == 0 && ch != '/' && ch != '!') PushTag();
  switch (ch) {
    case '>':
      current_->Name = text_;
      atTagName();
      atTag(ch);
      state_ = stValue;
      ClearText();
      break;
    case ' ':
      current_->Name = text_;
      atTagName();
      state_ = stParam;
      ClearText();
      break;
    case '/':
      state_ = stCloseTag;
      break;
    case '?':
    case '!':
      if (counter_ == 0) {
        text_.assign(1, '<');
        text_.push_back(ch);
        state_ = stSpecial;
      }
      break;
    default:
      Append(ch);
  }
}

void TXMLParser::CloseTag(char ch) {
  if (IsEndTagNameChar(ch)) {
    Append(ch);
  } else if (ch == '>') {
    atEndtag();
    if (current_->Level >= 1 && current_->CloseMode != 2) PopTag();
    ClearText();
    current_->CloseMode = 0;
    state_ = current_->Level < 1 ? stDefault : stValue;
  }
}

void TXMLParser::Value(char ch) {
  if (ch == '<') {
    current_->Value = text_;
    atValue();
    state_ = stOpenTag;
    ClearText();
  } else {
    Append(ch);
  }
}

// The counter is the inside-quotes flag here, so appending leaves it alone.
void TXMLParser::Param(char ch) {
  switch (ch) {
    case ' ':
      // Outside quotes a space ends the pending "name=value"; a second
      // space before a name is kept in front of it.
      if (counter_ != 0 || text_.empty())
        text_.push_back(ch);
      else
        text_.clear();
      break;
    case '"':
      if (counter_ == 0)
        counter_ = 1;
      else
        ParamRead();
      break;
    case '/':
    case '>':
      // Inside quotes they are part of the value (file names hold slashes).
      if (counter_ != 0)
        text_.push_back(ch);
      else
        ParamsEnd(ch);
      break;
    default:
      text_.push_back(ch);
  }
}

void TXMLParser::ParamRead() {
  counter_ = 0;
  AddLine(paramList_, text_);
  atParam();
}

void TXMLParser::ParamsEnd(char ch) {
  // The last attribute was already added at its closing quote and is
  // added again here; readers look attributes up by name.
  if (!text_.empty()) {
    AddLine(paramList_, text_);
    current_->Params = paramList_;
    atParam();
    atTag(ch);
  }
  state_ = ch == '/' ? stCloseTag : stValue;
  paramList_.clear();
  ClearText();
}

void TXMLParser::Special(char ch) {
  Append(ch);
  if (ch == '-' && text_.size() == 4 && std::memcmp(text_.data(), "<!--", 4) == 0) {
    counter_ = 0;
    state_ = stComment;
  } else if (ch == '>') {
    atSpecial();
    CloseTag(ch);
    state_ = stValue;
    ClearText();
  }
}

void TXMLParser::Comment(char ch) {
  if (ch == '-') {
    Append(ch);
  } else if (ch == '>') {
    // Fewer than two dashes before it: a '>' inside the comment, dropped.
    if (counter_ >= 2) {
      text_.push_back(ch);
      atComment();
      state_ = stValue;
      ClearText();
    }
  } else {
    text_.push_back(ch);
    counter_ = 0;
  }
}

void TXMLParser::FireTagEvent(const TTagEvent& Event) {
  if (!Event) return;
  TXMLTag* const before = current_;
  Event(current_);
  if (!current_) current_ = before;
}

void TXMLParser::atTag(char ch) {
  FireTagEvent(OnTag);
  if (current_->CloseMode == 1) CloseTag(ch);
  current_->CloseMode = 0;
}

void TXMLParser::atEndtag() { FireTagEvent(OnEndTag); }
void TXMLParser::atParam() { FireTagEvent(OnParam); }
void TXMLParser::atValue() { FireTagEvent(OnValue); }
void TXMLParser::atTagName() { FireTagEvent(OnTagName); }

void TXMLParser::atComment() {
  if (OnComment) OnComment(text_);
}

void TXMLParser::atProgress(double progress) {
  if (OnProgress) OnProgress(progress);
}

void TXMLParser::atSpecial() {
  if (OnSpecial) OnSpecial(text_);
}

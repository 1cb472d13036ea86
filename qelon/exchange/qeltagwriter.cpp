#include "qelon/exchange/qeltagwriter.h"

#include <algorithm>

void TQelTagWriter::StartTag(std::string_view name) {
  const int32_t depth = static_cast<int32_t>(tags_.size());
  if (!tags_.empty()) ++tags_.back().children;
  OpenTag tag;
  tag.name.assign(name);
  tag.depth = depth;
  tag.lineStart = text_.size();
  text_.append(2 * depth, ' ');
  text_ += '<';
  text_ += name;
  tag.gtPos = text_.size();
  text_ += ">\r\n";
  tag.valuePos = tag.gtPos + 1;
  tags_.push_back(std::move(tag));
}

void TQelTagWriter::EndTag(bool removeEmpty) {
  if (tags_.empty()) return;
  OpenTag& tag = tags_.back();
  if (tag.children == 0 && !tag.hasValue && !tag.hasAttr && removeEmpty) {
    text_.resize(tag.lineStart);
    if (tags_.size() > 1) --tags_[tags_.size() - 2].children;
  } else if (tag.children == 0 && !tag.hasValue) {
    text_.insert(tag.gtPos, 1, '/');
  } else {
    text_.append(2 * tag.depth, ' ');
    text_ += "</";
    text_ += tag.name;
    text_ += ">\r\n";
  }
  tags_.pop_back();
}

void TQelTagWriter::Attribute(std::string_view name, std::string_view text, bool onNewLine) {
  if (tags_.empty()) return;
  OpenTag& tag = tags_.back();
  piece_.clear();
  if (onNewLine && tag.hasAttr) piece_ += "\r\n";
  piece_ += ' ';
  piece_ += name;
  piece_ += "=\"";
  piece_ += text;
  piece_ += '"';
  Insert(tag, tag.gtPos, piece_);
  tag.hasAttr = true;
}

void TQelTagWriter::Value(std::string_view text) {
  if (text.empty() || tags_.empty()) return;
  OpenTag& tag = tags_.back();
  piece_.clear();
  if (!tag.hasValue) piece_.append(2 * (tag.depth + 1), ' ');
  piece_ += text;
  Insert(tag, tag.valuePos, piece_);
  tag.hasValue = true;
}

void TQelTagWriter::Insert(OpenTag& tag, size_t& at, std::string_view piece) {
  if (tag.children > 0 || tag.patched) {
    tag.patched = true;
    patches_.push_back({at, patchText_.size(), piece.size()});
    patchText_.append(piece);
    return;
  }
  // The tag's line is the last one: only its own tail moves.
  text_.insert(at, piece);
  if (&at == &tag.gtPos) tag.valuePos += piece.size();
  at += piece.size();
}

void TQelTagWriter::SortPatches() {
  std::stable_sort(patches_.begin(), patches_.end(),
                   [](const Patch& a, const Patch& b) { return a.pos < b.pos; });
}

std::vector<std::string_view> TQelTagWriter::GetPieces() {
  SortPatches();
  std::vector<std::string_view> pieces;
  pieces.reserve(2 * patches_.size() + 1);
  const std::string_view text(text_), patchText(patchText_);
  size_t from = 0;
  for (const Patch& p : patches_) {
    pieces.push_back(text.substr(from, p.pos - from));
    pieces.push_back(patchText.substr(p.offset, p.length));
    from = p.pos;
  }
  pieces.push_back(text.substr(from));
  return pieces;
}

void TQelTagWriter::Merge() {
  if (patches_.empty()) return;
  SortPatches();
  std::string out;
  out.reserve(text_.size() + patchText_.size());
  size_t from = 0;
  for (const Patch& p : patches_) {
    out.append(text_, from, p.pos - from);
    out.append(patchText_, p.offset, p.length);
    from = p.pos;
  }
  out.append(text_, from, std::string::npos);
  text_.swap(out);
  patches_.clear();
  patchText_.clear();
}

const std::string& TQelTagWriter::GetText() {
  Merge();
  return text_;
}

void TQelTagWriter::Clear() {
  text_.clear();
  tags_.clear();
  patches_.clear();
  patchText_.clear();
}

#pragma once
// Lays out the tags of a scene file as text, one line a tag:
//
//   <name attr="1" attr="2">value
//     <child/>
//   </name>
//
// Attributes and values always go to the innermost open tag, also after its
// children have been written. Inserting them there at once would move every
// child each time, so such late pieces are kept as patches and merged in one
// pass when the text is taken: writing stays linear in the size of the file.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class TQelTagWriter {
public:
  // Opens a child of the current tag (two spaces of indent a level).
  void StartTag(std::string_view name);
  // Closes the current tag: "/>" when it holds nothing but attributes; its
  // line is removed when removeEmpty and it holds nothing at all.
  void EndTag(bool removeEmpty);
  // name="text" on the current tag; onNewLine puts it on a line of its own
  // when the tag has an attribute already.
  void Attribute(std::string_view name, std::string_view text, bool onNewLine);
  // Character data of the current tag (indented by one level more).
  void Value(std::string_view text);
  // Open tags.
  size_t GetDepth() const { return tags_.size(); }
  // The whole text, patches merged.
  const std::string& GetText();
  // The same text as pieces in order, without merging it (valid until the
  // next change).
  std::vector<std::string_view> GetPieces();
  void Clear();

private:
  struct OpenTag {
    std::string name;
    size_t lineStart;  // where its line begins
    size_t gtPos;      // its '>': attributes go here
    size_t valuePos;   // before its line's CR LF: values go here
    int32_t depth;
    int32_t children = 0;
    bool hasAttr = false;
    bool hasValue = false;
    bool patched = false;  // its later pieces go to patches too, in order
  };
  struct Patch {
    size_t pos;
    size_t offset, length;  // in patchText_
  };
  void Insert(OpenTag& tag, size_t& at, std::string_view piece);
  void SortPatches();
  void Merge();

  std::string text_;
  std::vector<OpenTag> tags_;
  std::vector<Patch> patches_;
  std::string patchText_;
  std::string piece_;
};

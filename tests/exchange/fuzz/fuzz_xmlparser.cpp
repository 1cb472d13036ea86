// libFuzzer target for the XML parser: any bytes, parsed twice by one
// parser (the second run reuses its tag stack), with handlers that read
// everything they are given and ask for early closes and kept tags, so
// that every path of the machine is reachable. The sanitizers report any
// read outside the buffer, use after free or leak of a tag.
#include <cstddef>
#include <cstdint>
#include <string>

#include "qelon/exchange/xmlparser.h"
#include "qelon/platform/qelerror.h"

namespace {

// The stack must stay a chain from the current tag down to the root with
// levels counting up by one.
void CheckStack(const TXMLParser& parser) {
  const TXMLTag* tag = parser.GetCurrentTag();
  if (!tag) __builtin_trap();
  for (; tag != parser.GetRootTag(); tag = tag->Parent) {
    if (!tag->Parent || tag->Level != tag->Parent->Level + 1) __builtin_trap();
  }
  if (tag->Level != 0 || tag->Parent) __builtin_trap();
}

volatile size_t sink;

void Touch(const std::string& text) {
  size_t sum = text.size();
  for (char ch : text) sum += static_cast<unsigned char>(ch);
  sink = sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  TXMLParser parser(nullptr);
  TObject sender;
  auto touchTag = [&](TXMLTag*& tag) {
    Touch(tag->Name);
    Touch(tag->Value);
    Touch(tag->Params);
    Touch(parser.GetText());
    CheckStack(parser);
  };
  parser.OnTagName = touchTag;
  parser.OnParam = touchTag;
  parser.OnValue = touchTag;
  // The shape of the name decides what the consumer asks for, so that the
  // fuzzer can steer it from the text alone.
  parser.OnTag = [&](TXMLTag*& tag) {
    touchTag(tag);
    Touch(parser.GetParamList());
    // OnTag always concerns a tag just pushed, whose Data nobody has set.
    if (tag == parser.GetRootTag() || tag->Data) __builtin_trap();
    if (!tag->Name.empty() && tag->Name[0] == 'x') tag->CloseMode = 1;
  };
  parser.OnEndTag = [&](TXMLTag*& tag) {
    touchTag(tag);
    if (!tag->Name.empty() && tag->Name[0] == 'k') tag->CloseMode = 2;
  };
  parser.OnComment = [](const std::string& text) { Touch(text); };
  parser.OnSpecial = [](const std::string& text) { Touch(text); };
  parser.OnProgress = [](double progress) {
    if (!(progress >= 0.0 && progress < 1.0)) __builtin_trap();
  };

  const std::string text(reinterpret_cast<const char*>(data), size);
  for (int run = 0; run < 2; ++run) {
    parser.GetBuffer() = text;
    try {
      parser.execute(&sender);
    } catch (const EQelFileError&) {
      // An empty buffer makes the parser read FileName, which is not set.
      if (!text.empty()) __builtin_trap();
      return 0;
    }
    if (!parser.GetBuffer().empty() || parser.GetRootTag()->Data != &sender) __builtin_trap();
    CheckStack(parser);
  }
  return 0;
}

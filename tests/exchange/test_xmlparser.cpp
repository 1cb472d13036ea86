#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "xmleventlog.h"

using qeltest::Lines;
using qeltest::XMLEventLog;

namespace {

// Parses text with a fresh parser and returns the event log.
std::string Parse(const std::string& text, bool withProgress = false) {
  TXMLParser parser(nullptr);
  XMLEventLog log(parser, withProgress);
  parser.GetBuffer() = text;
  parser.execute(nullptr);
  return log.Text();
}

// A file in the test's temporary folder, removed at the end of the test.
class TempFile {
public:
  explicit TempFile(const std::string& name, const std::string& content)
      : path_(std::filesystem::temp_directory_path() / ("qelon_xml_" + name)) {
    std::ofstream(path_, std::ios::binary) << content;
  }
  ~TempFile() { std::filesystem::remove(path_); }
  std::string Path() const { return path_.string(); }

private:
  std::filesystem::path path_;
};

}  // namespace

// --- Start tags and their attributes --------------------------------------

TEST(XMLParser, AttributeBeforeGreaterThanIsAddedTwiceAndOnTagFiresOnce) {
  EXPECT_EQ(Parse("<a b=\"1\">"), Lines({
                                      "OnTagName a",
                                      "OnParam a: b=1",
                                      "OnParam a: b=1",
                                      "OnTag a [b=1\\r\\nb=1\\r\\n]",
                                  }));
  EXPECT_EQ(Parse("<a b=\"1\" c=\"x y\"></a>"), Lines({
                                                   "OnTagName a",
                                                   "OnParam a: b=1",
                                                   "OnParam a: c=x y",
                                                   "OnParam a: c=x y",
                                                   "OnTag a [b=1\\r\\nc=x y\\r\\nc=x y\\r\\n]",
                                                   "OnValue a: ",
                                                   "OnEndTag a",
                                               }));
}

TEST(XMLParser, SpaceBeforeGreaterThanLeavesTheTagWithoutOnTag) {
  EXPECT_EQ(Parse("<a b=\"1\" ></a>"), Lines({
                                          "OnTagName a",
                                          "OnParam a: b=1",
                                          "OnValue a: ",
                                          "OnEndTag a",
                                      }));
  EXPECT_EQ(Parse("<a ></a>"), Lines({
                                   "OnTagName a",
                                   "OnValue a: ",
                                   "OnEndTag a",
                               }));
}

TEST(XMLParser, EmptyElementWithAttributesGetsItsTagBeforeItCloses) {
  EXPECT_EQ(Parse("<r><a b=\"1\"/></r>"), Lines({
                                               "OnTagName r",
                                               "OnTag r",
                                               "OnValue r: ",
                                               "OnTagName a",
                                               "OnParam a: b=1",
                                               "OnParam a: b=1",
                                               "OnTag a [b=1\\r\\nb=1\\r\\n]",
                                               "OnEndTag a",
                                               "OnValue r: ",
                                               "OnEndTag r",
                                           }));
}

TEST(XMLParser, AttributeTextIsRawAndOnlyDoubleQuotesDelimit) {
  // No entity is decoded; an apostrophe-quoted value is dropped at the
  // space after it; two spaces before a name leave one in front of it.
  EXPECT_EQ(Parse("<a b=\"&lt;&#65;\" c='1' d=\"2\"  e=\"3\">&amp;</a>"),
            Lines({
                "OnTagName a",
                "OnParam a: b=&lt;&#65;",
                "OnParam a: d=2",
                "OnParam a:  e=3",
                "OnParam a:  e=3",
                "OnTag a [b=&lt;&#65;\\r\\nd=2\\r\\n e=3\\r\\n e=3\\r\\n]",
                "OnValue a: &amp;",
                "OnEndTag a",
            }));
}

TEST(XMLParser, SlashAndGreaterThanInsideQuotesBelongToTheValue) {
  // File names in saved scenes hold slashes.
  EXPECT_EQ(Parse("<r><a f=\"x/y>z\"/></r>"), Lines({
                                                "OnTagName r",
                                                "OnTag r",
                                                "OnValue r: ",
                                                "OnTagName a",
                                                "OnParam a: f=x/y>z",
                                                "OnParam a: f=x/y>z",
                                                "OnTag a [f=x/y>z\\r\\nf=x/y>z\\r\\n]",
                                                "OnEndTag a",
                                                "OnValue r: ",
                                                "OnEndTag r",
                                            }));
}

// --- Names, end tags and the stack ----------------------------------------

TEST(XMLParser, AnyEndTagClosesTheInnermostOpenTag) {
  TXMLParser parser(nullptr);
  XMLEventLog log(parser);
  parser.SetBuffer("<a><b></anything></x>");
  parser.execute(nullptr);
  EXPECT_EQ(log.Text(), Lines({
                            "OnTagName a",
                            "OnTag a",
                            "OnValue a: ",
                            "OnTagName b",
                            "OnTag b",
                            "OnValue b: ",
                            "OnEndTag b",
                            "OnValue a: ",
                            "OnEndTag a",
                        }));
  EXPECT_EQ(parser.GetCurrentTag(), parser.GetRootTag());
  EXPECT_EQ(parser.GetState(), stDefault);
}

TEST(XMLParser, EmptyElementWithoutAttributesHasNoNameAndNoOnTag) {
  TXMLParser parser(nullptr);
  XMLEventLog log(parser);
  std::vector<int32_t> closedLevels;
  auto logEnd = parser.OnEndTag;
  parser.OnEndTag = [&](TXMLTag*& tag) {
    logEnd(tag);
    closedLevels.push_back(tag->Level);
  };
  parser.SetBuffer("<r><a/></r>");
  parser.execute(nullptr);
  EXPECT_EQ(log.Text(), Lines({
                            "OnTagName r",
                            "OnTag r",
                            "OnValue r: ",
                            "OnEndTag \"\"",
                            "OnValue r: ",
                            "OnEndTag r",
                        }));
  EXPECT_EQ(closedLevels, (std::vector<int32_t>{2, 1}));
  EXPECT_EQ(parser.GetCurrentTag(), parser.GetRootTag());
}

TEST(XMLParser, TagsKnowTheirLevelAndParentAndOnlyTheRootGetsTheSender) {
  TXMLParser parser(nullptr);
  TObject sender;
  std::vector<std::string> seen;
  parser.OnTag = [&](TXMLTag*& tag) {
    seen.push_back(tag->Name + " " + std::to_string(tag->Level) + " " +
                   (tag->Parent ? tag->Parent->Name : "-") + (tag->Data ? " data" : ""));
  };
  parser.SetBuffer("<a><b><c></c></b><d></d></a>");
  parser.execute(&sender);
  EXPECT_EQ(seen, (std::vector<std::string>{"a 1 ", "b 2 a", "c 3 b", "d 2 a"}));
  EXPECT_EQ(parser.GetRootTag()->Data, &sender);
  EXPECT_EQ(parser.GetRootTag()->Level, 0);
  EXPECT_EQ(parser.GetRootTag()->Parent, nullptr);
}

TEST(XMLParser, NameEndsAtSpaceOrGreaterThanAndKeepsOtherCharacters) {
  // Tab and line ends belong to the name; '?' after the first character is
  // dropped; "<>" opens a nameless tag.
  EXPECT_EQ(Parse("<a:b-c_1\t?x></a><></>"), Lines({
                                                 "OnTagName a:b-c_1\\tx",
                                                 "OnTag a:b-c_1\\tx",
                                                 "OnValue a:b-c_1\\tx: ",
                                                 "OnEndTag a:b-c_1\\tx",
                                                 "OnTagName \"\"",
                                                 "OnTag \"\"",
                                                 "OnValue \"\": ",
                                                 "OnEndTag \"\"",
                                             }));
}

// --- Character data -------------------------------------------------------

TEST(XMLParser, EveryRunOfTextBetweenTagsBecomesTheValue) {
  TXMLParser parser(nullptr);
  XMLEventLog log(parser);
  std::string valueAtEnd;
  auto logEnd = parser.OnEndTag;
  parser.OnEndTag = [&](TXMLTag*& tag) {
    logEnd(tag);
    if (tag->Name == "a") valueAtEnd = tag->Value;
  };
  parser.SetBuffer("<a>x<b>y</b>\r\n  </a>");
  parser.execute(nullptr);
  EXPECT_EQ(log.Text(), Lines({
                            "OnTagName a",
                            "OnTag a",
                            "OnValue a: x",
                            "OnTagName b",
                            "OnTag b",
                            "OnValue b: y",
                            "OnEndTag b",
                            "OnValue a: \\r\\n  ",
                            "OnEndTag a",
                        }));
  EXPECT_EQ(valueAtEnd, "\r\n  ");
}

// --- Comments and declarations --------------------------------------------

TEST(XMLParser, CommentKeepsItsDelimitersAndDropsALoneGreaterThan) {
  EXPECT_EQ(Parse("<a><!-- x --><!-- a > b -><- --></a>"),
            Lines({
                "OnTagName a",
                "OnTag a",
                "OnValue a: ",
                "OnComment <!-- x -->",
                "OnValue a: ",
                "OnComment <!-- a  b -<- -->",
                "OnValue a: ",
                "OnEndTag a",
            }));
}

TEST(XMLParser, DeclarationPopsTheTagItPushedAndLeavesTheStackAtTheRoot) {
  TXMLParser parser(nullptr);
  XMLEventLog log(parser);
  parser.SetBuffer("<?xml version=\"1.0\"?>\r\n<a></a>\r\n");
  parser.execute(nullptr);
  EXPECT_EQ(log.Text(), Lines({
                            "OnSpecial <?xml version=\"1.0\"?>",
                            "OnEndTag \"\"",
                            "OnValue \"\": \\r\\n",
                            "OnTagName a",
                            "OnTag a",
                            "OnValue a: ",
                            "OnEndTag a",
                        }));
  EXPECT_EQ(parser.GetCurrentTag(), parser.GetRootTag());
}

TEST(XMLParser, DeclarationWithExclamationMarkClosesTheEnclosingTag) {
  EXPECT_EQ(Parse("<a><b><!DOCTYPE x>y</a>"), Lines({
                                                  "OnTagName a",
                                                  "OnTag a",
                                                  "OnValue a: ",
                                                  "OnTagName b",
                                                  "OnTag b",
                                                  "OnValue b: ",
                                                  "OnSpecial <!DOCTYPE x>",
                                                  "OnEndTag b",
                                                  "OnValue a: y",
                                                  "OnEndTag a",
                                              }));
}

// --- A saved scene as the exchange writes it --------------------------------

TEST(XMLParser, ReadsASavedSceneTagByTag) {
  const std::string scene =
      "<?xml version=\"1.0\"?>\r\n"
      "<QELGL version=\"0.1.0\" program=\"Qelon\" description=\"\">\r\n"
      "  <Objects ID=\"0\" Name=\"Scene\">\r\n"
      "    <TQELSPHERE ID=\"1\" Name=\"Ball\" Material=\"2\"/>\r\n"
      "  </Objects>\r\n"
      "  <Anchor>\r\n"
      "  </Anchor>\r\n"
      "</QELGL>\r\n";
  EXPECT_EQ(Parse(scene), Lines({
                              "OnSpecial <?xml version=\"1.0\"?>",
                              "OnEndTag \"\"",
                              "OnValue \"\": \\r\\n",
                              "OnTagName QELGL",
                              "OnParam QELGL: version=0.1.0",
                              "OnParam QELGL: program=Qelon",
                              "OnParam QELGL: description=",
                              "OnParam QELGL: description=",
                              "OnTag QELGL [version=0.1.0\\r\\nprogram=Qelon\\r\\ndescription=\\r\\n"
                              "description=\\r\\n]",
                              "OnValue QELGL: \\r\\n  ",
                              "OnTagName Objects",
                              "OnParam Objects: ID=0",
                              "OnParam Objects: Name=Scene",
                              "OnParam Objects: Name=Scene",
                              "OnTag Objects [ID=0\\r\\nName=Scene\\r\\nName=Scene\\r\\n]",
                              "OnValue Objects: \\r\\n    ",
                              "OnTagName TQELSPHERE",
                              "OnParam TQELSPHERE: ID=1",
                              "OnParam TQELSPHERE: Name=Ball",
                              "OnParam TQELSPHERE: Material=2",
                              "OnParam TQELSPHERE: Material=2",
                              "OnTag TQELSPHERE [ID=1\\r\\nName=Ball\\r\\nMaterial=2\\r\\nMaterial=2\\r\\n]",
                              "OnEndTag TQELSPHERE",
                              "OnValue Objects: \\r\\n  ",
                              "OnEndTag Objects",
                              "OnValue QELGL: \\r\\n  ",
                              "OnTagName Anchor",
                              "OnTag Anchor",
                              "OnValue Anchor: \\r\\n  ",
                              "OnEndTag Anchor",
                              "OnValue QELGL: \\r\\n",
                              "OnEndTag QELGL",
                          }));
}

// --- CloseMode ------------------------------------------------------------

TEST(XMLParser, CloseModeOneClosesTheTagAtOnce) {
  TXMLParser parser(nullptr);
  XMLEventLog log(parser);
  auto logTag = parser.OnTag;
  std::vector<std::string> parents;
  parser.OnTag = [&](TXMLTag*& tag) {
    logTag(tag);
    parents.push_back(tag->Name + "<" + (tag->Parent ? tag->Parent->Name : "-"));
    if (tag->Name == "a") tag->CloseMode = 1;
  };
  parser.SetBuffer("<r><a><b></b></r><a x=\"1\">");
  parser.execute(nullptr);
  EXPECT_EQ(log.Text(), Lines({
                            "OnTagName r",
                            "OnTag r",
                            "OnValue r: ",
                            "OnTagName a",
                            "OnTag a",
                            "OnEndTag a",
                            "OnValue r: ",
                            "OnTagName b",
                            "OnTag b",
                            "OnValue b: ",
                            "OnEndTag b",
                            "OnValue r: ",
                            "OnEndTag r",
                            "OnTagName a",
                            "OnParam a: x=1",
                            "OnParam a: x=1",
                            "OnTag a [x=1\\r\\nx=1\\r\\n]",
                            "OnEndTag a",
                        }));
  EXPECT_EQ(parents, (std::vector<std::string>{"r<", "a<r", "b<r", "a<"}));
  EXPECT_EQ(parser.GetCurrentTag(), parser.GetRootTag());
  EXPECT_EQ(parser.GetRootTag()->CloseMode, 0);
}

TEST(XMLParser, CloseModeTwoKeepsTheTagCurrentOnceAndIsReset) {
  TXMLParser parser(nullptr);
  std::vector<std::string> seen;
  TXMLTag* kept = nullptr;
  parser.OnTag = [&](TXMLTag*& tag) {
    seen.push_back("tag " + tag->Name + " under " + tag->Parent->Name);
    tag->CloseMode = 2;  // reset after OnTag: no effect here
  };
  parser.OnEndTag = [&](TXMLTag*& tag) {
    seen.push_back("end " + tag->Name);
    if (tag->Name == "a" && !kept) {
      tag->CloseMode = 2;
      kept = tag;
    }
  };
  parser.SetBuffer("<r><a></a><b></b></r></r>");
  parser.execute(nullptr);
  EXPECT_EQ(seen, (std::vector<std::string>{"tag r under ", "tag a under r", "end a", "tag b under a",
                                            "end b", "end a", "end r"}));
  EXPECT_EQ(parser.GetCurrentTag(), parser.GetRootTag());
}

// --- Handlers that replace the tag ----------------------------------------

TEST(XMLParser, HandlerMayReplaceTheCurrentTagAndTheParserFreesTheReplacement) {
  TXMLParser parser(nullptr);
  std::vector<std::string> ends;
  parser.OnTagName = [](TXMLTag*& tag) {
    if (tag->Name != "a") return;
    auto* replacement = new TXMLTag;
    replacement->Name = "A";
    replacement->Parent = tag->Parent;
    replacement->Level = tag->Level;
    delete tag;
    tag = replacement;
  };
  parser.OnValue = [](TXMLTag*& tag) { tag = nullptr; };  // ignored
  parser.OnEndTag = [&](TXMLTag*& tag) { ends.push_back(tag->Name); };
  parser.SetBuffer("<r><a>x</a></r>");
  parser.execute(nullptr);
  EXPECT_EQ(ends, (std::vector<std::string>{"A", "r"}));
  EXPECT_EQ(parser.GetCurrentTag(), parser.GetRootTag());
}

// --- Buffer, file, progress and reuse ---------------------------------------

TEST(XMLParser, ZeroByteEndsParsingEarly) {
  EXPECT_EQ(Parse(std::string("<a>\0<b>", 7), true), Lines({
                                                          "OnTagName a",
                                                          "OnTag a",
                                                          "OnProgress 0.375",
                                                      }));
}

TEST(XMLParser, ProgressEveryTwoThousandCharactersAndOnceAtTheEnd) {
  std::vector<double> progress;
  TXMLParser parser(nullptr);
  parser.OnProgress = [&](double p) { progress.push_back(p); };
  parser.SetBuffer("<a>" + std::string(4997, 'x') + "</a>");  // 5004 characters
  parser.execute(nullptr);
  EXPECT_EQ(progress, (std::vector<double>{2000.0 / 5005, 4000.0 / 5005, 5004.0 / 5005}));
}

TEST(XMLParser, EmptyFileStillReportsProgressOnce) {
  TempFile file("empty.xml", "");
  TXMLParser parser(nullptr);
  XMLEventLog log(parser, true);
  parser.SetFileName(file.Path());
  parser.execute(nullptr);
  EXPECT_EQ(log.Text(), Lines({"OnProgress 0"}));
}

TEST(XMLParser, MissingFileRaisesTheFileErrorNamingIt) {
  const std::string name = "/nonexistent-qelon-dir/scene.xml";
  TXMLParser parser(nullptr);
  parser.SetFileName(name);
  bool progressed = false;
  parser.OnProgress = [&](double) { progressed = true; };
  try {
    parser.execute(nullptr);
    FAIL() << "no error raised";
  } catch (const EQelFileError& e) {
    EXPECT_EQ(e.FileName, name);
    EXPECT_NE(std::string(e.what()).find(name), std::string::npos) << e.what();
  }
  EXPECT_FALSE(progressed);
}

TEST(XMLParser, ParserIsReusableAndReloadsItsFileOnceTheBufferIsEmptied) {
  TempFile file("reuse.xml", "<a b=\"1\"><c/></a>\r\n");
  TXMLParser parser(nullptr);
  XMLEventLog log(parser);
  parser.SetFileName(file.Path());
  parser.execute(nullptr);
  const std::string first = log.Text();
  EXPECT_TRUE(parser.GetBuffer().empty());
  EXPECT_EQ(parser.GetCurrentTag(), parser.GetRootTag());

  log.Clear();
  parser.execute(nullptr);  // from the file again
  EXPECT_EQ(log.Text(), first);

  log.Clear();
  parser.GetBuffer() = "<a b=\"1\"><c/></a>";  // a filled buffer wins over the file
  parser.execute(nullptr);
  EXPECT_EQ(log.Text(), first);
}

TEST(XMLParser, WritingTheBufferFromAHandlerDoesNotDisturbTheParse) {
  TXMLParser parser(nullptr);
  XMLEventLog log(parser);
  auto logTag = parser.OnTag;
  parser.OnTag = [&](TXMLTag*& tag) {
    logTag(tag);
    parser.GetBuffer().assign(100000, '<');  // would move the text under the cursor
  };
  parser.SetBuffer("<a><b></b></a>");
  parser.execute(nullptr);
  EXPECT_EQ(log.Text(), Lines({
                            "OnTagName a",
                            "OnTag a",
                            "OnValue a: ",
                            "OnTagName b",
                            "OnTag b",
                            "OnValue b: ",
                            "OnEndTag b",
                            "OnValue a: ",
                            "OnEndTag a",
                        }));
  EXPECT_TRUE(parser.GetBuffer().empty());
}

TEST(XMLParser, OwnerFreesTheParserWithTheTagsLeftOpen) {
  // Run under AddressSanitizer: a leaked or twice freed tag is reported.
  auto* owner = new TComponent(nullptr);
  auto* parser = new TXMLParser(owner);
  parser->SetBuffer("<a><b><c x=\"1\">");
  parser->execute(nullptr);
  EXPECT_EQ(parser->GetCurrentTag()->Level, 3);
  EXPECT_EQ(owner->GetComponentCount(), 1);
  delete owner;
}

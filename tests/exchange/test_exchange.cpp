// The exchange itself: how tags and values are laid out, the value text,
// messages, references and the load state machine. The classes' own values
// are tested beside them (test_exchange_*.cpp); these tests use small
// classes of their own so that they depend on nothing else.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <charconv>
#include <random>

#include <qelon/qelon.h>

#include "exchangetest.h"

#include "qelon/exchange/qelvaluetext.h"

namespace fs = std::filesystem;

namespace {

using qeltest::ReadFile;
using qeltest::WriteFile;

class ExchangeTest : public qeltest::ExchangeTest {};

// An item with one value of each kind and a reference to another item.
class TXItem : public TQelRender {
  QEL_CLASS(TXItem)
public:
  using TQelRender::TQelRender;
  float F = 1.5f;
  int32_t I = 7;
  TQelMathVector V{1, 2, 3};
  TXItem* Ref = nullptr;

  void WriteValues(IQelExchange* e) override {
    e->AddAsRef("ID", this);
    e->addtag("Name", GetName(), std::string());
    e->addtag("F", F, 1.5f);
    e->addtag("I", I, 7);
    e->AddRef("Ref", Ref);
    e->addtag("V", V, TQelMathVector{1, 2, 3});
  }
  void ReadValues(IQelExchange* e, TXMLTag*) override {
    e->GetAsRef("ID", this);
    std::string name;
    if (e->getvalue("Name", name)) SetName(name);
    e->getvalue("F", F);
    e->getvalue("I", I);
    e->GetRef("Ref", this);
    e->getvalue("V", V);
  }
  void ReadRef(IQelExchange* e) override { e->GetRefObj("Ref", Ref); }
};

// A node that writes only its ID and its items, so the expected files below
// do not change when the library's own classes write more.
class TXNode : public TQelNode {
  QEL_CLASS(TXNode)
public:
  using TQelNode::TQelNode;
  void WriteValues(IQelExchange* e) override {
    e->AddAsRef("ID", this);
    for (int32_t i = 0; i < GetCount(); ++i) GetItems(i)->WriteComp(e, QelTagNameOf(GetItems(i)));
  }
  void ReadValues(IQelExchange* e, TXMLTag*) override { e->GetAsRef("ID", this); }
  TPersistent* ReadComp(IQelExchange* e, TXMLTag* tag) override {
    if (tag->Name != "TXITEM") {
      e->Error(10, "Class " + tag->Name + " not found.");
      return nullptr;
    }
    auto* item = new TXItem(this);
    Add(item);
    item->ReadValues(e, tag);
    return item;
  }
};

const std::string kHead = "<QELGL version=\"" + QelProductVersion() +
                          "\" program=\"Qelon\" description=\"d\">\r\n";

// --- layout ------------------------------------------------------------------

struct LayoutCase {
  const char* what;
  bool noDefaults, paramNewLine;
  std::function<void(IQelExchange&)> write;
  const char* expected;
};

class Layout : public ExchangeTest, public ::testing::WithParamInterface<LayoutCase> {};

TEST_P(Layout, WritesTheText) {
  const LayoutCase& c = GetParam();
  ex.SetNoDefaultValues(c.noDefaults);
  ex.SetParamNewLine(c.paramNewLine);
  c.write(ex);
  EXPECT_EQ(ex.GetText(), c.expected) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    Exchange, Layout,
    ::testing::Values(
        LayoutCase{"attributes before and after a child land on the parent", false, false,
                   [](IQelExchange& e) {
                     e.StartTag("a");
                     e.addtag("x", 1, 0);
                     e.StartTag("b");
                     e.addtag("y", 2.5, 0.0);
                     e.EndTag();
                     e.addtag("z", true, false);
                     e.addvalue("v");
                     e.EndTag();
                   },
                   "<a x=\"1\" z=\"true\">  v\r\n  <b y=\"2.5\"/>\r\n</a>\r\n"},
        LayoutCase{"defaults and empty tags are left out", true, false,
                   [](IQelExchange& e) {
                     e.StartTag("a");
                     e.addtag("x", 0, 0);
                     e.StartTag("empty");
                     e.addtag("y", 1.0f, 1.0f);
                     e.EndTag();
                     e.addtag("s", std::string("t"), std::string());
                     e.EndTag();
                   },
                   "<a s=\"t\"/>\r\n"},
        LayoutCase{"an empty tag stays without NoDefaultValues; a value closes normally", false, false,
                   [](IQelExchange& e) {
                     e.StartTag("a");
                     e.StartTag("b");
                     e.EndTag();
                     e.StartTag("c");
                     e.addvalue("one");
                     e.addvalue("two");
                     e.EndTag();
                     e.EndTag();
                   },
                   "<a>\r\n  <b/>\r\n  <c>    onetwo\r\n  </c>\r\n</a>\r\n"},
        LayoutCase{"ParamNewLine puts later attributes on their own lines", false, true,
                   [](IQelExchange& e) {
                     e.StartTag("a");
                     e.addtag("x", 1, 0);
                     e.StartTag("b");
                     e.EndTag();
                     e.addtag("y", 2, 0);
                     e.EndTag();
                   },
                   "<a x=\"1\"\r\n y=\"2\">\r\n  <b/>\r\n</a>\r\n"},
        LayoutCase{"vectors, sets and enumerations", false, false,
                   [](IQelExchange& e) {
                     static const char* const names[] = {"aa", "bb", "cc"};
                     e.StartTag("a");
                     e.addtag("v", TQelMathVector{1, 0.5, -2}, TQelMathVector{QelNoDefault, 0, 0});
                     e.addtag("s", 5u, names, 3);
                     e.addtag("e", 1, names, 0);
                     e.addtag("n", 0u, names, 3);
                     e.EndTag();
                   },
                   "<a v=\"1,0.5,-2\" s=\"aa,cc\" e=\"bb\" n=\"\"/>\r\n"}));

// --- value text ----------------------------------------------------------------

TEST(ExchangeValueText, FormatsAsDocumented) {
  char buf[40];
  struct Case {
    double value;
    bool single;
    int digits;
    const char* text;
  } cases[] = {
      {0.1, true, 0, "0.1"},          {0.1, false, 0, "0.1"},
      {1.0 / 3, false, 0, "0.3333333333333333"},
      {1.0 / 3, true, 0, "0.33333334"},
      {100000, false, 0, "1e+05"},    {123456, false, 0, "123456"},
      {1e100, false, 0, "1e+100"},    {-0.0, false, 0, "-0"},
      {3.14159, false, 3, "3.14"},    {1234567, true, 3, "1.23e+06"},
  };
  for (const Case& c : cases) {
    const std::string_view t = c.single ? QelFloatText(buf, static_cast<float>(c.value), c.digits)
                                        : QelFloatText(buf, c.value, c.digits);
    EXPECT_EQ(t, c.text) << c.value << " digits " << c.digits;
  }
}

TEST(ExchangeValueText, ShortestTextReadsBackExactly) {
  std::mt19937_64 random(7);
  char buf[40];
  for (int i = 0; i < 20000; ++i) {
    const uint64_t bits = random();
    double d;
    float f;
    std::memcpy(&d, &bits, sizeof d);
    const uint32_t fbits = static_cast<uint32_t>(bits);
    std::memcpy(&f, &fbits, sizeof f);
    if (std::isfinite(d)) {
      double back = 0;
      QelParseNumber(QelFloatText(buf, d, 0), back);
      EXPECT_EQ(back, d);
    }
    if (std::isfinite(f)) {
      float back = 0;
      QelParseNumber(QelFloatText(buf, f, 0), back);
      EXPECT_EQ(back, f);
    }
  }
}

TEST(ExchangeValueText, ShortDecimalsReadAsTheGeneralParserReadsThem) {
  std::mt19937_64 random(11);
  char buf[40];
  for (int i = 0; i < 20000; ++i) {
    const int64_t mantissa = static_cast<int64_t>(random() % 2000000000000001) - 1000000000000000;
    const int places = static_cast<int>(random() % 16);
    std::string text = std::to_string(mantissa);
    if (places > 0 && text.size() > static_cast<size_t>(places) + 1)
      text.insert(text.size() - places, ".");
    double d = 0, reference = 0;
    float f = 0, referenceF = 0;
    QelParseNumber(text, d);
    QelParseNumber(text, f);
    std::from_chars(text.data(), text.data() + text.size(), reference);
    std::from_chars(text.data(), text.data() + text.size(), referenceF);
    EXPECT_EQ(d, reference) << text;
    EXPECT_EQ(f, referenceF) << text;
    const std::string shortFloat(QelFloatText(buf, static_cast<float>(mantissa % 100000) / 64.0f, 0));
    QelParseNumber(shortFloat, f);
    EXPECT_EQ(f, static_cast<float>(mantissa % 100000) / 64.0f) << shortFloat;
  }
}

TEST(ExchangeValueText, MalformedNumbersRaise) {
  for (const char* text : {"", "1.5x", "x", "1e", "--1", "1 2"}) {
    double d = 0;
    EXPECT_THROW(QelParseNumber(text, d), EQelConvertError) << text;
  }
  for (const char* text : {"2147483648", "1.5", "256"}) {
    int32_t i = 0;
    uint8_t b = 0;
    if (std::string(text) == "256") EXPECT_THROW(QelParseNumber(text, b), EQelConvertError);
    else EXPECT_THROW(QelParseNumber(text, i), EQelConvertError) << text;
  }
  TQelMathVector v;
  for (const char* text : {"1,2", "1,2,3,4", "1,,3"})
    EXPECT_THROW(QelParseVector(text, v), EQelConvertError) << text;
  QelParseVector(" 1, +2 ,3", v);
  EXPECT_EQ(v, (TQelMathVector{1, 2, 3}));
}

TEST_F(ExchangeTest, HexAndMessages) {
  EXPECT_EQ(ex.int2hex(255), "000000FF");
  EXPECT_EQ(ex.int2hex(-1), "FFFFFFFF");
  EXPECT_EQ(ex.hex2int("1G"), -1);
  EXPECT_EQ(ex.hex2int(""), 0);
  EXPECT_EQ(ex.hex2int("ff"), 255);
  for (int level : {0, 10, 20, 30, 40, 41, 7}) ex.Error(level, "t");
  EXPECT_EQ(ex.GetMessages(), (std::vector<std::string>{"Critical: t", " Error: t", "  Warning: t",
                                                          "   Hint: t", "     t", "7 t"}));
}

// --- whole files ---------------------------------------------------------------

TEST_F(ExchangeTest, ReferencedObjectsOutsideTheTreeGoUnderAnchorOnce) {
  TXNode top(nullptr);
  auto* a = new TXItem(&top);
  auto* b = new TXItem(&top);
  TXItem outside(nullptr);
  a->SetName("a");
  b->SetName("b");
  outside.SetName("out");
  top.Add(a);
  top.Add(b);
  a->Ref = &outside;
  b->Ref = &outside;
  a->F = 0.25f;
  ex.SetFileDescription("d");
  ASSERT_TRUE(ex.SaveToFile(File("s.xml"), &top));
  EXPECT_EQ(ReadFile(dir / "s.xml"), kHead +
                                         "  <Objects ID=\"0\">\r\n"
                                         "    <TXITEM ID=\"1\" Name=\"a\" F=\"0.25\" I=\"7\" Ref=\"2\" V=\"1,2,3\"/>\r\n"
                                         "    <TXITEM ID=\"3\" Name=\"b\" F=\"1.5\" I=\"7\" Ref=\"2\" V=\"1,2,3\"/>\r\n"
                                         "  </Objects>\r\n"
                                         "  <Anchor>\r\n"
                                         "    <TXITEM ID=\"2\" Name=\"out\" F=\"1.5\" I=\"7\" V=\"1,2,3\"/>\r\n"
                                         "  </Anchor>\r\n"
                                         "</QELGL>\r\n");
}

TEST_F(ExchangeTest, LoadsItemsAndResolvesReferences) {
  WriteFile(dir / "s.xml",
            "<QELGL version=\"1\" program=\"Qelon\" description=\"hello\">\r\n"
            "  <Objects ID=\"0\">\r\n"
            "    <TXITEM ID=\"5\" Name=\"a\" F=\"0.25\" Ref=\"6\" V=\"4,5,6\"/>\r\n"
            "    <TXITEM ID=\"6\" Name=\"b\" I=\"-3\" Ref=\"5\">\r\n"
            "    </TXITEM>\r\n"
            "    <TXITEM ID=\"7\" Name=\"c\" Ref=\"99\"/>\r\n"
            "    <TXITEM ID=\"8\" Name=\"d\" Ref=\"0\"/>\r\n"
            "    <TXITEM ID=\"6\" Name=\"duplicate\"/>\r\n"
            "    <UNKNOWN a=\"1\"><TXITEM Name=\"inside unknown\"/></UNKNOWN>\r\n"
            "  </Objects>\r\n"
            "</QELGL>\r\n");
  TXNode top(nullptr);
  ASSERT_TRUE(ex.LoadFromFile(File("s.xml"), &top));
  ASSERT_EQ(top.GetCount(), 5);
  auto* a = static_cast<TXItem*>(top.GetItems(0));
  auto* b = static_cast<TXItem*>(top.GetItems(1));
  EXPECT_EQ(a->GetName(), "a");
  EXPECT_EQ(a->F, 0.25f);
  EXPECT_EQ(a->V, (TQelMathVector{4, 5, 6}));
  EXPECT_EQ(b->I, -3);
  EXPECT_EQ(a->Ref, b);
  EXPECT_EQ(b->Ref, a);
  EXPECT_EQ(static_cast<TXItem*>(top.GetItems(2))->Ref, nullptr);
  EXPECT_EQ(static_cast<TXItem*>(top.GetItems(3))->Ref, nullptr);
  EXPECT_EQ(ex.GetFileDescription(), "hello");
  EXPECT_EQ(ex.GetMessages(),
            (std::vector<std::string>{"  Warning: ID \"6\" is defined twice; the first one counts.",
                                      " Error: Class UNKNOWN not found.", "   Hint: Ref=6;",
                                      "   Hint: Ref=5;", "   Hint: Ref=99;",
                                      " Error: ID \"99\" not found in \"Ref=99;\"", "   Hint: Ref=0;",
                                      " Error: RefClass(TXNode,TXItem)is not equal."}));
}

TEST_F(ExchangeTest, FilesWithoutRootOrObjects) {
  struct Case {
    const char* text;
    int items;
  } cases[] = {
      {"<Objects><TXITEM Name=\"a\"/></Objects>", 1},
      {"<QELGL><Other><TXITEM Name=\"a\"/></Other></QELGL>", 0},
      {"", 0},
      {"<QELGL><Objects><TXITEM Name=\"a\"/><TXITEM Name=\"b\"", 1},
  };
  for (const Case& c : cases) {
    WriteFile(dir / "s.xml", c.text);
    TXNode top(nullptr);
    EXPECT_TRUE(ex.LoadFromFile(File("s.xml"), &top));
    EXPECT_EQ(top.GetCount(), c.items) << c.text;
  }
}

TEST_F(ExchangeTest, ErrorsNameTheFileAndLeaveTheExchangeReady) {
  WriteFile(dir / "bad.xml", "<QELGL><Objects><TXITEM F=\"1.5.5\"/></Objects></QELGL>");
  WriteFile(dir / "good.xml", "<QELGL><Objects><TXITEM F=\"2\"/></Objects></QELGL>");
  TXNode top(nullptr);
  try {
    ex.LoadFromFile(File("bad.xml"), &top);
    FAIL() << "no conversion error";
  } catch (const EQelConvertError& e) {
    EXPECT_NE(std::string(e.what()).find("\"F\""), std::string::npos) << e.what();
    EXPECT_NE(std::string(e.what()).find(File("bad.xml")), std::string::npos) << e.what();
  }
  EXPECT_THROW(ex.LoadFromFile(File("missing.xml"), &top), EQelFileError);
  EXPECT_EQ(ex.GetState(), stReady);
  TXNode fresh(nullptr);
  ASSERT_TRUE(ex.LoadFromFile(File("good.xml"), &fresh));
  ASSERT_EQ(fresh.GetCount(), 1);
  EXPECT_EQ(static_cast<TXItem*>(fresh.GetItems(0))->F, 2.0f);
}

// Saving writes a new file and replaces the old one only when complete.
class TXThrowing : public TXItem {
  QEL_CLASS(TXThrowing)
public:
  using TXItem::TXItem;
  std::function<void()> during;
  void WriteValues(IQelExchange* e) override {
    TXItem::WriteValues(e);
    during();
  }
};

TEST_F(ExchangeTest, AFailedOrNestedSaveKeepsTheOldFile) {
  WriteFile(dir / "s.xml", "old");
  TXNode top(nullptr);
  auto* item = new TXThrowing(&top);
  top.Add(item);
  bool nested = true;
  item->during = [&] { nested = ex.SaveToFile(File("other.xml"), &top); };
  ASSERT_TRUE(ex.SaveToFile(File("s.xml"), &top));
  EXPECT_FALSE(nested) << "a save started while another runs is refused";
  EXPECT_FALSE(fs::exists(dir / "other.xml"));
  item->during = [] { throw EQelError("stop"); };
  EXPECT_THROW(ex.SaveToFile(File("s.xml"), &top), EQelError);
  EXPECT_NE(ReadFile(dir / "s.xml"), "old");
  const std::string first = ReadFile(dir / "s.xml");
  EXPECT_THROW(ex.SaveToFile(File("s.xml"), &top), EQelError);
  EXPECT_EQ(ReadFile(dir / "s.xml"), first);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1)
      << "no temporary file is left behind";
  item->during = [] {};
  EXPECT_THROW(ex.SaveToFile(File("no/such/folder/s.xml"), &top), EQelFileError);
  EXPECT_TRUE(ex.SaveToFile(File("s.xml"), &top));
}

TEST_F(ExchangeTest, FileNamesAreTakenFromTheSceneFolder) {
  TXNode top(nullptr);
  std::vector<std::string> names;
  auto* item = new TXThrowing(&top);
  top.Add(item);
  item->during = [&] {
    names.push_back(ex.GetAFilename(".bmp"));
    names.push_back(ex.GetAFilename(".bmp"));
    names.push_back(ex.GetAFilename("../t/x.png"));
    names.push_back(ex.GetAFilename("/abs/x.png"));
  };
  ASSERT_TRUE(ex.SaveToFile(File("scene.xml"), &top));
  EXPECT_EQ(names, (std::vector<std::string>{"scene-0.bmp", "scene-1.bmp",
                                             (dir.parent_path() / "t/x.png").string(), "/abs/x.png"}));
}

TEST_F(ExchangeTest, ProgressGoesFromZeroToOne) {
  TXNode top(nullptr);
  for (int i = 0; i < 4; ++i) top.Add(new TXItem(&top));
  std::vector<std::pair<double, std::string>> seen;
  ex.OnProgress = [&](double p, const std::string& m) { seen.emplace_back(p, m); };
  ASSERT_TRUE(ex.SaveToFile(File("s.xml"), &top));
  EXPECT_EQ(seen.front(), std::make_pair(0.0, std::string("SaveXML")));
  EXPECT_EQ(seen.back(), std::make_pair(1.0, std::string("SaveXML finished")));
  seen.clear();
  TXNode fresh(nullptr);
  ASSERT_TRUE(ex.LoadFromFile(File("s.xml"), &fresh));
  EXPECT_EQ(seen.front(), std::make_pair(0.0, std::string("LoadXML")));
  EXPECT_EQ(seen.back(), std::make_pair(1.0, std::string("LoadXML finished")));
  for (size_t i = 1; i < seen.size(); ++i) EXPECT_GE(seen[i].first, seen[i - 1].first);
}

}  // namespace

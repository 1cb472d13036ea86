// Meshes in scene files: boxes in every store mode, a hand-made mesh with
// every point array and per-list materials, index lists, and stores that do
// not fit their lists.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <qelon/qelon.h>

#include "qeltestbed.h"

namespace {

// A scene file per test, in the temporary folder.
std::string TempFile() {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string name = std::string("qelon-geometry-") + info->test_suite_name() + "-" + info->name();
  for (char& c : name)
    if (c == '/') c = '_';  // parameterised names hold slashes
  return (std::filesystem::temp_directory_path() / (name + ".xml")).string();
}

// Loads objects (the text inside "Objects") into node.
void LoadText(TQelExchange& ex, const std::string& objects, TQelNode& node) {
  const std::string file = TempFile();
  std::ofstream(file, std::ios::binary) << "<QELGL>\r\n<Objects>\r\n" << objects << "</Objects>\r\n</QELGL>\r\n";
  struct Remove {
    const std::string& file;
    ~Remove() { std::filesystem::remove(file); }
  } remove{file};  // also when loading raises
  ex.LoadFromFile(file, &node);
}

// Every attribute of every point in use, exactly.
void ExpectSameStore(const TQelPrimitivePoints& got, const TQelPrimitivePoints& want) {
  EXPECT_EQ(got.GetDefineArrays().ToBits(), want.GetDefineArrays().ToBits());
  EXPECT_EQ(got.GetUseArrays().ToBits(), want.GetUseArrays().ToBits());
  ASSERT_EQ(got.GetCount(), want.GetCount());
  for (int32_t i = 0; i < want.GetCount(); ++i) {
    SCOPED_TRACE("point " + std::to_string(i));
    for (int32_t kind = 0; kind < 4; ++kind)
      for (int32_t c = 0; c < 4; ++c) EXPECT_EQ(got.GetValues(i, c, kind), want.GetValues(i, c, kind));
    EXPECT_EQ(got.GetEdgeFlag(i) > 0, want.GetEdgeFlag(i) > 0);
    for (int32_t bit = 0; bit < 8; ++bit) EXPECT_EQ(got.GetFlag(i, bit), want.GetFlag(i, bit));
  }
}

void ExpectSameLists(const TQelPrimitiveObj& got, const TQelPrimitiveObj& want) {
  ASSERT_EQ(got.GetPrimitiveCount(), want.GetPrimitiveCount());
  for (int32_t k = 0; k < want.GetPrimitiveCount(); ++k) {
    const TQelPrimitiveArray *g = got.GetPrimitive(k), *w = want.GetPrimitive(k);
    EXPECT_EQ(g->GetType(), w->GetType());
    EXPECT_EQ(g->GetEnabled(), w->GetEnabled());
    EXPECT_EQ(g->GetTextured(), w->GetTextured());
    ASSERT_EQ(g->GetCount(), w->GetCount());
    for (int32_t i = 0; i < w->GetCount(); ++i) EXPECT_EQ(g->GetIndices(i), w->GetIndices(i));
  }
}

class GeometryExchange : public ::testing::Test {
protected:
  // Saves top and loads the file into loaded; the first item is T.
  template <class T>
  T* RoundTrip(TQelNode& top) {
    const std::string file = TempFile();
    EXPECT_TRUE(ex.SaveToFile(file, &top));
    EXPECT_TRUE(ex.LoadFromFile(file, &loaded));
    std::filesystem::remove(file);
    return loaded.GetCount() > 0 ? dynamic_cast<T*>(loaded.GetItems(0)) : nullptr;
  }
  TQelExchange ex{nullptr};
  TQelNode loaded{nullptr};
};

class BoxRoundTrip : public GeometryExchange, public ::testing::WithParamInterface<TQelStoreMode> {};

TQelBox* MakeBox(TComponent* owner) {
  auto* box = new TQelBox(owner);
  box->SetWidth(2);
  box->SetHeight(3);
  box->SetDepth(0.5);
  box->Init();
  return box;
}

TEST_P(BoxRoundTrip, KeepsWhatTheStoreModeSays) {
  const TQelStoreMode mode = GetParam();
  TQelNode top(nullptr);
  TQelBox* box = MakeBox(&top);
  top.Add(box);
  box->GetPoints()->GetVertexArray()[0] += 1.0 / 3;  // an edit only a stored mesh keeps
  box->SetStoreMode(mode);
  TQelBox* got = RoundTrip<TQelBox>(top);
  ASSERT_NE(got, nullptr);
  EXPECT_EQ(got->GetWidth(), 2);
  EXPECT_EQ(got->GetHeight(), 3);
  EXPECT_EQ(got->GetDepth(), 0.5);
  EXPECT_EQ(got->GetStoreMode(), mode);
  EXPECT_EQ(got->GetInited(), mode == smAll);  // anything else is generated at the first render
  EXPECT_EQ(got->GetPoints()->GetCount(), mode == smDefault ? 0 : 24);
  if (mode != smDefault) ExpectSameStore(*got->GetPoints(), *box->GetPoints());
  if (mode == smAll) {
    ExpectSameLists(*got, *box);
  } else {
    EXPECT_EQ(got->GetPrimitiveCount(), 0);
    TQelBox fresh(nullptr);  // generated from the sizes: the unedited box
    got->Init();
    ExpectSameStore(*got->GetPoints(), *MakeBox(&fresh)->GetPoints());
  }
}

INSTANTIATE_TEST_SUITE_P(StoreModes, BoxRoundTrip, ::testing::Values(smDefault, smPoints, smAll));

TEST_F(GeometryExchange, HandMadeMeshWithEveryArrayAndPerListMaterials) {
  TQelNode top(nullptr);
  auto* mesh = new TQelPrimitiveObj(&top);
  auto* m1 = new TQelMaterial(&top);
  auto* m2 = new TQelMaterial(&top);
  for (TQelRender* item : {static_cast<TQelRender*>(mesh), static_cast<TQelRender*>(m1),
                           static_cast<TQelRender*>(m2)})
    top.Add(item);
  TQelPrimitivePoints* p = mesh->GetPoints();
  const TQelArrays all{daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag};
  p->SetDefineArrays(all);
  p->SetUseArrays(all - daFlag);
  p->SetCount(2);
  // Per point: position, normal, texture, colour, edge flag, flag byte.
  const double values[2][13] = {
      {0.1, -2.5e-7, 1e300, 0, 0, 1, 0.5, 0.25, 0, 0.1, 0.2, 0.3, 1},
      {1.0 / 3, 12345.678901234567, -1e-300, 0.6, 0.8, 0, 1, 0, 0.125, 1, 0, 0, 0.5}};
  const uint8_t edges[2] = {255, 0}, flags[2] = {0x81, 0xFF};
  for (int32_t i = 0; i < 2; ++i) {
    for (int32_t kind = 0; kind < 4; ++kind)
      for (int32_t c = 0; c < (kind < 3 ? 3 : 4); ++c) p->SetValues(i, c, kind, values[i][3 * kind + c]);
    p->SetEdgeFlag(i, edges[i]);
    p->GetFlagArray()[i] = flags[i];
  }
  mesh->SetMaterial(m1);  // reaches the lists made below
  for (int32_t type : {GL_TRIANGLES, GL_LINE_STRIP, GL_POINTS}) mesh->AddPrimitiveArray(type);
  for (int32_t i : {0, 1, 1}) mesh->AddIndex(i, 0);
  for (int32_t i : {1, 0}) mesh->AddIndex(i, 1);
  mesh->GetPrimitive(1)->SetMaterial(m2);
  mesh->GetPrimitive(1)->SetEnabled(false);
  mesh->GetPrimitive(2)->SetMaterial(nullptr);
  mesh->GetPrimitive(2)->SetTextured(false);
  mesh->GetTextureFlags()->SetMode(4);
  mesh->GetTextureFlags()->SetScaleX(2.5);
  mesh->GetTextureFlags()->SetEnvMapping(true);
  mesh->GetTextureFlags()->GetParamVector()->SetValues(1, 2, 3);
  mesh->SetInited(true);
  mesh->SetStoreMode(smAll);

  TQelPrimitiveObj* got = RoundTrip<TQelPrimitiveObj>(top);
  ASSERT_NE(got, nullptr);
  EXPECT_TRUE(got->GetInited());
  ExpectSameStore(*got->GetPoints(), *p);
  ExpectSameLists(*got, *mesh);
  TQelRender* loadedM1 = loaded.GetItems(1);
  EXPECT_EQ(got->GetMaterial(), loadedM1);
  EXPECT_EQ(got->GetPrimitive(0)->GetMaterial(), loadedM1);
  EXPECT_EQ(got->GetPrimitive(1)->GetMaterial(), loaded.GetItems(2));
  EXPECT_EQ(got->GetPrimitive(2)->GetMaterial(), nullptr);  // not the object's
  const TQelTextureFlags* tf = got->GetTextureFlags();
  EXPECT_EQ(tf->GetMode(), 4);
  EXPECT_EQ(tf->GetScaleX(), 2.5);
  EXPECT_TRUE(tf->GetEnvMapping());
  EXPECT_EQ(tf->GetParamVector()->GetAsMathVector(), (TQelMathVector{1, 2, 3}));
}

TEST_F(GeometryExchange, PointsWithOnlyDefaultValuesSurviveLeftOutDefaults) {
  TQelNode top(nullptr);
  auto* mesh = new TQelPrimitiveObj(&top);
  top.Add(mesh);
  mesh->GetPoints()->Add(ZEROVEC, ZEROVEC, ZEROVEC);
  mesh->GetPoints()->Add({1, 2, 3}, ZEROVEC, ZEROVEC);
  mesh->SetStoreMode(smPoints);
  ex.SetNoDefaultValues(true);
  TQelPrimitiveObj* got = RoundTrip<TQelPrimitiveObj>(top);
  ASSERT_NE(got, nullptr);
  ExpectSameStore(*got->GetPoints(), *mesh->GetPoints());
}

TEST_F(GeometryExchange, IndexListsParseOrRaiseNamingTheAttribute) {
  // The text, and the item the message quotes (null: the list 0, 1, 2).
  const char* const cases[][2] = {{"0, 1 ,2", nullptr}, {"1,x,3", "x"},  {"1,,2", ""},
                                  {"-1", "-1"},         {"4294967296", "4294967296"},
                                  {"1 2", "1 2"},       {"1,2,", ""},     {"7e1", "7e1"}};
  for (const auto& [text, bad] : cases) {
    SCOPED_TRACE(text);
    TQelNode node(nullptr);
    const std::string obj = std::string("<TQELPRIMITIVEOBJ StoreMode=\"smAll\">\r\n<Primitive Type=\"4\" Indices=\"") +
                            text + "\"/>\r\n</TQELPRIMITIVEOBJ>\r\n";
    try {
      LoadText(ex, obj, node);
      ASSERT_EQ(bad, nullptr);
      auto* mesh = dynamic_cast<TQelPrimitiveObj*>(node.GetItems(0));
      ASSERT_TRUE(mesh && mesh->GetPrimitive(0));
      const TQelPrimitiveArray* a = mesh->GetPrimitive(0);
      ASSERT_EQ(a->GetCount(), 3);
      for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(a->GetIndices(i), i);
    } catch (const EQelConvertError& e) {
      ASSERT_NE(bad, nullptr) << e.what();
      EXPECT_NE(std::string(e.what()).find("\"Indices\""), std::string::npos) << e.what();
      EXPECT_NE(std::string(e.what()).find('"' + std::string(bad) + '"'), std::string::npos) << e.what();
    }
  }
}

// Stores that do not fit their lists load and draw without reading past an
// array. A stored mesh (smAll) is drawn as loaded; any other is generated
// again at the first render (a bare mesh generates nothing).
class StoresNotFittingTheirLists : public QelGLTest {};

TEST_F(StoresNotFittingTheirLists, LoadAndDrawWithoutHarm) {
  const struct {
    const char* object;
    bool inited;
    int32_t pointsAfterRender, listsAfterRender;
  } cases[] = {
      {"<TQELPRIMITIVEOBJ StoreMode=\"smAll\" Inited=\"true\">\r\n"  // no positions
       "<Points DefineArrays=\"daNormal,daColor\" UseArrays=\"daNormal,daColor\">\r\n"
       "<Point P=\"1,2,3\" N=\"0,0,1\"/>\r\n</Points>\r\n"
       "<Primitive Type=\"4\" Indices=\"0,5,1\"/>\r\n</TQELPRIMITIVEOBJ>\r\n",
       true, 1, 1},
      {"<TQELPRIMITIVEOBJ StoreMode=\"smAll\" Inited=\"true\">\r\n"  // no arrays at all
       "<Points DefineArrays=\"\" UseArrays=\"daVertex\">\r\n<Point X=\"1\"/>\r\n</Points>\r\n"
       "<Primitive Type=\"0\" Indices=\"0\"/>\r\n</TQELPRIMITIVEOBJ>\r\n",
       true, 1, 1},
      {"<TQELPRIMITIVEOBJ Inited=\"true\">\r\n"  // lists though only parameters are stored
       "<Points DefineArrays=\"daVertex\" UseArrays=\"daVertex\">\r\n<Point P=\"1,2,3\"/>\r\n"
       "</Points>\r\n<Primitive Type=\"4\" Indices=\"0,0,0\"/>\r\n</TQELPRIMITIVEOBJ>\r\n",
       false, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.object);
    TQelExchange ex(nullptr);
    TQelNode node(nullptr);
    LoadText(ex, c.object, node);
    auto* mesh = dynamic_cast<TQelPrimitiveObj*>(node.GetItems(0));
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(mesh->GetInited(), c.inited);
    EXPECT_EQ(mesh->GetPoints()->GetCount(), 1);
    mesh->DoRender(nullptr);
    EXPECT_EQ(mesh->GetPoints()->GetCount(), c.pointsAfterRender);
    EXPECT_EQ(mesh->GetPrimitiveCount(), c.listsAfterRender);
    EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
  }
}

}  // namespace

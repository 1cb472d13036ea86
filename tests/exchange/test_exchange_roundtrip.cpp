// A scene with every persistent class and every kind of reference: saved,
// loaded into a fresh node and saved again, it gives the same file and the
// same picture; and no prefix of its file makes loading fail other than by
// the documented errors.
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include <qelon/qelon.h>

#include "exchangetest.h"

namespace fs = std::filesystem;

namespace {

using qeltest::ReadFile;

// A small hand-made mesh: a coloured quad as two lists of different types.
TQelPrimitiveObj* MakeMesh(TComponent* owner, TQelMaterial* listMaterial) {
  auto* mesh = new TQelPrimitiveObj(owner);
  TQelPrimitivePoints* p = mesh->GetPoints();
  p->SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
  p->SetUseArrays({daVertex, daNormal, daColor});
  for (int i = 0; i < 4; ++i) {
    const int32_t n = p->Add(i & 1 ? 0.5 : -0.5, i & 2 ? 0.5 : -0.5, 0.1 * i);
    p->SetVector(n, 1, {0, 0, 1});
    for (int c = 0; c < 4; ++c) p->SetValues(n, c, 3, c == i % 3 ? 1.0 : 0.25);
    p->SetFlag(n, 1, i == 2);
  }
  const int32_t tris = mesh->AddPrimitiveArray(GL_TRIANGLES);
  for (int32_t i : {0, 1, 2}) mesh->AddIndex(i, tris);
  const int32_t lines = mesh->AddPrimitiveArray(GL_LINE_LOOP);
  for (int32_t i : {0, 1, 3, 2}) mesh->AddIndex(i, lines);
  mesh->GetPrimitive(lines)->SetMaterial(listMaterial);
  mesh->SetInited(true);
  mesh->SetStoreMode(smAll);
  return mesh;
}

void BuildScene(TQelNode* top) {
  top->SetName("top");
  auto* light = new TQelLight(top);
  light->SetKind(lkSpot);
  light->SetCutOff(40);
  light->GetTransformation()->GetTranslation()->SetValues(0, 3, 3);
  top->Add(light);
  auto* fog = new TQelFog(top);
  fog->SetDensity(0.05f);
  top->Add(fog);
  auto* clip = new TQelClip(top);
  clip->SetID(idClipPlane2);
  clip->SetPlane(3, 5);
  top->Add(clip);

  auto* look = new TQelAttributes(top);
  look->SetLighting(true);
  auto* gold = new TQelMaterial(top);
  gold->GetColorDiffuse()->SetColor(0x00B0FF);
  auto* held = new TQelMaterial(top);  // only referenced: kept in the anchor
  held->SetName("held");
  held->GetColorDiffuse()->SetColor(0xFF2020);
  top->GetAnchor()->Add(held);
  auto* wood = new TQelTexture(top);
  TBitmap bitmap(8, 8);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x) bitmap.SetPixel(x, y, (x + y) % 2 ? 0x3060A0 : 0xC0E0F0);
  wood->SetBitmap(&bitmap);
  top->Add(look);
  top->Add(gold);
  top->Add(wood);

  auto* plain = new TQelBox(top);  // parameters only
  plain->SetName("plain");
  plain->SetWidth(1.5);
  plain->SetMaterial(gold);
  plain->SetAttributes(look);
  plain->SetTexture(wood);
  plain->SetTextured(true);
  top->Add(plain);
  auto* stored = new TQelBox(top);  // every point and list
  stored->Init();
  stored->SetStoreMode(smAll);
  stored->GetTransformation()->GetTranslation()->SetValues(1.2f, 0.3f, -0.4f);
  stored->GetTransformation()->GetRotation()->SetValues(10, 20, 30);
  stored->SetMaterial(held);
  top->Add(stored);
  auto* points = new TQelBox(top);  // points only
  points->Init();
  points->SetStoreMode(smPoints);
  points->GetTransformation()->GetScale()->SetValues(0.3f, 0.3f, 0.3f);
  top->Add(points);

  auto* sub = new TQelNode(top);
  sub->GetTransformation()->GetTranslation()->SetValues(-1.3f, 0, 0);
  top->Add(sub);
  auto* mesh = MakeMesh(sub, held);
  mesh->GetCoordinates()->SetVisible(true);
  mesh->GetColor()->SetColor(0x10E010);
  mesh->SetColorAsMaterial(cmAmbientDiffuse);
  sub->Add(mesh);
  auto* hidden = new TQelBox(sub);
  hidden->SetEnabled(false);  // not saved
  sub->Add(hidden);
  auto* thing = new TQelObject(sub);
  thing->SetObjectID(42);
  sub->Add(thing);
}

class ExchangeRoundTrip : public qeltest::ExchangeTest {
protected:
  void SetUp() override {
    ExchangeTest::SetUp();
    QelSetWindowSystem(QelEGLWindowSystem());
  }
  void TearDown() override {
    QelSetWindowSystem(nullptr);
    ExchangeTest::TearDown();
  }
  std::vector<uint8_t> Render(TQelNode* scene) {
    TQelView view(nullptr);
    TQelPerspectiveCamera camera(nullptr);
    camera.TurnAt({2, 2.5, 4}, {0, 0, 0});
    view.SetCamera(&camera);
    view.OnRender = [&](TQelView* v) { scene->Render(v); };
    TBitmap image(160, 120);
    view.GetImage(image);
    view.SetCamera(nullptr);
    const uint8_t* bits = image.GetBits();
    return std::vector<uint8_t>(bits, bits + image.GetStride() * image.GetHeight());
  }
};

TEST_F(ExchangeRoundTrip, SaveLoadSaveGivesTheSameFileAndPicture) {
  TQelNode original(nullptr);
  BuildScene(&original);
  ex.SetFileDescription("every class");
  ASSERT_TRUE(ex.SaveToFile((dir / "a.xml").string(), &original));
  EXPECT_EQ(ex.GetMessages(), std::vector<std::string>());

  TQelNode loaded(nullptr);
  ASSERT_TRUE(ex.LoadFromFile((dir / "a.xml").string(), &loaded));
  for (const std::string& m : ex.GetMessages())
    EXPECT_EQ(m.rfind("   Hint: ", 0), 0u) << "only the reference hints: " << m;
  ASSERT_TRUE(ex.SaveToFile((dir / "b.xml").string(), &loaded));
  const std::string a = ReadFile(dir / "a.xml"), b = ReadFile(dir / "b.xml");
  EXPECT_GT(a.size(), 3000u);
  EXPECT_EQ(a, b);

  const std::vector<uint8_t> before = Render(&original), after = Render(&loaded);
  EXPECT_EQ(before, after);
  size_t lit = 0;
  for (size_t i = 0; i + 2 < after.size(); i += 4) lit += after[i] || after[i + 1] || after[i + 2];
  EXPECT_GT(lit, after.size() / 40) << "the scene is drawn";
}

TEST_F(ExchangeRoundTrip, EveryPrefixLoadsWhatItHolds) {
  TQelNode original(nullptr);
  BuildScene(&original);
  const fs::path file = dir / "a.xml";
  ASSERT_TRUE(ex.SaveToFile(file.string(), &original));
  const std::string text = ReadFile(file);
  const fs::path cut = dir / "cut.xml";
  int32_t items = 0;
  for (size_t n = 0; n <= text.size(); n += (n < 400 ? 1 : 29)) {
    std::ofstream(cut, std::ios::binary).write(text.data(), static_cast<std::streamsize>(n));
    TQelNode node(nullptr);
    try {
      ex.LoadFromFile(cut.string(), &node);
    } catch (const EQelConvertError&) {
      // a number cut off in the middle of its digits
    }
    const int32_t now = node.CountAllItems(false);
    EXPECT_GE(now + 2, items) << "a longer prefix holds about as much: " << n;
    items = std::max(items, now);
  }
  EXPECT_EQ(items, original.CountAllItems(true));
}

}  // namespace

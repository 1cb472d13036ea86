// The appearance classes in scene files: every value survives a save and a
// load, the text of a default material, textures and their image files.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <memory>
#include <sstream>

#include <qelon/qelon.h>

#include "exchangetest.h"

namespace fs = std::filesystem;

namespace {

using qeltest::ReadFile;
using qeltest::WriteFile;

class AppearanceExchange : public qeltest::ExchangeTest {};

// Every value of a component as text, one entry per value, numbers exact.
using Values = std::vector<std::string>;
template <class... T>
Values Texts(const T&... v) {
  Values out;
  ((out.push_back((std::ostringstream() << std::setprecision(17) << v).str())), ...);
  return out;
}
Values ColorTexts(const TQelColor* c) { return Texts(c->GetColor(), c->GetAlpha()); }
Values operator+(Values a, const Values& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

TQelColor MakeColor(TColor color, float alpha) {
  TQelColor c;
  c.SetColor(color);
  c.SetAlpha(alpha);
  return c;
}

struct RoundTripCase {
  const char* name;
  std::function<TQelRender*()> make;
  // Sets every exchanged value away from its default.
  std::function<void(TQelRender*)> change;
  std::function<Values(TQelRender*)> values;
};

template <class T>
RoundTripCase Trip(const char* name, void (*change)(T*), Values (*values)(T*)) {
  return {name, [] { return new T(nullptr); },
          [change](TQelRender* r) { change(static_cast<T*>(r)); },
          [values](TQelRender* r) { return values(static_cast<T*>(r)); }};
}

const RoundTripCase kRoundTrips[] = {
    Trip<TQelMaterial>(
        "material",
        [](TQelMaterial* m) {
          m->SetFace(mfBack);
          for (int i = 1; i <= 4; ++i) {
            TQelColor c = MakeColor(0x102030 * i, 0.25f * i - 0.125f);
            m->SetPartColor(i, &c);
          }
          m->SetShininess(77);
        },
        [](TQelMaterial* m) {
          return Texts(int(m->GetFace()), m->GetShininess()) + ColorTexts(m->GetColorAmbient()) +
                 ColorTexts(m->GetColorDiffuse()) + ColorTexts(m->GetColorSpecular()) +
                 ColorTexts(m->GetColorEmission());
        }),
    Trip<TQelAttributes>(
        "attributes",
        [](TQelAttributes* a) {
          a->SetAntialiasing(true), a->SetCullFace(cfBack), a->SetDithering(true);
          a->SetLighting(true), a->SetLightTwoSide(true), a->SetLineStipple(lsDashDot);
          a->SetLineWidth(2.5f), a->SetPerspectiveCorrection(quNicest), a->SetPointSize(0.1f);
          a->SetPolygonMode(pmLine), a->SetShadeModel(smFlat), a->SetTransparency(tmSubColor);
          TQelColor c = MakeColor(0xABCDEF, 0.5f);
          a->SetAmbient(&c);
        },
        [](TQelAttributes* a) {
          return Texts(a->GetAntialiasing(), int(a->GetCullFace()), a->GetDithering(),
                       a->GetLighting(), a->GetLightTwoSide(), int(a->GetLineStipple()),
                       a->GetLineWidth(), int(a->GetPerspectiveCorrection()), a->GetPointSize(),
                       int(a->GetPolygonMode()), int(a->GetShadeModel()),
                       int(a->GetTransparency())) +
                 ColorTexts(a->GetColorAmbient());
        }),
    Trip<TQelFog>(
        "fog",
        [](TQelFog* f) {
          f->SetDensity(0.7f), f->SetEndDepth(7.25f), f->SetMode(fmLinear);
          f->SetQuality(quFastest), f->SetStartDepth(-1.5f);
          TQelColor c = MakeColor(0x00FF80, 0.0f);
          f->SetColor(&c);
        },
        [](TQelFog* f) {
          return Texts(f->GetDensity(), f->GetEndDepth(), int(f->GetMode()),
                       int(f->GetQuality()), f->GetStartDepth()) +
                 ColorTexts(f->GetColor());
        }),
    Trip<TQelLight>(
        "light",
        [](TQelLight* l) {
          TQelColor a = MakeColor(0x010203, 0.5f), d = MakeColor(0x405060, 0.75f),
                    s = MakeColor(0x708090, 0.0f);
          l->SetAmbient(&a), l->SetDiffuse(&d), l->SetSpecular(&s);
          l->SetKind(lkSpot);
          l->SetCutOff(33.5f);  // a spot's cut-off survives only when read after the kind
          l->GetDirection()->SetValues(0.5f, -1.0f, 0.3f);
          l->SetID(idLight5);
        },
        [](TQelLight* l) {
          const TQelDirection* d = l->GetDirection();
          return Texts(l->GetCutOff(), d->GetX(), d->GetY(), d->GetZ(), int(l->GetKind()),
                       int(l->GetID())) +
                 ColorTexts(l->GetColorAmbient()) + ColorTexts(l->GetColorDiffuse()) +
                 ColorTexts(l->GetColorSpecular());
        }),
    Trip<TQelClip>(
        "clip",
        [](TQelClip* c) {
          c->SetID(idClipPlane4);
          const double plane[4] = {0.1, -2, 1.0 / 3, 1e-7};
          for (int i = 0; i < 4; ++i) c->SetPlane(i, plane[i]);
        },
        [](TQelClip* c) {
          return Texts(int(c->GetID()), c->GetPlane(0), c->GetPlane(1), c->GetPlane(2),
                       c->GetPlane(3));
        }),
    Trip<TQelTexture>(
        "texture",
        [](TQelTexture* t) {
          t->SetAlpha(0.5f), t->SetMode(tmReplace), t->SetClampX(true), t->SetClampY(true);
          t->SetFilter({tfMinFilter, tfMipMapping});
          TQelColor c = MakeColor(0x123456, 0.5f);
          t->SetBlendColor(&c);
          t->SetFileName("no-such-image.bmp");
        },
        [](TQelTexture* t) {
          return Texts(t->GetAlpha(), int(t->GetMode()), t->GetClampX(), t->GetClampY(),
                       int(t->GetFilter().ToBits()), t->GetFileName()) +
                 ColorTexts(t->GetBlendColor());
        }),
};

TEST_F(AppearanceExchange, EveryValueSurvivesSaveAndLoad) {
  for (const RoundTripCase& c : kRoundTrips) {
    for (bool noDefaults : {false, true}) {
      SCOPED_TRACE(std::string(c.name) + (noDefaults ? " without defaults" : ""));
      std::unique_ptr<TQelRender> saved(c.make()), loaded(c.make()), fresh(c.make());
      c.change(saved.get());
      const Values expected = c.values(saved.get()), defaults = c.values(fresh.get());
      ASSERT_EQ(expected.size(), defaults.size());
      for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_NE(expected[i], defaults[i]) << "value " << i << " is not changed by the case";

      ex.SetNoDefaultValues(noDefaults);
      const std::string path = File(std::string(c.name) + ".xml");
      ASSERT_TRUE(ex.SaveToFile(path, saved.get()));
      ASSERT_TRUE(ex.LoadFromFile(path, loaded.get()));
      EXPECT_EQ(c.values(loaded.get()), expected) << ReadFile(path);
    }
  }
}

TEST_F(AppearanceExchange, DefaultMaterialText) {
  // All values at their defaults: only ID and Name, and no colour tags.
  TQelMaterial m(nullptr);
  m.SetName("m");
  ex.SetNoDefaultValues(true);
  const std::string path = File("m.xml");
  ASSERT_TRUE(ex.SaveToFile(path, &m));
  EXPECT_EQ(ReadFile(path), "<QELGL version=\"" + QelProductVersion() +
                                "\" program=\"Qelon\" description=\"\">\r\n"
                                "  <Objects>\r\n"
                                "    <TQELMATERIAL ID=\"0\" Name=\"m\"/>\r\n"
                                "  </Objects>\r\n"
                                "</QELGL>\r\n");
}

TEST_F(AppearanceExchange, ValuesEqualToAPlainPropertysDefaultSurviveLeftOutDefaults) {
  // Owners start these parts at other values than a plain colour or scale;
  // set to the plain default they must still be written.
  TQelMaterial m(nullptr), m2(nullptr);
  m.GetColorAmbient()->SetColor(0xFFFFFF);
  TQelLight l(nullptr), l2(nullptr);
  l.GetColorAmbient()->SetColor(0xFFFFFF);
  TQelPerspectiveCamera c(nullptr), c2(nullptr);
  c.GetTransformation()->GetScale()->SetValues(1, 1, 1);
  ex.SetNoDefaultValues(true);
  ASSERT_TRUE(ex.SaveToFile(File("m.xml"), &m));
  ASSERT_TRUE(ex.LoadFromFile(File("m.xml"), &m2));
  ASSERT_TRUE(ex.SaveToFile(File("l.xml"), &l));
  ASSERT_TRUE(ex.LoadFromFile(File("l.xml"), &l2));
  ASSERT_TRUE(ex.SaveToFile(File("c.xml"), &c));
  ASSERT_TRUE(ex.LoadFromFile(File("c.xml"), &c2));
  EXPECT_EQ(m2.GetColorAmbient()->GetColor(), 0xFFFFFFu);
  EXPECT_EQ(l2.GetColorAmbient()->GetColor(), 0xFFFFFFu);
  EXPECT_EQ(c2.GetTransformation()->GetScale()->GetX(), 1.0f);
}

TEST_F(AppearanceExchange, BitmapWithoutFileNameIsSavedBesideTheScene) {
  TBitmap bitmap(4, 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) bitmap.SetPixel(x, y, 0x0F1F2F * (x + 1) + 0x40 * y);
  TQelTexture saved(nullptr), loaded(nullptr);
  saved.SetBitmap(&bitmap);
  ASSERT_TRUE(ex.SaveToFile(File("scene.xml"), &saved));

  ASSERT_TRUE(ex.LoadFromFile(File("scene.xml"), &loaded));
  const std::string name = loaded.GetFileName();
  ASSERT_FALSE(name.empty());
  EXPECT_TRUE(fs::path(name).parent_path().empty()) << name;  // relative, beside the scene
  EXPECT_TRUE(fs::is_regular_file(dir / name)) << name;
  const TBitmap* b = loaded.GetBitmap();
  ASSERT_EQ(b->GetWidth(), 4);
  ASSERT_EQ(b->GetHeight(), 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) EXPECT_EQ(b->GetPixel(x, y), bitmap.GetPixel(x, y)) << x << "," << y;

  // Saved again, the texture names the same file: the same text.
  ASSERT_TRUE(ex.SaveToFile(File("again.xml"), &loaded));
  EXPECT_EQ(ReadFile(dir / "again.xml"), ReadFile(dir / "scene.xml"));
}

TEST_F(AppearanceExchange, UnusableImageFileIsReportedAndLoadingGoesOn) {
  struct Case {
    const char* what;
    const char* content;  // null: no file
    std::string message;
  } cases[] = {
      {"missing", nullptr, "  Warning: Texture file \"" + File("img.bmp") + "\" not found."},
      {"not an image", "text", "  Warning: Texture file not loaded: Cannot open file \"" +
                                   File("img.bmp") + "\"."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    fs::remove(dir / "img.bmp");
    TQelNode node(nullptr), fresh(nullptr);
    auto* texture = new TQelTexture(&node);
    texture->SetFileName("img.bmp");
    node.Add(texture);
    auto* material = new TQelMaterial(&node);
    material->SetShininess(9);
    node.Add(material);
    ASSERT_TRUE(ex.SaveToFile(File("scene.xml"), &node));
    if (c.content) std::ofstream(dir / "img.bmp") << c.content;

    ASSERT_TRUE(ex.LoadFromFile(File("scene.xml"), &fresh)) << ReadFile(dir / "scene.xml");
    const auto& messages = ex.GetMessages();
    EXPECT_EQ(std::count_if(messages.begin(), messages.end(),
                            [&](const std::string& m) { return m.starts_with(c.message); }),
              1)
        << ::testing::PrintToString(messages);
    ASSERT_EQ(fresh.GetCount(), 2);
    auto* t = dynamic_cast<TQelTexture*>(fresh.GetItems(0));
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->GetFileName(), "img.bmp");
    EXPECT_TRUE(t->GetBitmap()->GetEmpty());
    auto* m = dynamic_cast<TQelMaterial*>(fresh.GetItems(1));
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->GetShininess(), 9);
  }
}

}  // namespace

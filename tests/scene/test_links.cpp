// Change links. Every part and item reports its changes to its owner through
// OnChange, and Assign hands that handler on to the copy on purpose: the
// copy reports to the source's owner while that owner lives, and to nobody
// once it is gone. For each kind of link, two owners A and B are made, B's
// part takes over A's handler by Assign, and then either side dies. Run
// under AddressSanitizer: a call into a dead owner is a report there.
#include <memory>

#include "scenetest.h"

#include <qelon/qelon.h>

namespace {

// A texture's changes do not travel up (Changed only invalidates): this one
// counts them.
class TListeningTexture : public TQelTexture {
public:
  explicit TListeningTexture(int& heard) : TQelTexture(nullptr), heard_(heard) {}
  void Changed() override {
    ++heard_;
    TQelTexture::Changed();
  }

private:
  int& heard_;
};

// A view repaints on its parts' changes; this one counts them instead.
class TListeningView : public TQelView {
public:
  explicit TListeningView(int& heard) : TQelView(nullptr), heard_(heard) {}
  void SubChange(TObject*) override { ++heard_; }

private:
  int& heard_;
};

// An owner and its part (or item) whose handler is linked to it.
struct Side {
  std::unique_ptr<TObject> owner;
  TPersistent* part;
};

// An owner that counts its own change signals in heard.
template <class T>
T* Counting(T* owner, int& heard) {
  owner->OnChange = [&heard](TObject*) { ++heard; };
  return owner;
}

template <class T>
Side Make(T* owner, TPersistent* part) {
  return {std::unique_ptr<TObject>(owner), part};
}

// A mesh with generated lists, counting.
TQelBox* Box(int& heard) {
  auto* box = new TQelBox(nullptr);
  box->Init();
  return Counting(box, heard);
}

struct LinkKind {
  const char* name;
  Side (*make)(int& heard);
  // The owner's hearing shows in heard; otherwise only at its next render
  // (see the GL test below).
  bool audible = true;
};

// clang-format off
const LinkKind kLinks[] = {
  {"material -> colour", [](int& h) {
     auto* m = Counting(new TQelMaterial(nullptr), h); return Make(m, m->GetColorDiffuse()); }},
  {"attributes -> ambient", [](int& h) {
     auto* a = Counting(new TQelAttributes(nullptr), h); return Make(a, a->GetColorAmbient()); }},
  {"fog -> colour", [](int& h) {
     auto* f = Counting(new TQelFog(nullptr), h); return Make(f, f->GetColor()); }},
  {"light -> direction", [](int& h) {
     auto* l = Counting(new TQelLight(nullptr), h); return Make(l, l->GetDirection()); }},
  {"light -> colour", [](int& h) {
     auto* l = Counting(new TQelLight(nullptr), h); return Make(l, l->GetColorSpecular()); }},
  {"texture -> bitmap", [](int& h) {
     auto* t = new TListeningTexture(h); return Make(t, t->GetBitmap()); }},
  {"texture -> blend colour", [](int& h) {
     auto* t = new TListeningTexture(h); return Make(t, t->GetBlendColor()); }, false},
  {"object -> colour", [](int& h) {
     auto* o = Counting(new TQelObject(nullptr), h); return Make(o, o->GetColor()); }},
  {"render -> axes", [](int& h) {
     auto* o = Counting(new TQelObject(nullptr), h); return Make(o, o->GetCoordinates()); }},
  {"transformed -> transformation", [](int& h) {
     auto* o = Counting(new TQelObject(nullptr), h); return Make(o, o->GetTransformation()); }},
  {"transformation -> rotation", [](int& h) {
     auto* t = Counting(new TQelTransformation, h); return Make(t, t->GetRotation()); }},
  {"transformation -> scale", [](int& h) {
     auto* t = Counting(new TQelTransformation, h); return Make(t, t->GetScale()); }},
  {"transformation -> translation", [](int& h) {
     auto* t = Counting(new TQelTransformation, h); return Make(t, t->GetTranslation()); }},
  {"point item -> position", [](int& h) {
     auto* p = Counting(new TQelPointItem, h); return Make(p, p->GetPoint()); }},
  {"point item -> colour", [](int& h) {
     auto* p = Counting(new TQelPointItem, h); return Make(p, p->GetColor()); }},
  {"texture flags -> vector", [](int& h) {
     auto* f = Counting(new TQelTextureFlags, h); return Make(f, f->GetParamVector()); }},
  {"mesh -> store", [](int& h) { auto* b = Box(h); return Make(b, b->GetPoints()); }},
  {"mesh -> texture flags", [](int& h) { auto* b = Box(h); return Make(b, b->GetTextureFlags()); }},
  {"mesh -> list", [](int& h) { auto* b = Box(h); return Make(b, b->GetPrimitive(0)); }},
  {"node -> item", [](int& h) {
     auto* n = Counting(new TQelNode(nullptr), h);
     auto* item = new TQelObject(n);
     n->Add(item);
     return Make(n, item); }},
  {"camera -> viewport", [](int& h) {
     auto* c = Counting(new TQelPerspectiveCamera(nullptr), h); return Make(c, c->GetViewport()); }},
  {"view -> axes", [](int& h) {
     auto* v = new TListeningView(h); return Make(v, v->GetCoordinates()); }},
  {"view -> camera", [](int& h) {
     auto* v = new TListeningView(h);
     auto* c = new TQelPerspectiveCamera(v);
     v->SetCamera(c);
     return Make(v, c); }},
};
// clang-format on

// to takes over from's handler: Assign does it for properties and
// components; a bitmap's Assign copies the image only, so its handler is
// copied by hand.
void TakeOverHandler(TPersistent* to, TPersistent* from) {
  if (auto* b = dynamic_cast<TBitmap*>(to))
    b->OnChange = dynamic_cast<TBitmap*>(from)->OnChange;
  else
    to->Assign(from);
}

// The change signal every setter ends in.
void Change(TPersistent* part) {
  if (auto* p = dynamic_cast<TQelProperty*>(part)) p->Changed();
  if (auto* c = dynamic_cast<TQelComponent*>(part)) c->Changed();
  if (auto* b = dynamic_cast<TBitmap*>(part)) b->Changed();
}

TEST(ChangeLinks, ACopyReportsToTheSourcesOwnerWhileItLivesThenToNobody) {
  for (const LinkKind& kind : kLinks) {
    SCOPED_TRACE(kind.name);
    int heardA = 0, heardB = 0;
    Side a = kind.make(heardA), b = kind.make(heardB);
    TakeOverHandler(b.part, a.part);
    heardA = heardB = 0;
    Change(b.part);
    EXPECT_EQ(heardA, kind.audible ? 1 : 0);
    EXPECT_EQ(heardB, 0);
    a.owner.reset();
    Change(b.part);
    EXPECT_EQ(heardB, 0);
  }
}

TEST(ChangeLinks, AnOwnerStillHearsItsOwnPartAfterTheCopysOwnerDied) {
  for (const LinkKind& kind : kLinks) {
    SCOPED_TRACE(kind.name);
    int heardA = 0, heardB = 0;
    Side a = kind.make(heardA), b = kind.make(heardB);
    TakeOverHandler(b.part, a.part);
    b.owner.reset();
    heardA = 0;
    Change(a.part);
    EXPECT_EQ(heardA, kind.audible ? 1 : 0);
  }
}

// The blend colour's link only marks the texture for setting its parameters
// again, which shows at its next render.
class ChangeLinksGL : public QelGLTest {};

TEST_F(ChangeLinksGL, ACopiedBlendColourMakesItsTextureSetItAgainWhileTheTextureLives) {
  RedrawTextures();
  auto texture = std::make_unique<TQelTexture>(nullptr);
  TBitmap bitmap(2, 2);
  texture->SetBitmap(&bitmap);
  TQelColor copy;
  copy.Assign(texture->GetBlendColor());
  TQelCustomView view(nullptr);
  texture->Render(&view);
  qeltest::GLRecorder rec;
  texture->Render(&view);  // current and clean: sets nothing
  EXPECT_EQ(rec.Count("glTexEnviv"), 0);
  copy.Changed();
  texture->Render(&view);
  EXPECT_EQ(rec.Count("glTexEnviv"), 1);
  texture.reset();
  copy.Changed();
}

}  // namespace

// Writes the seed corpus of the scene loader's fuzz target: one small scene
// file per persistent class or reference shape, as the library saves them.
//
//   make_seeds_exchange tests/exchange/fuzz_corpus_exchange
//
// Build it against the library (with -DQELON_FUZZ=ON CMake makes the
// target make_seeds_exchange) and run it again when the file format
// changes, so that the fuzzer starts from what the library writes.
#include <cstdio>
#include <functional>
#include <string>

#include <qelon/qelon.h>

namespace {

std::string folder;

// Builds a scene under a fresh node and saves it as name.
void Seed(const std::string& name, const std::function<void(TQelNode*, TComponent&)>& build,
          bool noDefaults = false, bool paramNewLine = false) {
  TComponent owner(nullptr);
  auto* top = new TQelNode(&owner);
  top->SetName("Top");
  build(top, owner);
  TQelExchange exchange(nullptr);
  exchange.SetNoDefaultValues(noDefaults);
  exchange.SetParamNewLine(paramNewLine);
  exchange.SetFileDescription(name);
  exchange.SaveToFile(folder + "/" + name + ".xml", top);
  for (const std::string& line : exchange.GetMessages()) std::printf("%s: %s\n", name.c_str(), line.c_str());
}

template <class T>
T* Item(TQelNode* node) {
  auto* item = new T(node);
  node->Add(item);
  return item;
}

TQelBox* Box(TQelNode* node, TQelStoreMode mode) {
  auto* box = Item<TQelBox>(node);
  box->SetWidth(2);
  box->GetTransformation()->GetTranslation()->SetValues(1, -2, 0.5);
  if (mode != smDefault) box->Init();
  box->SetStoreMode(mode);
  return box;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  folder = argv[1];

  Seed("box_default", [](TQelNode* top, TComponent&) { Box(top, smDefault); });
  Seed("box_points", [](TQelNode* top, TComponent&) { Box(top, smPoints); });
  Seed("box_all", [](TQelNode* top, TComponent&) { Box(top, smAll); });
  Seed("box_compact", [](TQelNode* top, TComponent&) { Box(top, smAll); }, true, true);

  // A mesh of its own: a quad of two triangles and a line list.
  Seed("mesh", [](TQelNode* top, TComponent&) {
    auto* mesh = Item<TQelPrimitiveObj>(top);
    TQelPrimitivePoints* points = mesh->GetPoints();
    for (auto [x, y] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) points->Add(x, y, 0);
    TQelPrimitiveArray* triangles = mesh->GetPrimitiveArray(GL_TRIANGLES);
    for (uint32_t i : {0, 1, 2, 0, 2, 3}) triangles->AddIndex(i);
    TQelPrimitiveArray* lines = mesh->GetPrimitiveArray(GL_LINES);
    for (uint32_t i : {0, 2}) lines->AddIndex(i);
    mesh->SetInited(true);
    mesh->SetStoreMode(smAll);
  });

  Seed("object", [](TQelNode* top, TComponent&) {
    auto* object = Item<TQelObject>(top);
    object->SetObjectID(7);
    object->SetColorAsMaterial(cmDiffuse);
    object->GetColor()->SetColor(0x00FF8040);
  });

  Seed("material", [](TQelNode* top, TComponent&) {
    auto* material = Item<TQelMaterial>(top);
    material->SetFace(mfFront);
    material->SetShininess(40);
    material->GetColorDiffuse()->SetColor(0x0000FF00);
    Box(top, smDefault)->SetMaterial(material);
  });

  Seed("attributes", [](TQelNode* top, TComponent&) {
    auto* attributes = Item<TQelAttributes>(top);
    attributes->SetLighting(true);
    attributes->SetCullFace(cfBack);
    attributes->SetPolygonMode(pmLine);
    attributes->SetTransparency(tmAlpha);
    attributes->SetLineStipple(lsDash);
    Box(top, smDefault)->SetAttributes(attributes);
  });

  Seed("fog", [](TQelNode* top, TComponent&) {
    auto* fog = Item<TQelFog>(top);
    fog->SetMode(fmLinear);
    fog->SetStartDepth(2);
    fog->SetEndDepth(20);
    fog->GetColor()->SetColor(0x00808080);
  });

  Seed("light", [](TQelNode* top, TComponent&) {
    auto* spot = Item<TQelLight>(top);
    spot->SetKind(lkSpot);
    spot->SetCutOff(30);
    spot->GetDirection()->SetValues(0, -1, 0);
    auto* point = Item<TQelLight>(top);
    point->SetKind(lkPoint);
    point->GetTransformation()->GetTranslation()->SetValues(0, 5, 0);
  });

  Seed("clip", [](TQelNode* top, TComponent&) {
    auto* clip = Item<TQelClip>(top);
    for (int i = 0; i < 4; ++i) clip->SetPlane(i, i == 1 ? 1.0 : 0.25 * i);
    Box(top, smDefault);
  });

  // The image file is missing: the loader reports it and goes on.
  Seed("texture", [](TQelNode* top, TComponent&) {
    auto* texture = Item<TQelTexture>(top);
    texture->SetFileName("missing.bmp");
    texture->SetMode(tmBlend);
    texture->SetClampX(true);
    texture->GetBlendColor()->SetColor(0x00FF0000);
    auto* box = Box(top, smDefault);
    box->SetTexture(texture);
    box->SetTextured(true);
  });

  Seed("nested", [](TQelNode* top, TComponent&) {
    TQelNode* node = top;
    for (int depth = 0; depth < 3; ++depth) {
      node = Item<TQelNode>(node);
      node->SetName("Level" + std::to_string(depth));
      node->GetTransformation()->GetRotation()->SetValues(0, 30.0 * depth, 0);
    }
    Box(node, smDefault);
  });

  // A material kept in the node's anchor, and one referenced from outside
  // the tree (written in the file's anchor section).
  Seed("anchor", [](TQelNode* top, TComponent&) {
    auto* kept = new TQelMaterial(top);
    top->GetAnchor()->Add(kept);
    Box(top, smDefault)->SetMaterial(kept);
  });
  Seed("unwritten_ref", [](TQelNode* top, TComponent& owner) {
    auto* outside = new TQelMaterial(&owner);
    outside->SetShininess(90);
    Box(top, smDefault)->SetMaterial(outside);
    Box(top, smDefault)->SetMaterial(outside);
  });
  return 0;
}

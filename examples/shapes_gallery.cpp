// Every generated shape in one picture, drawn headless into a PNG file:
//   shapes_gallery [out.png]          (default shapes.png, 960x640)
// Four rows of shapes on a lit stage, each in its own colour.
#include <qelon/qelon.h>

#include <cmath>
#include <numbers>
#include <cstdio>
#include <string>

namespace {

// Places shape at (x, y) of the gallery's grid, turned to show its depth.
void Place(TQelNode* scene, TQelObject* shape, TColor color, double x, double y) {
  shape->GetColor()->SetColor(color);
  shape->SetColorAsMaterial(cmAmbientDiffuse);
  shape->GetTransformation()->GetTranslation()->SetValues(static_cast<float>(x), static_cast<float>(y), 0);
  shape->GetTransformation()->GetRotation()->SetValues(-60, 0, 20);
  scene->Add(shape);
}

void BuildGallery(TQelNode* scene) {
  auto* attributes = new TQelAttributes(scene);
  attributes->SetLighting(true);
  attributes->SetLightTwoSide(true);  // flat shapes and open surfaces show both faces
  scene->Add(attributes);
  auto* light = new TQelLight(scene);
  light->SetKind(lkDirection);
  light->GetDirection()->SetValues(0.3f, 0.5f, 1);
  scene->Add(light);

  auto* sphere = new TQelSphere(scene);
  sphere->SetRadius(0.7);
  auto* part = new TQelSphere(scene);
  part->SetRadius(0.7), part->SetSweepLongitude(270), part->SetStartLatitude(-45), part->SetSweepLatitude(120);
  auto* cylinder = new TQelCylinder(scene);
  cylinder->SetBottomRadius(0.5), cylinder->SetTopRadius(0.5);
  auto* cone = new TQelCone(scene);
  cone->SetBottomRadius(0.6);
  auto* box = new TQelBox(scene);
  auto* disc = new TQelDisc(scene);
  disc->SetInnerRadius(0.3), disc->SetOuterRadius(0.7), disc->SetSweepAngle(270);
  auto* torus = new TQelTorus(scene);
  torus->SetMajorRadius(0.55), torus->SetMinorRadius(0.18);
  auto* rectangle = new TQelRectangle(scene);
  rectangle->SetWidth(1.2), rectangle->SetHeight(0.8);
  auto* triangle = new TQelTriangle(scene);
  triangle->SetPointsList({{-0.6, -0.5, 0}, {0.6, -0.5, 0}, {0, 0.6, 0}});
  auto* polygon = new TQelPolygon(scene);  // a concave star
  TQelPointList star;
  for (int k = 0; k < 10; ++k) {
    const double r = k % 2 ? 0.3 : 0.7, a = k * std::numbers::pi / 5;
    star.push_back({r * std::sin(a), r * std::cos(a), 0});
  }
  polygon->SetPointsList(star);
  auto* surface = new TQelFunctionSurface(scene);
  surface->SetFunction([](double x, double y) { return 0.25 * std::sin(4 * x) * std::cos(4 * y); });
  surface->SetXMin(-0.6), surface->SetXMax(0.6), surface->SetYMin(-0.6), surface->SetYMax(0.6);
  surface->SetSlices(24), surface->SetStacks(24);
  auto* vase = new TQelRevolutionSurface(scene);
  vase->SetProfile({{0, -0.6, 0}, {0.45, -0.55, 0}, {0.25, 0, 0}, {0.4, 0.45, 0}, {0.3, 0.6, 0}});
  auto* line = new TQelLine(scene);
  line->SetPointsList({{-0.6, -0.5, 0}, {-0.2, 0.5, 0}, {0.2, -0.5, 0}, {0.6, 0.5, 0}});
  auto* points = new TQelPoint(scene);
  TQelPointList dots;
  for (int k = 0; k < 25; ++k) dots.push_back({-0.6 + 0.3 * (k % 5), -0.6 + 0.3 * (k / 5), 0});
  points->SetPointsList(dots);

  TQelObject* shapes[] = {sphere, part, cylinder, cone, box,     disc,  torus,
                          rectangle, triangle, polygon, surface, vase, line,  points};
  const TColor colors[] = {0x3050E0, 0x30A0E0, 0x40C040, 0x20C0C0, 0x2080FF, 0xC060C0, 0x4040D0,
                           0xD0A040, 0x60C0A0, 0x3070F0, 0x40B080, 0xA0A0F0, 0xFFFFFF, 0xFFFFFF};
  for (int i = 0; i < 14; ++i) Place(scene, shapes[i], colors[i], -3.6 + 1.8 * (i % 5), 2 - 2 * (i / 5));
}

}  // namespace

int main(int argc, char** argv) {
  const std::string output = argc > 1 ? argv[1] : "shapes.png";
  QelSetWindowSystem(QelEGLWindowSystem());
  int status = 1;
  {
    TQelNode scene(nullptr);
    BuildGallery(&scene);
    TQelPerspectiveCamera camera(nullptr);
    camera.SetViewFar(40);
    camera.TurnAt({0, 0, 10}, {0, 0, 0});
    TQelView view(nullptr);
    view.SetSize(960, 640);
    view.SetBackgroundColor(0x402E26);
    view.SetCamera(&camera);
    view.OnRender = [&scene](TQelView* v) { scene.Render(v); };
    TBitmap bitmap(960, 640);
    if (view.GetImage(bitmap)) {
      bitmap.SaveToFile(output);
      std::printf("wrote %s\n", output.c_str());
      status = 0;
    } else {
      std::fprintf(stderr, "shapes_gallery: nothing was drawn\n");
    }
  }
  QelSetWindowSystem(nullptr);
  return status;
}

// Controllers seen from the viewer: where a point lands in the picture after
// each action (projected with GLU through the GL matrices the camera sets),
// on a camera and on an object under it; bindings by name, default
// bindings, mouse drags, walking, levelling, resetting, the car and the
// turntable.
#include <GL/glu.h>

#include <cmath>
#include <functional>
#include <memory>

#include "qeltestbed.h"
#include <qelon/qelon.h>

namespace {

const double kPi = 3.14159265358979323846;
double Tan(double degrees) { return std::tan(degrees * kPi / 180); }

// Pixels per unit of tan(angle) in the 256 x 256 test picture (45 degrees).
const double kFocal = 128 / Tan(22.5);

// A view of the test picture's size.
class TSizedView : public TQelCustomView {
public:
  TSizedView(int32_t width, int32_t height) : TQelCustomView(nullptr) { StoreClientSize(width, height); }
};

struct TWin {
  double x, y, depth;  // x right and y up from the picture's centre
};

struct TEye {
  TQelMathVector position, ahead, up;  // in world coordinates
};

class Controllers : public QelGLTest {
protected:
  // Renders the camera and, under it, obj's transformation, and projects p.
  TWin Project(const TQelMathVector& p, TQelTransformed* obj = nullptr) {
    TSizedView view(kWidth, kHeight);
    camera.Render(&view);
    if (obj) obj->GetTransformation()->Execute();
    std::array<double, 16> mv = GetMatrix(GL_MODELVIEW_MATRIX), pr = GetMatrix(GL_PROJECTION_MATRIX);
    GLint vp[4];
    glGetIntegerv(GL_VIEWPORT, vp);
    TWin w{};
    gluProject(p.x, p.y, p.z, mv.data(), pr.data(), vp, &w.x, &w.y, &w.depth);
    return {w.x - kWidth / 2.0, w.y - kHeight / 2.0, w.depth};
  }
  // The eye as the camera's modelview places it.
  TEye Eye() {
    TSizedView view(kWidth, kHeight);
    camera.Render(&view);
    const std::array<double, 16> m = GetMatrix(GL_MODELVIEW_MATRIX);
    TEye e;
    for (int i = 0; i < 3; ++i) e.position[i] = -(m[4 * i] * m[12] + m[4 * i + 1] * m[13] + m[4 * i + 2] * m[14]);
    e.ahead = {-m[2], -m[6], -m[10]};
    e.up = {m[1], m[5], m[9]};
    return e;
  }
  // An object's origin and its local y and z axes in world coordinates.
  static TEye Frame(TQelTransformed& obj) {
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    obj.GetTransformation()->Execute();
    const std::array<double, 16> m = GetMatrix(GL_MODELVIEW_MATRIX);
    return {{m[12], m[13], m[14]}, {m[8], m[9], m[10]}, {m[4], m[5], m[6]}};
  }
  TQelPerspectiveCamera camera{nullptr};
};

::testing::AssertionResult Near(const TQelMathVector& a, const TQelMathVector& b, double tol = 1e-4) {
  if (QelMathVectorDist(a, b) <= tol) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ") vs (" << b.x << ", "
                                       << b.y << ", " << b.z << ")";
}

TQelMathVector Horizontal(TQelMathVector v) {
  v.y = 0;
  QelMathNormalize(v);
  return v;
}

}  // namespace

// Each action once, on the camera and on an object 5 units ahead: the point
// watched moves across the picture the same way in both cases (+1 right or
// up or farther, -1 the other way, 0 stays, 2 not checked).
TEST_F(Controllers, EveryActionMovesThePictureAsAViewerExpects) {
  struct Row {
    TQelControllerAction action;
    TQelMathVector seen, seenOnObject;  // world point; point of the object
    int dx, dy, ddepth;
  };
  const TQelMathVector ahead{0, 0, -5}, centre{0, 0, 0}, nearSide{0, 0, 1};
  const Row rows[] = {
      {caMoveLeft, ahead, centre, +1, 0, 2},      // the scene slides right
      {caMoveRight, ahead, centre, -1, 0, 2},
      {caMoveUp, ahead, centre, 0, -1, 2},
      {caMoveDown, ahead, centre, 0, +1, 2},
      {caMoveForward, ahead, centre, 0, 0, -1},
      {caMoveBack, ahead, centre, 0, 0, +1},
      {caTurnLeft, ahead, nearSide, +1, 0, 2},    // what was ahead goes right
      {caTurnRight, ahead, nearSide, -1, 0, 2},
      {caTurnUp, ahead, nearSide, 0, -1, 2},      // ... and down
      {caTurnDown, ahead, nearSide, 0, +1, 2},
      {caRollLeft, {1, 0, -5}, {1, 0, 0}, 2, -1, 2},  // the horizon turns clockwise
      {caRollRight, {1, 0, -5}, {1, 0, 0}, 2, +1, 2},
  };
  auto check = [](const Row& r, const TWin& before, const TWin& after, const char* what) {
    const double d[3] = {after.x - before.x, after.y - before.y, (after.depth - before.depth) * 1e4};
    const int expected[3] = {r.dx, r.dy, r.ddepth};
    for (int k = 0; k < 3; ++k) {
      if (expected[k] == 2) continue;
      if (expected[k] == 0)
        EXPECT_NEAR(d[k], 0, 0.01) << what << " " << TQelControllerActionStr[r.action] << " " << k;
      else
        EXPECT_GT(d[k] * expected[k], 0.5) << what << " " << TQelControllerActionStr[r.action] << " " << k;
    }
  };
  for (const Row& r : rows) {
    camera.GetTransformation()->Clear();
    camera.GetTransformation()->GetScale()->SetValues(-1, -1, -1);
    TQelCustomController controller(nullptr);
    controller.SetTurnAngle(5);
    controller.SetControlled(&camera);
    TWin before = Project(r.seen);
    ASSERT_TRUE(controller.DoAction(r.action, 1.0));
    check(r, before, Project(r.seen), "camera");

    camera.GetTransformation()->Clear();
    camera.GetTransformation()->GetScale()->SetValues(-1, -1, -1);
    TQelObject object(nullptr);
    object.GetTransformation()->GetTranslation()->SetValues(0, 0, -5);
    TQelCustomController objectController(nullptr);
    objectController.SetTurnAngle(5);
    objectController.SetControlled(&object);
    objectController.SetCamera(&camera);
    before = Project(r.seenOnObject, &object);
    ASSERT_TRUE(objectController.DoAction(r.action, 1.0));
    check(r, before, Project(r.seenOnObject, &object), "object");
  }
}

// A drag turns or moves by one step per 30 pixels (a drag to the left or
// down counts positive): where the point 5 units ahead lands, by hand.
TEST_F(Controllers, MouseDragsStepOncePerThirtyPixels) {
  struct Row {
    TMouseButton button;
    bool switched;
    int toX, toY;  // from (100, 100)
    TQelMathVector seen;
    double x, y;  // expected window position from the centre
  };
  const double turn = kFocal * Tan(1.6), halfTurn = kFocal * Tan(0.8);
  const Row rows[] = {
      {mbLeft, false, 70, 100, {0, 0, -5}, turn, 0},        // TurnLeft 1.6 degrees
      {mbLeft, false, 85, 100, {0, 0, -5}, halfTurn, 0},
      {mbLeft, false, 130, 100, {0, 0, -5}, -turn, 0},      // TurnLeft -1.6
      {mbLeft, false, 100, 130, {0, 0, -5}, 0, turn},       // TurnDown 1.6: what was ahead rises
      {mbRight, false, 70, 100, {0, 0, -5}, kFocal * 0.07 / 5, 0},  // MoveLeft 0.07
      {mbRight, false, 100, 130, {1, 0, -5}, kFocal / 5.07, 0},     // MoveBack 0.07
      {mbLeft, true, 70, 100, {0, 0, -5}, kFocal * 0.07 / 5, 0},    // switched: the right's move
      {mbRight, true, 70, 100, {0, 0, -5}, turn, 0},
      {mbMiddle, false, 70, 100, {0, 0, -5}, 0, 0},         // no action
  };
  for (const Row& r : rows) {
    camera.GetTransformation()->Clear();
    camera.GetTransformation()->GetScale()->SetValues(-1, -1, -1);
    TQelMouseController mouse(nullptr);
    mouse.SetSwitchButtons(r.switched);
    mouse.SetControlled(&camera);
    EXPECT_FALSE(mouse.HandleMouseDown(r.button, {}, 100, 100));
    EXPECT_EQ(mouse.HandleMouseMove({}, r.toX, r.toY), r.button != mbMiddle);
    EXPECT_FALSE(mouse.HandleMouseUp(r.button, {}, r.toX, r.toY));
    EXPECT_FALSE(mouse.HandleMouseMove({}, 0, 0));  // released: nothing
    const TWin w = Project(r.seen);
    EXPECT_NEAR(w.x, r.x, 0.02) << r.button << " to " << r.toX << "," << r.toY;
    EXPECT_NEAR(w.y, r.y, 0.02) << r.button << " to " << r.toX << "," << r.toY;
  }
}

TEST_F(Controllers, WalkingForwardMovesAlongTheViewByOneStepPerKey) {
  camera.TurnAt({1, 2, 3}, {4, 0, -1});
  TQelPersonController person(nullptr);
  person.SetControlled(&camera);
  EXPECT_EQ(person.GetCamera(), &camera);
  const TEye start = Eye();
  for (int n = 0; n < 3; ++n) EXPECT_TRUE(person.HandleKey(VK_UP, {}));
  TEye e = Eye();
  EXPECT_TRUE(Near(e.position, {start.position.x + 0.3 * start.ahead.x, start.position.y + 0.3 * start.ahead.y,
                                start.position.z + 0.3 * start.ahead.z}));
  EXPECT_TRUE(Near(e.ahead, start.ahead));
  EXPECT_TRUE(person.HandleKey(VK_DOWN, {}));
  EXPECT_NEAR(QelMathVectorDist(Eye().position, start.position), 0.2, 1e-4);
  // Eye height: straight up, the view unchanged.
  person.SetEyeHeight(7);
  e = Eye();
  EXPECT_NEAR(e.position.y, 7, 1e-4);
  EXPECT_NEAR(person.GetEyeHeight(), 7, 1e-4);
  EXPECT_TRUE(Near(e.ahead, start.ahead));
  // Reset brings the placement of SetControlled back.
  EXPECT_TRUE(person.HandleKey('R', {}));
  EXPECT_TRUE(Near(Eye().position, start.position));
  EXPECT_TRUE(Near(Eye().ahead, start.ahead));
}

// Adjust (key A) and HeadForward level the view: no roll, no pitch, the same
// heading and position; looking straight down, the top of the picture gives
// the heading.
TEST_F(Controllers, AdjustLevelsWithoutMoving) {
  struct Row {
    double up, roll, left;  // degrees turned before levelling
    bool object, headForward;
  };
  const Row rows[] = {{20, 15, 30, false, false}, {-35, -70, 200, false, true}, {-90, 0, 0, false, false},
                      {20, 15, 30, true, false},  {80, 170, -60, true, true}};
  for (const Row& r : rows) {
    camera.TurnAt({1, 2, 3}, {4, 2, -1});
    TQelObject object(nullptr);
    object.GetTransformation()->GetTranslation()->SetValues(1, -1, -6);
    TQelPersonController person(nullptr);
    person.SetTurnAngle(1);
    person.SetCamera(&camera);
    person.SetControlled(r.object ? static_cast<TQelTransformed*>(&object) : &camera);
    person.TurnY(r.left);
    person.TurnX(-r.up);
    person.TurnZ(-r.roll);
    const TEye before = r.object ? Frame(object) : Eye();
    if (r.headForward)
      person.HeadForward();
    else
      EXPECT_TRUE(person.HandleKey('A', {}));
    const TEye after = r.object ? Frame(object) : Eye();
    EXPECT_TRUE(Near(after.position, before.position)) << r.up << " " << r.roll;
    EXPECT_TRUE(Near(after.up, {0, 1, 0})) << r.up << " " << r.roll;
    EXPECT_NEAR(after.ahead.y, 0, 1e-4);
    // The heading kept; straight down, the picture's top was the heading.
    const TQelMathVector heading = r.up == -90 ? Horizontal(before.up) : Horizontal(before.ahead);
    EXPECT_TRUE(Near(Horizontal(after.ahead), heading)) << r.up << " " << r.roll;
  }
}

TEST_F(Controllers, BindingsByName) {
  struct Row {
    const char* text;
    int32_t code;  // -2: the slot keeps what it had
    const char* back;
  };
  const Row rows[] = {
      {"mouseleftx", 0x10000, "MouseLeftX"}, {"MOUSELEFTY", 0x20000, "MouseLeftY"},
      {"MouseRightX", 0x30000, "MouseRightX"}, {"mouserighty", 0x40000, "MouseRightY"},
      {"(None)", -1, "(None)"},            {"", -1, "(None)"},
      {"Left", 37, "Left"},                 {"up", 38, "Up"},
      {"Right", 39, "Right"},               {"Down", 40, "Down"},
      {"PgUp", 33, "PgUp"},                 {"Page Down", 34, "PgDn"},
      {"Home", 36, "Home"},                 {"End", 35, "End"},
      {"Ins", 45, "Ins"},                   {"Delete", 46, "Del"},
      {"Esc", 27, "Esc"},                   {"Space", 32, "Space"},
      {"Enter", 13, "Enter"},               {"Tab", 9, "Tab"},
      {"a", 65, "A"},                       {"7", 55, "7"},
      {"F1", 112, "F1"},                    {"F12", 123, "F12"},
      {"Ctrl+Shift+F5", 0x6074, "Ctrl+Shift+F5"}, {"shift+ctrl+f5", 0x6074, "Ctrl+Shift+F5"},
      {"Alt+X", 0x8058, "Alt+X"},           {"Shift+Up", 0x2026, "Shift+Up"},
      {"Ctrl+Alt+Del", 0xC02E, "Ctrl+Alt+Del"},
      {"F13", -2, nullptr},                 {"Ctrl+", -2, nullptr},
      {"Mouse", -2, nullptr},               {"Ctrl+Q+", -2, nullptr},
  };
  for (const Row& r : rows) {
    TQelControllerActions actions;
    actions.SetCode(caMoveLeft, 0x4051);  // Ctrl+Q
    actions.SetAction(caMoveLeft, r.text);
    EXPECT_EQ(actions.GetCode(caMoveLeft), r.code == -2 ? 0x4051 : r.code) << r.text;
    if (r.back) EXPECT_EQ(actions.GetMoveLeft(), r.back) << r.text;
  }
  TQelControllerActions actions;
  actions.SetAction(QelActionCount, "A");  // out of range: ignored
  actions.SetAdjust("Shift+A");
  TQelControllerActions copy;
  copy.Assign(&actions);
  EXPECT_EQ(copy.GetAction(caAdjust), "Shift+A");
  EXPECT_EQ(copy.GetAction(caReset), "(None)");
  EXPECT_EQ(copy.GetAction(QelActionCount), "");
}

// The key bindings each controller starts with, by name, as keys reach them.
TEST_F(Controllers, DefaultBindings) {
  using Factory = std::function<TQelCustomController*()>;
  struct Row {
    Factory make;
    const char* bindings[QelActionCount];
  };
  const char* n = "(None)";
  const Row rows[] = {
      {[] { return new TQelCustomController(nullptr); }, {n, n, n, n, n, n, n, n, n, n, n, n, "R", "A"}},
      {[] { return new TQelPersonController(nullptr); },
       {n, n, n, n, "Up", "Down", "Left", "Right", "PgUp", "PgDn", n, n, "R", "A"}},
      {[] { return new TQelMouseController(nullptr); },
       {"MouseRightX", n, "Up", "Down", n, "MouseRightY", "MouseLeftX", n, n, "MouseLeftY", "Left", "Right",
        "R", "A"}},
      {[] { return new TQelCarController(nullptr); }, {n, n, n, n, n, n, n, n, n, n, n, n, "R", "A"}},
      {[] { return new TQelPresentationController(nullptr); },
       {n, n, n, n, n, n, n, n, n, n, n, n, "R", "A"}},
  };
  for (const Row& r : rows) {
    std::unique_ptr<TQelCustomController> c(r.make());
    for (int i = 0; i < QelActionCount; ++i)
      EXPECT_EQ(c->GetActions()->GetAction(i), r.bindings[i]) << c->ClassName() << " " << i;
    // Without a Controlled component every key and action is ignored.
    for (uint16_t key : {uint16_t('R'), uint16_t('A'), VK_UP, VK_DOWN, VK_LEFT, VK_RIGHT, VK_PRIOR, VK_NEXT, VK_END})
      EXPECT_FALSE(c->HandleKey(key, {})) << c->ClassName() << " " << key;
    for (int i = 0; i < QelActionCount; ++i) EXPECT_FALSE(c->DoAction(i, 1.0));
  }
  TQelMouseController mouse(nullptr);
  EXPECT_DOUBLE_EQ(mouse.GetTurnAngle(), 1.6);
  EXPECT_DOUBLE_EQ(mouse.GetStepLength(), 0.07);
  TQelCustomController base(nullptr);
  EXPECT_DOUBLE_EQ(base.GetTurnAngle(), 1.0);
  EXPECT_DOUBLE_EQ(base.GetStepLength(), 0.1);
  // Shift state counts: Shift+R is not R.
  base.SetControlled(&camera);
  EXPECT_FALSE(base.HandleKey('R', {ssShift}));
  EXPECT_TRUE(base.HandleKey('R', {ssLeft}));  // buttons held do not
}

TEST_F(Controllers, CarSpeeds) {
  struct Row {
    const char* what;
    std::function<void(TQelCarController&)> run;
    double speed;
  };
  auto keys = [](uint16_t key, int n) {
    return [=](TQelCarController& car) {
      for (int i = 0; i < n; ++i) EXPECT_TRUE(car.HandleKey(key, {}));
    };
  };
  const Row rows[] = {
      {"four Up", keys(VK_UP, 4), 0.2},
      {"twenty-four Up", keys(VK_UP, 24), 1.0},
      {"Down from 0.05", [&](TQelCarController& c) { keys(VK_UP, 1)(c); keys(VK_DOWN, 1)(c); }, 0.0},
      {"reverse allowed", [&](TQelCarController& c) { c.SetReverseSpeed(-0.3); keys(VK_DOWN, 5)(c); }, -0.3},
      {"max lowered", [&](TQelCarController& c) { keys(VK_UP, 10)(c); c.SetMaxSpeed(0.2); }, 0.2},
      {"negative max ignored", [&](TQelCarController& c) { c.SetMaxSpeed(-1); keys(VK_UP, 30)(c); }, 1.0},
      {"positive reverse ignored", [&](TQelCarController& c) { c.SetReverseSpeed(0.5); }, 0.0},
      {"set above max", [](TQelCarController& c) { c.SetCurrentSpeed(5); }, 1.0},
      {"set below reverse", [](TQelCarController& c) { c.SetCurrentSpeed(-5); }, 0.0},
      {"negative acceleration ignored",
       [&](TQelCarController& c) { c.SetAcceleration(-1); keys(VK_UP, 1)(c); }, 0.05},
      {"stop", [&](TQelCarController& c) { keys(VK_UP, 3)(c); c.Stop(); }, 0.0},
  };
  for (const Row& r : rows) {
    TQelCarController car(nullptr);
    car.SetControlled(&camera);
    r.run(car);
    EXPECT_NEAR(car.GetCurrentSpeed(), r.speed, 1e-12) << r.what;
  }
  TQelCarController car(nullptr);
  car.SetControlled(&camera);
  EXPECT_FALSE(car.HandleKey(VK_HOME, {}));
  EXPECT_FALSE(car.HandleKey('R', {}));  // the action table is not consulted
}

// Driving: Left steers left (what was ahead goes right), a tick rolls on by
// the speed along the view.
TEST_F(Controllers, CarDrivesWhereItLooks) {
  TQelCarController car(nullptr);
  car.SetTurnAngle(10);
  car.SetControlled(&camera);
  EXPECT_FALSE(car.Tick());  // standing
  EXPECT_TRUE(car.HandleKey(VK_LEFT, {}));
  EXPECT_NEAR(Project({0, 0, -5}).x, kFocal * Tan(10), 0.02);
  for (int i = 0; i < 4; ++i) car.HandleKey(VK_UP, {});
  const TEye start = Eye();
  EXPECT_TRUE(car.Tick());
  const TEye e = Eye();
  EXPECT_TRUE(Near(e.position, {start.position.x + 0.2 * start.ahead.x, start.position.y,
                                start.position.z + 0.2 * start.ahead.z}));
}

// The turntable: keys set the mode and the distance; each tick a camera
// looking at the centre circles it (to its left for pmLeft) and keeps
// looking at it.
TEST_F(Controllers, PresentationTurnsAboutTheCentre) {
  camera.TurnAt({0, 0, 5}, {0, 0, 0});
  const TWin before = Project({0, 0, 0});
  TQelPresentationController p(nullptr);
  p.SetTurnAngle(10);
  p.SetControlled(&camera);
  const TWin kept = Project({0, 0, 0});
  EXPECT_NEAR(kept.x, before.x, 1e-6);  // the placement survives the new order
  EXPECT_NEAR(kept.depth, before.depth, 1e-6);
  EXPECT_FALSE(p.Tick());  // pmStop
  struct Row {
    uint16_t key;
    bool handled;
    TQelPresentationMode mode;
    double distance;
  };
  const Row rows[] = {{VK_LEFT, true, pmLeft, 5},  {VK_UP, true, pmLeft, 5.1},  {VK_HOME, false, pmLeft, 5.1},
                      {VK_DOWN, true, pmLeft, 5},  {VK_RIGHT, true, pmRight, 5}, {VK_END, true, pmStop, 5},
                      {VK_LEFT, true, pmLeft, 5}};
  for (const Row& r : rows) {
    EXPECT_EQ(p.HandleKey(r.key, {}), r.handled) << r.key;
    EXPECT_EQ(p.GetMode(), r.mode) << r.key;
    EXPECT_NEAR(QelMathVectorLength(Eye().position), r.distance, 1e-5) << r.key;
  }
  EXPECT_TRUE(p.Tick());
  const TEye e = Eye();
  EXPECT_NEAR(e.position.x, -5 * std::sin(10 * kPi / 180), 1e-4);  // to the camera's left
  EXPECT_NEAR(QelMathVectorLength(e.position), 5, 1e-4);
  const TWin centre = Project({0, 0, 0});
  EXPECT_NEAR(centre.x, 0, 0.01);
  EXPECT_NEAR(centre.y, 0, 0.01);
}

TEST_F(Controllers, ForgetsWhatIsDestroyed) {
  TQelMouseController mouse(nullptr);
  {
    TQelPerspectiveCamera other(nullptr);
    mouse.SetControlled(&other);
    EXPECT_EQ(mouse.GetCamera(), &other);
  }
  EXPECT_EQ(mouse.GetControlled(), nullptr);
  EXPECT_EQ(mouse.GetCamera(), nullptr);
  EXPECT_FALSE(mouse.HandleKey(VK_UP, {}));
}

// Controllers in scene files: what is saved is read back into a fresh
// controller; bindings left at their defaults are not written.
#include "../exchange/exchangetest.h"

using ControllerExchange = qeltest::ExchangeTest;

TEST_F(ControllerExchange, PublishedValuesComeBack) {
  TQelCarController car(nullptr);
  car.SetStepLength(0.25);
  car.SetTurnAngle(3);
  car.SetMaxSpeed(2);
  car.SetReverseSpeed(-0.5);
  car.SetCurrentSpeed(0.75);
  car.SetAcceleration(0.2);
  car.SetBraking(0.3);
  car.GetActions()->SetMoveLeft("Ctrl+Shift+F5");
  car.GetActions()->SetReset("(None)");
  ASSERT_TRUE(ex.SaveToFile(File("car.xml"), &car));
  const std::string text = qeltest::ReadFile(File("car.xml"));
  EXPECT_NE(text.find("MoveLeft=\"Ctrl+Shift+F5\""), std::string::npos) << text;
  EXPECT_EQ(text.find("Adjust="), std::string::npos) << text;  // still the default A

  TQelCarController loaded(nullptr);
  ASSERT_TRUE(ex.LoadFromFile(File("car.xml"), &loaded));
  EXPECT_DOUBLE_EQ(loaded.GetStepLength(), 0.25);
  EXPECT_DOUBLE_EQ(loaded.GetTurnAngle(), 3);
  EXPECT_DOUBLE_EQ(loaded.GetMaxSpeed(), 2);
  EXPECT_DOUBLE_EQ(loaded.GetReverseSpeed(), -0.5);
  EXPECT_DOUBLE_EQ(loaded.GetCurrentSpeed(), 0.75);
  EXPECT_DOUBLE_EQ(loaded.GetAcceleration(), 0.2);
  EXPECT_DOUBLE_EQ(loaded.GetBraking(), 0.3);
  for (int i = 0; i < QelActionCount; ++i)
    EXPECT_EQ(loaded.GetActions()->GetAction(i), car.GetActions()->GetAction(i)) << i;

  TQelMouseController mouse(nullptr);
  mouse.SetSwitchButtons(true);
  TQelPresentationController turntable(nullptr);
  turntable.SetMode(pmRight);
  turntable.SetDistanceStep(0.5);
  ASSERT_TRUE(ex.SaveToFile(File("mouse.xml"), &mouse));
  ASSERT_TRUE(ex.SaveToFile(File("turntable.xml"), &turntable));
  TQelMouseController mouseLoaded(nullptr);
  TQelPresentationController turntableLoaded(nullptr);
  ASSERT_TRUE(ex.LoadFromFile(File("mouse.xml"), &mouseLoaded));
  ASSERT_TRUE(ex.LoadFromFile(File("turntable.xml"), &turntableLoaded));
  EXPECT_TRUE(mouseLoaded.GetSwitchButtons());
  EXPECT_DOUBLE_EQ(mouseLoaded.GetTurnAngle(), 1.6);
  EXPECT_EQ(turntableLoaded.GetMode(), pmRight);
  EXPECT_DOUBLE_EQ(turntableLoaded.GetDistanceStep(), 0.5);
}

#pragma once
// The test bed: a fixture that gives each test a fresh headless GL context
// (made current for the whole test) and the GL call recorder.
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <vector>

#include "glrecorder.h"
#include "qelon/platform/qelegl.h"

class QelGLTest : public ::testing::Test {
protected:
  static constexpr int kWidth = 256;
  static constexpr int kHeight = 256;
  void SetUp() override;
  void TearDown() override;

  // The current GL matrix of that mode (GL_MODELVIEW_MATRIX, ...).
  static std::array<double, 16> GetMatrix(GLenum which);
  // RGBA of one pixel, y counted from the bottom as GL does.
  static std::array<uint8_t, 4> ReadPixel(int x, int y);
  static GLenum Error() { return glGetError(); }
  // A test that provokes GL errors on purpose says so; otherwise every error
  // still pending when the test ends fails it.
  void ExpectGLErrors() { glErrorsExpected_ = true; }

  std::unique_ptr<TQelOffscreenContext> context;

private:
  bool glErrorsExpected_ = false;
};

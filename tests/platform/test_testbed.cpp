// The test bed itself: a real GL context, and a recorder that sees the
// library's calls with their arguments.
#include "qeltestbed.h"

#include <cfenv>
#include <cmath>

using qeltest::GLCall;
using qeltest::GLRecorder;

TEST_F(QelGLTest, ContextIsCurrentWithCompatibilityFeatures) {
  EXPECT_TRUE(context->IsCurrent());
  const char* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
  ASSERT_NE(version, nullptr);
  // Fixed-function state the library relies on.
  GLint depthBits = 0, stencilBits = 0;
  glGetIntegerv(GL_DEPTH_BITS, &depthBits);
  glGetIntegerv(GL_STENCIL_BITS, &stencilBits);
  EXPECT_GE(depthBits, 24);
  EXPECT_GE(stencilBits, 8);
  glClearColor(1, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  EXPECT_EQ(ReadPixel(3, 3), (std::array<uint8_t, 4>{255, 0, 0, 255}));
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(QelGLTest, SelectionModeWorks) {
  GLuint buffer[64] = {};
  glSelectBuffer(64, buffer);
  glRenderMode(GL_SELECT);
  glInitNames();
  glPushName(7);
  glBegin(GL_TRIANGLES);
  glVertex2f(-1, -1); glVertex2f(1, -1); glVertex2f(0, 1);
  glEnd();
  glPopName();
  EXPECT_EQ(glRenderMode(GL_RENDER), 1);
  EXPECT_EQ(buffer[0], 1u);
  EXPECT_EQ(buffer[3], 7u);
}

TEST_F(QelGLTest, RecorderLogsCallsWithArgumentsAndForwardsThem) {
  GLRecorder rec;
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glScalef(-1, -1, -1);
  glTranslatef(0, 0.5f, 0);
  const GLfloat ambient[4] = {0.2f, 0.2f, 0.2f, 1};
  glLightfv(GL_LIGHT0, GL_AMBIENT, ambient);
  EXPECT_EQ(rec.Calls(), (std::vector<std::string>{
                             GLCall("glMatrixMode", GL_MODELVIEW),
                             "glLoadIdentity()",
                             "glScalef(-1,-1,-1)",
                             "glTranslatef(0,0.5,0)",
                             "glLightfv(16384,4608,[0.2,0.2,0.2,1])",
                         }));
  // The calls reached the driver.
  auto m = GetMatrix(GL_MODELVIEW_MATRIX);
  EXPECT_EQ(m[0], -1.0);
  EXPECT_EQ(m[13], -0.5);
}

TEST_F(QelGLTest, RecorderShowsGluCallsButNotWhatGluDoesInside) {
  GLRecorder rec;
  gluPerspective(45, 1, 0.1, 10);
  EXPECT_EQ(rec.Names(), std::vector<std::string>{"gluPerspective"});
}

TEST(FloatingPoint, ExceptionsMaskedAndRoundToNearestAfterLoad) {
  EXPECT_EQ(std::fegetround(), FE_TONEAREST);
  volatile double zero = 0;
  EXPECT_TRUE(std::isinf(1.0 / zero));  // no trap
}

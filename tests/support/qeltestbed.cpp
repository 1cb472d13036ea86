#include "qeltestbed.h"

void QelGLTest::SetUp() {
  context = std::make_unique<TQelOffscreenContext>(kWidth, kHeight);
  ASSERT_TRUE(context->MakeCurrent());
  glViewport(0, 0, kWidth, kHeight);
}

void QelGLTest::TearDown() {
  // Views make their own contexts current and release them; the errors of
  // the fixture's context are read in it.
  if (context && context->MakeCurrent())
    for (GLenum e; (e = glGetError()) != GL_NO_ERROR;)
      if (!glErrorsExpected_)
        ADD_FAILURE() << "GL error left at the end of the test: "
                      << reinterpret_cast<const char*>(gluErrorString(e));
  context.reset();
}

std::array<double, 16> QelGLTest::GetMatrix(GLenum which) {
  std::array<double, 16> m{};
  glGetDoublev(which, m.data());
  return m;
}

std::array<uint8_t, 4> QelGLTest::ReadPixel(int x, int y) {
  std::array<uint8_t, 4> p{};
  glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p.data());
  return p;
}

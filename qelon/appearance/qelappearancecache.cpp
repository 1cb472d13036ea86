#include "qelappearancecache.h"

#include <GL/gl.h>

bool QelAppearanceRecording() {
  GLint list = 0;
  glGetIntegerv(GL_LIST_INDEX, &list);
  return list != 0;
}

#include "qelview.h"

#include <GL/gl.h>

// The depth, colour-mask and stencil settings of the view: each setter
// stores its value and, when the view has a context, applies the whole
// set at once, so that the stencil operations always match the depth test
// and the channels written.

void TQelView::SetDrawValues(TQelDrawValues value) {
  WithCurrent([&] {
    glColorMask(value.Contains(dvRed), value.Contains(dvGreen), value.Contains(dvBlue),
                value.Contains(dvAlpha));
    glDepthMask(value.Contains(dvDepth));
    drawValues_ = value;
    UpdateStencilSettings();
  });
  drawValues_ = value;
}

void TQelView::SetDepthTestEnabled(bool value) {
  WithCurrent([&] {
    glDepthFunc(value ? GL_LESS : GL_ALWAYS);
    depthTestEnabled_ = value;
    UpdateStencilSettings();
  });
  depthTestEnabled_ = value;
}

void TQelView::SetStencilTestEnabled(bool value) {
  stencilTestEnabled_ = value;
  UpdateStencilSettings();
}

void TQelView::SetStencilReference(int32_t value) {
  if (value == stencilReference_) return;
  stencilReference_ = value;
  UpdateStencilSettings();
}

void TQelView::SetStencilMask(uint32_t value) {
  stencilMask_ = value;
  UpdateStencilSettings();
}

void TQelView::SetStencilTest(uint32_t value) {
  stencilTest_ = value;
  UpdateStencilSettings();
}

void TQelView::SetStencilOp(TQelStencilOp value) {
  if (value == stencilOp_ || value < soRef || value > soInvert) return;
  stencilOp_ = value;
  UpdateStencilSettings();
}

void TQelView::UpdateStencilSettings() {
  WithCurrent([this] { ApplyStencilSettings(); });
}

void TQelView::ApplyStencilSettings() {
  bool enable = false;
  GLenum passOp = GL_KEEP;
  if (drawValues_.Contains(dvStencil)) {
    passOp = stencilOp_ == soInvert ? GL_INVERT : GL_REPLACE;
    enable = true;
  }
  const GLenum depthFailOp = depthTestEnabled_ ? GL_KEEP : passOp;
  GLenum failOp, function;
  if (stencilTestEnabled_) {
    failOp = GL_KEEP;
    function = stencilTest_;
    enable = true;
  } else {
    failOp = depthFailOp;
    function = GL_ALWAYS;
  }
  glStencilFunc(function, stencilReference_, stencilMask_);
  glStencilOp(failOp, depthFailOp, passOp);
  if (enable)
    glEnable(GL_STENCIL_TEST);
  else
    glDisable(GL_STENCIL_TEST);
}

void TQelView::SetStencilMode(TQelStencilMode mode) {
  switch (mode) {
    case smDrawStencil:
    case smInvertStencil:
      SetStencilTestEnabled(false);
      SetStencilReference(1);
      SetStencilOp(mode == smDrawStencil ? soRef : soInvert);
      SetDepthTestEnabled(false);
      SetDrawValues({dvStencil});
      break;
    case smApplyStencil:
    case smIgnoreStencil:
      // Alpha is left out of the colour channels here on purpose.
      SetStencilTestEnabled(mode == smApplyStencil);
      SetStencilReference(1);
      SetDepthTestEnabled(true);
      SetDrawValues({dvRed, dvBlue, dvGreen, dvDepth});
      break;
  }
}

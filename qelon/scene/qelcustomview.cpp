#include "qelcustomview.h"

#include "qelon/scene/qelrenderstate.h"

TQelCustomView::TQelCustomView(TComponent* AOwner)
    : TComponent(AOwner), renderState_(&TQelRenderState::Shared()) {}

TQelCustomView::~TQelCustomView() { Destroying(); }

int32_t TQelCustomView::GetNextID(TObject* obj, int32_t num) {
  ++nextID_;
  if (OnNextID) OnNextID(obj, num);
  return nextID_;
}

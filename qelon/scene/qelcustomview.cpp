#include "qelcustomview.h"

TQelCustomView::TQelCustomView(TComponent* AOwner) : TComponent(AOwner) {}

TQelCustomView::~TQelCustomView() { Destroying(); }

int32_t TQelCustomView::GetNextID(TObject* obj, int32_t num) {
  ++nextID_;
  if (OnNextID) OnNextID(obj, num);
  return nextID_;
}

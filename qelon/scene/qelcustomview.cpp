#include "qelcustomview.h"

const char* const TQelDrawingModeStr[5] = {"dmIdle", "dmPaint", "dmBitmap", "dmSelect",
                                           "dmPointQuery"};

TQelCustomView::TQelCustomView(TComponent* AOwner) : TComponent(AOwner) {}

TQelCustomView::~TQelCustomView() { Destroying(); }

int32_t TQelCustomView::GetNextID(TObject* obj, int32_t num) {
  ++nextID_;
  if (OnNextID) OnNextID(obj, num);
  return nextID_;
}

#include "qelcam.h"

TQelCamera::TQelCamera(TComponent* AOwner) : TQelTransformed(AOwner) {
  projectionMatrix_ = std::make_unique<TQelMatrix>();
}

TQelMathVector TQelCamera::ProjectVector(TQelTransformed* transformed,
                                         const TQelMathVector& vector) {
  TQelMathVector result = ZEROVEC;
  if (projectionMatrix_ && transformed && transformed->GetProjectionMatrix())
    result = projectionMatrix_->ProjectMatrix(*transformed->GetProjectionMatrix(), vector);
  return result;
}

#pragma once
// Cameras: the projection and viewing transformation of a view.
#include "qelon/scene/qelcomp.h"

// The camera base as far as render components need it: a placement and the
// projection matrix, which always exists so that ProjectVector works after
// the camera has rendered.
class TQelCamera : public TQelTransformed {
  QEL_CLASS(TQelCamera)
public:
  explicit TQelCamera(TComponent* AOwner);

  // vector carried from transformed's frame into the camera's frame; the
  // zero vector unless transformed has a projection matrix too.
  virtual TQelMathVector ProjectVector(TQelTransformed* transformed, const TQelMathVector& vector);
};

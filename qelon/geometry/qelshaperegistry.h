#pragma once
// Private to the library: registers its shape classes by name when it loads,
// as classes whose drawing operations are the library's own.
#include "qelon/scene/qelrenderstate.h"

// `const TQelRegisterShapes<TQelSphere> registered;` in the shape's file.
template <class... Shapes>
struct TQelRegisterShapes {
  TQelRegisterShapes() { (RegisterLibraryRenderClass<Shapes>(), ...); }
};


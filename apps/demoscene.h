#pragma once
// The demo scene of the qelon program: a checkered floor, a textured crate,
// a pyramid and a sphere cut open by a clip plane, lit by a directional
// light, with a shared material, attributes and fog. Every item is a
// library class and every mesh is stored in full, so the scene saves to a
// scene file and loads back as it is.
#include <qelon/qelon.h>

// The background the scene's fog fades into.
constexpr TColor kDemoBackground = 0x402E26;  // red 0x26, green 0x2E, blue 0x40

// Adds the scene's items to scene, which owns them.
void BuildDemoScene(TQelNode* scene);

// Where the demo camera looks from, seen from what it looks at: above, in
// front and to the right.
inline constexpr TQelMathVector kDemoViewDirection{3.5, 2.8, 6.5};

// Puts camera where it sees the whole scene.
void PlaceDemoCamera(TQelCamera* camera);

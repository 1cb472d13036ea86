#pragma once
// The demo scene of the qelon program: a checkered floor, a box, a pyramid
// and a sphere cut open by a clip plane, lit by a directional light, with
// a shared material, attributes and fog.
#include <qelon/qelon.h>

// The background the scene's fog fades into.
constexpr TColor kDemoBackground = 0x402E26;  // red 0x26, green 0x2E, blue 0x40

// Adds the scene's items to scene, which owns them.
void BuildDemoScene(TQelNode* scene);

// Puts camera where it sees the whole scene.
void PlaceDemoCamera(TQelCamera* camera);

#pragma once
// What the appearance caches (last-rendered material, attributes, texture)
// need to stay correct around display lists.

// Whether a display list is being recorded now. A material, attributes or
// texture that is already current must still issue its state then, or the
// list would replay without it.
bool QelAppearanceRecording();

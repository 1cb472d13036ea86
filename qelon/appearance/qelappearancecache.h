#pragma once
// What the appearance caches (last-rendered material, attributes, texture)
// need to stay correct around display lists.

// Whether a display list is being recorded now. A material, attributes or
// texture that is already current must still issue its state then, or the
// list would replay without it.
bool QelAppearanceRecording();

// Forgets the last-rendered material, attributes and texture, so the next
// ones issue their state in full. Run by the view every frame, when a
// display list starts recording and after every replay.
void QelForgetAppearanceState();

#pragma once
// Point labels: the numbers of a store's points drawn as seven-segment
// strokes, for looking at a mesh's numbering.
#include "qelon/geometry/qelprimclasses.h"
#include "qelon/scene/qelobj.h"

// A new node (owned by AOwner) holding one label per point in use: a mesh
// of GL_LINES that writes the point number in seven-segment strokes of the
// given height in its own x-y plane, lower left corner at the point,
// ObjectName the number. Picking a label names its point.
TQelNode* QelCreatePointLabels(const TQelPrimitivePoints& points, double size, TComponent* AOwner);

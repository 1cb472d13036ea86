#pragma once
// The GL state that consecutive objects set and reset again and again.
//
// Drawing a mesh enables its client arrays, sets the object colour, switches
// texturing off, draws, disables every client array and resets the edge
// flag; the next mesh starts by undoing most of that. Issued literally,
// these pairs cost more driver time than the draw itself. This module
// remembers what the library's own render code set, so that:
// - a reset that the next item of the same node would undo at once is held
//   back (only between items the library knows; see TQelGLStateKeep);
// - a value that an earlier item already made current is not set again.
// Each item's own calls stay complete: a mesh drawn alone issues exactly
// the calls its render protocol lists.
// Before any code the library does not own can run (events, classes derived
// by an application, the end of the outermost Render, display-list
// boundaries), QelGLStateFlush issues what was held back and forgets what
// it knew, so that such code sees exactly the state that literal calls
// would have left. Library code that draws in another way than a mesh must
// flush first too.
#include <GL/gl.h>

#include <typeinfo>

#include "qelon/scene/qelcomp.h"

// Issues the resets held back and forgets every remembered value.
void QelGLStateFlush();

// Client arrays. Enabling an array that a held-back reset would have
// disabled keeps it enabled. Disabling resets all five arrays (normal,
// colour, texture coordinates, edge flags, vertex, in this order) and the
// edge flag, or holds that back while a TQelGLStateKeep allows it.
void QelGLStateEnableArray(GLenum array);
// Call once a mesh has enabled its arrays and before it draws: arrays still
// held enabled for it that it does not use are disabled now.
void QelGLStateArraysEnabled();
void QelGLStateDisableArrays();

// GL_TEXTURE_2D and the current colour.
void QelGLStateEnableTexture2D();
void QelGLStateDisableTexture2D();
void QelGLStateColor(const GLfloat color[4]);

// Whether a render component's class is one of the library's own, whose
// render code goes through this module. Classes derived by an application
// are not: their overrides may issue any GL call.
inline bool QelGLStateTrusts(const TQelRender* item) { return item && item->IsLibraryClass(); }
bool QelGLStateTrustsType(const std::type_info& type);
// Library classes register themselves once (at load time).
void QelGLStateTrustClass(const std::type_info& type);

// A node opens one around each of its items: it starts a new item, and
// while it lives, resets of client arrays may be held back for the next
// item when keep is set (the item and the one after it are the library's
// own). The resets of a node's last item are never held back.
class TQelGLStateKeep {
public:
  explicit TQelGLStateKeep(bool keep);
  ~TQelGLStateKeep();
  TQelGLStateKeep(const TQelGLStateKeep&) = delete;
  TQelGLStateKeep& operator=(const TQelGLStateKeep&) = delete;

private:
  bool previous_;
};

// Counts nested Render calls; the outermost one flushes when it ends, also
// when it ends by an exception.
class TQelGLStateRenderScope {
public:
  TQelGLStateRenderScope();
  ~TQelGLStateRenderScope();
  TQelGLStateRenderScope(const TQelGLStateRenderScope&) = delete;
  TQelGLStateRenderScope& operator=(const TQelGLStateRenderScope&) = delete;
};

#pragma once
// The mesh object every shape, surface and importer is built on: one vertex
// store and an ordered list of index lists, generated lazily through a fixed
// template of virtual steps, with vertex normals, texture coordinates and
// the editing operations that keep the indices consistent.
#include <cstdint>
#include <memory>
#include <vector>

#include "qelon/geometry/qelmeshtools.h"
#include "qelon/geometry/qelprimclasses.h"
#include "qelon/math/qelmath.h"
#include "qelon/scene/qelobj.h"

class TBitmap;

// How much of the mesh a scene file keeps: only the parameters (the mesh is
// generated again on load), the point store too, or everything.
enum TQelStoreMode { smDefault, smPoints, smAll };
extern const char* const TQelStoreModeStr[3];

// Generation: Init runs ClearAll, InitPoints, CalcTexture, InitPrimitives,
// sets Inited and raises OnAfterInit. The first render generates the mesh
// when it is not Inited. A subclass fills the store in InitPoints and adds
// index lists in InitPrimitives; when one of its parameters changes it sets
// Inited to false and calls Changed. An importer fills the store and lists
// directly and sets Inited itself.
//
// Change signals: the steps a generator uses (AddPrimitiveArray, AddIndex,
// CalcNormals, CalcTexture, Clear*) are silent; whole-mesh edits (Invert,
// SplitTriangle, FreePoints, AddPrimitiveObj, the extrusions, ...) and
// appearance changes signal Changed once, so cached display lists above the
// mesh are recorded again.
//
// Point numbers outside the store and list positions outside the list are
// ignored; indices that name no point in use are never drawn or read.
class TQelPrimitiveObj : public TQelObject {
  QEL_CLASS(TQelPrimitiveObj)
public:
  explicit TQelPrimitiveObj(TComponent* AOwner);
  ~TQelPrimitiveObj() override;

  TQelPrimitivePoints* GetPoints() const { return points_.get(); }
  bool GetInited() const { return inited_; }
  void SetInited(bool value) { inited_ = value; }
  TQelStoreMode GetStoreMode() const { return storeMode_; }
  void SetStoreMode(TQelStoreMode value);
  TQelTextureFlags* GetTextureFlags() const { return textureFlags_.get(); }
  // Copies the values. New flags take effect at the next Init or CalcTexture.
  void SetTextureFlags(TQelTextureFlags* flags);
  // Raised with this object at the end of every Init.
  TNotifyEvent OnAfterInit;

  // Whether the store hands texture coordinates to GL; setting it also sets
  // every list's Textured flag.
  bool GetTextured() const override;
  void SetTextured(bool value) override;
  // The object's appearance; setting one also hands it to every list. When a
  // referenced component dies it is cleared here and from every list,
  // whichever way the list received it.
  TQelTexture* GetTexture() const override;
  void SetTexture(TQelTexture* value) override;
  TQelAttributes* GetAttributes() const override;
  void SetAttributes(TQelAttributes* value) override;
  TQelMaterial* GetMaterial() const override;
  void SetMaterial(TQelMaterial* value) override;

  // The generation template and its steps.
  virtual void Init();
  virtual void InitPoints() {}
  virtual void InitPrimitives() {}
  // StoreMode back to smDefault (every regeneration returns the object to
  // parameter-only storage), then ClearPoints and ClearPrimitives.
  virtual void ClearAll();
  // Store Size 0.
  virtual void ClearPoints();
  // Frees every list.
  virtual void ClearPrimitives();

  // Appends a list of that GL mode carrying the object's texture, material
  // and attributes, Textured when the store uses texture coordinates;
  // returns its position.
  int32_t AddPrimitiveArray(int32_t type);
  // The first list of that mode, made with AddPrimitiveArray when none
  // exists: never null.
  TQelPrimitiveArray* GetPrimitiveArray(int32_t type);
  // The list at position i, or null.
  TQelPrimitiveArray* GetPrimitive(int32_t i) const;
  int32_t GetPrimitiveCount() const { return static_cast<int32_t>(arrays_.size()); }
  // Frees the lists i .. i+n-1, last first; positions outside are skipped.
  void DeletePrimitiveArray(int32_t i) { DeletePrimitiveArray(i, 1); }
  void DeletePrimitiveArray(int32_t i, int32_t n);
  // Appends a point number to the last list / the list at position array.
  // Negative numbers are ignored.
  void AddIndex(int32_t index);
  void AddIndex(int32_t index, int32_t array);

  // master[i] = the point that stands for point i's position: points whose
  // flag byte has the bit and whose positions are equal (EqualPos) share
  // one; every other point stands for itself. The search sorts the points
  // by their quantised squared distance to a reference point (the average
  // of three points picked at random) and compares only neighbours whose
  // keys differ by at most 1, so it is n log n, not quadratic; positions
  // equal within the tolerance but not close to identical may stay apart.
  void CalcMaster(int32_t bit, iArray& master);
  // Vertex normals: every face's unit normal is added to its corners (to
  // the shared accumulator of a position for points with the normal link
  // bit 0), then each point takes its accumulated normal, normalised, or
  // (0, 0, 1) when nothing was added.
  void CalcNormals();
  // The texture coordinate of point i from its position by TextureFlags.Mode
  // (a TQelTextureMode); txStandard leaves it.
  void CalcTexturePoint(int32_t i);
  void CalcTexture();

  // Appends other's whole mesh (generating it first when it is not Inited)
  // and, for each of its lists, a new list of the same mode with the
  // indices moved along; returns the number of the first appended point,
  // or -1 without other. This object is generated first when it is not
  // Inited, so that its first render keeps what was merged.
  int32_t AddPrimitiveObj(TQelPrimitiveObj* other);
  // Splits triangle number triangle (slots 3t..3t+2) of a GL_TRIANGLES list
  // into four by its edge midpoints. For the triangle (a, b, c) with
  // midpoints ab, bc, ca, appended as points in that order, the slots become
  // (a, ab, ca) and the list gains (ab, b, bc), (ca, bc, c), (ab, bc, ca):
  // all four keep the winding of the original. Midpoints interpolate
  // position, normal, texture coordinate and colour halfway, and carry the
  // flag bits their two ends share.
  void SplitTriangle(int32_t array, int32_t triangle);
  // Turns every face of every list round (normals are left as they are).
  void Invert();
  // Among the indices of the list, the point nearest to position (the first
  // of equally near ones); -1 for a missing or empty list.
  int32_t GetNearPoint(int32_t array, const TQelMathVector& position) const;
  // Removes every point that no enabled list refers to, keeping every
  // remaining index on the point it named.
  void FreeUnusedPoints();
  // Removes points i .. i+n-1 from the store; every index above them, in
  // every list, moves down by the number removed. Indices naming a removed
  // point are left as they are.
  void FreePoints(int32_t i, int32_t n);
  void FreePoint(int32_t i) { FreePoints(i, 1); }
  // The edges that belong to exactly one face of the enabled face lists.
  // Edges are compared by position (points at equal positions are one
  // corner), so a mesh with split normals, like a box, is still closed.
  // Each edge is listed once, as its face runs, in face order; faces with
  // two corners at one position are left out.
  void GetOpenEdges(TQelEdgeArray& edges);

  // Extrusion turns an open surface (a flat shape, a cut-open shell) into a
  // solid: the faces are copied offset by the vector, and a wall of quads
  // joins every open edge to its copy. The result faces outwards whichever
  // way it goes: when the vector points to the faces' front (their summed
  // normal), the copy is the top and the original faces are turned round,
  // otherwise the copy is turned round; the turned faces get their normals
  // negated. Each wall quad has four points of its own with the quad's flat
  // normal and texture coordinates s 0..1 along the edge, t 0 at the
  // original edge and 1 at the copy; when a wall texture is given the wall
  // list is Textured with it. A mesh without open edges or faces, or a zero
  // vector, is left as it is.
  void ExtrudeByVec(const TQelMathVector& vector, TQelTexture* wallTexture = nullptr);
  // ExtrudeByVec by depth times the unit average face normal (the normal of
  // a flat shape): positive depth pulls the shape out towards its front.
  void Extrude(double depth, TQelTexture* wallTexture = nullptr);
  // Appends the extrusion of source (by depth, as Extrude) to this mesh;
  // source itself is not changed.
  void ExtrudePrimitiveObj(TQelPrimitiveObj* source, double depth,
                           TQelTexture* wallTexture = nullptr);

  // Lifts every point along its normal by the pixel its texture coordinate
  // falls on (nearest pixel, s along the width and t up the height, both
  // repeating outside 0..1): by red * scaleRed + green * scaleGreen +
  // blue * scaleBlue, the channels read as 0..1. Points at one position with
  // equal texture coordinates and normals move together. Needs positions,
  // normals and texture coordinates; an empty bitmap changes nothing.
  void SetReliefBitmap(const TBitmap* bitmap, double scaleRed, double scaleGreen, double scaleBlue);

  // A new mesh (owned by AOwner, Inited, with this object's transformation)
  // of one GL_LINES list: for every point in use a line from the point to
  // point + length * normal. Add it to the node that holds this mesh.
  TQelPrimitiveObj* CreateNormalVecObj(double length, TComponent* AOwner = nullptr);
  // A new node (owned by AOwner, with this object's transformation) holding
  // one label per point in use: a mesh that writes the point number in
  // seven-segment strokes of the given height in its own x-y plane, lower
  // left corner at the point, ObjectName the number. Picking a label names
  // its point.
  TQelNode* CreateLabelNode(double size, TComponent* AOwner = nullptr);

  // Generates when needed, applies the object's colour, then draws every
  // enabled list with its attributes, material and texture, each in one
  // glDrawElements; in views that push pick names, each list under its own
  // name from GetNextID(this, list position).
  void DoRender(TQelCustomView* view) override;
  void Notification(TComponent* AComponent, TOperation Operation) override;
  // Copies the texture, material, texture flags and Inited, then the store
  // and a copy of every list (ClearAll first, so StoreMode returns to
  // smDefault).
  void Assign(TPersistent* Source) override;

  // Scene files: after the object's values the texture flags, the store
  // (smPoints, smAll), every list and Inited (smAll), and StoreMode. A
  // stored mesh replaces the one held; a loaded smAll mesh is drawn as it
  // is (Inited as stored), any other is generated from the parameters at
  // the first render.
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;
  // The object's references reach every list through the setters; lists
  // read from the file keep their own.
  void ReadRef(IQelExchange* exchange) override;

protected:
  void PrefetchRender(int stage) const override;
  bool CachesContentOnly() const override;
  void DrawContent(TQelCustomView* view) override;

private:
  // Applies list a's attributes, material and texture; false when their
  // events freed lists.
  bool ApplyAppearance(TQelPrimitiveArray* a, TQelCustomView* view);
  void DrawArray(int32_t k, TQelCustomView* view);
  void WirePoints();
  void WireTextureFlags();
  void WireArray(TQelPrimitiveArray* array);
  void ArrayChange(TObject* Sender);
  // Watches the appearance a list refers to, so that it can be cleared from
  // the list when it dies.
  void WatchAppearance(TQelPrimitiveArray* array);
  // Runs fn with list change signals held back, then signals Changed once
  // when anything changed.
  template <typename Fn>
  void Quietly(Fn fn);
  // Runs fn with the store's change signal held back: the store's own
  // signals never reach the object, which signals for the whole step
  // itself (or, for the generation steps, not at all). The only place the
  // store is unwired.
  template <typename Fn>
  void WithQuietStore(Fn fn) {
    points_->OnChange = nullptr;
    fn();
    WirePoints();
  }
  void FreeArray(TQelPrimitiveArray* array);

  std::unique_ptr<TQelPrimitivePoints> points_;
  std::vector<TQelPrimitiveArray*> arrays_;  // owned
  std::unique_ptr<TQelTextureFlags> textureFlags_;
  bool inited_ = false;
  TQelStoreMode storeMode_ = smDefault;
  bool quiet_ = false;
  bool changedQuietly_ = false;
  uint32_t freedArrays_ = 0;  // counts lists freed, so that drawing notices
};

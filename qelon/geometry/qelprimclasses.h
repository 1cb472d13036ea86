#pragma once
// The storage of every mesh: one vertex store laid out as separate
// contiguous arrays that OpenGL reads in place, index lists that each draw
// one primitive kind over that store with a single glDrawElements, a
// transfer record for one vertex, and the texture-coordinate generation
// parameters of a mesh.
#include <cstdint>
#include <string>
#include <vector>

#include "qelon/math/qelclass.h"
#include "qelon/math/qelmath.h"
#include "qelon/platform/qelset.h"

class TQelCustomView;
class TQelTexture;
class TQelMaterial;
class TQelAttributes;
class TQelPointItem;

// One value per per-vertex attribute array.
enum TQelArray { daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag };
extern const char* const TQelArrayStr[6];
using TQelArrays = TSet<TQelArray, uint8_t>;

// The vertex store. Positions, normals and texture coordinates are 3 doubles
// a point, colours 4 floats, edge flags and per-point flags 1 byte; every
// array named in DefineArrays holds Size points, of which Count are in use.
// Point numbers and vector kinds (0 position, 1 normal, 2 texture, 3 colour)
// are checked: bad ones are ignored by setters and give neutral values.
class TQelPrimitivePoints : public TQelProperty {
  QEL_CLASS(TQelPrimitivePoints)
public:
  // Appends grow the capacity by this many points: linear on purpose.
  static constexpr int32_t GrowStep = 120;
  // Bits of the flag byte the store itself uses for linked editing.
  static constexpr int32_t NormalLinkBit = 0;
  static constexpr int32_t PositionLinkBit = 1;

  TQelPrimitivePoints();
  TQelPrimitivePoints(const TQelPrimitivePoints&) = delete;
  TQelPrimitivePoints& operator=(const TQelPrimitivePoints&) = delete;

  int32_t GetSize() const { return size_; }
  void SetSize(int32_t n);
  int32_t GetCount() const { return count_; }
  void SetCount(int32_t n);
  TQelArrays GetDefineArrays() const { return defineArrays_; }
  void SetDefineArrays(TQelArrays arrays);
  TQelArrays GetUseArrays() const { return useArrays_; }
  void SetUseArrays(TQelArrays arrays);
  // The array is defined and has storage (Size > 0).
  bool HasArray(TQelArray a) const { return size_ > 0 && defineArrays_.Contains(a); }
  // Zero-fills, over the whole Size, each named array.
  void ClearArrays(TQelArrays arrays);

  // Appends return the new point's number; Add(x, y, z) returns -1 and adds
  // nothing when positions are not stored.
  int32_t Add(double x, double y, double z);
  int32_t Add(const TQelMathVector& position, const TQelMathVector& normal,
              const TQelMathVector& texture);
  int32_t Add(const TQelPointItem* item);
  // Appends every point of other (arrays defined in both are copied) and
  // returns the number of the first one appended.
  int32_t Add(const TQelPrimitivePoints* other);
  void Delete(int32_t start, int32_t n);

  void GetPoint(int32_t i, TQelPointItem* item) const;
  void SetPoint(int32_t i, const TQelPointItem* item);
  TQelMathVector GetVector(int32_t i, int32_t kind) const;
  // Moves linked points along when UseArrays holds daFlag; see the .cpp.
  void SetVector(int32_t i, int32_t kind, const TQelMathVector& v);
  double GetValues(int32_t i, int32_t component, int32_t kind) const;
  void SetValues(int32_t i, int32_t component, int32_t kind, double value);
  uint8_t GetEdgeFlag(int32_t i) const;
  void SetEdgeFlag(int32_t i, uint8_t value);
  bool GetFlag(int32_t i, int32_t bit) const;
  void SetFlag(int32_t i, int32_t bit, bool on);
  // Positions differ by less than the tolerance on every axis.
  bool EqualPos(int32_t i, int32_t j) const;
  void LiftPoint(int32_t i, double d);
  void ScalePoints(double sx, double sy, double sz);
  void MovePoints(double dx, double dy, double dz);

  // Hand the used arrays to OpenGL as client arrays, and take them back.
  void BeforeRender(TQelCustomView* view);
  void AfterRender(TQelCustomView* view);
  // Prefetches the used part of every array BeforeRender hands to GL.
  void PrefetchArrays() const;

  void Assign(TPersistent* Source) override;

  // Scene files: the two array sets, then one "Point" element per point in
  // use, each with the attributes of the defined arrays. Reading a store
  // replaces its points; each "Point" element appends one.
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

  // The storage itself, for inner loops and for OpenGL; null when the array
  // is absent. Valid until the next change of Size or DefineArrays.
  double* GetVertexArray() { return HasArray(daVertex) ? vertex_.data() : nullptr; }
  double* GetNormalArray() { return HasArray(daNormal) ? normal_.data() : nullptr; }
  double* GetTextureArray() { return HasArray(daTexture) ? texture_.data() : nullptr; }
  float* GetColorArray() { return HasArray(daColor) ? color_.data() : nullptr; }
  uint8_t* GetEdgeFlagArray() { return HasArray(daEdgeFlag) ? edgeFlag_.data() : nullptr; }
  uint8_t* GetFlagArray() { return HasArray(daFlag) ? flag_.data() : nullptr; }
  const double* GetVertexArray() const { return HasArray(daVertex) ? vertex_.data() : nullptr; }
  const double* GetNormalArray() const { return HasArray(daNormal) ? normal_.data() : nullptr; }
  const double* GetTextureArray() const { return HasArray(daTexture) ? texture_.data() : nullptr; }
  const float* GetColorArray() const { return HasArray(daColor) ? color_.data() : nullptr; }
  const uint8_t* GetEdgeFlagArray() const { return HasArray(daEdgeFlag) ? edgeFlag_.data() : nullptr; }
  const uint8_t* GetFlagArray() const { return HasArray(daFlag) ? flag_.data() : nullptr; }

private:
  // Grows by GrowStep when full and returns the number of the next point.
  int32_t Grow();
  void WritePoint(IQelExchange* exchange, int32_t i) const;
  void ReadPoint(IQelExchange* exchange);
  std::vector<double>* VectorArray(int32_t kind);
  const std::vector<double>* VectorArray(int32_t kind) const;
  bool Uses(TQelArray a) const { return useArrays_.Contains(a) && HasArray(a); }

  std::vector<double> vertex_, normal_, texture_;
  std::vector<float> color_;
  std::vector<uint8_t> edgeFlag_, flag_;
  int32_t size_ = 0;
  int32_t count_ = 0;
  TQelArrays defineArrays_{daVertex, daNormal, daTexture, daFlag};
  TQelArrays useArrays_{daVertex, daNormal, daFlag};
};

// One index list over a vertex store, drawn as one OpenGL primitive kind.
// Type is the GL mode number: GL_POINTS (0) to GL_POLYGON (9).
class TQelPrimitiveArray : public TQelProperty {
  QEL_CLASS(TQelPrimitiveArray)
public:
  static constexpr int32_t GrowStep = 120;

  explicit TQelPrimitiveArray(int32_t type);
  TQelPrimitiveArray(const TQelPrimitiveArray&) = delete;
  TQelPrimitiveArray& operator=(const TQelPrimitiveArray&) = delete;

  int32_t GetCount() const { return count_; }
  void SetCount(int32_t n);
  int32_t GetSize() const { return size_; }
  void SetSize(int32_t n);
  int32_t GetType() const { return type_; }
  // Converts the list where the new kind can be expressed from the old one;
  // see the .cpp.
  void SetType(int32_t mode);
  bool GetEnabled() const { return enabled_; }
  void SetEnabled(bool on);
  bool GetTextured() const { return textured_; }
  void SetTextured(bool on);
  // Appearance of this list; referenced, never owned.
  TQelTexture* GetTexture() const { return texture_; }
  void SetTexture(TQelTexture* texture);
  TQelMaterial* GetMaterial() const { return material_; }
  void SetMaterial(TQelMaterial* material);
  TQelAttributes* GetAttributes() const { return attributes_; }
  void SetAttributes(TQelAttributes* attributes);

  // The index at i, or -1 outside 0..Count-1.
  int32_t GetIndices(int32_t i) const;
  // Writes anywhere within the capacity, not only below Count.
  void SetIndices(int32_t i, uint32_t v);
  void AddIndex(uint32_t v);
  // Appends every index of other plus offset, when the types agree.
  void Add(const TQelPrimitiveArray* other, int32_t offset);
  // Overwrites the entry at pos and counts one more; see the .cpp.
  void Insert(int32_t pos, uint32_t v);
  void Delete(int32_t start, int32_t n);
  // Reverses the facing of every face.
  void Invert();
  void SwitchToTriangles();
  void SwitchToQuads();

  // One glDrawElements over the whole list.
  void ProceedDirectRendering();
  // The same, but draws nothing when an index reaches pointLimit, so that
  // OpenGL never reads past a store of that many points.
  void ProceedDirectRendering(int32_t pointLimit);

  // Copies Size, the indices, Count, Type, Enabled and Texture; Material,
  // Attributes and Textured stay as they are.
  void Assign(TPersistent* Source) override;

  // Scene files: the kind, the flags, the appearance by reference and the
  // indices as one text of decimal numbers joined by ",". Reading replaces
  // the list; a malformed list raises EQelConvertError.
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  void ReadRef(IQelExchange* exchange) override;

  // The index storage (Size entries), null when there is none.
  uint32_t* GetIndexArray() { return size_ > 0 ? indices_.data() : nullptr; }
  const uint32_t* GetIndexArray() const { return size_ > 0 ? indices_.data() : nullptr; }

private:
  void GrowIfFull();
  void ReadIndices(const std::string& text);
  // The stored entry at i, or 0 past the storage.
  uint32_t StoredAt(int32_t i) const {
    return i >= 0 && i < size_ ? indices_[static_cast<size_t>(i)] : 0;
  }

  std::vector<uint32_t> indices_;
  int32_t count_ = 0;
  int32_t size_ = 0;
  int32_t type_ = 0;
  bool enabled_ = true;
  bool textured_ = false;
  TQelTexture* texture_ = nullptr;
  TQelMaterial* material_ = nullptr;
  TQelAttributes* attributes_ = nullptr;
};

// One vertex with all its attributes, for moving whole points in and out of
// a store.
class TQelPointItem : public TQelProperty {
  QEL_CLASS(TQelPointItem)
public:
  TQelPointItem();
  TQelPointItem(const TQelPointItem&) = delete;
  TQelPointItem& operator=(const TQelPointItem&) = delete;

  TQelVector* GetPoint() { return &point_; }
  const TQelVector* GetPoint() const { return &point_; }
  void SetPoint(const TQelVector* v);
  TQelNormal* GetNormal() { return &normal_; }
  const TQelNormal* GetNormal() const { return &normal_; }
  void SetNormal(const TQelVector* v);
  TQelVector* GetTexture() { return &texture_; }
  const TQelVector* GetTexture() const { return &texture_; }
  void SetTexture(const TQelVector* v);
  TQelColor* GetColor() { return &color_; }
  const TQelColor* GetColor() const { return &color_; }
  void SetColor(const TQelColor* c);
  int32_t GetFlag() const { return flag_; }
  void SetFlag(int32_t flag);
  bool GetEdgeFlag() const { return edgeFlag_; }
  void SetEdgeFlag(bool on);

  void Clear() override;
  void Assign(TPersistent* Source) override;

  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  void WireParts();
  void PartChange(TObject*) { Changed(); }

  TQelVector point_;
  TQelNormal normal_;
  TQelVector texture_;
  TQelColor color_;
  int32_t flag_ = 0;
  bool edgeFlag_ = true;
  TQelLife life_;  // what the parts' links ask
};

// How texture coordinates are generated for a mesh, and whether sphere
// mapping is switched on when it is drawn.
class TQelTextureFlags : public TQelProperty {
  QEL_CLASS(TQelTextureFlags)
public:
  TQelTextureFlags();
  TQelTextureFlags(const TQelTextureFlags&) = delete;
  TQelTextureFlags& operator=(const TQelTextureFlags&) = delete;

  uint8_t GetMode() const { return mode_; }
  void SetMode(uint8_t mode);
  double GetShiftX() const { return shiftX_; }
  void SetShiftX(double v);
  double GetShiftY() const { return shiftY_; }
  void SetShiftY(double v);
  double GetScaleX() const { return scaleX_; }
  void SetScaleX(double v);
  double GetScaleY() const { return scaleY_; }
  void SetScaleY(double v);
  TQelVector* GetParamVector() { return &paramVector_; }
  const TQelVector* GetParamVector() const { return &paramVector_; }
  void SetParamVec(const TQelVector* v);
  bool GetEnvMapping() const { return envMapping_; }
  void SetEnvMapping(bool on);

  void Clear() override;
  void Assign(TPersistent* Source) override;

  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

private:
  void WireParts();
  void PartChange(TObject*) { Changed(); }

  uint8_t mode_ = 0;
  TQelLife life_;  // what the parameter vector's link asks
  double shiftX_ = 0, shiftY_ = 0;
  double scaleX_ = 1, scaleY_ = 1;
  TQelVector paramVector_;
  bool envMapping_ = false;
};

#pragma once
// The base of the generated shapes: a mesh whose parameters are listed once
// in a table (name, default, valid range), which gives every shape its range
// checks, scene-file values and Assign without code of its own.
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "qelon/geometry/qelprimitiveobj.h"

enum TQelShapeParamKind { pkFloat, pkInteger, pkBool };

// A number parameter. Values outside Min..Max (Min itself excluded when
// MinExcluded), and fractions for integers, are ignored.
struct TQelShapeParam {
  const char* Name;
  double Default;
  double Min, Max;
  TQelShapeParamKind Kind = pkFloat;
  bool MinExcluded = false;
};

using TQelPointList = std::vector<TQelMathVector>;

// A list of points (an outline, a profile, corners), MinCount..MaxCount long.
struct TQelShapePointList {
  const char* Name;
  int32_t MinCount, MaxCount;
  std::span<const TQelMathVector> Default;
};

struct TQelShapeTable {
  std::span<const TQelShapeParam> Params;
  std::span<const TQelShapePointList> Lists = {};
};

// A setter stores a value only when it is valid and differs, and then marks
// the mesh for generation at the next render and signals Changed. Scene
// files hold each parameter by its name, numbers left out at their default
// and point lists as "x y z x y z ...".
class TQelShape : public TQelPrimitiveObj {
  QEL_CLASS(TQelShape)
public:
  const TQelShapeTable& GetParamTable() const { return table_; }
  // Parameter position by name (any letter case), or -1.
  int32_t FindParam(const std::string& name) const;
  int32_t FindPointList(const std::string& name) const;

  double GetParam(int32_t i) const;
  // False when the value was ignored (out of range, or no such parameter).
  bool SetParam(int32_t i, double value);
  const TQelPointList& GetPointList(int32_t i) const;
  bool SetPointList(int32_t i, const TQelPointList& points);

  // The whole mesh, lists included, is written here, before CalcTexture, so
  // that texture flags with a Mode replace the shape's own coordinates.
  void InitPoints() final { Generate(); }

  void Assign(TPersistent* Source) override;
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

protected:
  TQelShape(TComponent* AOwner, const TQelShapeTable& table);
  virtual void Generate() = 0;
  // A shape's rules between parameters (an inner radius below the outer
  // one); called with a value already in its own range.
  virtual bool Accepts(int32_t param, double value) const { return true; }
  virtual bool AcceptsPoints(int32_t list, const TQelPointList& points) const { return true; }
  // The parameter's value as an integer / a flag, for the generators.
  int32_t IntParam(int32_t i) const { return static_cast<int32_t>(GetParam(i)); }
  void Regenerate();

private:
  const TQelShapeTable& table_;
  std::vector<double> values_;
  std::vector<TQelPointList> lists_;
};

// Text of a point list in a scene file, and back (false on malformed text).
std::string QelPointListToText(const TQelPointList& points);
bool QelPointListFromText(const std::string& text, TQelPointList& points);

// Registers the shape classes when the library loads:
// `const TQelRegisterShapes<TQelSphere> registered;` in the shape's file.
template <class... Shapes>
struct TQelRegisterShapes {
  TQelRegisterShapes() { (RegisterLibraryRenderClass<Shapes>(), ...); }
};

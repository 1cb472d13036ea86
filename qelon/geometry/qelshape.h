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
// MinExcluded), fractions for integers, and values not below the parameter
// at position Below (an inner radius and the outer one) are ignored.
struct TQelShapeParam {
  const char* Name;
  double Default;
  double Min, Max;
  TQelShapeParamKind Kind = pkFloat;
  bool MinExcluded = false;
  int32_t Below = -1;
};

using TQelPointList = std::vector<TQelMathVector>;

// A list of points (an outline, a profile, corners), MinCount..MaxCount long.
struct TQelShapePointList {
  const char* Name;
  int32_t MinCount, MaxCount;
  std::span<const TQelMathVector> Default;
};

using TQelShapeParams = std::span<const TQelShapeParam>;
using TQelShapePointLists = std::span<const TQelShapePointList>;

// A setter stores a value only when it is valid and differs, and then marks
// the mesh for generation at the next render and signals Changed. Scene
// files hold each parameter by its name, numbers left out at their default
// and point lists as "x y z x y z ...".
class TQelShape : public TQelPrimitiveObj {
  QEL_CLASS(TQelShape)
public:
  TQelShapeParams GetParamTable() const { return params_; }
  TQelShapePointLists GetPointListTable() const { return lists_table_; }
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
  // The tables are the shape class's own static arrays.
  TQelShape(TComponent* AOwner, TQelShapeParams params, TQelShapePointLists lists = {});
  virtual void Generate() = 0;
  // A shape's rules between parameters (an inner radius below the outer
  // one); called with a value already in its own range.
  virtual bool Accepts(int32_t param, double value) const { return true; }
  virtual bool AcceptsPoints(int32_t list, const TQelPointList& points) const { return true; }
  // The parameter's value as an integer / a flag, for the generators.
  int32_t IntParam(int32_t i) const { return static_cast<int32_t>(GetParam(i)); }
  void Regenerate();

private:
  TQelShapeParams params_;
  TQelShapePointLists lists_table_;
  std::vector<double> values_;
  std::vector<TQelPointList> lists_;
};

// A shape generated on a grid, whose quality is its number of Slices (round
// the shape or across it) and Stacks (along it); a shape without Stacks
// reads 0 and ignores the setter.
class TQelGridShape : public TQelShape {
  QEL_CLASS(TQelGridShape)
public:
  int32_t GetSlices() const { return IntParam(slices_); }
  void SetSlices(int32_t v) { SetParam(slices_, v); }
  int32_t GetStacks() const { return IntParam(stacks_); }
  void SetStacks(int32_t v) { SetParam(stacks_, v); }

protected:
  TQelGridShape(TComponent* AOwner, TQelShapeParams params, TQelShapePointLists lists = {})
      : TQelShape(AOwner, params, lists), slices_(FindParam("Slices")), stacks_(FindParam("Stacks")) {}

private:
  int32_t slices_, stacks_;
};

// The table entries of a grid's quality: at least min, default def.
constexpr TQelShapeParam QelSlicesParam(double def, double min) { return {"Slices", def, min, 1e6, pkInteger}; }
constexpr TQelShapeParam QelStacksParam(double def, double min) { return {"Stacks", def, min, 1e6, pkInteger}; }

// Text of a point list in a scene file, and back (false on malformed text).
std::string QelPointListToText(const TQelPointList& points);
bool QelPointListFromText(const std::string& text, TQelPointList& points);


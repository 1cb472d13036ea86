#include "qelshape.h"

#include <charconv>
#include <cmath>
#include <strings.h>

#include "qelon/exchange/qeliexchange.h"

namespace {

template <class Entry>
int32_t FindByName(std::span<const Entry> entries, const std::string& name) {
  for (size_t i = 0; i < entries.size(); ++i)
    if (strcasecmp(entries[i].Name, name.c_str()) == 0) return static_cast<int32_t>(i);
  return -1;
}

bool InRange(const TQelShapeParam& p, double v) {
  if (!std::isfinite(v) || v > p.Max || v < p.Min || (p.MinExcluded && v == p.Min)) return false;
  return p.Kind == pkFloat || v == std::floor(v);
}

const TQelPointList kNoPoints;

}  // namespace

TQelShape::TQelShape(TComponent* AOwner, TQelShapeParams params, TQelShapePointLists lists)
    : TQelPrimitiveObj(AOwner), params_(params), lists_table_(lists) {
  for (const TQelShapeParam& p : params) values_.push_back(p.Default);
  for (const TQelShapePointList& l : lists) lists_.emplace_back(l.Default.begin(), l.Default.end());
}

int32_t TQelShape::FindParam(const std::string& name) const { return FindByName(params_, name); }

int32_t TQelShape::FindPointList(const std::string& name) const { return FindByName(lists_table_, name); }

double TQelShape::GetParam(int32_t i) const {
  return i >= 0 && i < static_cast<int32_t>(values_.size()) ? values_[i] : 0;
}

bool TQelShape::SetParam(int32_t i, double value) {
  if (i < 0 || i >= static_cast<int32_t>(values_.size())) return false;
  const TQelShapeParam& p = params_[i];
  if (!InRange(p, value) || !Accepts(i, value)) return false;
  if (p.Below >= 0 && !(value < GetParam(p.Below))) return false;
  // The other side of the pair: a value must stay above those below it.
  for (size_t k = 0; k < params_.size(); ++k)
    if (params_[k].Below == i && !(value > values_[k])) return false;
  if (values_[i] != value) {
    values_[i] = value;
    Regenerate();
  }
  return true;
}

const TQelPointList& TQelShape::GetPointList(int32_t i) const {
  return i >= 0 && i < static_cast<int32_t>(lists_.size()) ? lists_[i] : kNoPoints;
}

bool TQelShape::SetPointList(int32_t i, const TQelPointList& points) {
  if (i < 0 || i >= static_cast<int32_t>(lists_.size())) return false;
  const TQelShapePointList& l = lists_table_[i];
  const auto n = static_cast<int32_t>(points.size());
  if (n < l.MinCount || n > l.MaxCount || !AcceptsPoints(i, points)) return false;
  for (const TQelMathVector& p : points)
    if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) return false;
  if (lists_[i] != points) {
    lists_[i] = points;
    Regenerate();
  }
  return true;
}

void TQelShape::Regenerate() {
  SetInited(false);
  Changed();
}

void TQelShape::Assign(TPersistent* Source) {
  // Only a shape of the same table has the same parameters.
  if (auto* shape = dynamic_cast<TQelShape*>(Source);
      shape && shape->params_.data() == params_.data() && shape->lists_table_.data() == lists_table_.data()) {
    values_ = shape->values_;
    lists_ = shape->lists_;
  }
  TQelPrimitiveObj::Assign(Source);
}

void TQelShape::WriteValues(IQelExchange* exchange) {
  TQelPrimitiveObj::WriteValues(exchange);
  for (size_t i = 0; i < values_.size(); ++i) {
    const TQelShapeParam& p = params_[i];
    if (p.Kind == pkInteger)
      exchange->addtag(p.Name, static_cast<int32_t>(values_[i]), static_cast<int32_t>(p.Default));
    else if (p.Kind == pkBool)
      exchange->addtag(p.Name, values_[i] != 0, p.Default != 0);
    else
      exchange->addtag(p.Name, values_[i], p.Default);
  }
  for (size_t i = 0; i < lists_.size(); ++i) {
    const TQelShapePointList& l = lists_table_[i];
    const TQelPointList defaults(l.Default.begin(), l.Default.end());
    exchange->addtag(l.Name, QelPointListToText(lists_[i]), QelPointListToText(defaults));
  }
}

void TQelShape::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelPrimitiveObj::ReadValues(exchange, tag);
  // The parameters belong to the mesh just read: setting them must not mark
  // a stored mesh for generation.
  const bool inited = GetInited();
  for (size_t i = 0; i < values_.size(); ++i) {
    const TQelShapeParam& p = params_[i];
    double value = values_[i];
    bool flag = value != 0;
    const bool found = p.Kind == pkBool ? exchange->getvalue(p.Name, flag) : exchange->getvalue(p.Name, value);
    if (!found) continue;
    if (!SetParam(static_cast<int32_t>(i), p.Kind == pkBool ? double(flag) : value))
      exchange->Error(qlWarning, std::string("Value of ") + p.Name + " out of range.");
  }
  for (size_t i = 0; i < lists_.size(); ++i) {
    std::string text;
    if (!exchange->getvalue(lists_table_[i].Name, text)) continue;
    TQelPointList points;
    if (!QelPointListFromText(text, points) || !SetPointList(static_cast<int32_t>(i), points))
      exchange->Error(qlWarning, std::string("Points of ") + lists_table_[i].Name + " not usable.");
  }
  SetInited(inited);
}

std::string QelPointListToText(const TQelPointList& points) {
  std::string text;
  char buffer[32];
  for (const TQelMathVector& p : points)
    for (int c = 0; c < 3; ++c) {
      if (!text.empty()) text += ' ';
      // The shortest text that reads back as the same double.
      const auto end = std::to_chars(buffer, buffer + sizeof buffer, p[c]).ptr;
      text.append(buffer, end);
    }
  return text;
}

bool QelPointListFromText(const std::string& text, TQelPointList& points) {
  std::vector<double> numbers;
  const char* at = text.data();
  const char* end = at + text.size();
  while (true) {
    while (at < end && (*at == ' ' || *at == '\t' || *at == '\r' || *at == '\n' || *at == ',')) ++at;
    if (at == end) break;
    double v = 0;
    const auto [next, error] = std::from_chars(at, end, v);
    if (error != std::errc()) return false;
    numbers.push_back(v);
    at = next;
  }
  if (numbers.size() % 3 != 0) return false;
  points.clear();
  for (size_t i = 0; i < numbers.size(); i += 3) points.push_back({numbers[i], numbers[i + 1], numbers[i + 2]});
  return true;
}

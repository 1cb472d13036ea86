#include "qelmeshwriter.h"

#include <algorithm>

TQelMeshWriter::TQelMeshWriter(TQelPrimitiveObj* obj, int32_t type, int32_t points, int32_t indices)
    : points_(obj->GetPoints()), list_(obj->GetPrimitive(obj->AddPrimitiveArray(type))) {
  count_ = points_->GetCount();
  Reserve(count_ + points, indices);
}

TQelMeshWriter::~TQelMeshWriter() {
  points_->SetCount(count_);
  list_->SetCount(indexCount_);
}

void TQelMeshWriter::Reserve(int32_t points, int32_t indices) {
  if (points > points_->GetSize()) points_->SetSize(std::max(points, 2 * points_->GetSize()));
  if (indices > list_->GetSize()) list_->SetSize(std::max(indices, 2 * list_->GetSize()));
}

int32_t TQelMeshWriter::Point(const TQelMathVector& p, const TQelMathVector& n, double s, double t) {
  Reserve(count_ + 1, 0);
  const size_t at = 3 * static_cast<size_t>(count_);
  double* v = points_->GetVertexArray() + at;
  v[0] = p.x, v[1] = p.y, v[2] = p.z;
  if (double* normal = points_->GetNormalArray()) {
    normal += at;
    normal[0] = n.x, normal[1] = n.y, normal[2] = n.z;
  }
  if (double* texture = points_->GetTextureArray()) {
    texture += at;
    texture[0] = s, texture[1] = t, texture[2] = 0;
  }
  return count_++;
}

void TQelMeshWriter::Link(int32_t i) {
  if (uint8_t* flags = points_->GetFlagArray(); flags && i >= 0 && i < count_)
    flags[i] |= uint8_t(1u << TQelPrimitivePoints::PositionLinkBit);
}

void TQelMeshWriter::Index(int32_t i) {
  Reserve(0, indexCount_ + 1);
  list_->GetIndexArray()[indexCount_++] = static_cast<uint32_t>(i);
}

int32_t TQelMeshWriter::GridTriangleCount(int32_t nu, int32_t nv, bool firstRowIsPoint,
                                          bool lastRowIsPoint) {
  if (nv == 1 && firstRowIsPoint && lastRowIsPoint) return 0;
  return 2 * nu * nv - nu * (int32_t(firstRowIsPoint) + int32_t(lastRowIsPoint));
}

void TQelMeshWriter::GridTriangles(int32_t first, int32_t nu, int32_t nv, TGridRows rows) {
  const bool firstRowIsPoint = rows.firstIsPoint, lastRowIsPoint = rows.lastIsPoint;
  Reserve(0, indexCount_ + 3 * GridTriangleCount(nu, nv, firstRowIsPoint, lastRowIsPoint));
  const int32_t row = nu + 1;
  for (int32_t v = 0; v < nv; ++v) {
    const bool bottomIsPoint = v == 0 && firstRowIsPoint;
    const bool topIsPoint = v == nv - 1 && lastRowIsPoint;
    for (int32_t u = 0; u < nu; ++u) {
      const int32_t a = first + v * row + u, b = a + 1, c = b + row, d = a + row;
      if (!bottomIsPoint) Triangle(a, b, c);
      if (!topIsPoint) Triangle(a, c, d);
    }
  }
  for (int32_t u = 0; u <= nu; ++u) {
    if (firstRowIsPoint || rows.closedV) Link(first + u);
    if (lastRowIsPoint || rows.closedV) Link(first + nv * row + u);
  }
  if (rows.closedU)
    for (int32_t v = 0; v <= nv; ++v) {
      Link(first + v * row);
      Link(first + v * row + nu);
    }
}

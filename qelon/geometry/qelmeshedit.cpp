#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "qelmeshtools.h"
#include "qelmeshvec.h"
#include "qelon/platform/qelbitmap.h"

using qelmesh::At;
using qelmesh::Plus;
using qelmesh::Put;
using qelmesh::Times;

bool QelMeshSplitTriangle(TQelPrimitivePoints& points, TQelPrimitiveArray& array, int32_t triangle) {
  if (array.GetType() != GL_TRIANGLES || triangle < 0 || 3 * int64_t(triangle) + 2 >= array.GetCount())
    return false;
  const int32_t slot = 3 * triangle;
  const uint32_t c[3] = {static_cast<uint32_t>(array.GetIndices(slot)),
                         static_cast<uint32_t>(array.GetIndices(slot + 1)),
                         static_cast<uint32_t>(array.GetIndices(slot + 2))};
  for (uint32_t p : c)
    if (p >= static_cast<uint32_t>(points.GetCount())) return false;

  uint32_t mid[3];  // ab, bc, ca
  for (int e = 0; e < 3; ++e) {
    const int32_t p = static_cast<int32_t>(c[e]), q = static_cast<int32_t>(c[(e + 1) % 3]);
    TQelMathVector m[3];
    for (int kind = 0; kind < 3; ++kind)
      QelMathVectorInterpolate(points.GetVector(p, kind), points.GetVector(q, kind), m[kind]);
    const int32_t k = points.Add(m[0], m[1], m[2]);
    mid[e] = static_cast<uint32_t>(k);
    if (float* col = points.GetColorArray())
      for (int ch = 0; ch < 4; ++ch) col[4 * k + ch] = 0.5f * (col[4 * p + ch] + col[4 * q + ch]);
    if (uint8_t* e8 = points.GetEdgeFlagArray()) e8[k] = GL_TRUE;
    if (uint8_t* f = points.GetFlagArray()) f[k] = f[p] & f[q];
  }
  const uint32_t ab = mid[0], bc = mid[1], ca = mid[2];
  array.SetIndices(slot, c[0]);
  array.SetIndices(slot + 1, ab);
  array.SetIndices(slot + 2, ca);
  for (uint32_t i : {ab, c[1], bc, ca, bc, c[2], ab, bc, ca}) array.AddIndex(i);
  return true;
}

void QelMeshInvert(TQelPrimitiveArrays arrays) {
  for (TQelPrimitiveArray* a : arrays) a->Invert();
}

int32_t QelMeshGetNearPoint(const TQelPrimitivePoints& points, const TQelPrimitiveArray& array,
                            const TQelMathVector& position) {
  const double* v = points.GetVertexArray();
  const uint32_t* idx = array.GetIndexArray();
  if (!v || !idx || array.GetCount() <= 0) return -1;
  const uint32_t limit = static_cast<uint32_t>(points.GetCount());
  double best = 1.7e308;
  int32_t found = -1;
  for (int32_t k = 0; k < array.GetCount(); ++k) {
    if (idx[k] >= limit) continue;
    const double d = QelMathVectorDist(At(v, idx[k]), position);
    if (d < best) {
      best = d;
      found = static_cast<int32_t>(idx[k]);
    }
  }
  return found;
}

bool QelMeshFreePoints(TQelPrimitivePoints& points, TQelPrimitiveArrays arrays, int32_t i, int32_t n) {
  const int32_t count = points.GetCount();
  if (i < 0 || i >= count || n <= 0) return false;
  n = std::min(n, count - i);
  points.Delete(i, n);
  const uint32_t above = static_cast<uint32_t>(i + n);
  for (TQelPrimitiveArray* a : arrays) {
    uint32_t* idx = a->GetIndexArray();
    for (int32_t k = 0; k < a->GetCount(); ++k)
      if (idx[k] >= above) idx[k] -= static_cast<uint32_t>(n);
  }
  return true;
}

bool QelMeshFreeUnusedPoints(TQelPrimitivePoints& points, TQelPrimitiveArrays arrays) {
  const int32_t count = points.GetCount();
  if (count <= 0) return false;
  std::vector<uint8_t> used(static_cast<size_t>(count), 0);
  for (const TQelPrimitiveArray* a : arrays) {
    if (!a->GetEnabled()) continue;
    const uint32_t* idx = a->GetIndexArray();
    for (int32_t k = 0; k < a->GetCount(); ++k)
      if (idx[k] < static_cast<uint32_t>(count)) used[idx[k]] = 1;
  }
  // The same result as removing each unused point from the highest down,
  // in one pass: every index drops by the number of removed points below it.
  std::vector<uint32_t> removedBelow(static_cast<size_t>(count) + 1, 0);
  for (int32_t p = 0; p < count; ++p) removedBelow[p + 1] = removedBelow[p] + !used[p];
  const uint32_t removed = removedBelow[count];
  if (removed == 0) return false;
  for (TQelPrimitiveArray* a : arrays) {
    uint32_t* idx = a->GetIndexArray();
    for (int32_t k = 0; k < a->GetCount(); ++k)
      idx[k] -= idx[k] < static_cast<uint32_t>(count) ? removedBelow[idx[k]] : removed;
  }
  auto compact = [&](auto* data, size_t width) {
    if (!data) return;
    size_t to = 0;
    for (int32_t p = 0; p < count; ++p)
      if (used[p]) {
        std::memmove(data + to * width, data + static_cast<size_t>(p) * width, width * sizeof(*data));
        ++to;
      }
  };
  compact(points.GetVertexArray(), 3);
  compact(points.GetNormalArray(), 3);
  compact(points.GetTextureArray(), 3);
  compact(points.GetColorArray(), 4);
  compact(points.GetEdgeFlagArray(), 1);
  compact(points.GetFlagArray(), 1);
  const int32_t kept = count - static_cast<int32_t>(removed);
  points.Delete(kept, count - kept);  // the tail: Size stays as it is
  return true;
}

bool QelMeshExtrude(TQelPrimitivePoints& points, TQelPrimitiveArrays arrays,
                    const TQelMathVector& vector, TQelTexture* wallTexture,
                    std::vector<std::unique_ptr<TQelPrimitiveArray>>& added) {
  if (vector == ZEROVEC || !points.GetVertexArray()) return false;
  const int32_t count = points.GetCount();
  std::vector<TQelPrimitiveArray*> faces;
  for (TQelPrimitiveArray* a : arrays)
    if (a->GetEnabled() && QelMeshIsFaceKind(a->GetType())) faces.push_back(a);
  TQelEdgeArray edges;
  QelMeshGetOpenEdges(points, arrays, edges);
  if (faces.empty() || edges.empty()) return false;
  const bool towardsFront = QelMathDotProduct(QelMeshFrontVector(points, arrays), vector) > 0;

  if (wallTexture) {
    points.SetDefineArrays(points.GetDefineArrays() + daTexture);
    points.SetUseArrays(points.GetUseArrays() + daTexture);
  }
  // The copy of the faces, offset by the vector.
  const int32_t offset = points.Add(&points);
  double* v = points.GetVertexArray();
  for (int32_t p = offset; p < offset + count; ++p) Put(v, p, Plus(At(v, p), vector));
  for (TQelPrimitiveArray* from : faces) {
    auto to = std::make_unique<TQelPrimitiveArray>(from->GetType());
    to->Add(from, offset);
    to->SetTexture(from->GetTexture());
    to->SetMaterial(from->GetMaterial());
    to->SetAttributes(from->GetAttributes());
    to->SetTextured(from->GetTextured());
    // The turned side: the original faces when the copy is the top.
    (towardsFront ? from : to.get())->Invert();
    added.push_back(std::move(to));
  }
  if (double* n = points.GetNormalArray()) {
    const int32_t first = towardsFront ? 0 : offset;
    for (int32_t p = first; p < first + count; ++p) Put(n, p, Times(At(n, p), -1));
  }

  // The walls: each runs against its edge's face on the original side.
  auto wall = std::make_unique<TQelPrimitiveArray>(GL_QUADS);
  wall->SetTexture(wallTexture);
  wall->SetTextured(wallTexture != nullptr);
  for (const TQelEdge& e : edges) {
    const TQelMathVector a = points.GetVector(e.a, 0), b = points.GetVector(e.b, 0);
    std::array<TQelMathVector, 4> q;
    if (towardsFront)
      q = {a, b, Plus(b, vector), Plus(a, vector)};
    else
      q = {b, a, Plus(a, vector), Plus(b, vector)};
    TQelMathVector normal;
    if (QelMathNormalVector(q[0], q[1], q[2], true, normal) == 0)
      QelMathNormalVector(q[0], q[2], q[3], true, normal);
    static constexpr double kST[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (int c = 0; c < 4; ++c) {
      const int32_t k = points.Add(q[c], normal, {kST[c][0], kST[c][1], 0});
      if (uint8_t* f = points.GetFlagArray()) f[k] = 0;
      if (uint8_t* e8 = points.GetEdgeFlagArray()) e8[k] = GL_TRUE;
      wall->AddIndex(static_cast<uint32_t>(k));
    }
  }
  added.push_back(std::move(wall));
  return true;
}

bool QelMeshSetReliefBitmap(TQelPrimitivePoints& points, const TBitmap& bitmap, double scaleRed,
                            double scaleGreen, double scaleBlue) {
  double* v = points.GetVertexArray();
  const double* n = points.GetNormalArray();
  const double* t = points.GetTextureArray();
  if (bitmap.GetEmpty() || !v || !n || !t) return false;
  const int w = bitmap.GetWidth(), h = bitmap.GetHeight();
  // Nearest pixel, repeating: floor(s * width) mod width, rows from the bottom.
  auto wrap = [](double u, int size) {
    double f = std::floor(u * size);
    if (!std::isfinite(f)) return 0;
    f = std::fmod(f, static_cast<double>(size));
    if (f < 0) f += size;
    return std::clamp(static_cast<int>(f), 0, size - 1);
  };
  for (int32_t p = 0; p < points.GetCount(); ++p) {
    const TQelMathVector st = At(t, p);
    const int x = wrap(st.x, w), yUp = wrap(st.y, h);
    const TColor c = bitmap.GetPixel(x, h - 1 - yUp);
    const double lift = ((c & 0xFF) * scaleRed + ((c >> 8) & 0xFF) * scaleGreen +
                         ((c >> 16) & 0xFF) * scaleBlue) / 255.0;
    Put(v, p, Plus(At(v, p), Times(At(n, p), lift)));
  }
  return true;
}

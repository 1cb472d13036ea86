#include <algorithm>

#include "qelmeshtools.h"
#include "qelmeshvec.h"
#include "qelon/appearance/qelattr.h"

using qelmesh::At;
using qelmesh::Put;

void QelMeshCalcNormals(TQelPrimitivePoints& points, TQelPrimitiveArrays arrays) {
  if (!points.GetDefineArrays().Contains(daNormal))
    points.SetDefineArrays(points.GetDefineArrays() + daNormal);
  const int32_t count = points.GetCount();
  double* normals = points.GetNormalArray();
  if (!normals || count <= 0) return;

  // Normals are written straight into the store, so linked editing never
  // runs here; the link bit only decides which points share an accumulator.
  iArray master;
  QelMeshCalcMaster(points, TQelPrimitivePoints::NormalLinkBit, master);
  for (int32_t i = 0; i < count; ++i) {
    int32_t m = master[i];
    for (int guard = 0; guard < 64 && master[m] != m; ++guard) m = master[m];
    master[i] = m;
  }
  points.ClearArrays({daNormal});

  std::vector<double> sum(3 * static_cast<size_t>(count), 0.0);
  const uint32_t limit = static_cast<uint32_t>(count);
  auto add = [&](uint32_t corner, const TQelMathVector& n) {
    double* s = &sum[3 * static_cast<size_t>(master[corner])];
    s[0] += n.x;
    s[1] += n.y;
    s[2] += n.z;
  };
  const double* v = points.GetVertexArray();
  // The unit normal of (a, b, c), zero when degenerate or when a corner
  // names no point.
  auto normal = [&](uint32_t a, uint32_t b, uint32_t c) {
    TQelMathVector n;
    if (a < limit && b < limit && c < limit) QelMathNormalVector(At(v, a), At(v, b), At(v, c), true, n);
    return n;
  };
  auto addTriangle = [&](uint32_t a, uint32_t b, uint32_t c) {
    const TQelMathVector n = normal(a, b, c);
    if (n == ZEROVEC) return;
    add(a, n);
    add(b, n);
    add(c, n);
  };

  for (const TQelPrimitiveArray* array : arrays) {
    const uint32_t* i = array->GetIndexArray();
    const int32_t n = array->GetCount();
    if (!v || !array->GetEnabled() || !i || n <= 0) continue;
    const int32_t type = array->GetType();
    if (!QelMeshIsFaceKind(type)) {
      for (int32_t k = 0; k < n; ++k)
        if (i[k] < limit) add(i[k], {0, 0, 1});
      continue;
    }
    // Faces are walked unfiltered: a triangle with a bad corner counts for
    // nothing, but the other triangles of its quad or polygon still do.
    QelMeshForEachFace(*array, UINT32_MAX, [&](const uint32_t* c, int32_t corners) {
      switch (type) {
        case GL_QUADS:
          addTriangle(c[0], c[1], c[2]);
          addTriangle(c[2], c[3], c[0]);
          break;
        case GL_QUAD_STRIP: {
          // Corners (2k, 2k+1, 2k+3, 2k+2): the first of three triangles of
          // the strip's quad that is not degenerate gives all four corners
          // one normal.
          if (c[0] >= limit || c[1] >= limit || c[2] >= limit || c[3] >= limit) break;
          TQelMathVector f = normal(c[0], c[1], c[3]);
          if (f == ZEROVEC) f = normal(c[0], c[2], c[3]);
          if (f == ZEROVEC) f = normal(c[0], c[1], c[2]);
          for (int k = 0; k < 4; ++k) add(c[k], f);
          break;
        }
        case GL_POLYGON:
          for (int32_t k = 0; k < corners; ++k)
            addTriangle(c[k], c[(k + 1) % corners], c[(k + 2) % corners]);
          break;
        default:  // the triangle kinds
          addTriangle(c[0], c[1], c[2]);
          break;
      }
    });
  }

  for (int32_t p = 0; p < count; ++p) {
    const double* s = &sum[3 * static_cast<size_t>(master[p])];
    TQelMathVector n{s[0], s[1], s[2]};
    if (n == ZEROVEC) n = {0, 0, 1};
    QelMathNormalize(n);
    Put(normals, static_cast<size_t>(p), n);
  }
}

void QelMeshCalcTexturePoint(TQelPrimitivePoints& points, const TQelTextureFlags& flags, int32_t i) {
  const uint8_t raw = flags.GetMode();  // compared before the cast: any byte may be stored
  const double* v = points.GetVertexArray();
  double* t = points.GetTextureArray();
  if (raw == txStandard || raw > txSphereZ || !v || !t || i < 0 || i >= points.GetCount()) return;
  const auto mode = static_cast<TQelTextureMode>(raw);
  const TQelMathVector p = At(v, static_cast<size_t>(i));
  const double sx = flags.GetScaleX(), dx = flags.GetShiftX();
  const double sy = flags.GetScaleY(), dy = flags.GetShiftY();
  double s = 0, u = 0;
  switch (mode) {
    case txLinearX: s = p.x * sx + dx; break;
    case txLinearY: s = p.y * sx + dx; break;
    case txLinearZ: s = p.z * sx + dx; break;
    case txLinearXY: s = p.x * sx + dx; u = p.y * sy + dy; break;
    case txLinearYZ: s = p.y * sx + dx; u = p.z * sy + dy; break;
    case txLinearZX: s = p.z * sx + dx; u = p.x * sy + dy; break;
    case txSphereZ: s = QelMathVectorDist(p, flags.GetParamVector()->GetAsMathVector()) * sx + dx; break;
    case txStandard: break;
  }
  Put(t, static_cast<size_t>(i), {s, u, 0});
}

void QelMeshCalcTexture(TQelPrimitivePoints& points, const TQelTextureFlags& flags) {
  if (!points.GetDefineArrays().Contains(daTexture))
    points.SetDefineArrays(points.GetDefineArrays() + daTexture);
  const uint8_t mode = flags.GetMode();
  if (mode == txStandard || mode > txSphereZ) return;
  for (int32_t i = 0; i < points.GetCount(); ++i) QelMeshCalcTexturePoint(points, flags, i);
}

TQelMathVector QelMeshFrontVector(const TQelPrimitivePoints& points, TQelPrimitiveArrays arrays) {
  TQelMathVector sum;
  const double* v = points.GetVertexArray();
  if (!v) return sum;
  const uint32_t limit = static_cast<uint32_t>(std::max(points.GetCount(), 0));
  for (const TQelPrimitiveArray* a : arrays) {
    if (!a->GetEnabled() || !QelMeshIsFaceKind(a->GetType())) continue;
    // Each face's normal twice its area long, after Newell.
    QelMeshForEachFace(*a, limit, [&](const uint32_t* c, int32_t n) {
      for (int32_t k = 0; k < n; ++k) {
        const TQelMathVector p = At(v, c[k]), q = At(v, c[(k + 1) % n]);
        sum.x += (p.y - q.y) * (p.z + q.z);
        sum.y += (p.z - q.z) * (p.x + q.x);
        sum.z += (p.x - q.x) * (p.y + q.y);
      }
    });
  }
  return sum;
}

// Geometric transforms of regions: move_region, zoom_region,
// mirror_region, transpose_region, affine_trans_region,
// projective_trans_region, polar_trans_region.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "ops/region/kernels/transform.h"
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

// Whether the bounding box of r, moved by (dr, dc), stays within
// +-kMaxRegionCoord.
bool MovedBoxOk(const Region& r, int64_t dr, int64_t dc) {
  int32_t r1, c1, r2, c2;
  if (!r.BoundingBox(&r1, &c1, &r2, &c2)) return true;
  return CoordOk(static_cast<double>(r1 + dr)) && CoordOk(static_cast<double>(r2 + dr)) &&
         CoordOk(static_cast<double>(c1 + dc)) && CoordOk(static_cast<double>(c2 + dc));
}

// Reads the pixel mapping of the transform operators: nearest neighbour
// ("nearest_neighbor", or "constant" and "false", which select the same
// pixels for regions).
Vresult CheckInterpolation(const OpContext& ctx, int par) {
  const char* mode = nullptr;
  const Vresult rc = ctx.GetString(par, &mode);
  if (rc != VRESULT_OK) return rc;
  for (const char* ok : {"nearest_neighbor", "constant", "false"})
    if (std::strcmp(mode, ok) == 0) return VRESULT_OK;
  return VERR_CTRL_VALUE(par);
}

// Maps every input region through the 3x3 matrix h.
Vresult MapProjective(OpContext& ctx, const double h[9]) {
  return MapRegions(ctx, [&](const Region& r, RegionPtr* out) {
    ChordList chords;
    const Vresult rc = ChordProjective(r.chords(), h, &chords);
    if (rc == VRESULT_OK) *out = Region::FromCanonicalChords(std::move(chords));
    return rc;
  });
}

// A matrix of `n` finite values from control parameter 0.
Vresult GetMatrix(const OpContext& ctx, size_t n, std::vector<double>* m) {
  const Vresult rc = ctx.GetDoubles(0, *m);
  if (rc != VRESULT_OK) return rc;
  if (m->size() != n) return VERR_CTRL_NUM(0);
  for (double v : *m)
    if (!std::isfinite(v)) return VERR_CTRL_VALUE(0);
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(move_region) {
  int32_t dr = 0, dc = 0;
  Vresult rc = GetCoord(ctx, 0, &dr);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 1, &dc);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& r, RegionPtr* out) {
    if (!MovedBoxOk(r, dr, dc)) return VERR_TOO_LARGE;
    *out = Region::FromCanonicalChords(ChordTranslate(r.chords(), dr, dc));
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(zoom_region) {
  double sx = 0.0, sy = 0.0;
  Vresult rc = ctx.GetDouble(0, &sx);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &sy);
  if (rc != VRESULT_OK) return rc;
  if (!(sx > 0.0) || !std::isfinite(sx)) return VERR_CTRL_VALUE(0);
  if (!(sy > 0.0) || !std::isfinite(sy)) return VERR_CTRL_VALUE(1);
  return MapRegions(ctx, [&](const Region& r, RegionPtr* out) {
    int32_t r1, c1, r2, c2;
    if (r.BoundingBox(&r1, &c1, &r2, &c2)) {
      const double far = std::max({std::fabs(r1 * sy), std::fabs((r2 + 1.0) * sy),
                                   std::fabs(c1 * sx), std::fabs((c2 + 1.0) * sx)});
      if (far > kMaxRegionCoord) return VERR_TOO_LARGE;
    }
    *out = Region::FromCanonicalChords(ChordZoom(r.chords(), sx, sy));
    return VRESULT_OK;
  });
}

// "row": mirror at the horizontal axis of an image `width_height` rows
// high; "column": at the vertical axis of an image that wide; "diagonal":
// exchange rows and columns (width_height unused).
VEXA_OPERATOR(mirror_region) {
  const char* mode = nullptr;
  int32_t size = 0;
  Vresult rc = ctx.GetString(0, &mode);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 1, &size);
  if (rc != VRESULT_OK) return rc;
  ChordList (*mirror)(const ChordList&, int32_t) = nullptr;
  if (std::strcmp(mode, "row") == 0) mirror = ChordMirrorRows;
  else if (std::strcmp(mode, "column") == 0) mirror = ChordMirrorColumns;
  else if (std::strcmp(mode, "diagonal") == 0)
    mirror = [](const ChordList& a, int32_t) { return ChordTransposeAxes(a); };
  else return VERR_CTRL_VALUE(0);
  if (size <= 0) return VERR_CTRL_VALUE(1);
  return MapRegions(ctx, [&](const Region& r, RegionPtr* out) {
    *out = Region::FromCanonicalChords(mirror(r.chords(), size));
    return VRESULT_OK;
  });
}

// Point reflection at (row, column).
VEXA_OPERATOR(transpose_region) {
  int32_t row = 0, col = 0;
  Vresult rc = GetCoord(ctx, 0, &row);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 1, &col);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& r, RegionPtr* out) {
    int32_t r1, c1, r2, c2;
    if (r.BoundingBox(&r1, &c1, &r2, &c2) &&
        !MovedBoxOk(r, 2 * int64_t{row} - r1 - r2, 2 * int64_t{col} - c1 - c2))
      return VERR_TOO_LARGE;
    *out = Region::FromCanonicalChords(ChordPointReflect(r.chords(), row, col));
    return VRESULT_OK;
  });
}

// hom_mat2d: 6 values, the first two rows of the 3x3 matrix acting on
// (row, column, 1).
VEXA_OPERATOR(affine_trans_region) {
  std::vector<double> m;
  Vresult rc = GetMatrix(ctx, 6, &m);
  if (rc == VRESULT_OK) rc = CheckInterpolation(ctx, 1);
  if (rc != VRESULT_OK) return rc;
  const double h[9] = {m[0], m[1], m[2], m[3], m[4], m[5], 0.0, 0.0, 1.0};
  return MapProjective(ctx, h);
}

// hom_mat2d: 9 values of the 3x3 matrix acting on (row, column, 1).
VEXA_OPERATOR(projective_trans_region) {
  std::vector<double> m;
  Vresult rc = GetMatrix(ctx, 9, &m);
  if (rc == VRESULT_OK) rc = CheckInterpolation(ctx, 1);
  if (rc != VRESULT_OK) return rc;
  return MapProjective(ctx, m.data());
}

// The region in polar coordinates about (row, column): output column x
// (0..width-1) steps from angle_start to angle_end, output row y
// (0..height-1) from radius_start to radius_end; an output pixel is set
// when the nearest pixel of its point row - radius sin(angle), column +
// radius cos(angle) is in the region. Only "nearest_neighbor".
VEXA_OPERATOR(polar_trans_region) {
  double d[6];
  Vlong size[2];
  const char* mode = nullptr;
  Vresult rc = VRESULT_OK;
  for (int k = 0; k < 6 && rc == VRESULT_OK; ++k) {
    rc = ctx.GetDouble(k, &d[k]);
    if (rc == VRESULT_OK && !std::isfinite(d[k])) rc = VERR_CTRL_VALUE(k);
  }
  for (int k = 0; k < 2 && rc == VRESULT_OK; ++k) {
    rc = ctx.GetLong(6 + k, &size[k]);
    if (rc == VRESULT_OK && size[k] < 1) rc = VERR_CTRL_VALUE(6 + k);
    if (rc == VRESULT_OK && size[k] > kMaxImageSide) rc = VERR_TOO_LARGE;
  }
  if (rc == VRESULT_OK) rc = ctx.GetString(8, &mode);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(mode, "nearest_neighbor") != 0) return VERR_CTRL_VALUE(8);
  const double row = d[0], col = d[1], a0 = d[2], a1 = d[3], r0 = d[4], r1 = d[5];
  const Vlong w = size[0], h = size[1];
  const double da = w > 1 ? (a1 - a0) / (w - 1) : 0.0, dr = h > 1 ? (r1 - r0) / (h - 1) : 0.0;
  return MapRegions(ctx, [&](const Region& region, RegionPtr* out) {
    ChordList chords;
    for (Vlong y = 0; y < h; ++y) {
      const double radius = r0 + dr * y;
      Vlong start = -1;
      for (Vlong x = 0; x <= w; ++x) {
        bool in = false;
        if (x < w) {
          const double a = a0 + da * x;
          const double sr = std::floor(row - radius * std::sin(a) + 0.5);
          const double sc = std::floor(col + radius * std::cos(a) + 0.5);
          in = CoordOk(sr) && CoordOk(sc) &&
               region.Contains(static_cast<int32_t>(sr), static_cast<int32_t>(sc));
        }
        if (in && start < 0) start = x;
        if (!in && start >= 0) {
          chords.push_back({static_cast<int32_t>(y), static_cast<int32_t>(start),
                            static_cast<int32_t>(x - 1)});
          start = -1;
        }
      }
    }
    *out = Region::FromCanonicalChords(std::move(chords));
    return VRESULT_OK;
  });
}

}  // namespace vexa

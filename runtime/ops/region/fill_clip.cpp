// Hole filling, clipping and partitioning of regions: fill_up,
// fill_up_shape, clip_region, clip_region_rel, partition_rectangle,
// partition_dynamic.
#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/common/named_values.h"
#include "ops/region/region_op_util.h"
#include "ops/region/region_ops.h"
#include "region_store_moments.h"
#include "registry.h"

namespace vexa {
namespace {

// The features fill_up_shape can select holes by.
enum class HoleFeature { kArea, kAnisometry, kPhi, kRa, kRb };

bool ParseHoleFeature(const char* name, HoleFeature* f) {
  static const Named<HoleFeature> kNames[] = {{"area", HoleFeature::kArea},
                                              {"anisometry", HoleFeature::kAnisometry},
                                              {"phi", HoleFeature::kPhi},
                                              {"ra", HoleFeature::kRa},
                                              {"rb", HoleFeature::kRb}};
  return LookUpName(kNames, name, f);
}

double HoleFeatureValue(const ChordList& hole, HoleFeature f) {
  const RegionMoments m = ComputeMoments(hole.data(), hole.size());
  const EllipseAxes e = EllipseFromMoments(m);
  switch (f) {
    case HoleFeature::kArea: return m.area;
    case HoleFeature::kAnisometry: return ShapeFactorsFromMoments(m).anisometry;
    case HoleFeature::kPhi: return e.phi;
    case HoleFeature::kRa: return e.ra;
    case HoleFeature::kRb: return e.rb;
  }
  return 0.0;
}

// Most parts partition_rectangle makes of one region.
constexpr int64_t kMaxParts = int64_t{1} << 22;

// Cuts [first, last] into n parts of nearly equal length; part k starts at
// the returned entry k, entry n is last + 1.
std::vector<int64_t> Cuts(int32_t first, int32_t last, int64_t n) {
  const int64_t len = int64_t{last} - first + 1;
  std::vector<int64_t> at(static_cast<size_t>(n) + 1);
  for (int64_t k = 0; k <= n; ++k) at[static_cast<size_t>(k)] = first + k * len / n;
  return at;
}

// The number of parts of length about `size` in `len` pixels (at least 1).
Vresult PartCount(double size, int32_t len, int par, int64_t* n) {
  if (!(size >= 1.0)) return VERR_CTRL_VALUE(par);
  *n = std::max<int64_t>(1, std::llround(len / size));
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(fill_up) {
  return MapRegions(ctx, [](const Region& r, RegionPtr* out) {
    *out = Region::FromCanonicalChords(
        ChordUnion(r.chords(), ChordHoles(r.chords())));
    return VRESULT_OK;
  });
}

// Fills the holes whose feature lies in [min, max].
VEXA_OPERATOR(fill_up_shape) {
  const char* name = nullptr;
  double min = 0.0, max = 0.0;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &min);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &max);
  if (rc != VRESULT_OK) return rc;
  HoleFeature feature;
  if (!ParseHoleFeature(name, &feature)) return VERR_CTRL_VALUE(0);
  if (std::isnan(min)) return VERR_CTRL_VALUE(1);
  if (std::isnan(max)) return VERR_CTRL_VALUE(2);
  return MapRegions(ctx, [&](const Region& r, RegionPtr* out) {
    std::vector<const ChordList*> keep;
    const std::vector<ChordList> holes =
        ChordComponents(ChordHoles(r.chords()), Neighbourhood::k4);
    keep.push_back(&r.chords());
    for (const ChordList& h : holes) {
      const double v = HoleFeatureValue(h, feature);
      if (v >= min && v <= max) keep.push_back(&h);
    }
    *out = Region::FromCanonicalChords(ChordUnionMany(keep));
    return VRESULT_OK;
  });
}

// The part of each region inside rows row1..row2, columns
// column1..column2 (inclusive; an inverted rectangle keeps nothing).
VEXA_OPERATOR(clip_region) {
  int32_t c[4];
  for (int par = 0; par < 4; ++par)
    if (Vresult rc = GetCoord(ctx, par, &c[par]); rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& r, RegionPtr* out) {
    *out = r.ClipToRectangle(c[0], c[1], c[2], c[3]);
    return VRESULT_OK;
  });
}

// Removes `top` rows from the top of each region's bounding box, `bottom`
// from its bottom, `left` and `right` columns from its sides.
VEXA_OPERATOR(clip_region_rel) {
  int32_t m[4];  // top, bottom, left, right
  for (int par = 0; par < 4; ++par) {
    if (Vresult rc = GetCoord(ctx, par, &m[par]); rc != VRESULT_OK) return rc;
    if (m[par] < 0) return VERR_CTRL_VALUE(par);
  }
  return MapRegions(ctx, [&](const Region& r, RegionPtr* out) {
    int32_t r1, c1, r2, c2;
    if (!r.BoundingBox(&r1, &c1, &r2, &c2)) {
      *out = Region::Empty();
      return VRESULT_OK;
    }
    *out = r.ClipToRectangle(r1 + m[0], c1 + m[2], r2 - m[1], c2 - m[3]);
    return VRESULT_OK;
  });
}

// Cuts each region's bounding box into a grid of rectangles of about
// width x height pixels (equal parts, rounded to the nearest count) and
// gives the non-empty parts of the region in them, row of parts by row.
VEXA_OPERATOR(partition_rectangle) {
  double width = 0.0, height = 0.0;
  Vresult rc = ctx.GetDouble(0, &width);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &height);
  if (rc != VRESULT_OK) return rc;
  std::vector<RegionPtr> in, out;
  rc = InpRegions(ctx, 1, &in);
  for (size_t i = 0; i < in.size() && rc == VRESULT_OK; ++i) {
    int32_t r1, c1, r2, c2;
    if (!in[i]->BoundingBox(&r1, &c1, &r2, &c2)) continue;
    int64_t nc = 0, nr = 0;
    rc = PartCount(width, c2 - c1 + 1, 0, &nc);
    if (rc == VRESULT_OK) rc = PartCount(height, r2 - r1 + 1, 1, &nr);
    if (rc != VRESULT_OK) break;
    if (nr * nc > kMaxParts) {
      rc = VERR_TOO_LARGE;
      break;
    }
    const std::vector<int64_t> rows = Cuts(r1, r2, nr), cols = Cuts(c1, c2, nc);
    for (int64_t y = 0; y < nr; ++y)
      for (int64_t x = 0; x < nc; ++x) {
        RegionPtr part = in[i]->ClipToRectangle(
            static_cast<int32_t>(rows[y]), static_cast<int32_t>(cols[x]),
            static_cast<int32_t>(rows[y + 1] - 1),
            static_cast<int32_t>(cols[x + 1] - 1));
        if (!part->empty()) out.push_back(std::move(part));
      }
  }
  if (rc != VRESULT_OK) return rc;
  return OutRegions(ctx, 1, out);
}

// Cuts each region into vertical strips of about `width` columns, each
// ending where the region is thinnest: within `percent` % of the width on
// either side of the nominal last column, at the column holding the fewest
// region pixels (the first of equal ones). A strip ends there and the next
// starts one column further; what is left once the nominal end reaches
// the region's right end is the last strip. The non-empty strips, left to
// right: a text line splits between its characters.
VEXA_OPERATOR(partition_dynamic) {
  double width = 0.0, percent = 0.0;
  Vresult rc = ctx.GetDouble(0, &width);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &percent);
  if (rc != VRESULT_OK) return rc;
  if (!(width >= 1.0) || !CoordOk(width)) return VERR_CTRL_VALUE(0);
  if (!(percent >= 0.0 && percent <= 100.0)) return VERR_CTRL_VALUE(1);
  const auto step = static_cast<int64_t>(std::llround(width));
  const auto reach = static_cast<int64_t>(std::llround(width * percent / 100.0));
  return SplitRegions(ctx, [&](const Region& in, std::vector<RegionPtr>* out) {
    int32_t r1, c1, r2, c2;
    if (!in.BoundingBox(&r1, &c1, &r2, &c2)) return VRESULT_OK;
    // Region pixels per column, from the chords' ends.
    std::vector<int64_t> count(static_cast<size_t>(c2 - c1) + 2, 0);
    for (const Chord& ch : in.chords()) ++count[ch.cb - c1], --count[ch.ce - c1 + 1];
    for (size_t k = 1; k < count.size(); ++k) count[k] += count[k - 1];
    int64_t start = c1;
    while (start <= c2) {
      int64_t end = c2;
      if (start + step - 1 < c2) {
        const int64_t nominal = start + step - 1;
        const int64_t lo = std::max(start, nominal - reach), hi = std::min<int64_t>(c2, nominal + reach);
        end = lo;
        for (int64_t c = lo + 1; c <= hi; ++c)
          if (count[c - c1] < count[end - c1]) end = c;
      }
      RegionPtr part = in.ClipToRectangle(r1, static_cast<int32_t>(start), r2, static_cast<int32_t>(end));
      if (!part->empty()) out->push_back(std::move(part));
      start = end + 1;
    }
    return VRESULT_OK;
  });
}

}  // namespace vexa

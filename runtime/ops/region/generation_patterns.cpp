// Regions of patterns and chance: gen_checker_region, gen_grid_region,
// gen_region_hline, gen_region_histo, gen_random_region,
// gen_random_regions, hamming_change_region. Random values come from the
// runtime's generator (VDrand48), so VSrand48 repeats them.
#include <cmath>
#include <cstring>
#include <vector>

#include "ops/region/kernels/raster.h"
#include "ops/region/region_ops.h"
#include "registry.h"
#include "vexa/runtime.h"

namespace vexa {
namespace {

// Positive integers from parameters first.., each at most `limit` (beyond:
// VERR_TOO_LARGE).
Vresult GetPositive(const OpContext& ctx, int first, int count, Vlong limit, Vlong* v,
                    bool allow_zero = false) {
  for (int k = 0; k < count; ++k) {
    const Vresult rc = ctx.GetLong(first + k, &v[k]);
    if (rc != VRESULT_OK) return rc;
    if (v[k] < (allow_zero ? 0 : 1)) return VERR_CTRL_VALUE(first + k);
    if (v[k] > limit) return VERR_TOO_LARGE;
  }
  return VRESULT_OK;
}

double Uniform(double lo, double hi) { return lo + (hi - lo) * VDrand48(); }

// Most pixels gen_region_histo draws.
constexpr double kMaxHistoPixels = double(1 << 26);

}  // namespace

// Squares of width_pattern x height_pattern within width x height,
// alternating, the top-left one set.
VEXA_OPERATOR(gen_checker_region) {
  Vlong v[4];
  const Vresult rc = GetPositive(ctx, 0, 4, kMaxImageSide, v);
  if (rc != VRESULT_OK) return rc;
  const Vlong w = v[0], h = v[1], pw = v[2], ph = v[3];
  ChordList out;
  for (Vlong r = 0; r < h; ++r)
    for (Vlong c = (r / ph) % 2 == 0 ? 0 : pw; c < w; c += 2 * pw)
      out.push_back({static_cast<int32_t>(r), static_cast<int32_t>(c),
                     static_cast<int32_t>(std::min(c + pw, w) - 1)});
  return OutRegion(ctx, 1, Region::FromCanonicalChords(std::move(out)));
}

// "lines": every row_steps-th row and every column_steps-th column of a
// width x height image (a step of 0 leaves that direction out); "points":
// only the crossings.
VEXA_OPERATOR(gen_grid_region) {
  Vlong steps[2], size[2];
  const char* type = nullptr;
  Vresult rc = GetPositive(ctx, 0, 2, kMaxImageSide, steps, true);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &type);
  if (rc == VRESULT_OK) rc = GetPositive(ctx, 3, 2, kMaxImageSide, size);
  if (rc != VRESULT_OK) return rc;
  const bool lines = std::strcmp(type, "lines") == 0;
  if (!lines && std::strcmp(type, "points") != 0) return VERR_CTRL_VALUE(2);
  const Vlong rs = steps[0], cs = steps[1], w = size[0], h = size[1];
  if (!lines && (rs == 0 || cs == 0)) return VERR_CTRL_VALUE(rs == 0 ? 0 : 1);
  ChordList out;
  for (Vlong r = 0; r < h; ++r) {
    const bool full_row = rs > 0 && r % rs == 0;
    if (lines && full_row) {
      out.push_back({static_cast<int32_t>(r), 0, static_cast<int32_t>(w - 1)});
    } else if ((lines && cs > 0) || (!lines && full_row)) {
      for (Vlong c = 0; c < w; c += cs)
        out.push_back({static_cast<int32_t>(r), static_cast<int32_t>(c), static_cast<int32_t>(c)});
    }
  }
  return OutRegion(ctx, 1, Region::FromCanonicalChords(std::move(out)));
}

// Lines in normal form, within the default frame: the pixels (r, c) with
// -0.5 <= c cos(orientation) - r sin(orientation) - distance < 0.5, one
// region per index.
VEXA_OPERATOR(gen_region_hline) {
  std::vector<std::vector<double>> v;
  size_t n = 0;
  Vresult rc = GetBroadcastDoubles(ctx, 0, 2, &v, &n);
  if (rc != VRESULT_OK) return rc;
  std::vector<RegionPtr> out;
  for (size_t i = 0; i < n; ++i) {
    const double a = v[0][i], d = v[1][i];
    if (!std::isfinite(a)) return VERR_CTRL_VALUE(0);
    if (!std::isfinite(d)) return VERR_CTRL_VALUE(1);
    const double sn = std::sin(a), cs = std::cos(a);
    ChordList chords;
    for (int32_t r = 0; r < kFrameHeight; ++r) {
      // x cs in [lo, hi) with lo = r sn + d - 0.5, hi = lo + 1.
      const double lo = r * sn + d - 0.5, hi = lo + 1.0;
      double first = 0, last = kFrameWidth - 1;
      if (std::fabs(cs) < 1e-12) {
        if (!(0.0 >= lo && 0.0 < hi)) continue;
      } else if (cs > 0) {
        first = std::max(first, std::ceil(lo / cs));
        last = std::min(last, std::ceil(hi / cs) - 1);
      } else {
        first = std::max(first, std::floor(hi / cs) + 1);
        last = std::min(last, std::floor(lo / cs));
      }
      if (first <= last)
        chords.push_back({r, static_cast<int32_t>(first), static_cast<int32_t>(last)});
    }
    out.push_back(Region::FromCanonicalChords(std::move(chords)));
  }
  return OutRegions(ctx, 1, out);
}

// Every pixel of a width x height image with probability one half.
VEXA_OPERATOR(gen_random_region) {
  Vlong v[2];
  const Vresult rc = GetPositive(ctx, 0, 2, kMaxImageSide, v);
  if (rc != VRESULT_OK) return rc;
  ChordList out;
  for (Vlong r = 0; r < v[1]; ++r)
    for (Vlong c = 0; c < v[0];) {
      while (c < v[0] && VDrand48() >= 0.5) ++c;
      const Vlong start = c;
      while (c < v[0] && VDrand48() < 0.5) ++c;
      if (c > start)
        out.push_back({static_cast<int32_t>(r), static_cast<int32_t>(start),
                       static_cast<int32_t>(c - 1)});
    }
  return OutRegion(ctx, 1, Region::FromCanonicalChords(std::move(out)));
}

// num_regions shapes ("circle", "ellipse", "rectangle1", "rectangle2")
// with sizes drawn from [min, max] (radii or half lengths; full sides for
// rectangle1), angles from [phi_min, phi_max], centres within
// max_width x max_height.
VEXA_OPERATOR(gen_random_regions) {
  const char* type = nullptr;
  double d[6];
  Vlong count[3];
  Vresult rc = ctx.GetString(0, &type);
  for (int k = 0; k < 6 && rc == VRESULT_OK; ++k) {
    rc = ctx.GetDouble(1 + k, &d[k]);
    if (rc == VRESULT_OK && !std::isfinite(d[k])) rc = VERR_CTRL_VALUE(1 + k);
  }
  if (rc == VRESULT_OK) rc = GetPositive(ctx, 7, 3, kMaxImageSide, count);
  if (rc != VRESULT_OK) return rc;
  const double wmin = d[0], wmax = d[1], hmin = d[2], hmax = d[3], pmin = d[4], pmax = d[5];
  if (!(wmin > 0) || wmax < wmin) return VERR_CTRL_VALUE(!(wmin > 0) ? 1 : 2);
  if (!(hmin > 0) || hmax < hmin) return VERR_CTRL_VALUE(!(hmin > 0) ? 3 : 4);
  if (pmax < pmin) return VERR_CTRL_VALUE(6);
  if (wmax > kMaxRegionCoord || hmax > kMaxRegionCoord) return VERR_TOO_LARGE;
  enum { kCircle, kEllipse, kRect1, kRect2 } shape;
  if (std::strcmp(type, "circle") == 0) shape = kCircle;
  else if (std::strcmp(type, "ellipse") == 0) shape = kEllipse;
  else if (std::strcmp(type, "rectangle1") == 0) shape = kRect1;
  else if (std::strcmp(type, "rectangle2") == 0) shape = kRect2;
  else return VERR_CTRL_VALUE(0);
  std::vector<RegionPtr> out;
  for (Vlong i = 0; i < count[0]; ++i) {
    const double row = Uniform(0, count[2] - 1.0), col = Uniform(0, count[1] - 1.0);
    const double w = Uniform(wmin, wmax), h = Uniform(hmin, hmax), phi = Uniform(pmin, pmax);
    ChordList chords;
    switch (shape) {
      case kCircle: chords = RasterEllipse(row, col, 0, w, w); break;
      case kEllipse: chords = RasterEllipse(row, col, phi, w, h); break;
      case kRect2: chords = RasterRectangle2(row, col, phi, w, h); break;
      case kRect1:
        chords = RasterRectangle2(row, col, 0, (w - 1) / 2, (h - 1) / 2);
        break;
    }
    out.push_back(Region::FromCanonicalChords(std::move(chords)));
  }
  return OutRegions(ctx, 1, out);
}

// A histogram drawn as a region: the value v of bin k is the column
// `column` + k, from the base row `row` to row `row` - round(v * scale),
// both included, so bars of positive values rise above the base line,
// those of negative values hang below it, and a zero is the base pixel.
VEXA_OPERATOR(gen_region_histo) {
  std::vector<double> values;
  double row = 0, column = 0, scale = 0;
  Vresult rc = ctx.GetDoubles(0, values);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &row);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &column);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &scale);
  if (rc != VRESULT_OK) return rc;
  if (!CoordOk(row) || row != std::floor(row)) return VERR_CTRL_VALUE(1);
  if (!CoordOk(column) || column != std::floor(column) ||
      !CoordOk(column + static_cast<double>(values.size())))
    return VERR_CTRL_VALUE(2);
  if (!std::isfinite(scale)) return VERR_CTRL_VALUE(3);
  // Ends of each bar first, so that the pixel count is checked before any
  // chord is made.
  std::vector<int32_t> ends(values.size());
  double pixels = 0;
  for (size_t k = 0; k < values.size(); ++k) {
    const double end = row - std::round(values[k] * scale);
    if (!std::isfinite(values[k]) || !CoordOk(end)) return VERR_CTRL_VALUE(0);
    ends[k] = static_cast<int32_t>(end);
    pixels += std::fabs(end - row) + 1;
  }
  // A chord per pixel of the bars: beyond this the region would take
  // gigabytes, which no histogram plot needs.
  if (pixels > static_cast<double>(kMaxHistoPixels)) return VERR_TOO_LARGE;
  ChordList chords;
  chords.reserve(static_cast<size_t>(pixels));
  const auto base = static_cast<int32_t>(row);
  for (size_t k = 0; k < ends.size(); ++k) {
    const auto c = static_cast<int32_t>(column + static_cast<double>(k));
    for (int32_t r = std::min(base, ends[k]); r <= std::max(base, ends[k]); ++r)
      chords.push_back({r, c, c});
  }
  return OutRegion(ctx, 1, Region::FromChords(std::move(chords)));
}

// Each region with exactly `distance` pixels of the rectangle rows
// 0..height-1, columns 0..width-1 flipped (added where they were missing,
// removed where they were set), chosen at random without repetition: the
// result has that Hamming distance to the input. Pixels outside the
// rectangle are kept.
VEXA_OPERATOR(hamming_change_region) {
  Vlong v[2], distance = 0;
  Vresult rc = GetPositive(ctx, 0, 2, kMaxImageSide, v);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &distance);
  if (rc != VRESULT_OK) return rc;
  const Vlong width = v[0], height = v[1], area = width * height;
  if (distance < 0 || distance > area) return VERR_CTRL_VALUE(2);
  // One flag per pixel of the rectangle is kept while drawing.
  if (area > (Vlong{1} << 28)) return VERR_TOO_LARGE;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    // Draws the smaller of the flipped and the kept set, so that the
    // expected number of draws stays below twice the pixels chosen.
    const bool draw_kept = distance > area / 2;
    const Vlong wanted = draw_kept ? area - distance : distance;
    std::vector<bool> drawn(static_cast<size_t>(area), false);
    for (Vlong got = 0; got < wanted;) {
      const auto at = std::min(static_cast<Vlong>(VDrand48() * static_cast<double>(area)), area - 1);
      if (drawn[static_cast<size_t>(at)]) continue;
      drawn[static_cast<size_t>(at)] = true;
      ++got;
    }
    ChordList flips;
    for (Vlong r = 0; r < height; ++r)
      for (Vlong c = 0; c < width;) {
        const auto flipped = [&](Vlong col) {
          return drawn[static_cast<size_t>(r * width + col)] != draw_kept;
        };
        while (c < width && !flipped(c)) ++c;
        const Vlong start = c;
        while (c < width && flipped(c)) ++c;
        if (c > start)
          flips.push_back({static_cast<int32_t>(r), static_cast<int32_t>(start),
                           static_cast<int32_t>(c - 1)});
      }
    *out = Region::FromCanonicalChords(ChordSymmDifference(in.chords(), flips));
    return VRESULT_OK;
  });
}

}  // namespace vexa

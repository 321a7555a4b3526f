// distance_transform and closest_point_transform: per region, an image of
// width x height whose pixels hold their distance to the nearest source
// pixel, and for closest_point_transform also where that source lies.
// With foreground "true" the sources are the image pixels outside the
// region (so region pixels get their distance to the background), with
// "false" the region's pixels. Metrics: "city-block" and "chessboard" give
// int4 images (two passes of a 3x3 chamfer, exact for these metrics),
// "euclidean" a real image (exact: squared distances by lower envelopes of
// parabolas, per column then per row). Without any source pixel every
// distance is width + height, farther than any pixel of the image.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

enum class Metric { kCityBlock, kChessboard, kEuclidean };

// Exact squared distances along one line: f holds the squared distance of
// each position's nearest source across the line (`inf` for none); d
// receives min over q of (p - q)^2 + f[q], and `nearest` (when given) the
// q of that minimum (-1 where there is none).
void Envelope(const double* f, double* d, int* nearest, int n, std::vector<int>& v,
              std::vector<double>& z) {
  const double inf = HUGE_VAL;
  v.assign(static_cast<size_t>(n), 0);
  z.assign(static_cast<size_t>(n) + 1, 0);
  int k = -1;  // index of the rightmost parabola of the envelope
  for (int q = 0; q < n; ++q) {
    if (f[q] == inf) continue;
    double s = 0;
    while (k >= 0) {
      const int p = v[k];
      s = ((f[q] + double(q) * q) - (f[p] + double(p) * p)) / (2.0 * (q - p));
      if (s > z[k]) break;
      --k;  // parabola p is hidden by q
    }
    ++k;
    v[k] = q;
    z[k] = k == 0 ? -inf : s;
    z[k + 1] = inf;
  }
  if (k < 0) {
    for (int i = 0; i < n; ++i) d[i] = inf;
    if (nearest) std::fill(nearest, nearest + n, -1);
    return;
  }
  k = 0;
  for (int q = 0; q < n; ++q) {
    while (z[k + 1] < q) ++k;
    d[q] = (q - v[k]) * double(q - v[k]) + f[v[k]];
    if (nearest) nearest[q] = v[k];
  }
}

// Squared euclidean distances of a w x h grid whose sources are set; with
// `nearest`, also the buffer offset of a nearest source of each pixel (-1
// without any source).
void EuclideanSquared(const std::vector<uint8_t>& src, int w, int h, std::vector<double>* out,
                      std::vector<int32_t>* nearest) {
  const double inf = HUGE_VAL;
  std::vector<double> col(h), dcol(h), row(w), drow(w), z;
  std::vector<int> v, near_row(nearest ? h : 0), near_col(nearest ? w : 0);
  // The row of the nearest source within each pixel's column.
  std::vector<int32_t> source_row(nearest ? static_cast<size_t>(w) * h : 0);
  out->assign(static_cast<size_t>(w) * h, inf);
  for (int c = 0; c < w; ++c) {
    for (int r = 0; r < h; ++r) col[r] = src[static_cast<size_t>(r) * w + c] ? 0.0 : inf;
    Envelope(col.data(), dcol.data(), nearest ? near_row.data() : nullptr, h, v, z);
    for (int r = 0; r < h; ++r) {
      (*out)[static_cast<size_t>(r) * w + c] = dcol[r];
      if (nearest) source_row[static_cast<size_t>(r) * w + c] = near_row[r];
    }
  }
  if (nearest) nearest->assign(static_cast<size_t>(w) * h, -1);
  for (int r = 0; r < h; ++r) {
    double* line = out->data() + static_cast<size_t>(r) * w;
    std::copy(line, line + w, row.begin());
    Envelope(row.data(), drow.data(), nearest ? near_col.data() : nullptr, w, v, z);
    std::copy(drow.begin(), drow.end(), line);
    if (!nearest) continue;
    for (int c = 0; c < w; ++c) {
      const int sc = near_col[c];
      if (sc < 0) continue;
      const int32_t sr = source_row[static_cast<size_t>(r) * w + sc];
      (*nearest)[static_cast<size_t>(r) * w + c] = sr * w + sc;
    }
  }
}

// Chamfer distances with unit steps to the 4 (city-block) or 8
// (chessboard) neighbours, forward then backward. With `nearest` each
// pixel also takes the source of the neighbour its distance came through:
// that source lies at exactly the pixel's distance (no farther, by the
// triangle inequality, and no nearer, as the distance is the least), so
// it is a nearest one. -1 without any source.
void Chamfer(const std::vector<uint8_t>& src, int w, int h, bool diagonal, int32_t far,
             int32_t* d, int32_t* nearest) {
  for (size_t i = 0; i < src.size(); ++i) {
    d[i] = src[i] ? 0 : far;
    if (nearest) nearest[i] = src[i] ? static_cast<int32_t>(i) : -1;
  }
  const auto relax = [&](int r, int c, int dr, int dc) {
    const int y = r + dr, x = c + dc;
    if (y < 0 || y >= h || x < 0 || x >= w) return;
    const size_t here = static_cast<size_t>(r) * w + c, there = static_cast<size_t>(y) * w + x;
    if (d[there] + 1 >= d[here]) return;
    d[here] = d[there] + 1;
    if (nearest) nearest[here] = nearest[there];
  };
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      relax(r, c, -1, 0), relax(r, c, 0, -1);
      if (diagonal) relax(r, c, -1, -1), relax(r, c, -1, 1);
    }
  for (int r = h - 1; r >= 0; --r)
    for (int c = w - 1; c >= 0; --c) {
      relax(r, c, 1, 0), relax(r, c, 0, 1);
      if (diagonal) relax(r, c, 1, 1), relax(r, c, 1, -1);
    }
}

// The parameters both operators share: metric (control 0), foreground
// (control 1) and the image size (controls `size_par`, `size_par` + 1).
struct TransformParams {
  Metric metric;
  bool foreground;
  int width, height;
};

Vresult ReadTransformParams(const OpContext& ctx, int size_par, TransformParams* p) {
  const char* metric_name = nullptr;
  const char* fg = nullptr;
  Vlong size[2];
  Vresult rc = ctx.GetString(0, &metric_name);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &fg);
  for (int k = 0; k < 2 && rc == VRESULT_OK; ++k) {
    rc = ctx.GetLong(size_par + k, &size[k]);
    if (rc == VRESULT_OK && size[k] < 1) rc = VERR_CTRL_VALUE(size_par + k);
    if (rc == VRESULT_OK && size[k] > kMaxImageSide) rc = VERR_TOO_LARGE;
  }
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(metric_name, "city-block") == 0) p->metric = Metric::kCityBlock;
  else if (std::strcmp(metric_name, "chessboard") == 0) p->metric = Metric::kChessboard;
  else if (std::strcmp(metric_name, "euclidean") == 0) p->metric = Metric::kEuclidean;
  else return VERR_CTRL_VALUE(0);
  p->foreground = std::strcmp(fg, "true") == 0;
  if (!p->foreground && std::strcmp(fg, "false") != 0) return VERR_CTRL_VALUE(1);
  p->width = static_cast<int>(size[0]);
  p->height = static_cast<int>(size[1]);
  return VRESULT_OK;
}

// The source pixels of region `r` over the image, written run by run.
std::vector<uint8_t> SourcesOf(const Region& r, const TransformParams& p) {
  const int w = p.width, h = p.height;
  std::vector<uint8_t> src(static_cast<size_t>(w) * h, p.foreground ? 1 : 0);
  const RegionPtr inside = r.ClipToRectangle(0, 0, h - 1, w - 1);
  for (const Chord& ch : inside->chords())
    std::memset(src.data() + static_cast<size_t>(ch.r) * w + ch.cb, p.foreground ? 0 : 1,
                static_cast<size_t>(ch.ce - ch.cb + 1));
  return src;
}

// The distance image of one region as a new object in `out`; with
// `nearest`, the buffer offsets of the nearest sources as well.
Vresult DistanceImage(const Region& r, const TransformParams& p, NewKeys* out,
                      std::vector<int32_t>* nearest) {
  const int w = p.width, h = p.height;
  const std::vector<uint8_t> src = SourcesOf(r, p);
  Vkey key = VKEY_UNDEF;
  Vresult rc = db::NewBlankImage(p.metric == Metric::kEuclidean ? PixelType::kReal : PixelType::kInt4,
                                 w, h, 1, nullptr, &key);
  if (rc != VRESULT_OK) return rc;
  out->Add(key);
  PixelBuffer* buf = nullptr;
  if ((rc = db::WritableChannel(key, 0, &buf)) != VRESULT_OK) return rc;
  const int32_t far = w + h;
  if (p.metric == Metric::kEuclidean) {
    std::vector<double> sq;
    EuclideanSquared(src, w, h, &sq, nearest);
    float* px = reinterpret_cast<float*>(buf->data());
    for (size_t i = 0; i < sq.size(); ++i)
      px[i] = static_cast<float>(std::isinf(sq[i]) ? far : std::sqrt(sq[i]));
  } else {
    if (nearest) nearest->resize(src.size());
    Chamfer(src, w, h, p.metric == Metric::kChessboard, far,
            reinterpret_cast<int32_t*>(buf->data()), nearest ? nearest->data() : nullptr);
  }
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(distance_transform) {
  TransformParams p;
  Vresult rc = ReadTransformParams(ctx, 2, &p);
  std::vector<RegionPtr> in;
  if (rc == VRESULT_OK) rc = InpRegions(ctx, 1, &in);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  for (size_t i = 0; i < in.size() && rc == VRESULT_OK; ++i)
    rc = DistanceImage(*in[i], p, &out, nullptr);
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// distance_transform, and per region a second image of two int4 channels:
// the row and the column of a nearest source pixel ("absolute"), or its
// offset from the pixel ("relative"). Of several sources at the same
// distance, any one may be given. Without any source there is none: -1,
// -1 ("absolute") or 0, 0 ("relative").
VEXA_OPERATOR(closest_point_transform) {
  TransformParams p;
  const char* mode = nullptr;
  Vresult rc = ReadTransformParams(ctx, 3, &p);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &mode);
  if (rc != VRESULT_OK) return rc;
  const bool relative = std::strcmp(mode, "relative") == 0;
  if (!relative && std::strcmp(mode, "absolute") != 0) return VERR_CTRL_VALUE(2);
  std::vector<RegionPtr> in;
  if ((rc = InpRegions(ctx, 1, &in)) != VRESULT_OK) return rc;
  NewKeys distances, points;
  for (const RegionPtr& r : in) {
    std::vector<int32_t> nearest;
    if ((rc = DistanceImage(*r, p, &distances, &nearest)) != VRESULT_OK) return rc;
    Vkey key = VKEY_UNDEF;
    if ((rc = db::NewBlankImage(PixelType::kInt4, p.width, p.height, 2, nullptr, &key)) != VRESULT_OK)
      return rc;
    points.Add(key);
    PixelBuffer *rows = nullptr, *cols = nullptr;
    if ((rc = db::WritableChannel(key, 0, &rows)) != VRESULT_OK) return rc;
    if ((rc = db::WritableChannel(key, 1, &cols)) != VRESULT_OK) return rc;
    auto* pr = reinterpret_cast<int32_t*>(rows->data());
    auto* pc = reinterpret_cast<int32_t*>(cols->data());
    for (size_t i = 0; i < nearest.size(); ++i) {
      const int32_t at = nearest[i];
      const int32_t r0 = static_cast<int32_t>(i / p.width), c0 = static_cast<int32_t>(i % p.width);
      const int32_t sr = at < 0 ? -1 : at / p.width, sc = at < 0 ? -1 : at % p.width;
      pr[i] = relative ? (at < 0 ? 0 : sr - r0) : sr;
      pc[i] = relative ? (at < 0 ? 0 : sc - c0) : sc;
    }
  }
  rc = distances.HandOver(ctx, 1);
  return rc == VRESULT_OK ? points.HandOver(ctx, 2) : rc;
}

}  // namespace vexa

// distance_transform: per region, an image of width x height whose pixels
// hold their distance to the nearest source pixel. With foreground "true"
// the sources are the image pixels outside the region (so region pixels
// get their distance to the background), with "false" the region's pixels.
// Metrics: "city-block" and "chessboard" give int4 images (two passes of
// a 3x3 chamfer, exact for these metrics), "euclidean" a real image (exact:
// squared distances by lower envelopes of parabolas, per column then per
// row). Without any source pixel every distance is width + height, farther
// than any pixel of the image.
#include <cmath>
#include <cstring>

#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

enum class Metric { kCityBlock, kChessboard, kEuclidean };

// Exact squared distances along one line: f holds 0 at sources and `inf`
// elsewhere; d receives min over q of (p - q)^2 + f[q].
void Envelope(const double* f, double* d, int n, std::vector<int>& v, std::vector<double>& z) {
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
    return;
  }
  k = 0;
  for (int q = 0; q < n; ++q) {
    while (z[k + 1] < q) ++k;
    d[q] = (q - v[k]) * double(q - v[k]) + f[v[k]];
  }
}

// Squared euclidean distances of a w x h grid whose sources are set.
void EuclideanSquared(const std::vector<uint8_t>& src, int w, int h, std::vector<double>* out) {
  const double inf = HUGE_VAL;
  std::vector<double> col(h), dcol(h), row(w), drow(w), z;
  std::vector<int> v;
  out->assign(static_cast<size_t>(w) * h, inf);
  for (int c = 0; c < w; ++c) {
    for (int r = 0; r < h; ++r) col[r] = src[static_cast<size_t>(r) * w + c] ? 0.0 : inf;
    Envelope(col.data(), dcol.data(), h, v, z);
    for (int r = 0; r < h; ++r) (*out)[static_cast<size_t>(r) * w + c] = dcol[r];
  }
  for (int r = 0; r < h; ++r) {
    double* line = out->data() + static_cast<size_t>(r) * w;
    std::copy(line, line + w, row.begin());
    Envelope(row.data(), drow.data(), w, v, z);
    std::copy(drow.begin(), drow.end(), line);
  }
}

// Chamfer distances with unit steps to the 4 (city-block) or 8
// (chessboard) neighbours, forward then backward.
void Chamfer(const std::vector<uint8_t>& src, int w, int h, bool diagonal, int32_t far,
             int32_t* d) {
  for (size_t i = 0; i < src.size(); ++i) d[i] = src[i] ? 0 : far;
  const auto relax = [&](int r, int c, int dr, int dc) {
    const int y = r + dr, x = c + dc;
    if (y < 0 || y >= h || x < 0 || x >= w) return;
    int32_t& here = d[static_cast<size_t>(r) * w + c];
    here = std::min(here, d[static_cast<size_t>(y) * w + x] + 1);
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

}  // namespace

VEXA_OPERATOR(distance_transform) {
  const char* metric_name = nullptr;
  const char* fg = nullptr;
  Vlong size[2];
  Vresult rc = ctx.GetString(0, &metric_name);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &fg);
  for (int k = 0; k < 2 && rc == VRESULT_OK; ++k) {
    rc = ctx.GetLong(2 + k, &size[k]);
    if (rc == VRESULT_OK && size[k] < 1) rc = VERR_CTRL_VALUE(2 + k);
    if (rc == VRESULT_OK && size[k] > kMaxImageSide) rc = VERR_TOO_LARGE;
  }
  if (rc != VRESULT_OK) return rc;
  Metric metric;
  if (std::strcmp(metric_name, "city-block") == 0) metric = Metric::kCityBlock;
  else if (std::strcmp(metric_name, "chessboard") == 0) metric = Metric::kChessboard;
  else if (std::strcmp(metric_name, "euclidean") == 0) metric = Metric::kEuclidean;
  else return VERR_CTRL_VALUE(0);
  const bool foreground = std::strcmp(fg, "true") == 0;
  if (!foreground && std::strcmp(fg, "false") != 0) return VERR_CTRL_VALUE(1);
  const int w = static_cast<int>(size[0]), h = static_cast<int>(size[1]);
  std::vector<RegionPtr> in;
  if ((rc = InpRegions(ctx, 1, &in)) != VRESULT_OK) return rc;
  NewKeys out;
  for (const RegionPtr& r : in) {
    // The sources, written run by run.
    std::vector<uint8_t> src(static_cast<size_t>(w) * h, foreground ? 1 : 0);
    const RegionPtr inside = r->ClipToRectangle(0, 0, h - 1, w - 1);
    for (const Chord& ch : inside->chords())
      std::memset(src.data() + static_cast<size_t>(ch.r) * w + ch.cb, foreground ? 0 : 1,
                  static_cast<size_t>(ch.ce - ch.cb + 1));
    Vkey key = VKEY_UNDEF;
    rc = db::NewBlankImage(metric == Metric::kEuclidean ? PixelType::kReal : PixelType::kInt4, w,
                           h, 1, nullptr, &key);
    if (rc != VRESULT_OK) return rc;
    out.Add(key);
    PixelBuffer* buf = nullptr;
    if ((rc = db::WritableChannel(key, 0, &buf)) != VRESULT_OK) return rc;
    const int32_t far = w + h;
    if (metric == Metric::kEuclidean) {
      std::vector<double> sq;
      EuclideanSquared(src, w, h, &sq);
      float* px = reinterpret_cast<float*>(buf->data());
      for (size_t i = 0; i < sq.size(); ++i)
        px[i] = static_cast<float>(std::isinf(sq[i]) ? far : std::sqrt(sq[i]));
    } else {
      Chamfer(src, w, h, metric == Metric::kChessboard, far,
              reinterpret_cast<int32_t*>(buf->data()));
    }
  }
  return out.HandOver(ctx, 1);
}

}  // namespace vexa

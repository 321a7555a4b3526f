// Gray-value co-occurrence of byte images and the texture features drawn
// from it: gen_cooc_matrix gives the matrix of each region as a real
// image, cooc_feature_matrix the features of such matrices, and
// cooc_feature_image both steps at once.
//
// The matrix counts the pairs of pixels p and p + d, both in the region
// and the image's domain, with d one pixel in the direction 0 (the right
// neighbour), 45 (above right), 90 (above) or 135 (above left) degrees.
// Gray values are reduced to 2^ld_gray levels (value >> (8 - ld_gray)); a
// pair of levels (a, b) is counted at (a, b) and (b, a), so the matrix is
// symmetric, and divided by the count, so it sums to 1 (all 0 without any
// pair).
#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/image/image_op_util.h"
#include "ops/image/region_gray_scan.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

struct CoocSetup {
  int levels;      // 2^ld_gray
  int shift;       // 8 - ld_gray
  int32_t dr, dc;  // offset of the second pixel of a pair
};

// ld_gray (control 0: 1 to 8) and direction (control 1).
Vresult ReadSetup(const OpContext& ctx, CoocSetup* setup) {
  Vlong ld = 0, direction = 0;
  Vresult rc = ctx.GetLong(0, &ld);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &direction);
  if (rc != VRESULT_OK) return rc;
  if (ld < 1 || ld > 8) return VERR_CTRL_VALUE(0);
  setup->levels = 1 << ld;
  setup->shift = 8 - static_cast<int>(ld);
  switch (direction) {
    case 0: setup->dr = 0, setup->dc = 1; break;
    case 45: setup->dr = -1, setup->dc = 1; break;
    case 90: setup->dr = -1, setup->dc = 0; break;
    case 135: setup->dr = -1, setup->dc = -1; break;
    default: return VERR_CTRL_VALUE(1);
  }
  return VRESULT_OK;
}

// The normalised matrix, levels x levels, of the pixels of `domain`.
std::vector<double> CoocMatrix(const PixelBuffer& im, const Region& domain, const CoocSetup& s) {
  const size_t n = static_cast<size_t>(s.levels);
  std::vector<double> m(n * n, 0.0);
  const ChordList& chords = domain.chords();
  const uint8_t* px = im.data();
  const size_t width = static_cast<size_t>(im.width());
  double pairs = 0;
  // For each run, the runs of the partner row, moved back by dc: where
  // they overlap, both pixels of a pair are in the domain.
  for (const Chord& x : chords) {
    const int32_t partner_row = x.r + s.dr;
    auto y = std::lower_bound(chords.begin(), chords.end(), partner_row,
                              [](const Chord& ch, int32_t row) { return ch.r < row; });
    for (; y != chords.end() && y->r == partner_row; ++y) {
      const int32_t c1 = std::max(x.cb, y->cb - s.dc), c2 = std::min(x.ce, y->ce - s.dc);
      for (int32_t c = c1; c <= c2; ++c) {
        const size_t a = px[static_cast<size_t>(x.r) * width + static_cast<size_t>(c)] >> s.shift;
        const size_t b = px[static_cast<size_t>(partner_row) * width + static_cast<size_t>(c + s.dc)] >> s.shift;
        m[a * n + b] += 1;
        m[b * n + a] += 1;
        pairs += 2;
      }
    }
  }
  if (pairs > 0)
    for (double& v : m) v /= pairs;
  return m;
}

// Haralick's features of a normalised n x n matrix: energy (sum of p^2),
// correlation of the two levels (0 where they do not vary), homogeneity
// (sum of p / (1 + (i - j)^2)) and contrast (sum of (i - j)^2 p).
void CoocFeatures(const std::vector<double>& m, size_t n, double out[4]) {
  double mean = 0, energy = 0, homogeneity = 0, contrast = 0;
  for (size_t i = 0; i < n; ++i)
    for (size_t j = 0; j < n; ++j) {
      const double p = m[i * n + j], d = double(i) - double(j);
      mean += double(i) * p;
      energy += p * p;
      homogeneity += p / (1 + d * d);
      contrast += d * d * p;
    }
  // The matrix is symmetric: both levels have the same mean and variance.
  double variance = 0, covariance = 0;
  for (size_t i = 0; i < n; ++i)
    for (size_t j = 0; j < n; ++j) {
      const double p = m[i * n + j];
      variance += (double(i) - mean) * (double(i) - mean) * p;
      covariance += (double(i) - mean) * (double(j) - mean) * p;
    }
  out[0] = energy;
  out[1] = variance > 0 ? covariance / variance : 0.0;
  out[2] = homogeneity;
  out[3] = contrast;
}

// fn(matrix) for the matrix of each region of input 1 on the byte image
// of input 2.
template <class Fn>
Vresult ForEachRegionMatrix(OpContext& ctx, Fn&& fn) {
  CoocSetup setup;
  const Vresult rc = ReadSetup(ctx, &setup);
  if (rc != VRESULT_OK) return rc;
  return ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& scan, Vlong) {
    if (im.type() != PixelType::kByte) return VERR_PIXEL_TYPE;
    return fn(CoocMatrix(im, *scan.domain(), setup), static_cast<size_t>(setup.levels));
  });
}

Vresult SetFeatures(OpContext& ctx, const std::vector<double> (&features)[4]) {
  Vresult rc = VRESULT_OK;
  for (int k = 0; k < 4 && rc == VRESULT_OK; ++k) rc = ctx.SetOutpDoubles(k, features[k]);
  return rc;
}

}  // namespace

// One real image of 2^ld_gray x 2^ld_gray per region.
VEXA_OPERATOR(gen_cooc_matrix) {
  NewKeys out;
  const Vresult rc = ForEachRegionMatrix(ctx, [&](const std::vector<double>& m, size_t n) {
    Channels channels(1);
    const auto side = static_cast<int32_t>(n);
    Vresult r = PixelBuffer::Create(PixelType::kReal, side, side, &channels[0]);
    if (r != VRESULT_OK) return r;
    for (int32_t i = 0; i < side; ++i)
      for (int32_t j = 0; j < side; ++j) channels[0]->Set(i, j, m[static_cast<size_t>(i) * n + static_cast<size_t>(j)]);
    Vkey key = VKEY_UNDEF;
    r = db::NewImage(nullptr, std::move(channels), &key);
    if (r == VRESULT_OK) out.Add(key);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// The features of each matrix image: square and real (VERR_IMAGE_SIZE,
// VERR_PIXEL_TYPE); the whole image counts, whatever its domain.
VEXA_OPERATOR(cooc_feature_matrix) {
  std::vector<double> features[4];
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    const PixelBuffer& ch = *image.channels[0];
    if (ch.type() != PixelType::kReal) return VERR_PIXEL_TYPE;
    if (ch.width() != ch.height()) return VERR_IMAGE_SIZE;
    const auto n = static_cast<size_t>(ch.width());
    std::vector<double> m(n * n);
    for (size_t i = 0; i < n; ++i)
      for (size_t j = 0; j < n; ++j) m[i * n + j] = ch.Get(static_cast<int32_t>(i), static_cast<int32_t>(j));
    double f[4];
    CoocFeatures(m, n, f);
    for (int k = 0; k < 4; ++k) features[k].push_back(f[k]);
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? SetFeatures(ctx, features) : rc;
}

VEXA_OPERATOR(cooc_feature_image) {
  std::vector<double> features[4];
  const Vresult rc = ForEachRegionMatrix(ctx, [&](const std::vector<double>& m, size_t n) {
    double f[4];
    CoocFeatures(m, n, f);
    for (int k = 0; k < 4; ++k) features[k].push_back(f[k]);
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? SetFeatures(ctx, features) : rc;
}

}  // namespace vexa

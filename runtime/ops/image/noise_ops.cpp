// Noise: distributions, adding noise to images, and estimating it.
//
// estimate_noise measures it in 3 x 3 windows of flat image parts.
//
// A noise distribution is a tuple of 513 probabilities of the noise values
// -256..256 (entry k for the value k - 256), summing to 1: what
// gauss_distribution, sp_distribution and noise_distribution_mean make and
// add_noise_distribution reads. Random values come from the runtime's
// generator (VDrand48), so VSrand48 repeats them; pixels are visited in
// domain order, one draw each.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "ops/common/pixel_dispatch.h"
#include "ops/image/image_map.h"
#include "ops/image/region_gray_scan.h"
#include "registry.h"
#include "vexa/runtime.h"

namespace vexa {
namespace {

constexpr int kNoiseReach = 256;
constexpr size_t kDistributionSize = 2 * kNoiseReach + 1;

// out = in + noise() over the domain, rounded and clipped to the type; the
// noise is drawn once per pixel, in domain order, in one thread.
template <class Noise>
Vresult AddNoise(OpContext& ctx, Noise&& noise) {
  return MapImages(ctx, SameRealValuedType, [&](const PixelBuffer& in, PixelBuffer* out,
                                                const DomainScan& scan) {
    DispatchPixelType(in.type(), [&](auto tag) {
      const auto* src = PixelsOf(in, tag);
      auto* dst = PixelsOf(out, tag);
      scan.ForEachRun([&](size_t o, size_t n) {
        for (size_t k = o; k < o + n; ++k)
          dst[k] = StorePixel<decltype(tag)::kType>(static_cast<double>(src[k]) + noise());
      });
    });
    return VRESULT_OK;
  });
}

// Reads a distribution from control `par`: 513 values, none negative or
// not finite, with a positive sum; gives its cumulative sums, normalised.
Vresult ReadDistribution(const OpContext& ctx, int par, std::vector<double>* cumulative) {
  std::vector<double> p;
  const Vresult rc = ctx.GetDoubles(par, p);
  if (rc != VRESULT_OK) return rc;
  if (p.size() != kDistributionSize) return VERR_CTRL_NUM(par);
  double sum = 0;
  for (double v : p) {
    if (!(v >= 0.0) || !std::isfinite(v)) return VERR_CTRL_VALUE(par);
    sum += v;
  }
  if (!(sum > 0.0)) return VERR_CTRL_VALUE(par);
  cumulative->resize(p.size());
  double run = 0;
  for (size_t k = 0; k < p.size(); ++k) (*cumulative)[k] = (run += p[k]) / sum;
  return VRESULT_OK;
}

Vresult OutDistribution(OpContext& ctx, std::vector<double> p) {
  double sum = 0;
  for (double v : p) sum += v;
  if (sum > 0)
    for (double& v : p) v /= sum;
  return ctx.SetOutpDoubles(0, p);
}

// What estimate_noise computes in each window.
enum class NoiseMethod { kImmerkaer, kMean, kLeastSquares };

// The noise estimate of one image from the windows of its domain pixels
// that lie inside the image: of those, the `percent` % with the weakest
// Sobel response (the flattest, where gray value changes are noise, not
// edges) are used. False when there is no such window.
bool EstimateNoise(const PixelBuffer& im, const DomainScan& scan, NoiseMethod method,
                   double percent, double* sigma) {
  struct Window {
    double edge, measure;
  };
  std::vector<Window> windows;
  const int32_t w = im.width(), h = im.height();
  scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t) {
    if (r < 1 || r > h - 2) return;
    for (int32_t c = std::max(cb, 1); c <= std::min(ce, w - 2); ++c) {
      double g[3][3];
      for (int dy = 0; dy < 3; ++dy)
        for (int dx = 0; dx < 3; ++dx) g[dy][dx] = im.Get(r + dy - 1, c + dx - 1);
      const double gx = (g[0][2] + 2 * g[1][2] + g[2][2]) - (g[0][0] + 2 * g[1][0] + g[2][0]);
      const double gy = (g[2][0] + 2 * g[2][1] + g[2][2]) - (g[0][0] + 2 * g[0][1] + g[0][2]);
      double measure = 0;
      if (method == NoiseMethod::kImmerkaer) {
        // The difference of two Laplacians, blind to planes: for noise of
        // deviation s its mean magnitude is 6 s sqrt(2 / pi).
        measure = std::fabs(g[0][0] + g[0][2] + g[2][0] + g[2][2] - 2 * (g[0][1] + g[1][0] + g[1][2] + g[2][1]) +
                            4 * g[1][1]);
      } else {
        double sum = 0, squares = 0, sr = 0, sc = 0;
        for (int dy = 0; dy < 3; ++dy)
          for (int dx = 0; dx < 3; ++dx) {
            sum += g[dy][dx];
            squares += g[dy][dx] * g[dy][dx];
            sr += (dy - 1) * g[dy][dx];
            sc += (dx - 1) * g[dy][dx];
          }
        const double mean = sum / 9;
        if (method == NoiseMethod::kMean) {
          // The centre's difference to the window mean has 8/9 of the
          // noise variance.
          measure = (g[1][1] - mean) * (g[1][1] - mean) * 9.0 / 8.0;
        } else {
          // The residual of the window's least-squares plane, over its 6
          // degrees of freedom.
          measure = (squares - 9 * mean * mean - sr * sr / 6 - sc * sc / 6) / 6;
        }
      }
      windows.push_back({std::fabs(gx) + std::fabs(gy), measure});
    }
  });
  if (windows.empty()) return false;
  const size_t used = std::max<size_t>(1, static_cast<size_t>(std::llround(windows.size() * percent / 100.0)));
  std::nth_element(windows.begin(), windows.begin() + static_cast<std::ptrdiff_t>(used - 1), windows.end(),
                   [](const Window& a, const Window& b) { return a.edge < b.edge; });
  double sum = 0;
  for (size_t k = 0; k < used; ++k) sum += windows[k].measure;
  const double mean = sum / static_cast<double>(used);
  *sigma = method == NoiseMethod::kImmerkaer ? std::sqrt(M_PI / 2) * mean / 6 : std::sqrt(std::max(0.0, mean));
  return true;
}

}  // namespace

// The standard deviation of the noise of each image (first channel, its
// domain), by "immerkaer" (mean magnitude of a Laplacian difference),
// "mean" (differences to the 3 x 3 mean) or "least_squares" (residuals of
// 3 x 3 planes), over the percent % flattest windows. An image without a
// whole 3 x 3 window in its domain gives VERR_EMPTY_OBJECT.
VEXA_OPERATOR(estimate_noise) {
  const char* name = nullptr;
  double percent = 0;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &percent);
  if (rc != VRESULT_OK) return rc;
  NoiseMethod method;
  if (std::strcmp(name, "immerkaer") == 0) method = NoiseMethod::kImmerkaer;
  else if (std::strcmp(name, "mean") == 0) method = NoiseMethod::kMean;
  else if (std::strcmp(name, "least_squares") == 0) method = NoiseMethod::kLeastSquares;
  else return VERR_CTRL_VALUE(0);
  if (!(percent > 0.0 && percent <= 100.0)) return VERR_CTRL_VALUE(1);
  std::vector<double> sigmas;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    if (image.channels[0]->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
    double sigma = 0;
    if (!EstimateNoise(*image.channels[0], DomainScan::Of(image), method, percent, &sigma))
      return VERR_EMPTY_OBJECT;
    sigmas.push_back(sigma);
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(0, sigmas) : rc;
}

// Noise of a normal distribution with standard deviation sigma, rounded to
// whole values.
VEXA_OPERATOR(gauss_distribution) {
  double sigma = 0;
  const Vresult rc = ctx.GetDouble(0, &sigma);
  if (rc != VRESULT_OK) return rc;
  if (!(sigma > 0.0) || !std::isfinite(sigma)) return VERR_CTRL_VALUE(0);
  std::vector<double> p(kDistributionSize);
  for (size_t k = 0; k < p.size(); ++k) {
    const double x = static_cast<double>(k) - kNoiseReach;
    // The probability of the values that round to x.
    p[k] = 0.5 * (std::erf((x + 0.5) / (sigma * M_SQRT2)) - std::erf((x - 0.5) / (sigma * M_SQRT2)));
  }
  return OutDistribution(ctx, std::move(p));
}

// Salt (+256, which makes any byte pixel white) with percent_salt percent,
// pepper (-256, black) with percent_pepper percent, 0 otherwise.
VEXA_OPERATOR(sp_distribution) {
  double salt = 0, pepper = 0;
  Vresult rc = ctx.GetDouble(0, &salt);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &pepper);
  if (rc != VRESULT_OK) return rc;
  if (!(salt >= 0.0 && salt <= 100.0)) return VERR_CTRL_VALUE(0);
  if (!(pepper >= 0.0 && pepper <= 100.0 - salt)) return VERR_CTRL_VALUE(1);
  std::vector<double> p(kDistributionSize, 0.0);
  p.back() = salt / 100.0;
  p.front() = pepper / 100.0;
  p[kNoiseReach] = 1.0 - (salt + pepper) / 100.0;
  return ctx.SetOutpDoubles(0, p);
}

// Noise drawn uniformly from [-amplitude, amplitude].
VEXA_OPERATOR(add_noise_white) {
  double amplitude = 0;
  const Vresult rc = ctx.GetDouble(0, &amplitude);
  if (rc != VRESULT_OK) return rc;
  if (!(amplitude >= 0.0) || !std::isfinite(amplitude)) return VERR_CTRL_VALUE(0);
  return AddNoise(ctx, [&] { return amplitude * (2.0 * VDrand48() - 1.0); });
}

// Noise drawn from a distribution.
VEXA_OPERATOR(add_noise_distribution) {
  std::vector<double> cumulative;
  const Vresult rc = ReadDistribution(ctx, 0, &cumulative);
  if (rc != VRESULT_OK) return rc;
  return AddNoise(ctx, [&] {
    const double u = VDrand48();
    const auto at = std::upper_bound(cumulative.begin(), cumulative.end(), u);
    const auto k = std::min<std::ptrdiff_t>(at - cumulative.begin(), kDistributionSize - 1);
    return static_cast<double>(k) - kNoiseReach;
  });
}

// The distribution of the noise of a byte image in regions whose gray
// value should be constant: each pixel's difference to the mean of the
// filter_size x filter_size window around it (clipped to the image),
// rounded, over the pixels of all regions in the domain.
VEXA_OPERATOR(noise_distribution_mean) {
  Vlong size = 0;
  Vresult rc = ctx.GetLong(0, &size);
  if (rc != VRESULT_OK) return rc;
  if (size < 1 || size % 2 == 0) return VERR_CTRL_VALUE(0);
  if (size > kMaxImageSide) return VERR_TOO_LARGE;
  std::vector<double> p(kDistributionSize, 0.0);
  std::vector<double> integral;  // sums of the image, (w + 1) x (h + 1)
  rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong) {
    if (im.type() != PixelType::kByte) return VERR_PIXEL_TYPE;
    const int64_t w = im.width(), h = im.height(), half = size / 2;
    if (integral.empty()) {
      integral.assign(static_cast<size_t>((w + 1) * (h + 1)), 0.0);
      for (int64_t r = 0; r < h; ++r)
        for (int64_t c = 0; c < w; ++c)
          integral[static_cast<size_t>((r + 1) * (w + 1) + c + 1)] =
              im.data()[r * w + c] + integral[static_cast<size_t>(r * (w + 1) + c + 1)] +
              integral[static_cast<size_t>((r + 1) * (w + 1) + c)] - integral[static_cast<size_t>(r * (w + 1) + c)];
    }
    const auto at = [&](int64_t r, int64_t c) { return integral[static_cast<size_t>(r * (w + 1) + c)]; };
    s.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t o) {
      const int64_t r1 = std::max<int64_t>(0, r - half), r2 = std::min<int64_t>(h, r + half + 1);
      for (int32_t c = cb; c <= ce; ++c) {
        const int64_t c1 = std::max<int64_t>(0, c - half), c2 = std::min<int64_t>(w, c + half + 1);
        const double mean = (at(r2, c2) - at(r1, c2) - at(r2, c1) + at(r1, c1)) /
                            static_cast<double>((r2 - r1) * (c2 - c1));
        const double noise = std::round(im.data()[o + static_cast<size_t>(c - cb)] - mean);
        p[static_cast<size_t>(noise + kNoiseReach)] += 1;
      }
    });
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? OutDistribution(ctx, std::move(p)) : rc;
}

}  // namespace vexa

// measure_pos on a 200 x 20 rectangle (length1 100, length2 10) at an
// angle of 0.3 rad with bilinear sampling, on a 640 x 480 byte image with
// a few blurred bars, per call; the measure is made once. Baseline in the
// same run, one thread: the same rectangle cut out with cv::warpAffine
// (bilinear) to a 201 x 21 float patch, cv::reduce to its mean row,
// cv::GaussianBlur and cv::Sobel on that row, then local maxima of the
// magnitude above the threshold refined by a parabola.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vexaobj.h>

namespace {

using namespace Vexa;

constexpr int kW = 640, kH = 480;
constexpr double kRow = 240, kCol = 320, kPhi = 0.3, kLength1 = 100, kLength2 = 10;
constexpr double kSigma = 1.0, kThreshold = 20.0;

// Bars across the rectangle's axis every 23 pixels, 9 pixels wide.
const std::vector<uint8_t>& Pixels() {
  static std::vector<uint8_t> p;
  if (p.empty()) {
    p.resize(static_cast<size_t>(kW) * kH);
    for (int r = 0; r < kH; ++r)
      for (int c = 0; c < kW; ++c) {
        const double t = (r - kRow) * -std::sin(kPhi) + (c - kCol) * std::cos(kPhi);
        const double phase = std::fmod(t + 1000 * 23, 23.0);
        const double v = 50 + 150 / (1 + std::exp(-(phase - 7))) - 150 / (1 + std::exp(-(phase - 16)));
        p[static_cast<size_t>(r) * kW + c] = static_cast<uint8_t>(std::lround(v));
      }
  }
  return p;
}

void BM_MeasurePos(benchmark::State& state) {
  Vobject image;
  gen_image1(&image, "byte", kW, kH, static_cast<Vlong>(reinterpret_cast<uintptr_t>(Pixels().data())));
  Vlong measure = -1;
  gen_measure_rectangle2(kRow, kCol, kPhi, kLength1, kLength2, kW, kH, "bilinear", &measure);
  VTuple rows, cols, amp, dist;
  for (auto _ : state) {
    measure_pos(image, measure, kSigma, kThreshold, "all", "all", &rows, &cols, &amp, &dist);
    benchmark::DoNotOptimize(rows);
  }
  state.counters["edges"] = static_cast<double>(rows.Num());
  close_measure(measure);
}
BENCHMARK(BM_MeasurePos);

void BM_OpenCvProfileEdges(benchmark::State& state) {
  cv::setNumThreads(1);
  const cv::Mat image(kH, kW, CV_8UC1, const_cast<uint8_t*>(Pixels().data()));
  const int n = static_cast<int>(2 * kLength1) + 1, m = static_cast<int>(2 * kLength2) + 1;
  // Patch (x, y) -> image: centre + (x - 100) * axis + (y - 10) * across.
  const double dc = std::cos(kPhi), dr = -std::sin(kPhi);
  cv::Mat map = (cv::Mat_<double>(2, 3) << dc, -dr, kCol - (n - 1) / 2.0 * dc + (m - 1) / 2.0 * dr,
                 dr, dc, kRow - (n - 1) / 2.0 * dr - (m - 1) / 2.0 * dc);
  cv::Mat patch, profile, smooth, deriv;
  std::vector<double> edges;
  for (auto _ : state) {
    cv::warpAffine(image, patch, map, cv::Size(n, m), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP);
    patch.convertTo(patch, CV_32F);
    cv::reduce(patch, profile, 0, cv::REDUCE_AVG, CV_32F);
    cv::GaussianBlur(profile, smooth, cv::Size(9, 1), kSigma, 0, cv::BORDER_REFLECT_101);
    cv::Sobel(smooth, deriv, CV_32F, 1, 0, 1, 0.5, 0, cv::BORDER_REFLECT_101);
    edges.clear();
    const float* d = deriv.ptr<float>(0);
    for (int i = 1; i + 1 < n; ++i) {
      const double a = std::fabs(d[i - 1]), b = std::fabs(d[i]), c = std::fabs(d[i + 1]);
      if (b >= kThreshold && b >= a && b > c) edges.push_back(i + 0.5 * (a - c) / (a - 2 * b + c));
    }
    benchmark::DoNotOptimize(edges.data());
  }
  state.counters["edges"] = static_cast<double>(edges.size());
}
BENCHMARK(BM_OpenCvProfileEdges);

}  // namespace

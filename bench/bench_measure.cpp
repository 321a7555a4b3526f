// measure_pos on a 200 x 20 rectangle (length1 100, length2 10) at an
// angle of 0.3 rad with bilinear sampling, on a 640 x 480 byte image with
// a few blurred bars, per call; the measure is made once. Baseline in the
// same run, one thread: the same rectangle cut out with cv::warpAffine
// (bilinear) to a 201 x 21 float patch, cv::reduce to its mean row,
// cv::GaussianBlur and cv::Sobel on that row, then local maxima of the
// magnitude above the threshold refined by a parabola.
//
// apply_metrology_model with one circle of 36 measures (length1 20,
// length2 5) on a 640 x 480 byte image of a blurred disc, per call; the
// baseline runs the same 36 profiles through the baseline above and fits
// the points with cv::fitEllipse.
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

// Baseline edges along a rectangle: cut out by cv::warpAffine (bilinear),
// mean row by cv::reduce, cv::GaussianBlur and cv::Sobel on the row, local
// maxima of the magnitude refined by a parabola; positions in samples.
void OpenCvProfileEdges(const cv::Mat& image, double row, double col, double phi, double length1,
                        double length2, std::vector<double>* edges) {
  const int n = static_cast<int>(2 * length1) + 1, m = static_cast<int>(2 * length2) + 1;
  // Patch (x, y) -> image: centre + (x - l1) * axis + (y - l2) * across.
  const double dc = std::cos(phi), dr = -std::sin(phi);
  const cv::Mat map = (cv::Mat_<double>(2, 3) << dc, -dr, col - (n - 1) / 2.0 * dc + (m - 1) / 2.0 * dr,
                       dr, dc, row - (n - 1) / 2.0 * dr - (m - 1) / 2.0 * dc);
  cv::Mat patch, profile, smooth, deriv;
  cv::warpAffine(image, patch, map, cv::Size(n, m), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP);
  patch.convertTo(patch, CV_32F);
  cv::reduce(patch, profile, 0, cv::REDUCE_AVG, CV_32F);
  cv::GaussianBlur(profile, smooth, cv::Size(9, 1), kSigma, 0, cv::BORDER_REFLECT_101);
  cv::Sobel(smooth, deriv, CV_32F, 1, 0, 1, 0.5, 0, cv::BORDER_REFLECT_101);
  edges->clear();
  const float* d = deriv.ptr<float>(0);
  for (int i = 1; i + 1 < n; ++i) {
    const double a = std::fabs(d[i - 1]), b = std::fabs(d[i]), c = std::fabs(d[i + 1]);
    if (b >= kThreshold && b >= a && b > c) edges->push_back(i + 0.5 * (a - c) / (a - 2 * b + c));
  }
}

void BM_OpenCvProfileEdges(benchmark::State& state) {
  cv::setNumThreads(1);
  const cv::Mat image(kH, kW, CV_8UC1, const_cast<uint8_t*>(Pixels().data()));
  std::vector<double> edges;
  for (auto _ : state) {
    OpenCvProfileEdges(image, kRow, kCol, kPhi, kLength1, kLength2, &edges);
    benchmark::DoNotOptimize(edges.data());
  }
  state.counters["edges"] = static_cast<double>(edges.size());
}
BENCHMARK(BM_OpenCvProfileEdges);


// A bright disc of radius 100.3 at (241.2, 318.7), blurred edge.
constexpr double kDiscRow = 241.2, kDiscCol = 318.7, kDiscRadius = 100.3;
constexpr int kCircleMeasures = 36;
constexpr double kCircleLength1 = 20, kCircleLength2 = 5;

const std::vector<uint8_t>& DiscPixels() {
  static std::vector<uint8_t> p;
  if (p.empty()) {
    p.resize(static_cast<size_t>(kW) * kH);
    for (int r = 0; r < kH; ++r)
      for (int c = 0; c < kW; ++c) {
        const double d = kDiscRadius - std::hypot(r - kDiscRow, c - kDiscCol);
        p[static_cast<size_t>(r) * kW + c] = static_cast<uint8_t>(std::lround(40 + 160 / (1 + std::exp(-1.7 * d))));
      }
  }
  return p;
}

void BM_ApplyMetrologyCircle(benchmark::State& state) {
  Vobject image;
  gen_image1(&image, "byte", kW, kH, static_cast<Vlong>(reinterpret_cast<uintptr_t>(DiscPixels().data())));
  Vlong model = -1, index = -1;
  create_metrology_model(&model);
  add_metrology_object_circle_measure(VTuple(model), kDiscRow + 2, kDiscCol - 2, kDiscRadius + 1.5,
                                      kCircleLength1, kCircleLength2, kSigma, kThreshold, "num_measures",
                                      kCircleMeasures, &index);
  VTuple radius;
  for (auto _ : state) {
    apply_metrology_model(image, model);
    benchmark::DoNotOptimize(model);
  }
  get_metrology_object_result(model, index, 0, "result_type", "radius", &radius);
  state.counters["radius_error"] = radius.Num() == 1 ? std::fabs(radius[0].D() - kDiscRadius) : -1;
  clear_metrology_model(model);
}
BENCHMARK(BM_ApplyMetrologyCircle);

// Baseline: the same 36 measures by OpenCvProfileEdges, the strongest
// (first) edge of each, and cv::fitEllipse on those points (plain least
// squares, no outlier handling).
void BM_OpenCvCircleFromProfiles(benchmark::State& state) {
  cv::setNumThreads(1);
  const cv::Mat image(kH, kW, CV_8UC1, const_cast<uint8_t*>(DiscPixels().data()));
  std::vector<double> edges;
  std::vector<cv::Point2f> points;
  cv::RotatedRect fitted;
  const double row = kDiscRow + 2, col = kDiscCol - 2, radius = kDiscRadius + 1.5;
  for (auto _ : state) {
    points.clear();
    for (int i = 0; i < kCircleMeasures; ++i) {
      const double a = 2 * M_PI * i / kCircleMeasures;
      const double r = row - radius * std::sin(a), c = col + radius * std::cos(a);
      OpenCvProfileEdges(image, r, c, a, kCircleLength1, kCircleLength2, &edges);
      if (edges.empty()) continue;
      const double t = edges.front() - kCircleLength1;
      points.emplace_back(static_cast<float>(c + t * std::cos(a)), static_cast<float>(r - t * std::sin(a)));
    }
    fitted = cv::fitEllipse(points);
    benchmark::DoNotOptimize(fitted);
  }
  state.counters["radius_error"] = std::fabs((fitted.size.width + fitted.size.height) / 4 - kDiscRadius);
}
BENCHMARK(BM_OpenCvCircleFromProfiles);

}  // namespace

// Edge filters against OpenCV on the same 4096 x 3072 byte image, one
// thread: sobel_amp "sum_sqrt" (cv::Sobel in x and y to float, then
// cv::magnitude), sobel_amp "sum_abs" (cv::Sobel to int16, then
// |dx| + |dy| with cv::convertScaleAbs and cv::add), and edges_image
// "canny" with alpha 1 and "nms" (cv::Canny with 3x3 Sobel and L2
// gradient, alone and after cv::GaussianBlur of sigma 1 over 9 x 9, the
// smoothing the runtime's Gaussian derivatives include). Each runtime call makes its result objects and releases them.
//
// The runtime operators run on the full domain and on a centred disc of
// 10% of the image ("Roi"); OpenCV processes the whole image either way.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vexaobj.h>

namespace {

using namespace Vexa;

constexpr int kW = 4096, kH = 3072;

// Smooth shapes with noise: real edges among texture.
const std::vector<uint8_t>& Pixels() {
  static std::vector<uint8_t> p;
  if (p.empty()) {
    std::mt19937 rng(5);
    std::normal_distribution<double> noise(0, 6);
    p.resize(static_cast<size_t>(kW) * kH);
    for (int r = 0; r < kH; ++r)
      for (int c = 0; c < kW; ++c) {
        const double base = ((r / 211 + c / 307) % 2 ? 170 : 70) + 30 * std::sin(c * 0.01);
        const double v = base + noise(rng);
        p[static_cast<size_t>(r) * kW + c] = static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
      }
  }
  return p;
}

Vobject Input(const benchmark::State& state) {
  cv::setNumThreads(1);
  Vobject image;
  gen_image1(&image, "byte", kW, kH, static_cast<Vlong>(reinterpret_cast<uintptr_t>(Pixels().data())));
  if (!state.range(0)) return image;
  Vobject disc, reduced;
  gen_circle(&disc, kH / 2.0, kW / 2.0, std::sqrt(0.1 * kW * kH / 3.14159265358979));
  reduce_domain(image, disc, &reduced);
  return reduced;
}

cv::Mat Mat() {
  cv::setNumThreads(1);
  return cv::Mat(kH, kW, CV_8UC1, const_cast<uint8_t*>(Pixels().data())).clone();
}

template <class Call>
void Run(benchmark::State& state, Call&& call) {
  for (auto _ : state) {
    if (call() != VRESULT_OK) {
      state.SkipWithError("operator failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kW * kH);
}

void BM_SobelSqrt_Vexa(benchmark::State& state) {
  const Vobject im = Input(state);
  Run(state, [&] { Vobject r; return sobel_amp(im, &r, "sum_sqrt", Vlong{3}); });
}
void BM_SobelSqrt_OpenCV(benchmark::State& state) {
  const cv::Mat im = Mat();
  Run(state, [&] {
    cv::Mat dx, dy, mag;
    cv::Sobel(im, dx, CV_32F, 1, 0, 3);
    cv::Sobel(im, dy, CV_32F, 0, 1, 3);
    cv::magnitude(dx, dy, mag);
    benchmark::DoNotOptimize(mag.data);
    return VRESULT_OK;
  });
}

void BM_SobelAbs_Vexa(benchmark::State& state) {
  const Vobject im = Input(state);
  Run(state, [&] { Vobject r; return sobel_amp(im, &r, "sum_abs", Vlong{3}); });
}
void BM_SobelAbs_OpenCV(benchmark::State& state) {
  const cv::Mat im = Mat();
  Run(state, [&] {
    cv::Mat dx, dy, ax, ay, sum;
    cv::Sobel(im, dx, CV_16S, 1, 0, 3);
    cv::Sobel(im, dy, CV_16S, 0, 1, 3);
    cv::convertScaleAbs(dx, ax, 0.125);
    cv::convertScaleAbs(dy, ay, 0.125);
    cv::add(ax, ay, sum);
    benchmark::DoNotOptimize(sum.data);
    return VRESULT_OK;
  });
}

void BM_Canny_Vexa(benchmark::State& state) {
  const Vobject im = Input(state);
  Run(state, [&] {
    Vobject amp, dir;
    return edges_image(im, &amp, &dir, "canny", 1.0, "nms", Vlong{10}, Vlong{20});
  });
}
void BM_Canny_OpenCV(benchmark::State& state) {
  const cv::Mat im = Mat();
  Run(state, [&] {
    cv::Mat edges;
    cv::Canny(im, edges, 80, 160, 3, true);
    benchmark::DoNotOptimize(edges.data);
    return VRESULT_OK;
  });
}

void BM_GaussCanny_OpenCV(benchmark::State& state) {
  const cv::Mat im = Mat();
  Run(state, [&] {
    cv::Mat smooth, edges;
    cv::GaussianBlur(im, smooth, cv::Size(9, 9), 1.0);
    cv::Canny(smooth, edges, 80, 160, 3, true);
    benchmark::DoNotOptimize(edges.data);
    return VRESULT_OK;
  });
}

BENCHMARK(BM_SobelSqrt_Vexa)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SobelSqrt_OpenCV)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SobelAbs_Vexa)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SobelAbs_OpenCV)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Canny_Vexa)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Canny_OpenCV)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GaussCanny_OpenCV)->Arg(0)->Unit(benchmark::kMillisecond);

}  // namespace

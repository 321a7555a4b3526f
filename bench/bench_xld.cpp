// edges_sub_pix ("canny", alpha 1, low 20, high 40) against cv::Canny on
// the same 2048 x 1536 byte image of discs and bars with noise. cv::Canny
// gets a Gaussian blur of sigma 1 over 9 x 9 first, the 4-sigma reach of
// edges_sub_pix's masks, so both smooth alike before the gradient;
// it answers with edge pixels only, while edges_sub_pix also places each
// point to a fraction of a pixel and links the points into contours.
// cv::Canny's 3 x 3 Sobel gives 8 times the gray-value slope and takes
// the L2 norm here, so its thresholds are 8 times ours for the same edges.
// OpenCV runs on one thread for a fair ratio.
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

constexpr int kW = 2048, kH = 1536;

const cv::Mat& Scene() {
  static cv::Mat m;
  if (m.empty()) {
    m = cv::Mat(kH, kW, CV_8U, cv::Scalar(60));
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> x(0, kW), y(0, kH), rad(10, 80);
    for (int i = 0; i < 150; ++i)
      cv::circle(m, cv::Point2d(x(rng), y(rng)), static_cast<int>(rad(rng)), cv::Scalar(180), cv::FILLED,
                 cv::LINE_AA);
    for (int i = 0; i < 60; ++i)
      cv::line(m, cv::Point2d(x(rng), y(rng)), cv::Point2d(x(rng), y(rng)), cv::Scalar(130), 6, cv::LINE_AA);
    cv::Mat noise(kH, kW, CV_8S);
    cv::randn(noise, 0, 2);
    cv::add(m, noise, m, cv::noArray(), CV_8U);
  }
  return m;
}

Vobject Image() {
  Vobject image;
  const cv::Mat& m = Scene();
  gen_image1(&image, "byte", kW, kH, static_cast<Vlong>(reinterpret_cast<uintptr_t>(m.data)));
  return image;
}

void BM_EdgesSubPix(benchmark::State& state) {
  const Vobject image = Image();
  Vlong num = 0;
  for (auto _ : state) {
    Vobject edges;
    edges_sub_pix(image, &edges, "canny", 1.0, Vlong{20}, Vlong{40});
    count_obj(edges, &num);
  }
  state.counters["contours"] = static_cast<double>(num);
}

void BM_OpenCvBlurCanny(benchmark::State& state) {
  cv::setNumThreads(1);
  const cv::Mat& m = Scene();
  cv::Mat blurred, edges;
  for (auto _ : state) {
    cv::GaussianBlur(m, blurred, cv::Size(9, 9), 1.0);
    cv::Canny(blurred, edges, 8 * 20, 8 * 40, 3, true);
    benchmark::DoNotOptimize(edges.data);
  }
}

BENCHMARK(BM_EdgesSubPix)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCvBlurCanny)->Unit(benchmark::kMillisecond);

}  // namespace

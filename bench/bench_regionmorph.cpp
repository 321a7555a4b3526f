// Region morphology on run-length regions against the same operation on a
// byte mask: dilation_circle and erosion_circle (radius 3, 10, 25) and
// opening_rectangle1 (15 x 15) on a 4096 x 3072 scene, sparse (a few
// hundred small discs, about 2% of the pixels) and dense (tens of
// thousands of overlapping discs, about 40%). The baseline gets the same
// structuring element as a kernel; both run on one thread.
#include <benchmark/benchmark.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include <vexaobj.h>

namespace {

using namespace Vexa;

constexpr int kW = 4096, kH = 3072;

// Random discs, radius 2..max_radius, painted into a byte mask.
cv::Mat Scene(int discs, int max_radius) {
  cv::Mat mask(kH, kW, CV_8U, cv::Scalar(0));
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> x(0, kW - 1), y(0, kH - 1), r(2, max_radius);
  for (int i = 0; i < discs; ++i) cv::circle(mask, {x(rng), y(rng)}, r(rng), cv::Scalar(255), cv::FILLED);
  return mask;
}

const cv::Mat& SceneMask(bool dense) {
  static const cv::Mat sparse = Scene(300, 20), full = Scene(30000, 12);
  return dense ? full : sparse;
}

// The mask as a region, made by the runtime's own threshold.
Vobject SceneRegion(bool dense) {
  const cv::Mat& m = SceneMask(dense);
  Vobject image, region;
  if (gen_image1(&image, "byte", kW, kH, static_cast<Vlong>(reinterpret_cast<uintptr_t>(m.data))) !=
          VRESULT_OK ||
      threshold(image, &region, 1.0, 255.0) != VRESULT_OK)
    std::abort();
  return region;
}

// The disc of all offsets with dr^2 + dc^2 <= radius^2, as a kernel.
cv::Mat DiscKernel(int radius) {
  cv::Mat k(2 * radius + 1, 2 * radius + 1, CV_8U, cv::Scalar(0));
  for (int dr = -radius; dr <= radius; ++dr)
    for (int dc = -radius; dc <= radius; ++dc)
      if (dr * dr + dc * dc <= radius * radius) k.at<uchar>(dr + radius, dc + radius) = 1;
  return k;
}

enum Op { kDilate, kErode, kOpenRect };

unsigned RunOp(Op op, int size, const Vobject& region, Vobject* out) {
  return op == kDilate  ? dilation_circle(region, out, double(size))
         : op == kErode ? erosion_circle(region, out, double(size))
                        : opening_rectangle1(region, out, size, size);
}

// The row's operation per iteration, then `then(result)`; a failure of
// either ends the benchmark.
template <class Then>
void RunRow(benchmark::State& state, Then&& then) {
  const Op op = static_cast<Op>(state.range(0));
  const int size = static_cast<int>(state.range(1));
  const Vobject region = SceneRegion(state.range(2) != 0);
  for (auto _ : state) {
    Vobject out;
    if (RunOp(op, size, region, &out) != VRESULT_OK || then(out) != VRESULT_OK) {
      state.SkipWithError("operator failed");
      break;
    }
    benchmark::DoNotOptimize(out.Id());
  }
}

void BM_Vexa(benchmark::State& state) {
  RunRow(state, [](const Vobject&) { return unsigned{VRESULT_OK}; });
}

// The operation and then the number of runs of its result: a result of
// very many runs is held as rows of bits, and this is the cost of the
// first use of its runs.
void BM_VexaThenRuns(benchmark::State& state) {
  RunRow(state, [](const Vobject& out) {
    Vlong runs = 0, bytes = 0;
    double k_factor = 0, l_factor = 0, mean_length = 0;
    return runlength_features(out, &runs, &k_factor, &l_factor, &mean_length, &bytes);
  });
}

void BM_OpenCV(benchmark::State& state) {
  cv::setNumThreads(1);
  const Op op = static_cast<Op>(state.range(0));
  const int size = static_cast<int>(state.range(1));
  const cv::Mat& mask = SceneMask(state.range(2) != 0);
  const cv::Mat kernel = op == kOpenRect ? cv::getStructuringElement(cv::MORPH_RECT, {size, size})
                                         : DiscKernel(size);
  cv::Mat out;
  for (auto _ : state) {
    if (op == kDilate) cv::dilate(mask, out, kernel);
    else if (op == kErode) cv::erode(mask, out, kernel);
    else cv::morphologyEx(mask, out, cv::MORPH_OPEN, kernel);
    benchmark::DoNotOptimize(out.data);
  }
}

void Rows(benchmark::internal::Benchmark* b) {
  b->ArgNames({"op", "size", "dense"})->Unit(benchmark::kMillisecond);
  for (int dense : {0, 1}) {
    for (int op : {kDilate, kErode})
      for (int radius : {3, 10, 25}) b->Args({op, radius, dense});
    b->Args({kOpenRect, 15, dense});
  }
}

BENCHMARK(BM_Vexa)->Apply(Rows);
BENCHMARK(BM_VexaThenRuns)->Apply(Rows);
BENCHMARK(BM_OpenCV)->Apply(Rows);

}  // namespace

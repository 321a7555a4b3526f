// Region algebra against OpenCV on the same pixels: segmentation into
// components with their areas and centres (threshold + connection +
// area_center versus cv::threshold + cv::connectedComponentsWithStats), and
// union, intersection and symmetric difference of two segmented scenes
// (union2, intersection, symm_difference versus cv::bitwise_or,
// cv::bitwise_and, cv::bitwise_xor on the equivalent masks), and the union
// followed by the area and centre of the result (area_center versus
// cv::moments).
//
// Scenes are byte images of filled discs on a black background: "sparse"
// covers about 2% of the image with a few dozen discs, "dense" about half
// of it with many thousands.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vexaobj.h>

namespace {

using namespace Vexa;

struct Scene {
  int width, height;
  std::vector<uint8_t> pixels;
};

// Discs of gray 200 at random places; `dense` selects the crowded scene.
Scene MakeScene(int width, int height, bool dense, unsigned seed) {
  Scene s{width, height, std::vector<uint8_t>(static_cast<size_t>(width) * height, 0)};
  std::mt19937 rng(seed);
  const double scale = width / 1024.0;
  const int discs = dense ? static_cast<int>(3000 * scale * scale) : 40;
  std::uniform_int_distribution<int> rows(0, height - 1), cols(0, width - 1);
  std::uniform_real_distribution<double> radius(dense ? 3.0 : 5.0, (dense ? 9.0 : 14.0) * scale);
  for (int k = 0; k < discs; ++k) {
    const int r0 = rows(rng), c0 = cols(rng);
    const double rad = radius(rng);
    for (int r = std::max(0, int(r0 - rad)); r <= std::min(height - 1, int(r0 + rad)); ++r)
      for (int c = std::max(0, int(c0 - rad)); c <= std::min(width - 1, int(c0 + rad)); ++c)
        if ((r - r0) * (r - r0) + (c - c0) * (c - c0) <= rad * rad)
          s.pixels[static_cast<size_t>(r) * width + c] = 200;
  }
  return s;
}

// The scene as one of our images (a copy of the pixels).
Vobject ToImage(const Scene& s) {
  Vobject image;
  gen_image1(&image, "byte", s.width, s.height,
             static_cast<Vlong>(reinterpret_cast<uintptr_t>(s.pixels.data())));
  return image;
}

cv::Mat ToMat(Scene& s) { return cv::Mat(s.height, s.width, CV_8UC1, s.pixels.data()); }

// Arguments: width, dense (0 or 1). Height is three quarters of the width.
void SceneArgs(benchmark::internal::Benchmark* b) {
  for (int w : {1024, 4096})
    for (int dense : {0, 1}) b->Args({w, dense});
  b->Unit(benchmark::kMillisecond);
}

Scene SceneOf(const benchmark::State& state, unsigned seed) {
  const int w = static_cast<int>(state.range(0));
  return MakeScene(w, w * 3 / 4, state.range(1) != 0, seed);
}

void BM_Components_Vexa(benchmark::State& state) {
  const Scene s = SceneOf(state, 1);
  const Vobject image = ToImage(s);
  for (auto _ : state) {
    Vobject region, parts;
    VTuple area, row, col;
    threshold(image, &region, 128, 255);
    connection(region, &parts);
    area_center(parts, &area, &row, &col);
    benchmark::DoNotOptimize(area.Num());
  }
}

void BM_Components_OpenCV(benchmark::State& state) {
  Scene s = SceneOf(state, 1);
  const cv::Mat image = ToMat(s);
  for (auto _ : state) {
    cv::Mat mask, labels, stats, centroids;
    cv::threshold(image, mask, 127, 255, cv::THRESH_BINARY);
    const int n = cv::connectedComponentsWithStats(mask, labels, stats, centroids, 8, CV_32S);
    benchmark::DoNotOptimize(n);
  }
}

// Two segmented scenes, ready for set operations.
struct Pair {
  Vobject a, b;
  cv::Mat ma, mb;
};

Pair MakePair(const benchmark::State& state) {
  Pair p;
  Scene sa = SceneOf(state, 1), sb = SceneOf(state, 2);
  threshold(ToImage(sa), &p.a, 128, 255);
  threshold(ToImage(sb), &p.b, 128, 255);
  cv::threshold(ToMat(sa), p.ma, 127, 255, cv::THRESH_BINARY);
  cv::threshold(ToMat(sb), p.mb, 127, 255, cv::THRESH_BINARY);
  return p;
}

void BM_Union_Vexa(benchmark::State& state) {
  const Pair p = MakePair(state);
  for (auto _ : state) {
    Vobject out;
    union2(p.a, p.b, &out);
    benchmark::DoNotOptimize(out.Id());
  }
}

void BM_Union_OpenCV(benchmark::State& state) {
  const Pair p = MakePair(state);
  for (auto _ : state) {
    cv::Mat out;
    cv::bitwise_or(p.ma, p.mb, out);
    benchmark::DoNotOptimize(out.data);
  }
}

// The union and then its area and centre, which needs the result's pixels
// in a form that can be measured (for a region held as bit rows: its runs).
void BM_UnionMeasured_Vexa(benchmark::State& state) {
  const Pair p = MakePair(state);
  for (auto _ : state) {
    Vobject out;
    union2(p.a, p.b, &out);
    Vlong area = 0;
    double row = 0, col = 0;
    area_center(out, &area, &row, &col);
    benchmark::DoNotOptimize(row);
  }
}

void BM_UnionMeasured_OpenCV(benchmark::State& state) {
  const Pair p = MakePair(state);
  for (auto _ : state) {
    cv::Mat out;
    cv::bitwise_or(p.ma, p.mb, out);
    const cv::Moments m = cv::moments(out, true);
    benchmark::DoNotOptimize(m.m01 / m.m00);
  }
}

void BM_Intersection_Vexa(benchmark::State& state) {
  const Pair p = MakePair(state);
  for (auto _ : state) {
    Vobject out;
    intersection(p.a, p.b, &out);
    benchmark::DoNotOptimize(out.Id());
  }
}

void BM_Intersection_OpenCV(benchmark::State& state) {
  const Pair p = MakePair(state);
  for (auto _ : state) {
    cv::Mat out;
    cv::bitwise_and(p.ma, p.mb, out);
    benchmark::DoNotOptimize(out.data);
  }
}

void BM_SymmDifference_Vexa(benchmark::State& state) {
  const Pair p = MakePair(state);
  for (auto _ : state) {
    Vobject out;
    symm_difference(p.a, p.b, &out);
    benchmark::DoNotOptimize(out.Id());
  }
}

void BM_SymmDifference_OpenCV(benchmark::State& state) {
  const Pair p = MakePair(state);
  for (auto _ : state) {
    cv::Mat out;
    cv::bitwise_xor(p.ma, p.mb, out);
    benchmark::DoNotOptimize(out.data);
  }
}

BENCHMARK(BM_Components_Vexa)->Apply(SceneArgs);
BENCHMARK(BM_Components_OpenCV)->Apply(SceneArgs);
BENCHMARK(BM_Union_Vexa)->Apply(SceneArgs);
BENCHMARK(BM_Union_OpenCV)->Apply(SceneArgs);
BENCHMARK(BM_UnionMeasured_Vexa)->Apply(SceneArgs);
BENCHMARK(BM_UnionMeasured_OpenCV)->Apply(SceneArgs);
BENCHMARK(BM_Intersection_Vexa)->Apply(SceneArgs);
BENCHMARK(BM_Intersection_OpenCV)->Apply(SceneArgs);
BENCHMARK(BM_SymmDifference_Vexa)->Apply(SceneArgs);
BENCHMARK(BM_SymmDifference_OpenCV)->Apply(SceneArgs);

}  // namespace

// Geometric transforms against OpenCV on the same 4096 x 3072 byte image:
// affine_trans_image (bilinear; rotation by 30 degrees and scaling by 0.9
// about the centre) against cv::warpAffine, and zoom_image_size to half
// and to 1.5 times the size (bilinear) against cv::resize. OpenCV runs on
// one thread and on the whole image; the runtime runs on the full domain
// and on a centred rectangle of 10% of the image ("Roi"), of which only
// the transformed part is computed. Each runtime call makes its result
// object and releases it, as an application would.
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

// Smooth structure plus noise, so that interpolation has work to do.
const std::vector<uint8_t>& Pixels() {
  static std::vector<uint8_t> p;
  if (p.empty()) {
    std::mt19937 rng(5);
    std::normal_distribution<double> noise(0, 12);
    p.resize(static_cast<size_t>(kW) * kH);
    for (int r = 0; r < kH; ++r)
      for (int c = 0; c < kW; ++c) {
        const double v = 128 + 60 * std::sin(r * 0.01) * std::cos(c * 0.013) + noise(rng);
        p[static_cast<size_t>(r) * kW + c] = static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
      }
  }
  return p;
}

// The runtime's OpenCV kernels share OpenCV's thread setting: one thread
// for both sides.
Vobject Input(const benchmark::State& state) {
  cv::setNumThreads(1);
  Vobject image;
  gen_image1(&image, "byte", kW, kH, static_cast<Vlong>(reinterpret_cast<uintptr_t>(Pixels().data())));
  if (!state.range(0)) return image;
  // A centred rectangle of 10% of the area.
  const double f = std::sqrt(0.1);
  const double h = kH * f, w = kW * f;
  Vobject rect, reduced;
  gen_rectangle1(&rect, (kH - h) / 2, (kW - w) / 2, (kH + h) / 2 - 1, (kW + w) / 2 - 1);
  reduce_domain(image, rect, &reduced);
  return reduced;
}

cv::Mat Mat() { return cv::Mat(kH, kW, CV_8UC1, const_cast<uint8_t*>(Pixels().data())).clone(); }

// The affine map in (row, column) for the runtime and in (x, y) for OpenCV.
VTuple HomMat() {
  VTuple m;
  hom_mat2d_identity(&m);
  hom_mat2d_scale(m, 0.9, 0.9, kH / 2.0, kW / 2.0, &m);
  hom_mat2d_rotate(m, 30 * M_PI / 180, kH / 2.0, kW / 2.0, &m);
  return m;
}

cv::Mat CvAffine() {
  const VTuple m = HomMat();
  // Swap the axes: x' = e x + d y + f, y' = b x + a y + c.
  return (cv::Mat_<double>(2, 3) << m[4].D(), m[3].D(), m[5].D(), m[1].D(), m[0].D(), m[2].D());
}

void BM_AffineTransImage(benchmark::State& state) {
  const Vobject in = Input(state);
  const VTuple m = HomMat();
  for (auto _ : state) {
    Vobject out;
    if (affine_trans_image(in, &out, m, "bilinear", "false") != VRESULT_OK) {
      state.SkipWithError("operator failed");
      break;
    }
  }
}
BENCHMARK(BM_AffineTransImage)->Arg(0)->Arg(1)->ArgName("Roi")->Unit(benchmark::kMillisecond);

void BM_CvWarpAffine(benchmark::State& state) {
  cv::setNumThreads(1);
  const cv::Mat src = Mat(), m = CvAffine();
  for (auto _ : state) {
    cv::Mat dst;
    cv::warpAffine(src, dst, m, src.size(), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
    benchmark::DoNotOptimize(dst.data);
  }
}
BENCHMARK(BM_CvWarpAffine)->Unit(benchmark::kMillisecond);

// range(1): output size in percent of the input.
void BM_ZoomImageSize(benchmark::State& state) {
  const Vobject in = Input(state);
  const Vlong w = kW * state.range(1) / 100, h = kH * state.range(1) / 100;
  for (auto _ : state) {
    Vobject out;
    if (zoom_image_size(in, &out, w, h, "bilinear") != VRESULT_OK) {
      state.SkipWithError("operator failed");
      break;
    }
  }
}
BENCHMARK(BM_ZoomImageSize)
    ->ArgsProduct({{0, 1}, {50, 150}})
    ->ArgNames({"Roi", "Percent"})
    ->Unit(benchmark::kMillisecond);

void BM_CvResize(benchmark::State& state) {
  cv::setNumThreads(1);
  const cv::Mat src = Mat();
  const cv::Size size(kW * state.range(0) / 100, kH * state.range(0) / 100);
  for (auto _ : state) {
    cv::Mat dst;
    cv::resize(src, dst, size, 0, 0, cv::INTER_LINEAR);
    benchmark::DoNotOptimize(dst.data);
  }
}
BENCHMARK(BM_CvResize)->Arg(50)->Arg(150)->ArgName("Percent")->Unit(benchmark::kMillisecond);

}  // namespace

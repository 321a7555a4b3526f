// Neighbourhood filters against OpenCV on a 4096 x 3072 byte image, one
// thread on both sides: gauss_filter 5 and 11 (cv::GaussianBlur),
// mean_image 3x3 and 15x15 (cv::blur), median_image circle and square of
// radius 1 to 5 (cv::medianBlur of side 2r + 1) and gray_erosion_rect 11x11
// (cv::erode). Each runtime operator runs on the full domain (argument 0)
// and on a centred rectangle of 10 % of the image (argument 1); OpenCV
// always filters the whole image, the cost a domain-unaware filter pays.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vexaobj.h>

namespace {

using namespace Vexa;

constexpr int kW = 4096, kH = 3072;

const bool kOneThread = [] {
  cv::setNumThreads(1);
  return true;
}();

// Smooth structure plus noise, so that the medians see realistic
// histograms.
const std::vector<uint8_t>& Pixels() {
  static const std::vector<uint8_t> p = [] {
    std::vector<uint8_t> v(static_cast<size_t>(kW) * kH);
    std::mt19937 rng(5);
    std::normal_distribution<double> noise(0, 12);
    for (int r = 0; r < kH; ++r)
      for (int c = 0; c < kW; ++c) {
        const double g = 128 + 60 * ((r / 64 + c / 64) % 2 ? 1 : -1) + noise(rng);
        v[static_cast<size_t>(r) * kW + c] = static_cast<uint8_t>(g < 0 ? 0 : g > 255 ? 255 : g);
      }
    return v;
  }();
  return p;
}

// The image with the full domain (tenth false) or a centred rectangle of
// a tenth of its area.
Vobject Image(bool tenth) {
  Vobject image;
  gen_image1(&image, "byte", kW, kH,
             static_cast<Vlong>(reinterpret_cast<uintptr_t>(Pixels().data())));
  if (!tenth) return image;
  const int h = 971, w = 1295;  // 0.1 of the area, the image's aspect
  Vobject rect, reduced;
  gen_rectangle1(&rect, (kH - h) / 2, (kW - w) / 2, (kH - h) / 2 + h - 1, (kW - w) / 2 + w - 1);
  reduce_domain(image, rect, &reduced);
  return reduced;
}

template <class Call>
void RunVexa(benchmark::State& state, Call&& call) {
  const Vobject im = Image(state.range(0) != 0);
  for (auto _ : state) {
    Vobject out;
    if (call(im, &out) != VRESULT_OK) {
      state.SkipWithError("operator failed");
      break;
    }
  }
}

template <class Call>
void RunCv(benchmark::State& state, Call&& call) {
  const cv::Mat im(kH, kW, CV_8UC1, const_cast<uint8_t*>(Pixels().data()));
  for (auto _ : state) {
    cv::Mat out;  // a new result per call, as the runtime makes a new image
    call(im, out);
    benchmark::DoNotOptimize(out.data);
  }
}

void BM_Gauss5_Vexa(benchmark::State& s) {
  RunVexa(s, [](const Vobject& im, Vobject* out) { return gauss_filter(im, out, 5); });
}
void BM_Gauss5_OpenCV(benchmark::State& s) {
  RunCv(s, [](const cv::Mat& im, cv::Mat& out) { cv::GaussianBlur(im, out, cv::Size(5, 5), 0); });
}
void BM_Gauss11_Vexa(benchmark::State& s) {
  RunVexa(s, [](const Vobject& im, Vobject* out) { return gauss_filter(im, out, 11); });
}
void BM_Gauss11_OpenCV(benchmark::State& s) {
  RunCv(s, [](const cv::Mat& im, cv::Mat& out) { cv::GaussianBlur(im, out, cv::Size(11, 11), 0); });
}
void BM_Mean3_Vexa(benchmark::State& s) {
  RunVexa(s, [](const Vobject& im, Vobject* out) { return mean_image(im, out, 3, 3); });
}
void BM_Mean3_OpenCV(benchmark::State& s) {
  RunCv(s, [](const cv::Mat& im, cv::Mat& out) { cv::blur(im, out, cv::Size(3, 3)); });
}
void BM_Mean15_Vexa(benchmark::State& s) {
  RunVexa(s, [](const Vobject& im, Vobject* out) { return mean_image(im, out, 15, 15); });
}
void BM_Mean15_OpenCV(benchmark::State& s) {
  RunCv(s, [](const cv::Mat& im, cv::Mat& out) { cv::blur(im, out, cv::Size(15, 15)); });
}
// Argument 1: the radius.
void BM_MedianCircle_Vexa(benchmark::State& s) {
  const Vlong r = s.range(1);
  RunVexa(s, [r](const Vobject& im, Vobject* out) { return median_image(im, out, "circle", r, "mirrored"); });
}
void BM_MedianSquare_Vexa(benchmark::State& s) {
  const Vlong r = s.range(1);
  RunVexa(s, [r](const Vobject& im, Vobject* out) { return median_image(im, out, "square", r, "mirrored"); });
}
void BM_Median_OpenCV(benchmark::State& s) {
  const int side = 2 * static_cast<int>(s.range(1)) + 1;
  RunCv(s, [side](const cv::Mat& im, cv::Mat& out) { cv::medianBlur(im, out, side); });
}
void BM_Erosion11_Vexa(benchmark::State& s) {
  RunVexa(s, [](const Vobject& im, Vobject* out) { return gray_erosion_rect(im, out, 11, 11); });
}
void BM_Erosion11_OpenCV(benchmark::State& s) {
  const cv::Mat k = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(11, 11));
  RunCv(s, [&k](const cv::Mat& im, cv::Mat& out) { cv::erode(im, out, k); });
}

void Domains(benchmark::internal::Benchmark* b) { b->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond); }
void Radii(benchmark::internal::Benchmark* b) {
  for (int tenth : {0, 1})
    for (int r = 1; r <= 5; ++r) b->Args({tenth, r});
  b->Unit(benchmark::kMillisecond);
}
void RadiiFull(benchmark::internal::Benchmark* b) {
  for (int r = 1; r <= 5; ++r) b->Args({0, r});
  b->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_Gauss5_Vexa)->Apply(Domains);
BENCHMARK(BM_Gauss5_OpenCV)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Gauss11_Vexa)->Apply(Domains);
BENCHMARK(BM_Gauss11_OpenCV)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Mean3_Vexa)->Apply(Domains);
BENCHMARK(BM_Mean3_OpenCV)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Mean15_Vexa)->Apply(Domains);
BENCHMARK(BM_Mean15_OpenCV)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MedianCircle_Vexa)->Apply(Radii);
BENCHMARK(BM_MedianSquare_Vexa)->Apply(Radii);
BENCHMARK(BM_Median_OpenCV)->Apply(RadiiFull);
BENCHMARK(BM_Erosion11_Vexa)->Apply(Domains);
BENCHMARK(BM_Erosion11_OpenCV)->Arg(0)->Unit(benchmark::kMillisecond);

}  // namespace

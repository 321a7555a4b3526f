// Basic image operators against OpenCV on the same 4096 x 3072 byte image:
// threshold (cv::inRange to a mask), add_image (cv::add, saturating),
// sub_image (cv::subtract, saturating), mult_image (cv::multiply), abs_diff_image
// (cv::absdiff), invert_image (cv::bitwise_not), scale_image
// (cv::Mat::convertTo with scale and offset), convert_image_type to real
// (convertTo CV_32F), gray_histo (cv::calcHist) and binary_threshold with
// "max_separability" (cv::threshold with THRESH_OTSU). Each runtime call
// makes its result object and releases it, as an application would.
//
// The runtime operators run twice: on the full domain, and on a disc
// covering 10% of the image ("Roi"), which only our operators can exploit:
// OpenCV processes the whole image either way.
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

// Two populations of gray values, so that the histogram thresholds have
// something to separate.
const std::vector<uint8_t>& Pixels(unsigned seed) {
  static std::vector<uint8_t> a, b;
  std::vector<uint8_t>& p = seed == 1 ? a : b;
  if (p.empty()) {
    std::mt19937 rng(seed);
    std::normal_distribution<double> dark(70, 20), light(170, 25);
    p.resize(static_cast<size_t>(kW) * kH);
    for (size_t k = 0; k < p.size(); ++k) {
      const double v = ((k / 97) % 3 ? dark : light)(rng);
      p[k] = static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
    }
  }
  return p;
}

Vobject Image(unsigned seed) {
  Vobject image;
  gen_image1(&image, "byte", kW, kH,
             static_cast<Vlong>(reinterpret_cast<uintptr_t>(Pixels(seed).data())));
  return image;
}

// The image reduced to a centred disc of 10% of its area.
Vobject RoiImage(unsigned seed) {
  Vobject disc, reduced;
  gen_circle(&disc, kH / 2.0, kW / 2.0, std::sqrt(0.1 * kW * kH / 3.14159265358979));
  reduce_domain(Image(seed), disc, &reduced);
  return reduced;
}

// The full image, or its 10% disc for the "Roi" runs (range(0) == 1).
Vobject Input(const benchmark::State& state, unsigned seed) {
  return state.range(0) ? RoiImage(seed) : Image(seed);
}

cv::Mat Mat(unsigned seed) {
  return cv::Mat(kH, kW, CV_8UC1, const_cast<uint8_t*>(Pixels(seed).data())).clone();
}

// Runs a runtime call per iteration; a failing call ends the benchmark.
template <class Call>
void RunVexa(benchmark::State& state, Call&& call) {
  for (auto _ : state) {
    const unsigned rc = call();
    if (rc != VRESULT_OK) {
      state.SkipWithError("operator failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kW * kH);
}

template <class Call>
void RunCv(benchmark::State& state, Call&& call) {
  for (auto _ : state) call();
  state.SetItemsProcessed(state.iterations() * kW * kH);
}

void BM_Threshold_Vexa(benchmark::State& state) {
  const Vobject im = Input(state, 1);
  RunVexa(state, [&] { Vobject r; return threshold(im, &r, 100.0, 200.0); });
}
// threshold and then the number of runs of the result, which makes the
// runs of a region that threshold kept as bit rows: the cost of the first
// use of the runs, beside the threshold alone.
void BM_ThresholdThenRuns_Vexa(benchmark::State& state) {
  const Vobject im = Input(state, 1);
  RunVexa(state, [&] {
    Vobject r;
    const unsigned rc = threshold(im, &r, 100.0, 200.0);
    if (rc != VRESULT_OK) return rc;
    Vlong runs = 0, bytes = 0;
    double k_factor = 0, l_factor = 0, mean_length = 0;
    return runlength_features(r, &runs, &k_factor, &l_factor, &mean_length, &bytes);
  });
}
void BM_Threshold_OpenCV(benchmark::State& state) {
  const cv::Mat im = Mat(1);
  cv::Mat mask;
  RunCv(state, [&] {
    cv::inRange(im, cv::Scalar(100), cv::Scalar(200), mask);
    benchmark::DoNotOptimize(mask.data);
  });
}

void BM_AddImage_Vexa(benchmark::State& state) {
  const Vobject a = Input(state, 1), b = Input(state, 2);
  RunVexa(state, [&] { Vobject r; return add_image(a, b, &r, 1.0, 0.0); });
}
void BM_AddImage_OpenCV(benchmark::State& state) {
  const cv::Mat a = Mat(1), b = Mat(2);
  RunCv(state, [&] {
    cv::Mat r;
    cv::add(a, b, r);
    benchmark::DoNotOptimize(r.data);
  });
}

void BM_SubImage_Vexa(benchmark::State& state) {
  const Vobject a = Input(state, 1), b = Input(state, 2);
  RunVexa(state, [&] { Vobject r; return sub_image(a, b, &r, 1.0, 0.0); });
}
void BM_SubImage_OpenCV(benchmark::State& state) {
  const cv::Mat a = Mat(1), b = Mat(2);
  RunCv(state, [&] {
    cv::Mat r;
    cv::subtract(a, b, r);
    benchmark::DoNotOptimize(r.data);
  });
}

void BM_MultImage_Vexa(benchmark::State& state) {
  const Vobject a = Input(state, 1), b = Input(state, 2);
  RunVexa(state, [&] { Vobject r; return mult_image(a, b, &r, 0.01, 0.0); });
}
void BM_MultImage_OpenCV(benchmark::State& state) {
  const cv::Mat a = Mat(1), b = Mat(2);
  RunCv(state, [&] {
    cv::Mat r;
    cv::multiply(a, b, r, 0.01);
    benchmark::DoNotOptimize(r.data);
  });
}

void BM_AbsDiffImage_Vexa(benchmark::State& state) {
  const Vobject a = Input(state, 1), b = Input(state, 2);
  RunVexa(state, [&] { Vobject r; return abs_diff_image(a, b, &r, 1.0); });
}
void BM_AbsDiffImage_OpenCV(benchmark::State& state) {
  const cv::Mat a = Mat(1), b = Mat(2);
  RunCv(state, [&] {
    cv::Mat r;
    cv::absdiff(a, b, r);
    benchmark::DoNotOptimize(r.data);
  });
}

void BM_InvertImage_Vexa(benchmark::State& state) {
  const Vobject a = Input(state, 1);
  RunVexa(state, [&] { Vobject r; return invert_image(a, &r); });
}
void BM_InvertImage_OpenCV(benchmark::State& state) {
  const cv::Mat a = Mat(1);
  RunCv(state, [&] {
    cv::Mat r;
    cv::bitwise_not(a, r);
    benchmark::DoNotOptimize(r.data);
  });
}

void BM_ScaleImage_Vexa(benchmark::State& state) {
  const Vobject a = Input(state, 1);
  RunVexa(state, [&] { Vobject r; return scale_image(a, &r, 1.7, -20.0); });
}
void BM_ScaleImage_OpenCV(benchmark::State& state) {
  const cv::Mat a = Mat(1);
  RunCv(state, [&] {
    cv::Mat r;
    a.convertTo(r, CV_8U, 1.7, -20.0);
    benchmark::DoNotOptimize(r.data);
  });
}

void BM_ConvertToReal_Vexa(benchmark::State& state) {
  const Vobject a = Input(state, 1);
  RunVexa(state, [&] { Vobject r; return convert_image_type(a, &r, "real"); });
}
void BM_ConvertToReal_OpenCV(benchmark::State& state) {
  const cv::Mat a = Mat(1);
  RunCv(state, [&] {
    cv::Mat r;
    a.convertTo(r, CV_32F);
    benchmark::DoNotOptimize(r.data);
  });
}

void BM_GrayHisto_Vexa(benchmark::State& state) {
  const Vobject a = Input(state, 1);
  RunVexa(state, [&] { VTuple abs, rel; return gray_histo(a, a, &abs, &rel); });
}
void BM_GrayHisto_OpenCV(benchmark::State& state) {
  const cv::Mat a = Mat(1);
  const int channels[] = {0}, size[] = {256};
  const float range[] = {0, 256};
  const float* ranges[] = {range};
  RunCv(state, [&] {
    cv::Mat hist;
    cv::calcHist(&a, 1, channels, cv::Mat(), hist, 1, size, ranges);
    benchmark::DoNotOptimize(hist.data);
  });
}

void BM_BinaryThreshold_Vexa(benchmark::State& state) {
  const Vobject a = Input(state, 1);
  RunVexa(state, [&] {
    Vobject r;
    Vlong used = 0;
    return binary_threshold(a, &r, "max_separability", "dark", &used);
  });
}
void BM_BinaryThreshold_OpenCV(benchmark::State& state) {
  const cv::Mat a = Mat(1);
  RunCv(state, [&] {
    cv::Mat r;
    benchmark::DoNotOptimize(cv::threshold(a, r, 0, 255, cv::THRESH_BINARY_INV | cv::THRESH_OTSU));
  });
}

}  // namespace

// Arg 0: full domain; arg 1: the 10% disc. Wall-clock time: both sides
// may use more than one thread for a large image (OpenCV's threshold
// does), and the time a caller waits is what counts.
#define VEXA_BENCH_PAIR(name)                                                                 \
  BENCHMARK(BM_##name##_Vexa)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime(); \
  BENCHMARK(BM_##name##_OpenCV)->Unit(benchmark::kMillisecond)->UseRealTime()
VEXA_BENCH_PAIR(Threshold);
BENCHMARK(BM_ThresholdThenRuns_Vexa)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
VEXA_BENCH_PAIR(AddImage);
VEXA_BENCH_PAIR(SubImage);
VEXA_BENCH_PAIR(MultImage);
VEXA_BENCH_PAIR(AbsDiffImage);
VEXA_BENCH_PAIR(InvertImage);
VEXA_BENCH_PAIR(ScaleImage);
VEXA_BENCH_PAIR(ConvertToReal);
VEXA_BENCH_PAIR(GrayHisto);
VEXA_BENCH_PAIR(BinaryThreshold);

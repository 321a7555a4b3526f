// Decoding time per image: find_bar_code ("EAN-13") and find_data_code_2d
// ("QR Code") against calling the decoding engine (zxing-cpp) directly on
// the same pixels with the same code type and its default hints (for
// EAN-13 asking for one symbol, as the runtime does: the engine's merging
// of several linear codes stops on an internal check). The
// images are 1024 x 768 byte images holding one upright symbol at 3 pixels
// per module, blurred with sigma 1 and noised with sigma 5, so both sides
// find the code in their first pass; each runtime call also makes its
// result objects and releases them. A QR code at 2 pixels per module
// under the same blur and noise is read by the runtime's enhanced pass
// only; the engine's row gives what the engine alone finds there (counter
// "found") and the time it spends on it.
#define ZX_USE_UTF8 1
#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>
#include <ZXing/ReadBarcode.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vexaobj.h>

namespace {

using namespace Vexa;
using ZXing::BarcodeFormat;

constexpr int kW = 1024, kH = 768;

// The symbol centred on a light canvas, `module` pixels per module,
// blurred and noised (OpenCV).
std::vector<uint8_t> Scene(BarcodeFormat format, const std::string& content, int module) {
  const ZXing::BitMatrix bits = ZXing::MultiFormatWriter(format).setMargin(0).encode(content, 0, 0);
  const bool linear = bits.height() == 1;
  const int rows = linear ? 60 : bits.height();
  cv::Mat canvas(kH, kW, CV_8U, cv::Scalar(210));
  const int r0 = (kH - rows * module) / 2, c0 = (kW - bits.width() * module) / 2;
  for (int r = 0; r < rows * module; ++r)
    for (int c = 0; c < bits.width() * module; ++c)
      if (bits.get(c / module, linear ? 0 : r / module)) canvas.at<uint8_t>(r0 + r, c0 + c) = 40;
  cv::Mat blurred, noise(kH, kW, CV_32F), out;
  cv::GaussianBlur(canvas, blurred, cv::Size(0, 0), 1.0);
  cv::setRNGSeed(7);
  cv::randn(noise, 0, 5);
  blurred.convertTo(out, CV_32F);
  out += noise;
  out.convertTo(out, CV_8U);
  return std::vector<uint8_t>(out.begin<uint8_t>(), out.end<uint8_t>());
}

const std::vector<uint8_t>& Ean13() {
  static const std::vector<uint8_t> p = Scene(BarcodeFormat::EAN13, "4006381333931", 3);
  return p;
}
const char kQrContent[] = "https://example.org/vexa?id=42";
const std::vector<uint8_t>& Qr() {
  static const std::vector<uint8_t> p = Scene(BarcodeFormat::QRCode, kQrContent, 3);
  return p;
}
const std::vector<uint8_t>& Qr2px() {
  static const std::vector<uint8_t> p = Scene(BarcodeFormat::QRCode, kQrContent, 2);
  return p;
}

Vobject Image(const std::vector<uint8_t>& pixels) {
  Vobject image;
  gen_image1(&image, "byte", kW, kH, static_cast<Vlong>(reinterpret_cast<uintptr_t>(pixels.data())));
  return image;
}

// The engine's read; with `must_find` a read without the code is an error,
// otherwise the codes found are counted.
void Engine(benchmark::State& state, const std::vector<uint8_t>& pixels, BarcodeFormat format,
            int max_symbols, bool must_find = true) {
  const ZXing::ImageView view(pixels.data(), kW, kH, ZXing::ImageFormat::Lum);
  const ZXing::DecodeHints hints =
      ZXing::DecodeHints().setFormats(format).setMaxNumberOfSymbols(static_cast<uint8_t>(max_symbols));
  size_t found = 0;
  for (auto _ : state) {
    const ZXing::Results results = ZXing::ReadBarcodes(view, hints);
    if (must_find && results.size() != 1) state.SkipWithError("engine: no code");
    found = results.size();
    benchmark::DoNotOptimize(results.data());
  }
  state.counters["found"] = static_cast<double>(found);
}

void BM_Ean13_Engine(benchmark::State& state) { Engine(state, Ean13(), BarcodeFormat::EAN13, 1); }
void BM_Qr_Engine(benchmark::State& state) { Engine(state, Qr(), BarcodeFormat::QRCode, 255); }
void BM_Qr2px_Engine(benchmark::State& state) {
  Engine(state, Qr2px(), BarcodeFormat::QRCode, 255, false);
}

void BM_Ean13_Vexa(benchmark::State& state) {
  const Vobject image = Image(Ean13());
  Vlong model = 0;
  create_bar_code_model(VTuple(), VTuple(), &model);
  for (auto _ : state) {
    Vobject regions;
    VTuple strings;
    find_bar_code(image, &regions, model, "EAN-13", &strings);
    if (strings.Num() != 1) state.SkipWithError("vexa: no code");
  }
  clear_bar_code_model(model);
}

void Vexa(benchmark::State& state, const std::vector<uint8_t>& pixels) {
  const Vobject image = Image(pixels);
  Vlong model = 0;
  create_data_code_2d_model(VTuple("QR Code"), VTuple(), VTuple(), &model);
  for (auto _ : state) {
    Vobject xlds;
    VTuple handles, strings;
    find_data_code_2d(image, &xlds, VTuple(model), VTuple(), VTuple(), &handles, &strings);
    if (strings.Num() != 1 || std::string(strings[0].S()) != kQrContent) state.SkipWithError("vexa: no code");
  }
  clear_data_code_2d_model(model);
}

void BM_Qr_Vexa(benchmark::State& state) { Vexa(state, Qr()); }
void BM_Qr2px_Vexa(benchmark::State& state) { Vexa(state, Qr2px()); }

BENCHMARK(BM_Ean13_Engine)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Ean13_Vexa)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Qr_Engine)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Qr_Vexa)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Qr2px_Engine)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Qr2px_Vexa)->Unit(benchmark::kMillisecond);

}  // namespace

// Scenes for the bar code and data code tests: a symbol written by the
// decoding engine's own encoder (an independent source of the bit
// pattern), drawn at 4 pixels per module in the middle of a light canvas
// with a quiet zone, then scaled, turned and blurred by the runtime's
// operators, with white noise added here.
#pragma once

#define ZX_USE_UTF8 1
#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>
#include <ZXing/ReadBarcode.h>
#include <gtest/gtest.h>
#include <vexaobj.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "databar_expanded_encoder.h"
#include "micro_qr_encoder.h"
#include "vexa/errors.h"

namespace code_test {

using Vexa::Vobject;
using Vexa::VTuple;

constexpr int kBaseModule = 4;   // pixels per module before scaling
constexpr int kQuietModules = 10;
constexpr int kLight = 220, kDark = 30;

struct SceneSetup {
  ZXing::BarcodeFormat format;
  std::string content;  // what the encoder writes
  double module = 4;    // pixels per module after scaling
  double angle = 0;     // degrees, counter-clockwise
  double blur = 1;      // Gaussian sigma
  double noise = 5;     // white noise sigma
};

// A byte image from row-ordered pixels.
inline Vobject ByteImage(const std::vector<uint8_t>& pixels, int width, int height) {
  Vobject image;
  EXPECT_EQ(Vexa::gen_image1(&image, "byte", width, height,
                             static_cast<Vlong>(reinterpret_cast<uintptr_t>(pixels.data()))),
            VRESULT_OK);
  return image;
}

// The symbol's modules: written by the engine's encoder, or by ours for
// the types the engine cannot write: GS1 DataBar Omnidirectional (13
// digits) and Expanded (a GS1 element string), Micro QR Code (the smallest
// symbol at level L).
inline ZXing::BitMatrix EncodeSymbol(ZXing::BarcodeFormat format, const std::string& content) {
  if (format == ZXing::BarcodeFormat::MicroQRCode) {
    const micro_qr::Symbol symbol = micro_qr::Encode(content);
    ZXing::BitMatrix bits(symbol.size, symbol.size);
    for (int r = 0; r < symbol.size; ++r)
      for (int c = 0; c < symbol.size; ++c)
        if (symbol.At(r, c)) bits.set(c, r);
    return bits;
  }
  if (format != ZXing::BarcodeFormat::DataBar && format != ZXing::BarcodeFormat::DataBarExpanded)
    return ZXing::MultiFormatWriter(format).setMargin(0).encode(content, 0, 0);
  const std::vector<bool> modules = format == ZXing::BarcodeFormat::DataBar
                                        ? databar::Modules(content)
                                        : databar::ExpandedModules(content);
  ZXing::BitMatrix bits(static_cast<int>(modules.size()), 1);
  for (size_t x = 0; x < modules.size(); ++x)
    if (modules[x]) bits.set(static_cast<int>(x), 0);
  return bits;
}

// Modules across the symbol: linear codes get bars half as high as the
// code is long, at least 30 modules.
inline int SymbolRows(const ZXing::BitMatrix& bits) {
  return bits.height() == 1 ? std::max(30, bits.width() / 2) : bits.height();
}

// The symbol on a square canvas wide enough to stay whole when turned.
inline std::vector<uint8_t> DrawSymbol(const SceneSetup& scene, int* side) {
  const ZXing::BitMatrix bits = EncodeSymbol(scene.format, scene.content);
  const bool linear = bits.height() == 1;
  const int cols = bits.width(), rows = SymbolRows(bits);
  const double w = (cols + 2.0 * kQuietModules) * kBaseModule;
  const double h = (rows + 2.0 * kQuietModules) * kBaseModule;
  *side = static_cast<int>(std::ceil(std::hypot(w, h)));
  std::vector<uint8_t> pixels(static_cast<size_t>(*side) * *side, kLight);
  const int r0 = (*side - rows * kBaseModule) / 2, c0 = (*side - cols * kBaseModule) / 2;
  for (int r = 0; r < rows * kBaseModule; ++r)
    for (int c = 0; c < cols * kBaseModule; ++c)
      if (bits.get(c / kBaseModule, linear ? 0 : r / kBaseModule))
        pixels[static_cast<size_t>(r0 + r) * *side + c0 + c] = kDark;
  return pixels;
}

// Adds rounded Gaussian noise of `sigma` to a byte image, clipped to 0..255.
inline Vobject AddNoise(const Vobject& image, double sigma, std::mt19937* rng) {
  Vlong pointer = 0, width = 0, height = 0;
  char type[32];
  EXPECT_EQ(Vexa::get_image_pointer1(image, &pointer, type, &width, &height), VRESULT_OK);
  const auto* src = reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(pointer));
  std::vector<uint8_t> noisy(src, src + width * height);
  std::normal_distribution<double> noise(0, sigma);
  for (uint8_t& p : noisy) p = static_cast<uint8_t>(std::clamp(std::lround(p + noise(*rng)), 0L, 255L));
  return ByteImage(noisy, static_cast<int>(width), static_cast<int>(height));
}

// The finished scene from a drawn square canvas (as DrawSymbol makes):
// scaled, turned, blurred and noised.
inline Vobject FinishScene(const SceneSetup& scene, const std::vector<uint8_t>& pixels, int side,
                           std::mt19937* rng) {
  const Vobject drawn = ByteImage(pixels, side, side);
  Vobject scaled, turned, blurred;
  const double scale = scene.module / kBaseModule;
  EXPECT_EQ(Vexa::zoom_image_factor(drawn, &scaled, scale, scale, "bilinear"), VRESULT_OK);
  EXPECT_EQ(Vexa::rotate_image(scaled, &turned, scene.angle, "bilinear"), VRESULT_OK);
  EXPECT_EQ(Vexa::smooth_image(turned, &blurred, "gauss", scene.blur), VRESULT_OK);
  return AddNoise(blurred, scene.noise, rng);
}

// The finished scene; the symbol's centre is the image centre.
inline Vobject MakeScene(const SceneSetup& scene, std::mt19937* rng) {
  int side = 0;
  const std::vector<uint8_t> pixels = DrawSymbol(scene, &side);
  return FinishScene(scene, pixels, side, rng);
}

// The symbol's height (across the reading direction) in the finished
// scene, in pixels.
inline double SymbolHeight(const SceneSetup& scene) {
  return SymbolRows(EncodeSymbol(scene.format, scene.content)) * scene.module;
}

// The symbol's length along the reading direction in the finished scene,
// quiet zones excluded, in pixels.
inline double SymbolLength(const SceneSetup& scene) {
  return EncodeSymbol(scene.format, scene.content).width() * scene.module;
}

inline int ImageSide(const Vobject& image) {
  Vlong pointer = 0, width = 0, height = 0;
  char type[32];
  EXPECT_EQ(Vexa::get_image_pointer1(image, &pointer, type, &width, &height), VRESULT_OK);
  return static_cast<int>(width);
}

// Difference of two angles in degrees, in [0, 180].
inline double AngleGap(double a, double b) { return std::fabs(std::remainder(a - b, 360.0)); }

constexpr double kMaxModule = 6;

// Ten turns (fixed seed) paired with module sizes spread evenly over
// min_module..kMaxModule pixels.
inline std::vector<std::pair<double, double>> TurnsAndModules(unsigned seed, double min_module) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> turn(-180, 180);
  std::vector<std::pair<double, double>> out;
  for (int i = 0; i < 10; ++i)
    out.emplace_back(turn(rng), min_module + (kMaxModule - min_module) * i / 9.0);
  return out;
}

inline std::string Str(const VTuple& t, Vlong i) { return t[i].S(); }

}  // namespace code_test

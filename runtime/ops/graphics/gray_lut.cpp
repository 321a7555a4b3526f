// The named look-up tables (see gray_lut.h).
#include "ops/graphics/gray_lut.h"

#include <algorithm>
#include <cmath>

namespace vexa {

const char* const kLutNames[] = {"default", "linear",  "inverse",     "sqr",
                                 "sqrt",    "temperature", "rainbow", "twenty_four"};
const size_t kNumLutNames = sizeof(kLutNames) / sizeof(kLutNames[0]);

namespace {

uint8_t Byte(double v) { return static_cast<uint8_t>(std::clamp(std::lround(v), 0L, 255L)); }

// A fully saturated colour of hue h in [0, 6) (0 red, 2 green, 4 blue).
window::Rgb Hue(double h) {
  const double x = 1.0 - std::fabs(std::fmod(h, 2.0) - 1.0);
  double r = 0, g = 0, b = 0;
  switch (static_cast<int>(h) % 6) {
    case 0: r = 1, g = x; break;
    case 1: r = x, g = 1; break;
    case 2: g = 1, b = x; break;
    case 3: g = x, b = 1; break;
    case 4: r = x, b = 1; break;
    default: r = 1, b = x; break;
  }
  return {Byte(255 * r), Byte(255 * g), Byte(255 * b)};
}

template <class Fn>
std::vector<window::Rgb> Table(Fn&& fn) {
  std::vector<window::Rgb> lut(256);
  for (int g = 0; g < 256; ++g) lut[static_cast<size_t>(g)] = fn(g);
  return lut;
}

}  // namespace

bool NamedLut(const std::string& name, std::vector<window::Rgb>* lut) {
  auto gray = [](double v) { return window::Rgb{Byte(v), Byte(v), Byte(v)}; };
  if (name == "default" || name == "linear") {
    lut->clear();
  } else if (name == "inverse") {
    *lut = Table([&](int g) { return gray(255 - g); });
  } else if (name == "sqr") {
    *lut = Table([&](int g) { return gray(g * g / 255.0); });
  } else if (name == "sqrt") {
    *lut = Table([&](int g) { return gray(std::sqrt(255.0 * g)); });
  } else if (name == "temperature") {
    // Three ramps of 85 values: red rises, then green, then blue.
    *lut = Table([](int g) {
      return window::Rgb{Byte(g * 3.0), Byte((g - 85) * 3.0), Byte((g - 170) * 3.0)};
    });
  } else if (name == "rainbow") {
    *lut = Table([](int g) { return Hue(4.0 - 4.0 * g / 255.0); });
  } else if (name == "twenty_four") {
    // Neighbouring bands differ in hue by 5/24 of the circle and alternate
    // in brightness.
    *lut = Table([](int g) {
      const int band = g * 24 / 256;
      window::Rgb c = Hue(std::fmod(band * 5 / 4.0, 6.0));
      if (band % 2 == 1) c = {static_cast<uint8_t>(c.r / 2), static_cast<uint8_t>(c.g / 2),
                              static_cast<uint8_t>(c.b / 2)};
      return c;
    });
  } else {
    return false;
  }
  return true;
}

}  // namespace vexa

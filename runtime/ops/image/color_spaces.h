// Color space transforms of one pixel, in real units: red, green and blue
// in [0, 1]; hue in radians [0, 2 pi); saturation, value and intensity in
// [0, 1]; Y, U, V and Y, I, Q as the television standards define them
// (U, V, I, Q signed); L*, a*, b* of CIE 1976 over linear RGB with sRGB
// primaries and white point D65 (L* in [0, 100]).
//
// Integer images hold each component mapped from its range [lo, hi] onto
// the type's 0..max, so that one table row tells both directions.
#pragma once

namespace vexa {

struct ColorSpace {
  const char* name;
  void (*from_rgb)(const double rgb[3], double out[3]);
  void (*to_rgb)(const double in[3], double rgb[3]);
  double lo[3];
  double hi[3];
};

// The space called `name`, or null.
const ColorSpace* FindColorSpace(const char* name);

// Luminance weights of red, green and blue (ITU-R BT.601).
constexpr double kLumaR = 0.299, kLumaG = 0.587, kLumaB = 0.114;

}  // namespace vexa

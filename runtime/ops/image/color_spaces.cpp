#include "color_spaces.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vexa {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kTwoPi = 2 * kPi;

// Hue of the hexcone models (hsv), in radians.
double HexconeHue(double r, double g, double b, double max, double delta) {
  if (delta <= 0) return 0.0;
  double h;
  if (max == r) {
    h = (g - b) / delta;
  } else if (max == g) {
    h = (b - r) / delta + 2;
  } else {
    h = (r - g) / delta + 4;
  }
  h *= kPi / 3;
  return h < 0 ? h + kTwoPi : h;
}

void RgbToHsv(const double c[3], double out[3]) {
  const double max = std::max({c[0], c[1], c[2]});
  const double min = std::min({c[0], c[1], c[2]});
  out[0] = HexconeHue(c[0], c[1], c[2], max, max - min);
  out[1] = max > 0 ? (max - min) / max : 0.0;
  out[2] = max;
}

void HsvToRgb(const double in[3], double c[3]) {
  const double h = std::fmod(std::fmod(in[0], kTwoPi) + kTwoPi, kTwoPi) / (kPi / 3);
  const double s = in[1], v = in[2];
  const int sector = std::min(static_cast<int>(h), 5);
  const double f = h - sector;
  const double p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
  const double table[6][3] = {{v, t, p}, {q, v, p}, {p, v, t},
                              {p, q, v}, {t, p, v}, {v, p, q}};
  std::copy(table[sector], table[sector] + 3, c);
}

// The geometric hue of the hsi model.
void RgbToHsi(const double c[3], double out[3]) {
  const double r = c[0], g = c[1], b = c[2];
  const double i = (r + g + b) / 3;
  const double min = std::min({r, g, b});
  const double num = 0.5 * ((r - g) + (r - b));
  const double den = std::sqrt((r - g) * (r - g) + (r - b) * (g - b));
  const double theta = den > 0 ? std::acos(std::clamp(num / den, -1.0, 1.0)) : 0.0;
  out[0] = b > g ? kTwoPi - theta : theta;
  out[1] = i > 0 ? 1 - min / i : 0.0;
  out[2] = i;
}

void HsiToRgb(const double in[3], double c[3]) {
  const double h = std::fmod(std::fmod(in[0], kTwoPi) + kTwoPi, kTwoPi);
  const double s = in[1], i = in[2];
  // Each third of the hue circle has one component at its minimum; the
  // others follow from the hue within the third and the intensity.
  const int third = std::min(static_cast<int>(h / (kTwoPi / 3)), 2);
  const double hh = h - third * (kTwoPi / 3);
  const double low = i * (1 - s);
  const double high = i * (1 + s * std::cos(hh) / std::cos(kPi / 3 - hh));
  const double mid = 3 * i - low - high;
  const int first = third;              // r, g, b for thirds 0, 1, 2
  c[first] = high;
  c[(first + 1) % 3] = mid;
  c[(first + 2) % 3] = low;
}

double Luma(const double c[3]) { return kLumaR * c[0] + kLumaG * c[1] + kLumaB * c[2]; }

constexpr double kU = 0.492, kV = 0.877;

void RgbToYuv(const double c[3], double out[3]) {
  out[0] = Luma(c);
  out[1] = kU * (c[2] - out[0]);
  out[2] = kV * (c[0] - out[0]);
}

void YuvToRgb(const double in[3], double c[3]) {
  c[2] = in[0] + in[1] / kU;
  c[0] = in[0] + in[2] / kV;
  c[1] = (in[0] - kLumaR * c[0] - kLumaB * c[2]) / kLumaG;
}

constexpr double kYiq[3][3] = {{kLumaR, kLumaG, kLumaB},
                               {0.595716, -0.274453, -0.321263},
                               {0.211456, -0.522591, 0.311135}};

struct Matrix3 {
  double m[3][3];
};

void Apply(const double m[3][3], const double in[3], double out[3]) {
  for (int i = 0; i < 3; ++i) out[i] = m[i][0] * in[0] + m[i][1] * in[1] + m[i][2] * in[2];
}

// The inverse by cofactors, so that the way back undoes the way there to
// the last bits instead of the few digits that published inverses carry.
Matrix3 Inverse(const double m[3][3]) {
  Matrix3 inv;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      inv.m[j][i] = m[(i + 1) % 3][(j + 1) % 3] * m[(i + 2) % 3][(j + 2) % 3] -
                    m[(i + 1) % 3][(j + 2) % 3] * m[(i + 2) % 3][(j + 1) % 3];
  const double det = m[0][0] * inv.m[0][0] + m[0][1] * inv.m[1][0] + m[0][2] * inv.m[2][0];
  for (auto& row : inv.m)
    for (double& v : row) v /= det;
  return inv;
}

void RgbToYiq(const double c[3], double out[3]) { Apply(kYiq, c, out); }
void YiqToRgb(const double in[3], double c[3]) {
  static const Matrix3 inverse = Inverse(kYiq);
  Apply(inverse.m, in, c);
}

constexpr double kXyz[3][3] = {{0.412453, 0.357580, 0.180423},
                               {0.212671, 0.715160, 0.072169},
                               {0.019334, 0.119193, 0.950227}};
constexpr double kWhite[3] = {0.950456, 1.0, 1.088754};
constexpr double kDelta = 6.0 / 29.0;

double LabF(double t) {
  return t > kDelta * kDelta * kDelta ? std::cbrt(t) : t / (3 * kDelta * kDelta) + 4.0 / 29.0;
}
double LabFInverse(double f) {
  return f > kDelta ? f * f * f : 3 * kDelta * kDelta * (f - 4.0 / 29.0);
}

void RgbToLab(const double c[3], double out[3]) {
  double xyz[3];
  Apply(kXyz, c, xyz);
  const double fx = LabF(xyz[0] / kWhite[0]), fy = LabF(xyz[1] / kWhite[1]),
               fz = LabF(xyz[2] / kWhite[2]);
  out[0] = 116 * fy - 16;
  out[1] = 500 * (fx - fy);
  out[2] = 200 * (fy - fz);
}

void LabToRgb(const double in[3], double c[3]) {
  const double fy = (in[0] + 16) / 116;
  const double xyz[3] = {kWhite[0] * LabFInverse(fy + in[1] / 500),
                         kWhite[1] * LabFInverse(fy),
                         kWhite[2] * LabFInverse(fy - in[2] / 200)};
  static const Matrix3 inverse = Inverse(kXyz);
  Apply(inverse.m, xyz, c);
}

// Ranges: U, V, I, Q reach their extremes at pure blue, red, ... colors.
constexpr ColorSpace kSpaces[] = {
    {"hsv", RgbToHsv, HsvToRgb, {0, 0, 0}, {kTwoPi, 1, 1}},
    {"hsi", RgbToHsi, HsiToRgb, {0, 0, 0}, {kTwoPi, 1, 1}},
    {"yuv", RgbToYuv, YuvToRgb, {0, -kU * (1 - kLumaB), -kV * (1 - kLumaR)},
     {1, kU * (1 - kLumaB), kV * (1 - kLumaR)}},
    {"yiq", RgbToYiq, YiqToRgb, {0, -0.595716, -0.522591}, {1, 0.595716, 0.522591}},
    {"cielab", RgbToLab, LabToRgb, {0, -128, -128}, {100, 127, 127}},
};

}  // namespace

const ColorSpace* FindColorSpace(const char* name) {
  for (const ColorSpace& s : kSpaces)
    if (std::strcmp(s.name, name) == 0) return &s;
  return nullptr;
}

}  // namespace vexa

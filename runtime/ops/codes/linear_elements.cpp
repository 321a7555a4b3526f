#include "ops/codes/linear_elements.h"

#include <algorithm>
#include <cmath>

#include "ops/codes/code_pixels.h"

namespace vexa {
namespace {

constexpr double kStep = 0.5;  // pixels between profile samples
constexpr uint8_t kBar = 0, kSpace = 255;
constexpr double kMinContrast = 20;  // gray values between bars and spaces

// Quantile q of `values` (copied).
double Quantile(std::vector<double> values, double q) {
  const size_t k = static_cast<size_t>(q * (values.size() - 1));
  std::nth_element(values.begin(), values.begin() + k, values.end());
  return values[k];
}

}  // namespace

LinearElements MeasureElements(const CodeImage& image, double row0, double col0, double row1,
                               double col1) {
  LinearElements out;
  const double len = std::hypot(row1 - row0, col1 - col0);
  if (!(len >= 2)) return out;
  const double ur = (row1 - row0) / len, uc = (col1 - col0) / len;  // along the line
  const double vr = uc, vc = -ur;                                  // across it
  std::vector<double> gray, at;                                    // profile, its positions
  for (double t = 0; t <= len; t += kStep) {
    double sum = 0;
    int n = 0;
    for (int k = -1; k <= 1; ++k) {
      double v = 0;
      if (SampleGray(image, row0 + t * ur + k * vr, col0 + t * uc + k * vc, &v)) sum += v, ++n;
    }
    if (n == 3) gray.push_back(sum / n), at.push_back(t);
  }
  if (gray.size() < 4) return out;
  const double dark = Quantile(gray, 0.05), light = Quantile(gray, 0.95);
  // A line over background alone: its noise is no bars.
  if (light - dark < kMinContrast) return out;
  const double mid = (dark + light) / 2;
  std::vector<double> edges;  // positions along the line
  for (size_t i = 1; i < gray.size(); ++i) {
    const bool dark0 = gray[i - 1] < mid, dark1 = gray[i] < mid;
    // A gap in the profile (points outside the image) is no edge.
    if (dark0 == dark1 || at[i] - at[i - 1] > 1.5 * kStep) continue;
    // The first edge must enter a bar.
    if (edges.empty() && !dark1) continue;
    const double f = (gray[i - 1] - mid) / (gray[i - 1] - gray[i]);
    edges.push_back(at[i - 1] + f * (at[i] - at[i - 1]));
  }
  // The last edge must leave a bar: an even number of edges.
  if (edges.size() % 2 == 1) edges.pop_back();
  if (edges.size() < 2) return out;
  for (size_t i = 0; i < edges.size(); ++i) {
    if (i > 0) out.widths.push_back(edges[i] - edges[i - 1]);
    out.edge_rows.push_back(row0 + edges[i] * ur);
    out.edge_cols.push_back(col0 + edges[i] * uc);
  }
  return out;
}

bool DrawElements(const std::vector<double>& widths, std::vector<uint8_t>* pixels,
                  CodeImage* image) {
  constexpr double kModulePixels = 3, kMaxWidth = 16384;
  constexpr int kHeight = 24;
  const double module = ModuleWidth(widths, 0);
  if (!(module > 0)) return false;
  const double scale = kModulePixels / module;
  double total = 0, wide = 0;
  for (double w : widths) total += w * scale, wide = std::max(wide, w * scale);
  const int quiet = static_cast<int>(std::ceil(10 * wide));
  if (total + 2 * quiet > kMaxWidth) return false;
  const int width = static_cast<int>(std::ceil(total)) + 2 * quiet;
  std::vector<uint8_t> row(static_cast<size_t>(width), kSpace);
  // Element edges at rounded cumulative positions, so the widths' sum
  // stays exact.
  double x = quiet;
  for (size_t i = 0; i < widths.size(); ++i) {
    const double end = x + widths[i] * scale;
    if (i % 2 == 0) std::fill(row.begin() + std::lround(x), row.begin() + std::lround(end), kBar);
    x = end;
  }
  pixels->clear();
  for (int r = 0; r < kHeight; ++r) pixels->insert(pixels->end(), row.begin(), row.end());
  *image = CodeImage{pixels->data(), width, width, kHeight, 0, 0};
  return true;
}

double ModuleWidth(const std::vector<double>& widths, int total_modules) {
  if (widths.empty()) return 0;
  double sum = 0;
  for (double w : widths) sum += w;
  if (total_modules > 0) return sum / total_modules;
  const double narrow = 1.5 * Quantile(widths, 0.25);
  double narrow_sum = 0;
  int n = 0;
  for (double w : widths)
    if (w <= narrow) narrow_sum += w, ++n;
  return narrow_sum / n;
}

}  // namespace vexa

#include "ops/codes/symbol_grid.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "ops/codes/code_pixels.h"

namespace vexa {
namespace {

using ZXing::BarcodeFormat;
using Size = std::pair<int, int>;  // rows, cols

std::vector<Size> Squares(std::initializer_list<int> sides) {
  std::vector<Size> out;
  for (int s : sides) out.emplace_back(s, s);
  return out;
}

std::vector<Size> QrSizes() {
  std::vector<Size> out;
  for (int version = 1; version <= 40; ++version) out.emplace_back(17 + 4 * version, 17 + 4 * version);
  return out;
}

std::vector<Size> DataMatrixSizes() {
  std::vector<Size> out = Squares({10, 12, 14, 16, 18, 20, 22, 24, 26, 32, 36, 40, 44, 48, 52, 64,
                                   72, 80, 88, 96, 104, 120, 132, 144});
  for (Size s : {Size{8, 18}, Size{8, 32}, Size{12, 26}, Size{12, 36}, Size{16, 36}, Size{16, 48}}) {
    out.push_back(s);
    out.emplace_back(s.second, s.first);
  }
  return out;
}

// Compact symbols of 1..4 layers, full-range ones of 1..32 layers (with a
// reference grid line every 16 modules from the centre).
std::vector<Size> AztecSizes() {
  std::vector<int> sides;
  for (int layers = 1; layers <= 4; ++layers) sides.push_back(11 + 4 * layers);
  for (int layers = 1; layers <= 32; ++layers) {
    const int base = 14 + 4 * layers;
    sides.push_back(base + 1 + 2 * ((base / 2 - 1) / 15));
  }
  std::sort(sides.begin(), sides.end());
  sides.erase(std::unique(sides.begin(), sides.end()), sides.end());
  std::vector<Size> out;
  for (int s : sides) out.emplace_back(s, s);
  return out;
}

const std::vector<Size>* SizesOf(BarcodeFormat format) {
  static const std::vector<Size> qr = QrSizes(), dm = DataMatrixSizes(), aztec = AztecSizes();
  static const std::vector<Size> micro_qr = Squares({11, 13, 15, 17});  // versions M1..M4
  if (format == BarcodeFormat::QRCode) return &qr;
  if (format == BarcodeFormat::MicroQRCode) return &micro_qr;
  if (format == BarcodeFormat::DataMatrix) return &dm;
  if (format == BarcodeFormat::Aztec) return &aztec;
  return nullptr;
}

// A module that is set in every symbol of the type: the outer corner of
// the top-left finder pattern (QR Code, Micro QR Code), the corner of the
// L-shaped finder (Data Matrix), the bullseye's centre (Aztec).
std::pair<int, int> SetModule(BarcodeFormat format, Size size) {
  if (format == BarcodeFormat::DataMatrix) return {size.first - 1, 0};
  if (format == BarcodeFormat::Aztec) return {size.first / 2, size.second / 2};
  return {0, 0};
}

// The image point at symbol coordinates (u, v) in [0, 1]^2 (u along the
// reading direction): bilinear between the four corners, which is exact
// for an affine view and close for a mild perspective.
void PointAt(const CodeHit& hit, double u, double v, double* row, double* col) {
  const double w[4] = {(1 - u) * (1 - v), u * (1 - v), u * v, (1 - u) * v};
  *row = *col = 0;
  for (int i = 0; i < 4; ++i) *row += w[i] * hit.rows[i], *col += w[i] * hit.cols[i];
}

// Gray values at the centres of the module rows `module_rows` of a grid
// of `size`; false when a centre lies outside the image.
bool SampleRows(const CodeImage& image, const CodeHit& hit, Size size,
                const std::vector<int>& module_rows, std::vector<double>* gray) {
  gray->clear();
  for (int r : module_rows)
    for (int c = 0; c < size.second; ++c) {
      double row = 0, col = 0, v = 0;
      PointAt(hit, (c + 0.5) / size.second, (r + 0.5) / size.first, &row, &col);
      if (!SampleGray(image, row, col, &v)) return false;
      gray->push_back(v);
    }
  return true;
}

struct Spread {
  double mid = 0, half_contrast = 0, separation = 0;
};

// Mid-gray and contrast from the 10% and 90% quantiles, and the mean
// distance of the values from mid-gray relative to half the contrast.
Spread SpreadOf(std::vector<double> gray) {
  Spread s;
  if (gray.empty()) return s;
  const size_t lo = gray.size() / 10, hi = gray.size() - 1 - gray.size() / 10;
  std::nth_element(gray.begin(), gray.begin() + lo, gray.end());
  const double dark = gray[lo];
  std::nth_element(gray.begin(), gray.begin() + hi, gray.end());
  const double light = gray[hi];
  s.mid = (dark + light) / 2, s.half_contrast = (light - dark) / 2;
  if (s.half_contrast <= 0) return s;
  double sum = 0;
  for (double g : gray) sum += std::min(std::fabs(g - s.mid) / s.half_contrast, 1.0);
  s.separation = sum / gray.size();
  return s;
}

double Distance(const CodeHit& hit, int a, int b) {
  return std::hypot(hit.rows[b] - hit.rows[a], hit.cols[b] - hit.cols[a]);
}

std::vector<int> AllRows(int n) {
  std::vector<int> rows(n);
  for (int i = 0; i < n; ++i) rows[i] = i;
  return rows;
}

// Sizes whose modules would be narrower than this many pixels are not
// tried: the engine reads no symbol that small, even enlarged.
constexpr double kMinModule = 1.5;

// At most kScoredRows module rows, evenly spread.
constexpr int kScoredRows = 24;
std::vector<int> ScoredRows(int n) {
  if (n <= kScoredRows) return AllRows(n);
  std::vector<int> rows;
  for (int i = 0; i < kScoredRows; ++i) rows.push_back(i * (n - 1) / (kScoredRows - 1));
  return rows;
}

}  // namespace

bool HasFittableGrid(BarcodeFormat format) { return SizesOf(format) != nullptr; }

bool FitSymbolGrid(const CodeImage& image, const CodeHit& hit, SymbolGrid* grid) {
  const std::vector<Size>* sizes = SizesOf(hit.format);
  if (sizes == nullptr || image.width == 0) return false;
  const double width = (Distance(hit, 0, 1) + Distance(hit, 3, 2)) / 2;
  const double height = (Distance(hit, 0, 3) + Distance(hit, 1, 2)) / 2;
  // A larger size must score clearly better: at twice the true size the
  // samples still fall inside modules, only nearer to their edges.
  constexpr double kBetter = 1.02;
  double best = 0;
  Size best_size{0, 0};
  std::vector<double> gray;
  for (Size size : *sizes) {
    if (width < kMinModule * size.second || height < kMinModule * size.first) continue;
    if (!SampleRows(image, hit, size, ScoredRows(size.first), &gray)) continue;
    const double score = SpreadOf(gray).separation;
    if (score > best * kBetter) best = score, best_size = size;
  }
  if (best_size.first == 0) return false;
  grid->rows = best_size.first, grid->cols = best_size.second;
  grid->module_width = width / grid->cols, grid->module_height = height / grid->rows;
  SampleRows(image, hit, best_size, AllRows(grid->rows), &gray);
  const Spread spread = SpreadOf(gray);
  grid->separation = spread.separation;
  const auto [set_row, set_col] = SetModule(hit.format, best_size);
  const bool dark_set = gray[static_cast<size_t>(set_row) * grid->cols + set_col] < spread.mid;
  grid->set.resize(gray.size());
  grid->centre_rows.resize(gray.size()), grid->centre_cols.resize(gray.size());
  for (int r = 0; r < grid->rows; ++r)
    for (int c = 0; c < grid->cols; ++c) {
      const size_t i = static_cast<size_t>(r) * grid->cols + c;
      grid->set[i] = (gray[i] < spread.mid) == dark_set;
      PointAt(hit, (c + 0.5) / grid->cols, (r + 0.5) / grid->rows, &grid->centre_rows[i],
              &grid->centre_cols[i]);
    }
  return true;
}

void DrawModules(int rows, int cols, const std::vector<uint8_t>& set,
                 std::vector<uint8_t>* pixels, CodeImage* image) {
  constexpr int kPixels = 4, kQuiet = 4;
  const int width = (cols + 2 * kQuiet) * kPixels, height = (rows + 2 * kQuiet) * kPixels;
  pixels->assign(static_cast<size_t>(width) * height, 255);
  for (int y = 0; y < rows * kPixels; ++y)
    for (int x = 0; x < cols * kPixels; ++x)
      if (set[static_cast<size_t>(y / kPixels) * cols + x / kPixels])
        (*pixels)[static_cast<size_t>(y + kQuiet * kPixels) * width + x + kQuiet * kPixels] = 0;
  *image = CodeImage{pixels->data(), width, width, height, 0, 0};
}

}  // namespace vexa

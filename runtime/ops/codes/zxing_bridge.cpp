#include "ops/codes/zxing_bridge.h"

#include <ZXing/ReadBarcode.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>
#include <opencv2/imgproc.hpp>

#include "ops/codes/symbol_restoration.h"
#include "ops/codes/linear_symbol_geometry.h"
#include "ops/common/op_objects.h"

namespace vexa {
namespace {

using ZXing::BarcodeFormat;

// The turned views a format needs: the step between them, and whether
// each is also read turned by a quarter turn. The engine reads QR codes
// at any angle, but modules of two pixels near a diagonal only in a view
// turned by 45 degrees; Micro QR codes at any angle too, but blurred
// modules of 2.5 pixels not always in views 45 degrees apart (8 of 50
// missed) while always in views 15 degrees apart; Data Matrix within about
// 15 degrees of a quarter turn, linear codes as well but those of two
// pixels per module (Code 93 above all) only within about 8, PDF417 within
// about 8 and Aztec codes only within about 4.
struct Turns {
  double step;
  bool quarters;
};
Turns TurnsOf(ZXing::BarcodeFormats formats) {
  if (!(formats & BarcodeFormat::Aztec).empty()) return {6, true};
  if (!(formats & BarcodeFormat::PDF417).empty()) return {15, true};
  if (formats == ZXing::BarcodeFormats(BarcodeFormat::MicroQRCode)) return {15, false};
  if (formats == ZXing::BarcodeFormats(BarcodeFormat::QRCode)) return {45, false};
  if (!(formats & BarcodeFormat::LinearCodes).empty()) return {15, true};
  return {30, true};
}

// Pixels the engine reads and the map from their (x, y) to image
// coordinates: row = m[0] x + m[1] y + m[2], col = m[3] x + m[4] y + m[5].
// With `quarter`, the engine reads the pixels turned by a quarter turn
// (a view with swapped strides, no copy).
struct View {
  cv::Mat pixels;  // CV_8U; a header over the input where no copy is needed
  double m[6];
  bool quarter = false;
};

View UprightView(const CodeImage& image) {
  View v;
  v.pixels = cv::Mat(image.height, image.width, CV_8U, const_cast<uint8_t*>(image.data),
                     static_cast<size_t>(image.stride));
  const double m[6] = {0, 1, static_cast<double>(image.row0), 1, 0, static_cast<double>(image.col0)};
  std::copy(m, m + 6, v.m);
  return v;
}

// The view whose pixel (x, y) lies at crop coordinates
// (x, y) -> (a[0] x + a[1] y + a[2], a[3] x + a[4] y + a[5]) as (col, row).
View ResampledView(const CodeImage& image, const cv::Matx23d& to_crop, cv::Size size,
                   int interpolation = cv::INTER_LINEAR) {
  View v;
  cv::warpAffine(UprightView(image).pixels, v.pixels, cv::Mat(to_crop), size,
                 interpolation | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
  v.m[0] = to_crop(1, 0), v.m[1] = to_crop(1, 1), v.m[2] = to_crop(1, 2) + image.row0;
  v.m[3] = to_crop(0, 0), v.m[4] = to_crop(0, 1), v.m[5] = to_crop(0, 2) + image.col0;
  return v;
}

// The crop turned by `degrees` counter-clockwise, on a canvas that holds
// all of it.
View TurnedView(const CodeImage& image, double degrees) {
  const double a = degrees * M_PI / 180, c = std::cos(a), s = std::sin(a);
  const double w = image.width, h = image.height;
  const int out_w = static_cast<int>(std::ceil(std::fabs(w * c) + std::fabs(h * s)));
  const int out_h = static_cast<int>(std::ceil(std::fabs(w * s) + std::fabs(h * c)));
  // Centre to centre; a view pixel (x, y) turned back by `a` about the
  // centre (rows grow downwards, so a counter-clockwise turn of the image
  // is a clockwise one in (x, y)).
  const double cx = (w - 1) / 2, cy = (h - 1) / 2, ox = (out_w - 1) / 2.0, oy = (out_h - 1) / 2.0;
  const cv::Matx23d to_crop(c, -s, cx - c * ox + s * oy,  //
                            s, c, cy - s * ox - c * oy);
  return ResampledView(image, to_crop, cv::Size(out_w, out_h));
}

// A result of reading `read` (the view's pixels, enlarged by `scale`) in
// image coordinates. ZXing's quarter turn shows pixel (x, y) of `read` at
// (rows - 1 - y, x).
CodeHit HitOf(const ZXing::Result& r, const View& view, const cv::Mat& read, double scale) {
  CodeHit hit;
  hit.format = r.format();
  hit.valid = r.isValid();
  hit.text = r.text();
  hit.bytes.assign(r.bytes().begin(), r.bytes().end());
  hit.ec_level = r.ecLevel();
  hit.mirrored = r.isMirrored();
  const auto& pos = r.position();
  for (int i = 0; i < 4; ++i) {
    double x = pos[i].x, y = pos[i].y;
    if (view.quarter) std::tie(x, y) = std::make_pair(y, read.rows - 1 - x);
    x = (x + 0.5) / scale - 0.5, y = (y + 0.5) / scale - 0.5;
    hit.rows[i] = view.m[0] * x + view.m[1] * y + view.m[2];
    hit.cols[i] = view.m[3] * x + view.m[4] * y + view.m[5];
  }
  return hit;
}

// The engine merges the scan lines of several linear codes in one read
// only for codes parallel to the rows (it stops on an internal check
// otherwise), so a read of linear codes asks for one code.
bool IsLinear(ZXing::BarcodeFormats formats) {
  return !(formats & BarcodeFormat::LinearCodes).empty();
}

ZXing::DecodeHints HintsOf(const CodeReadOptions& o, ZXing::BarcodeFormats formats, int min_lines) {
  ZXing::DecodeHints hints;
  hints.setFormats(formats)
      .setTryHarder(o.try_harder)
      .setTryRotate(false)
      .setMaxNumberOfSymbols(static_cast<uint8_t>(
          IsLinear(formats) ? 1 : o.max_symbols > 0 && o.max_symbols < 255 ? o.max_symbols : 255))
      .setMinLineCount(static_cast<uint8_t>(std::clamp(min_lines, 1, 255)))
      .setValidateCode39CheckSum(o.code39_check)
      .setValidateITFCheckSum(o.itf_check)
      .setReturnErrors(true);
  return hints;
}

// The engine calls of one read. The engine stops on an internal check
// when it merges the scan lines of a tilted GS1 DataBar code, so DataBar
// codes are read in a call of their own that accepts a single scan line
// (the DataBar reader pairs the code's halves and verifies their
// checksum itself).
std::vector<ZXing::DecodeHints> HintsOf(const CodeReadOptions& o) {
  const ZXing::BarcodeFormats databar = BarcodeFormat::DataBar | BarcodeFormat::DataBarExpanded;
  ZXing::BarcodeFormats others;
  for (BarcodeFormat f : o.formats)
    if ((databar & f).empty()) others |= f;
  std::vector<ZXing::DecodeHints> calls;
  if (!others.empty()) calls.push_back(HintsOf(o, others, o.min_line_count));
  if (!(o.formats & databar).empty()) calls.push_back(HintsOf(o, o.formats & databar, 1));
  return calls;
}

// Views up to this many pixels are enlarged for the enhanced pass.
constexpr double kMaxEnlargedPixels = 4e6;

// How the enhanced pass prepares the pixels. The linear readers threshold
// each scan line on its own histogram and do best on grey values with a
// mild sharpening; the 2D detectors binarize in blocks and lose modules of
// two pixels that way, so 2D codes get a strong sharpening and one
// threshold for the whole view (which assumes even lighting across it).
struct Enhancement {
  double sharpening;  // weight of the difference to the blurred pixels
  bool binarize;      // read as binary pixels (Threshold)
};
constexpr Enhancement kLinearEnhancement = {1, false};
constexpr Enhancement kMatrixEnhancement = {4, true};

// The thresholds a binarized view is read at, in this order: the view's
// edge threshold (EdgeThreshold), then Otsu's threshold of the sharpened
// pixels, which some symbols of two-pixel modules need where the edge
// threshold lies too far to one side of their grey values.
enum class Threshold { kEdge, kOtsu };
constexpr Threshold kThresholds[] = {Threshold::kEdge, Threshold::kOtsu};

// The grey value between a symbol's dark and light modules: the mean of
// the pixels that differ most from their blurred neighbourhood (by at least
// half the largest difference), which lie on both sides of the modules'
// edges. Unlike a threshold from the whole histogram, it does not depend on
// how much of the view is background.
double EdgeThreshold(const cv::Mat& pixels, const cv::Mat& blurred) {
  cv::Mat difference;
  cv::absdiff(pixels, blurred, difference);
  double largest = 0;
  cv::minMaxLoc(difference, nullptr, &largest);
  return cv::mean(pixels, difference > largest / 2)[0];
}

// The pixels of `view` for the enhanced pass: enlarged twice (bicubic, for
// views of at most kMaxEnlargedPixels) and sharpened against a blur of one
// original pixel (the pixels plus `sharpening` times their difference to
// their Gaussian blur of that sigma). This restores modules of two pixels
// that a blur of sigma 1 has brought to under a third of their contrast.
// `scale` is the enlargement; `edge` the view's EdgeThreshold when the
// enhancement binarizes.
cv::Mat Sharpened(const View& view, const Enhancement& enhance, double* edge, double* scale) {
  cv::Mat source = view.pixels, blurred, out;
  *scale = 1;
  if (static_cast<double>(view.pixels.total()) <= kMaxEnlargedPixels) {
    cv::resize(view.pixels, source, cv::Size(), 2, 2, cv::INTER_CUBIC);
    *scale = 2;
  }
  cv::GaussianBlur(source, blurred, cv::Size(0, 0), *scale);
  *edge = enhance.binarize ? EdgeThreshold(source, blurred) : 0;
  cv::addWeighted(source, 1 + enhance.sharpening, blurred, -enhance.sharpening, 0, out);
  return out;
}

cv::Mat Binarized(const cv::Mat& sharpened, Threshold threshold, double edge) {
  cv::Mat out;
  if (threshold == Threshold::kEdge) {
    cv::threshold(sharpened, out, edge, 255, cv::THRESH_BINARY);
  } else {
    cv::threshold(sharpened, out, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
  }
  return out;
}

// Reads `pixels` (the view's, prepared as `enhance` says, `scale` times
// enlarged); true when that gave a decoded symbol. Binarized pixels are
// read as they are.
bool ReadPixels(const View& view, const cv::Mat& pixels, double scale, bool binary,
                const std::vector<ZXing::DecodeHints>& calls, std::vector<CodeHit>* hits) {
  ZXing::ImageView zx(pixels.ptr<uint8_t>(), pixels.cols, pixels.rows, ZXing::ImageFormat::Lum,
                      static_cast<int>(pixels.step[0]));
  if (view.quarter) zx = zx.rotated(90);
  bool decoded = false;
  for (ZXing::DecodeHints hints : calls) {
    if (decoded && IsLinear(hints.formats())) break;  // one linear code per read
    if (binary) hints.setBinarizer(ZXing::Binarizer::FixedThreshold);
    for (const ZXing::Result& r : ZXing::ReadBarcodes(zx, hints)) {
      hits->push_back(HitOf(r, view, pixels, scale));
      decoded = decoded || hits->back().valid;
    }
  }
  return decoded;
}

cv::Mat Inverted(const cv::Mat& pixels) {
  cv::Mat out;
  cv::bitwise_not(pixels, out);
  return out;
}

// Reads one view, as it is or (`enhanced`) enlarged, sharpened and, for
// 2D codes, binarized at each of kThresholds until one decodes; true when
// a read gave a decoded symbol.
bool ReadView(const View& view, const std::vector<ZXing::DecodeHints>& calls, bool inverted,
              bool enhanced, std::vector<CodeHit>* hits) {
  if (!enhanced)
    return ReadPixels(view, inverted ? Inverted(view.pixels) : view.pixels, 1, false, calls, hits);
  const bool linear = std::any_of(calls.begin(), calls.end(),
                                  [](const ZXing::DecodeHints& h) { return IsLinear(h.formats()); });
  const Enhancement& enhance = linear ? kLinearEnhancement : kMatrixEnhancement;
  double edge = 0, scale = 1;
  const cv::Mat sharpened = Sharpened(view, enhance, &edge, &scale);
  if (!enhance.binarize)
    return ReadPixels(view, inverted ? Inverted(sharpened) : sharpened, scale, false, calls, hits);
  for (Threshold threshold : kThresholds) {
    const cv::Mat binary = Binarized(sharpened, threshold, edge);
    if (ReadPixels(view, inverted ? Inverted(binary) : binary, scale, true, calls, hits))
      return true;
  }
  return false;
}

bool AnyValid(const std::vector<CodeHit>& hits) {
  return std::any_of(hits.begin(), hits.end(), [](const CodeHit& h) { return h.valid; });
}

std::vector<bool> InversionsOf(CodePolarity p) {
  if (p == CodePolarity::kAny) return {false, true};
  return {p == CodePolarity::kLightOnDark};
}

// The decoded symbols of the first view (in the given order) that has
// some after `finish` (which checks and completes the hits of one view);
// when none has, every symbol seen that could not be decoded. When no view
// decodes a symbol, all are tried once more in the enhanced pass (small
// modules under blur).
template <class MakeView, class Finish>
std::vector<CodeHit> ReadViews(const CodeReadOptions& options, int num_views, MakeView make,
                               Finish finish) {
  const std::vector<ZXing::DecodeHints> hints = HintsOf(options);
  std::vector<CodeHit> undecoded;
  for (int pass = 0; pass < 2; ++pass)
    for (int i = 0; i < num_views; ++i) {
      const View view = make(i);
      for (bool inverted : InversionsOf(options.polarity)) {
        std::vector<CodeHit> hits;
        if (ReadView(view, hints, inverted, pass == 1, &hits)) {
          finish(&hits);
          if (AnyValid(hits)) return hits;
        }
        undecoded.insert(undecoded.end(), hits.begin(), hits.end());
      }
    }
  return undecoded;
}

// The view of the rectangle with centre (row, col), half lengths len1
// along phi and len2 across: view x runs along phi, view y across it
// (clockwise from phi on screen), both centred on (row, col), with
// `density` view pixels per image pixel (bicubic when above 1).
View RectangleView(const CodeImage& image, double row, double col, double phi, double len1,
                   double len2, double density = 1) {
  const double c = std::cos(phi) / density, s = std::sin(phi) / density;
  const int out_w = static_cast<int>(std::floor(2 * len1 * density)) + 1;
  const int out_h = static_cast<int>(std::floor(2 * len2 * density)) + 1;
  const double x0 = (out_w - 1) / 2.0, y0 = (out_h - 1) / 2.0;
  const double cc = col - image.col0, rc = row - image.row0;
  const cv::Matx23d to_crop(c, s, cc - c * x0 - s * y0,  //
                            -s, c, rc + s * x0 - c * y0);
  return ResampledView(image, to_crop, cv::Size(out_w, out_h),
                       density > 1 ? cv::INTER_CUBIC : cv::INTER_LINEAR);
}

double Gap(double a, double b) { return std::fabs(std::remainder(a - b, 2 * M_PI)); }

// Pixels per image pixel of the view a skewed linear code is read again
// in: bars of two pixels, turned by a bilinear resampling at the image's
// own density, lose the contrast the engine needs; a bicubic view at twice
// the density keeps it.
constexpr double kRereadDensity = 2;

// Outlines the linear codes among `hits`. A code that was read along a
// scan line more than 2 degrees off its measured axis may be misread: a
// scan line that leaves the bars early can still make a valid code of some
// types (part of a 2/5 Interleaved code), and one that crosses the bars
// obliquely can make a valid code of another type (a UPC-A in a Code 39).
// Such a code is read again in a view along that axis, three times as
// long as what was read plus a margin; that reading replaces the first,
// and when it decodes nothing the code stays a candidate only.
void FinishLinear(const CodeImage& image, const CodeReadOptions& options,
                  std::vector<CodeHit>* hits) {
  constexpr double kMaxSkew = 2 * M_PI / 180;
  for (CodeHit& hit : *hits) {
    if (!IsLinear(hit.format)) continue;
    const double scan = hit.Orientation();
    MeasureLinearSymbol(image, &hit);
    if (!hit.valid || Gap(scan, hit.Orientation()) <= kMaxSkew) continue;
    const double row = (hit.rows[0] + hit.rows[2]) / 2, col = (hit.cols[0] + hit.cols[2]) / 2;
    const double half = std::hypot(hit.rows[1] - hit.rows[0], hit.cols[1] - hit.cols[0]) / 2;
    const double high = std::hypot(hit.rows[3] - hit.rows[0], hit.cols[3] - hit.cols[0]);
    const View view = RectangleView(image, row, col, hit.Orientation(), 3 * half + 20,
                                    std::max(high / 2, 8.0), kRereadDensity);
    const std::vector<CodeHit> again =
        ReadViews(options, 1, [&](int) { return view; }, [](std::vector<CodeHit>*) {});
    if (!again.empty() && again.front().valid) {
      hit = again.front();
      MeasureLinearSymbol(image, &hit);
    } else {
      hit.valid = false;
    }
  }
}

// The codes of `format` (Aztec or Micro QR) in the crop that only a
// restoration of their modules makes readable (symbol_restoration.h),
// found by `pattern`: each restored drawing is read as a binary view
// mapped onto the crop.
std::vector<CodeHit> ReadRestored(const CodeImage& image, const CodeReadOptions& options,
                                  BarcodeFormat format, RingPattern pattern) {
  const std::vector<ZXing::DecodeHints> calls = {HintsOf(options, format, 1)};
  const View upright = UprightView(image);
  for (bool inverted : InversionsOf(options.polarity)) {
    const cv::Mat gray = inverted ? Inverted(upright.pixels) : upright.pixels;
    for (const RestoredSymbol& restored : RestoreSymbols(gray, pattern)) {
      View view;
      view.pixels = restored.pixels;
      const double m[6] = {restored.m[3], restored.m[4], restored.m[5] + image.row0,
                           restored.m[0], restored.m[1], restored.m[2] + image.col0};
      std::copy(m, m + 6, view.m);
      std::vector<CodeHit> hits;
      if (ReadPixels(view, view.pixels, 1, true, calls, &hits)) return hits;
    }
  }
  return {};
}

}  // namespace

double CodeHit::Orientation() const {
  return std::atan2(-(rows[1] - rows[0]), cols[1] - cols[0]);
}

Vresult InpCodeImage(OpContext& ctx, int par, CodeImage* image) {
  Vkey key = VKEY_UNDEF;
  db::ImageData data;
  Vresult rc = ctx.InpObjSingle(par, &key);
  if (rc == VRESULT_OK) rc = InpImage(par, key, &data);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& channel = *data.channels.front();
  if (channel.type() != PixelType::kByte) return VERR_PIXEL_TYPE;
  *image = CodeImage{};
  int32_t r1 = 0, c1 = 0, r2 = 0, c2 = 0;
  if (!data.domain->BoundingBox(&r1, &c1, &r2, &c2)) return VRESULT_OK;
  r1 = std::max(r1, 0), c1 = std::max(c1, 0);
  r2 = std::min(r2, channel.height() - 1), c2 = std::min(c2, channel.width() - 1);
  if (r1 > r2 || c1 > c2) return VRESULT_OK;
  image->stride = channel.width();
  image->data = channel.data() + static_cast<size_t>(r1) * channel.width() + c1;
  image->width = c2 - c1 + 1, image->height = r2 - r1 + 1;
  image->row0 = r1, image->col0 = c1;
  return VRESULT_OK;
}

std::vector<CodeHit> ReadCodes(const CodeImage& image, const CodeReadOptions& options) {
  if (image.width == 0) return {};
  // Upright (and its quarter turn) first, then each tilted view (and its
  // quarter turn).
  const Turns turns = TurnsOf(options.formats);
  const int per_turn = turns.quarters ? 2 : 1;
  const int views = per_turn * static_cast<int>(std::lround(90 / turns.step));
  std::vector<CodeHit> hits = ReadViews(
      options, views,
      [&](int i) {
        const double turn = (i / per_turn) * turns.step;
        View v = turn == 0 ? UprightView(image) : TurnedView(image, turn);
        v.quarter = i % per_turn == 1;
        return v;
      },
      [&](std::vector<CodeHit>* hits) { FinishLinear(image, options, hits); });
  // Aztec and Micro QR codes of two-pixel modules that no view decoded.
  const std::pair<BarcodeFormat, RingPattern> restorable[] = {
      {BarcodeFormat::Aztec, RingPattern::kAztecBullsEye},
      {BarcodeFormat::MicroQRCode, RingPattern::kMicroQrFinder}};
  for (const auto& [format, pattern] : restorable) {
    if (AnyValid(hits) || (options.formats & format).empty()) continue;
    std::vector<CodeHit> restored = ReadRestored(image, options, format, pattern);
    if (!restored.empty()) hits = std::move(restored);
  }
  return hits;
}

std::vector<CodeHit> ReadDrawnCodes(const CodeImage& image, const CodeReadOptions& options) {
  std::vector<CodeHit> hits;
  if (image.width > 0) ReadView(UprightView(image), HintsOf(options), false, false, &hits);
  return hits;
}

std::vector<CodeHit> ReadCodesInRectangle(const CodeImage& image, const CodeReadOptions& options,
                                          double row, double col, double phi, double len1,
                                          double len2) {
  if (image.width == 0) return {};
  const View view = RectangleView(image, row, col, phi, len1, len2);
  return ReadViews(
      options, 1, [&](int) { return view; },
      [&](std::vector<CodeHit>* hits) { FinishLinear(image, options, hits); });
}

}  // namespace vexa

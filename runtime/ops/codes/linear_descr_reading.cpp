#include "ops/codes/linear_descr_reading.h"

#include <algorithm>
#include <cmath>

namespace vexa {
namespace {

bool HasType(const LinearDescr& d, ZXing::BarcodeFormat format) {
  for (int t : d.types)
    if (kBarCodeTypes[t].format == format) return true;
  return false;
}

int TypeIndex(ZXing::BarcodeFormat format) {
  for (int t = 0; t < kNumBarCodeTypes; ++t)
    if (kBarCodeTypes[t].format == format) return t;
  return -1;
}

double NarrowElement(const std::vector<double>& widths, ZXing::BarcodeFormat format) {
  return ModuleWidth(widths, TotalModules(TypeIndex(format), widths.size()));
}

LinearElements ElementsAcross(const CodeImage& image, const BarRectangle& r, double offset) {
  const double ur = -std::sin(r.phi), uc = std::cos(r.phi);  // along the reading direction
  const double row = r.row + offset * uc, col = r.col - offset * ur;
  return MeasureElements(image, row - r.half_length * ur, col - r.half_length * uc,
                         row + r.half_length * ur, col + r.half_length * uc);
}

}  // namespace

LinearRead ReadWithDescr(const CodeImage& image, const LinearDescr& d,
                         const BarCodeParamValues& params) {
  const std::vector<CodeHit> hits = ReadCodes(image, BarCodeReadOptions(params, d.types));
  LinearRead read;
  for (const CodeHit& hit : FilterBarCodes(hits, params, d.types)) {
    LinearElements elements = ElementsAcross(image, RectangleOfHit(hit), 0);
    if (LinearDescrAccepts(d, hit, NarrowElement(elements.widths, hit.format))) {
      read.decoded.push_back(hit);
      read.elements.push_back(std::move(elements));
    } else {
      read.others.push_back(hit);
    }
  }
  for (const CodeHit& hit : hits)
    if (!hit.valid && HasType(d, hit.format)) read.others.push_back(hit);
  return read;
}

bool DecodeElements(const std::vector<double>& widths, const LinearDescr& d,
                    const BarCodeParamValues& params, CodeHit* hit) {
  if (widths.size() < 3) return false;
  std::vector<uint8_t> pixels;
  CodeImage drawn;
  if (!DrawElements(widths, &pixels, &drawn)) return false;
  // The drawing is upright: any orientation the search would accept.
  BarCodeParamValues upright = params;
  upright[FindBarCodeParam("orientation_tol")].fill(180);
  for (const CodeHit& h : FilterBarCodes(ReadDrawnCodes(drawn, BarCodeReadOptions(upright, d.types)),
                                         upright, d.types)) {
    if (!LinearDescrAccepts(d, h, NarrowElement(widths, h.format))) continue;
    *hit = h;
    return true;
  }
  return false;
}

BarRectangle RectangleOfHit(const CodeHit& hit) {
  BarRectangle r;
  r.row = (hit.rows[0] + hit.rows[2]) / 2, r.col = (hit.cols[0] + hit.cols[2]) / 2;
  r.phi = hit.Orientation();
  r.half_length = std::hypot(hit.rows[1] - hit.rows[0], hit.cols[1] - hit.cols[0]) / 2 * 7 / 6;
  r.half_height = std::hypot(hit.rows[3] - hit.rows[0], hit.cols[3] - hit.cols[0]) / 2;
  return r;
}

ScanLineSet ReadScanLines(const CodeImage& image, const LinearDescr& d,
                          const BarCodeParamValues& params, const BarRectangle& rect,
                          int max_lines, bool stop_if_found) {
  const double kOffsets[5] = {0, -1.0 / 3, 1.0 / 3, -2.0 / 3, 2.0 / 3};
  ScanLineSet set;
  for (int i = 0; i < std::min(max_lines, 5); ++i) {
    set.lines.push_back(ElementsAcross(image, rect, kOffsets[i] * rect.half_height));
    CodeHit hit;
    set.decoded.push_back(DecodeElements(set.lines.back().widths, d, params, &hit));
    if (set.decoded.back() && set.first_decoded < 0) set.first_decoded = i;
    if (stop_if_found && set.first_decoded >= 0) break;
  }
  return set;
}

}  // namespace vexa

// Finding linear codes and measuring their elements with a description.
// Orientations are reading directions in radians, counter-clockwise from
// the column axis. Element widths are in pixels, a bar first. Scan line
// results list, per scan line, its number of element edges, whether its
// elements decode (1 or 0), and the edges' coordinates, lines one after
// the other.
#include <algorithm>
#include <cmath>

#include "ops/codes/code_objects.h"
#include "ops/codes/linear_descr_reading.h"
#include "ops/measure/measure_params.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr int kScanLines = 5;

// The image at object 1, the description at control 0 and the model
// parameters it stands for, with the pairs at controls 1 and 2 applied.
Vresult InpDescrSearch(OpContext& ctx, CodeImage* image, LinearDescr* d,
                       BarCodeParamValues* params) {
  Vresult rc = InpCodeImage(ctx, 1, image);
  if (rc == VRESULT_OK) rc = InpLinearDescr(ctx, 0, d);
  if (rc == VRESULT_OK) rc = LinearDescrParams(ctx, 1, *d, params);
  return rc;
}

Vresult InpStopIfFound(const OpContext& ctx, int par, bool* stop) {
  static const char* const kNames[] = {"false", "true"};
  int choice = 0;
  const Vresult rc = InpChoice(ctx, par, kNames, 2, &choice);
  *stop = choice == 1;
  return rc;
}

// Writes the scan line results from output control `first_par` on.
Vresult OutpScanLines(OpContext& ctx, int first_par, const ScanLineSet& set) {
  std::vector<Vlong> num_points, decoded;
  std::vector<double> rows, cols;
  for (size_t i = 0; i < set.lines.size(); ++i) {
    num_points.push_back(static_cast<Vlong>(set.lines[i].edge_rows.size()));
    decoded.push_back(set.decoded[i] ? 1 : 0);
    rows.insert(rows.end(), set.lines[i].edge_rows.begin(), set.lines[i].edge_rows.end());
    cols.insert(cols.end(), set.lines[i].edge_cols.begin(), set.lines[i].edge_cols.end());
  }
  Vresult rc = ctx.SetOutpLongs(first_par, num_points);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(first_par + 1, decoded);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(first_par + 2, rows);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(first_par + 3, cols);
  return rc;
}

// The elements of the first decoding scan line, else of the middle one.
const std::vector<double>& ChosenElements(const ScanLineSet& set) {
  return set.lines[set.first_decoded >= 0 ? set.first_decoded : 0].widths;
}

// Regions of `hits` as output object 1 and their orientations at
// `orientation_par` (-1: none).
Vresult OutpRegions(OpContext& ctx, const std::vector<CodeHit>& hits, int orientation_par) {
  NewKeys regions;
  std::vector<double> orientations;
  Vresult rc = VRESULT_OK;
  for (size_t i = 0; rc == VRESULT_OK && i < hits.size(); ++i) {
    rc = AddSymbolRegion(hits[i], &regions);
    orientations.push_back(hits[i].Orientation());
  }
  if (rc == VRESULT_OK && orientation_par >= 0) rc = ctx.SetOutpDoubles(orientation_par, orientations);
  return rc == VRESULT_OK ? regions.HandOver(ctx, 1) : rc;
}

Vresult OutpFound(OpContext& ctx, const std::vector<CodeHit>& hits,
                  const std::vector<double>& elements) {
  std::vector<std::string> strings;
  for (const CodeHit& hit : hits) strings.push_back(hit.text);
  Vresult rc = ctx.SetOutpStrings(0, strings);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, elements);
  return rc == VRESULT_OK ? OutpRegions(ctx, hits, 2) : rc;
}

// The rectangle around the domain in direction phi: centred on the
// domain's centre, spanning its extent along and across phi (the scan
// lines keep to four fifths of the extent across).
BarRectangle DomainRectangle(const Region& domain, double phi) {
  const double ur = -std::sin(phi), uc = std::cos(phi);  // along the reading direction
  BarRectangle r;
  r.row = domain.row(), r.col = domain.col(), r.phi = phi;
  double along[2] = {0, 0}, across[2] = {0, 0};
  for (const Chord& chord : domain.chords())
    for (int32_t c : {chord.cb, chord.ce}) {
      const double dr = chord.r - r.row, dc = c - r.col;
      const double a = dr * ur + dc * uc, b = dr * uc - dc * ur;
      along[0] = std::min(along[0], a), along[1] = std::max(along[1], a);
      across[0] = std::min(across[0], b), across[1] = std::max(across[1], b);
    }
  // A tenth more along phi reaches the quiet zones where the crop has them.
  r.half_length = 1.1 * std::max(-along[0], along[1]) + 1;
  r.half_height = 0.8 * std::min(-across[0], across[1]);
  return r;
}

// get_1d_bar_code and get_1d_bar_code_scanline: the image's domain holds
// one code read along `orientation` (control 3).
Vresult ReadDomainScanLines(OpContext& ctx, int max_lines, bool stop_if_found, ScanLineSet* set) {
  CodeImage image;
  LinearDescr d;
  BarCodeParamValues params;
  double phi = 0;
  Vkey key = VKEY_UNDEF;
  db::ImageData data;
  Vresult rc = InpDescrSearch(ctx, &image, &d, &params);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 3, &phi);
  if (rc == VRESULT_OK) rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &data);
  if (rc != VRESULT_OK) return rc;
  if (image.width == 0) return VRESULT_OK;
  *set = ReadScanLines(image, d, params, DomainRectangle(*data.domain, phi), max_lines,
                       stop_if_found);
  return VRESULT_OK;
}

}  // namespace

// The decoded codes' regions, strings, elements (along each code's
// middle) and orientations.
VEXA_OPERATOR(find_1d_bar_code) {
  CodeImage image;
  LinearDescr d;
  BarCodeParamValues params;
  const Vresult rc = InpDescrSearch(ctx, &image, &d, &params);
  if (rc != VRESULT_OK) return rc;
  const LinearRead read = ReadWithDescr(image, d, params);
  std::vector<double> elements;
  for (const LinearElements& e : read.elements)
    elements.insert(elements.end(), e.widths.begin(), e.widths.end());
  return OutpFound(ctx, read.decoded, elements);
}

// Regions of the decoded codes and of the codes of the description's
// types that were seen but not decoded, with their orientations.
VEXA_OPERATOR(find_1d_bar_code_region) {
  CodeImage image;
  LinearDescr d;
  BarCodeParamValues params;
  const Vresult rc = InpDescrSearch(ctx, &image, &d, &params);
  if (rc != VRESULT_OK) return rc;
  LinearRead read = ReadWithDescr(image, d, params);
  read.decoded.insert(read.decoded.end(), read.others.begin(), read.others.end());
  return OutpRegions(ctx, read.decoded, 0);
}

// find_1d_bar_code with up to five scan lines per decoded code; its
// elements are those of the first line that decodes (else the middle one).
VEXA_OPERATOR(find_1d_bar_code_scanline) {
  CodeImage image;
  LinearDescr d;
  BarCodeParamValues params;
  bool stop = false;
  Vresult rc = InpDescrSearch(ctx, &image, &d, &params);
  if (rc == VRESULT_OK) rc = InpStopIfFound(ctx, 3, &stop);
  if (rc != VRESULT_OK) return rc;
  const LinearRead read = ReadWithDescr(image, d, params);
  ScanLineSet all;
  std::vector<double> elements;
  for (const CodeHit& hit : read.decoded) {
    const ScanLineSet set = ReadScanLines(image, d, params, RectangleOfHit(hit), kScanLines, stop);
    const std::vector<double>& chosen = ChosenElements(set);
    elements.insert(elements.end(), chosen.begin(), chosen.end());
    all.lines.insert(all.lines.end(), set.lines.begin(), set.lines.end());
    all.decoded.insert(all.decoded.end(), set.decoded.begin(), set.decoded.end());
  }
  rc = OutpFound(ctx, read.decoded, elements);
  return rc == VRESULT_OK ? OutpScanLines(ctx, 3, all) : rc;
}

// The elements along the middle of the domain in the given orientation.
VEXA_OPERATOR(get_1d_bar_code) {
  ScanLineSet set;
  const Vresult rc = ReadDomainScanLines(ctx, 1, false, &set);
  if (rc != VRESULT_OK) return rc;
  return ctx.SetOutpDoubles(0, set.lines.empty() ? std::vector<double>() : set.lines[0].widths);
}

VEXA_OPERATOR(get_1d_bar_code_scanline) {
  ScanLineSet set;
  bool stop = false;
  Vresult rc = InpStopIfFound(ctx, 4, &stop);
  if (rc == VRESULT_OK) rc = ReadDomainScanLines(ctx, kScanLines, stop, &set);
  if (rc != VRESULT_OK) return rc;
  rc = ctx.SetOutpDoubles(0, set.lines.empty() ? std::vector<double>() : ChosenElements(set));
  return rc == VRESULT_OK ? OutpScanLines(ctx, 1, set) : rc;
}

}  // namespace vexa

#include "ops/region/kernels/thinning_kernels.h"

#include <algorithm>

#include "region_algebra.h"

namespace vexa {

Vresult HitOrMiss(const Region& a, const Element& fg, const Element& bg, RegionPtr* out) {
  int32_t r1, c1, r2, c2;
  RegionPtr hits;
  if (!a.BoundingBox(&r1, &c1, &r2, &c2)) {
    *out = Region::Empty();
    return VRESULT_OK;
  }
  Vresult rc = Fit(a, fg, &hits);
  if (rc != VRESULT_OK || hits->empty()) {
    *out = hits;
    return rc;
  }
  const Box f = fg.Bounds(), g = bg.Bounds();
  const int64_t reach = std::max({-f.r0, f.r1, -f.c0, f.c1}) + std::max({-g.r0, g.r1, -g.c0, g.c1}) + 1;
  const int64_t lo = -(int64_t{1} << 31), hi = (int64_t{1} << 31) - 1;
  if (r1 - reach < lo || r2 + reach > hi || c1 - reach < lo || c2 + reach > hi) return VERR_TOO_LARGE;
  const RegionPtr outside = Region::FromCanonicalChords(ChordComplementIn(
      a.chords(), static_cast<int32_t>(r1 - reach), static_cast<int32_t>(c1 - reach),
      static_cast<int32_t>(r2 + reach), static_cast<int32_t>(c2 + reach)));
  RegionPtr misses;
  rc = Fit(*outside, bg, &misses);
  if (rc == VRESULT_OK) *out = Region::Intersection(*hits, *misses);
  return rc;
}

Vresult Thin(const Region& a, const Element& fg, const Element& bg, RegionPtr* out) {
  RegionPtr hits;
  const Vresult rc = HitOrMiss(a, fg, bg, &hits);
  if (rc == VRESULT_OK) *out = RegionDifference(a, *hits);
  return rc;
}

Vresult Thicken(const Region& a, const Element& fg, const Element& bg, RegionPtr* out) {
  RegionPtr hits;
  const Vresult rc = HitOrMiss(a, fg, bg, &hits);
  if (rc == VRESULT_OK) *out = Region::Union(a, *hits);
  return rc;
}

namespace {

// The 3 x 3 ring clockwise from the top-left corner.
constexpr int kRingR[8] = {-1, -1, -1, 0, 1, 1, 1, 0};
constexpr int kRingC[8] = {-1, 0, 1, 1, 1, 0, -1, -1};

// Builds an element pair from the ring pattern (1 foreground, 0
// background, anything else neither) turned by `turn` steps of 45
// degrees; the centre is foreground.
std::pair<Element, Element> FromRing(const char* ring, int turn) {
  std::vector<Chord> fg{{0, 0, 0}}, bg;
  for (int i = 0; i < 8; ++i) {
    const int k = (i + turn) % 8;
    const Chord pixel{kRingR[k], kRingC[k], kRingC[k]};
    if (ring[i] == '1') fg.push_back(pixel);
    if (ring[i] == '0') bg.push_back(pixel);
  }
  return {Element::FromChords(Region::FromChords(fg)->chords()),
          Element::FromChords(Region::FromChords(bg)->chords())};
}

}  // namespace

const std::vector<std::pair<Element, Element>>& GolayL() {
  static const std::vector<std::pair<Element, Element>> seq = [] {
    std::vector<std::pair<Element, Element>> s;
    for (int turn = 0; turn < 8; ++turn) s.push_back(FromRing("000.111.", turn));
    return s;
  }();
  return seq;
}

Vresult EndPoints(const Region& a, RegionPtr* out) {
  static const std::vector<std::pair<Element, Element>> kEnds = [] {
    std::vector<std::pair<Element, Element>> s;
    for (int turn = 0; turn < 8; turn += 2) {
      s.push_back(FromRing(".1.00000", turn));  // a side, corners free
      s.push_back(FromRing("10000000", turn));  // a corner alone
    }
    return s;
  }();
  std::vector<RegionPtr> parts;
  for (const auto& pair : kEnds) {
    RegionPtr hits;
    const Vresult rc = HitOrMiss(a, pair.first, pair.second, &hits);
    if (rc != VRESULT_OK) return rc;
    parts.push_back(std::move(hits));
  }
  *out = RegionUnionMany(parts);
  return VRESULT_OK;
}

bool IsJunction(const Region& a, int32_t r, int32_t c) {
  int starts = 0;
  for (int i = 0; i < 8; ++i) {
    const int j = (i + 1) % 8;
    if (!a.Contains(r + kRingR[i], c + kRingC[i]) && a.Contains(r + kRingR[j], c + kRingC[j])) ++starts;
  }
  return starts >= 3;
}

RegionPtr JunctionPoints(const Region& a) {
  ChordList points;
  for (const Chord& ch : a.chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c)
      if (IsJunction(a, ch.r, c)) points.push_back({ch.r, c, c});
  return Region::FromChords(points);
}

Vresult StepThrough(const Region& a, const std::vector<ElementPair>& seq, PairStep step,
                    RegionPtr* out) {
  RegionPtr current = Region::FromCanonicalChords(a.chords());
  for (const ElementPair& pair : seq) {
    RegionPtr next;
    const Vresult rc = step(*current, pair.first, pair.second, &next);
    if (rc != VRESULT_OK) return rc;
    current = std::move(next);
  }
  *out = std::move(current);
  return VRESULT_OK;
}

}  // namespace vexa

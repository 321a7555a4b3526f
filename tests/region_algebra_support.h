// Shared by the region algebra, generation and outline tests: a plain
// pixel mask as the independent reference, conversions between masks and
// region objects, random masks with a fixed seed, and a fixture that checks
// that no object or traced memory is left behind.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include <vexaobj.h>

#include "leak_checked_test.h"
#include "objdb.h"
#include "region_algebra.h"
#include "region_store.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace region_algebra_test {

// A window of pixels starting at (r0, c0); pixels outside read as unset.
struct Mask {
  int r0 = 0, c0 = 0, h = 0, w = 0;
  std::vector<uint8_t> px;

  Mask(int r0_, int c0_, int h_, int w_)
      : r0(r0_), c0(c0_), h(h_), w(w_), px(static_cast<size_t>(h_) * w_, 0) {}
  bool Inside(int r, int c) const {
    return r >= r0 && r < r0 + h && c >= c0 && c < c0 + w;
  }
  bool Get(int r, int c) const {
    return Inside(r, c) && px[static_cast<size_t>(r - r0) * w + (c - c0)];
  }
  void Set(int r, int c, bool v = true) {
    if (Inside(r, c)) px[static_cast<size_t>(r - r0) * w + (c - c0)] = v;
  }
  template <class Fn>
  void ForEach(Fn&& fn) const {
    for (int r = r0; r < r0 + h; ++r)
      for (int c = c0; c < c0 + w; ++c)
        if (Get(r, c)) fn(r, c);
  }
  // Same set pixels, whatever the windows.
  bool SamePixels(const Mask& o) const {
    for (int r = std::min(r0, o.r0); r < std::max(r0 + h, o.r0 + o.h); ++r)
      for (int c = std::min(c0, o.c0); c < std::max(c0 + w, o.c0 + o.w); ++c)
        if (Get(r, c) != o.Get(r, c)) return false;
    return true;
  }
};

// The mask of all pixels of a window for which `in(r, c)` holds.
template <class In>
Mask MaskOf(int r0, int c0, int h, int w, In in) {
  Mask m(r0, c0, h, w);
  for (int r = r0; r < r0 + h; ++r)
    for (int c = c0; c < c0 + w; ++c) m.Set(r, c, in(r, c));
  return m;
}

// Blobs of random rectangles and single pixels: holes, several runs per
// row, touching corners.
inline Mask RandomMask(std::mt19937& rng, int r0 = -3, int c0 = -4, int h = 40,
                       int w = 50, int blobs = 12) {
  Mask m(r0, c0, h, w);
  std::uniform_int_distribution<int> rr(r0, r0 + h - 1), cc(c0, c0 + w - 1),
      ext(0, 7);
  for (int b = 0; b < blobs; ++b) {
    const int r = rr(rng), c = cc(rng), dh = ext(rng), dw = ext(rng);
    for (int y = r; y <= r + dh; ++y)
      for (int x = c; x <= c + dw; ++x) m.Set(y, x);
  }
  for (int k = 0; k < h * w / 20; ++k) m.Set(rr(rng), cc(rng), rng() % 2);
  return m;
}

// A region object holding the mask's pixels.
inline Vexa::Vobject ToObject(const Mask& m) {
  std::vector<vexa::Chord> chords;
  m.ForEach([&](int r, int c) { chords.push_back({r, c, c}); });
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewRegion(vexa::Region::FromChords(chords), &key), VRESULT_OK);
  return Vexa::Vobject(key, 1);
}

// One object (a key tuple) holding regions of all masks.
inline Vexa::Vobject ToObjects(const std::vector<Mask>& masks) {
  // Reserved, so that no Vobject is copied (a copy is a new key).
  std::vector<Vexa::Vobject> single;
  single.reserve(masks.size());
  std::vector<Vkey> keys;
  for (const Mask& m : masks) {
    single.push_back(ToObject(m));
    keys.push_back(single.back().Id());
  }
  Vkey tuple = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewTuple(keys.data(), static_cast<Vlong>(keys.size()), &tuple),
            VRESULT_OK);
  return Vexa::Vobject(tuple, 1);
}

// The regions an output object holds, in order.
inline std::vector<vexa::RegionPtr> RegionsOf(const Vexa::Vobject& obj) {
  std::vector<vexa::RegionPtr> out;
  vexa::db::ObjKind kind;
  if (vexa::db::KindOf(obj.Id(), &kind) != VRESULT_OK) return out;
  std::vector<Vkey> keys{obj.Id()};
  if (kind == vexa::db::ObjKind::kTuple) {
    Vkey* k = nullptr;
    Vlong n = 0;
    EXPECT_EQ(vexa::db::FetchTuple(obj.Id(), &k, &n), VRESULT_OK);
    keys.assign(k, k + n);
  }
  for (Vkey k : keys) {
    vexa::RegionPtr r;
    EXPECT_EQ(vexa::db::GetRegion(k, &r), VRESULT_OK);
    out.push_back(r);
  }
  return out;
}

// The mask of a region over the given window; pixels of the region outside
// the window fail the test.
inline Mask ToMask(const vexa::Region& region, int r0, int c0, int h, int w) {
  Mask m(r0, c0, h, w);
  for (const vexa::Chord& ch : region.chords())
    for (int c = ch.cb; c <= ch.ce; ++c) {
      EXPECT_TRUE(m.Inside(ch.r, c)) << ch.r << "," << c;
      m.Set(ch.r, c);
    }
  return m;
}

// The region equals the mask, also in the area and centre it reports
// (against sums taken pixel by pixel).
inline void ExpectRegionIs(const vexa::Region& got, const Mask& want) {
  EXPECT_TRUE(ToMask(got, want.r0, want.c0, want.h, want.w).SamePixels(want));
  long area = 0;
  double sr = 0, sc = 0;
  want.ForEach([&](int r, int c) { ++area, sr += r, sc += c; });
  EXPECT_EQ(got.area(), area);
  if (area > 0) {
    EXPECT_NEAR(got.row(), sr / area, 1e-9);
    EXPECT_NEAR(got.col(), sc / area, 1e-9);
  }
}

// Objects and traced memory are back where they were when a test ends.
class RegionOpsTest : public LeakCheckedTest {
 protected:
  std::mt19937 rng_{20261122u};
};

}  // namespace region_algebra_test

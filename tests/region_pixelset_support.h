// Shared by the morphology and feature tests: regions as plain pixel sets
// (the independent per-pixel reference), random test regions with a fixed
// seed, conversion to and from database objects, and the leak-checking
// fixture.
#pragma once

#include "leak_checked_test.h"
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <utility>
#include <vector>

#include <vexaobj.h>

#include "objdb.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace pixelset {

using Pixel = std::pair<int, int>;  // row, column
using PixelSet = std::set<Pixel>;

// Objects and traced memory are back where they were when a test ends.
class RegionOpsTest : public LeakCheckedTest {
 protected:
  std::mt19937 rng_{20261122};
};

inline Vexa::Vobject MakeRegion(const PixelSet& pixels) {
  std::vector<vexa::Chord> chords;
  for (const Pixel& p : pixels) chords.push_back({p.first, p.second, p.second});
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewRegion(vexa::Region::FromChords(chords), &key), VRESULT_OK);
  return Vexa::Vobject(key, 1);
}

inline PixelSet PixelsOf(const Vexa::Vobject& obj) {
  vexa::RegionPtr region;
  PixelSet out;
  EXPECT_EQ(vexa::db::GetRegion(obj.Id(), &region), VRESULT_OK);
  if (!region) return out;
  for (const vexa::Chord& ch : region->chords())
    for (int c = ch.cb; c <= ch.ce; ++c) out.insert({ch.r, c});
  return out;
}

// The regions of an object list (one object or a key tuple), in order.
inline std::vector<PixelSet> PixelsOfAll(const Vexa::Vobject& obj) {
  Vlong n = 0;
  EXPECT_EQ(Vexa::count_obj(obj, &n), VRESULT_OK);
  std::vector<PixelSet> out;
  for (Vlong i = 1; i <= n; ++i) {
    Vexa::Vobject one;
    EXPECT_EQ(Vexa::select_obj(obj, &one, i), VRESULT_OK);
    out.push_back(PixelsOf(one));
  }
  return out;
}

// Random regions inside rows r0..r0+h-1, columns c0..c0+w-1: `blobs`
// rectangles and discs, with loose pixels set and cleared, so that rows
// hold several runs and regions several components and holes.
inline PixelSet RandomRegion(std::mt19937& rng, int r0, int c0, int h, int w,
                             int blobs) {
  std::uniform_int_distribution<int> rr(0, h - 1), cc(0, w - 1), size(1, 6);
  PixelSet out;
  for (int b = 0; b < blobs; ++b) {
    const int r = rr(rng), c = cc(rng), s = size(rng);
    const bool disc = rng() % 2 == 0;
    for (int dr = -s; dr <= s; ++dr)
      for (int dc = -s; dc <= s; ++dc)
        if ((!disc || dr * dr + dc * dc <= s * s) && r + dr >= 0 && r + dr < h &&
            c + dc >= 0 && c + dc < w)
          out.insert({r0 + r + dr, c0 + c + dc});
  }
  for (int i = 0; i < h * w / 25; ++i) {
    const Pixel p{r0 + rr(rng), c0 + cc(rng)};
    if (rng() % 3 == 0) out.insert(p); else out.erase(p);
  }
  return out;
}

// The regions as one object list, in order.
inline Vexa::Vobject AsObjects(const std::vector<PixelSet>& sets) {
  Vexa::Vobject all;
  EXPECT_EQ(Vexa::gen_empty_obj(&all), VRESULT_OK);
  for (const PixelSet& s : sets) {
    Vexa::Vobject next;
    EXPECT_EQ(Vexa::concat_obj(all, MakeRegion(s), &next), VRESULT_OK);
    all = next;
  }
  return all;
}

// Rows r1..r2, columns c1..c2.
inline PixelSet Box(int r1, int c1, int r2, int c2) {
  PixelSet s;
  for (int r = r1; r <= r2; ++r)
    for (int c = c1; c <= c2; ++c) s.insert({r, c});
  return s;
}

}  // namespace pixelset

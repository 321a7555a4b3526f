// Growing regions step by step into free pixels, shared by expand_region
// and the gray-value forms expand_gray and expand_gray_ref.
//
// In each step every region reaches the free pixels that share an edge
// with it, and `admit(i, reached)` keeps those region i may take; a pixel
// that two regions take in the same step stays free (it separates them).
// Growth stops after `iterations` steps (-1: until nothing changes).
#pragma once

#include <vector>

#include "ops/region/region_ops.h"

namespace vexa {

// The region plus the pixels sharing an edge with it.
ChordList Dilate4(const ChordList& a);

// Reads iterations as a count >= 0 or "maximal" (-1).
Vresult GetIterations(const OpContext& ctx, int par, Vlong* n);

// The pixels growth may reach: within `limit`, outside `forbidden` and
// outside every region of `grown`.
ChordList FreePixels(const ChordList& limit, const std::vector<RegionPtr>& forbidden,
                     const std::vector<ChordList>& grown);

template <class Admit>
void GrowIntoFree(std::vector<ChordList>* grown, ChordList free, Vlong iterations, Admit admit) {
  for (Vlong step = 0; iterations < 0 || step < iterations; ++step) {
    std::vector<ChordList> reach(grown->size());
    ChordList seen, twice;
    for (size_t i = 0; i < grown->size(); ++i) {
      reach[i] = admit(i, ChordIntersection(Dilate4((*grown)[i]), free));
      twice = ChordUnion(twice, ChordIntersection(reach[i], seen));
      seen = ChordUnion(seen, reach[i]);
    }
    const ChordList taken = ChordDifference(seen, twice);
    if (taken.empty()) break;
    for (size_t i = 0; i < grown->size(); ++i)
      (*grown)[i] = ChordUnion((*grown)[i], ChordDifference(reach[i], twice));
    free = ChordDifference(free, taken);
  }
}

}  // namespace vexa

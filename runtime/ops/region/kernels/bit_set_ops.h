// Union, intersection, difference and symmetric difference of dense,
// fragmented chord lists on packed bit rows (bit_rows.h): both operands
// are painted into 64-bit row words over a common frame, combined a word at
// a time, and the result is read back straight into a list of its exact
// size. On rows with tens of runs this beats the run merges of
// region_algebra.h, whose cost grows with the runs; on regions of few, long
// runs it loses, so callers ask PreferBitRows first.
#pragma once

#include <vector>

#include "region_store.h"

namespace vexa {

enum class SetOp { kUnion, kIntersection, kDifference, kSymmDifference };

// True when the packed path is expected to be cheaper than the run merges
// for `op` on canonical lists a and b.
bool PreferBitRows(SetOp op, const std::vector<Chord>& a, const std::vector<Chord>& b);

// a op b word by word, when both regions are held as planes of the same
// columns (the same first column and words per row); the result is a plane
// as well. Null when they are not.
RegionPtr CombinePlanes(SetOp op, const Region& a, const Region& b);

// a op b for canonical lists; the result is canonical (difference: the
// pixels of a not in b).
std::vector<Chord> CombineByBitRows(SetOp op, const std::vector<Chord>& a,
                                    const std::vector<Chord>& b);

}  // namespace vexa

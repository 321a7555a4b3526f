// Set algebra on run-length chord lists: the kernels behind the region
// operators (union, intersection, difference, complement, connected
// components, subset tests, translation).
//
// Every input is a canonical chord list (sorted by row, then column; runs
// of one row neither overlap nor touch), as Region::chords() holds it, and
// every output is canonical again, so it goes straight into
// Region::FromCanonicalChords. The kernels walk the chords row by row and
// never build a pixel mask: the cost grows with the number of chords, not
// with the area.
#pragma once

#include <cstdint>
#include <vector>

#include "region_store.h"

namespace vexa {

using ChordList = std::vector<Chord>;

// ---- Boolean combinations of two lists -------------------------------------

ChordList ChordUnion(const ChordList& a, const ChordList& b);
ChordList ChordIntersection(const ChordList& a, const ChordList& b);
// The pixels of a that are not in b.
ChordList ChordDifference(const ChordList& a, const ChordList& b);
// The pixels in exactly one of a and b.
ChordList ChordSymmDifference(const ChordList& a, const ChordList& b);
// The union of any number of lists (a k-way merge; null entries skipped).
ChordList ChordUnionMany(const std::vector<const ChordList*>& lists);
// The pixels of rows r1..r2, columns c1..c2 (inclusive) not in a.
ChordList ChordComplementIn(const ChordList& a, int32_t r1, int32_t c1,
                            int32_t r2, int32_t c2);

// ---- Tests -------------------------------------------------------------------

// True when every pixel of a lies in b (the empty list is a subset of all).
bool ChordIsSubset(const ChordList& a, const ChordList& b);

// ---- Connected components ----------------------------------------------------

// Neighbourhoods of connected components: 4 joins runs that share an edge,
// 8 also runs that touch at a corner.
enum class Neighbourhood { k4 = 4, k8 = 8 };

// The component of every chord of a (0, 1, ... in the order of each
// component's first chord, i.e. of its topmost-leftmost pixel); returns the
// number of components. Union-find over the runs of adjacent rows.
int64_t ChordComponentLabels(const ChordList& a, Neighbourhood nb,
                             std::vector<int64_t>* labels);
// The components themselves, each canonical, in the order above.
std::vector<ChordList> ChordComponents(const ChordList& a, Neighbourhood nb);

// The holes of a: the pixels outside a that no 4-connected path outside a
// joins to the far background. Holes of an 8-connected region are
// 4-connected, so ChordComponents(holes, k4) separates them.
ChordList ChordHoles(const ChordList& a);

// ---- Translation -------------------------------------------------------------

// a shifted by (dr, dc). The caller keeps the coordinates within int32.
ChordList ChordTranslate(const ChordList& a, int32_t dr, int32_t dc);

// ---- Region-level forms, for operators -------------------------------------

RegionPtr RegionDifference(const Region& a, const Region& b);
RegionPtr RegionSymmDifference(const Region& a, const Region& b);
RegionPtr RegionUnionMany(const std::vector<RegionPtr>& regions);

}  // namespace vexa

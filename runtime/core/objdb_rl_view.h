// The run-length view of a region that DBGetRLPtr hands to the interface
// library: the shared Vrlregion record with int16 chords.
#pragma once

#include <memory>
#include <vector>

#include "region_store.h"
#include "vexa/types.h"

namespace vexa {
namespace db {

struct RLView {
  Vrlregion record;  // record.rl points into `chords`
  std::vector<Vrlchord> chords;
};

// Builds the view of `region`: chords in the region's order, area and
// centre filled in with the valid flag set. VERR_COORD_RANGE when a
// coordinate does not fit in int16. An area beyond int32 leaves the flag
// clear, so that readers compute it with VRLCalcArea in 64 bits.
Vresult BuildRLView(const Region& region, std::unique_ptr<RLView>* view);

}  // namespace db
}  // namespace vexa

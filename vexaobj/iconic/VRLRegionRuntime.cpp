// The members of the run-length classes that meet the runtime: runs read
// from a region of the database, and a region of the database made from
// runs through gen_region_runs.
#include <vexaobj/VRLRegion.h>

#include <new>

#include <vexaobj/VRegion.h>
#include <vexaobj/VTuple.h>

#include "rl_chords.h"

namespace Vexa {

RunLength::RunLength(const VRegion& r) : num(0), num_alloc(0), chords(nullptr), sorted(1) {
  const Vrlregion* record = r.GetRL();
  if (record == nullptr || record->num < 1) {
    if (record != nullptr) num = num_alloc = record->num;
    return;
  }
  chords = internal::NewChords(record->num);
  if (chords == nullptr) return;
  num = num_alloc = record->num;
  for (Vlong i = 0; i < num; ++i) {
    const Vrlchord& run = record->rl[i];
    chords[i] = VDChord(run.r, run.cb, run.ce);
  }
}

VRLRegion::VRLRegion(const VRegion& r) : rl(r) {}

VRegion* VRLRegion::ToVRegion() const {
  VRegion* region = new (std::nothrow) VRegion();
  if (region == nullptr) {
    internal::RaiseRunLength(__LINE__, "new", "Out of memory");
    return nullptr;
  }
  *region = GenVRegion();
  return region;
}

void VRLRegion::Display(const VWindow& w) const { GenVRegion().Display(w); }

VRegion VRLRegion::GenVRegion() const {
  VTuple rows, begins, ends;
  // The walk starts one behind the last chord: that read is reported on
  // every call, and a returning reaction adds the chord found there.
  for (Vlong i = rl.Num(); i >= 0; --i) {
    const VDChord c = (*this)[i];
    rows[i] = static_cast<Vlong>(c.y);
    begins[i] = static_cast<Vlong>(c.xb);
    ends[i] = static_cast<Vlong>(c.xe);
  }
  return VRegion::GenRegionRuns(rows, begins, ends);
}

}  // namespace Vexa

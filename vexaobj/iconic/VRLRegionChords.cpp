// Allocation, copying and failure reports shared by the run-length classes.
#include "rl_chords.h"

#include <algorithm>
#include <new>

#include "control/raise.h"

namespace Vexa {
namespace internal {

VDChord* NewChords(Vlong n) {
  VDChord* block = new (std::nothrow) VDChord[static_cast<size_t>(n)];
  if (block == nullptr) RaiseFormatted("VRLRegion.cpp", __LINE__, "new", "Out of memory");
  return block;
}

void CopyChords(const VDChord* from, Vlong n, VDChord* to) {
  if (n > 0) std::copy_n(from, n, to);
}

void RaiseRunLength(int line, const char* proc, const char* message) {
  RaiseFormatted("VRLRegion.cpp", line, proc, "%s", message);
}

VDChord& StandInChord() {
  thread_local VDChord chord;
  chord = VDChord();
  return chord;
}

}  // namespace internal
}  // namespace Vexa

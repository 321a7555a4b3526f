// Chord arrays of the run-length classes: allocation in the library's own
// memory with the library's failure report, block copies, the failure
// reports of the class under its own source name, and the stand-in chord
// that an access returns when a reported failure comes back.
#ifndef VEXAOBJ_ICONIC_RL_CHORDS_H
#define VEXAOBJ_ICONIC_RL_CHORDS_H

#include <vexaobj/VDChord.h>

namespace Vexa {
namespace internal {

// n default chords, or null after reporting "Out of memory" in "new".
VDChord* NewChords(Vlong n);

// Copies n chords from `from` to `to`; the ranges may not overlap.
void CopyChords(const VDChord* from, Vlong n, VDChord* to);

// Reports `message` in `proc` with the source name of the run-length
// classes.
void RaiseRunLength(int line, const char* proc, const char* message);

// A zero chord of this thread, for accesses whose index has no chord once
// a reported failure returns: the caller reads zeros and its writes land
// nowhere.
VDChord& StandInChord();

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_ICONIC_RL_CHORDS_H

// VRegion made of one chord. It comes into being with the chord class.
#include <vexaobj/VRegion.h>

#if __has_include(<vexaobj/VDChord.h>)

#include <vexaobj/VDChord.h>
#include <vexaobj/VProcedural.h>

#include "iconic/region_calls.h"

namespace Vexa {

VRegion::VRegion(const VDChord& c)
    : VObject(region_calls::NewKey("gen_region_runs", [&](Vobject* out) {
        return gen_region_runs(out, c.Y(), c.Xb(), c.Xe());
      })),
      rl(nullptr) {}

}  // namespace Vexa

#endif  // chord class present

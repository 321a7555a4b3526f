// Operator calls shared by the hand-written members of the region classes:
// they run the procedural functions on a region's key and raise a failure
// with the runtime's text, as a class member must.
#ifndef VEXAOBJ_ICONIC_REGION_CALLS_H
#define VEXAOBJ_ICONIC_REGION_CALLS_H

#include <vexa/runtime.h>
#include <vexaobj/VProcedural.h>
#include <vexaobj/Vobject.h>

#include "control/raise.h"

namespace Vexa {
namespace region_calls {

// A wrapper that lends `key` to a call without owning it.
inline Vobject Borrowed(Vkey key) { return Vobject(key, 0); }

// Raises the runtime's text of a failed call; 0, 1 and 2 pass.
inline void Check(unsigned int err, const char* function) {
  if (err > VRESULT_OK)
    internal::RaiseRuntimeText(__FILE__, __LINE__, function, err);
}

// The key that `call(Vobject* out)` makes, as a new reference for the
// caller (1 after a failure).
template <class Call>
Vkey NewKey(const char* function, Call call) {
  Vobject out(0);
  Check(call(&out), function);
  return out.Id();
}

// The area of the region of `key`, by area_center.
inline Vlong Area(Vkey key, const char* function) {
  Vlong area = 0;
  double row = 0.0, column = 0.0;
  Check(area_center(Borrowed(key), &area, &row, &column), function);
  return area;
}

}  // namespace region_calls
}  // namespace Vexa

#endif  // VEXAOBJ_ICONIC_REGION_CALLS_H

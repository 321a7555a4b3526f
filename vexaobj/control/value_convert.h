// Truncating conversions of a double to the integer widths, with the
// processor's result for values out of range (the smallest integer of the
// width) instead of undefined behaviour. Tuple arithmetic and the typed
// reads of VCtrlVal must agree on them.
#ifndef VEXAOBJ_CONTROL_VALUE_CONVERT_H
#define VEXAOBJ_CONTROL_VALUE_CONVERT_H

#include <stdint.h>

namespace Vexa {
namespace internal {

inline int32_t TruncateToInt32(double d) {
  if (d > -2147483649.0 && d < 2147483648.0) return static_cast<int32_t>(d);
  return INT32_MIN;
}

inline int64_t TruncateToInt64(double d) {
  if (d >= -9223372036854775808.0 && d < 9223372036854775808.0)
    return static_cast<int64_t>(d);
  return INT64_MIN;
}

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_VALUE_CONVERT_H

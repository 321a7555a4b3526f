// Reading the one value of a tuple argument that stands for a single value
// (a pattern, an index): its length must be 1, else `message` is raised
// under `proc`.
#ifndef VEXAOBJ_CONTROL_TUPLE_ARGUMENT_H
#define VEXAOBJ_CONTROL_TUPLE_ARGUMENT_H

#include <vexaobj/VTuple.h>

#include "raise.h"

namespace Vexa {
namespace internal {

// Copies the element into `*value`; false after a raised length failure.
inline bool SingleValue(const VTuple& argument, const char* proc,
                        const char* message, VCtrlVal* value) {
  if (argument.Num() != 1) {
    VEXA_RAISE(proc, "%s", message);
    return false;
  }
  *value = argument[0];
  return true;
}

// Runs `form` with the text of a one-element pattern tuple; the empty tuple
// if the pattern is not one string. An empty `self` gives the empty tuple
// without a look at the pattern.
template <class TextForm>
VTuple WithPatternText(const VTuple& self, const VTuple& pattern, const char* proc,
                       TextForm form) {
  if (self.Num() == 0) return VTuple();
  VCtrlVal value;
  if (!SingleValue(pattern, proc, "length of pattern != 1", &value)) return VTuple();
  const char* text = value.S();
  return text != nullptr ? form(text) : VTuple();
}

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_TUPLE_ARGUMENT_H

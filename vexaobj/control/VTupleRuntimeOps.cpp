// The VTuple methods that are thin wrappers of runtime operators: regular
// expressions, Substr, and the insert, replace, set and search operators.
// Each passes the tuple itself, its arguments in order and the result to
// the procedural function.
#include <vexaobj/VTuple.h>

#include <vexaobj/VProcedural.h>

#include "tuple_runtime_call.h"

namespace Vexa {

using internal::RunTupleOp;

// Strings. The forms with a text take it as a one-element tuple.

VTuple VTuple::Substr(const VTuple& index1, const VTuple& index2) const {
  return RunTupleOp(tuple_substr, *this, index1, index2,
                    "VTuple VTuple::Substr(const VTuple& index1, const VTuple &index2)");
}
VTuple VTuple::RegexpMatch(const VTuple& expression) const {
  return RunTupleOp(tuple_regexp_match, *this, expression,
                    "VTuple VTuple::RegexpMatch(const VTuple& expression)");
}
VTuple VTuple::RegexpMatch(const char* expression) const {
  return RunTupleOp(tuple_regexp_match, *this, VTuple(expression),
                    "VTuple VTuple::RegexpMatch(const char *expression)");
}
VTuple VTuple::RegexpReplace(const VTuple& expression, const VTuple& replace) const {
  return RunTupleOp(tuple_regexp_replace, *this, expression, replace,
                    "VTuple VTuple::RegexpReplace(const VTuple& expression, const VTuple &replace)");
}
VTuple VTuple::RegexpReplace(const char* expression, const char* replace) const {
  return RunTupleOp(tuple_regexp_replace, *this, VTuple(expression), VTuple(replace),
                    "VTuple VTuple::RegexpReplace(const char *expression, const char *replace)");
}
VTuple VTuple::RegexpSelect(const VTuple& expression) const {
  return RunTupleOp(tuple_regexp_select, *this, expression,
                    "VTuple VTuple::RegexpSelect(const VTuple& expression)");
}
VTuple VTuple::RegexpSelect(const char* expression) const {
  // Reports under the text of the tuple form.
  return RegexpSelect(VTuple(expression));
}

namespace {

// The count of RegexpTest: element 0 of the operator's result, or 0 after
// a failed call.
Vlong MatchCount(const VTuple& data, const VTuple& expression, const char* proc) {
  VTuple result;
  const unsigned int code = tuple_regexp_test(data, expression, &result);
  if (!internal::CheckTupleOp(code, proc)) return 0;
  const VTuple& counts = result;
  return counts[0].L();
}

}  // namespace

Vlong VTuple::RegexpTest(const VTuple& expression) const {
  return MatchCount(*this, expression, "VTuple VTuple::RegexpTest(const VTuple& expression)");
}
Vlong VTuple::RegexpTest(const char* expression) const {
  return MatchCount(*this, VTuple(expression),
                    "VTuple VTuple::RegexpTest(const char *expression)");
}

// Sequences.

VTuple VTuple::Insert(const VTuple& index, const VTuple& insert) const {
  return RunTupleOp(tuple_insert, *this, index, insert,
                    "VTuple VTuple::Insert(const VTuple& index, const VTuple &insert)");
}
VTuple VTuple::Replace(const VTuple& index, const VTuple& replace) const {
  return RunTupleOp(tuple_replace, *this, index, replace,
                    "VTuple VTuple::Replace(const VTuple& index, const VTuple &replace)");
}
VTuple VTuple::Union(const VTuple& set2) const {
  return RunTupleOp(tuple_union, *this, set2, "Vexa::VTuple Vexa::VTuple::Union(const VTuple &set2)");
}
VTuple VTuple::Intersection(const VTuple& set2) const {
  return RunTupleOp(tuple_intersection, *this, set2,
                    "Vexa::VTuple Vexa::VTuple::Intersection(const VTuple &set2)");
}
VTuple VTuple::Difference(const VTuple& set2) const {
  return RunTupleOp(tuple_difference, *this, set2,
                    "Vexa::VTuple Vexa::VTuple::Difference(const VTuple &set2)");
}
VTuple VTuple::Symmdiff(const VTuple& set2) const {
  return RunTupleOp(tuple_symmdiff, *this, set2,
                    "Vexa::VTuple Vexa::VTuple::Symmdiff(const VTuple &set2)");
}
VTuple VTuple::FindFirst(const VTuple& to_find) const {
  return RunTupleOp(tuple_find_first, *this, to_find,
                    "Vexa::VTuple Vexa::VTuple::FindFirst(const VTuple &to_find)");
}
VTuple VTuple::FindLast(const VTuple& to_find) const {
  return RunTupleOp(tuple_find_last, *this, to_find,
                    "Vexa::VTuple Vexa::VTuple::FindLast(const VTuple &to_find)");
}
VTuple VTuple::GenSequence(const VTuple& start, const VTuple& end, const VTuple& step) {
  return RunTupleOp(tuple_gen_sequence, start, end, step,
                    "Vexa::VTuple Vexa::VTuple::GenSequence(const VTuple &start, const VTuple &end, "
                    "const VTuple &step)");
}

}  // namespace Vexa

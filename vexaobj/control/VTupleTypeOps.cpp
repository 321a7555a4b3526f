// Type tests and elementwise comparisons of tuples, computed by the
// runtime's operators through the procedural functions. A result code
// other than success is raised with the runtime's text under the method's
// procedure text.
#include <vexaobj/VTuple.h>

#include <vexa/runtime.h>
#include <vexaobj/VProcedural.h>

#include "raise.h"

namespace Vexa {

namespace {

using UnaryOp = unsigned int (*)(const VTuple&, VTuple*);
using BinaryOp = unsigned int (*)(const VTuple&, const VTuple&, VTuple*);

VTuple Checked(unsigned int code, VTuple result, const char* proc) {
  if (code != VRESULT_OK) internal::RaiseRuntimeText(__FILE__, __LINE__, proc, code);
  return result;
}

VTuple Run(UnaryOp op, const VTuple& t, const char* proc) {
  VTuple result;
  const unsigned int code = op(t, &result);
  return Checked(code, result, proc);
}

VTuple Run(BinaryOp op, const VTuple& t, const VTuple& val, const char* proc) {
  VTuple result;
  const unsigned int code = op(t, val, &result);
  return Checked(code, result, proc);
}

}  // namespace

VTuple VTuple::Type() const {
  return Run(tuple_type, *this, "Vexa::VTuple Vexa::VTuple::Type(void)");
}
VTuple VTuple::TypeElem() const {
  return Run(tuple_type_elem, *this, "Vexa::VTuple Vexa::VTuple::TypeElem(void)");
}
VTuple VTuple::IsInt() const {
  return Run(tuple_is_int, *this, "Vexa::VTuple Vexa::VTuple::IsInt(void)");
}
VTuple VTuple::IsReal() const {
  return Run(tuple_is_real, *this, "Vexa::VTuple Vexa::VTuple::IsReal(void)");
}
VTuple VTuple::IsString() const {
  return Run(tuple_is_string, *this, "Vexa::VTuple Vexa::VTuple::IsString(void)");
}
VTuple VTuple::IsMixed() const {
  return Run(tuple_is_mixed, *this, "Vexa::VTuple Vexa::VTuple::IsMixed(void)");
}
VTuple VTuple::IsIntElem() const {
  return Run(tuple_is_int_elem, *this, "Vexa::VTuple Vexa::VTuple::IsIntElem(void)");
}
VTuple VTuple::IsRealElem() const {
  return Run(tuple_is_real_elem, *this, "Vexa::VTuple Vexa::VTuple::IsRealElem(void)");
}
VTuple VTuple::IsStringElem() const {
  return Run(tuple_is_string_elem, *this, "Vexa::VTuple Vexa::VTuple::IsStringElem(void)");
}

VTuple VTuple::EqualElem(const VTuple& val) const {
  return Run(tuple_equal_elem, *this, val,
             "Vexa::VTuple Vexa::VTuple::EqualElem(const VTuple &val)");
}
VTuple VTuple::NotEqualElem(const VTuple& val) const {
  return Run(tuple_not_equal_elem, *this, val,
             "Vexa::VTuple Vexa::VTuple::NotEqualElem(const VTuple &val)");
}
VTuple VTuple::GreaterElem(const VTuple& val) const {
  return Run(tuple_greater_elem, *this, val,
             "Vexa::VTuple Vexa::VTuple::GreaterElem(const VTuple &val)");
}
VTuple VTuple::GreaterEqualElem(const VTuple& val) const {
  return Run(tuple_greater_equal_elem, *this, val,
             "Vexa::VTuple Vexa::VTuple::GreaterEqualElem(const VTuple &val)");
}
VTuple VTuple::LessElem(const VTuple& val) const {
  return Run(tuple_less_elem, *this, val,
             "Vexa::VTuple Vexa::VTuple::LessElem(const VTuple &val)");
}
VTuple VTuple::LessEqualElem(const VTuple& val) const {
  return Run(tuple_less_equal_elem, *this, val,
             "Vexa::VTuple Vexa::VTuple::LessEqualElem(const VTuple &val)");
}

}  // namespace Vexa

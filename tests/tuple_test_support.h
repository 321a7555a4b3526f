// Tuples written and read in one line for the tuple operation tests:
// Tup({1, 2.5, "a"}) builds one, Show(t) gives its elements with their
// types as text, e.g. [2, 3.0, "a1", undef], so that one comparison checks
// values and types together.
#pragma once

#include <inttypes.h>
#include <stdio.h>

#include <initializer_list>
#include <string>

#include <vexaobj/VTuple.h>

namespace tuple_test {

inline Vexa::VTuple Tup(std::initializer_list<Vexa::VCtrlVal> values) {
  Vexa::VTuple t;
  for (const Vexa::VCtrlVal& v : values) t[t.Num()] = v;
  return t;
}

// Integers bare, reals always with a point or exponent, strings quoted.
inline std::string ShowValue(const Vexa::VCtrlVal& v) {
  char text[64];
  switch (v.ValType()) {
    case VPAR_LONG:
      snprintf(text, sizeof text, "%" PRId64, v.L());
      return text;
    case VPAR_DOUBLE: {
      snprintf(text, sizeof text, "%.17g", v.D());
      std::string s = text;
      if (s.find_first_of(".ein") == std::string::npos) s += ".0";
      return s;
    }
    case VPAR_STRING:
      return std::string("\"") + v.S() + "\"";
    case VPAR_UNDEF:
      return "undef";
    default:
      return "tag " + std::to_string(v.ValType());
  }
}

inline std::string Show(const Vexa::VTuple& t) {
  std::string s = "[";
  for (Vexa::Vlong i = 0; i < t.Num(); ++i) {
    if (i > 0) s += ", ";
    s += ShowValue(t[i]);
  }
  return s + "]";
}

// Gives `v` a type tag outside the known ones, as only a damaged record
// would carry; set in place, since copying such a value fails.
inline void SetBadTag(Vexa::VCtrlVal& v) {
  v.ClearCtrlVal();
  reinterpret_cast<Vcpar&>(v).type = 3;
}

// A tuple that opens its capacity, which only array classes see.
class Probe : public Vexa::VTuple {
 public:
  using Vexa::VTuple::VTuple;
  Probe(const Vexa::VTuple& t) : Vexa::VTuple(t) {}
  using Vexa::VTuple::AllocNum;
};

}  // namespace tuple_test

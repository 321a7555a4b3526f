// Control tuples held outside an operator call: in a message, in a
// serialised item, on the way through a socket. The values are copied out
// of the caller's parameter, since its strings are only borrowed for the
// call.
#pragma once

#include <string>
#include <vector>

#include "op_context.h"
#include "ops/tuple/tuple_values.h"

namespace vexa {

// The tuple operators' value type: integer, real or string.
using TupleValue = tuple::Value;
using TupleValues = tuple::Values;

// A strict order of values for keyed stores: by type, then by value
// (reals by <, strings by bytes).
struct TupleValueOrder {
  bool operator()(const TupleValue& a, const TupleValue& b) const;
};

// All values of input control `par`, any number; an undefined element is
// VERR_CTRL_TYPE(par).
Vresult ReadInpValues(const OpContext& ctx, int par, TupleValues* values);
// Writes the values to output control `par` (an empty tuple for none).
Vresult WriteOutpValues(OpContext& ctx, int par, const TupleValues& values);

// Name/value pairs of two input controls, the names strings, one value per
// name (VERR_CTRL_NUM of the value parameter otherwise).
struct GenParam {
  std::string name;
  TupleValue value;
};
Vresult ReadGenParams(const OpContext& ctx, int names_par, int values_par,
                      std::vector<GenParam>* params);

// A value read as a number of seconds or "infinite" (as +infinity).
// Negative or not-a-number values are VERR_CTRL_VALUE(par).
Vresult SecondsOrInfinite(const TupleValue& v, int par, double* seconds);

}  // namespace vexa

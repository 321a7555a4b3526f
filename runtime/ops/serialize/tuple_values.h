// Control tuples held outside an operator call: in a message, in a
// serialised item, on the way through a socket. The values are copied out
// of the caller's parameter, since its strings are only borrowed for the
// call.
#pragma once

#include <string>
#include <vector>

#include "op_context.h"

namespace vexa {

struct TupleValue {
  int type = VPAR_LONG;  // VPAR_LONG, VPAR_DOUBLE or VPAR_STRING
  Vlong l = 0;
  double d = 0.0;
  std::string s;

  static TupleValue Long(Vlong v);
  static TupleValue Double(double v);
  static TupleValue String(std::string v);
  bool operator==(const TupleValue& o) const;
  bool operator<(const TupleValue& o) const;
};
using TupleValues = std::vector<TupleValue>;

// All values of input control `par`, any number.
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

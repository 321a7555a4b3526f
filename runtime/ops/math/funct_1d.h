// Sampled functions of one variable as the operators exchange them: a
// tuple [n, x_0 .. x_n-1, y_0 .. y_n-1] with the count n first (an
// integer) and the x values strictly increasing. The one-element tuple -1
// that an unset function holds is refused like any other malformed tuple.
#pragma once

#include <vector>

#include "op_context.h"

namespace vexa {

struct Funct1D {
  std::vector<double> x, y;
  size_t size() const { return x.size(); }
};

// How values beyond the x range are read: "zero", "constant" (the end
// values), "mirror" (reflected at the ends), "cyclic" (repeated with
// period x_max - x_min), "error" (refused).
enum class Border { kZero, kConstant, kMirror, kCyclic, kError };

// A function from input `par`: VERR_CTRL_NUM(par) for a tuple of the wrong
// length, VERR_CTRL_VALUE(par) for a bad count, x values out of order or
// values that are not finite; at least `min_points` points.
Vresult GetFunct1D(const OpContext& ctx, int par, Funct1D* f, size_t min_points = 1);
// The same checks on the tuple's values, with the codes of `par`.
Vresult Funct1DOfValues(const std::vector<double>& v, int par, size_t min_points, Funct1D* f);
Vresult SetFunct1D(OpContext& ctx, int par, const Funct1D& f);
// A function of the given points, sorted by x; VERR_CTRL_VALUE(x_par) for
// two equal x values.
Vresult MakeFunct1D(std::vector<double> x, std::vector<double> y, int x_par, Funct1D* f);

Vresult GetBorder(const OpContext& ctx, int par, Border* border);
// The value at x, linear between points; false for a point outside the
// range under Border::kError.
bool ValueAt(const Funct1D& f, double x, Border border, double* y);

}  // namespace vexa

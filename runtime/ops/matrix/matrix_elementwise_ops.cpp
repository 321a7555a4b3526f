// Element-wise matrix arithmetic, scaling and transposition, each with a
// form that returns a new matrix and one (_mod) that changes the first
// input. Two-matrix operators need equal sizes (VERR_MATRIX_SIZE).
// Division by zero and powers of negative numbers follow IEEE arithmetic
// (infinities, not-a-number), except sqrt_matrix, which refuses negative
// elements with VERR_MATRIX_FORM.
#include <cmath>

#include "ops/matrix/matrix_tool.h"
#include "registry.h"

namespace vexa {
namespace {

// The matrices at controls 0 and 1, of equal size, combined by `op`.
template <class Op>
Vresult TwoMatrices(OpContext& ctx, bool in_place, Op op) {
  Matrix a, b;
  std::shared_ptr<MatrixTool> target;
  Vresult rc = InpMatrix(ctx, 0, &a, &target);
  if (rc == VRESULT_OK) rc = InpMatrix(ctx, 1, &b);
  if (rc != VRESULT_OK) return rc;
  if (a.rows() != b.rows() || a.cols() != b.cols()) return VERR_MATRIX_SIZE;
  return StoreMatrixResult(ctx, in_place, *target, op(a, b));
}

// The matrix at control 0 mapped by `op`.
template <class Op>
Vresult OneMatrix(OpContext& ctx, bool in_place, Op op) {
  Matrix a;
  std::shared_ptr<MatrixTool> target;
  const Vresult rc = InpMatrix(ctx, 0, &a, &target);
  return rc == VRESULT_OK ? StoreMatrixResult(ctx, in_place, *target, op(a)) : rc;
}

// The matrix at control 0 and the real number at control 1, mapped by `op`.
template <class Op>
Vresult MatrixAndNumber(OpContext& ctx, bool in_place, Op op) {
  double x = 0.0;
  const Vresult rc = ctx.GetDouble(1, &x);
  if (rc != VRESULT_OK) return rc;
  return OneMatrix(ctx, in_place, [&](const Matrix& a) -> Matrix { return op(a, x); });
}

Vresult Add(OpContext& ctx, bool in_place) {
  return TwoMatrices(ctx, in_place, [](const Matrix& a, const Matrix& b) -> Matrix { return a + b; });
}
Vresult Sub(OpContext& ctx, bool in_place) {
  return TwoMatrices(ctx, in_place, [](const Matrix& a, const Matrix& b) -> Matrix { return a - b; });
}
Vresult MultElement(OpContext& ctx, bool in_place) {
  return TwoMatrices(ctx, in_place,
                     [](const Matrix& a, const Matrix& b) -> Matrix { return a.cwiseProduct(b); });
}
Vresult DivElement(OpContext& ctx, bool in_place) {
  return TwoMatrices(ctx, in_place,
                     [](const Matrix& a, const Matrix& b) -> Matrix { return a.cwiseQuotient(b); });
}
Vresult PowElement(OpContext& ctx, bool in_place) {
  return TwoMatrices(ctx, in_place, [](const Matrix& a, const Matrix& b) -> Matrix {
    return a.binaryExpr(b, [](double x, double y) { return std::pow(x, y); });
  });
}
Vresult PowScalarElement(OpContext& ctx, bool in_place) {
  return MatrixAndNumber(ctx, in_place, [](const Matrix& a, double p) -> Matrix {
    return a.unaryExpr([p](double x) { return std::pow(x, p); });
  });
}
Vresult Scale(OpContext& ctx, bool in_place) {
  return MatrixAndNumber(ctx, in_place, [](const Matrix& a, double f) -> Matrix { return a * f; });
}
Vresult Abs(OpContext& ctx, bool in_place) {
  return OneMatrix(ctx, in_place, [](const Matrix& a) -> Matrix { return a.cwiseAbs(); });
}
Vresult Transpose(OpContext& ctx, bool in_place) {
  return OneMatrix(ctx, in_place, [](const Matrix& a) -> Matrix { return a.transpose(); });
}
Vresult Sqrt(OpContext& ctx, bool in_place) {
  Matrix a;
  std::shared_ptr<MatrixTool> target;
  const Vresult rc = InpMatrix(ctx, 0, &a, &target);
  if (rc != VRESULT_OK) return rc;
  if ((a.array() < 0.0).any()) return VERR_MATRIX_FORM;
  return StoreMatrixResult(ctx, in_place, *target, a.cwiseSqrt());
}

}  // namespace

VEXA_OPERATOR(add_matrix) { return Add(ctx, false); }
VEXA_OPERATOR(add_matrix_mod) { return Add(ctx, true); }
VEXA_OPERATOR(sub_matrix) { return Sub(ctx, false); }
VEXA_OPERATOR(sub_matrix_mod) { return Sub(ctx, true); }
VEXA_OPERATOR(mult_element_matrix) { return MultElement(ctx, false); }
VEXA_OPERATOR(mult_element_matrix_mod) { return MultElement(ctx, true); }
VEXA_OPERATOR(div_element_matrix) { return DivElement(ctx, false); }
VEXA_OPERATOR(div_element_matrix_mod) { return DivElement(ctx, true); }
VEXA_OPERATOR(pow_element_matrix) { return PowElement(ctx, false); }
VEXA_OPERATOR(pow_element_matrix_mod) { return PowElement(ctx, true); }
VEXA_OPERATOR(pow_scalar_element_matrix) { return PowScalarElement(ctx, false); }
VEXA_OPERATOR(pow_scalar_element_matrix_mod) { return PowScalarElement(ctx, true); }
VEXA_OPERATOR(scale_matrix) { return Scale(ctx, false); }
VEXA_OPERATOR(scale_matrix_mod) { return Scale(ctx, true); }
VEXA_OPERATOR(abs_matrix) { return Abs(ctx, false); }
VEXA_OPERATOR(abs_matrix_mod) { return Abs(ctx, true); }
VEXA_OPERATOR(sqrt_matrix) { return Sqrt(ctx, false); }
VEXA_OPERATOR(sqrt_matrix_mod) { return Sqrt(ctx, true); }
VEXA_OPERATOR(transpose_matrix) { return Transpose(ctx, false); }
VEXA_OPERATOR(transpose_matrix_mod) { return Transpose(ctx, true); }

}  // namespace vexa

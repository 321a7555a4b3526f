// The matrix types of the solving operators and the checks and
// factorisations behind them.
//
// "general" is any matrix; "symmetric" must equal its transpose (up to a
// relative 1e-12); "positive_definite" is symmetric with a Cholesky
// factor; "tridiagonal", "upper_triangular" and "lower_triangular" must be
// zero outside their band. A matrix not of its stated type is refused with
// VERR_MATRIX_FORM, a non-square one with VERR_MATRIX_SIZE, a singular one
// with VERR_MATRIX_SINGULAR.
#pragma once

#include "ops/matrix/matrix_tool.h"

namespace vexa {

enum class MatrixForm {
  kGeneral,
  kSymmetric,
  kPositiveDefinite,
  kTridiagonal,
  kUpperTriangular,
  kLowerTriangular,
};

Vresult InpMatrixForm(const OpContext& ctx, int par, MatrixForm* form);

// Checks that `a` is square and of `form`.
Vresult CheckSquareForm(const Matrix& a, MatrixForm form);

// x with a * x = b for square `a` of `form` (checked here).
Vresult SolveSquare(const Matrix& a, MatrixForm form, const Matrix& b, Matrix* x);

// The least-squares solution of minimal norm by singular values, those at
// or below `epsilon` times the largest taken as zero (epsilon 0: the
// numerical default).
Matrix SolveLeastSquares(const Matrix& a, double epsilon, const Matrix& b);

}  // namespace vexa

// Inverses, linear systems, determinants and matrix powers.
//
// With epsilon 0, invert_matrix and solve_matrix of a "general" matrix
// need a square, regular one. With epsilon > 0 (or a non-square general
// matrix in solve_matrix) they give the pseudo-inverse or the least-squares
// solution of minimal norm, singular values at or below epsilon times the
// largest taken as zero. pow_matrix raises to whole powers of any square
// matrix (negative ones through the inverse); fractional powers need a
// "symmetric" or "positive_definite" matrix without negative eigenvalues.
#include <cmath>

#include "ops/matrix/matrix_forms.h"
#include "registry.h"

namespace vexa {
namespace {

Vresult InpEpsilon(const OpContext& ctx, int par, double* epsilon) {
  const Vresult rc = ctx.GetDouble(par, epsilon);
  if (rc != VRESULT_OK) return rc;
  return *epsilon >= 0.0 && std::isfinite(*epsilon) ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

Vresult Inverse(const Matrix& a, MatrixForm form, double epsilon, Matrix* inv) {
  if (form == MatrixForm::kGeneral && epsilon > 0.0) {
    *inv = SolveLeastSquares(a, epsilon, Matrix::Identity(a.rows(), a.rows()));
    return VRESULT_OK;
  }
  return SolveSquare(a, form, Matrix::Identity(a.rows(), a.rows()), inv);
}

Vresult Invert(OpContext& ctx, bool in_place) {
  Matrix a;
  std::shared_ptr<MatrixTool> target;
  MatrixForm form;
  double epsilon = 0.0;
  Vresult rc = InpMatrix(ctx, 0, &a, &target);
  if (rc == VRESULT_OK) rc = InpMatrixForm(ctx, 1, &form);
  if (rc == VRESULT_OK) rc = InpEpsilon(ctx, 2, &epsilon);
  Matrix inv;
  if (rc == VRESULT_OK) rc = Inverse(a, form, epsilon, &inv);
  return rc == VRESULT_OK ? StoreMatrixResult(ctx, in_place, *target, std::move(inv)) : rc;
}

// a^p for whole p by repeated squaring.
Matrix WholePower(Matrix a, unsigned long long p) {
  Matrix result = Matrix::Identity(a.rows(), a.cols());
  for (; p > 0; p >>= 1) {
    if (p & 1) result = result * a;
    if (p > 1) a = a * a;
  }
  return result;
}

Vresult Power(const Matrix& a, MatrixForm form, double power, Matrix* out) {
  Vresult rc = CheckSquareForm(a, form);
  if (rc != VRESULT_OK) return rc;
  if (power == std::floor(power) && std::fabs(power) <= 1e9) {
    Matrix base = a;
    if (power < 0) {
      rc = Inverse(a, form, 0.0, &base);
      if (rc != VRESULT_OK) return rc;
    }
    *out = WholePower(std::move(base), static_cast<unsigned long long>(std::fabs(power)));
    return VRESULT_OK;
  }
  if (form != MatrixForm::kSymmetric && form != MatrixForm::kPositiveDefinite)
    return VERR_MATRIX_FORM;
  const Eigen::SelfAdjointEigenSolver<Matrix> eig(a);
  if (eig.info() != Eigen::Success) return VERR_MATRIX_FORM;
  if ((eig.eigenvalues().array() < 0.0).any()) return VERR_MATRIX_FORM;
  if (power < 0 && (eig.eigenvalues().array() == 0.0).any()) return VERR_MATRIX_SINGULAR;
  const Eigen::VectorXd powered = eig.eigenvalues().array().pow(power);
  *out = eig.eigenvectors() * powered.asDiagonal() * eig.eigenvectors().transpose();
  return VRESULT_OK;
}

Vresult Pow(OpContext& ctx, bool in_place) {
  Matrix a;
  std::shared_ptr<MatrixTool> target;
  MatrixForm form;
  double power = 0.0;
  Vresult rc = InpMatrix(ctx, 0, &a, &target);
  if (rc == VRESULT_OK) rc = InpMatrixForm(ctx, 1, &form);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &power);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(power)) return VERR_CTRL_VALUE(2);
  Matrix out;
  rc = Power(a, form, power, &out);
  return rc == VRESULT_OK ? StoreMatrixResult(ctx, in_place, *target, std::move(out)) : rc;
}

}  // namespace

VEXA_OPERATOR(invert_matrix) { return Invert(ctx, false); }
VEXA_OPERATOR(invert_matrix_mod) { return Invert(ctx, true); }
VEXA_OPERATOR(pow_matrix) { return Pow(ctx, false); }
VEXA_OPERATOR(pow_matrix_mod) { return Pow(ctx, true); }

VEXA_OPERATOR(solve_matrix) {
  Matrix a, b, x;
  MatrixForm form;
  double epsilon = 0.0;
  Vresult rc = InpMatrix(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = InpMatrixForm(ctx, 1, &form);
  if (rc == VRESULT_OK) rc = InpEpsilon(ctx, 2, &epsilon);
  if (rc == VRESULT_OK) rc = InpMatrix(ctx, 3, &b);
  if (rc != VRESULT_OK) return rc;
  if (b.rows() != a.rows()) return VERR_MATRIX_SIZE;
  if (form == MatrixForm::kGeneral && (epsilon > 0.0 || a.rows() != a.cols())) {
    x = SolveLeastSquares(a, epsilon, b);
  } else {
    rc = SolveSquare(a, form, b, &x);
  }
  return rc == VRESULT_OK ? OutpNewMatrix(ctx, 0, std::move(x)) : rc;
}

VEXA_OPERATOR(determinant_matrix) {
  Matrix a;
  MatrixForm form;
  Vresult rc = InpMatrix(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = InpMatrixForm(ctx, 1, &form);
  if (rc == VRESULT_OK) rc = CheckSquareForm(a, form);
  if (rc != VRESULT_OK) return rc;
  double det = 0.0;
  switch (form) {
    case MatrixForm::kPositiveDefinite: {
      const Eigen::LLT<Matrix> llt(a);
      if (llt.info() != Eigen::Success) return VERR_MATRIX_FORM;
      det = llt.matrixL().toDenseMatrix().diagonal().array().square().prod();
      break;
    }
    case MatrixForm::kUpperTriangular:
    case MatrixForm::kLowerTriangular: det = a.diagonal().prod(); break;
    default: det = a.fullPivLu().determinant(); break;
  }
  return ctx.SetOutpDouble(0, det);
}

}  // namespace vexa

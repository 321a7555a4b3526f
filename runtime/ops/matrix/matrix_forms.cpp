#include "ops/matrix/matrix_forms.h"

#include <cmath>
#include <string>

namespace vexa {
namespace {

bool IsSymmetric(const Matrix& a) {
  const double scale = a.cwiseAbs().maxCoeff();
  return (a - a.transpose()).cwiseAbs().maxCoeff() <= 1e-12 * scale;
}

// True when every element with column - row outside [lo, hi] is zero.
bool InBand(const Matrix& a, Eigen::Index lo, Eigen::Index hi) {
  for (Eigen::Index r = 0; r < a.rows(); ++r)
    for (Eigen::Index c = 0; c < a.cols(); ++c)
      if ((c - r < lo || c - r > hi) && a(r, c) != 0.0) return false;
  return true;
}

bool HasZeroDiagonal(const Matrix& a) { return (a.diagonal().array() == 0.0).any(); }

}  // namespace

Vresult InpMatrixForm(const OpContext& ctx, int par, MatrixForm* form) {
  const char* s = nullptr;
  const Vresult rc = ctx.GetString(par, &s);
  if (rc != VRESULT_OK) return rc;
  const std::string t = s;
  if (t == "general") {
    *form = MatrixForm::kGeneral;
  } else if (t == "symmetric") {
    *form = MatrixForm::kSymmetric;
  } else if (t == "positive_definite") {
    *form = MatrixForm::kPositiveDefinite;
  } else if (t == "tridiagonal") {
    *form = MatrixForm::kTridiagonal;
  } else if (t == "upper_triangular") {
    *form = MatrixForm::kUpperTriangular;
  } else if (t == "lower_triangular") {
    *form = MatrixForm::kLowerTriangular;
  } else {
    return VERR_CTRL_VALUE(par);
  }
  return VRESULT_OK;
}

Vresult CheckSquareForm(const Matrix& a, MatrixForm form) {
  if (a.rows() != a.cols()) return VERR_MATRIX_SIZE;
  bool ok = true;
  switch (form) {
    case MatrixForm::kGeneral: break;
    case MatrixForm::kSymmetric:
    case MatrixForm::kPositiveDefinite: ok = IsSymmetric(a); break;
    case MatrixForm::kTridiagonal: ok = InBand(a, -1, 1); break;
    case MatrixForm::kUpperTriangular: ok = InBand(a, 0, a.cols()); break;
    case MatrixForm::kLowerTriangular: ok = InBand(a, -a.rows(), 0); break;
  }
  return ok ? VRESULT_OK : VERR_MATRIX_FORM;
}

Vresult SolveSquare(const Matrix& a, MatrixForm form, const Matrix& b, Matrix* x) {
  Vresult rc = CheckSquareForm(a, form);
  if (rc != VRESULT_OK) return rc;
  if (b.rows() != a.rows()) return VERR_MATRIX_SIZE;
  switch (form) {
    case MatrixForm::kPositiveDefinite: {
      const Eigen::LLT<Matrix> llt(a);
      if (llt.info() != Eigen::Success) return VERR_MATRIX_FORM;
      *x = llt.solve(b);
      return VRESULT_OK;
    }
    case MatrixForm::kSymmetric: {
      const Eigen::LDLT<Matrix> ldlt(a);
      if (ldlt.info() != Eigen::Success || (ldlt.vectorD().array() == 0.0).any())
        return VERR_MATRIX_SINGULAR;
      *x = ldlt.solve(b);
      return VRESULT_OK;
    }
    case MatrixForm::kUpperTriangular:
      if (HasZeroDiagonal(a)) return VERR_MATRIX_SINGULAR;
      *x = a.triangularView<Eigen::Upper>().solve(b);
      return VRESULT_OK;
    case MatrixForm::kLowerTriangular:
      if (HasZeroDiagonal(a)) return VERR_MATRIX_SINGULAR;
      *x = a.triangularView<Eigen::Lower>().solve(b);
      return VRESULT_OK;
    case MatrixForm::kGeneral:
    case MatrixForm::kTridiagonal: {
      const Eigen::FullPivLU<Matrix> lu(a);
      if (!lu.isInvertible()) return VERR_MATRIX_SINGULAR;
      *x = lu.solve(b);
      return VRESULT_OK;
    }
  }
  return VERR_INTERNAL;
}

Matrix SolveLeastSquares(const Matrix& a, double epsilon, const Matrix& b) {
  Eigen::BDCSVD<Matrix> svd(a, Eigen::ComputeThinU | Eigen::ComputeThinV);
  if (epsilon > 0.0) svd.setThreshold(epsilon);
  return svd.solve(b);
}

}  // namespace vexa

// Eigenvalues, singular values and factorisations.
//
// Outputs that are not asked for (eigenvectors with compute "false",
// singular vectors not named) are given as the handle -1, no matrix.
// eigenvalues_symmetric_matrix: eigenvalues ascending in a column vector,
// eigenvectors as the columns of a matrix in the same order.
// eigenvalues_general_matrix: real and imaginary parts as column vectors,
// eigenvectors as real and imaginary matrices.
// svd_matrix: "full" gives square U and V, "reduced" only the leading
// min(rows, columns) columns; the singular values, descending, as a column
// vector; "both", "left", "right" or "none" of the singular vectors.
// decompose_matrix: "general" and "tridiagonal" give A = M1 * M2 with M1
// the row-permuted unit lower factor and M2 the upper factor of an LU
// decomposition with partial pivoting; "positive_definite" the Cholesky
// factors M1 = L and M2 = L^T; "symmetric" A = M1 * M2 * M1^T with M1 the
// permuted unit lower factor and M2 the diagonal of an LDL^T
// decomposition with pivoting.
// orthogonal_decompose_matrix: "qr" gives A = Q * R, "lq" A = L * Q, the
// orthogonal factor square with "full" or with the thin size with
// "reduced"; compute_orthogonal "false" leaves Q out.
#include <algorithm>
#include <complex>
#include <string>

#include "ops/matrix/matrix_forms.h"
#include "registry.h"

namespace vexa {
namespace {

Vresult InpSquare(OpContext& ctx, int par, Matrix* a) {
  const Vresult rc = InpMatrix(ctx, par, a);
  if (rc != VRESULT_OK) return rc;
  return a->rows() == a->cols() ? VRESULT_OK : VERR_MATRIX_SIZE;
}

Vresult OutpComplex(OpContext& ctx, int par_re, bool wanted, const Eigen::MatrixXcd& m) {
  Vresult rc = OutpOptionalMatrix(ctx, par_re, wanted, m.real());
  return rc == VRESULT_OK ? OutpOptionalMatrix(ctx, par_re + 1, wanted, m.imag()) : rc;
}

// The factors of a QR decomposition of `a`, full or thin.
void QrFactors(const Matrix& a, bool full, Matrix* q, Matrix* r) {
  const Eigen::HouseholderQR<Matrix> qr(a);
  const Eigen::Index k = full ? a.rows() : std::min(a.rows(), a.cols());
  *q = qr.householderQ() * Matrix::Identity(a.rows(), k);
  *r = qr.matrixQR().topRows(k).triangularView<Eigen::Upper>();
}

}  // namespace

VEXA_OPERATOR(eigenvalues_symmetric_matrix) {
  Matrix a;
  bool vectors = false;
  Vresult rc = InpSquare(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = InpBool(ctx, 1, &vectors);
  if (rc == VRESULT_OK) rc = CheckSquareForm(a, MatrixForm::kSymmetric);
  if (rc != VRESULT_OK) return rc;
  const Eigen::SelfAdjointEigenSolver<Matrix> eig(
      a, vectors ? Eigen::ComputeEigenvectors : Eigen::EigenvaluesOnly);
  if (eig.info() != Eigen::Success) return VERR_MATRIX_FORM;
  rc = OutpNewMatrix(ctx, 0, eig.eigenvalues());
  return rc == VRESULT_OK ? OutpOptionalMatrix(ctx, 1, vectors, vectors ? eig.eigenvectors() : Matrix())
                          : rc;
}

VEXA_OPERATOR(eigenvalues_general_matrix) {
  Matrix a;
  bool vectors = false;
  Vresult rc = InpSquare(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = InpBool(ctx, 1, &vectors);
  if (rc != VRESULT_OK) return rc;
  const Eigen::EigenSolver<Matrix> eig(a, vectors);
  if (eig.info() != Eigen::Success) return VERR_MATRIX_FORM;
  rc = OutpComplex(ctx, 0, true, eig.eigenvalues());
  return rc == VRESULT_OK
             ? OutpComplex(ctx, 2, vectors, vectors ? eig.eigenvectors() : Eigen::MatrixXcd())
             : rc;
}

VEXA_OPERATOR(generalized_eigenvalues_symmetric_matrix) {
  Matrix a, b;
  bool vectors = false;
  Vresult rc = InpSquare(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = InpSquare(ctx, 1, &b);
  if (rc == VRESULT_OK) rc = InpBool(ctx, 2, &vectors);
  if (rc == VRESULT_OK && a.rows() != b.rows()) rc = VERR_MATRIX_SIZE;
  if (rc == VRESULT_OK) rc = CheckSquareForm(a, MatrixForm::kSymmetric);
  if (rc == VRESULT_OK) rc = CheckSquareForm(b, MatrixForm::kPositiveDefinite);
  if (rc != VRESULT_OK) return rc;
  const Eigen::GeneralizedSelfAdjointEigenSolver<Matrix> eig(
      a, b, vectors ? Eigen::ComputeEigenvectors : Eigen::EigenvaluesOnly);
  if (eig.info() != Eigen::Success) return VERR_MATRIX_FORM;
  rc = OutpNewMatrix(ctx, 0, eig.eigenvalues());
  return rc == VRESULT_OK ? OutpOptionalMatrix(ctx, 1, vectors, vectors ? eig.eigenvectors() : Matrix())
                          : rc;
}

VEXA_OPERATOR(generalized_eigenvalues_general_matrix) {
  Matrix a, b;
  bool vectors = false;
  Vresult rc = InpSquare(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = InpSquare(ctx, 1, &b);
  if (rc == VRESULT_OK) rc = InpBool(ctx, 2, &vectors);
  if (rc == VRESULT_OK && a.rows() != b.rows()) rc = VERR_MATRIX_SIZE;
  if (rc != VRESULT_OK) return rc;
  const Eigen::GeneralizedEigenSolver<Matrix> eig(a, b, vectors);
  if (eig.info() != Eigen::Success) return VERR_MATRIX_FORM;
  if ((eig.betas().array() == 0.0).any()) return VERR_MATRIX_SINGULAR;
  rc = OutpComplex(ctx, 0, true, eig.eigenvalues());
  return rc == VRESULT_OK
             ? OutpComplex(ctx, 2, vectors, vectors ? eig.eigenvectors() : Eigen::MatrixXcd())
             : rc;
}

VEXA_OPERATOR(svd_matrix) {
  Matrix a;
  const char* type = nullptr;
  const char* which = nullptr;
  Vresult rc = InpMatrix(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &type);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &which);
  if (rc != VRESULT_OK) return rc;
  const std::string t = type, w = which;
  if (t != "full" && t != "reduced") return VERR_CTRL_VALUE(1);
  if (w != "both" && w != "left" && w != "right" && w != "none") return VERR_CTRL_VALUE(2);
  const bool left = w == "both" || w == "left";
  const bool right = w == "both" || w == "right";
  unsigned int options = 0;
  if (left) options |= t == "full" ? Eigen::ComputeFullU : Eigen::ComputeThinU;
  if (right) options |= t == "full" ? Eigen::ComputeFullV : Eigen::ComputeThinV;
  const Eigen::BDCSVD<Matrix> svd(a, options);
  rc = OutpOptionalMatrix(ctx, 0, left, left ? svd.matrixU() : Matrix());
  if (rc == VRESULT_OK) rc = OutpNewMatrix(ctx, 1, svd.singularValues());
  return rc == VRESULT_OK ? OutpOptionalMatrix(ctx, 2, right, right ? svd.matrixV() : Matrix())
                          : rc;
}

VEXA_OPERATOR(decompose_matrix) {
  Matrix a;
  MatrixForm form;
  Vresult rc = InpMatrix(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = InpMatrixForm(ctx, 1, &form);
  if (rc == VRESULT_OK) rc = CheckSquareForm(a, form);
  if (rc != VRESULT_OK) return rc;
  Matrix m1, m2;
  switch (form) {
    case MatrixForm::kPositiveDefinite: {
      const Eigen::LLT<Matrix> llt(a);
      if (llt.info() != Eigen::Success) return VERR_MATRIX_FORM;
      m1 = llt.matrixL();
      m2 = m1.transpose();
      break;
    }
    case MatrixForm::kSymmetric: {
      const Eigen::LDLT<Matrix> ldlt(a);
      if (ldlt.info() != Eigen::Success) return VERR_MATRIX_FORM;
      const Matrix l = ldlt.matrixL();
      m1 = ldlt.transpositionsP().transpose() * l;
      m2 = ldlt.vectorD().asDiagonal();
      break;
    }
    case MatrixForm::kUpperTriangular:
    case MatrixForm::kLowerTriangular: return VERR_CTRL_VALUE(1);
    default: {
      const Eigen::PartialPivLU<Matrix> lu(a);
      const Matrix packed = lu.matrixLU();
      Matrix l = packed.triangularView<Eigen::UnitLower>();
      m1 = lu.permutationP().transpose() * l;
      m2 = packed.triangularView<Eigen::Upper>();
      break;
    }
  }
  rc = OutpNewMatrix(ctx, 0, std::move(m1));
  return rc == VRESULT_OK ? OutpNewMatrix(ctx, 1, std::move(m2)) : rc;
}

VEXA_OPERATOR(orthogonal_decompose_matrix) {
  Matrix a;
  const char* type = nullptr;
  const char* size = nullptr;
  bool orthogonal = false;
  Vresult rc = InpMatrix(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &type);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &size);
  if (rc == VRESULT_OK) rc = InpBool(ctx, 3, &orthogonal);
  if (rc != VRESULT_OK) return rc;
  const std::string t = type, s = size;
  if (t != "qr" && t != "lq") return VERR_CTRL_VALUE(1);
  if (s != "full" && s != "reduced") return VERR_CTRL_VALUE(2);
  Matrix q, r;
  if (t == "qr") {
    QrFactors(a, s == "full", &q, &r);
  } else {
    // A^T = Q R gives A = R^T Q^T: lower triangular times orthogonal.
    QrFactors(a.transpose(), s == "full", &q, &r);
    q.transposeInPlace();
    r.transposeInPlace();
  }
  rc = OutpOptionalMatrix(ctx, 0, orthogonal, std::move(q));
  return rc == VRESULT_OK ? OutpNewMatrix(ctx, 1, std::move(r)) : rc;
}

}  // namespace vexa

// Matrix products, norms and reductions.
//
// mult_matrix: "AB", "ATB", "ABT", "ATBT" (T: that factor transposed).
// norm_matrix: "frobenius_norm", "infinity_norm" (largest absolute row
// sum), "1-norm" (largest absolute column sum), "2-norm" (largest singular
// value). mean/sum/max/min_matrix: "columns" gives a row vector with one
// value per column, "rows" a column vector with one per row, "full" a 1x1
// matrix of all elements.
#include <cstring>
#include <string>

#include "ops/matrix/matrix_tool.h"
#include "registry.h"

namespace vexa {
namespace {

Vresult Mult(OpContext& ctx, bool in_place) {
  Matrix a, b;
  std::shared_ptr<MatrixTool> target;
  const char* type = nullptr;
  Vresult rc = InpMatrix(ctx, 0, &a, &target);
  if (rc == VRESULT_OK) rc = InpMatrix(ctx, 1, &b);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &type);
  if (rc != VRESULT_OK) return rc;
  const std::string t = type;
  if (t != "AB" && t != "ATB" && t != "ABT" && t != "ATBT") return VERR_CTRL_VALUE(2);
  if (t == "ATB" || t == "ATBT") a.transposeInPlace();
  if (t == "ABT" || t == "ATBT") b.transposeInPlace();
  if (a.cols() != b.rows()) return VERR_MATRIX_SIZE;
  return StoreMatrixResult(ctx, in_place, *target, a * b);
}

// A reduction by columns, rows or over all elements.
template <class Reduce>
Vresult Reduction(OpContext& ctx, Reduce reduce) {
  Matrix a;
  const char* type = nullptr;
  Vresult rc = InpMatrix(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &type);
  if (rc != VRESULT_OK) return rc;
  Matrix out;
  if (std::strcmp(type, "columns") == 0) {
    out.resize(1, a.cols());
    for (Eigen::Index c = 0; c < a.cols(); ++c) out(0, c) = reduce(a.col(c));
  } else if (std::strcmp(type, "rows") == 0) {
    out.resize(a.rows(), 1);
    for (Eigen::Index r = 0; r < a.rows(); ++r) out(r, 0) = reduce(a.row(r));
  } else if (std::strcmp(type, "full") == 0) {
    out.resize(1, 1);
    out(0, 0) = reduce(a.reshaped());
  } else {
    return VERR_CTRL_VALUE(1);
  }
  return OutpNewMatrix(ctx, 0, std::move(out));
}

}  // namespace

VEXA_OPERATOR(mult_matrix) { return Mult(ctx, false); }
VEXA_OPERATOR(mult_matrix_mod) { return Mult(ctx, true); }

VEXA_OPERATOR(sum_matrix) {
  return Reduction(ctx, [](const auto& v) { return v.sum(); });
}
VEXA_OPERATOR(mean_matrix) {
  return Reduction(ctx, [](const auto& v) { return v.mean(); });
}
VEXA_OPERATOR(max_matrix) {
  return Reduction(ctx, [](const auto& v) { return v.maxCoeff(); });
}
VEXA_OPERATOR(min_matrix) {
  return Reduction(ctx, [](const auto& v) { return v.minCoeff(); });
}

VEXA_OPERATOR(norm_matrix) {
  Matrix a;
  const char* type = nullptr;
  Vresult rc = InpMatrix(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &type);
  if (rc != VRESULT_OK) return rc;
  const std::string t = type;
  double norm = 0.0;
  if (t == "frobenius_norm") {
    norm = a.norm();
  } else if (t == "infinity_norm") {
    norm = a.cwiseAbs().rowwise().sum().maxCoeff();
  } else if (t == "1-norm") {
    norm = a.cwiseAbs().colwise().sum().maxCoeff();
  } else if (t == "2-norm") {
    norm = Eigen::JacobiSVD<Matrix>(a).singularValues()(0);
  } else {
    return VERR_CTRL_VALUE(1);
  }
  return ctx.SetOutpDouble(0, norm);
}

}  // namespace vexa

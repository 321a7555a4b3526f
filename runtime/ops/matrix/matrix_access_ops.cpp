// Making matrices and reading and writing their elements.
//
// Elements are given and returned row by row. create_matrix and
// set_full_matrix take one value for every element or exactly rows times
// columns values. Rows and columns count from 0. Diagonals: 0 is the main
// one, k > 0 the k-th above it, k < 0 below; get_diagonal_matrix gives a
// column vector, set_diagonal_matrix takes a row or column vector of the
// diagonal's length.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "ops/matrix/matrix_tool.h"
#include "registry.h"

namespace vexa {
namespace {

// Fills `m` from `values`: one for all, or one per element row by row.
Vresult FillMatrix(const std::vector<double>& values, int par, Matrix* m) {
  const Vlong n = m->rows() * m->cols();
  if (values.size() == 1) {
    m->setConstant(values[0]);
  } else if (static_cast<Vlong>(values.size()) == n) {
    for (Vlong i = 0; i < n; ++i) (*m)(i / m->cols(), i % m->cols()) = values[i];
  } else {
    return VERR_CTRL_NUM(par);
  }
  return VRESULT_OK;
}

// Row and column tuples of equal length, each index inside `m`.
Vresult InpPositions(const OpContext& ctx, const Matrix& m, std::vector<Vlong>* rows,
                     std::vector<Vlong>* cols) {
  Vresult rc = ctx.GetLongs(1, *rows);
  if (rc == VRESULT_OK) rc = ctx.GetLongs(2, *cols);
  if (rc != VRESULT_OK) return rc;
  if (rows->empty()) return VERR_CTRL_NUM(1);
  if (cols->size() != rows->size()) return VERR_CTRL_NUM(2);
  for (size_t i = 0; i < rows->size(); ++i) {
    if ((*rows)[i] < 0 || (*rows)[i] >= m.rows()) return VERR_CTRL_VALUE(1);
    if ((*cols)[i] < 0 || (*cols)[i] >= m.cols()) return VERR_CTRL_VALUE(2);
  }
  return VRESULT_OK;
}

// Start and length of diagonal `k` of `m`, or VERR_CTRL_VALUE(par).
Vresult Diagonal(const Matrix& m, Vlong k, int par, Vlong* r0, Vlong* c0, Vlong* len) {
  *r0 = k < 0 ? -k : 0;
  *c0 = k > 0 ? k : 0;
  if (*r0 >= m.rows() || *c0 >= m.cols()) return VERR_CTRL_VALUE(par);
  *len = std::min(m.rows() - *r0, m.cols() - *c0);
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(create_matrix) {
  Vlong rows = 0, cols = 0;
  std::vector<double> values;
  Vresult rc = ctx.GetLong(0, &rows);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &cols);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(2, values);
  if (rc == VRESULT_OK) rc = CheckMatrixSize(rows, cols, 0);
  if (rc != VRESULT_OK) return rc;
  Matrix m(rows, cols);
  rc = FillMatrix(values, 2, &m);
  return rc == VRESULT_OK ? OutpNewMatrix(ctx, 0, std::move(m)) : rc;
}

VEXA_OPERATOR(clear_matrix) { return CloseInpTool(ctx, 0, ToolKind::kMatrix); }

VEXA_OPERATOR(clear_all_matrices) {
  handles::RemoveAll(ToolKind::kMatrix);
  return VRESULT_OK;
}

VEXA_OPERATOR(get_size_matrix) {
  Matrix m;
  Vresult rc = InpMatrix(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLong(0, m.rows());
  return rc == VRESULT_OK ? ctx.SetOutpLong(1, m.cols()) : rc;
}

VEXA_OPERATOR(get_value_matrix) {
  Matrix m;
  std::vector<Vlong> rows, cols;
  Vresult rc = InpMatrix(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = InpPositions(ctx, m, &rows, &cols);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> values;
  for (size_t i = 0; i < rows.size(); ++i) values.push_back(m(rows[i], cols[i]));
  return ctx.SetOutpDoubles(0, values);
}

VEXA_OPERATOR(set_value_matrix) {
  Matrix m;
  std::shared_ptr<MatrixTool> tool;
  std::vector<Vlong> rows, cols;
  std::vector<double> values;
  Vresult rc = InpMatrix(ctx, 0, &m, &tool);
  if (rc == VRESULT_OK) rc = InpPositions(ctx, m, &rows, &cols);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(3, values);
  if (rc != VRESULT_OK) return rc;
  if (values.size() != rows.size()) return VERR_CTRL_NUM(3);
  for (size_t i = 0; i < rows.size(); ++i) m(rows[i], cols[i]) = values[i];
  tool->Set(std::move(m));
  return VRESULT_OK;
}

VEXA_OPERATOR(get_full_matrix) {
  Matrix m;
  const Vresult rc = InpMatrix(ctx, 0, &m);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> values(static_cast<size_t>(m.size()));
  Eigen::Map<Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>(
      values.data(), m.rows(), m.cols()) = m;
  return ctx.SetOutpDoubles(0, values);
}

VEXA_OPERATOR(set_full_matrix) {
  Matrix m;
  std::shared_ptr<MatrixTool> tool;
  std::vector<double> values;
  Vresult rc = InpMatrix(ctx, 0, &m, &tool);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(1, values);
  if (rc == VRESULT_OK) rc = FillMatrix(values, 1, &m);
  if (rc == VRESULT_OK) tool->Set(std::move(m));
  return rc;
}

VEXA_OPERATOR(get_sub_matrix) {
  Matrix m;
  Vlong row = 0, col = 0, rows = 0, cols = 0;
  Vresult rc = InpMatrix(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &row);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &col);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &rows);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &cols);
  if (rc != VRESULT_OK) return rc;
  if (row < 0 || row >= m.rows()) return VERR_CTRL_VALUE(1);
  if (col < 0 || col >= m.cols()) return VERR_CTRL_VALUE(2);
  if (rows < 1 || rows > m.rows() - row) return VERR_CTRL_VALUE(3);
  if (cols < 1 || cols > m.cols() - col) return VERR_CTRL_VALUE(4);
  return OutpNewMatrix(ctx, 0, m.block(row, col, rows, cols));
}

VEXA_OPERATOR(set_sub_matrix) {
  Matrix m, sub;
  std::shared_ptr<MatrixTool> tool;
  Vlong row = 0, col = 0;
  Vresult rc = InpMatrix(ctx, 0, &m, &tool);
  if (rc == VRESULT_OK) rc = InpMatrix(ctx, 1, &sub);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &row);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &col);
  if (rc != VRESULT_OK) return rc;
  if (row < 0 || row > m.rows() - sub.rows()) return VERR_CTRL_VALUE(2);
  if (col < 0 || col > m.cols() - sub.cols()) return VERR_CTRL_VALUE(3);
  m.block(row, col, sub.rows(), sub.cols()) = sub;
  tool->Set(std::move(m));
  return VRESULT_OK;
}

VEXA_OPERATOR(copy_matrix) {
  Matrix m;
  const Vresult rc = InpMatrix(ctx, 0, &m);
  return rc == VRESULT_OK ? OutpNewMatrix(ctx, 0, std::move(m)) : rc;
}

// The matrix tiled `rows` times down and `columns` times across.
VEXA_OPERATOR(repeat_matrix) {
  Matrix m;
  Vlong rows = 0, cols = 0;
  Vresult rc = InpMatrix(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &rows);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &cols);
  if (rc != VRESULT_OK) return rc;
  if (rows < 1) return VERR_CTRL_VALUE(1);
  if (cols < 1) return VERR_CTRL_VALUE(2);
  if (rows > kMaxMatrixElements / m.rows() || cols > kMaxMatrixElements / m.cols())
    return VERR_TOO_LARGE;
  rc = CheckMatrixSize(m.rows() * rows, m.cols() * cols, 1);
  return rc == VRESULT_OK ? OutpNewMatrix(ctx, 0, m.replicate(rows, cols)) : rc;
}

VEXA_OPERATOR(get_diagonal_matrix) {
  Matrix m;
  Vlong k = 0, r0 = 0, c0 = 0, len = 0;
  Vresult rc = InpMatrix(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &k);
  if (rc == VRESULT_OK) rc = Diagonal(m, k, 1, &r0, &c0, &len);
  if (rc != VRESULT_OK) return rc;
  Matrix d(len, 1);
  for (Vlong i = 0; i < len; ++i) d(i, 0) = m(r0 + i, c0 + i);
  return OutpNewMatrix(ctx, 0, std::move(d));
}

VEXA_OPERATOR(set_diagonal_matrix) {
  Matrix m, v;
  std::shared_ptr<MatrixTool> tool;
  Vlong k = 0, r0 = 0, c0 = 0, len = 0;
  Vresult rc = InpMatrix(ctx, 0, &m, &tool);
  if (rc == VRESULT_OK) rc = InpMatrix(ctx, 1, &v);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &k);
  if (rc == VRESULT_OK) rc = Diagonal(m, k, 2, &r0, &c0, &len);
  if (rc != VRESULT_OK) return rc;
  if ((v.rows() != 1 && v.cols() != 1) || v.size() != len) return VERR_MATRIX_SIZE;
  for (Vlong i = 0; i < len; ++i) m(r0 + i, c0 + i) = v(i);
  tool->Set(std::move(m));
  return VRESULT_OK;
}

}  // namespace vexa

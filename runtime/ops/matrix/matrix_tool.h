// The tool behind a matrix handle and the helpers its operators share.
//
// A matrix is a dense Eigen matrix of doubles under a lock. Operators work
// on copies taken under the lock and store whole results, so a matrix
// changed in place by one thread is never seen half written by another.
#pragma once

#include <Eigen/Dense>
#include <memory>

#include "handle_registry.h"
#include "locked_tool.h"

namespace vexa {

using Matrix = Eigen::MatrixXd;

// Bound on rows times columns of any matrix an operator makes (1 GiB of
// doubles), so that absurd sizes are refused instead of exhausting memory.
constexpr Vlong kMaxMatrixElements = Vlong{1} << 27;

class MatrixTool : public LockedTool<Matrix> {
 public:
  static constexpr ToolKind kKind = ToolKind::kMatrix;
  using LockedTool::LockedTool;
};

// VERR_TOO_LARGE beyond kMaxMatrixElements, VERR_CTRL_VALUE(par) for a
// size below 1.
Vresult CheckMatrixSize(Vlong rows, Vlong columns, int par);

// A copy of the matrix whose handle is input control `par`; `tool` (when
// given) receives the tool itself, for operators that write back.
Vresult InpMatrix(const OpContext& ctx, int par, Matrix* m,
                  std::shared_ptr<MatrixTool>* tool = nullptr);

// A new matrix handle at output control `par`.
Vresult OutpNewMatrix(OpContext& ctx, int par, Matrix m);

// The result of an operator with an in-place form: stored into `target`
// for the _mod form, a new handle at output 0 otherwise.
Vresult StoreMatrixResult(OpContext& ctx, bool in_place, MatrixTool& target, Matrix result);

// Output `par` as the handle of `m`, or -1 (no matrix) when `wanted` is false.
Vresult OutpOptionalMatrix(OpContext& ctx, int par, bool wanted, Matrix m);

// Reads a "true"/"false" string at control `par`.
Vresult InpBool(const OpContext& ctx, int par, bool* value);

}  // namespace vexa

// The runtime's tool handles.
//
// A tool (a mutex, a message, a file, a matrix ...) lives in the runtime
// and reaches the application only as an integer handle in a control
// parameter. The registry maps handles to tool objects:
//
// Values. Handles come from one counter that only grows, starting far
// above small integers, so a handle is never given twice in a process and
// a stray 0, 1 or -1 never names a tool. A value the counter has not
// reached yet (or below its start) is VERR_HANDLE_INVALID; a value it has
// passed that names no live tool was closed: VERR_HANDLE_CLOSED.
//
// Kinds. Each tool has one kind; asking for a handle as another kind is
// VERR_HANDLE_TYPE, so a file handle given to lock_mutex is refused.
//
// Lifetime. Tools are held by shared_ptr. An operator holds its own
// reference while it works, so a tool removed by another thread (clear_*)
// stays valid until that operator returns. Removing a tool calls its
// Close(), which wakes threads blocked in it; they then answer
// VERR_HANDLE_CLOSED.
//
// Threads: every function is safe to call concurrently.
#pragma once

#include <memory>
#include <vector>

#include "op_context.h"
#include "vexa/errors.h"
#include "vexa/types.h"

namespace vexa {

enum class ToolKind {
  kMutex,
  kEvent,
  kCondition,
  kBarrier,
  kMessage,
  kMessageQueue,
  kFile,
  kSerializedItem,
  kSocket,
  kFramegrabber,
  kMatrix,
  kMeasure,
  kMetrologyModel,
  kBarCode,
  kDataCode2D,
  kShapeModel,
  kNccModel,
  kTemplate,
};

// Base of every tool object. A tool class T names its kind as
// `static constexpr ToolKind kKind`.
class Tool {
 public:
  virtual ~Tool() = default;
  // Called once when the handle is removed; wakes blocked waiters.
  virtual void Close() {}
};

namespace handles {

// Registers `tool` under a new handle.
Vlong Add(ToolKind kind, std::shared_ptr<Tool> tool);
// The live tool of `handle`, checked to be of `kind`.
Vresult Find(Vlong handle, ToolKind kind, std::shared_ptr<Tool>* tool);
// Removes the handle (after the same checks as Find) and closes its tool.
Vresult Remove(Vlong handle, ToolKind kind);
// Removes and closes every tool of `kind`.
void RemoveAll(ToolKind kind);
// Number of live tools of `kind`, for tests.
size_t Count(ToolKind kind);

template <class T>
Vresult Get(Vlong handle, std::shared_ptr<T>* tool) {
  std::shared_ptr<Tool> found;
  const Vresult rc = Find(handle, T::kKind, &found);
  if (rc == VRESULT_OK) *tool = std::static_pointer_cast<T>(found);
  return rc;
}

}  // namespace handles

// ---- Helpers for operators --------------------------------------------

// The tool whose handle is the single value of input control `par`.
template <class T>
Vresult InpTool(const OpContext& ctx, int par, std::shared_ptr<T>* tool) {
  Vlong handle = 0;
  const Vresult rc = ctx.GetLong(par, &handle);
  return rc == VRESULT_OK ? handles::Get(handle, tool) : rc;
}

// The tools of all handles of input control `par` (one at least).
template <class T>
Vresult InpTools(const OpContext& ctx, int par, std::vector<std::shared_ptr<T>>* tools) {
  std::vector<Vlong> values;
  Vresult rc = ctx.GetLongs(par, values);
  if (rc != VRESULT_OK) return rc;
  if (values.empty()) return VERR_CTRL_NUM(par);
  tools->resize(values.size());
  for (size_t i = 0; i < values.size(); ++i) {
    rc = handles::Get(values[i], &(*tools)[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

// Registers `tool` and writes its new handle to output control `par`; a
// failed write removes the handle again, so nothing is left unreachable.
template <class T>
Vresult OutpNewTool(OpContext& ctx, int par, std::shared_ptr<T> tool) {
  const Vlong handle = handles::Add(T::kKind, std::move(tool));
  const Vresult rc = ctx.SetOutpLong(par, handle);
  if (rc != VRESULT_OK) handles::Remove(handle, T::kKind);
  return rc;
}

// Closes the tool whose handle is input control `par`.
Vresult CloseInpTool(const OpContext& ctx, int par, ToolKind kind);

}  // namespace vexa

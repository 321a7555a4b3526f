// Operators of mutexes, events, conditions and barriers.
//
// Attributes come as name/value pairs. Mutexes know "mutex_type" with
// "sleep" (the default) or "recursive" (the owner may lock again and must
// unlock as often); the other tools have no attributes, and any name is
// refused. timed_wait_condition takes its timeout in microseconds.
#include <cstring>
#include <memory>
#include <vector>

#include "handle_registry.h"
#include "ops/serialize/tuple_values.h"
#include "ops/sync/sync_tools.h"
#include "registry.h"

namespace vexa {
namespace {

// Reads attribute pairs at controls 0 and 1 and refuses every one, for the
// tools that have none.
Vresult NoAttributes(const OpContext& ctx) {
  std::vector<GenParam> attribs;
  const Vresult rc = ReadGenParams(ctx, 0, 1, &attribs);
  if (rc != VRESULT_OK) return rc;
  return attribs.empty() ? VRESULT_OK : VERR_CTRL_VALUE(0);
}

}  // namespace

// ---- Mutexes --------------------------------------------------------------

VEXA_OPERATOR(create_mutex) {
  std::vector<GenParam> attribs;
  Vresult rc = ReadGenParams(ctx, 0, 1, &attribs);
  if (rc != VRESULT_OK) return rc;
  bool recursive = false;
  for (const GenParam& a : attribs) {
    if (a.name != "mutex_type") return VERR_CTRL_VALUE(0);
    if (a.value.type != VPAR_STRING) return VERR_CTRL_TYPE(1);
    if (a.value.s == "recursive") {
      recursive = true;
    } else if (a.value.s == "sleep") {
      recursive = false;
    } else {
      return VERR_CTRL_VALUE(1);
    }
  }
  return OutpNewTool(ctx, 0, std::make_shared<SyncMutex>(recursive));
}

VEXA_OPERATOR(lock_mutex) {
  std::shared_ptr<SyncMutex> mutex;
  const Vresult rc = InpTool(ctx, 0, &mutex);
  return rc == VRESULT_OK ? mutex->Lock() : rc;
}

VEXA_OPERATOR(try_lock_mutex) {
  std::shared_ptr<SyncMutex> mutex;
  Vresult rc = InpTool(ctx, 0, &mutex);
  bool busy = false;
  if (rc == VRESULT_OK) rc = mutex->TryLock(&busy);
  return rc == VRESULT_OK ? ctx.SetOutpLong(0, busy ? 1 : 0) : rc;
}

VEXA_OPERATOR(unlock_mutex) {
  std::shared_ptr<SyncMutex> mutex;
  const Vresult rc = InpTool(ctx, 0, &mutex);
  return rc == VRESULT_OK ? mutex->Unlock() : rc;
}

VEXA_OPERATOR(clear_mutex) { return CloseInpTool(ctx, 0, ToolKind::kMutex); }

VEXA_OPERATOR(clear_all_mutexes) {
  handles::RemoveAll(ToolKind::kMutex);
  return VRESULT_OK;
}

// ---- Events ---------------------------------------------------------------

VEXA_OPERATOR(create_event) {
  const Vresult rc = NoAttributes(ctx);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::make_shared<SyncEvent>()) : rc;
}

VEXA_OPERATOR(signal_event) {
  std::shared_ptr<SyncEvent> event;
  const Vresult rc = InpTool(ctx, 0, &event);
  if (rc == VRESULT_OK) event->Signal();
  return rc;
}

VEXA_OPERATOR(wait_event) {
  std::shared_ptr<SyncEvent> event;
  const Vresult rc = InpTool(ctx, 0, &event);
  return rc == VRESULT_OK ? event->Wait() : rc;
}

VEXA_OPERATOR(try_wait_event) {
  std::shared_ptr<SyncEvent> event;
  const Vresult rc = InpTool(ctx, 0, &event);
  if (rc != VRESULT_OK) return rc;
  bool busy = false;
  event->TryWait(&busy);
  return ctx.SetOutpLong(0, busy ? 1 : 0);
}

VEXA_OPERATOR(clear_event) { return CloseInpTool(ctx, 0, ToolKind::kEvent); }

VEXA_OPERATOR(clear_all_events) {
  handles::RemoveAll(ToolKind::kEvent);
  return VRESULT_OK;
}

// ---- Conditions -----------------------------------------------------------

VEXA_OPERATOR(create_condition) {
  const Vresult rc = NoAttributes(ctx);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::make_shared<SyncCondition>()) : rc;
}

namespace {

Vresult WaitCondition(OpContext& ctx, const Deadline& deadline) {
  std::shared_ptr<SyncCondition> condition;
  std::shared_ptr<SyncMutex> mutex;
  Vresult rc = InpTool(ctx, 0, &condition);
  if (rc == VRESULT_OK) rc = InpTool(ctx, 1, &mutex);
  return rc == VRESULT_OK ? condition->Wait(*mutex, deadline) : rc;
}

}  // namespace

VEXA_OPERATOR(wait_condition) { return WaitCondition(ctx, Deadline::Never()); }

VEXA_OPERATOR(timed_wait_condition) {
  Vlong micros = 0;
  const Vresult rc = ctx.GetLong(2, &micros);
  if (rc != VRESULT_OK) return rc;
  if (micros < 0) return VERR_CTRL_VALUE(2);
  return WaitCondition(ctx, Deadline::After(static_cast<double>(micros) * 1e-6));
}

VEXA_OPERATOR(signal_condition) {
  std::shared_ptr<SyncCondition> condition;
  const Vresult rc = InpTool(ctx, 0, &condition);
  if (rc == VRESULT_OK) condition->Signal();
  return rc;
}

VEXA_OPERATOR(broadcast_condition) {
  std::shared_ptr<SyncCondition> condition;
  const Vresult rc = InpTool(ctx, 0, &condition);
  if (rc == VRESULT_OK) condition->Broadcast();
  return rc;
}

VEXA_OPERATOR(clear_condition) { return CloseInpTool(ctx, 0, ToolKind::kCondition); }

VEXA_OPERATOR(clear_all_conditions) {
  handles::RemoveAll(ToolKind::kCondition);
  return VRESULT_OK;
}

// ---- Barriers -------------------------------------------------------------

VEXA_OPERATOR(create_barrier) {
  Vresult rc = NoAttributes(ctx);
  Vlong team_size = 0;
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &team_size);
  if (rc != VRESULT_OK) return rc;
  if (team_size < 1) return VERR_CTRL_VALUE(2);
  return OutpNewTool(ctx, 0, std::make_shared<SyncBarrier>(team_size));
}

VEXA_OPERATOR(wait_barrier) {
  std::shared_ptr<SyncBarrier> barrier;
  const Vresult rc = InpTool(ctx, 0, &barrier);
  return rc == VRESULT_OK ? barrier->Wait() : rc;
}

VEXA_OPERATOR(clear_barrier) { return CloseInpTool(ctx, 0, ToolKind::kBarrier); }

VEXA_OPERATOR(clear_all_barriers) {
  handles::RemoveAll(ToolKind::kBarrier);
  return VRESULT_OK;
}

}  // namespace vexa

// Operator instances: creation, running, deletion, and the database
// contexts of VGetVProc.
//
// Validity. Every instance handed out is entered into a process-wide set of
// live instances, and every function that takes an instance looks it up
// there before touching it, so a stale or foreign pointer gives
// VERR_PROC_INVALID instead of a crash.
//
// Names after deletion. The interface asks for the operator's name of an
// instance right after deleting it (to word a failure). Each thread keeps
// the last few instances it deleted with their operator indices; an address
// is answered from there until it is reused by a new instance. This needs
// no memory per instance beyond the instance itself and never reads freed
// memory.
#include <array>
#include <atomic>
#include <exception>
#include <mutex>
#include <new>
#include <unordered_set>

#include "error_detail.h"
#include "instance.h"
#include "op_table.h"
#include "registry.h"
#include "vexa/errors.h"

namespace vexa {
namespace {

struct LiveSet {
  std::mutex mu;
  std::unordered_set<const void*> procs;
};

// Never destroyed: instances may be deleted by static destructors of users.
LiveSet& Live() {
  static LiveSet* set = new LiveSet();
  return *set;
}

std::atomic<int> g_raise_on_error{0};

constexpr size_t kRecentDeleted = 8;
struct DeletedRecord {
  const void* proc = nullptr;
  int32_t op = -1;
};
thread_local std::array<DeletedRecord, kRecentDeleted> t_deleted;
thread_local size_t t_deleted_next = 0;

void ForgetDeleted(const void* proc) {
  for (DeletedRecord& r : t_deleted)
    if (r.proc == proc) r = DeletedRecord();
}

InstanceBlock* NewBlock(int32_t op, bool db_context) {
  auto* b = new (std::nothrow) InstanceBlock();  // zeroes the shared records
  if (!b) return nullptr;
  b->head.magic = kInstanceMagic;
  b->head.op = op;
  b->head.runtime_data = &b->data;
  b->head.params = &b->params;
  b->head.call = &b->call;
  b->head.context = &b->context;
  b->call.op = op;
  b->data.db_context = db_context;
  VParamBlock& p = b->params;
  p.outp_ctrl_table = p.outp_ctrl;
  // Records start empty and in place, so that an operator run without the
  // interface's preparation of the outputs still finds sane records.
  for (int i = 0; i < VMAX_INP_CTRL; ++i) {
    ResetCtrlRecord(&p.inp_ctrl_rec[i]);
    p.inp_ctrl[i] = &p.inp_ctrl_rec[i];
  }
  for (int i = 0; i < VMAX_OUTP_CTRL; ++i) {
    ResetCtrlRecord(&p.outp_ctrl_rec[i]);
    p.outp_ctrl[i] = &p.outp_ctrl_rec[i];
  }
  for (int i = 1; i <= VMAX_OUTP_OBJ; ++i) p.outp_obj_keys[i] = &b->data.outp_first[i];
  if (g_raise_on_error.load(std::memory_order_relaxed))
    b->context.flags |= VPROC_RAISE_ON_ERROR;
  std::lock_guard<std::mutex> lock(Live().mu);
  Live().procs.insert(b);
  ForgetDeleted(b);
  return b;
}

// Leaves the live set; false when `inst` was not in it.
bool Retire(const void* inst) {
  std::lock_guard<std::mutex> lock(Live().mu);
  return Live().procs.erase(inst) == 1;
}

// Releases what the instance still owns: key arrays the interface
// allocated on it, and output keys that nobody took over.
Vresult ReleaseParams(InstanceBlock* b) {
  Vresult result = VRESULT_OK;
  VParamBlock& p = b->params;
  for (int i = 0; i < VMAX_INP_OBJ + 1; ++i) {
    if (!p.inp_obj_allocated[i]) continue;
    Vresult rc = VXFree(b, p.inp_obj_keys[i]);
    if (rc != VRESULT_OK && result == VRESULT_OK) result = rc;
  }
  for (int i = 1; i <= VMAX_OUTP_OBJ; ++i) {
    for (Vlong k = 0; p.outp_obj_keys[i] && k < p.outp_obj_num[i]; ++k) {
      Vkey key = p.outp_obj_keys[i][k];
      if (!key || key == VKEY_UNDEF) continue;
      Vresult rc = DBDelObjectId(b, key);
      if (rc != VRESULT_OK && result == VRESULT_OK) result = rc;
    }
  }
  return result;
}

void DestroyBlock(InstanceBlock* b) {
  DeletedRecord& r = t_deleted[t_deleted_next++ % kRecentDeleted];
  r.proc = b;
  r.op = b->head.op;
  b->head.magic = 0;
  delete b;
}

// The database context of each thread, reused by VGetVProc(-1).
struct DbContextCache {
  InstanceBlock* block = nullptr;
  ~DbContextCache() {
    if (block && Retire(block)) delete block;
  }
};
thread_local DbContextCache t_db_context;

}  // namespace

VProcInstance* LiveInstance(void* proc) {
  if (!proc) return nullptr;
  {
    std::lock_guard<std::mutex> lock(Live().mu);
    if (Live().procs.count(proc) == 0) return nullptr;
  }
  auto* inst = static_cast<VProcInstance*>(proc);
  return inst->magic == kInstanceMagic ? inst : nullptr;
}

bool RecentlyDeletedOp(const void* proc, int32_t* op) {
  for (const DeletedRecord& r : t_deleted) {
    if (r.proc && r.proc == proc) {
      *op = r.op;
      return true;
    }
  }
  return false;
}

}  // namespace vexa

using vexa::InstanceBlock;

extern "C" {

Vresult VCreateVProc(int32_t op, void** proc) {
  if (!proc) return VERR_INTERNAL;
  *proc = nullptr;
  if (!VOpIdIsValid(op)) return VERR_OP_INDEX;
  InstanceBlock* b = vexa::NewBlock(op, false);
  if (!b) return VERR_OUT_OF_MEMORY;
  *proc = b;
  return VRESULT_OK;
}

Vresult CCallVProc(void* proc) {
  VProcInstance* inst = vexa::LiveInstance(proc);
  if (!inst || vexa::DataOf(inst).db_context) return VERR_PROC_INVALID;
  const int32_t op = inst->op;
  VOperatorFn fn = vexa::DispatchEntry(op);
  vexa::BeginOperatorCall();
  Vresult rc = VERR_NOT_AVAILABLE;
  // An implementation must not let an exception cross into the C caller.
  try {
    if (fn) rc = fn(proc);
  } catch (const std::bad_alloc&) {
    rc = VERR_OUT_OF_MEMORY;
  } catch (...) {
    rc = VERR_INTERNAL;
  }
  vexa::EndOperatorCall(op, rc);
  return rc;
}

Vresult VDeleteVProc(void* proc, int32_t reserved, Vresult err) {
  VProcInstance* inst = vexa::LiveInstance(proc);
  if (!inst || vexa::DataOf(inst).db_context) return VERR_PROC_INVALID;
  if (!vexa::Retire(proc)) return VERR_PROC_INVALID;  // deleted meanwhile
  auto* b = static_cast<InstanceBlock*>(proc);
  Vresult rc = vexa::ReleaseParams(b);
  vexa::DestroyBlock(b);
  return rc;
}

Vresult VGetVProc(int32_t op, void** proc) {
  if (!proc) return VERR_INTERNAL;
  *proc = nullptr;
  if (op != -1) return VCreateVProc(op, proc);
  InstanceBlock*& cached = vexa::t_db_context.block;
  if (!cached) {
    cached = vexa::NewBlock(-1, true);
    if (!cached) return VERR_OUT_OF_MEMORY;
    cached->data.cached = true;
  }
  InstanceBlock* b = cached;
  if (b->data.in_use) {
    // Nested use on one thread: a context of its own, destroyed on return.
    b = vexa::NewBlock(-1, true);
    if (!b) return VERR_OUT_OF_MEMORY;
  }
  b->data.in_use = true;
  *proc = b;
  return VRESULT_OK;
}

Vresult VPutVProc(void* proc) {
  VProcInstance* inst = vexa::LiveInstance(proc);
  if (!inst) return VERR_PROC_INVALID;
  vexa::InstanceData& data = vexa::DataOf(inst);
  if (!data.db_context) return VDeleteVProc(proc, 0, VRESULT_OK);
  if (!data.in_use) return VERR_PROC_INVALID;
  data.in_use = false;
  if (data.cached) return VRESULT_OK;
  if (!vexa::Retire(proc)) return VERR_PROC_INVALID;
  vexa::DestroyBlock(static_cast<InstanceBlock*>(proc));
  return VRESULT_OK;
}

void VSetRaiseOnError(int on) {
  vexa::g_raise_on_error.store(on ? 1 : 0, std::memory_order_relaxed);
}

int VGetRaiseOnError(void) {
  return vexa::g_raise_on_error.load(std::memory_order_relaxed);
}

}  // extern "C"

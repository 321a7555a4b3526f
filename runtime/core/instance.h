// The runtime's view of an operator instance: the shared records plus the
// runtime's own bookkeeping, in one allocation.
#pragma once

#include <vector>

#include "vexa/runtime.h"
#include "vexa/types.h"

namespace vexa {

constexpr uint32_t kInstanceMagic = 0x56505243u;

// The runtime's part of an instance (VProcInstance::runtime_data).
struct InstanceData {
  // A database context from VGetVProc(-1): it runs no operator.
  bool db_context = false;
  // The reusable database context of a thread, and whether it is handed out.
  bool cached = false;
  bool in_use = false;
  // Storage of the single keys that CStoreInpKeyPar stores.
  Vkey inp_key[VMAX_INP_OBJ + 1] = {};
  // Output keys of each object parameter. outp_first always offers one
  // writable place, also while the count is 0, because the interface's
  // class-method store puts a key of its own there in that case.
  Vkey outp_first[VMAX_OUTP_OBJ + 1] = {};
  std::vector<Vkey> outp_many[VMAX_OUTP_OBJ + 1];
};

struct InstanceBlock {
  VProcInstance head;
  VParamBlock params;
  VCallRecord call;
  VContextRecord context;
  InstanceData data;
};

// The instance behind `proc` when it is a live instance of this runtime,
// else null. Never dereferences `proc` unless it is known to be live.
VProcInstance* LiveInstance(void* proc);

// The operator of an instance this thread deleted recently (see
// instance.cpp); false when `proc` is not among them.
bool RecentlyDeletedOp(const void* proc, int32_t* op);

inline InstanceData& DataOf(VProcInstance* inst) {
  return *static_cast<InstanceData*>(inst->runtime_data);
}

// The empty initialised state of a control record: no value, elem pointing
// at the record itself.
void ResetCtrlRecord(Vctuple* rec);

}  // namespace vexa

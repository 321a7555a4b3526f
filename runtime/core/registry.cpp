// The dispatch table: which function CCallVProc runs for each operator.
//
// Implementations register by name while the library loads, in an order
// nobody controls; the names are resolved against the operator table on the
// first use of the table. From then on every slot holds either null (not
// available), RunRegistered (which builds an OpContext and calls the
// implementation registered for the instance's operator) or a function a
// test put there with VSetOperatorFn.
#include <atomic>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "op_context.h"
#include "op_table.h"
#include "registry.h"

namespace vexa {
namespace {

struct Registry {
  std::mutex mu;
  bool resolved = false;
  std::vector<std::pair<std::string, OperatorImpl>> pending;
  std::vector<std::string> unknown;
  OperatorImpl impls[kOperatorCount] = {};
  std::atomic<VOperatorFn> fns[kOperatorCount] = {};
  std::atomic<bool> ready{false};
};

// Never destroyed, and built on first use: registrations run during static
// initialisation of other files.
Registry& Reg() {
  static Registry* r = new Registry();
  return *r;
}

Vresult RunRegistered(void* proc) {
  auto* inst = static_cast<VProcInstance*>(proc);
  OperatorImpl impl = Reg().impls[inst->op];
  if (!impl) return VERR_NOT_AVAILABLE;
  OpContext ctx(proc);
  return impl(ctx);
}

// Under the lock.
void Enter(Registry& r, const std::string& name, OperatorImpl impl) {
  int32_t op = FindOperatorIndex(name.c_str());
  if (op < 0) {
    r.unknown.push_back(name);
    return;
  }
  r.impls[op] = impl;
  r.fns[op].store(&RunRegistered);
}

Registry& Resolved() {
  Registry& r = Reg();
  if (r.ready.load(std::memory_order_acquire)) return r;
  std::lock_guard<std::mutex> lock(r.mu);
  if (!r.resolved) {
    for (const auto& entry : r.pending) Enter(r, entry.first, entry.second);
    r.pending.clear();
    r.resolved = true;
    r.ready.store(true, std::memory_order_release);
  }
  return r;
}

}  // namespace

bool RegisterOperator(const char* name, OperatorImpl impl) {
  Registry& r = Reg();
  std::lock_guard<std::mutex> lock(r.mu);
  if (r.resolved)
    Enter(r, name, impl);
  else
    r.pending.emplace_back(name, impl);
  return true;
}

std::vector<std::string> UnknownRegisteredOperators() {
  Registry& r = Resolved();
  std::lock_guard<std::mutex> lock(r.mu);
  return r.unknown;
}

VOperatorFn DispatchEntry(int32_t op) {
  if (op < 0 || op >= kOperatorCount) return nullptr;
  return Resolved().fns[op].load(std::memory_order_acquire);
}

bool HasRegisteredImpl(int32_t op) {
  if (op < 0 || op >= kOperatorCount) return false;
  Registry& r = Resolved();
  std::lock_guard<std::mutex> lock(r.mu);
  return r.impls[op] != nullptr;
}

}  // namespace vexa

extern "C" VOperatorFn VSetOperatorFn(int32_t op, VOperatorFn fn) {
  if (op < 0 || op >= vexa::kOperatorCount) return nullptr;
  return vexa::Resolved().fns[op].exchange(fn, std::memory_order_acq_rel);
}

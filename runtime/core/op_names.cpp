// Operator names and indices: the lookups the interface makes to word
// failures and to run an operator chosen by name.
#include "instance.h"
#include "op_table.h"
#include "vexa/errors.h"

namespace {

// Answers for an index or instance that names no operator; the interface
// puts the name into failure texts, so it must always get a string.
const char kUnknownOperator[] = "(unknown operator)";
const char kNoOperator[] = "(no operator)";

}  // namespace

extern "C" {

int VOpIdIsValid(int32_t op) { return op >= 0 && op < vexa::kOperatorCount; }

int32_t VOperatorCount(void) { return vexa::kOperatorCount; }

const char* VOIGet_LogicalName(int32_t op) {
  return VOpIdIsValid(op) ? vexa::kOperatorTable[op].name : kUnknownOperator;
}

const char* VPHGet_LogicalName(void* proc) {
  if (VProcInstance* inst = vexa::LiveInstance(proc))
    return vexa::DataOf(inst).db_context ? kNoOperator : VOIGet_LogicalName(inst->op);
  int32_t op = -1;
  if (vexa::RecentlyDeletedOp(proc, &op))
    return op < 0 ? kNoOperator : VOIGet_LogicalName(op);
  return kUnknownOperator;
}

Vresult VFindProcNumber(void* proc, const char* name, int32_t* op) {
  if (!op) return VERR_INTERNAL;
  *op = -1;
  if (!name) return VERR_OP_NAME;
  int32_t index = vexa::FindOperatorIndex(name);
  if (index < 0) return VERR_OP_NAME;
  *op = index;
  return VRESULT_OK;
}

}  // extern "C"

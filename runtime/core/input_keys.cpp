// Storing keys for input object parameters. The key is kept in storage of
// the instance; which objects it stands for (a key tuple is expanded) is
// worked out when the operator reads it (OpContext::InpObjs).
#include "instance.h"
#include "op_table.h"
#include "vexa/errors.h"

namespace {

// How many objects a key stands for at the top level: 1 for an object, the
// count of a key tuple (the empty object is the tuple of none), 0 for no
// key. Fails for a key the database refuses.
Vresult TopLevelCount(void* proc, Vkey key, Vlong* num) {
  if (key == VKEY_UNDEF) {
    *num = 0;
    return VRESULT_OK;
  }
  Vkey* keys = nullptr;
  Vresult rc = DBFetchTuple(proc, key, &keys, num);
  if (rc == VERR_NOT_KEY_TUPLE) {
    *num = 1;
    return VRESULT_OK;
  }
  return rc;
}

Vresult StoreKey(void* proc, int32_t par, Vkey key, bool single) {
  VProcInstance* inst = vexa::LiveInstance(proc);
  if (!inst || vexa::DataOf(inst).db_context) return VERR_PROC_INVALID;
  if (par < 1 || par > vexa::kOperatorTable[inst->op].num[vexa::kInpObj])
    return VERR_PAR_INDEX;
  if (!key) key = VKEY_UNDEF;
  Vlong num = 0;
  Vresult rc = TopLevelCount(proc, key, &num);
  if (rc != VRESULT_OK) return rc;
  // The empty object is a valid single object: class methods pass it for
  // an empty handle.
  if (single && num > 1) return VERR_OBJ_NUM(par);
  VParamBlock& p = *inst->params;
  if (p.inp_obj_allocated[par]) {  // a key array stored earlier
    VXFree(proc, p.inp_obj_keys[par]);
    p.inp_obj_allocated[par] = 0;
  }
  Vkey* slot = &vexa::DataOf(inst).inp_key[par];
  *slot = key;
  p.inp_obj_keys[par] = slot;
  p.inp_obj_num[par] = 1;
  return VRESULT_OK;
}

}  // namespace

extern "C" {

Vresult CStoreInpKeyPar(void* proc, int32_t par, Vkey key) {
  return StoreKey(proc, par, key, false);
}

Vresult CStoreInpKeyParSingle(void* proc, int32_t par, Vkey key) {
  return StoreKey(proc, par, key, true);
}

}  // extern "C"

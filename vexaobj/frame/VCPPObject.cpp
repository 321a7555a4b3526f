// The frame's object stores for the handle classes: how a class method
// hands its receiver and its object arguments to an operator, and how its
// results and output pointers take the keys the operator made.
//
// In a class method (`global` 0) the runtime hands back one key per object
// in each output slot. A store that takes keys sets the slot's count to 0,
// so that VDeleteVProc releases only what was not taken.
#include <vexaobj/VCPP.h>

#include <vexaobj/VObject.h>
#include <vexaobj/VObjectArray.h>

#include "control/runtime_alloc.h"
#include "frame/VCPPUtil.h"

namespace Vexa {

namespace {

// "No object" never reaches the runtime as a key: there it is the
// runtime's empty object.
Vkey KeyForRuntime(Vkey k, Vkey empty) { return k == VKEY_UNDEF ? empty : k; }

}  // namespace

unsigned int VcppStoreIO(void* proc, int par, const VObject* obj) {
  const Vkey k = KeyForRuntime(obj->Key(), CGetKeyName("empty"));
  const unsigned int rc = CStoreInpKeyParSingle(proc, par, k);
  if (rc == VRESULT_OK) return rc;
  return frame::InputObjectFailure(proc, rc, __FILE__, __LINE__);
}

unsigned int VcppStoreIO(void* proc, int par, const VObjectArray* arr) {
  // The count goes to the runtime as a 32-bit number.
  const int n = static_cast<int>(arr->Num());
  void* block = nullptr;
  // At least one key's room, so that an empty array also has a block that
  // the instance owns and frees.
  const size_t size = sizeof(Vkey) * static_cast<size_t>(n > 0 ? n : 1);
  const unsigned int rc = VEXA_ALLOC_CODE_ON(proc, size, &block);
  if (rc != VRESULT_OK)
    return frame::InputObjectFailure(proc, rc, __FILE__, __LINE__);
  Vkey* keys = static_cast<Vkey*>(block);
  const Vkey empty = CGetKeyName("empty");
  for (int i = 0; i < n; ++i) keys[i] = KeyForRuntime(arr->Key(i), empty);
  VParamBlock* params = frame::Params(proc);
  params->inp_obj_keys[par] = keys;
  params->inp_obj_num[par] = n;
  // The array belongs to the instance from here on: VDeleteVProc frees it.
  params->inp_obj_allocated[par] = 1;
  return VRESULT_OK;
}

unsigned int VcppStoreOO(void* proc, int par, VObject* obj, unsigned int err) {
  if (obj == nullptr) return VRESULT_OUT_NULL;
  if (err != VRESULT_OK) {
    obj->Reset();
    return err;
  }
  VParamBlock* params = frame::Params(proc);
  if (params->outp_obj_num[par] == 0) {
    // No object came back: the handle holds the empty object, not key 1,
    // so that it still stands for "an operator result".
    Vkey empty = VKEY_UNDEF;
    const unsigned int rc = DBStoreTuple(proc, nullptr, 0, &empty);
    if (rc > VRESULT_OK) return rc;
    params->outp_obj_keys[par][0] = empty;
    params->outp_obj_num[par] = 1;
  }
  if (params->outp_obj_num[par] != 1) return VRESULT_OUT_OBJ_COUNT;
  obj->SetKey(params->outp_obj_keys[par][0]);
  params->outp_obj_num[par] = 0;
  return err;
}

unsigned int VcppStoreOO(void* proc, int par, VObjectArray* arr,
                         unsigned int err) {
  if (arr == nullptr) return VRESULT_OUT_NULL;
  if (err != VRESULT_OK) {
    arr->Reset();
    return err;
  }
  VParamBlock* params = frame::Params(proc);
  unsigned int code = VRESULT_OK;
  arr->SetKeys(params->outp_obj_keys[par], params->outp_obj_num[par], &code);
  // The array took every key, also those of a result it refused (its
  // elements release them).
  params->outp_obj_num[par] = 0;
  return code;
}

}  // namespace Vexa

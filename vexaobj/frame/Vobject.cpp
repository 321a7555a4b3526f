// Vobject and its two frame stores. The library keeps no reference count of
// its own: the rule is one release in the runtime for every key that was
// made or copied, and only an owning wrapper releases.
#include <vexaobj/Vobject.h>

#include <vexaobj/VCPP.h>

#include "frame/VCPPUtil.h"

namespace Vexa {

namespace {

// 0 is accepted at every boundary and stands for "no object".
Vkey Normalized(Vkey key) { return key == nullptr ? VKEY_UNDEF : key; }

}  // namespace

Vobject::Vobject(int owned) : key(VKEY_UNDEF), owned(owned) {}

Vobject::Vobject(Vkey key, int owned) : key(Normalized(key)), owned(owned) {}

Vobject::Vobject(const Vobject& other) : key(VKEY_UNDEF), owned(1) {
  CopyKeyOf(other.key);
}

Vobject& Vobject::operator=(const Vobject& other) {
  if (this == &other) return *this;
  Delete();
  CopyKeyOf(other.key);
  return *this;
}

Vobject::~Vobject() { Delete(); }

void Vobject::AdaptId(Vkey new_key) {
  Delete();
  key = Normalized(new_key);
}

void Vobject::Reset() { AdaptId(VKEY_UNDEF); }

void Vobject::Delete() {
  if (owned && key != VKEY_UNDEF) freeData();
}

void Vobject::freeData() {
  const Vkey released = key;
  frame::RuntimeBracket(
      [released](void* context) { return DBDelObjectId(context, released); },
      __LINE__);
  key = VKEY_UNDEF;
}

void Vobject::CopyKeyOf(Vkey source) {
  key = VKEY_UNDEF;
  if (source == VKEY_UNDEF) return;
  Vkey copy = VKEY_UNDEF;
  frame::RuntimeBracket(
      [source, &copy](void* context) {
        return DBCopyObjectId(context, source, &copy);
      },
      __LINE__);
  key = Normalized(copy);
}

unsigned int VcppStoreIO(void* proc, int par, const Vobject& obj) {
  Vkey key = obj.Id();
  // "No object" never reaches the runtime as a key: it is the runtime's
  // empty object there.
  if (key == VKEY_UNDEF) key = CGetKeyName("empty");
  const unsigned int rc = CStoreInpKeyPar(proc, par, key);
  if (rc == VRESULT_OK) return rc;
  return frame::InputObjectFailure(proc, rc, __FILE__, __LINE__);
}

unsigned int VcppStoreOO(void* proc, int par, Vobject* obj, unsigned int err) {
  if (obj == nullptr) return VRESULT_OUT_NULL;
  if (err != VRESULT_OK) {
    obj->Delete();
    obj->key = VKEY_UNDEF;
    return err;
  }
  VParamBlock* params = frame::Params(proc);
  if (params->outp_obj_num[par] != 1) return VRESULT_OUT_OBJ_COUNT;
  const Vkey result = params->outp_obj_keys[par][0];
  obj->Delete();
  obj->key = Normalized(result);
  // Hand-over: the wrapper now holds the slot's reference, so the slot's
  // count drops to 0. VDeleteVProc releases the keys of every slot that
  // still counts any, which is how an output that was refused (7200) or
  // never asked for loses nothing.
  params->outp_obj_num[par] = 0;
  return err;
}

}  // namespace Vexa

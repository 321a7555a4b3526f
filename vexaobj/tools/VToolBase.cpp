// Reference counting of tool handles and the frame's stores for tools.
#include <vexaobj/VToolBase.h>
#include <vexaobj/VCPP.h>
#include <vexaobj/VTuple.h>

#include "frame/VCPPUtil.h"

namespace Vexa {

VToolRefPtr& VToolRefPtr::operator=(VToolRef* r) {
  if (r != ref) reset(r);
  return *this;
}

void VToolRefPtr::deref() {
  VToolRef* old = ref;
  if (old == nullptr) return;
  ref = nullptr;
  if (old->deref()) delete old;
}

VToolBase::operator VTuple() const { return VTuple(GetHandle()); }

unsigned int VcppStoreIC(void* proc, int par, const VToolBase& tool) {
  return VcppStoreIC(proc, par, static_cast<Vlong>(tool));
}

unsigned int VcppStoreOC(void* proc, int par, VToolBase* out, unsigned int err) {
  Vctuple* rec = frame::OutputRecordOf(proc, par);
  if (out == nullptr) {
    if (rec == nullptr) return err;
    const unsigned int rc = VctClearElem(proc, rec);
    return rc > VRESULT_OK ? rc : err;
  }
  Vlong handle = -1;
  unsigned int code = err;
  if (err <= VRESULT_OK && rec->num == 1) {
    switch (rec->type) {
      case VPAR_LONG:
        handle = rec->val.l;
        break;
      case VPAR_DOUBLE:
        handle = static_cast<Vlong>(rec->val.d);
        break;
      default:
        VctClearElem(proc, rec);
        out->Cleanup();
        return VRESULT_OUT_TYPE;
    }
  } else {
    const unsigned int rc = VctClearElem(proc, rec);
    if (rc > VRESULT_OK) {
      code = rc;
    } else if (err <= VRESULT_OK) {
      out->Cleanup();
      return VRESULT_OUT_COUNT;
    }
  }
  if (code <= VRESULT_OK) {
    out->SetHandle(handle);
  } else {
    out->Cleanup();
  }
  return code;
}

}  // namespace Vexa

// The call frame: creating, running and deleting an operator instance, the
// control value stores, and the decision between a raised and a returned
// failure.
//
// Nothing here allocates: input values are lent to the instance's records
// in place and output records are adopted or released, so a call with
// scalars and tuples costs no memory of its own.
#include <vexaobj/VCPP.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <vexaobj/VException.h>
#include <vexaobj/VTuple.h>

#include "control/runtime_alloc.h"
#include "frame/VCPPUtil.h"

namespace Vexa {

namespace {

using frame::kErrorTextSize;
using frame::Params;

// Room for a runtime text plus an operator name and the fixed words.
constexpr int kMessageSize = 2 * kErrorTextSize;

bool IsFailure(unsigned int code) { return code > VRESULT_OK; }

// The empty state of an output record: no value, no array, `elem` at the
// record itself.
void ResetOutputRecord(Vctuple* rec) {
  rec->type = VPAR_UNDEF;
  rec->borrowed = 0;
  rec->elem = reinterpret_cast<Vcpar*>(rec);
  rec->capacity = 0;
  rec->num = 0;
}

// The record of output control `par`, reached through the table the
// runtime points at. A slot the operator never wrote and VcppInitOC never
// prepared (VOperator makes no VcppInitOC calls) is prepared here, so that
// every store sees a record and an empty output reads as empty.
Vctuple* OutputRecord(void* proc, int par) {
  VParamBlock* params = Params(proc);
  Vctuple*& slot = params->outp_ctrl_table[par];
  if (slot == nullptr) {
    slot = &params->outp_ctrl_rec[par];
    ResetOutputRecord(slot);
  }
  return slot;
}

// Lends one value to input control `par`: the record holds it in place.
// `elem` and `borrowed` are left alone, as the runtime reads an in-place
// value by its `capacity` of 0.
template <class Assign>
unsigned int StoreInputValue(void* proc, int par, int type, Assign assign) {
  VParamBlock* params = Params(proc);
  Vctuple* rec = &params->inp_ctrl_rec[par];
  assign(rec);
  rec->type = type;
  rec->num = 1;
  rec->capacity = 0;
  params->inp_ctrl[par] = rec;
  return VRESULT_OK;
}

// The shared tail of the single-valued output stores, when the record does
// not hold one value that `out` can take: release the record and write the
// marker. A failed release is returned as it stands, `out` untouched; an
// earlier failure in `err` wins over 7001.
template <class T, class WriteMarker>
unsigned int ReleaseWithMarker(void* proc, Vctuple* rec, T* out,
                               unsigned int err, WriteMarker write_marker) {
  const unsigned int rc = VctClearElem(proc, rec);
  if (IsFailure(rc)) return rc;
  if (out == nullptr) return err;
  write_marker(out);
  return IsFailure(err) ? err : VRESULT_OUT_COUNT;
}

// Vlong* and double* outputs: either numeric type converts to the target,
// a double toward zero.
template <class T>
unsigned int StoreNumberOutput(void* proc, int par, T* out, unsigned int err) {
  Vctuple* rec = OutputRecord(proc, par);
  if (out != nullptr && !IsFailure(err) && rec->num == 1) {
    switch (rec->type) {
      case VPAR_LONG:
        *out = static_cast<T>(rec->val.l);
        return err;
      case VPAR_DOUBLE:
        *out = static_cast<T>(rec->val.d);
        return err;
      default:
        VctClearElem(proc, rec);
        return VRESULT_OUT_TYPE;
    }
  }
  return ReleaseWithMarker(proc, rec, out, err, [](T* o) { *o = T(-1); });
}

// Formats " <text of err> in operator <name>" and raises it.
void RaiseFailure(void* proc, unsigned int err, int line) {
  char text[kErrorTextSize];
  char message[kMessageSize];
  VErrorMessage(err, text);
  std::snprintf(message, sizeof message, " %s in operator %s", text,
                frame::OperatorName(proc));
  frame::Raise(proc, err, message, __FILE__, line);
}

}  // namespace

Vctuple* frame::OutputRecordOf(void* proc, int par) { return OutputRecord(proc, par); }

unsigned int VcppPreCall(int op, void** proc, unsigned char global) {
  const unsigned int rc = VCreateVProc(op, proc);
  if (rc == VRESULT_OK) {
    static_cast<VProcInstance*>(*proc)->call->global = global;
    return VRESULT_OK;
  }
  char text[kErrorTextSize];
  char message[kMessageSize];
  VErrorMessage(rc, text);
  std::snprintf(message, sizeof message,
                " Could not create a new operator instance : \n %s\n", text);
  const char* name = VOIGet_LogicalName(op);
  VException exception(__FILE__, __LINE__, name, rc, message);
  exception.React();
  // There is no instance to go on with, and no caller expects to see one
  // missing: a failed creation ends the process.
  std::exit(1);
}

unsigned int VcppCall(void* proc) { return CCallVProc(proc); }

unsigned int VcppPostCall(void* proc, unsigned int err, int mode) {
  bool raise_on_error = true;
  if (proc != nullptr) {
    // Read before the deletion: the context record goes with the instance.
    raise_on_error = frame::RaiseOnError(proc);
    const unsigned int rc = VDeleteVProc(proc, 0, err);
    if (rc != VRESULT_OK) {
      char text[kErrorTextSize];
      char message[kMessageSize];
      VErrorMessage(rc, text);
      std::snprintf(message, sizeof message, " %s in operator %s\n", text,
                    frame::OperatorName(proc));
      frame::Raise(proc, rc, message, __FILE__, __LINE__);
    }
  }
  if (err == VRESULT_OK) return VRESULT_OK;
  if (mode == 1 || (mode == 0 && IsFailure(err) && raise_on_error))
    RaiseFailure(proc, err, __LINE__);
  return err;
}

unsigned int VcppStoreIC(void* proc, int par, Vlong value) {
  return StoreInputValue(proc, par, VPAR_LONG,
                         [value](Vctuple* rec) { rec->val.l = value; });
}

unsigned int VcppStoreIC(void* proc, int par, double value) {
  return StoreInputValue(proc, par, VPAR_DOUBLE,
                         [value](Vctuple* rec) { rec->val.d = value; });
}

unsigned int VcppStoreIC(void* proc, int par, const char* value) {
  // The runtime only reads the text; the record lends the caller's pointer.
  return StoreInputValue(proc, par, VPAR_STRING, [value](Vctuple* rec) {
    rec->val.s = const_cast<char*>(value);
  });
}

unsigned int VcppStoreIC(void* proc, int par, const VTuple& value) {
  VParamBlock* params = Params(proc);
  value.CastToVctuple(params->inp_ctrl_rec[par]);
  params->inp_ctrl[par] = &params->inp_ctrl_rec[par];
  return VRESULT_OK;
}

void VcppInitOC(void* proc, int par) {
  VParamBlock* params = Params(proc);
  params->outp_ctrl[par] = &params->outp_ctrl_rec[par];
  ResetOutputRecord(&params->outp_ctrl_rec[par]);
}

unsigned int VcppStoreOC(void* proc, int par, Vlong* out, unsigned int err) {
  return StoreNumberOutput(proc, par, out, err);
}

unsigned int VcppStoreOC(void* proc, int par, double* out, unsigned int err) {
  return StoreNumberOutput(proc, par, out, err);
}

unsigned int VcppStoreOC(void* proc, int par, char* out, unsigned int err) {
  Vctuple* rec = OutputRecord(proc, par);
  if (out != nullptr && !IsFailure(err) && rec->num == 1) {
    if (rec->type != VPAR_STRING) {
      VctClearElem(proc, rec);
      return VRESULT_OUT_TYPE;
    }
    std::strcpy(out, rec->val.s);
    // The text now lives in the caller's buffer; the record keeps a pointer
    // that is safe to hold but owns nothing.
    VEXA_FREE_ON(proc, rec->val.s);
    rec->val.s = s_default;
    return err;
  }
  return ReleaseWithMarker(proc, rec, out, err, [](char* o) { o[0] = '\0'; });
}

unsigned int VcppStoreOC(void* proc, int par, VTuple* out, unsigned int err) {
  Vctuple* rec = OutputRecord(proc, par);
  if (out != nullptr && !IsFailure(err)) {
    // Adoption: the tuple owns the record's array and strings from now on,
    // so the record is not released.
    out->Reset();
    out->CastFromVctuple(rec);
    return VRESULT_OK;
  }
  const unsigned int rc = VctClearElem(proc, rec);
  unsigned int result = err;
  if (IsFailure(rc)) {
    if (out == nullptr) return rc;
    result = rc;
  } else {
    if (out == nullptr) return err;
    ResetOutputRecord(rec);
  }
  // A failed call still leaves a defined, empty tuple behind.
  out->Reset();
  out->CastFromVctuple(rec);
  return result;
}

}  // namespace Vexa

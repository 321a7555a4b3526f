// Storage of control records (Vctuple): releasing an output record, and
// turning a value held in place into an element array for adoption by a
// tuple of the interface.
#include <cstring>

#include "instance.h"
#include "memory.h"
#include "vexa/errors.h"

namespace vexa {

void ResetCtrlRecord(Vctuple* rec) {
  rec->val.l = 0;
  rec->type = VPAR_UNDEF;
  rec->num = 0;
  rec->capacity = 0;
  rec->borrowed = 0;
  rec->elem = reinterpret_cast<Vcpar*>(rec);
}

}  // namespace vexa

namespace {

// Frees a string of a record; s_default is the placeholder the interface
// leaves behind after taking a text and was never allocated.
Vresult FreeString(char* s) {
  if (!s || s == s_default) return VRESULT_OK;
  return vexa::FreeBlock(s);
}

// Frees the strings and the element array a record owns; returns the
// first failure but frees everything it can.
Vresult ReleaseStorage(Vctuple* rec) {
  Vresult result = VRESULT_OK;
  auto keep_first = [&result](Vresult rc) {
    if (rc != VRESULT_OK && result == VRESULT_OK) result = rc;
  };
  if (rec->capacity > 0 && rec->elem) {
    for (Vlong i = 0; i < rec->num && i < rec->capacity; ++i)
      if (rec->elem[i].type == VPAR_STRING) keep_first(FreeString(rec->elem[i].par.s));
    keep_first(vexa::FreeBlock(rec->elem));
  } else if (rec->type == VPAR_STRING && rec->num > 0) {
    keep_first(FreeString(rec->val.s));
  }
  return result;
}

}  // namespace

extern "C" {

Vresult VctClearElem(void* proc, Vctuple* rec) {
  if (!rec) return VRESULT_OK;
  // A borrowed record points into a caller's tuple, which owns the storage.
  Vresult rc = rec->borrowed ? VRESULT_OK : ReleaseStorage(rec);
  vexa::ResetCtrlRecord(rec);
  return rc;
}

// `mode` is accepted for the interface's sake; every mode converts the same.
Vresult VctConvert2Mixed(void* proc, Vctuple* rec, int32_t mode) {
  if (!rec) return VERR_INTERNAL;
  if (rec->type == VPAR_MIXED) return VRESULT_OK;
  if (rec->capacity > 0) {  // already an element array
    rec->type = VPAR_MIXED;
    return VRESULT_OK;
  }
  if (rec->num == 0) {
    rec->type = VPAR_MIXED;
    rec->elem = nullptr;
    return VRESULT_OK;
  }
  if (rec->num != 1) return VERR_INTERNAL;  // in place holds one value only
  Vcpar* elem = nullptr;
  Vresult rc = VEXA_ALLOC(sizeof(Vcpar), &elem);
  if (rc != VRESULT_OK) return rc;
  std::memcpy(&elem->par, &rec->val, sizeof(elem->par));  // any type
  elem->type = rec->type;
  elem->pad_ = 0;
  rec->type = VPAR_MIXED;
  rec->capacity = 1;
  rec->elem = elem;
  return VRESULT_OK;
}

}  // extern "C"

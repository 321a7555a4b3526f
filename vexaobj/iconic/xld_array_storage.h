// Allocation and release of the element storage of the XLD arrays by
// element class: the storage is always allocated and freed as an array of
// the element class it was made of, while the arrays reach it through a
// VXLD pointer (the element classes add no data to VXLD).
#ifndef VEXAOBJ_ICONIC_XLD_ARRAY_STORAGE_H
#define VEXAOBJ_ICONIC_XLD_ARRAY_STORAGE_H

#include <new>

#include <vexaobj/VXLDArray.h>

#include "control/raise.h"
#include "iconic/db_bracket.h"

namespace Vexa {

template <class Elem>
void VXLDArray::GrowAs(Vlong new_alloc, Vlong count) {
  Elem* grown = new (std::nothrow) Elem[static_cast<size_t>(new_alloc)];
  if (grown == nullptr) {
    VEXA_RAISE("new", "Out of memory");
    return;
  }
  // The keys move: the old elements give them up without a release.
  for (Vlong i = 0; i < count && elems != nullptr; ++i) {
    if (!elems[i].used) continue;
    grown[i].InitKey(elems[i].key);
    elems[i].used = 0;
  }
  delete[] static_cast<Elem*>(elems);
  elems = grown;
}

template <class Elem>
void VXLDArray::ReleaseAs() {
  if (elems == nullptr) return;
  db_bracket::InBracket([&](void* context) {
    for (Vlong i = num - 1; i >= 0; --i) {
      VXLD& e = elems[i];
      if (!e.used || e.key == VKEY_UNDEF) continue;
      DBDelObjectId(context, e.key);
      e.used = 0;
    }
  });
  delete[] static_cast<Elem*>(elems);
}

}  // namespace Vexa

#endif  // VEXAOBJ_ICONIC_XLD_ARRAY_STORAGE_H

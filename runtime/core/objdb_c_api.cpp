// The object database's C functions, as the interface library imports
// them. The instance argument is accepted and not needed: the database is
// process-wide. A failed allocation inside the database comes back as
// VERR_OUT_OF_MEMORY; no exception crosses into C callers.
#include <cstring>
#include <new>

#include "objdb.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

using vexa::db::GetStats;

namespace {

template <class Fn>
Vresult Guarded(Fn&& fn) {
  try {
    return fn();
  } catch (const std::bad_alloc&) {
    return VERR_OUT_OF_MEMORY;
  }
}

}  // namespace

extern "C" {

Vresult DBCopyObjectId(void* proc, Vkey key, Vkey* copy) {
  if (copy == nullptr) return VERR_INTERNAL;
  return Guarded([&] { return vexa::db::Copy(key, copy); });
}

Vresult DBDelObjectId(void* proc, Vkey key) {
  return Guarded([&] { return vexa::db::Release(key); });
}

Vresult DBStoreTuple(void* proc, const Vkey* keys, Vlong num, Vkey* tuple) {
  if (tuple == nullptr) return VERR_INTERNAL;
  return Guarded([&] { return vexa::db::NewTuple(keys, num, tuple); });
}

Vresult DBFetchTuple(void* proc, Vkey tuple, Vkey** keys, Vlong* num) {
  if (keys == nullptr || num == nullptr) return VERR_INTERNAL;
  return vexa::db::FetchTuple(tuple, keys, num);
}

Vresult DBGetRLPtr(void* proc, Vkey key, Vrlregion** rl) {
  if (rl == nullptr) return VERR_INTERNAL;
  return Guarded([&] { return vexa::db::GetRLView(key, rl); });
}

Vresult DBCountRegion(Vlong* num) {
  if (num == nullptr) return VERR_INTERNAL;
  *num = GetStats().regions;
  return VRESULT_OK;
}

Vresult DBCountImage(Vlong* num) {
  if (num == nullptr) return VERR_INTERNAL;
  *num = GetStats().images;
  return VRESULT_OK;
}

Vresult DBNumImaRefs(Vkey key, Vlong* num) {
  if (num == nullptr) return VERR_INTERNAL;
  return vexa::db::NumImageRefs(key, num);
}

// "empty" is the only named system object; every other name gives the
// undefined key 1, which no database function accepts.
Vkey CGetKeyName(const char* name) {
  if (name != nullptr && std::strcmp(name, "empty") == 0)
    return vexa::db::EmptyObject();
  return VKEY_UNDEF;
}

}  // extern "C"

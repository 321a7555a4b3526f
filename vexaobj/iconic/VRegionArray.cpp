// VRegionArray: construction, copies, growth, release, and the hand-over of
// an operator's result keys into elements.
#include <vexaobj/VRegionArray.h>

#include <new>

#include <vexaobj/VException.h>
#include <vexaobj/VProcedural.h>
#include <vexaobj/VWindow.h>

#include "control/raise.h"
#include "iconic/region_calls.h"

namespace Vexa {

namespace {

// The code SetKeys gives the frame for a result key that is no iconic
// object; the frame reports it as the failure of the call.
constexpr unsigned int kWrongClassKey = 4052;

// Tag of a key: its class ID (0 for the undefined key, which fits every
// class).
int TagId(Vkey k) {
  if (k == nullptr || k == VKEY_UNDEF) return 0;
  return static_cast<const VKeyRecordHead*>(k)->tag - VOBJ_TAG_BASE;
}

// Runs `body(context)` between VGetVProc and VPutVProc; the context is
// given back also when a handler throws out of the body.
template <class Body>
void InBracket(Body body) {
  struct Context {
    void* proc = nullptr;
    Context() { VGetVProc(-1, &proc); }
    ~Context() { VPutVProc(proc); }
  } context;
  body(context.proc);
}

}  // namespace

VRegionArray::VRegionArray() : elems(nullptr) {}

VRegionArray::VRegionArray(Vkey* keys, Vlong n)
    : VObjectArray(n, 0), elems(nullptr) {
  if (n < 1) return;
  elems = Allocate(n);
  if (elems == nullptr) return;
  ReleasingOnThrow([&] {
    for (Vlong i = 0; i < n; ++i) {
      elems[i].InitKey(keys[i]);
      elems[i].CheckMyObjClass();
    }
  });
}

VRegionArray::VRegionArray(const Vobject& obj) : elems(nullptr) {
  const Vkey k = obj.Id();
  if (k == VKEY_UNDEF) return;
  const int id = TagId(k);
  if (id == VOBJ_ICONIC) {
    SingleArray();
    elems = Allocate(num_alloc);
    if (elems == nullptr) return;
    Vkey copy = VKEY_UNDEF;
    InBracket([&](void* context) { DBCopyObjectId(context, k, &copy); });
    elems[0].InitKey(copy);
    return;
  }
  if (id != VOBJ_TUPLE) {
    VEXA_RAISE("VRegionArray::VRegionArray(const Vobject &obj)",
               "wrong object class passed");
    return;
  }
  const Vlong count = static_cast<const VKeyRecordHead*>(k)->tuple_num;
  if (count <= 0) return;
  ReleasingOnThrow([&] {
    InBracket([&](void* context) {
      Vkey* keys = nullptr;
      Vlong n = 0;
      DBFetchTuple(context, k, &keys, &n);
      NormalArray(count);
      elems = Allocate(count);
      if (elems == nullptr) return;
      for (Vlong i = 0; i < count && i < n; ++i) {
        Vkey copy = VKEY_UNDEF;
        DBCopyObjectId(context, keys[i], &copy);
        elems[i].InitKey(copy);
        elems[i].CheckMyObjClass();
      }
    });
  });
}

template <class Fill>
void VRegionArray::ReleasingOnThrow(Fill fill) {
  try {
    fill();
  } catch (...) {
    DeleteArray();
    elems = nullptr;
    EmptyArray();
    throw;
  }
}

VRegionArray::VRegionArray(const VRegion& r) : VObjectArray(1, 1), elems(nullptr) {
  elems = Allocate(num_alloc);
  if (elems != nullptr) elems[0] = r;
}

VRegionArray::VRegionArray(const VRegionArray& in)
    : VObjectArray(), elems(nullptr) {
  CopyVRegionArray(in);
}

VRegionArray& VRegionArray::operator=(const VRegionArray& in) {
  if (this == &in) return *this;
  DeleteArray();
  elems = nullptr;
  CopyVRegionArray(in);
  return *this;
}

VRegionArray::~VRegionArray() { DeleteArray(); }

VRegion* VRegionArray::Allocate(Vlong n) {
  VRegion* regions = new (std::nothrow) VRegion[static_cast<size_t>(n)];
  if (regions == nullptr) VEXA_RAISE("new", "Out of memory");
  return regions;
}

void VRegionArray::CopyVRegionArray(const VRegionArray& in) {
  if (in.num < 1) {
    EmptyArray();
    elems = nullptr;
    return;
  }
  NormalArray(in.num);
  elems = Allocate(num);
  if (elems == nullptr) return;
  InBracket([&](void* context) {
    for (Vlong i = 0; i < num; ++i) {
      const VRegion& from = in.elems[i];
      if (!from.used || from.key == VKEY_UNDEF) continue;
      Vkey copy = VKEY_UNDEF;
      DBCopyObjectId(context, from.key, &copy);
      elems[i].InitKey(copy);
    }
  });
}

void VRegionArray::DeleteArray() {
  if (elems == nullptr) return;
  InBracket([&](void* context) {
    for (Vlong i = num - 1; i >= 0; --i) {
      VRegion& e = elems[i];
      if (!e.used || e.key == VKEY_UNDEF) continue;
      DBDelObjectId(context, e.key);
      e.used = 0;
    }
  });
  delete[] elems;
}

void VRegionArray::NewLength(Vlong new_alloc, Vlong count) {
  VRegion* grown = Allocate(new_alloc);
  if (grown == nullptr) return;
  for (Vlong i = 0; i < count && elems != nullptr; ++i) {
    if (!elems[i].used) continue;
    grown[i].InitKey(elems[i].key);
    grown[i].rl = nullptr;
    elems[i].used = 0;
  }
  delete[] elems;
  elems = grown;
}

Vobject VRegionArray::ElemId(Vlong i) const { return elems[i].Id(); }

void VRegionArray::Display(const VWindow& w) const {
  region_calls::Check(disp_region(Id(), w.WindowHandle()),
                      "void VRegionArray::Display(const VWindow &w)");
}

void VRegionArray::SetKeys(Vkey* keys, Vlong n, unsigned int* error) {
  *error = VRESULT_OK;
  if (elems != nullptr) DeleteArray();
  SetArray(n, n);
  elems = nullptr;
  if (n < 1 || keys == nullptr) return;
  elems = Allocate(n);
  if (elems == nullptr) return;
  for (Vlong i = 0; i < n; ++i) {
    elems[i].InitKey(keys[i]);
    const int id = TagId(keys[i]);
    if (id != 0 && id != VOBJ_ICONIC) {
      *error = kWrongClassKey;
      DeleteArray();
      EmptyArray();
      elems = nullptr;
      return;
    }
  }
}

void VRegionArray::SetKeys(Vkey* keys, Vlong n) {
  if (elems != nullptr) DeleteArray();
  SetArray(n, n);
  elems = nullptr;
  if (n < 1 || keys == nullptr) return;
  elems = Allocate(n);
  if (elems == nullptr) return;
  for (Vlong i = 0; i < n; ++i) {
    elems[i].InitKey(keys[i]);
    elems[i].CheckMyObjClass();
  }
}

const VRegion& VRegionArray::operator[](Vlong i) const {
  static const VRegion kNone;
  if (i < 0 || i >= num) {
    VEXA_RAISE("VRegion const &VRegionArray::operator [] (Vlong index) const",
               "Index out of range: %lld, range = (0,%lld)",
               static_cast<long long>(i), static_cast<long long>(num));
    return kNone;
  }
  return elems[i];
}

VRegion& VRegionArray::operator[](Vlong i) {
  static VRegion none;
  if (i < 0) {
    VEXA_RAISE("VRegion &VRegionArray::operator [] (Vlong index)",
               "negative Index: %lld", static_cast<long long>(i));
    return none;
  }
  if (i >= num) Extend(i);
  return elems[i];
}

VRegionArray VRegionArray::operator()(Vlong min, Vlong max) const {
  static const char kFunction[] =
      "VRegionArray VRegionArray::operator()(Vlong min, Vlong max)";
  VRegionArray part;
  if (min < 0) {
    VEXA_RAISE(kFunction, "negative Value for Parameter 'min'");
    return part;
  }
  if (max >= num) {
    VEXA_RAISE(kFunction, "Parameter 'max' exceeds number of elements");
    return part;
  }
  if (max < min) {
    VEXA_RAISE(kFunction, "'max' < 'min'");
    return part;
  }
  for (Vlong i = min; i <= max; ++i) part.Append(elems[i]);
  return part;
}

VRegionArray& VRegionArray::Append(const VRegion& r) {
  Extend(num);
  elems[num - 1] = r;
  return *this;
}

VRegionArray& VRegionArray::Append(const VRegionArray& a) {
  if (a.num < 1) return *this;
  const Vlong first = num;
  Extend(num + a.num - 1);
  for (Vlong i = 0; i < a.num; ++i) elems[first + i] = a.elems[i];
  return *this;
}

}  // namespace Vexa

// VImageArray: construction, copies, growth, release, and the hand-over of
// an operator's result keys into elements.
#include <vexaobj/VImageArray.h>

#include <new>

#include <vexaobj/VException.h>
#include <vexaobj/VWindow.h>

#include "control/raise.h"
#include "iconic/db_bracket.h"

namespace Vexa {

using db_bracket::InBracket;
using db_bracket::TagId;

namespace {

// The code SetKeys gives the frame for a result key that is no iconic
// object; the frame reports it as the failure of the call.
constexpr unsigned int kWrongClassKey = 4052;

}  // namespace

VImageArray::VImageArray() : elems(nullptr) {}

VImageArray::VImageArray(Vkey* keys, Vlong n) : VObjectArray(n, 0), elems(nullptr) {
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

VImageArray::VImageArray(const Vobject& obj) : elems(nullptr) {
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
    VEXA_RAISE("VImageArray::VImageArray(const Vobject &obj)",
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
void VImageArray::ReleasingOnThrow(Fill fill) {
  try {
    fill();
  } catch (...) {
    DeleteArray();
    elems = nullptr;
    EmptyArray();
    throw;
  }
}

VImageArray::VImageArray(const VImage& image) : VObjectArray(1, 1), elems(nullptr) {
  elems = Allocate(num_alloc);
  if (elems != nullptr) elems[0] = image;
}

VImageArray::VImageArray(const VImageArray& in) : VObjectArray(), elems(nullptr) {
  CopyVImageArray(in);
}

VImageArray& VImageArray::operator=(const VImageArray& in) {
  if (this == &in) return *this;
  DeleteArray();
  elems = nullptr;
  CopyVImageArray(in);
  return *this;
}

VImageArray::~VImageArray() { DeleteArray(); }

VImage* VImageArray::Allocate(Vlong n) {
  VImage* images = new (std::nothrow) VImage[static_cast<size_t>(n)];
  if (images == nullptr) VEXA_RAISE("new", "Out of memory");
  return images;
}

void VImageArray::CopyVImageArray(const VImageArray& in) {
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
      const VImage& from = in.elems[i];
      if (!from.used || from.key == VKEY_UNDEF) continue;
      Vkey copy = VKEY_UNDEF;
      DBCopyObjectId(context, from.key, &copy);
      elems[i].InitKey(copy);
      // The source element now shares its pixels with the copy.
      from.SetInitial();
    }
  });
}

void VImageArray::DeleteArray() {
  if (elems == nullptr) return;
  InBracket([&](void* context) {
    for (Vlong i = num - 1; i >= 0; --i) {
      VImage& e = elems[i];
      if (!e.used || e.key == VKEY_UNDEF) continue;
      DBDelObjectId(context, e.key);
      e.used = 0;
    }
  });
  delete[] elems;
}

void VImageArray::NewLength(Vlong new_alloc, Vlong count) {
  VImage* grown = Allocate(new_alloc);
  if (grown == nullptr) return;
  for (Vlong i = 0; i < count && elems != nullptr; ++i) {
    if (!elems[i].used) continue;
    grown[i].InitKey(elems[i].key);
    elems[i].used = 0;
  }
  delete[] elems;
  elems = grown;
}

Vobject VImageArray::ElemId(Vlong i) const { return elems[i].Id(); }

void VImageArray::Display(const VWindow& w) const {
  for (Vlong i = 0; i < num; ++i) elems[i].Display(w);
}

template <class Check>
void VImageArray::StoreKeys(Vkey* keys, Vlong n, Check check) {
  if (elems != nullptr) DeleteArray();
  SetArray(n, n);
  elems = nullptr;
  if (n < 1 || keys == nullptr) return;
  elems = Allocate(n);
  if (elems == nullptr) return;
  for (Vlong i = 0; i < n; ++i) {
    elems[i].InitKey(keys[i]);
    if (!check(elems[i], keys[i])) return;
  }
}

void VImageArray::SetKeys(Vkey* keys, Vlong n, unsigned int* error) {
  *error = VRESULT_OK;
  StoreKeys(keys, n, [&](VImage&, Vkey k) {
    const int id = TagId(k);
    if (id == 0 || id == VOBJ_ICONIC) return true;
    *error = kWrongClassKey;
    DeleteArray();
    EmptyArray();
    elems = nullptr;
    return false;
  });
}

void VImageArray::SetKeys(Vkey* keys, Vlong n) {
  StoreKeys(keys, n, [](VImage& e, Vkey) {
    e.CheckMyObjClass();
    return true;
  });
}

const VImage& VImageArray::operator[](Vlong i) const {
  static const VImage kNone;
  if (i < 0 || i >= num) {
    VEXA_RAISE("VImage const &VImageArray::operator [] (Vlong index) const",
               "Index out of range: %lld, range = (0,%lld)",
               static_cast<long long>(i), static_cast<long long>(num));
    return kNone;
  }
  return elems[i];
}

VImage& VImageArray::operator[](Vlong i) {
  static VImage none;
  if (i < 0) {
    VEXA_RAISE("VImage &VImageArray::operator [] (Vlong index)",
               "negative Index: %lld", static_cast<long long>(i));
    return none;
  }
  if (i >= num) Extend(i);
  return elems[i];
}

VImageArray VImageArray::operator()(Vlong min, Vlong max) const {
  static const char kFunction[] =
      "VImageArray VImageArray::operator()(Vlong min, Vlong max)";
  VImageArray part;
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

VImageArray& VImageArray::Append(const VImage& image) {
  Extend(num);
  elems[num - 1] = image;
  return *this;
}

VImageArray& VImageArray::Append(const VImageArray& a) {
  if (a.num < 1) return *this;
  const Vlong first = num;
  Extend(num + a.num - 1);
  for (Vlong i = 0; i < a.num; ++i) elems[first + i] = a.elems[i];
  return *this;
}

}  // namespace Vexa

// VXLDArray: construction, copies, growth, release, the hand-over of an
// operator's result keys into elements, and the fills with class tests that
// the typed arrays share.
#include <vexaobj/VXLDArray.h>

#include <string>

#include <vexaobj/VException.h>
#include <vexaobj/VProcedural.h>
#include <vexaobj/VWindow.h>

#include "control/raise.h"
#include "iconic/db_bracket.h"
#include "iconic/region_calls.h"
#include "iconic/xld_array_storage.h"

namespace Vexa {

using db_bracket::InBracket;
using db_bracket::TagId;

namespace {

// The code SetKeys gives the frame for a result key of the wrong class;
// the frame reports it as the failure of the call.
constexpr unsigned int kWrongClassKey = 4052;

}  // namespace

VXLDArray::VXLDArray() : elems(nullptr) {}

VXLDArray::VXLDArray(Vkey* keys, Vlong n) : elems(nullptr) {
  StoreKeys(keys, n, kAnyXld, "@::@(Vkey *key, Vlong num)");
}

VXLDArray::VXLDArray(const Vobject& obj) : elems(nullptr) {
  StoreObject(obj, kAnyXld, "@::@(const Vobject &obj)");
}

VXLDArray::VXLDArray(const VXLD& x) : elems(nullptr) {
  StoreOne(x, kAnyXld, "@::@(const VXLD &xld)");
}

VXLDArray::VXLDArray(const VXLDArray& in) : VObjectArray(), elems(nullptr) {
  CopyElements(in, kAnyXld, "");
}

VXLDArray& VXLDArray::operator=(const VXLDArray& in) {
  if (this == &in) return *this;
  DeleteArray();
  elems = nullptr;
  CopyElements(in, kAnyXld, "");
  return *this;
}

VXLDArray::~VXLDArray() { DeleteArray(); }

bool VXLDArray::Fits(Vkey key, int id) {
  if (key == nullptr || key == VKEY_UNDEF) return true;
  return id == kAnyXld ? internal::XldTagInRange(key) : TagId(key) == id;
}

template <class Fill>
void VXLDArray::ReleasingOnThrow(Fill fill) {
  try {
    fill();
  } catch (...) {
    DeleteArray();
    elems = nullptr;
    EmptyArray();
    throw;
  }
}

void VXLDArray::Allocate(Vlong count, Vlong capacity) {
  elems = nullptr;
  SetArray(count, capacity);
  NewLength(capacity, 0);
  if (elems == nullptr) EmptyArray();
}

void VXLDArray::StoreKeys(Vkey* keys, Vlong n, int id, const char* function) {
  if (n < 1) return;
  Allocate(n, n);
  if (elems == nullptr) return;
  ReleasingOnThrow([&] {
    for (Vlong i = 0; i < n; ++i) {
      elems[i].InitKey(keys[i]);
      if (!Fits(keys[i], id))
        internal::RaiseWrongXldClass(function, InstClassName());
    }
  });
}

void VXLDArray::StoreObject(const Vobject& obj, int id, const char* function) {
  const Vkey k = obj.Id();
  if (k == VKEY_UNDEF) return;
  const int tag = TagId(k);
  if (tag == VOBJ_ICONIC) {
    // The runtime's generic object: taken as one element as it is.
    SingleArray();
    Allocate(1, num_alloc);
    if (elems == nullptr) return;
    Vkey copy = VKEY_UNDEF;
    InBracket([&](void* context) { DBCopyObjectId(context, k, &copy); });
    elems[0].InitKey(copy);
    return;
  }
  if (tag != VOBJ_TUPLE) {
    internal::RaiseWrongXldClass(function, InstClassName());
    return;
  }
  const Vlong count = static_cast<const VKeyRecordHead*>(k)->tuple_num;
  if (count <= 0) return;
  Allocate(count, count);
  if (elems == nullptr) return;
  ReleasingOnThrow([&] {
    InBracket([&](void* context) {
      Vkey* keys = nullptr;
      Vlong n = 0;
      DBFetchTuple(context, k, &keys, &n);
      for (Vlong i = 0; i < count && i < n; ++i) {
        Vkey copy = VKEY_UNDEF;
        DBCopyObjectId(context, keys[i], &copy);
        elems[i].InitKey(copy);
        if (!Fits(copy, id)) internal::RaiseWrongXldClass(function, InstClassName());
      }
    });
  });
}

void VXLDArray::StoreOne(const VXLD& x, int id, const char* function) {
  if (!Fits(x.Key(), id)) internal::RaiseWrongXldClass(function, InstClassName());
  SingleArray();
  Allocate(1, num_alloc);
  if (elems != nullptr) elems[0] = x;
}

void VXLDArray::CopyElements(const VXLDArray& in, int id, const char* function) {
  if (in.num < 1) {
    EmptyArray();
    elems = nullptr;
    return;
  }
  for (Vlong i = 0; id != kAnyXld && i < in.num; ++i) {
    if (in.elems[i].used && !Fits(in.elems[i].key, id)) {
      internal::RaiseWrongXldClass(function, InstClassName());
      break;
    }
  }
  Allocate(in.num, in.num);
  if (elems == nullptr) return;
  InBracket([&](void* context) {
    for (Vlong i = 0; i < num; ++i) {
      const VXLD& from = in.elems[i];
      if (!from.used || from.key == VKEY_UNDEF) continue;
      Vkey copy = VKEY_UNDEF;
      DBCopyObjectId(context, from.key, &copy);
      elems[i].InitKey(copy);
    }
  });
}

void VXLDArray::TakeKeys(Vkey* keys, Vlong n, int id, unsigned int* error) {
  *error = VRESULT_OK;
  if (elems != nullptr) DeleteArray();
  elems = nullptr;
  EmptyArray();
  if (n < 1 || keys == nullptr) return;
  Allocate(n, n);
  if (elems == nullptr) return;
  for (Vlong i = 0; i < n; ++i) elems[i].InitKey(keys[i]);
  for (Vlong i = 0; i < n; ++i) {
    if (Fits(keys[i], id)) continue;
    // The array took every key: its elements release them.
    *error = kWrongClassKey;
    DeleteArray();
    EmptyArray();
    elems = nullptr;
    return;
  }
}

void VXLDArray::TakeKeys(Vkey* keys, Vlong n, int id, const char* function) {
  if (elems != nullptr) DeleteArray();
  elems = nullptr;
  EmptyArray();
  if (n < 1 || keys == nullptr) return;
  Allocate(n, n);
  if (elems == nullptr) return;
  for (Vlong i = 0; i < n; ++i) elems[i].InitKey(keys[i]);
  for (Vlong i = 0; i < n; ++i) {
    if (!Fits(keys[i], id)) {
      internal::RaiseWrongXldClass(function, InstClassName());
      return;
    }
  }
}

void VXLDArray::DeleteArray() { ReleaseAs<VXLD>(); }

void VXLDArray::NewLength(Vlong new_alloc, Vlong count) { GrowAs<VXLD>(new_alloc, count); }

Vobject VXLDArray::ElemId(Vlong i) const { return elems[i].Id(); }

void VXLDArray::Display(const VWindow& w) const {
  region_calls::Check(disp_xld(Id(), w.WindowHandle()),
                      "void VXLDArray::Display(const VWindow &w)");
}

void VXLDArray::SetKeys(Vkey* keys, Vlong n, unsigned int* error) {
  TakeKeys(keys, n, kAnyXld, error);
}

void VXLDArray::SetKeys(Vkey* keys, Vlong n) {
  TakeKeys(keys, n, kAnyXld, "void @::SetKeys(Vkey *key, Vlong n)");
}

const VXLD& VXLDArray::At(Vlong i, const char* element, const VXLD& none) const {
  if (i < 0 || i >= num) {
    const std::string function = std::string(element) + " const &" + InstClassName() +
                                 "::operator [] (Vlong index) const";
    VEXA_RAISE(function.c_str(), "Index out of range: %lld, range = (0,%lld)",
               static_cast<long long>(i), static_cast<long long>(num));
    return none;
  }
  return elems[i];
}

VXLD& VXLDArray::At(Vlong i, const char* element, VXLD& scratch) {
  if (i < 0) {
    const std::string function =
        std::string(element) + " &" + InstClassName() + "::operator [] (Vlong index)";
    VEXA_RAISE(function.c_str(), "negative Index: %lld", static_cast<long long>(i));
    // The reaction returned: a scratch element takes the write.
    scratch.Reset();
    return scratch;
  }
  if (i >= num) Extend(i);
  return elems[i];
}

void VXLDArray::SliceInto(VXLDArray& part, Vlong min, Vlong max) const {
  const std::string function = std::string(InstClassName()) + " " + InstClassName() +
                               "::operator()(Vlong min, Vlong max)";
  if (min < 0) {
    VEXA_RAISE(function.c_str(), "negative Value for Parameter 'min'");
    return;
  }
  if (max >= num) {
    VEXA_RAISE(function.c_str(), "Parameter 'max' exceeds number of elements");
    return;
  }
  if (max < min) {
    VEXA_RAISE(function.c_str(), "'max' < 'min'");
    return;
  }
  for (Vlong i = min; i <= max; ++i) part.AppendChecked(elems[i], kAnyXld, "");
}

void VXLDArray::AppendChecked(const VXLD& x, int id, const char* function) {
  if (!Fits(x.Key(), id)) internal::RaiseWrongXldClass(function, InstClassName());
  Extend(num);
  elems[num - 1] = x;
}

const VXLD& VXLDArray::operator[](Vlong i) const {
  static const VXLD kNone;
  return At(i, "VXLD", kNone);
}

VXLD& VXLDArray::operator[](Vlong i) {
  static VXLD scratch;
  return At(i, "VXLD", scratch);
}

VXLDArray VXLDArray::operator()(Vlong min, Vlong max) const {
  VXLDArray part;
  SliceInto(part, min, max);
  return part;
}

VXLDArray& VXLDArray::Append(const VXLD& x) {
  AppendChecked(x, kAnyXld, "");
  return *this;
}

VXLDArray& VXLDArray::Append(const VXLDArray& a) {
  // `a` may be this very array: its count and storage change on Extend.
  const Vlong count = a.num;
  if (count < 1) return *this;
  const Vlong first = num;
  Extend(num + count - 1);
  for (Vlong i = 0; i < count; ++i) {
    // Through a temporary handle, so that the element of `a` is read
    // before the target is written.
    const VXLD element(a.elems[i]);
    elems[first + i] = element;
  }
  return *this;
}

}  // namespace Vexa

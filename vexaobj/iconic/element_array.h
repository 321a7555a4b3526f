// The element storage that the region and image arrays share: an array of
// handles, each owning one key of the object database. Construction from
// keys and key tuples, copies, growth, release, the hand-over of an
// operator's result keys, indexing, slicing and appending are the same for
// both; they differ only in the element class, in what a copy does to its
// source element and in what a moved element must forget. `Array` befriends
// this template and has a member `elems` of type `Elem*`.
#ifndef VEXAOBJ_ICONIC_ELEMENT_ARRAY_H
#define VEXAOBJ_ICONIC_ELEMENT_ARRAY_H

#include <functional>
#include <new>
#include <string>

#include <vexaobj/VException.h>

#include "control/raise.h"
#include "iconic/db_bracket.h"

namespace Vexa {
namespace internal {

// The code SetKeys gives the frame for a result key that is no iconic
// object; the frame reports it as the failure of the call.
constexpr unsigned int kWrongClassKey = 4052;

template <class Array, class Elem>
struct ElementArray {
  // `n` default elements; reports "Out of memory" and gives null on failure.
  static Elem* Allocate(Vlong n) {
    Elem* elems = new (std::nothrow) Elem[static_cast<size_t>(n)];
    if (elems == nullptr) VEXA_RAISE("new", "Out of memory");
    return elems;
  }

  // Runs `fill`, which stores keys in the elements while checking them; if
  // a handler throws out of a check, the keys stored so far are released,
  // since the array's destructor will not run for a constructor that
  // throws.
  template <class Fill>
  static void ReleasingOnThrow(Array& a, Fill fill) {
    try {
      fill();
    } catch (...) {
      Release(a);
      a.elems = nullptr;
      a.EmptyArray();
      throw;
    }
  }

  // Takes over `n` keys as they are; each is checked against the class.
  // The count was set by the constructor.
  static void FromKeys(Array& a, Vkey* keys, Vlong n) {
    if (n < 1) return;
    a.elems = Allocate(n);
    if (a.elems == nullptr) return;
    ReleasingOnThrow(a, [&] {
      for (Vlong i = 0; i < n; ++i) {
        a.elems[i].InitKey(keys[i]);
        a.elems[i].CheckMyObjClass();
      }
    });
  }

  // An iconic object becomes one element, a key tuple one element for each
  // of its keys; each element gets a copy of its key.
  static void FromObject(Array& a, const Vobject& obj) {
    using db_bracket::InBracket;
    const Vkey k = obj.Id();
    if (k == VKEY_UNDEF) return;
    const int id = db_bracket::TagId(k);
    if (id == VOBJ_ICONIC) {
      a.SingleArray();
      a.elems = Allocate(a.num_alloc);
      if (a.elems == nullptr) return;
      Vkey copy = VKEY_UNDEF;
      InBracket([&](void* context) { DBCopyObjectId(context, k, &copy); });
      a.elems[0].InitKey(copy);
      return;
    }
    if (id != VOBJ_TUPLE) {
      const std::string function =
          std::string(a.ClassName()) + "::" + a.ClassName() + "(const Vobject &obj)";
      VEXA_RAISE(function.c_str(), "wrong object class passed");
      return;
    }
    const Vlong count = static_cast<const VKeyRecordHead*>(k)->tuple_num;
    if (count <= 0) return;
    ReleasingOnThrow(a, [&] {
      InBracket([&](void* context) {
        Vkey* keys = nullptr;
        Vlong n = 0;
        DBFetchTuple(context, k, &keys, &n);
        a.NormalArray(count);
        a.elems = Allocate(count);
        if (a.elems == nullptr) return;
        for (Vlong i = 0; i < count && i < n; ++i) {
          Vkey copy = VKEY_UNDEF;
          DBCopyObjectId(context, keys[i], &copy);
          a.elems[i].InitKey(copy);
          a.elems[i].CheckMyObjClass();
        }
      });
    });
  }

  // One element, a handle of the same object as `e`.
  static void FromElement(Array& a, const Elem& e) {
    a.elems = Allocate(a.num_alloc);
    if (a.elems != nullptr) a.elems[0] = e;
  }

  // Elements get keys of their own; holes stay holes, the capacity is the
  // source's count. `copied(from)` runs for each source element whose key
  // was copied.
  template <class Copied>
  static void CopyFrom(Array& a, const Array& in, Copied copied) {
    if (in.num < 1) {
      a.EmptyArray();
      a.elems = nullptr;
      return;
    }
    a.NormalArray(in.num);
    a.elems = Allocate(a.num);
    if (a.elems == nullptr) return;
    db_bracket::InBracket([&](void* context) {
      for (Vlong i = 0; i < a.num; ++i) {
        const Elem& from = in.elems[i];
        if (!from.used || from.key == VKEY_UNDEF) continue;
        Vkey copy = VKEY_UNDEF;
        DBCopyObjectId(context, from.key, &copy);
        a.elems[i].InitKey(copy);
        copied(from);
      }
    });
  }

  // Releases the keys of all elements, last first, and frees them; `num`
  // and `elems` are left for the caller to reset.
  static void Release(Array& a) {
    if (a.elems == nullptr) return;
    db_bracket::InBracket([&](void* context) {
      for (Vlong i = a.num - 1; i >= 0; --i) {
        Elem& e = a.elems[i];
        if (!e.used || e.key == VKEY_UNDEF) continue;
        DBDelObjectId(context, e.key);
        e.used = 0;
      }
    });
    delete[] a.elems;
  }

  // New storage of `new_alloc` elements; the first `count` keys move there
  // without a release. `moved(to)` runs for each element that took a key.
  template <class Moved>
  static void Grow(Array& a, Vlong new_alloc, Vlong count, Moved moved) {
    Elem* grown = Allocate(new_alloc);
    if (grown == nullptr) return;
    for (Vlong i = 0; i < count && a.elems != nullptr; ++i) {
      if (!a.elems[i].used) continue;
      grown[i].InitKey(a.elems[i].key);
      moved(grown[i]);
      a.elems[i].used = 0;
    }
    delete[] a.elems;
    a.elems = grown;
  }

  // The keys of an operator's result, for the frame: a key of another
  // class than an iconic object releases all of them and gives the frame
  // kWrongClassKey.
  static void TakeKeys(Array& a, Vkey* keys, Vlong n, unsigned int* error) {
    *error = VRESULT_OK;
    StoreKeys(a, keys, n);
    for (Vlong i = 0; i < n && a.elems != nullptr; ++i) {
      const int id = db_bracket::TagId(keys[i]);
      if (id == 0 || id == VOBJ_ICONIC) continue;
      *error = kWrongClassKey;
      Release(a);
      a.EmptyArray();
      a.elems = nullptr;
      return;
    }
  }

  // The same for the application, with the element class's own check.
  static void TakeKeys(Array& a, Vkey* keys, Vlong n) {
    StoreKeys(a, keys, n);
    for (Vlong i = 0; i < n && a.elems != nullptr; ++i) a.elems[i].CheckMyObjClass();
  }

  static const Elem& At(const Array& a, Vlong i, const char* elem_class) {
    static const Elem kNone;
    if (i < 0 || i >= a.num) {
      const std::string function =
          std::string(elem_class) + " const &" + a.ClassName() + "::operator [] (Vlong index) const";
      VEXA_RAISE(function.c_str(), "Index out of range: %lld, range = (0,%lld)",
                 static_cast<long long>(i), static_cast<long long>(a.num));
      return kNone;
    }
    return a.elems[i];
  }

  // Grows the array when `i` lies beyond its end.
  static Elem& At(Array& a, Vlong i, const char* elem_class) {
    static Elem scratch;
    if (i < 0) {
      const std::string function =
          std::string(elem_class) + " &" + a.ClassName() + "::operator [] (Vlong index)";
      VEXA_RAISE(function.c_str(), "negative Index: %lld", static_cast<long long>(i));
      return scratch;
    }
    if (i >= a.num) a.Extend(i);
    return a.elems[i];
  }

  // Elements `min` to `max`, both included.
  static Array Slice(const Array& a, Vlong min, Vlong max) {
    const std::string function = std::string(a.ClassName()) + " " + a.ClassName() +
                                 "::operator()(Vlong min, Vlong max)";
    Array part;
    if (min < 0) {
      VEXA_RAISE(function.c_str(), "negative Value for Parameter 'min'");
      return part;
    }
    if (max >= a.num) {
      VEXA_RAISE(function.c_str(), "Parameter 'max' exceeds number of elements");
      return part;
    }
    if (max < min) {
      VEXA_RAISE(function.c_str(), "'max' < 'min'");
      return part;
    }
    for (Vlong i = min; i <= max; ++i) part.Append(a.elems[i]);
    return part;
  }

  static void Append(Array& a, const Elem& e) {
    if (Holds(a, &e)) {
      // An element of this very array, which Extend may move: appended
      // through a handle of its own.
      const Elem element(e);
      Append(a, element);
      return;
    }
    a.Extend(a.num);
    a.elems[a.num - 1] = e;
  }

  static void Append(Array& a, const Array& b) {
    // `b` may be this very array: its count and storage change on Extend.
    const Vlong count = b.num;
    if (count < 1) return;
    const Vlong first = a.num;
    a.Extend(a.num + count - 1);
    for (Vlong i = 0; i < count; ++i) {
      // Through a temporary handle, so that the element of `b` is read
      // before the target is written.
      const Elem element(b.elems[i]);
      a.elems[first + i] = element;
    }
  }

 private:
  // Whether `e` lies in the storage of `a`.
  static bool Holds(const Array& a, const Elem* e) {
    const std::less<const Elem*> before;
    return a.elems != nullptr && !before(e, a.elems) && before(e, a.elems + a.num_alloc);
  }

  // Replaces the elements by `n` elements holding `keys` as they are.
  static void StoreKeys(Array& a, Vkey* keys, Vlong n) {
    if (a.elems != nullptr) Release(a);
    a.SetArray(n, n);
    a.elems = nullptr;
    if (n < 1 || keys == nullptr) return;
    a.elems = Allocate(n);
    if (a.elems == nullptr) return;
    for (Vlong i = 0; i < n; ++i) a.elems[i].InitKey(keys[i]);
  }
};

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_ICONIC_ELEMENT_ARRAY_H

// VObject: the handle base of the iconic classes (regions, images, XLD). It
// owns one key of the runtime's object database and adds a cleared state,
// the class check on keys and the virtual operations every iconic class
// shares. The classes derived from it continue its table with their
// operator methods.
//
// States: empty (used 1, key 1), holding (used 1, another key), cleared
// (used 0, key 1). One release for each key made or copied: a handle that
// holds a key releases it when it is destroyed, reset or cleared.
#ifndef VEXAOBJ_VOBJECT_H
#define VEXAOBJ_VOBJECT_H

#include <vexaobj/VBase.h>
#include <vexaobj/Vobject.h>

namespace Vexa {

class VWindow;
namespace internal {
// The element storage of the region and image arrays (library-internal).
template <class Array, class Elem>
struct ElementArray;
}  // namespace internal

class VObject : public VRootObject {
 public:
  VObject();
  // Takes over `key` (0 becoming 1) without a copy.
  explicit VObject(Vkey key);
  // Makes a key of its own for the object of `obj`.
  explicit VObject(const Vobject& obj);
  VObject(const VObject& other);
  // Copies `used` and `key` as plain values: afterwards both handles hold
  // the same key, without a copy in the runtime and without releasing the
  // old one. Derived classes assign by FreeData and CopyVObject instead.
  VObject& operator=(const VObject& other);

  const char* ClassName() const override = 0;
  ~VObject() override;
  // 1 when handles of the class may share one object of the runtime.
  virtual int Shared() const = 0;
  // A new owning Vobject with a key of its own (undefined for key 1).
  virtual Vobject Id() const;
  // The handle's key; it stays the handle's.
  virtual Vkey Key() const;
  virtual const char* VClassName() const;
  // The object's creator as the runtime records it, "none" for key 1. The
  // text lives in one buffer for all handles, valid up to the next call.
  virtual const char* Creator() const;
  virtual const char* InstClassName() const = 0;
  virtual int ClassDBID() const;
  virtual void Display(const VWindow& w) const;
  virtual void Reset();
  // Releases the key held, then takes over `k` (0 becoming 1).
  virtual void SetKey(Vkey k);
  // Takes over `k` (0 becoming 1) without releasing anything.
  virtual void InitKey(Vkey k);

 protected:
  // Releases the key and leaves the handle cleared.
  virtual void FreeData();
  // Makes a key of its own for the object of `in`; the old key of this
  // handle is not released.
  virtual void CopyVObject(const VObject& in);

 public:
  // Reports a key whose object is not of this class.
  virtual void CheckMyObjClass() const;

  int IsCleared() const { return used == 0; }
  void Clear() { FreeData(); }

 protected:
  // Accepts key 0 or 1 and any key whose tag names class `id`.
  void CheckMyObjClass(int id) const;
  void ClearedException(const char* function) const;
  void TestUsed(const char* function) const;

  // The report of a cleared handle, for regions, images and XLD alike.
  static const char kRegionCleared[];

  int used;
  Vkey key;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VOBJECT_H

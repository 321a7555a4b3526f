// Vobject: the key of one object of the runtime's database, the iconic
// argument of the procedural functions. The object itself lives in the
// runtime; the wrapper holds its key and, when `owned`, one reference that
// it releases when it is done with it.
#ifndef VEXAOBJ_VOBJECT_KEY_H
#define VEXAOBJ_VOBJECT_KEY_H

#include <vexaobj/VBase.h>

namespace Vexa {

class Vobject : public VRootObject {
 public:
  // No object. `explicit`, so that a number is never taken for an object.
  explicit Vobject(int owned = 1);
  // Takes `key` as it is, without a copy; 0 becomes 1.
  Vobject(Vkey key, int owned);
  // Makes a further reference in the runtime; the copy always owns it.
  Vobject(const Vobject& other);
  // Releases an owned key, then copies as the copy constructor does;
  // `owned` keeps its value.
  Vobject& operator=(const Vobject& other);

  const char* ClassName() const override { return "Vobject"; }
  ~Vobject() override;

  Vkey Id() const { return key; }
  // Releases an owned key and takes `key` (0 becoming 1) without a copy.
  void AdaptId(Vkey key);
  void Reset();

 private:
  friend unsigned int VcppStoreOO(void* proc, int par, Vobject* obj,
                                  unsigned int err);

  void Delete();
  // Releases the key in the runtime and leaves the wrapper empty.
  void freeData();
  // Fills `key` with a new reference to `source`, or 1.
  void CopyKeyOf(Vkey source);

  Vkey key;
  int owned;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VOBJECT_KEY_H

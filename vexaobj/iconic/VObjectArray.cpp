// VObjectArray: the operations that all iconic arrays share, above all the
// one key that stands for a whole array.
#include <vexaobj/VObjectArray.h>

#include <memory>
#include <new>

#include "control/raise.h"
#include "frame/VCPPUtil.h"

namespace Vexa {

void VObjectArray::Reset() { SetKeys(nullptr, 0); }

Vobject VObjectArray::Id() const {
  std::unique_ptr<Vkey[]> keys(new (std::nothrow) Vkey[num > 0 ? num : 1]);
  if (keys == nullptr) {
    VEXA_RAISE("new", "Out of memory");
    return Vobject(1);
  }
  // A hole keeps its place as the empty object.
  const Vkey empty = CGetKeyName("empty");
  for (Vlong i = 0; i < num; ++i) {
    const Vkey k = Key(i);
    keys[i] = k == VKEY_UNDEF ? empty : k;
  }
  // The tuple takes a reference of its own to every key it holds, so the
  // elements' keys go in as they are: no copies that would need releasing.
  Vkey tuple = VKEY_UNDEF;
  const Vlong n = num;
  frame::RuntimeBracket(
      [&keys, n, &tuple](void* context) {
        return DBStoreTuple(context, keys.get(), n, &tuple);
      },
      __LINE__);
  return Vobject(tuple, 1);
}

}  // namespace Vexa

// Database calls on many keys at once, made inside one bracket of
// VGetVProc and VPutVProc as the runtime requires for keys handled outside
// an operator call, and the class ID of a key.
#ifndef VEXAOBJ_ICONIC_DB_BRACKET_H
#define VEXAOBJ_ICONIC_DB_BRACKET_H

#include <vexa/runtime.h>
#include <vexa/types.h>

namespace Vexa {
namespace db_bracket {

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

// The class ID of a key's tag; 0 for the undefined key, which fits every
// class.
inline int TagId(Vkey key) {
  if (key == nullptr || key == VKEY_UNDEF) return 0;
  return static_cast<const VKeyRecordHead*>(key)->tag - VOBJ_TAG_BASE;
}

}  // namespace db_bracket
}  // namespace Vexa

#endif  // VEXAOBJ_ICONIC_DB_BRACKET_H

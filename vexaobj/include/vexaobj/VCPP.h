// The call frame: the only path by which an operator of the runtime runs.
// A procedural function, a class method and VOperator are each a fixed
// sequence of these calls:
//
//   VcppPreCall                      create the instance
//   VcppStoreIO ..., VcppStoreIC ... inputs, objects first, each only while
//                                    the code so far is 2
//   VcppInitOC ...                   every output control record, always
//   VcppCall                         only if the code so far is 2
//   VcppStoreOO ..., VcppStoreOC ... outputs, always, each fed the code of
//                                    the one before (they release the
//                                    outputs also after a failure)
//   VcppPostCall                     delete the instance, raise or return
//
// `proc` is the instance, `par` the parameter number (objects from 1,
// control values from 0), `err` the code so far. Result codes: 2 is
// success, 0 and 1 pass as no failure, above 2 is a failure.
#ifndef VEXAOBJ_VCPP_H
#define VEXAOBJ_VCPP_H

#include <vexaobj/VBase.h>

namespace Vexa {

class VTuple;
class Vobject;
class VObject;
class VObjectArray;

// Creates an instance of operator `op` and stores `global` (1 for
// procedural functions and VOperator, 0 for class methods) in it. Returns
// only with 2: a failed creation raises and ends the process if the
// handler returns.
unsigned int VcppPreCall(int op, void** proc, unsigned char global);
// Runs the operator; returns its code.
unsigned int VcppCall(void* proc);
// Deletes the instance and decides on the failure: `mode` 1 (class
// methods) raises every code but 2, `mode` 0 (procedural) raises a failure
// only when the runtime's raising flag is set, and returns it otherwise.
unsigned int VcppPostCall(void* proc, unsigned int err, int mode);

// Input control values. They lend the value to the instance without
// copying: a string or tuple must outlive the operator call. Return 2.
unsigned int VcppStoreIC(void* proc, int par, Vlong value);
unsigned int VcppStoreIC(void* proc, int par, double value);
unsigned int VcppStoreIC(void* proc, int par, const char* value);
unsigned int VcppStoreIC(void* proc, int par, const VTuple& value);

// Prepares output control record `par` to be empty.
void VcppInitOC(void* proc, int par);

// Output control values. Every output record goes through exactly one of
// these, whether the call failed or not: it is taken into `out` or
// released. A null `out` only releases. A single-valued output that does
// not hold exactly one value gives 7001 and the marker -1, -1.0 or an
// empty text; one of the wrong type gives 7002. An earlier failure in
// `err` wins.
unsigned int VcppStoreOC(void* proc, int par, Vlong* out, unsigned int err);
unsigned int VcppStoreOC(void* proc, int par, double* out, unsigned int err);
// `out` is a buffer of the caller, large enough for the text.
unsigned int VcppStoreOC(void* proc, int par, char* out, unsigned int err);
// The tuple adopts the record's storage; an `err` of 0 or 1 becomes 2.
unsigned int VcppStoreOC(void* proc, int par, VTuple* out, unsigned int err);

// Input object by key; key 1 reaches the operator as the "empty" object.
unsigned int VcppStoreIO(void* proc, int par, const Vobject& obj);
// Output object: `obj` takes the one key of output `par` (7200 if there is
// not exactly one, 7403 for a null `obj`), or is reset after a failure.
unsigned int VcppStoreOO(void* proc, int par, Vobject* obj, unsigned int err);

// The stores of the handle classes, used by class methods.
// Input object: the handle's key, key 1 as the "empty" object; the runtime
// accepts a single object only.
unsigned int VcppStoreIO(void* proc, int par, const VObject* obj);
// Input array: the elements' keys in order, each key 1 as the "empty"
// object, in a key array that belongs to the instance.
unsigned int VcppStoreIO(void* proc, int par, const VObjectArray* arr);
// Output object: `obj` takes the one key of output `par` by SetKey (an
// empty object when none came back, 7200 for several, 7403 for a null
// `obj`), or is reset after a failure.
unsigned int VcppStoreOO(void* proc, int par, VObject* obj, unsigned int err);
// Output array: `arr` takes all keys of output `par` by SetKeys and
// answers with its code (7403 for a null `arr`), or is reset after a
// failure.
unsigned int VcppStoreOO(void* proc, int par, VObjectArray* arr,
                         unsigned int err);

}  // namespace Vexa

#endif  // VEXAOBJ_VCPP_H

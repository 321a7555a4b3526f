// Tool handles with value semantics. A tool of the runtime (a model, a
// file, a socket, a matrix, a mutex) is known to the application by an
// integer handle. Any number of tool objects may share one handle: they
// share one VToolRef through VToolRefPtr, and the handle is closed exactly
// once, by the destructor of the tool class's VToolRef subclass, when the
// last holder lets go.
//
// The count is a plain integer: tool objects that share a handle are used
// by one thread at a time (the runtime's handle itself may be used from
// many threads).
#ifndef VEXAOBJ_VTOOLBASE_H
#define VEXAOBJ_VTOOLBASE_H

#include <cstdint>

#include <vexaobj/VBase.h>

namespace Vexa {

class VTuple;

class VToolRef {
 public:
  VToolRef() : handle(-1), count(0) {}
  explicit VToolRef(Vlong h) : handle(h), count(0) {}
  VToolRef(const VToolRef&) = default;
  VToolRef& operator=(const VToolRef&) = default;
  // Closes nothing: the subclass of each tool class closes its handle.
  virtual ~VToolRef() = default;

  void SetHandle(Vlong h) { handle = h; }
  operator Vlong() const { return handle; }
  uint32_t GetCount() const { return count; }

  virtual void addref() const { ++count; }
  // True when this was the last reference.
  virtual bool deref() const { return --count == 0; }

 protected:
  Vlong handle;
  mutable uint32_t count;

  friend class VToolBase;
};

class VToolRefPtr {
 public:
  VToolRefPtr() : ref(nullptr) {}
  VToolRefPtr(VToolRef* r) : ref(r) { addref(); }
  VToolRefPtr(const VToolRefPtr& other) : ref(other.ref) { addref(); }
  virtual ~VToolRefPtr() { deref(); }

  virtual VToolRefPtr& operator=(VToolRef* r);
  virtual VToolRefPtr& operator=(const VToolRefPtr& other) { return *this = other.ref; }

  void Reset() { deref(); }
  VToolRef* Ref() const { return ref; }
  VToolRef* operator->() const { return ref; }
  VToolRef& operator*() const { return *ref; }
  explicit operator bool() const { return ref != nullptr; }
  bool operator!() const { return ref == nullptr; }
  bool operator==(const VToolRefPtr& other) const { return ref == other.ref; }
  bool operator!=(const VToolRefPtr& other) const { return ref != other.ref; }
  bool operator==(const VToolRef* r) const { return ref == r; }
  bool operator!=(const VToolRef* r) const { return ref != r; }

 protected:
  void addref() {
    if (ref != nullptr) ref->addref();
  }
  // Releases the reference: the pointer is emptied before the old object
  // is dereferenced, so that a closing destructor which runs operators
  // never sees a half-released pointer.
  void deref();
  // Releases, then stores and counts `r`, with no test for equality.
  void reset(VToolRef* r) {
    deref();
    ref = r;
    addref();
  }

 private:
  VToolRef* ref;
};

class VToolBase {
 public:
  // The release of the empty pointer does nothing.
  VToolBase() { ref_.Reset(); }
  VToolBase(const VToolBase& other) : ref_(other.ref_) {}
  VToolBase& operator=(const VToolBase& other) {
    ref_ = other.ref_;
    return *this;
  }
  virtual ~VToolBase() { Cleanup(); }

  virtual const char* ClassName() const = 0;
  virtual void SetHandle(Vlong handle) = 0;

  Vlong GetHandle() const { return ref_ ? static_cast<Vlong>(*ref_) : -1; }
  operator Vlong() const { return GetHandle(); }
  operator VTuple() const;
  // Tests the pointer only: after InvalidateHandle this stays true.
  bool IsHandleValid() const { return static_cast<bool>(ref_); }
  void Cleanup() { ref_ = static_cast<VToolRef*>(nullptr); }
  // Forgets the handle without closing it, for handles closed some other
  // way: the last holder's destructor then closes nothing.
  void InvalidateHandle() {
    if (ref_) ref_->handle = -1;
  }

 protected:
  // For SetHandle of the tool classes: stores a new reference (closing the
  // old handle if this was its last holder).
  void AdoptRef(VToolRef* r) { ref_ = r; }
  bool HasRef() const { return static_cast<bool>(ref_); }

 private:
  VToolRefPtr ref_;
};

// The frame's stores for tools. The input store passes the handle by
// value (an empty tool passes -1, which the operator refuses); the output
// store hands a single integer value to the tool's SetHandle.
unsigned int VcppStoreIC(void* proc, int par, const VToolBase& tool);
unsigned int VcppStoreOC(void* proc, int par, VToolBase* out, unsigned int err);

}  // namespace Vexa

#endif  // VEXAOBJ_VTOOLBASE_H

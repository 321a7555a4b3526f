// Memory that crosses to the runtime is taken from the runtime's allocator:
// the checked forms, which record source name and line, while the runtime's
// byte VTraceMemory is set, else the plain forms. Use the macros at the end
// so that a call site stays one line and names its own source position.
#ifndef VEXAOBJ_CONTROL_RUNTIME_ALLOC_H
#define VEXAOBJ_CONTROL_RUNTIME_ALLOC_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <vexa/runtime.h>

#include "raise.h"

namespace Vexa {
namespace internal {

// Kind tag of the library's checked allocations.
constexpr int32_t kAllocKind = -112;

// Whether a new block comes zero-filled (the default) or with its bytes as
// they are, for a caller that writes every byte before it is read.
enum class Fill { kZero, kNone };

// Allocates on `instance` (null for none) and returns the runtime's code;
// `*ptr` is null unless the code is success.
inline Vresult RuntimeAllocCode(void* instance, size_t size, const char* file,
                                int32_t line, void** ptr, Fill fill = Fill::kZero) {
  *ptr = nullptr;
  Vresult rc;
  if (fill == Fill::kZero)
    rc = VTraceMemory ? VXAllocMemCheck(instance, size, file, line, kAllocKind, ptr)
                      : VXAlloc(instance, size, ptr);
  else
    rc = VTraceMemory ? VXAllocRawMemCheck(instance, size, file, line, kAllocKind, ptr)
                      : VXAllocRaw(instance, size, ptr);
  if (rc != VRESULT_OK) *ptr = nullptr;
  return rc;
}

// Allocates, or raises the runtime's text under `proc` and returns null.
inline void* RuntimeAlloc(void* instance, size_t size, const char* proc,
                          const char* file, int32_t line, Fill fill = Fill::kZero) {
  void* ptr;
  const Vresult rc = RuntimeAllocCode(instance, size, file, line, &ptr, fill);
  if (rc != VRESULT_OK) RaiseRuntimeText(file, line, proc, rc);
  return ptr;
}

// An array of `count` control values, or null after a raised failure. A
// count whose byte size does not fit is passed on as the largest size, so
// that the runtime refuses it with its own text. Zero-filled entries are
// undefined values, so such an array needs no initialising pass.
template <class Elem>
Elem* RuntimeAllocArray(int64_t count, Fill fill, const char* proc,
                        const char* file, int32_t line) {
  static_assert(VPAR_UNDEF == 0, "an undefined value is all zero bytes");
  const size_t max_count = SIZE_MAX / sizeof(Elem);
  const size_t size = static_cast<uint64_t>(count) > max_count
                          ? SIZE_MAX
                          : static_cast<size_t>(count) * sizeof(Elem);
  return static_cast<Elem*>(RuntimeAlloc(nullptr, size, proc, file, line, fill));
}

// Frees a block of the runtime's allocator; null is accepted.
inline void RuntimeFree(void* instance, void* ptr, const char* file,
                        int32_t line) {
  if (VTraceMemory)
    VXFreeMemCheck(instance, ptr, file, line);
  else
    VXFree(instance, ptr);
}

// A runtime-allocated copy of `text` (strlen + 1 bytes), or null after a
// raised failure.
inline char* RuntimeStrDup(const char* text, const char* proc, const char* file,
                           int32_t line) {
  const size_t length = strlen(text);
  char* copy = static_cast<char*>(RuntimeAlloc(nullptr, length + 1, proc, file, line));
  if (copy != nullptr) {
    memcpy(copy, text, length);
    copy[length] = '\0';
  }
  return copy;
}

}  // namespace internal
}  // namespace Vexa

#define VEXA_STRDUP(text, proc) \
  ::Vexa::internal::RuntimeStrDup(text, proc, __FILE__, __LINE__)
#define VEXA_ALLOC(size, proc) \
  ::Vexa::internal::RuntimeAlloc(nullptr, size, proc, __FILE__, __LINE__)
#define VEXA_FREE(ptr) \
  ::Vexa::internal::RuntimeFree(nullptr, ptr, __FILE__, __LINE__)
// Forms on an operator instance, whose allocations the runtime releases
// with the instance.
#define VEXA_ALLOC_ON(instance, size, proc) \
  ::Vexa::internal::RuntimeAlloc(instance, size, proc, __FILE__, __LINE__)
#define VEXA_ALLOC_CODE_ON(instance, size, ptr) \
  ::Vexa::internal::RuntimeAllocCode(instance, size, __FILE__, __LINE__, ptr)
#define VEXA_FREE_ON(instance, ptr) \
  ::Vexa::internal::RuntimeFree(instance, ptr, __FILE__, __LINE__)

#endif  // VEXAOBJ_CONTROL_RUNTIME_ALLOC_H

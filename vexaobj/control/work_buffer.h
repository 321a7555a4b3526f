// A working text buffer of the string operations: taken from the runtime's
// allocator with at least 1024 usable bytes, grown (never shrunk) for a
// longer text, reused for every element of one call and released at the
// end of the call.
#ifndef VEXAOBJ_CONTROL_WORK_BUFFER_H
#define VEXAOBJ_CONTROL_WORK_BUFFER_H

#include <stddef.h>
#include <string.h>

#include "runtime_alloc.h"

namespace Vexa {
namespace internal {

class WorkBuffer {
 public:
  // `proc` names the operation in the report of a failed allocation.
  explicit WorkBuffer(const char* proc) : proc_(proc) {}
  ~WorkBuffer() { VEXA_FREE(data_); }
  WorkBuffer(const WorkBuffer&) = delete;
  WorkBuffer& operator=(const WorkBuffer&) = delete;

  // Room for `length` bytes and a terminating zero, or null after a raised
  // allocation failure.
  char* Reserve(size_t length) {
    if (data_ != nullptr && length < capacity_) return data_;
    const size_t capacity = length < kInitial ? kInitial + 1 : length + 1;
    char* fresh = static_cast<char*>(VEXA_ALLOC(capacity, proc_));
    if (fresh == nullptr) return nullptr;
    VEXA_FREE(data_);
    data_ = fresh;
    capacity_ = capacity;
    return data_;
  }

  // A copy of `text` in the buffer, or null after a raised failure.
  char* Copy(const char* text) {
    const size_t length = strlen(text);
    char* copy = Reserve(length);
    if (copy != nullptr) memcpy(copy, text, length + 1);
    return copy;
  }

 private:
  static constexpr size_t kInitial = 1024;

  const char* proc_;
  char* data_ = nullptr;
  size_t capacity_ = 0;
};

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_WORK_BUFFER_H

// The runtime's own use of its allocator. Blocks made here are ordinary
// VXAlloc blocks (the interface frees them with VXFree), but they record the
// runtime's source file and line, so a leak report names the place in the
// runtime that made the block.
#pragma once

#include <cstddef>

#include "vexa/types.h"

namespace vexa {

// Allocates `size` bytes; `file` must be a string literal (it is kept).
Vresult AllocBlock(size_t size, const char* file, int line, void** ptr);

// Frees a block made by AllocBlock or either VXAlloc form; null is fine.
Vresult FreeBlock(void* ptr);

}  // namespace vexa

#define VEXA_ALLOC(size, pptr) \
  ::vexa::AllocBlock((size), __FILE__, __LINE__, reinterpret_cast<void**>(pptr))

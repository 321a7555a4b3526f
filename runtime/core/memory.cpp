// The runtime's allocator: VXAlloc/VXFree and their checked forms, and
// VXAllocRaw, whose bytes are not cleared.
//
// Every block carries a header in front of the caller's bytes. Its magic
// (mixed with the header's own address, so that a stale copy elsewhere does
// not pass) lets a free recognise a pointer that did not come from here and
// answer VERR_MEM_FREE instead of corrupting the heap; the magic is wiped
// on free, so a second free of the same block is refused as well as long as
// its memory has not been handed out again.
//
// While the byte VTraceMemory is set at allocation time, the block is also
// linked into a list of live blocks with the file and line it was made at;
// any free unlinks it. The list is what VMemTraceReport prints, so a test
// can show which call leaked.
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "memory.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

unsigned char VTraceMemory = 0;

namespace {

char g_empty_text[1] = {0};

struct alignas(16) BlockHeader {
  uint64_t magic;
  size_t size;
  BlockHeader* prev;  // live list, while traced
  BlockHeader* next;
  const char* file;   // null for the unchecked form
  int32_t line;
  int32_t traced;
};
static_assert(sizeof(BlockHeader) % 16 == 0,
              "the caller's bytes must keep malloc's 16-byte alignment");

constexpr uint64_t kBlockMagic = 0x5645584142304c4bULL;
// Anything beyond this is a caller's arithmetic error, not a real request.
constexpr size_t kMaxBlockSize = size_t(1) << 40;

uint64_t MagicFor(const BlockHeader* h) {
  return kBlockMagic ^ static_cast<uint64_t>(reinterpret_cast<uintptr_t>(h));
}

struct TraceList {
  std::mutex mu;
  BlockHeader* head = nullptr;
  Vlong live = 0;
};

// Never destroyed: blocks may be freed by static destructors of users.
TraceList& Trace() {
  static TraceList* list = new TraceList();
  return *list;
}

std::atomic<Vlong> g_alloc_count{0};

void Link(BlockHeader* h) {
  TraceList& t = Trace();
  std::lock_guard<std::mutex> lock(t.mu);
  h->prev = nullptr;
  h->next = t.head;
  if (t.head) t.head->prev = h;
  t.head = h;
  ++t.live;
}

void Unlink(BlockHeader* h) {
  TraceList& t = Trace();
  std::lock_guard<std::mutex> lock(t.mu);
  if (h->prev) h->prev->next = h->next; else t.head = h->next;
  if (h->next) h->next->prev = h->prev;
  --t.live;
}

// Header of a block handed out here, or null for a foreign pointer.
BlockHeader* HeaderOf(void* ptr) {
  if (reinterpret_cast<uintptr_t>(ptr) % alignof(BlockHeader) != 0) return nullptr;
  BlockHeader* h = static_cast<BlockHeader*>(ptr) - 1;
  return h->magic == MagicFor(h) ? h : nullptr;
}

}  // namespace

char* s_default = g_empty_text;

namespace vexa {

namespace {

// A block of `size` caller's bytes, zero-filled when `cleared`.
Vresult NewBlock(size_t size, const char* file, int line, bool cleared, void** ptr) {
  if (!ptr) return VERR_INTERNAL;
  *ptr = nullptr;
  if (size > kMaxBlockSize) return VERR_TOO_LARGE;
  // Zero-filled: an array of control values is then all undefined values
  // at no extra cost, as large blocks come as fresh zero pages. A reused
  // heap block is cleared byte by byte, though, which is why callers that
  // write every byte themselves take the uncleared form.
  const size_t total = sizeof(BlockHeader) + size;
  auto* h = static_cast<BlockHeader*>(cleared ? std::calloc(1, total) : std::malloc(total));
  if (!h) return VERR_OUT_OF_MEMORY;
  h->magic = MagicFor(h);
  h->size = size;
  h->file = file;
  h->line = line;
  h->traced = VTraceMemory != 0;
  h->prev = h->next = nullptr;
  if (h->traced) Link(h);
  g_alloc_count.fetch_add(1, std::memory_order_relaxed);
  *ptr = h + 1;
  return VRESULT_OK;
}

}  // namespace

Vresult AllocBlock(size_t size, const char* file, int line, void** ptr) {
  return NewBlock(size, file, line, true, ptr);
}

Vresult FreeBlock(void* ptr) {
  if (!ptr) return VRESULT_OK;
  BlockHeader* h = HeaderOf(ptr);
  if (!h) return VERR_MEM_FREE;
  if (h->traced) Unlink(h);
  h->magic = 0;
  std::free(h);
  return VRESULT_OK;
}

}  // namespace vexa

extern "C" {

Vresult VXAlloc(void* proc, size_t size, void** ptr) {
  return vexa::AllocBlock(size, nullptr, 0, ptr);
}

Vresult VXAllocMemCheck(void* proc, size_t size, const char* file,
                        int32_t line, int32_t kind, void** ptr) {
  return vexa::AllocBlock(size, file ? file : "(no file)", line, ptr);
}

Vresult VXAllocRaw(void* proc, size_t size, void** ptr) {
  return vexa::NewBlock(size, nullptr, 0, false, ptr);
}

Vresult VXAllocRawMemCheck(void* proc, size_t size, const char* file,
                           int32_t line, int32_t kind, void** ptr) {
  return vexa::NewBlock(size, file ? file : "(no file)", line, false, ptr);
}

Vresult VXFree(void* proc, void* ptr) { return vexa::FreeBlock(ptr); }

Vresult VXFreeMemCheck(void* proc, void* ptr, const char* file, int32_t line) {
  return vexa::FreeBlock(ptr);
}

Vlong VMemTraceLiveCount(void) {
  TraceList& t = Trace();
  std::lock_guard<std::mutex> lock(t.mu);
  return t.live;
}

Vlong VMemTraceReport(char* buffer, size_t size) {
  TraceList& t = Trace();
  std::lock_guard<std::mutex> lock(t.mu);
  size_t used = 0;
  if (buffer && size > 0) buffer[0] = 0;
  for (BlockHeader* h = t.head; h && buffer && used + 1 < size; h = h->next) {
    int n = h->file ? std::snprintf(buffer + used, size - used, "%s:%d %zu\n",
                                    h->file, h->line, h->size)
                    : std::snprintf(buffer + used, size - used,
                                    "(unchecked) %zu\n", h->size);
    if (n < 0) break;
    used += static_cast<size_t>(n);  // snprintf truncated and terminated
  }
  return t.live;
}

Vlong VMemTraceAllocCount(void) {
  return g_alloc_count.load(std::memory_order_relaxed);
}

}  // extern "C"

// Row kernels of the streaming edge filters, compiled for AVX-512, for AVX2
// and for the baseline. Kernels of float arithmetic also carry
// VEXA_NO_CONTRACT: no form fuses multiply and add (AVX-512 would), so all
// round alike and results do not depend on the processor. Loops over a
// row run in chunks of kChunk with a constant trip count, which the
// compiler vectorises at -O2, and finish the remainder one by one.
#pragma once

// Not under ThreadSanitizer: the loader runs the clones' resolvers while
// it relocates the library, before the sanitizer's runtime is ready, and
// the instrumented resolvers crash there.
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__)) && \
    !defined(__SANITIZE_THREAD__)
#define VEXA_ROW_CLONES \
  __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#else
#define VEXA_ROW_CLONES
#endif
// GCC: only on the kernels themselves, since it does not inline callees
// compiled with other optimisation options into them. Clang takes the
// setting for the whole file of kernels that includes this header.
#if defined(__clang__)
#pragma clang fp contract(off)
#define VEXA_NO_CONTRACT
#elif defined(__GNUC__)
#define VEXA_NO_CONTRACT __attribute__((optimize("fp-contract=off")))
#else
#define VEXA_NO_CONTRACT
#endif

namespace vexa {

constexpr int kChunk = 16;

// fn(i) for i < n, in chunks of kChunk.
template <class Fn>
inline void ForChunks(int n, Fn&& fn) {
  int i = 0;
  for (; i + kChunk <= n; i += kChunk)
    for (int k = 0; k < kChunk; ++k) fn(i + k);
  for (; i < n; ++i) fn(i);
}

}  // namespace vexa

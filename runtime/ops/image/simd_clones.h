// Marks a function of plain pixel loops to be compiled three times, for
// AVX-512, for AVX2 and for the baseline instruction set; the loader picks
// the form the processor runs. The image arithmetic of bytes is bound by
// how many pixels one instruction handles, so the wider forms pay off,
// while the library itself stays built for the baseline.
#pragma once

// Not under ThreadSanitizer: the loader runs the clones' resolvers while
// it relocates the library, before the sanitizer's runtime is ready, and
// the instrumented resolvers crash there.
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__)) && \
    !defined(__SANITIZE_THREAD__)
#define VEXA_SIMD_CLONES __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#else
#define VEXA_SIMD_CLONES
#endif

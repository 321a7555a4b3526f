// Random numbers and time for the interface's tuple functions. The
// generator is the 48-bit linear congruential one of drand48, so a seeded
// sequence is the same on every platform; one state for the process,
// guarded by a mutex.
#include <ctime>
#include <mutex>

#include "vexa/runtime.h"

namespace {

constexpr uint64_t kMultiplier = 0x5DEECE66DULL;
constexpr uint64_t kIncrement = 0xB;
constexpr uint64_t kMask48 = (uint64_t(1) << 48) - 1;
constexpr uint64_t kLowBits = 0x330E;  // the low 16 bits a seed is completed with

std::mutex g_mu;
uint64_t g_state = 0x1234ABCD330EULL;  // drand48's state before any seed

}  // namespace

extern "C" {

double VDrand48(void) {
  std::lock_guard<std::mutex> lock(g_mu);
  g_state = (kMultiplier * g_state + kIncrement) & kMask48;
  return static_cast<double>(g_state) / static_cast<double>(uint64_t(1) << 48);
}

void VSrand48(long seed) {
  std::lock_guard<std::mutex> lock(g_mu);
  g_state = ((static_cast<uint64_t>(seed) & 0xFFFFFFFFULL) << 16) | kLowBits;
}

Vlong Vtime(void) { return static_cast<Vlong>(std::time(nullptr)); }

}  // extern "C"

// The end of a wait: never, or a point on the steady clock. Waits longer
// than a year count as never, which also keeps huge values from
// overflowing the clock.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace vexa {

class Deadline {
 public:
  static Deadline Never() { return Deadline(); }
  static Deadline After(double seconds) {
    Deadline d;
    if (seconds < kForever) {
      d.finite_ = true;
      d.at_ = std::chrono::steady_clock::now() +
              std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                  std::chrono::duration<double>(seconds));
    }
    return d;
  }

  // Waits on `cv` until `done()` holds or the deadline passes; answers
  // done() at the end.
  template <class Pred>
  bool Wait(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, Pred done) const {
    if (!finite_) {
      cv.wait(lock, done);
      return true;
    }
    return cv.wait_until(lock, at_, done);
  }

 private:
  static constexpr double kForever = 365.0 * 24 * 3600;
  bool finite_ = false;
  std::chrono::steady_clock::time_point at_;
};

}  // namespace vexa

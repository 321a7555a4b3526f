// The synchronisation tools behind mutex, event, condition and barrier
// handles. Each keeps its own state under an internal std::mutex, so the
// rules (who owns a mutex, how many signals an event holds) are checked
// by the runtime instead of being undefined behaviour. Closing a tool
// wakes every thread blocked in it with VERR_HANDLE_CLOSED.
#pragma once

#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>

#include "handle_registry.h"
#include "ops/sync/deadline.h"

namespace vexa {

class SyncMutex : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kMutex;
  explicit SyncMutex(bool recursive) : recursive_(recursive) {}

  // Blocks until the calling thread owns the mutex. A thread that holds a
  // non-recursive mutex and locks it again gets VERR_DEADLOCK instead of
  // hanging for ever.
  Vresult Lock();
  Vresult TryLock(bool* busy);
  // VERR_NOT_OWNER when the calling thread does not hold the mutex.
  Vresult Unlock();
  // For condition waits: gives up every level the calling thread holds,
  // and takes them again afterwards.
  Vresult ReleaseAll(int* depth);
  Vresult Reacquire(int depth);
  void Close() override;

 private:
  const bool recursive_;
  std::mutex m_;
  std::condition_variable free_;
  std::thread::id owner_;
  int depth_ = 0;
  bool closed_ = false;
};

// A counting event: signal adds one, wait takes one.
class SyncEvent : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kEvent;
  void Signal();
  Vresult Wait();
  void TryWait(bool* busy);
  void Close() override;

 private:
  std::mutex m_;
  std::condition_variable signalled_;
  Vlong count_ = 0;
  bool closed_ = false;
};

// A condition: signal wakes the longest waiting thread, broadcast all that
// wait at that moment. A signal with no waiter is lost, as with any
// condition variable.
class SyncCondition : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kCondition;
  // The calling thread must hold `mutex`; it is given up while waiting and
  // held again on return, also on a timeout.
  Vresult Wait(SyncMutex& mutex, const Deadline& deadline);
  void Signal();
  void Broadcast();
  void Close() override;

 private:
  struct Waiter {
    bool woken = false;
  };
  std::mutex m_;
  std::condition_variable wake_;
  std::list<Waiter*> waiters_;
  bool closed_ = false;
};

// A barrier for a team of a fixed size: the team's threads wait until all
// have arrived, then the barrier is ready for the next round.
class SyncBarrier : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kBarrier;
  explicit SyncBarrier(Vlong team_size) : team_size_(team_size) {}
  Vresult Wait();
  void Close() override;

 private:
  const Vlong team_size_;
  std::mutex m_;
  std::condition_variable all_arrived_;
  Vlong arrived_ = 0;
  Vlong round_ = 0;
  bool closed_ = false;
};

}  // namespace vexa

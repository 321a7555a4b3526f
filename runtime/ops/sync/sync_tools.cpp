#include "ops/sync/sync_tools.h"

#include <algorithm>

namespace vexa {

// ---- SyncMutex ------------------------------------------------------------

Vresult SyncMutex::Lock() {
  std::unique_lock<std::mutex> lock(m_);
  const std::thread::id me = std::this_thread::get_id();
  if (depth_ > 0 && owner_ == me) {
    if (!recursive_) return VERR_DEADLOCK;
    ++depth_;
    return VRESULT_OK;
  }
  free_.wait(lock, [&] { return depth_ == 0 || closed_; });
  if (closed_) return VERR_HANDLE_CLOSED;
  owner_ = me;
  depth_ = 1;
  return VRESULT_OK;
}

Vresult SyncMutex::TryLock(bool* busy) {
  std::lock_guard<std::mutex> lock(m_);
  const std::thread::id me = std::this_thread::get_id();
  if (closed_) return VERR_HANDLE_CLOSED;
  if (depth_ == 0 || (recursive_ && owner_ == me)) {
    owner_ = me;
    ++depth_;
    *busy = false;
  } else {
    *busy = true;
  }
  return VRESULT_OK;
}

Vresult SyncMutex::Unlock() {
  std::lock_guard<std::mutex> lock(m_);
  if (depth_ == 0 || owner_ != std::this_thread::get_id()) return VERR_NOT_OWNER;
  if (--depth_ == 0) {
    owner_ = std::thread::id();
    free_.notify_one();
  }
  return VRESULT_OK;
}

Vresult SyncMutex::ReleaseAll(int* depth) {
  std::lock_guard<std::mutex> lock(m_);
  if (depth_ == 0 || owner_ != std::this_thread::get_id()) return VERR_NOT_OWNER;
  *depth = depth_;
  depth_ = 0;
  owner_ = std::thread::id();
  free_.notify_one();
  return VRESULT_OK;
}

Vresult SyncMutex::Reacquire(int depth) {
  std::unique_lock<std::mutex> lock(m_);
  free_.wait(lock, [&] { return depth_ == 0 || closed_; });
  if (closed_) return VERR_HANDLE_CLOSED;
  owner_ = std::this_thread::get_id();
  depth_ = depth;
  return VRESULT_OK;
}

void SyncMutex::Close() {
  std::lock_guard<std::mutex> lock(m_);
  closed_ = true;
  free_.notify_all();
}

// ---- SyncEvent ------------------------------------------------------------

void SyncEvent::Signal() {
  std::lock_guard<std::mutex> lock(m_);
  ++count_;
  signalled_.notify_one();
}

Vresult SyncEvent::Wait() {
  std::unique_lock<std::mutex> lock(m_);
  signalled_.wait(lock, [&] { return count_ > 0 || closed_; });
  if (count_ == 0) return VERR_HANDLE_CLOSED;
  --count_;
  return VRESULT_OK;
}

void SyncEvent::TryWait(bool* busy) {
  std::lock_guard<std::mutex> lock(m_);
  *busy = count_ == 0;
  if (!*busy) --count_;
}

void SyncEvent::Close() {
  std::lock_guard<std::mutex> lock(m_);
  closed_ = true;
  signalled_.notify_all();
}

// ---- SyncCondition --------------------------------------------------------

Vresult SyncCondition::Wait(SyncMutex& mutex, const Deadline& deadline) {
  std::unique_lock<std::mutex> lock(m_);
  if (closed_) return VERR_HANDLE_CLOSED;
  // The mutex is given up under m_, so a signal sent by a thread that took
  // the mutex after us finds us among the waiters.
  int depth = 0;
  Vresult rc = mutex.ReleaseAll(&depth);
  if (rc != VRESULT_OK) return rc;
  Waiter me;
  waiters_.push_back(&me);
  deadline.Wait(wake_, lock, [&] { return me.woken || closed_; });
  if (!me.woken) waiters_.remove(&me);
  const bool woken = me.woken;
  const bool closed = closed_;
  lock.unlock();
  rc = mutex.Reacquire(depth);
  if (rc != VRESULT_OK) return rc;
  if (woken) return VRESULT_OK;
  return closed ? VERR_HANDLE_CLOSED : VERR_TIMEOUT;
}

void SyncCondition::Signal() {
  std::lock_guard<std::mutex> lock(m_);
  if (waiters_.empty()) return;
  waiters_.front()->woken = true;
  waiters_.pop_front();
  wake_.notify_all();
}

void SyncCondition::Broadcast() {
  std::lock_guard<std::mutex> lock(m_);
  for (Waiter* w : waiters_) w->woken = true;
  waiters_.clear();
  wake_.notify_all();
}

void SyncCondition::Close() {
  std::lock_guard<std::mutex> lock(m_);
  closed_ = true;
  wake_.notify_all();
}

// ---- SyncBarrier ----------------------------------------------------------

Vresult SyncBarrier::Wait() {
  std::unique_lock<std::mutex> lock(m_);
  if (closed_) return VERR_HANDLE_CLOSED;
  const Vlong round = round_;
  if (++arrived_ == team_size_) {
    arrived_ = 0;
    ++round_;
    all_arrived_.notify_all();
    return VRESULT_OK;
  }
  all_arrived_.wait(lock, [&] { return round_ != round || closed_; });
  return round_ != round ? VRESULT_OK : VERR_HANDLE_CLOSED;
}

void SyncBarrier::Close() {
  std::lock_guard<std::mutex> lock(m_);
  closed_ = true;
  all_arrived_.notify_all();
}

}  // namespace vexa

// Mutexes, events, conditions and barriers used by real threads: mutual
// exclusion under contention, counted signals, condition waits with a
// predicate and with a timeout, barrier rounds, the refusals (unlock by a
// stranger, relocking a held mutex), and waiters woken when another
// thread clears the tool they wait on.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <vexaobj.h>

#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

class SyncThreadTest : public LeakCheckedTest {};

constexpr int kThreads = 8;

Vlong NewMutex(const char* type = nullptr) {
  Vlong h = -1;
  const VTuple name = type ? VTuple("mutex_type") : VTuple();
  const VTuple value = type ? VTuple(type) : VTuple();
  EXPECT_EQ(create_mutex(name, value, &h), VRESULT_OK);
  return h;
}

TEST_F(SyncThreadTest, MutexStressKeepsAnUnprotectedCounterExact) {
  const Vlong mutex = NewMutex();
  long counter = 0;  // deliberately plain: only the mutex protects it
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        ASSERT_EQ(lock_mutex(mutex), VRESULT_OK);
        const long seen = counter;
        counter = seen + 1;
        ASSERT_EQ(unlock_mutex(mutex), VRESULT_OK);
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(counter, kThreads * 2000);
  EXPECT_EQ(clear_mutex(mutex), VRESULT_OK);
}

TEST_F(SyncThreadTest, MutexOwnershipRulesAcrossThreads) {
  const Vlong plain = NewMutex("sleep");
  const Vlong recursive = NewMutex("recursive");
  Vlong busy = -1;
  ASSERT_EQ(lock_mutex(plain), VRESULT_OK);
  EXPECT_EQ(lock_mutex(plain), VERR_DEADLOCK);
  std::thread([&] {
    Vlong b = -1;
    EXPECT_EQ(try_lock_mutex(plain, &b), VRESULT_OK);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(unlock_mutex(plain), VERR_NOT_OWNER);
  }).join();
  EXPECT_EQ(unlock_mutex(plain), VRESULT_OK);
  EXPECT_EQ(unlock_mutex(plain), VERR_NOT_OWNER);

  ASSERT_EQ(lock_mutex(recursive), VRESULT_OK);
  ASSERT_EQ(try_lock_mutex(recursive, &busy), VRESULT_OK);
  EXPECT_EQ(busy, 0);
  EXPECT_EQ(unlock_mutex(recursive), VRESULT_OK);
  std::thread([&] {  // still held once by the main thread
    Vlong b = -1;
    EXPECT_EQ(try_lock_mutex(recursive, &b), VRESULT_OK);
    EXPECT_EQ(b, 1);
  }).join();
  EXPECT_EQ(unlock_mutex(recursive), VRESULT_OK);

  Vlong h = -1;
  EXPECT_EQ(create_mutex(VTuple("mutex_type"), VTuple("spin"), &h), VERR_CTRL_VALUE(1));
  EXPECT_EQ(create_mutex(VTuple("colour"), VTuple("red"), &h), VERR_CTRL_VALUE(0));
  EXPECT_EQ(create_mutex(VTuple("mutex_type"), VTuple(), &h), VERR_CTRL_NUM(1));
  EXPECT_EQ(clear_mutex(plain), VRESULT_OK);
  EXPECT_EQ(clear_mutex(recursive), VRESULT_OK);
}

TEST_F(SyncThreadTest, EventCountsSignalsAcrossThreads) {
  Vlong event = -1, busy = -1;
  ASSERT_EQ(create_event(VTuple(), VTuple(), &event), VRESULT_OK);
  EXPECT_EQ(try_wait_event(event, &busy), VRESULT_OK);
  EXPECT_EQ(busy, 1);
  std::atomic<int> taken{0};
  std::vector<std::thread> waiters;
  for (int t = 0; t < kThreads; ++t) {
    waiters.emplace_back([&] {
      EXPECT_EQ(wait_event(event), VRESULT_OK);
      ++taken;
    });
  }
  for (int t = 0; t < kThreads + 2; ++t) EXPECT_EQ(signal_event(event), VRESULT_OK);
  for (auto& t : waiters) t.join();
  EXPECT_EQ(taken, kThreads);
  for (int left : {0, 0, 1}) {  // two signals remain, then none
    EXPECT_EQ(try_wait_event(event, &busy), VRESULT_OK);
    EXPECT_EQ(busy, left);
  }
  EXPECT_EQ(clear_event(event), VRESULT_OK);
}

TEST_F(SyncThreadTest, ConditionWakesWaitersThatRecheckTheirPredicate) {
  const Vlong mutex = NewMutex();
  Vlong cond = -1;
  ASSERT_EQ(create_condition(VTuple(), VTuple(), &cond), VRESULT_OK);
  int ready = 0, woke = 0;  // both under the mutex
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      ASSERT_EQ(lock_mutex(mutex), VRESULT_OK);
      while (ready == 0) ASSERT_EQ(wait_condition(cond, mutex), VRESULT_OK);
      ++woke;
      ASSERT_EQ(unlock_mutex(mutex), VRESULT_OK);
    });
  }
  ASSERT_EQ(lock_mutex(mutex), VRESULT_OK);
  ready = 1;
  ASSERT_EQ(broadcast_condition(cond), VRESULT_OK);
  ASSERT_EQ(unlock_mutex(mutex), VRESULT_OK);
  for (auto& t : threads) t.join();
  EXPECT_EQ(woke, kThreads);

  // Signal with nobody waiting is lost; a timed wait then times out and
  // still returns holding the mutex.
  EXPECT_EQ(signal_condition(cond), VRESULT_OK);
  ASSERT_EQ(lock_mutex(mutex), VRESULT_OK);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(timed_wait_condition(cond, mutex, 50000), VERR_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(45));
  EXPECT_EQ(unlock_mutex(mutex), VRESULT_OK);
  EXPECT_EQ(wait_condition(cond, mutex), VERR_NOT_OWNER);
  EXPECT_EQ(timed_wait_condition(cond, mutex, -1), VERR_CTRL_VALUE(2));
  EXPECT_EQ(clear_condition(cond), VRESULT_OK);
  EXPECT_EQ(clear_mutex(mutex), VRESULT_OK);
}

TEST_F(SyncThreadTest, BarrierReleasesEachRoundOnlyWhenTheTeamIsComplete) {
  Vlong barrier = -1;
  ASSERT_EQ(create_barrier(VTuple(), VTuple(), VTuple(Vlong{kThreads}), &barrier), VRESULT_OK);
  std::atomic<int> arrived{0};
  std::atomic<bool> early{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int round = 1; round <= 5; ++round) {
        ++arrived;
        ASSERT_EQ(wait_barrier(barrier), VRESULT_OK);
        if (arrived < round * kThreads) early = true;
        ASSERT_EQ(wait_barrier(barrier), VRESULT_OK);  // nobody starts the next round early
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_FALSE(early);
  EXPECT_EQ(clear_barrier(barrier), VRESULT_OK);
  EXPECT_EQ(create_barrier(VTuple(), VTuple(), VTuple(Vlong{0}), &barrier), VERR_CTRL_VALUE(2));
}

TEST_F(SyncThreadTest, ClearingAToolFromAnotherThreadWakesItsWaiters) {
  Vlong event = -1, barrier = -1, cond = -1;
  const Vlong mutex = NewMutex();
  ASSERT_EQ(create_event(VTuple(), VTuple(), &event), VRESULT_OK);
  ASSERT_EQ(create_barrier(VTuple(), VTuple(), VTuple(Vlong{2}), &barrier), VRESULT_OK);
  ASSERT_EQ(create_condition(VTuple(), VTuple(), &cond), VRESULT_OK);
  std::thread e([&] { EXPECT_EQ(wait_event(event), VERR_HANDLE_CLOSED); });
  std::thread b([&] { EXPECT_EQ(wait_barrier(barrier), VERR_HANDLE_CLOSED); });
  std::thread c([&] {
    ASSERT_EQ(lock_mutex(mutex), VRESULT_OK);
    EXPECT_EQ(wait_condition(cond, mutex), VERR_HANDLE_CLOSED);
    EXPECT_EQ(unlock_mutex(mutex), VRESULT_OK);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(clear_event(event), VRESULT_OK);
  EXPECT_EQ(clear_barrier(barrier), VRESULT_OK);
  EXPECT_EQ(clear_condition(cond), VRESULT_OK);
  e.join();
  b.join();
  c.join();
  EXPECT_EQ(clear_mutex(mutex), VRESULT_OK);
}

}  // namespace

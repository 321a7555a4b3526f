// Tool handles: values never given twice, refusal of unknown, closed and
// foreign handles with their own codes, and tools that stay alive while an
// operator still uses them after another thread closed the handle.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <thread>
#include <vector>

#include <vexaobj.h>

#include "handle_registry.h"
#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

class HandlesTest : public LeakCheckedTest {};

struct Probe : vexa::Tool {
  static constexpr vexa::ToolKind kKind = vexa::ToolKind::kMatrix;
  bool* closed;
  explicit Probe(bool* c) : closed(c) {}
  void Close() override { *closed = true; }
};

TEST_F(HandlesTest, HandlesAreNeverReusedAndStrayValuesNameNothing) {
  std::set<Vlong> seen;
  for (int i = 0; i < 50; ++i) {
    Vlong mutex = -1;
    ASSERT_EQ(create_mutex(VTuple(), VTuple(), &mutex), VRESULT_OK);
    EXPECT_TRUE(seen.insert(mutex).second) << "handle given twice: " << mutex;
    ASSERT_EQ(clear_mutex(mutex), VRESULT_OK);
  }
  for (Vlong stray : {Vlong{-1}, Vlong{0}, Vlong{1}, Vlong{1} << 62, *seen.rbegin() + 1000})
    EXPECT_EQ(lock_mutex(stray), VERR_HANDLE_INVALID) << stray;
}

TEST_F(HandlesTest, ClosedAndForeignHandlesAreRefusedWithTheirOwnCodes) {
  Vlong mutex = -1, event = -1;
  ASSERT_EQ(create_mutex(VTuple(), VTuple(), &mutex), VRESULT_OK);
  ASSERT_EQ(create_event(VTuple(), VTuple(), &event), VRESULT_OK);
  EXPECT_EQ(signal_event(mutex), VERR_HANDLE_TYPE);
  EXPECT_EQ(lock_mutex(event), VERR_HANDLE_TYPE);
  EXPECT_EQ(clear_event(mutex), VERR_HANDLE_TYPE);  // a wrong clear closes nothing
  EXPECT_EQ(lock_mutex(mutex), VRESULT_OK);
  EXPECT_EQ(unlock_mutex(mutex), VRESULT_OK);

  ASSERT_EQ(clear_mutex(mutex), VRESULT_OK);
  EXPECT_EQ(lock_mutex(mutex), VERR_HANDLE_CLOSED);
  EXPECT_EQ(clear_mutex(mutex), VERR_HANDLE_CLOSED);
  EXPECT_EQ(signal_event(mutex), VERR_HANDLE_CLOSED);

  EXPECT_EQ(lock_mutex(VTuple("a")), VERR_CTRL_TYPE(0));
  EXPECT_EQ(lock_mutex(VTuple()), VERR_CTRL_NUM(0));
  ASSERT_EQ(clear_event(event), VRESULT_OK);
}

TEST_F(HandlesTest, ClearAllClosesOnlyItsOwnKind) {
  Vlong m1 = -1, m2 = -1, event = -1;
  ASSERT_EQ(create_mutex(VTuple(), VTuple(), &m1), VRESULT_OK);
  ASSERT_EQ(create_mutex(VTuple(), VTuple(), &m2), VRESULT_OK);
  ASSERT_EQ(create_event(VTuple(), VTuple(), &event), VRESULT_OK);
  ASSERT_EQ(clear_all_mutexes(), VRESULT_OK);
  Vlong busy = -1;
  EXPECT_EQ(try_lock_mutex(m1, &busy), VERR_HANDLE_CLOSED);
  EXPECT_EQ(unlock_mutex(m2), VERR_HANDLE_CLOSED);
  EXPECT_EQ(signal_event(event), VRESULT_OK);
  EXPECT_EQ(clear_event(event), VRESULT_OK);
}

TEST_F(HandlesTest, ARemovedToolLivesOnWhileAnotherThreadHoldsItAndIsClosedOnce) {
  bool closed = false;
  const Vlong h = vexa::handles::Add(Probe::kKind, std::make_shared<Probe>(&closed));
  std::shared_ptr<Probe> held;
  ASSERT_EQ(vexa::handles::Get(h, &held), VRESULT_OK);
  std::thread other([&] { EXPECT_EQ(vexa::handles::Remove(h, Probe::kKind), VRESULT_OK); });
  other.join();
  EXPECT_TRUE(closed);
  EXPECT_EQ(held.use_count(), 1);  // ours is the last reference, still valid
  std::shared_ptr<Probe> again;
  EXPECT_EQ(vexa::handles::Get(h, &again), VERR_HANDLE_CLOSED);
  EXPECT_EQ(vexa::handles::Remove(h, Probe::kKind), VERR_HANDLE_CLOSED);
}

TEST_F(HandlesTest, ConcurrentCreationGivesDistinctHandles) {
  constexpr int kThreads = 8, kEach = 200;
  std::vector<std::vector<Vlong>> made(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kEach; ++i) {
        Vlong h = -1;
        EXPECT_EQ(create_event(VTuple(), VTuple(), &h), VRESULT_OK);
        made[t].push_back(h);
        if (i % 2) {
          EXPECT_EQ(clear_event(h), VRESULT_OK);
        }
      }
    });
  }
  for (auto& t : threads) t.join();
  std::set<Vlong> all;
  for (const auto& v : made) all.insert(v.begin(), v.end());
  EXPECT_EQ(all.size(), static_cast<size_t>(kThreads * kEach));
  EXPECT_EQ(clear_all_events(), VRESULT_OK);
  EXPECT_EQ(vexa::handles::Count(vexa::ToolKind::kEvent), 0u);
}

}  // namespace

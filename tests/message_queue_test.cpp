// Messages and message queues: tuples and objects under keys, objects held
// by their own references and released with the message, copies on
// enqueue, timeouts, maximum size, flushing, aborting waiters, and a
// many-thread producer/consumer stress run that loses and duplicates
// nothing.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <thread>
#include <vector>

#include <vexaobj.h>

#include "leak_checked_test.h"
#include "objdb.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

class MessageThreadTest : public LeakCheckedTest {};

Vlong NewMessage() {
  Vlong h = -1;
  EXPECT_EQ(create_message(&h), VRESULT_OK);
  return h;
}

Vlong NewQueue() {
  Vlong h = -1;
  EXPECT_EQ(create_message_queue(&h), VRESULT_OK);
  return h;
}

Vobject Rectangle(int r2, int c2) {
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewRegion(vexa::Region::Rectangle(0, 0, r2, c2), &key), VRESULT_OK);
  return Vobject(key, 1);
}

std::vector<vexa::Chord> ChordsOf(Vkey key) {
  vexa::RegionPtr region;
  EXPECT_EQ(vexa::db::GetRegion(key, &region), VRESULT_OK);
  return region ? region->chords() : std::vector<vexa::Chord>{};
}

TEST_F(MessageThreadTest, TuplesAndObjectsComeBackUnderTheirKeys) {
  const Vlong msg = NewMessage();
  VTuple mixed;
  mixed.Append(VTuple(Vlong{7})).Append(VTuple(2.5)).Append(VTuple("text"));
  EXPECT_EQ(set_message_tuple(msg, VTuple("numbers"), mixed), VRESULT_OK);
  EXPECT_EQ(set_message_tuple(msg, VTuple(Vlong{3}), VTuple()), VRESULT_OK);
  VTuple got;
  EXPECT_EQ(get_message_tuple(msg, VTuple("numbers"), &got), VRESULT_OK);
  ASSERT_EQ(got.Num(), 3);
  EXPECT_EQ(got[0].L(), 7);
  EXPECT_EQ(got[1].D(), 2.5);
  EXPECT_STREQ(got[2].S(), "text");
  EXPECT_EQ(get_message_tuple(msg, VTuple(Vlong{3}), &got), VRESULT_OK);
  EXPECT_EQ(got.Num(), 0);

  {
    Vobject region = Rectangle(4, 9);
    EXPECT_EQ(set_message_obj(region, msg, "shape"), VRESULT_OK);
  }  // the message holds its own reference
  Vobject back;
  ASSERT_EQ(get_message_obj(&back, msg, "shape"), VRESULT_OK);
  EXPECT_EQ(ChordsOf(back.Id()).size(), 5u);

  EXPECT_EQ(get_message_tuple(msg, VTuple("shape"), &got), VERR_MSG_KEY);
  EXPECT_EQ(get_message_obj(&back, msg, "numbers"), VERR_MSG_KEY);
  EXPECT_EQ(get_message_tuple(msg, VTuple("missing"), &got), VERR_MSG_KEY);
  EXPECT_EQ(set_message_tuple(msg, VTuple(1.5), VTuple()), VERR_CTRL_TYPE(1));

  VTuple keys, exists, kinds;
  VTuple probe;
  probe.Append(VTuple("shape")).Append(VTuple("missing")).Append(VTuple(Vlong{3}));
  EXPECT_EQ(get_message_param(msg, VTuple("message_keys"), VTuple(), &keys), VRESULT_OK);
  EXPECT_EQ(keys.Num(), 3);
  EXPECT_EQ(get_message_param(msg, VTuple("key_exists"), probe, &exists), VRESULT_OK);
  EXPECT_EQ(exists[0].L() * 100 + exists[1].L() * 10 + exists[2].L(), 101);
  EXPECT_EQ(get_message_param(msg, VTuple("key_data_type"), probe, &kinds), VRESULT_OK);
  EXPECT_STREQ(kinds[0].S(), "object");
  EXPECT_STREQ(kinds[1].S(), "none");
  EXPECT_STREQ(kinds[2].S(), "tuple");
  EXPECT_EQ(set_message_param(msg, VTuple("remove_key"), VTuple("shape"), VTuple()), VRESULT_OK);
  EXPECT_EQ(get_message_obj(&back, msg, "shape"), VERR_MSG_KEY);
  EXPECT_EQ(get_message_param(msg, VTuple("colour"), VTuple(), &keys), VERR_CTRL_VALUE(1));
  EXPECT_EQ(clear_message(msg), VRESULT_OK);
}

TEST_F(MessageThreadTest, ClearingAMessageOrQueueReleasesTheObjectsItHolds) {
  const vexa::db::Stats before = vexa::db::GetStats();
  const Vlong msg = NewMessage();
  const Vlong queue = NewQueue();
  EXPECT_EQ(set_message_obj(Rectangle(2, 2), msg, "a"), VRESULT_OK);
  EXPECT_EQ(set_message_obj(Rectangle(3, 3), msg, "a"), VRESULT_OK);  // replaces, releases
  EXPECT_EQ(vexa::db::GetStats().regions, before.regions + 1);
  EXPECT_EQ(enqueue_message(queue, msg, VTuple(), VTuple()), VRESULT_OK);
  EXPECT_EQ(vexa::db::GetStats().regions, before.regions + 2);  // the queue's copy
  EXPECT_EQ(clear_message(msg), VRESULT_OK);
  EXPECT_EQ(vexa::db::GetStats().regions, before.regions + 1);
  EXPECT_EQ(clear_message_queue(queue), VRESULT_OK);
  EXPECT_EQ(vexa::db::GetStats().regions, before.regions);
}

TEST_F(MessageThreadTest, EnqueueCopiesSoTheSenderMayChangeItsMessage) {
  const Vlong msg = NewMessage();
  const Vlong queue = NewQueue();
  EXPECT_EQ(set_message_tuple(msg, VTuple("v"), VTuple(Vlong{1})), VRESULT_OK);
  EXPECT_EQ(enqueue_message(queue, msg, VTuple(), VTuple()), VRESULT_OK);
  EXPECT_EQ(set_message_tuple(msg, VTuple("v"), VTuple(Vlong{2})), VRESULT_OK);
  Vlong out = -1;
  ASSERT_EQ(dequeue_message(queue, VTuple("timeout"), VTuple(0.0), &out), VRESULT_OK);
  EXPECT_NE(out, msg);
  VTuple v;
  EXPECT_EQ(get_message_tuple(out, VTuple("v"), &v), VRESULT_OK);
  EXPECT_EQ(v[0].L(), 1);
  EXPECT_EQ(clear_message(out), VRESULT_OK);
  EXPECT_EQ(clear_message(msg), VRESULT_OK);
  EXPECT_EQ(clear_message_queue(queue), VRESULT_OK);
}

TEST_F(MessageThreadTest, QueueParametersTimeoutsMaximumFlushAndAbort) {
  const Vlong queue = NewQueue();
  const Vlong msg = NewMessage();
  Vlong out = -1;
  VTuple value;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(dequeue_message(queue, VTuple("timeout"), VTuple(0.05), &out), VERR_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(45));

  EXPECT_EQ(set_message_queue_param(queue, VTuple("max_message_num"), VTuple(Vlong{2})), VRESULT_OK);
  EXPECT_EQ(enqueue_message(queue, msg, VTuple(), VTuple()), VRESULT_OK);
  EXPECT_EQ(enqueue_message(queue, msg, VTuple(), VTuple()), VRESULT_OK);
  EXPECT_EQ(enqueue_message(queue, msg, VTuple("timeout"), VTuple(0.01)), VERR_QUEUE_FULL);
  EXPECT_EQ(get_message_queue_param(queue, VTuple("message_num"), &value), VRESULT_OK);
  EXPECT_EQ(value[0].L(), 2);
  EXPECT_EQ(set_message_queue_param(queue, VTuple("flush_queue"), VTuple(Vlong{1})), VRESULT_OK);
  EXPECT_EQ(get_message_queue_param(queue, VTuple("message_num"), &value), VRESULT_OK);
  EXPECT_EQ(value[0].L(), 0);
  EXPECT_EQ(get_message_queue_param(queue, VTuple("max_message_num"), &value), VRESULT_OK);
  EXPECT_EQ(value[0].L(), 2);

  std::thread waiter([&] {
    Vlong m = -1;
    EXPECT_EQ(dequeue_message(queue, VTuple(), VTuple(), &m), VERR_WAIT_ABORTED);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_EQ(set_message_queue_param(queue, VTuple("abort_dequeue"), VTuple(Vlong{1})), VRESULT_OK);
  waiter.join();
  EXPECT_EQ(dequeue_message(queue, VTuple(), VTuple(), &out), VERR_WAIT_ABORTED);
  EXPECT_EQ(set_message_queue_param(queue, VTuple("abort_dequeue"), VTuple(Vlong{0})), VRESULT_OK);

  EXPECT_EQ(dequeue_message(queue, VTuple("timeout"), VTuple(-1.0), &out), VERR_CTRL_VALUE(2));
  EXPECT_EQ(dequeue_message(queue, VTuple("colour"), VTuple(1.0), &out), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_message_queue_param(queue, VTuple("max_message_num"), VTuple(Vlong{0})),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(dequeue_message(msg, VTuple(), VTuple(), &out), VERR_HANDLE_TYPE);
  EXPECT_EQ(enqueue_message(queue, queue, VTuple(), VTuple()), VERR_HANDLE_TYPE);
  EXPECT_EQ(clear_message(msg), VRESULT_OK);
  EXPECT_EQ(clear_message_queue(queue), VRESULT_OK);
}

TEST_F(MessageThreadTest, ClearMessageAlsoClosesAQueueButNoOtherTool) {
  const Vlong queue = NewQueue();
  Vlong mutex = -1;
  ASSERT_EQ(create_mutex(VTuple(), VTuple(), &mutex), VRESULT_OK);
  EXPECT_EQ(clear_message(mutex), VERR_HANDLE_TYPE);
  EXPECT_EQ(clear_message(queue), VRESULT_OK);
  EXPECT_EQ(clear_message_queue(queue), VERR_HANDLE_CLOSED);
  EXPECT_EQ(clear_mutex(mutex), VRESULT_OK);
}

TEST_F(MessageThreadTest, ClearingAQueueWakesAWaitingDequeue) {
  const Vlong queue = NewQueue();
  std::thread waiter([&] {
    Vlong m = -1;
    EXPECT_EQ(dequeue_message(queue, VTuple(), VTuple(), &m), VERR_HANDLE_CLOSED);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_EQ(clear_message_queue(queue), VRESULT_OK);
  waiter.join();
}

TEST_F(MessageThreadTest, StressProducersAndConsumersLoseAndDuplicateNothing) {
  constexpr int kProducers = 4, kConsumers = 4, kEach = 300;
  const Vlong queue = NewQueue();
  EXPECT_EQ(set_message_queue_param(queue, VTuple("max_message_num"), VTuple(Vlong{16})), VRESULT_OK);
  std::vector<std::thread> threads;
  for (int p = 0; p < kProducers; ++p) {
    threads.emplace_back([&, p] {
      const Vlong msg = NewMessage();
      for (int i = 0; i < kEach; ++i) {
        ASSERT_EQ(set_message_tuple(msg, VTuple("id"), VTuple(Vlong{p * kEach + i})), VRESULT_OK);
        ASSERT_EQ(set_message_obj(Rectangle(i % 5, p), msg, "obj"), VRESULT_OK);
        ASSERT_EQ(enqueue_message(queue, msg, VTuple("timeout"), VTuple("infinite")), VRESULT_OK);
      }
      EXPECT_EQ(clear_message(msg), VRESULT_OK);
    });
  }
  std::vector<std::vector<Vlong>> seen(kConsumers);
  for (int c = 0; c < kConsumers; ++c) {
    threads.emplace_back([&, c] {
      for (int i = 0; i < kProducers * kEach / kConsumers; ++i) {
        Vlong m = -1;
        ASSERT_EQ(dequeue_message(queue, VTuple("timeout"), VTuple(30.0), &m), VRESULT_OK);
        VTuple id;
        ASSERT_EQ(get_message_tuple(m, VTuple("id"), &id), VRESULT_OK);
        Vobject obj;
        ASSERT_EQ(get_message_obj(&obj, m, "obj"), VRESULT_OK);
        const Vlong n = id[0].L();
        EXPECT_EQ(ChordsOf(obj.Id()).size(), static_cast<size_t>(n % kEach % 5 + 1));
        seen[c].push_back(n);
        ASSERT_EQ(clear_message(m), VRESULT_OK);
      }
    });
  }
  for (auto& t : threads) t.join();
  std::set<Vlong> all;
  for (const auto& s : seen) all.insert(s.begin(), s.end());
  EXPECT_EQ(all.size(), static_cast<size_t>(kProducers * kEach));
  EXPECT_EQ(clear_message_queue(queue), VRESULT_OK);
}

}  // namespace

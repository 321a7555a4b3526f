// Messages and message queues: how threads hand tuples and iconic objects
// to each other.
//
// A message maps keys (strings or integers) to either a control tuple or
// iconic objects. It holds its own reference to every object, released
// when the entry is replaced or removed or the message goes. Queues hold
// copies of messages: enqueuing copies, so the sender may reuse or clear
// its message at once, and dequeuing hands the queued copy out under a new
// handle.
#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "handle_registry.h"
#include "ops/serialize/tuple_values.h"
#include "ops/sync/deadline.h"

namespace vexa {

class Message : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kMessage;
  ~Message() override;

  // Integer and string keys only.
  static Vresult CheckKey(const TupleValue& key, int par);

  void SetTuple(const TupleValue& key, TupleValues values);
  // Takes over one reference of each key in `objects`.
  void SetObjects(const TupleValue& key, std::vector<Vkey> objects);
  // VERR_MSG_KEY when the key holds no tuple.
  Vresult GetTuple(const TupleValue& key, TupleValues* values) const;
  // New references (copies) of the objects under `key`, or VERR_MSG_KEY.
  Vresult GetObjects(const TupleValue& key, std::vector<Vkey>* objects) const;
  // "tuple", "object" or "none".
  const char* KindOf(const TupleValue& key) const;
  TupleValues Keys() const;
  void Remove(const TupleValue& key);
  // A message of the same contents, objects copied.
  Vresult Clone(std::shared_ptr<Message>* copy) const;

 private:
  struct Entry {
    bool is_object = false;
    TupleValues tuple;
    std::vector<Vkey> objects;
  };
  static void ReleaseObjects(Entry& e);
  void Put(const TupleValue& key, Entry entry);

  mutable std::mutex m_;
  std::map<TupleValue, Entry, TupleValueOrder> entries_;
};

class MessageQueue : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kMessageQueue;

  // Adds all messages or none; with a maximum set and too little room,
  // waits until `deadline` for room (VERR_QUEUE_FULL after it).
  Vresult Enqueue(std::vector<std::shared_ptr<Message>> messages, const Deadline& deadline);
  // The oldest message, waiting until `deadline` for one (VERR_TIMEOUT);
  // VERR_WAIT_ABORTED while aborting is switched on.
  Vresult Dequeue(const Deadline& deadline, std::shared_ptr<Message>* message);

  // 0 means no maximum.
  void SetMaxMessages(Vlong max);
  Vlong MaxMessages() const;
  Vlong Size() const;
  void Flush();
  void SetAbort(bool abort);
  bool Aborting() const;
  void Close() override;

 private:
  mutable std::mutex m_;
  std::condition_variable changed_;
  std::deque<std::shared_ptr<Message>> messages_;
  Vlong max_ = 0;
  bool abort_ = false;
  bool closed_ = false;
};

}  // namespace vexa

#include "ops/sync/message.h"

#include <utility>

#include "objdb.h"

namespace vexa {

// ---- Message --------------------------------------------------------------

Message::~Message() {
  for (auto& e : entries_) ReleaseObjects(e.second);
}

Vresult Message::CheckKey(const TupleValue& key, int par) {
  return key.type == VPAR_DOUBLE ? VERR_CTRL_TYPE(par) : VRESULT_OK;
}

void Message::ReleaseObjects(Entry& e) {
  for (Vkey k : e.objects) db::Release(k);
  e.objects.clear();
}

void Message::Put(const TupleValue& key, Entry entry) {
  Entry old;
  {
    std::lock_guard<std::mutex> lock(m_);
    Entry& slot = entries_[key];
    old = std::move(slot);
    slot = std::move(entry);
  }
  ReleaseObjects(old);
}

void Message::SetTuple(const TupleValue& key, TupleValues values) {
  Entry e;
  e.tuple = std::move(values);
  Put(key, std::move(e));
}

void Message::SetObjects(const TupleValue& key, std::vector<Vkey> objects) {
  Entry e;
  e.is_object = true;
  e.objects = std::move(objects);
  Put(key, std::move(e));
}

Vresult Message::GetTuple(const TupleValue& key, TupleValues* values) const {
  std::lock_guard<std::mutex> lock(m_);
  const auto it = entries_.find(key);
  if (it == entries_.end() || it->second.is_object) return VERR_MSG_KEY;
  *values = it->second.tuple;
  return VRESULT_OK;
}

Vresult Message::GetObjects(const TupleValue& key, std::vector<Vkey>* objects) const {
  std::lock_guard<std::mutex> lock(m_);
  const auto it = entries_.find(key);
  if (it == entries_.end() || !it->second.is_object) return VERR_MSG_KEY;
  objects->clear();
  for (Vkey k : it->second.objects) {
    Vkey copy = VKEY_UNDEF;
    const Vresult rc = db::Copy(k, &copy);
    if (rc != VRESULT_OK) {
      for (Vkey c : *objects) db::Release(c);
      objects->clear();
      return rc;
    }
    objects->push_back(copy);
  }
  return VRESULT_OK;
}

const char* Message::KindOf(const TupleValue& key) const {
  std::lock_guard<std::mutex> lock(m_);
  const auto it = entries_.find(key);
  if (it == entries_.end()) return "none";
  return it->second.is_object ? "object" : "tuple";
}

TupleValues Message::Keys() const {
  std::lock_guard<std::mutex> lock(m_);
  TupleValues keys;
  for (const auto& e : entries_) keys.push_back(e.first);
  return keys;
}

void Message::Remove(const TupleValue& key) {
  Entry old;
  {
    std::lock_guard<std::mutex> lock(m_);
    const auto it = entries_.find(key);
    if (it == entries_.end()) return;
    old = std::move(it->second);
    entries_.erase(it);
  }
  ReleaseObjects(old);
}

Vresult Message::Clone(std::shared_ptr<Message>* copy) const {
  auto out = std::make_shared<Message>();
  std::lock_guard<std::mutex> lock(m_);
  for (const auto& e : entries_) {
    Entry c;
    c.is_object = e.second.is_object;
    c.tuple = e.second.tuple;
    for (Vkey k : e.second.objects) {
      Vkey ck = VKEY_UNDEF;
      const Vresult rc = db::Copy(k, &ck);
      if (rc != VRESULT_OK) {
        ReleaseObjects(c);
        return rc;  // `out` releases what it holds already
      }
      c.objects.push_back(ck);
    }
    out->entries_.emplace(e.first, std::move(c));
  }
  *copy = std::move(out);
  return VRESULT_OK;
}

// ---- MessageQueue ---------------------------------------------------------

Vresult MessageQueue::Enqueue(std::vector<std::shared_ptr<Message>> messages,
                              const Deadline& deadline) {
  std::unique_lock<std::mutex> lock(m_);
  const Vlong n = static_cast<Vlong>(messages.size());
  const auto room = [&] {
    return closed_ || max_ == 0 || static_cast<Vlong>(messages_.size()) + n <= max_;
  };
  if (max_ != 0 && n > max_) return VERR_QUEUE_FULL;
  if (!deadline.Wait(changed_, lock, room)) return VERR_QUEUE_FULL;
  if (closed_) return VERR_HANDLE_CLOSED;
  for (auto& m : messages) messages_.push_back(std::move(m));
  changed_.notify_all();
  return VRESULT_OK;
}

Vresult MessageQueue::Dequeue(const Deadline& deadline, std::shared_ptr<Message>* message) {
  std::unique_lock<std::mutex> lock(m_);
  if (!deadline.Wait(changed_, lock, [&] { return !messages_.empty() || abort_ || closed_; }))
    return VERR_TIMEOUT;
  if (closed_) return VERR_HANDLE_CLOSED;
  if (abort_) return VERR_WAIT_ABORTED;
  *message = std::move(messages_.front());
  messages_.pop_front();
  changed_.notify_all();
  return VRESULT_OK;
}

void MessageQueue::SetMaxMessages(Vlong max) {
  std::lock_guard<std::mutex> lock(m_);
  max_ = max;
  changed_.notify_all();
}

Vlong MessageQueue::MaxMessages() const {
  std::lock_guard<std::mutex> lock(m_);
  return max_;
}

Vlong MessageQueue::Size() const {
  std::lock_guard<std::mutex> lock(m_);
  return static_cast<Vlong>(messages_.size());
}

void MessageQueue::Flush() {
  std::deque<std::shared_ptr<Message>> dropped;
  {
    std::lock_guard<std::mutex> lock(m_);
    dropped.swap(messages_);
    changed_.notify_all();
  }
}

void MessageQueue::SetAbort(bool abort) {
  std::lock_guard<std::mutex> lock(m_);
  abort_ = abort;
  changed_.notify_all();
}

bool MessageQueue::Aborting() const {
  std::lock_guard<std::mutex> lock(m_);
  return abort_;
}

void MessageQueue::Close() {
  std::lock_guard<std::mutex> lock(m_);
  closed_ = true;
  changed_.notify_all();
}

}  // namespace vexa

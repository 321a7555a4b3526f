#include "objdb.h"

#include <cstddef>
#include <cstring>
#include <deque>
#include <limits>
#include <map>
#include <mutex>
#include <type_traits>

#include "objdb_rl_view.h"
#include "vexa/errors.h"

namespace vexa {
namespace db {

namespace {

constexpr uint32_t kLiveMagic = 0x4F424A4Cu;  // "OBJL"
constexpr uint32_t kDeadMagic = 0xDEADB0B0u;
constexpr size_t kChunkRecords = 256;

// A pixel buffer with the number of key references that reach it.
struct Channel {
  std::unique_ptr<PixelBuffer> buffer;
  Vlong refs;
};

// What a live record holds beyond its head; allocated per object so that a
// freed record keeps nothing.
struct Payload {
  std::vector<Vkey> keys;  // tuples
  RegionPtr region;        // iconic objects
  XldPtr xld;              // sub-pixel objects
  std::vector<Channel*> channels;
  std::unique_ptr<RLView> rl;  // built on the first DBGetRLPtr
};

struct Record {
  VKeyRecordHead head;  // must stay first: the key is the record's address
  uint32_t magic;
  uint32_t permanent;
  Vlong refs;
  Payload* payload;
  // The run-length view of a freed region stays until the record is used
  // again: a caller may still hold the view's address after releasing its
  // last key (the interface's region cache does), and then reads the old
  // region instead of freed memory.
  RLView* retired_rl;
};
static_assert(std::is_standard_layout<Record>::value,
              "the record's address must be its head's address");
static_assert(offsetof(Record, head) == 0, "the head leads the record");

int32_t ClassId(const Record* r) { return r->head.tag - VOBJ_TAG_BASE; }
bool IsTuple(const Record* r) { return ClassId(r) == VOBJ_TUPLE; }
bool IsXld(const Record* r) {
  return ClassId(r) >= VOBJ_XLD_CONT && ClassId(r) <= VOBJ_XLD_EXT_PARA;
}
bool IsImage(const Record* r) {
  return !IsTuple(r) && !r->payload->channels.empty();
}
// Region objects and images: the records that hold a region.
bool HoldsRegion(const Record* r) { return !IsTuple(r) && !IsXld(r); }

// The counter of live records of r's kind.
Vlong& StatOf(Stats& stats, const Record* r) {
  if (IsTuple(r)) return stats.tuples;
  if (IsXld(r)) return stats.xlds;
  return r->payload->channels.empty() ? stats.regions : stats.images;
}

class Database {
 public:
  std::mutex mu;

  // Returns the live record of `key`, or null with *err set.
  Record* Lookup(Vkey key, Vresult* err) const {
    const auto a = reinterpret_cast<uintptr_t>(key);
    auto it = chunks_.upper_bound(a);
    if (it == chunks_.begin()) return Fail(err, VERR_KEY_INVALID);
    --it;
    if (a >= it->second.end || (a - it->first) % sizeof(Record) != 0)
      return Fail(err, VERR_KEY_INVALID);
    Record* r = reinterpret_cast<Record*>(a);
    if (r->magic == kDeadMagic) return Fail(err, VERR_KEY_DELETED);
    // A pool record that was never used yet.
    if (r->magic != kLiveMagic) return Fail(err, VERR_KEY_INVALID);
    return r;
  }

  // A new live record with one reference; null if memory is short.
  Record* Allocate(int32_t class_id, Payload* payload) {
    // Keep more than kQuarantine freed records queued, so that a freed
    // record waits behind at least that many before it is reused.
    while (free_.size() <= kQuarantine)
      if (!Grow()) return nullptr;
    Record* r = free_.front();
    free_.pop_front();
    delete r->retired_rl;
    r->retired_rl = nullptr;
    std::memset(&r->head, 0, sizeof r->head);
    r->head.tag = class_id + VOBJ_TAG_BASE;
    r->magic = kLiveMagic;
    r->permanent = 0;
    r->refs = 1;
    r->payload = payload;
    if (class_id == VOBJ_TUPLE)
      r->head.tuple_num = static_cast<int32_t>(payload->keys.size());
    else
      r->head.channels = static_cast<uint16_t>(payload->channels.size());
    ++StatOf(stats_, r);
    return r;
  }

  // Adds references to a record and to the channels it reaches.
  void Retain(Record* r, Vlong n) {
    if (r->permanent) return;
    r->refs += n;
    for (Channel* ch : r->payload->channels) ch->refs += n;
  }

  // Drops one reference; frees what reaches zero. Tuples release their
  // keys through a work list rather than recursion, so deep nesting cannot
  // exhaust the stack.
  void Drop(Record* first) {
    std::vector<Record*> work{first};
    while (!work.empty()) {
      Record* r = work.back();
      work.pop_back();
      if (r->permanent) continue;
      --r->refs;
      for (Channel* ch : r->payload->channels) DropChannel(ch);
      if (r->refs > 0) continue;
      for (Vkey k : r->payload->keys)
        work.push_back(reinterpret_cast<Record*>(k));
      Free(r);
    }
  }

  void DropChannel(Channel* ch) {
    if (--ch->refs == 0) {
      delete ch;
      --stats_.channels;
    }
  }

  Channel* AddChannel(std::unique_ptr<PixelBuffer> buffer) {
    ++stats_.channels;
    return new Channel{std::move(buffer), 0};
  }

  const Stats& stats() const { return stats_; }

  Record* empty_object() {
    if (empty_ == nullptr) {
      empty_ = Allocate(VOBJ_TUPLE, new Payload());
      if (empty_ == nullptr) return nullptr;
      empty_->permanent = 1;
      --stats_.tuples;
    }
    return empty_;
  }

 private:
  struct ChunkInfo {
    uintptr_t end;
    std::unique_ptr<Record[]> records;
  };

  static Record* Fail(Vresult* err, Vresult code) {
    *err = code;
    return nullptr;
  }

  bool Grow() {
    std::unique_ptr<Record[]> chunk(new (std::nothrow) Record[kChunkRecords]());
    if (!chunk) return false;
    for (size_t i = 0; i < kChunkRecords; ++i) free_.push_back(&chunk[i]);
    const auto begin = reinterpret_cast<uintptr_t>(chunk.get());
    chunks_[begin] = ChunkInfo{begin + kChunkRecords * sizeof(Record),
                               std::move(chunk)};
    return true;
  }

  void Free(Record* r) {
    --StatOf(stats_, r);
    delete r->retired_rl;
    r->retired_rl = r->payload->rl.release();
    delete r->payload;
    r->payload = nullptr;
    std::memset(&r->head, 0, sizeof r->head);  // the interface reads the tag
    r->magic = kDeadMagic;
    free_.push_back(r);
  }

  std::map<uintptr_t, ChunkInfo> chunks_;  // by start address
  std::deque<Record*> free_;               // oldest freed first
  Record* empty_ = nullptr;
  Stats stats_;
};

// Never destroyed: keys may be released by static destructors of
// applications after this file's statics would be gone.
Database& Db() {
  static Database* db = new Database();
  return *db;
}

// Runs `fn(db, record)` under the database lock on the live record of
// `key`; a dead or foreign key answers with its code instead.
template <class Fn>
Vresult WithRecord(Vkey key, Fn fn) {
  Database& db = Db();
  std::lock_guard<std::mutex> lock(db.mu);
  Vresult err = VRESULT_OK;
  Record* r = db.Lookup(key, &err);
  return r == nullptr ? err : fn(db, r);
}

Vkey KeyOf(Record* r) { return reinterpret_cast<Vkey>(r); }

// Stores a new record for `payload` or frees the payload.
Vresult Publish(Database& db, int32_t class_id, Payload* payload, Vkey* key) {
  Record* r = db.Allocate(class_id, payload);
  if (r == nullptr) {
    delete payload;
    return VERR_OUT_OF_MEMORY;
  }
  *key = KeyOf(r);
  return VRESULT_OK;
}

// `domain` limited to a width x height image; null gives the full image.
// A domain already inside is kept as it is (shared, not copied).
RegionPtr DomainWithin(RegionPtr domain, int32_t width, int32_t height) {
  if (!domain) return Region::Rectangle(0, 0, height - 1, width - 1);
  int32_t r1, c1, r2, c2;
  if (!domain->BoundingBox(&r1, &c1, &r2, &c2) ||
      (r1 >= 0 && c1 >= 0 && r2 < height && c2 < width))
    return domain;
  return domain->ClipToRectangle(0, 0, height - 1, width - 1);
}

}  // namespace

Vresult Check(Vkey key) {
  Database& db = Db();
  std::lock_guard<std::mutex> lock(db.mu);
  Vresult err = VRESULT_OK;
  db.Lookup(key, &err);
  return err;
}

Vresult KindOf(Vkey key, ObjKind* kind) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    *kind = IsTuple(r)   ? ObjKind::kTuple
            : IsXld(r)   ? ObjKind::kXld
            : IsImage(r) ? ObjKind::kImage
                         : ObjKind::kRegion;
    return VRESULT_OK;
  });
}

Vresult NewRegion(RegionPtr region, Vkey* key) {
  auto* payload = new (std::nothrow) Payload();
  if (payload == nullptr) return VERR_OUT_OF_MEMORY;
  payload->region = region ? std::move(region) : Region::Empty();
  Database& db = Db();
  std::lock_guard<std::mutex> lock(db.mu);
  return Publish(db, VOBJ_ICONIC, payload, key);
}

Vresult NewXld(XldPtr xld, Vkey* key) {
  if (!xld || xld->cls < VOBJ_XLD_CONT || xld->cls > VOBJ_XLD_EXT_PARA)
    return VERR_INTERNAL;
  auto* payload = new (std::nothrow) Payload();
  if (payload == nullptr) return VERR_OUT_OF_MEMORY;
  const int32_t cls = xld->cls;
  payload->xld = std::move(xld);
  Database& db = Db();
  std::lock_guard<std::mutex> lock(db.mu);
  return Publish(db, cls, payload, key);
}

Vresult NewImage(RegionPtr domain,
                 std::vector<std::unique_ptr<PixelBuffer>> channels,
                 Vkey* key) {
  if (channels.empty() ||
      channels.size() > std::numeric_limits<uint16_t>::max())
    return VERR_CHANNEL;
  for (const auto& ch : channels) {
    if (!ch || ch->width() != channels[0]->width() ||
        ch->height() != channels[0]->height())
      return VERR_IMAGE_SIZE;
  }
  auto* payload = new (std::nothrow) Payload();
  if (payload == nullptr) return VERR_OUT_OF_MEMORY;
  payload->region = DomainWithin(std::move(domain), channels[0]->width(),
                                 channels[0]->height());
  Database& db = Db();
  std::lock_guard<std::mutex> lock(db.mu);
  payload->channels.reserve(channels.size());
  for (auto& ch : channels) {
    Channel* c = db.AddChannel(std::move(ch));
    c->refs = 1;
    payload->channels.push_back(c);
  }
  const std::vector<Channel*> made = payload->channels;
  const Vresult res = Publish(db, VOBJ_ICONIC, payload, key);
  if (res != VRESULT_OK)
    for (Channel* c : made) db.DropChannel(c);
  return res;
}

Vresult NewBlankImage(PixelType type, int32_t width, int32_t height,
                      int channels, RegionPtr domain, Vkey* key) {
  if (channels < 1 || channels > std::numeric_limits<uint16_t>::max())
    return VERR_CHANNEL;
  std::vector<std::unique_ptr<PixelBuffer>> buffers(
      static_cast<size_t>(channels));
  for (auto& b : buffers) {
    const Vresult rc = PixelBuffer::Create(type, width, height, &b);
    if (rc != VRESULT_OK) return rc;
  }
  return NewImage(std::move(domain), std::move(buffers), key);
}

Vresult NewImageWithDomain(Vkey image, RegionPtr domain, Vkey* key) {
  auto* payload = new (std::nothrow) Payload();
  if (payload == nullptr) return VERR_OUT_OF_MEMORY;
  Database& db = Db();
  std::lock_guard<std::mutex> lock(db.mu);
  Vresult err = VRESULT_OK;
  const Record* src = db.Lookup(image, &err);
  if (src == nullptr || !IsImage(src)) {
    delete payload;
    return src == nullptr ? err : VERR_NOT_IMAGE;
  }
  const PixelBuffer& first = *src->payload->channels[0]->buffer;
  payload->region =
      DomainWithin(std::move(domain), first.width(), first.height());
  payload->channels = src->payload->channels;
  const Vresult res = Publish(db, VOBJ_ICONIC, payload, key);
  if (res == VRESULT_OK)
    for (Channel* ch : src->payload->channels) ++ch->refs;
  return res;
}

Vresult NewTuple(const Vkey* keys, Vlong num, Vkey* key) {
  if (num < 0) return VERR_OBJ_INDEX;
  if (num > std::numeric_limits<int32_t>::max()) return VERR_TOO_LARGE;
  if (num > 0 && keys == nullptr) return VERR_KEY_INVALID;
  auto* payload = new (std::nothrow) Payload();
  if (payload == nullptr) return VERR_OUT_OF_MEMORY;
  Database& db = Db();
  std::lock_guard<std::mutex> lock(db.mu);
  std::vector<Record*> members;
  members.reserve(static_cast<size_t>(num));
  for (Vlong i = 0; i < num; ++i) {
    Vresult err = VRESULT_OK;
    Record* r = db.Lookup(keys[i], &err);
    if (r == nullptr) {
      delete payload;
      return err;
    }
    members.push_back(r);
  }
  payload->keys.assign(keys, keys + num);
  const Vresult res = Publish(db, VOBJ_TUPLE, payload, key);
  // References only once the tuple exists: a failure changes nothing.
  if (res == VRESULT_OK)
    for (Record* r : members) db.Retain(r, 1);
  return res;
}

Vkey EmptyObject() {
  Database& db = Db();
  std::lock_guard<std::mutex> lock(db.mu);
  Record* r = db.empty_object();
  return r != nullptr ? KeyOf(r) : VKEY_UNDEF;
}

Vresult AddRef(Vkey key) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    db.Retain(r, 1);
    return VRESULT_OK;
  });
}

Vresult Release(Vkey key) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    db.Drop(r);
    return VRESULT_OK;
  });
}

Vresult Copy(Vkey key, Vkey* copy) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    if (r->permanent) {
      *copy = key;
      return VRESULT_OK;
    }
    std::unique_ptr<Payload> payload(new (std::nothrow) Payload());
    if (!payload) return VERR_OUT_OF_MEMORY;
    payload->keys = r->payload->keys;
    payload->region = r->payload->region;
    payload->xld = r->payload->xld;
    payload->channels = r->payload->channels;
    const Vresult res = Publish(db, ClassId(r), payload.release(), copy);
    if (res != VRESULT_OK) return res;
    // The copy holds its own references to what it shares.
    for (Vkey k : r->payload->keys) db.Retain(reinterpret_cast<Record*>(k), 1);
    for (Channel* ch : r->payload->channels) ++ch->refs;
    return VRESULT_OK;
  });
}

Vresult GetRegion(Vkey key, RegionPtr* region) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    if (!HoldsRegion(r)) return VERR_NOT_REGION;
    *region = r->payload->region;
    return VRESULT_OK;
  });
}

Vresult GetXld(Vkey key, XldPtr* xld) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    if (!IsXld(r)) return VERR_NOT_REGION;
    *xld = r->payload->xld;
    return VRESULT_OK;
  });
}

Vresult GetImage(Vkey key, ImageData* image) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    if (!IsImage(r)) return VERR_NOT_IMAGE;
    image->domain = r->payload->region;
    image->channels.clear();
    for (const Channel* ch : r->payload->channels)
      image->channels.push_back(ch->buffer.get());
    return VRESULT_OK;
  });
}

Vresult WritableChannel(Vkey key, int channel, PixelBuffer** buffer) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    if (!IsImage(r)) return VERR_NOT_IMAGE;
    std::vector<Channel*>& channels = r->payload->channels;
    if (channel < 0 || static_cast<size_t>(channel) >= channels.size())
      return VERR_CHANNEL;
    Channel*& ch = channels[static_cast<size_t>(channel)];
    if (ch->refs > r->refs) {
      // Others see this buffer: this record's references move to a copy.
      std::unique_ptr<PixelBuffer> copy;
      const Vresult res = ch->buffer->Clone(&copy);
      if (res != VRESULT_OK) return res;
      ch->refs -= r->refs;
      ch = db.AddChannel(std::move(copy));
      ch->refs = r->refs;
    }
    *buffer = ch->buffer.get();
    return VRESULT_OK;
  });
}

Stats GetStats() {
  Database& db = Db();
  std::lock_guard<std::mutex> lock(db.mu);
  return db.stats();
}

Vresult GetRLView(Vkey key, Vrlregion** rl) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    if (!HoldsRegion(r)) return VERR_NOT_REGION;
    Payload& p = *r->payload;
    if (!p.rl) {
      std::unique_ptr<RLView> view;
      const Vresult res = BuildRLView(*p.region, &view);
      if (res != VRESULT_OK) return res;
      p.rl = std::move(view);
    }
    *rl = &p.rl->record;
    return VRESULT_OK;
  });
}

Vresult FetchTuple(Vkey key, Vkey** keys, Vlong* num) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    if (!IsTuple(r)) return VERR_NOT_KEY_TUPLE;
    *keys = r->payload->keys.data();
    *num = static_cast<Vlong>(r->payload->keys.size());
    return VRESULT_OK;
  });
}

Vresult NumImageRefs(Vkey key, Vlong* num) {
  return WithRecord(key, [&](Database& db, Record* r) -> Vresult {
    if (!IsImage(r)) return VERR_NOT_IMAGE;
    *num = r->payload->channels[0]->refs;
    return VRESULT_OK;
  });
}

}  // namespace db
}  // namespace vexa

// A matching model whose whole state is one value, read and replaced under
// a lock: a search copies the state out and runs without holding the lock,
// so that several threads can search with one model while another changes
// its parameters.
#pragma once

#include <mutex>
#include <utility>

#include "handle_registry.h"

namespace vexa {

template <class Data>
class LockedModel : public Tool {
 public:
  explicit LockedModel(Data d) : data_(std::move(d)) {}
  Data Get() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return data_;
  }
  void Set(Data d) {
    std::lock_guard<std::mutex> lock(mutex_);
    data_ = std::move(d);
  }

 private:
  mutable std::mutex mutex_;
  Data data_;
};

}  // namespace vexa

// A tool whose whole state is one value, read and replaced under a lock:
// an operator copies the state out and works without holding the lock, so
// that several threads can use one tool while another changes it.
#pragma once

#include <mutex>
#include <utility>

#include "handle_registry.h"

namespace vexa {

template <class Data>
class LockedTool : public Tool {
 public:
  explicit LockedTool(Data d) : data_(std::move(d)) {}
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

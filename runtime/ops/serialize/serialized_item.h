// The tool behind a serialised item handle: the bytes of one item, either
// its own or, for create_serialized_item_ptr with copy "false", memory of
// the application that must outlive the item.
#pragma once

#include <memory>

#include "handle_registry.h"
#include "ops/serialize/item_format.h"

namespace vexa {

class SerializedItem : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kSerializedItem;
  explicit SerializedItem(ItemBytes bytes)
      : owned_(std::move(bytes)), data_(owned_.data()), size_(owned_.size()) {}
  SerializedItem(const unsigned char* borrowed, size_t size) : data_(borrowed), size_(size) {}

  const unsigned char* data() const { return data_; }
  size_t size() const { return size_; }

 private:
  ItemBytes owned_;
  const unsigned char* data_;
  size_t size_;
};

// Registers a new item holding `bytes` at output control `par`.
inline Vresult OutpNewItem(OpContext& ctx, int par, ItemBytes bytes) {
  return OutpNewTool(ctx, par, std::make_shared<SerializedItem>(std::move(bytes)));
}

}  // namespace vexa

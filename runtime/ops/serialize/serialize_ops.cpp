// serialize_* and deserialize_* of tuples and iconic objects, and the
// operators of the item handles themselves.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ops/serialize/payload_codec.h"
#include "ops/serialize/serialized_item.h"
#include "registry.h"

namespace vexa {
namespace {

// The payload of the item at input control `par`, which must be of
// `kind`. `item` keeps the bytes alive while `payload` reads them.
Vresult InpPayload(const OpContext& ctx, int par, ItemKind kind,
                   std::shared_ptr<SerializedItem>* item, ByteReader* payload) {
  const Vresult rc = InpTool(ctx, par, item);
  return rc == VRESULT_OK ? OpenItem((*item)->data(), (*item)->size(), kind, payload) : rc;
}

// serialize_image/region/xld/object: the objects of input 1 as an item.
Vresult SerializeObjects(OpContext& ctx, ItemKind kind) {
  ByteWriter w;
  const Vresult rc = EncodeInpObjects(ctx, 1, kind, &w);
  return rc == VRESULT_OK ? OutpNewItem(ctx, 0, WrapItem(kind, w.bytes())) : rc;
}

// deserialize_image/region/xld/object: the objects of the item at control 0.
Vresult DeserializeObjects(OpContext& ctx, ItemKind kind) {
  std::shared_ptr<SerializedItem> item;
  Vresult rc = InpTool(ctx, 0, &item);
  NewKeys objects;
  if (rc == VRESULT_OK) rc = DecodeObjectItem(item->data(), item->size(), kind, &objects);
  return rc == VRESULT_OK ? objects.HandOver(ctx, 1) : rc;
}

}  // namespace

VEXA_OPERATOR(serialize_tuple) {
  TupleValues values;
  const Vresult rc = ReadInpValues(ctx, 0, &values);
  if (rc != VRESULT_OK) return rc;
  ByteWriter w;
  EncodeTuple(values, &w);
  return OutpNewItem(ctx, 0, WrapItem(ItemKind::kTuple, w.bytes()));
}

VEXA_OPERATOR(deserialize_tuple) {
  std::shared_ptr<SerializedItem> item;
  ByteReader payload(nullptr, 0);
  TupleValues values;
  Vresult rc = InpPayload(ctx, 0, ItemKind::kTuple, &item, &payload);
  if (rc == VRESULT_OK) rc = DecodeTuple(&payload, &values);
  return rc == VRESULT_OK ? WriteOutpValues(ctx, 0, values) : rc;
}

VEXA_OPERATOR(serialize_image) { return SerializeObjects(ctx, ItemKind::kImage); }
VEXA_OPERATOR(deserialize_image) { return DeserializeObjects(ctx, ItemKind::kImage); }
VEXA_OPERATOR(serialize_region) { return SerializeObjects(ctx, ItemKind::kRegion); }
VEXA_OPERATOR(deserialize_region) { return DeserializeObjects(ctx, ItemKind::kRegion); }
VEXA_OPERATOR(serialize_xld) { return SerializeObjects(ctx, ItemKind::kXld); }
VEXA_OPERATOR(deserialize_xld) { return DeserializeObjects(ctx, ItemKind::kXld); }
VEXA_OPERATOR(serialize_object) { return SerializeObjects(ctx, ItemKind::kObject); }
VEXA_OPERATOR(deserialize_object) { return DeserializeObjects(ctx, ItemKind::kObject); }

VEXA_OPERATOR(clear_serialized_item) { return CloseInpTool(ctx, 0, ToolKind::kSerializedItem); }

VEXA_OPERATOR(clear_all_serialized_items) {
  handles::RemoveAll(ToolKind::kSerializedItem);
  return VRESULT_OK;
}

// The address and size of the item's bytes, valid while the item lives.
VEXA_OPERATOR(get_serialized_item_ptr) {
  std::shared_ptr<SerializedItem> item;
  Vresult rc = InpTool(ctx, 0, &item);
  if (rc == VRESULT_OK)
    rc = ctx.SetOutpLong(0, static_cast<Vlong>(reinterpret_cast<uintptr_t>(item->data())));
  return rc == VRESULT_OK ? ctx.SetOutpLong(1, static_cast<Vlong>(item->size())) : rc;
}

// An item of `size` bytes at the address `pointer` (which may be 0 for no
// bytes): copied with copy "true", used in place with "false".
VEXA_OPERATOR(create_serialized_item_ptr) {
  Vlong pointer = 0, size = 0;
  const char* copy = nullptr;
  Vresult rc = ctx.GetLong(0, &pointer);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &size);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &copy);
  if (rc != VRESULT_OK) return rc;
  if (pointer == 0 && size > 0) return VERR_CTRL_VALUE(0);
  if (size < 0) return VERR_CTRL_VALUE(1);
  const std::string how = copy;
  if (how != "true" && how != "false") return VERR_CTRL_VALUE(2);
  const auto* p = reinterpret_cast<const unsigned char*>(static_cast<uintptr_t>(pointer));
  if (how == "false")
    return OutpNewTool(ctx, 0, std::make_shared<SerializedItem>(p, static_cast<size_t>(size)));
  return OutpNewItem(ctx, 0, ItemBytes(p, p + size));
}

}  // namespace vexa

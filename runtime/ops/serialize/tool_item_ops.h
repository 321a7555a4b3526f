// The four operators that carry a tool's state through serialised items
// and files: serialize_* (tool at input 0, new item at output 0),
// deserialize_* (item at input 0, new tool at output 0), write_* (tool at
// input 0, file name at input 1) and read_* (file name at input 0, new tool
// at output 0). A file holds exactly the bytes of the serialised item, so
// the two forms check their data the same way.
//
// A codec names the tool's state (`Value`) and gives:
//   static Vresult InpItem(const OpContext&, int par, ItemBytes*);
//     the tool at input `par`, encoded as an item;
//   static Vresult Decode(const unsigned char*, size_t, Value*);
//     a state from an item's bytes, every value checked;
//   static Vresult Outp(OpContext&, int par, Value);
//     a new tool of that state at output `par`.
#pragma once

#include <memory>
#include <utility>

#include "error_detail.h"
#include "io/image_file.h"
#include "ops/serialize/serialized_item.h"

namespace vexa {

template <class Codec>
struct ToolItemOps {
  using Value = typename Codec::Value;

  static Vresult Serialize(OpContext& ctx) {
    ItemBytes item;
    const Vresult rc = Codec::InpItem(ctx, 0, &item);
    return rc == VRESULT_OK ? OutpNewItem(ctx, 0, std::move(item)) : rc;
  }

  static Vresult Deserialize(OpContext& ctx) {
    std::shared_ptr<SerializedItem> item;
    Value value{};
    Vresult rc = InpTool(ctx, 0, &item);
    if (rc == VRESULT_OK) rc = Codec::Decode(item->data(), item->size(), &value);
    return rc == VRESULT_OK ? Codec::Outp(ctx, 0, std::move(value)) : rc;
  }

  static Vresult Write(OpContext& ctx) {
    ItemBytes item;
    const char* name = nullptr;
    Vresult rc = Codec::InpItem(ctx, 0, &item);
    if (rc == VRESULT_OK) rc = ctx.GetString(1, &name);
    return rc == VRESULT_OK ? io::WriteWholeFile(name, item) : rc;
  }

  static Vresult Read(OpContext& ctx) {
    const char* name = nullptr;
    io::Bytes file;
    Value value{};
    Vresult rc = ctx.GetString(0, &name);
    if (rc == VRESULT_OK) rc = io::ReadWholeFile(name, &file);
    if (rc != VRESULT_OK) return rc;
    rc = Codec::Decode(file.data(), file.size(), &value);
    return rc == VRESULT_OK ? Codec::Outp(ctx, 0, std::move(value)) : FileFailure(rc, name);
  }
};

// The codec of a tool that is its own state, held by shared pointer, whose
// class names its item kind and gives Payload() and
// FromPayload(ByteReader*, std::shared_ptr<Model>*).
template <class Model>
struct SharedModelCodec {
  using Value = std::shared_ptr<Model>;

  static ItemBytes Encode(const Model& model) {
    return WrapItem(Model::kItemKind, model.Payload());
  }

  static Vresult InpItem(const OpContext& ctx, int par, ItemBytes* item) {
    Value model;
    const Vresult rc = InpTool(ctx, par, &model);
    if (rc == VRESULT_OK) *item = Encode(*model);
    return rc;
  }

  static Vresult Decode(const unsigned char* data, size_t size, Value* model) {
    ByteReader r(nullptr, 0);
    const Vresult rc = OpenItem(data, size, Model::kItemKind, &r);
    return rc == VRESULT_OK ? Model::FromPayload(&r, model) : rc;
  }

  static Vresult Outp(OpContext& ctx, int par, Value model) {
    return OutpNewTool(ctx, par, std::move(model));
  }
};

}  // namespace vexa

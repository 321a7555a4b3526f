// The code tools' models as serialised items, in memory and in files, for
// any model class that names its tool and item kinds and gives
// Payload() / FromPayload().
#pragma once

#include <memory>

#include "io/image_file.h"
#include "ops/serialize/serialized_item.h"

namespace vexa {

template <class Model>
ItemBytes ModelItem(const Model& model) {
  return WrapItem(Model::kItemKind, model.Payload());
}

template <class Model>
Vresult ModelFromItem(const unsigned char* data, size_t size, std::shared_ptr<Model>* model) {
  ByteReader r(nullptr, 0);
  const Vresult rc = OpenItem(data, size, Model::kItemKind, &r);
  return rc == VRESULT_OK ? Model::FromPayload(&r, model) : rc;
}

// serialize_*: model handle at input 0, new item at output 0.
template <class Model>
Vresult SerializeModelOp(OpContext& ctx) {
  std::shared_ptr<Model> model;
  const Vresult rc = InpTool(ctx, 0, &model);
  return rc == VRESULT_OK ? OutpNewItem(ctx, 0, ModelItem(*model)) : rc;
}

// deserialize_*: item handle at input 0, new model at output 0.
template <class Model>
Vresult DeserializeModelOp(OpContext& ctx) {
  std::shared_ptr<SerializedItem> item;
  std::shared_ptr<Model> model;
  Vresult rc = InpTool(ctx, 0, &item);
  if (rc == VRESULT_OK) rc = ModelFromItem(item->data(), item->size(), &model);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::move(model)) : rc;
}

// write_*: model handle at input 0, file name at input 1.
template <class Model>
Vresult WriteModelOp(OpContext& ctx) {
  std::shared_ptr<Model> model;
  const char* name = nullptr;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &name);
  return rc == VRESULT_OK ? io::WriteWholeFile(name, ModelItem(*model)) : rc;
}

// read_*: file name at input 0, new model at output 0.
template <class Model>
Vresult ReadModelOp(OpContext& ctx) {
  const char* name = nullptr;
  io::Bytes file;
  std::shared_ptr<Model> model;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = io::ReadWholeFile(name, &file);
  if (rc == VRESULT_OK) rc = ModelFromItem(file.data(), file.size(), &model);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::move(model)) : rc;
}

}  // namespace vexa

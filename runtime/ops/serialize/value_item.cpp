#include "ops/serialize/value_item.h"

#include <memory>

#include "ops/serialize/payload_codec.h"
#include "ops/serialize/serialized_item.h"

namespace vexa {

Vresult SerializeValueItem(OpContext& ctx, const ValueItemKind& k) {
  TupleValues values;
  Vresult rc = k.check(ctx, 0);
  if (rc == VRESULT_OK) rc = ReadInpValues(ctx, 0, &values);
  if (rc != VRESULT_OK) return rc;
  ByteWriter w;
  EncodeTuple(values, &w);
  return OutpNewItem(ctx, 0, WrapItem(k.kind, w.bytes()));
}

Vresult DeserializeValueItem(OpContext& ctx, const ValueItemKind& k) {
  std::shared_ptr<SerializedItem> item;
  ByteReader payload(nullptr, 0);
  TupleValues values;
  Vresult rc = InpTool(ctx, 0, &item);
  if (rc == VRESULT_OK) rc = OpenItem(item->data(), item->size(), k.kind, &payload);
  if (rc == VRESULT_OK) rc = DecodeTuple(&payload, &values);
  if (rc == VRESULT_OK && !k.plausible(values)) rc = VERR_FILE_CORRUPT;
  return rc == VRESULT_OK ? WriteOutpValues(ctx, 0, values) : rc;
}

}  // namespace vexa

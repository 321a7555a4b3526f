// write_object, read_object: iconic objects of any class in a file, as the
// bytes of the serialised item that serialize_object makes
// (docs/formats/serialized-item.md), so a file also reads back through
// fread_serialized_item and deserialize_object, and the other way round.
#include "error_detail.h"
#include "io/image_file.h"
#include "ops/serialize/payload_codec.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(write_object) {
  const char* name = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  if (*name == '\0') return VERR_CTRL_VALUE(0);
  ByteWriter w;
  rc = EncodeInpObjects(ctx, 1, ItemKind::kObject, &w);
  return rc == VRESULT_OK ? io::WriteWholeFile(name, WrapItem(ItemKind::kObject, w.bytes())) : rc;
}

// Any item of objects (also one of serialize_image, _region or _xld).
VEXA_OPERATOR(read_object) {
  const char* name = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  io::Bytes file;
  if (rc == VRESULT_OK) rc = io::ReadWholeFile(name, &file);
  if (rc != VRESULT_OK) return rc;
  NewKeys objects;
  rc = DecodeObjectItem(file.data(), file.size(), ItemKind::kObject, &objects);
  return rc == VRESULT_OK ? objects.HandOver(ctx, 1) : FileFailure(rc, name);
}

}  // namespace vexa

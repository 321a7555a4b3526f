// Payloads of serialised items: control tuples and lists of iconic
// objects (regions, images with their domains and every pixel type,
// sub-pixel objects).
#pragma once

#include <vector>

#include "ops/common/op_objects.h"
#include "ops/serialize/item_format.h"
#include "ops/serialize/tuple_values.h"

namespace vexa {

void EncodeTuple(const TupleValues& values, ByteWriter* w);
// VERR_FILE_CORRUPT for a payload that is not a whole tuple.
Vresult DecodeTuple(ByteReader* r, TupleValues* values);

// The objects of input object parameter `par` as the payload of an item
// of `kind`: kImage takes images, kRegion regions (an image goes as its
// domain), kXld sub-pixel objects, kObject any of them; another class is
// VERR_OBJ_CLASS(par).
Vresult EncodeInpObjects(OpContext& ctx, int par, ItemKind kind, ByteWriter* w);
// New objects in `out` from the payload of an item of `kind`;
// VERR_FILE_CORRUPT for inconsistent data or an object the kind does not
// hold.
Vresult DecodeObjects(ByteReader* r, ItemKind kind, NewKeys* out);
// The objects of a whole item whose kind must be `kind`, where kObject
// takes any item of objects; VERR_DATA_KIND for another kind.
Vresult DecodeObjectItem(const unsigned char* data, size_t size, ItemKind kind, NewKeys* out);

}  // namespace vexa

// Payloads of serialised items: control tuples and lists of iconic
// objects (regions and images with their domains, every pixel type).
#pragma once

#include <vector>

#include "ops/common/op_objects.h"
#include "ops/serialize/item_format.h"
#include "ops/serialize/tuple_values.h"

namespace vexa {

void EncodeTuple(const TupleValues& values, ByteWriter* w);
// VERR_FILE_CORRUPT for a payload that is not a whole tuple.
Vresult DecodeTuple(ByteReader* r, TupleValues* values);

// The objects of `keys`, each tagged as region or image; with
// `as_regions`, an image goes as its domain.
Vresult EncodeObjects(const std::vector<Vkey>& keys, bool as_regions, ByteWriter* w);
// New objects in `out`; VERR_FILE_CORRUPT for inconsistent data.
Vresult DecodeObjects(ByteReader* r, NewKeys* out);

}  // namespace vexa

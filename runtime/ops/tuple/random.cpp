// tuple_rand: `length` uniformly distributed reals in [0, 1) from the
// runtime's generator VDrand48, so that VSrand48 makes a run repeatable.
#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {

VEXA_OPERATOR(tuple_rand) {
  Vlong length = 0;
  const Vresult rc = ReadIndex(ctx, 0, &length);
  if (rc != VRESULT_OK) return rc;
  if (length < 0) return VERR_CTRL_VALUE(0);
  if (length > kMaxGeneratedLength) return VERR_TOO_LARGE;
  Values out;
  for (Vlong i = 0; i < length; ++i) out.push_back(Value::Double(VDrand48()));
  return WriteValues(ctx, 0, out);
}

}  // namespace vexa::tuple

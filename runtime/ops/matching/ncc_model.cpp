// NCC models as bytes: the search parameters, the origin and the patch.
#include "ncc_model.h"

#include <cmath>

namespace vexa {
namespace matching {

ItemBytes NccModel::Payload() const {
  const NccModelData d = Get();
  ByteWriter w;
  w.I32(d.num_levels);
  for (double v : {d.angle_start, d.angle_extent, d.angle_step, d.origin_row, d.origin_col}) w.F64(v);
  w.U8(d.ignore_polarity ? 1 : 0);
  WritePatch(w, d.patch);
  return w.bytes();
}

Vresult NccModel::FromPayload(ByteReader* r, std::shared_ptr<NccModel>* model) {
  NccModelData d;
  int32_t levels = 0;
  uint8_t polarity = 0;
  bool ok = r->I32(&levels) && levels >= 1 && levels <= kMaxNccLevels;
  for (double* v : {&d.angle_start, &d.angle_extent, &d.angle_step, &d.origin_row, &d.origin_col})
    ok = ok && r->F64(v) && std::fabs(*v) <= 1e6;
  ok = ok && d.angle_extent >= 0 && d.angle_step >= kMinAngleStep && d.angle_step <= kMaxNccAngleStep && r->U8(&polarity) &&
       polarity <= 1 && ReadPatch(*r, &d.patch) && r->remaining() == 0;
  if (!ok) return VERR_FILE_CORRUPT;
  d.num_levels = levels;
  d.ignore_polarity = polarity == 1;
  *model = std::make_shared<NccModel>(std::move(d));
  return VRESULT_OK;
}

}  // namespace matching
}  // namespace vexa

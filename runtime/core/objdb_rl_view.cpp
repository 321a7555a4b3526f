#include "objdb_rl_view.h"

#include <cstring>
#include <limits>

#include "vexa/errors.h"

namespace vexa {
namespace db {

Vresult BuildRLView(const Region& region, std::unique_ptr<RLView>* view) {
  if (!region.FitsInt16()) return VERR_COORD_RANGE;
  const std::vector<Chord>& chords = region.chords();
  if (chords.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max()))
    return VERR_TOO_LARGE;
  std::unique_ptr<RLView> v(new (std::nothrow) RLView());
  if (!v) return VERR_OUT_OF_MEMORY;
  std::memset(&v->record, 0, sizeof v->record);
  v->chords.reserve(chords.size());
  for (const Chord& c : chords)
    v->chords.push_back({static_cast<int16_t>(c.r), static_cast<int16_t>(c.cb),
                         static_cast<int16_t>(c.ce)});
  v->record.num = static_cast<int32_t>(chords.size());
  v->record.rl = v->chords.empty() ? nullptr : v->chords.data();
  if (region.area() <= std::numeric_limits<int32_t>::max()) {
    v->record.area = static_cast<int32_t>(region.area());
    v->record.row = region.row();
    v->record.col = region.col();
    v->record.flags = VRL_FEATURES_VALID;
  }
  *view = std::move(v);
  return VRESULT_OK;
}

}  // namespace db
}  // namespace vexa

// Measures as serialised items, in memory and in files. The payload is the
// geometry: shape flag, interpolation, image width and height, then the
// eight real parameters. Readers check it as gen_measure_* checks its
// parameters, so a damaged item gives a code, never a measure that
// samples outside its image.
#include <cmath>
#include <string>

#include "measure_tool.h"
#include "ops/serialize/tool_item_ops.h"
#include "registry.h"

namespace vexa {
namespace {

ItemBytes MeasureItem(const MeasureGeometry& g) {
  ByteWriter w;
  w.U8(g.arc ? 1 : 0);
  w.U8(static_cast<uint8_t>(g.interpolation));
  w.I64(g.width);
  w.I64(g.height);
  for (double v : {g.row, g.column, g.phi, g.length1, g.length2, g.radius, g.angle_start, g.angle_extent})
    w.F64(v);
  return WrapItem(ItemKind::kMeasure, w.bytes());
}

bool Plausible(const MeasureGeometry& g) {
  const double limit = static_cast<double>(g.width + g.height);
  for (double v : {g.row, g.column, g.phi, g.length1, g.length2, g.radius, g.angle_start, g.angle_extent})
    if (!std::isfinite(v)) return false;
  if (g.length1 < 0 || g.length2 < 0 || g.length1 > limit || g.length2 > limit) return false;
  if (g.arc && (g.radius <= 0 || g.radius > limit || g.angle_extent == 0 ||
                std::fabs(g.angle_extent) > 2 * M_PI))
    return false;
  MeasureSampling s;
  return PlanSampling(g, &s) == VRESULT_OK;
}

Vresult MeasureFromItem(const unsigned char* data, size_t size, MeasureGeometry* g) {
  ByteReader r(nullptr, 0);
  const Vresult rc = OpenItem(data, size, ItemKind::kMeasure, &r);
  if (rc != VRESULT_OK) return rc;
  uint8_t arc = 0, interpolation = 0;
  int64_t width = 0, height = 0;
  bool ok = r.U8(&arc) && r.U8(&interpolation) && r.I64(&width) && r.I64(&height);
  for (double* v : {&g->row, &g->column, &g->phi, &g->length1, &g->length2, &g->radius,
                    &g->angle_start, &g->angle_extent})
    ok = ok && r.F64(v);
  if (!ok || r.remaining() != 0 || arc > 1 || interpolation > 2 || width < 1 || height < 1 ||
      width > kMaxMeasureImageSide || height > kMaxMeasureImageSide)
    return VERR_FILE_CORRUPT;
  g->arc = arc == 1;
  g->interpolation = static_cast<MeasureInterpolation>(interpolation);
  g->width = width;
  g->height = height;
  return Plausible(*g) ? VRESULT_OK : VERR_FILE_CORRUPT;
}

// The measure's geometry through serialised items and files.
struct MeasureCodec {
  using Value = MeasureGeometry;
  static Vresult InpItem(const OpContext& ctx, int par, ItemBytes* item) {
    MeasureGeometry g;
    const Vresult rc = InpMeasure(ctx, par, &g);
    if (rc == VRESULT_OK) *item = MeasureItem(g);
    return rc;
  }
  static Vresult Decode(const unsigned char* data, size_t size, MeasureGeometry* g) {
    return MeasureFromItem(data, size, g);
  }
  static Vresult Outp(OpContext& ctx, int par, const MeasureGeometry& g) {
    return OutpNewTool(ctx, par, std::make_shared<MeasureTool>(g));
  }
};
using MeasureItemOps = ToolItemOps<MeasureCodec>;

}  // namespace

VEXA_OPERATOR(serialize_measure) { return MeasureItemOps::Serialize(ctx); }
VEXA_OPERATOR(deserialize_measure) { return MeasureItemOps::Deserialize(ctx); }
VEXA_OPERATOR(write_measure) { return MeasureItemOps::Write(ctx); }
VEXA_OPERATOR(read_measure) { return MeasureItemOps::Read(ctx); }

}  // namespace vexa

// Shape models as serialised items, in memory and in files. The payload
// holds the parameters, the reference point and origin, then per level the
// angle and scale steps and the points (four floats each). Readers check every value
// (counts against the bytes present, finite coordinates, unit directions),
// so a damaged item gives a code, never a model that reads outside its
// planes; the level radii are recomputed from the points.
#include <cmath>
#include <cstring>

#include "model_build.h"
#include "ops/serialize/tool_item_ops.h"
#include "registry.h"
#include "shape_model.h"

namespace vexa {
namespace matching {
namespace {

// Largest point coordinate an item may hold.
constexpr double kMaxCoord = 1e6;

void PutFloat(ByteWriter& w, float v) {
  uint32_t bits;
  std::memcpy(&bits, &v, 4);
  w.U32(bits);
}

bool GetFloat(ByteReader& r, float* v) {
  uint32_t bits = 0;
  if (!r.U32(&bits)) return false;
  std::memcpy(v, &bits, 4);
  return true;
}

ItemBytes ModelItem(const ShapeModel& m) {
  const ShapeModelParams& p = m.params;
  ByteWriter w;
  w.I32(p.num_levels);
  for (double v : {p.angle_start, p.angle_extent, p.angle_step, p.scale_min[0], p.scale_max[0],
                   p.scale_step[0], p.scale_min[1], p.scale_max[1], p.scale_step[1], p.min_contrast,
                   m.ref_row, m.ref_col, m.origin_row, m.origin_col})
    w.F64(v);
  w.U8(static_cast<uint8_t>(p.metric));
  w.U8(static_cast<uint8_t>(p.scaling));
  w.U8(m.from_contours ? 1 : 0);
  w.String(p.optimization);
  w.U32(static_cast<uint32_t>(p.contrast.size()));
  for (double v : p.contrast) w.F64(v);
  for (const ModelLevel& level : *m.levels) {
    w.F64(level.angle_step);
    w.F64(level.scale_step[0]);
    w.F64(level.scale_step[1]);
    w.U64(level.points.size());
    for (const ModelPoint& pt : level.points)
      for (float v : {pt.r, pt.c, pt.dr, pt.dc}) PutFloat(w, v);
  }
  return WrapItem(ItemKind::kShapeModel, w.bytes());
}

bool ReadLevel(ByteReader& r, ModelLevel* level) {
  uint64_t n = 0;
  if (!r.F64(&level->angle_step) || !r.F64(&level->scale_step[0]) ||
      !r.F64(&level->scale_step[1]) || !r.Count(16, &n))
    return false;
  if (!(level->angle_step > 0 && level->angle_step <= M_PI) || n < 1) return false;
  for (double step : level->scale_step)
    if (!(step > 0 && step <= 1)) return false;
  level->points.resize(n);
  for (ModelPoint& pt : level->points) {
    if (!GetFloat(r, &pt.r) || !GetFloat(r, &pt.c) || !GetFloat(r, &pt.dr) || !GetFloat(r, &pt.dc))
      return false;
    if (!(std::fabs(pt.r) <= kMaxCoord && std::fabs(pt.c) <= kMaxCoord)) return false;
    if (!(std::fabs(std::hypot(pt.dr, pt.dc) - 1) < 1e-3)) return false;
    level->radius = std::max(level->radius, std::hypot(static_cast<double>(pt.r), static_cast<double>(pt.c)));
  }
  return true;
}

Vresult ModelFromItem(const unsigned char* data, size_t size, ShapeModel* m) {
  ByteReader r(nullptr, 0);
  const Vresult rc = OpenItem(data, size, ItemKind::kShapeModel, &r);
  if (rc != VRESULT_OK) return rc;
  ShapeModelParams& p = m->params;
  int32_t levels = 0;
  uint8_t metric = 0, scaling = 0, from_contours = 0;
  uint32_t contrasts = 0;
  bool ok = r.I32(&levels);
  for (double* v : {&p.angle_start, &p.angle_extent, &p.angle_step, &p.scale_min[0],
                    &p.scale_max[0], &p.scale_step[0], &p.scale_min[1], &p.scale_max[1],
                    &p.scale_step[1], &p.min_contrast, &m->ref_row, &m->ref_col, &m->origin_row,
                    &m->origin_col})
    ok = ok && r.F64(v) && std::fabs(*v) <= kMaxCoord;
  for (int axis = 0; axis < 2; ++axis)
    ok = ok && p.scale_min[axis] > 0 && p.scale_min[axis] <= p.scale_max[axis];
  ok = ok && r.U8(&metric) && metric <= 2 && r.U8(&scaling) && scaling <= 2 &&
       r.U8(&from_contours) && from_contours <= 1 && r.String(&p.optimization) && r.U32(&contrasts) &&
       contrasts <= 3 && levels >= 1 && levels <= kMaxModelLevels;
  p.contrast.resize(ok ? contrasts : 0);
  for (double& v : p.contrast) ok = ok && r.F64(&v) && v >= 0 && v <= kMaxCoord;
  auto list = std::make_shared<std::vector<ModelLevel>>(ok ? levels : 0);
  for (ModelLevel& level : *list) ok = ok && ReadLevel(r, &level);
  if (!ok || r.remaining() != 0 || p.min_contrast < 0 || p.angle_extent < 0) return VERR_FILE_CORRUPT;
  p.num_levels = levels;
  p.metric = static_cast<Metric>(metric);
  p.scaling = static_cast<Scaling>(scaling);
  m->from_contours = from_contours == 1;
  m->levels = std::move(list);
  return VRESULT_OK;
}

// The shape model through serialised items and files.
struct ShapeModelCodec {
  using Value = ShapeModel;
  static Vresult InpItem(const OpContext& ctx, int par, ItemBytes* item) {
    ShapeModel m;
    const Vresult rc = InpShapeModel(ctx, par, &m);
    if (rc == VRESULT_OK) *item = ModelItem(m);
    return rc;
  }
  static Vresult Decode(const unsigned char* data, size_t size, ShapeModel* m) {
    return ModelFromItem(data, size, m);
  }
  static Vresult Outp(OpContext& ctx, int par, ShapeModel m) {
    return OutpNewTool(ctx, par, std::make_shared<ShapeModelTool>(std::move(m)));
  }
};
using ShapeModelItemOps = ToolItemOps<ShapeModelCodec>;

}  // namespace

VEXA_OPERATOR(serialize_shape_model) { return ShapeModelItemOps::Serialize(ctx); }
VEXA_OPERATOR(deserialize_shape_model) { return ShapeModelItemOps::Deserialize(ctx); }
VEXA_OPERATOR(write_shape_model) { return ShapeModelItemOps::Write(ctx); }
VEXA_OPERATOR(read_shape_model) { return ShapeModelItemOps::Read(ctx); }

}  // namespace matching
}  // namespace vexa

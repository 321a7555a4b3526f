// Metrology models as serialised items, in memory and in files. The
// payload holds the image size, the reference and aligned poses, the next
// index, then per object its index, shape, shape parameters, its
// parameters by name (number or string), so that readers check every
// value with the same rules as set_metrology_object_param, and its fuzzy
// edge sets (feature, points, x and y values) and threshold. Results of
// apply_metrology_model are not kept.
#include <cmath>
#include <cstring>
#include <string>

#include "metrology_params.h"
#include "ops/serialize/tool_item_ops.h"
#include "registry.h"

namespace vexa {
namespace {

// Fewest bytes an object takes: a count the payload cannot hold is refused
// before anything is read.
constexpr uint64_t kMinObjectBytes = 8 + 1 + 8 + 8 + 8;

void WritePose(ByteWriter& w, const MetrologyPose& p) {
  w.F64(p.row);
  w.F64(p.column);
  w.F64(p.angle);
}

bool ReadPose(ByteReader& r, MetrologyPose* p) {
  return r.F64(&p->row) && r.F64(&p->column) && r.F64(&p->angle) && std::fabs(p->row) <= 1e7 &&
         std::fabs(p->column) <= 1e7 && std::fabs(p->angle) <= 1e7;
}

ItemBytes ModelItem(const MetrologyModel& m) {
  ByteWriter w;
  w.I64(m.width);
  w.I64(m.height);
  WritePose(w, m.reference);
  WritePose(w, m.aligned);
  w.I64(m.next_index);
  w.U64(m.objects.size());
  for (const auto& entry : m.objects) {
    const MetrologyObject& o = entry.second;
    w.I64(entry.first);
    w.U8(static_cast<uint8_t>(o.shape));
    for (double v : o.shape_params) w.F64(v);
    std::vector<std::pair<const char*, Vcpar>> params;
    ForEachMetrologyParam(o.params, [&](const char* name, const Vcpar& v) { params.emplace_back(name, v); });
    w.U64(params.size());
    for (const auto& p : params) {
      w.String(p.first);
      w.U8(static_cast<uint8_t>(p.second.type));
      if (p.second.type == VPAR_STRING) w.String(p.second.par.s);
      else if (p.second.type == VPAR_LONG) w.I64(p.second.par.l);
      else w.F64(p.second.par.d);
    }
    w.U64(o.fuzzy.sets.size());
    for (const auto& set : o.fuzzy.sets) {
      w.U8(static_cast<uint8_t>(set.first));
      w.U64(set.second.membership.size());
      for (double x : set.second.membership.x) w.F64(x);
      for (double y : set.second.membership.y) w.F64(y);
    }
    w.F64(o.fuzzy_thresh);
  }
  return WrapItem(ItemKind::kMetrologyModel, w.bytes());
}

bool ReadParam(ByteReader& r, MetrologyParams* params) {
  std::string name, text;
  uint8_t type = 0;
  Vcpar v{};
  if (!r.String(&name) || !r.U8(&type)) return false;
  v.type = type;
  bool ok = false;
  if (type == VPAR_STRING) {
    ok = r.String(&text);
    v.par.s = const_cast<char*>(text.c_str());
  } else if (type == VPAR_LONG) {
    ok = r.I64(&v.par.l);
  } else if (type == VPAR_DOUBLE) {
    ok = r.F64(&v.par.d);
  }
  return ok && SetMetrologyParam(params, name.c_str(), v, 0, 0) == VRESULT_OK;
}

// An edge set as ModelItem wrote it, checked as when it is set.
bool ReadFuzzySet(ByteReader& r, FuzzySets* sets) {
  uint8_t feature = 0;
  uint64_t n = 0;
  FuzzyFeature f{};
  if (!r.U8(&feature) || !r.Count(16, &n)) return false;
  f = static_cast<FuzzyFeature>(feature);
  if (feature > static_cast<uint8_t>(FuzzyFeature::kGray) || PairOnly(f)) return false;
  Funct1D m;
  m.x.resize(n);
  m.y.resize(n);
  for (double& x : m.x)
    if (!r.F64(&x)) return false;
  for (double& y : m.y)
    if (!r.F64(&y)) return false;
  if (!ValidMembership(m)) return false;
  sets->sets[f] = FuzzySet{m, false};
  return true;
}

bool ReadObject(ByteReader& r, MetrologyModel* m) {
  int64_t index = 0;
  uint8_t shape = 0;
  uint64_t count = 0;
  if (!r.I64(&index) || !r.U8(&shape) || shape > 3 || index < 0 || index >= m->next_index ||
      m->objects.count(index) != 0)
    return false;
  MetrologyObject o;
  o.shape = static_cast<MetrologyShape>(shape);
  o.shape_params.resize(ShapeParamCount(o.shape));
  for (double& v : o.shape_params)
    if (!r.F64(&v)) return false;
  if (!ValidShape(o.shape, o.shape_params) || !r.Count(2, &count)) return false;
  for (uint64_t i = 0; i < count; ++i)
    if (!ReadParam(r, &o.params)) return false;
  if (!r.Count(9, &count)) return false;
  for (uint64_t i = 0; i < count; ++i)
    if (!ReadFuzzySet(r, &o.fuzzy)) return false;
  if (!r.F64(&o.fuzzy_thresh) || !(o.fuzzy_thresh >= 0 && o.fuzzy_thresh <= 1)) return false;
  m->objects[index] = std::move(o);
  return true;
}

Vresult ModelFromItem(const unsigned char* data, size_t size, MetrologyModel* m) {
  ByteReader r(nullptr, 0);
  const Vresult rc = OpenItem(data, size, ItemKind::kMetrologyModel, &r);
  if (rc != VRESULT_OK) return rc;
  uint64_t count = 0;
  bool ok = r.I64(&m->width) && r.I64(&m->height) && ReadPose(r, &m->reference) &&
            ReadPose(r, &m->aligned) && r.I64(&m->next_index) && r.Count(kMinObjectBytes, &count);
  const bool sized = m->width == 0 && m->height == 0;
  ok = ok && m->next_index >= 0 &&
       (sized || (m->width >= 1 && m->height >= 1 && m->width <= kMaxMeasureImageSide &&
                  m->height <= kMaxMeasureImageSide));
  for (uint64_t i = 0; ok && i < count; ++i) ok = ReadObject(r, m);
  return ok && r.remaining() == 0 ? VRESULT_OK : VERR_FILE_CORRUPT;
}

// The metrology model through serialised items and files; the model is
// encoded under its tool's lock.
struct MetrologyModelCodec {
  using Value = MetrologyModel;
  static Vresult InpItem(const OpContext& ctx, int par, ItemBytes* item) {
    std::shared_ptr<MetrologyTool> tool;
    std::unique_lock<std::mutex> lock;
    const Vresult rc = InpMetrology(ctx, par, &tool, &lock);
    if (rc == VRESULT_OK) *item = ModelItem(tool->model());
    return rc;
  }
  static Vresult Decode(const unsigned char* data, size_t size, MetrologyModel* m) {
    return ModelFromItem(data, size, m);
  }
  static Vresult Outp(OpContext& ctx, int par, MetrologyModel m) {
    return OutpNewTool(ctx, par, std::make_shared<MetrologyTool>(std::move(m)));
  }
};
using MetrologyItemOps = ToolItemOps<MetrologyModelCodec>;

}  // namespace

VEXA_OPERATOR(serialize_metrology_model) { return MetrologyItemOps::Serialize(ctx); }
VEXA_OPERATOR(deserialize_metrology_model) { return MetrologyItemOps::Deserialize(ctx); }
VEXA_OPERATOR(write_metrology_model) { return MetrologyItemOps::Write(ctx); }
VEXA_OPERATOR(read_metrology_model) { return MetrologyItemOps::Read(ctx); }

}  // namespace vexa

#include "ops/serialize/xld_codec.h"

#include <cmath>
#include <memory>
#include <utility>

namespace vexa {
namespace {

// A name and at least one value: the smallest attribute record.
constexpr size_t kMinAttribBytes = 8 + 8;

void EncodeAttribs(const std::vector<XldAttrib>& attribs, ByteWriter* w) {
  w->U64(attribs.size());
  for (const XldAttrib& a : attribs) {
    w->String(a.name);
    for (double v : a.values) w->F64(v);
  }
}

bool DecodeAttribs(ByteReader* r, size_t values_each, std::vector<XldAttrib>* attribs) {
  uint64_t n = 0;
  if (!r->Count(values_each == 0 ? 8 : kMinAttribBytes, &n)) return false;
  attribs->resize(static_cast<size_t>(n));
  for (XldAttrib& a : *attribs) {
    if (!r->String(&a.name)) return false;
    uint64_t bytes_needed = static_cast<uint64_t>(values_each) * 8;
    if (bytes_needed > r->remaining()) return false;
    a.values.resize(values_each);
    for (double& v : a.values)
      if (!r->F64(&v)) return false;
  }
  return true;
}

bool DecodePoints(ByteReader* r, Xld* x) {
  uint64_t n = 0;
  if (!r->Count(8, &n)) return false;
  x->rows.resize(static_cast<size_t>(n));
  x->cols.resize(static_cast<size_t>(n));
  for (size_t i = 0; i < n; ++i) {
    if (!r->F32(&x->rows[i]) || !r->F32(&x->cols[i])) return false;
    if (!std::isfinite(x->rows[i]) || !std::isfinite(x->cols[i])) return false;
  }
  return true;
}

// A nested object (a polygon's source contour, a part of parallels) behind
// a presence byte. Nesting is bounded by the classes: parallels hold
// polygons, polygons hold contours, contours hold nothing.
void EncodeOptional(const XldPtr& xld, ByteWriter* w) {
  w->U8(xld ? 1 : 0);
  if (xld) EncodeXld(*xld, w);
}
bool DecodeOptional(ByteReader* r, int32_t expected, XldPtr* out);

bool DecodePolygonData(ByteReader* r, Xld* x) {
  uint64_t n = 0;
  if (!r->Count(8, &n) || n != x->size()) return false;
  x->source_index.resize(static_cast<size_t>(n));
  for (int64_t& i : x->source_index)
    if (!r->I64(&i) || i < 0) return false;
  if (!DecodeOptional(r, VOBJ_XLD_CONT, &x->source)) return false;
  if (!x->source) return true;
  for (int64_t i : x->source_index)
    if (static_cast<uint64_t>(i) >= x->source->size()) return false;
  return true;
}

// Segments first..last of `poly`; segment k joins corners k and k + 1.
bool SegmentRangeFits(const XldPtr& poly, int32_t first, int32_t last) {
  return poly && first >= 0 && first <= last && static_cast<size_t>(last) + 1 < poly->size();
}

bool DecodeParallelData(ByteReader* r, Xld* x) {
  if (!DecodeOptional(r, VOBJ_XLD_POLY, &x->part1) || !DecodeOptional(r, VOBJ_XLD_POLY, &x->part2))
    return false;
  if (!r->I32(&x->first1) || !r->I32(&x->last1) || !r->I32(&x->first2) || !r->I32(&x->last2))
    return false;
  // Both polygons, and segment ranges inside them: the parallels
  // operators index the polygons' corners by these ranges.
  if (!SegmentRangeFits(x->part1, x->first1, x->last1) ||
      !SegmentRangeFits(x->part2, x->first2, x->last2))
    return false;
  uint64_t n = 0;
  if (!r->Count(8, &n)) return false;
  x->quality.resize(static_cast<size_t>(n));
  for (double& q : x->quality)
    if (!r->F64(&q)) return false;
  return true;
}

bool DecodeOptional(ByteReader* r, int32_t expected, XldPtr* out) {
  uint8_t present = 0;
  if (!r->U8(&present) || present > 1) return false;
  if (present == 0) return true;
  XldPtr xld;
  if (DecodeXld(r, &xld) != VRESULT_OK || xld->cls != expected) return false;
  *out = std::move(xld);
  return true;
}

}  // namespace

void EncodeXld(const Xld& x, ByteWriter* w) {
  w->I32(x.cls);
  w->U64(x.size());
  for (size_t i = 0; i < x.size(); ++i) {
    w->F32(x.rows[i]);
    w->F32(x.cols[i]);
  }
  switch (x.cls) {
    case VOBJ_XLD_CONT:
      EncodeAttribs(x.attribs, w);
      EncodeAttribs(x.globals, w);
      break;
    case VOBJ_XLD_POLY:
      w->U64(x.source_index.size());
      for (int64_t i : x.source_index) w->I64(i);
      EncodeOptional(x.source, w);
      break;
    default:
      EncodeOptional(x.part1, w);
      EncodeOptional(x.part2, w);
      w->I32(x.first1);
      w->I32(x.last1);
      w->I32(x.first2);
      w->I32(x.last2);
      w->U64(x.quality.size());
      for (double q : x.quality) w->F64(q);
      break;
  }
}

Vresult DecodeXld(ByteReader* r, XldPtr* out) {
  auto x = std::make_shared<Xld>();
  if (!r->I32(&x->cls) || x->cls < VOBJ_XLD_CONT || x->cls > VOBJ_XLD_EXT_PARA ||
      !DecodePoints(r, x.get()))
    return VERR_FILE_CORRUPT;
  bool ok = false;
  switch (x->cls) {
    case VOBJ_XLD_CONT:
      ok = DecodeAttribs(r, x->size(), &x->attribs) && DecodeAttribs(r, 1, &x->globals);
      break;
    case VOBJ_XLD_POLY:
      ok = DecodePolygonData(r, x.get());
      break;
    default:
      ok = DecodeParallelData(r, x.get());
      break;
  }
  if (!ok) return VERR_FILE_CORRUPT;
  *out = std::move(x);
  return VRESULT_OK;
}

}  // namespace vexa

// Regions from geometric shapes: gen_rectangle2, gen_circle, gen_ellipse,
// gen_circle_sector, gen_ellipse_sector, gen_region_polygon,
// gen_region_polygon_filled, gen_region_line, gen_region_runs,
// gen_region_points, gen_empty_region.
//
// The shape operators make one region per index of their parameters; a
// parameter with one value serves every index.
#include <cmath>

#include "ops/region/kernels/raster.h"
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

// What a shape parameter may hold.
enum class Kind {
  kCoord,   // within +-kMaxRegionCoord
  kAngle,   // any finite value
  kLength,  // > 0; beyond kMaxRegionCoord the region would be absurd
};

Vresult CheckValue(Kind kind, double v, int par) {
  if (!std::isfinite(v)) return VERR_CTRL_VALUE(par);
  switch (kind) {
    case Kind::kCoord: return CoordOk(v) ? VRESULT_OK : VERR_CTRL_VALUE(par);
    case Kind::kAngle: return VRESULT_OK;
    case Kind::kLength:
      if (!(v > 0.0)) return VERR_CTRL_VALUE(par);
      return v <= kMaxRegionCoord ? VRESULT_OK : VERR_TOO_LARGE;
  }
  return VRESULT_OK;
}

// Reads parameters 0..kinds.size()-1 and makes one region per index with
// make(const double* values) -> ChordList (canonical).
template <class Make>
Vresult GenShapes(OpContext& ctx, std::initializer_list<Kind> kinds, Make make) {
  std::vector<std::vector<double>> v;
  size_t n = 0;
  const int count = static_cast<int>(kinds.size());
  Vresult rc = GetBroadcastDoubles(ctx, 0, count, &v, &n);
  if (rc != VRESULT_OK) return rc;
  std::vector<RegionPtr> out;
  out.reserve(n);
  std::vector<double> values(kinds.size());
  for (size_t i = 0; i < n; ++i) {
    int par = 0;
    for (Kind k : kinds) {
      values[par] = v[par][i];
      if ((rc = CheckValue(k, values[par], par)) != VRESULT_OK) return rc;
      ++par;
    }
    out.push_back(Region::FromCanonicalChords(make(values.data())));
  }
  return OutRegions(ctx, 1, out);
}

// Rows and columns of a polygon: equal lengths, coordinates in range.
Vresult GetPolygon(OpContext& ctx, std::vector<double>* rows,
                   std::vector<double>* cols) {
  Vresult rc = ctx.GetDoubles(0, *rows);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(1, *cols);
  if (rc != VRESULT_OK) return rc;
  if (cols->size() != rows->size()) return VERR_CTRL_NUM(1);
  for (size_t i = 0; i < rows->size(); ++i) {
    if (!CoordOk((*rows)[i])) return VERR_CTRL_VALUE(0);
    if (!CoordOk((*cols)[i])) return VERR_CTRL_VALUE(1);
  }
  return VRESULT_OK;
}

// Integer tuples of one length from parameters 0..count-1, in range.
Vresult GetCoordTuples(OpContext& ctx, int count,
                       std::vector<std::vector<Vlong>>* v) {
  v->assign(static_cast<size_t>(count), {});
  for (int par = 0; par < count; ++par) {
    const Vresult rc = ctx.GetLongs(par, (*v)[par]);
    if (rc != VRESULT_OK) return rc;
    if ((*v)[par].size() != (*v)[0].size()) return VERR_CTRL_NUM(par);
    for (Vlong x : (*v)[par])
      if (!CoordOk(static_cast<double>(x))) return VERR_CTRL_VALUE(par);
  }
  return VRESULT_OK;
}

constexpr auto C = Kind::kCoord, A = Kind::kAngle, L = Kind::kLength;

}  // namespace

VEXA_OPERATOR(gen_rectangle2) {
  return GenShapes(ctx, {C, C, A, L, L}, [](const double* p) {
    return RasterRectangle2(p[0], p[1], p[2], p[3], p[4]);
  });
}

VEXA_OPERATOR(gen_circle) {
  return GenShapes(ctx, {C, C, L}, [](const double* p) {
    return RasterEllipse(p[0], p[1], 0.0, p[2], p[2]);
  });
}

VEXA_OPERATOR(gen_ellipse) {
  return GenShapes(ctx, {C, C, A, L, L}, [](const double* p) {
    return RasterEllipse(p[0], p[1], p[2], p[3], p[4]);
  });
}

VEXA_OPERATOR(gen_circle_sector) {
  return GenShapes(ctx, {C, C, L, A, A}, [](const double* p) {
    return RasterEllipseSector(p[0], p[1], 0.0, p[2], p[2], p[3], p[4]);
  });
}

VEXA_OPERATOR(gen_ellipse_sector) {
  return GenShapes(ctx, {C, C, A, L, L, A, A}, [](const double* p) {
    return RasterEllipseSector(p[0], p[1], p[2], p[3], p[4], p[5], p[6]);
  });
}

// The closed outline through the points.
VEXA_OPERATOR(gen_region_polygon) {
  std::vector<double> rows, cols;
  const Vresult rc = GetPolygon(ctx, &rows, &cols);
  if (rc != VRESULT_OK) return rc;
  return OutRegion(ctx, 1,
                   Region::FromCanonicalChords(RasterPolygonOutline(rows, cols)));
}

// The polygon's inside (even-odd) with its outline.
VEXA_OPERATOR(gen_region_polygon_filled) {
  std::vector<double> rows, cols;
  const Vresult rc = GetPolygon(ctx, &rows, &cols);
  if (rc != VRESULT_OK) return rc;
  return OutRegion(ctx, 1,
                   Region::FromCanonicalChords(RasterPolygonFilled(rows, cols)));
}

// One digital line per index.
VEXA_OPERATOR(gen_region_line) {
  std::vector<std::vector<Vlong>> v;
  const Vresult rc = GetCoordTuples(ctx, 4, &v);
  if (rc != VRESULT_OK) return rc;
  std::vector<RegionPtr> out;
  for (size_t i = 0; i < v[0].size(); ++i) {
    std::vector<Chord> pts;
    RasterLine(static_cast<int32_t>(v[0][i]), static_cast<int32_t>(v[1][i]),
               static_cast<int32_t>(v[2][i]), static_cast<int32_t>(v[3][i]),
               &pts);
    out.push_back(Region::FromChords(std::move(pts)));
  }
  return OutRegions(ctx, 1, out);
}

// One region of all the runs (overlapping runs merge; a run whose end lies
// before its start is an error).
VEXA_OPERATOR(gen_region_runs) {
  std::vector<std::vector<Vlong>> v;
  const Vresult rc = GetCoordTuples(ctx, 3, &v);
  if (rc != VRESULT_OK) return rc;
  std::vector<Chord> runs(v[0].size());
  for (size_t i = 0; i < runs.size(); ++i) {
    if (v[2][i] < v[1][i]) return VERR_CTRL_VALUE(2);
    runs[i] = {static_cast<int32_t>(v[0][i]), static_cast<int32_t>(v[1][i]),
               static_cast<int32_t>(v[2][i])};
  }
  return OutRegion(ctx, 1, Region::FromChords(std::move(runs)));
}

// One region of all the points.
VEXA_OPERATOR(gen_region_points) {
  std::vector<std::vector<Vlong>> v;
  const Vresult rc = GetCoordTuples(ctx, 2, &v);
  if (rc != VRESULT_OK) return rc;
  std::vector<Chord> pts(v[0].size());
  for (size_t i = 0; i < pts.size(); ++i)
    pts[i] = {static_cast<int32_t>(v[0][i]), static_cast<int32_t>(v[1][i]),
              static_cast<int32_t>(v[1][i])};
  return OutRegion(ctx, 1, Region::FromChords(std::move(pts)));
}

VEXA_OPERATOR(gen_empty_region) { return OutRegion(ctx, 1, Region::Empty()); }

}  // namespace vexa

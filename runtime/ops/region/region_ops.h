// Helpers shared by the region operators: reading all regions of an input
// parameter, mapping each input region to output regions, and reading
// coordinates with their range checks.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/common/op_objects.h"
#include "region_algebra.h"

namespace vexa {

// The frame for operators whose result would otherwise be unbounded (the
// complement, growing without a limit): rows and columns 0..511, the
// runtime's default image size, as long as the runtime has no setting for
// it.
constexpr int32_t kFrameWidth = 512;
constexpr int32_t kFrameHeight = 512;

// Every region of input object parameter `par`, in order (an image gives
// its domain).
inline Vresult InpRegions(OpContext& ctx, int par,
                          std::vector<RegionPtr>* regions) {
  return ctx.ForEachInpObj(par, [&](Vkey key, Vlong) {
    RegionPtr r;
    const Vresult rc = InpRegion(par, key, &r);
    if (rc == VRESULT_OK) regions->push_back(std::move(r));
    return rc;
  });
}

// The region of the single object of input parameter `par`
// (VERR_OBJ_NUM(par) for none or several).
inline Vresult InpSingleRegion(OpContext& ctx, int par, RegionPtr* region) {
  Vkey key = VKEY_UNDEF;
  const Vresult rc = ctx.InpObjSingle(par, &key);
  return rc == VRESULT_OK ? InpRegion(par, key, region) : rc;
}

// Stores each region as a new object and hands all of them to output
// object parameter `par`.
inline Vresult OutRegions(OpContext& ctx, int par,
                          const std::vector<RegionPtr>& regions) {
  NewKeys out;
  out.Reserve(regions.size());
  for (const RegionPtr& r : regions) {
    Vkey key = VKEY_UNDEF;
    const Vresult rc = db::NewRegion(r, &key);
    if (rc != VRESULT_OK) return rc;
    out.Add(key);
  }
  return out.HandOver(ctx, par);
}

inline Vresult OutRegion(OpContext& ctx, int par, RegionPtr region) {
  return OutRegions(ctx, par, std::vector<RegionPtr>{std::move(region)});
}

// One output region per input region of parameter 1, made by
// fn(const Region&, RegionPtr*) -> Vresult, into output parameter 1.
template <class Fn>
Vresult MapRegions(OpContext& ctx, Fn&& fn) {
  std::vector<RegionPtr> in;
  Vresult rc = InpRegions(ctx, 1, &in);
  if (rc != VRESULT_OK) return rc;
  std::vector<RegionPtr> out(in.size());
  for (size_t i = 0; i < in.size() && rc == VRESULT_OK; ++i)
    rc = fn(*in[i], &out[i]);
  if (rc != VRESULT_OK) return rc;
  return OutRegions(ctx, 1, out);
}

// Whether a coordinate lies within what operators accept.
inline bool CoordOk(double v) { return std::fabs(v) <= kMaxRegionCoord; }

// One integer of control parameter `par` within +-kMaxRegionCoord.
inline Vresult GetCoord(const OpContext& ctx, int par, int32_t* v) {
  Vlong x = 0;
  const Vresult rc = ctx.GetLong(par, &x);
  if (rc != VRESULT_OK) return rc;
  if (!CoordOk(static_cast<double>(x))) return VERR_CTRL_VALUE(par);
  *v = static_cast<int32_t>(x);
  return VRESULT_OK;
}

// All values of `count` real control parameters starting at `first`, each
// either of length n or of length 1 (then repeated); n is the longest
// length. A parameter of another length gives VERR_CTRL_NUM, none at all
// VERR_CTRL_NUM too.
inline Vresult GetBroadcastDoubles(const OpContext& ctx, int first, int count,
                                   std::vector<std::vector<double>>* values,
                                   size_t* n) {
  values->assign(static_cast<size_t>(count), {});
  *n = 0;
  for (int k = 0; k < count; ++k) {
    const Vresult rc = ctx.GetDoubles(first + k, (*values)[k]);
    if (rc != VRESULT_OK) return rc;
    if ((*values)[k].empty()) return VERR_CTRL_NUM(first + k);
    *n = std::max(*n, (*values)[k].size());
  }
  for (int k = 0; k < count; ++k) {
    std::vector<double>& v = (*values)[k];
    if (v.size() == *n) continue;
    if (v.size() != 1) return VERR_CTRL_NUM(first + k);
    v.assign(*n, v[0]);
  }
  return VRESULT_OK;
}

}  // namespace vexa

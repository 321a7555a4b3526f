// Helpers shared by the sub-pixel (XLD) operators: reading XLD inputs with
// their class checked, checked control values, building and handing over
// new contours and polygons.
#pragma once

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ops/common/op_objects.h"
#include "xld_store.h"

namespace vexa {
namespace xld {

// Points per object; more is VERR_TOO_LARGE. Bounds what a huge radius or
// a tiny sampling step may ask for.
constexpr size_t kMaxPoints = size_t{1} << 24;

// Largest magnitude of a real control value these operators accept: no
// coordinate, length or angle is beyond it, and every point stays far
// inside single precision.
constexpr double kMaxValue = 1e8;

struct Pt {
  double r = 0, c = 0;
};

// Any XLD class when `cls` is 0, else exactly that class.
inline Vresult InpXld(int par, Vkey key, int32_t cls, XldPtr* x) {
  const Vresult rc = db::GetXld(key, x);
  if (rc == VERR_NOT_REGION) return VERR_OBJ_CLASS(par);
  if (rc != VRESULT_OK) return rc;
  return cls == 0 || (*x)->cls == cls ? VRESULT_OK : VERR_OBJ_CLASS(par);
}

// Every object of input `par`, each checked as by InpXld.
inline Vresult InpXlds(OpContext& ctx, int par, int32_t cls,
                       std::vector<XldPtr>* out) {
  return ctx.ForEachInpObj(par, [&](Vkey key, Vlong) {
    XldPtr x;
    const Vresult rc = InpXld(par, key, cls, &x);
    if (rc == VRESULT_OK) out->push_back(std::move(x));
    return rc;
  });
}

// Contours and polygons of input `par`: the classes with points of their
// own. Parallels are refused as the wrong class.
inline Vresult InpPointXlds(OpContext& ctx, int par, std::vector<XldPtr>* out) {
  Vresult rc = InpXlds(ctx, par, 0, out);
  for (size_t i = 0; rc == VRESULT_OK && i < out->size(); ++i)
    if (!(*out)[i]->HasPoints()) rc = VERR_OBJ_CLASS(par);
  return rc;
}

// Exactly one XLD of class `cls` at input `par`.
inline Vresult InpSingleXld(OpContext& ctx, int par, int32_t cls, XldPtr* x) {
  Vkey key = VKEY_UNDEF;
  const Vresult rc = ctx.InpObjSingle(par, &key);
  return rc == VRESULT_OK ? InpXld(par, key, cls, x) : rc;
}

// A single real value within +-kMaxValue (NaN is refused).
inline Vresult GetFinite(const OpContext& ctx, int par, double* v) {
  const Vresult rc = ctx.GetDouble(par, v);
  if (rc != VRESULT_OK) return rc;
  return std::fabs(*v) <= kMaxValue ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// Real values within +-kMaxValue, any number.
inline Vresult GetFinites(const OpContext& ctx, int par,
                          std::vector<double>* v) {
  const Vresult rc = ctx.GetDoubles(par, *v);
  if (rc != VRESULT_OK) return rc;
  for (double x : *v)
    if (!(std::fabs(x) <= kMaxValue)) return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

// One string out of `choices`; its index goes to *index.
inline Vresult GetChoice(const OpContext& ctx, int par,
                         std::initializer_list<const char*> choices,
                         int* index) {
  const char* s = nullptr;
  const Vresult rc = ctx.GetString(par, &s);
  if (rc != VRESULT_OK) return rc;
  int i = 0;
  for (const char* c : choices) {
    if (std::string(s) == c) {
      *index = i;
      return VRESULT_OK;
    }
    ++i;
  }
  return VERR_CTRL_VALUE(par);
}

inline std::vector<Pt> PointsOf(const Xld& x) {
  std::vector<Pt> p(x.size());
  for (size_t i = 0; i < p.size(); ++i) p[i] = {x.rows[i], x.cols[i]};
  return p;
}

// First and last point the same: the contour or polygon is closed.
inline bool IsClosed(const Xld& x) {
  return x.size() > 1 && x.rows.front() == x.rows.back() &&
         x.cols.front() == x.cols.back();
}

// A new contour of the given points, no attributes.
inline std::shared_ptr<Xld> NewContour(const std::vector<Pt>& pts) {
  auto x = std::make_shared<Xld>();
  x->cls = VOBJ_XLD_CONT;
  x->rows.resize(pts.size());
  x->cols.resize(pts.size());
  for (size_t i = 0; i < pts.size(); ++i) {
    x->rows[i] = static_cast<float>(pts[i].r);
    x->cols[i] = static_cast<float>(pts[i].c);
  }
  return x;
}

// Publishes `x` and keeps its key in `out`.
inline Vresult Emit(NewKeys& out, XldPtr x) {
  Vkey key = VKEY_UNDEF;
  const Vresult rc = db::NewXld(std::move(x), &key);
  if (rc == VRESULT_OK) out.Add(key);
  return rc;
}

// Publishes all of `xlds` to output object `par`.
inline Vresult HandOverXlds(OpContext& ctx, int par,
                            const std::vector<XldPtr>& xlds) {
  NewKeys out;
  out.Reserve(xlds.size());
  for (const XldPtr& x : xlds) {
    const Vresult rc = Emit(out, x);
    if (rc != VRESULT_OK) return rc;
  }
  return out.HandOver(ctx, par);
}

// Passes input objects on unchanged (one more reference each).
inline Vresult PassOnKeys(OpContext& ctx, int par,
                          const std::vector<Vkey>& keys) {
  NewKeys out;
  out.Reserve(keys.size());
  for (Vkey k : keys) {
    const Vresult rc = db::AddRef(k);
    if (rc != VRESULT_OK) return rc;
    out.Add(k);
  }
  return out.HandOver(ctx, par);
}

}  // namespace xld
}  // namespace vexa

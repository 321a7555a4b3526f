// Operators that look at what objects are: their class and their data,
// and comparisons of objects by their data.
#include <cmath>
#include <cstring>

#include "ops/common/op_objects.h"
#include "ops/common/pixel_dispatch.h"
#include "registry.h"

namespace vexa {
namespace {

// "region", "image", or the class name of a sub-pixel object.
Vresult ClassNameOf(Vkey key, std::string* name) {
  db::ObjKind kind;
  Vresult rc = db::KindOf(key, &kind);
  if (rc != VRESULT_OK) return rc;
  if (kind != db::ObjKind::kXld) {
    *name = kind == db::ObjKind::kImage ? "image" : "region";
    return VRESULT_OK;
  }
  XldPtr xld;
  rc = db::GetXld(key, &xld);
  if (rc == VRESULT_OK) *name = XldClassName(xld->cls);
  return rc;
}

// Same type and size, and every stored value (both planes of complex
// pixels) within `epsilon` of the other's; 0 asks for equal bytes.
bool SamePixels(const PixelBuffer& x, const PixelBuffer& y, double epsilon) {
  if (&x == &y) return true;
  if (x.type() != y.type() || x.width() != y.width() || x.height() != y.height()) return false;
  if (epsilon == 0.0) return std::memcmp(x.data(), y.data(), x.pixel_bytes()) == 0;
  return DispatchPixelType(x.type(), [&](auto tag) {
    using T = typename decltype(tag)::Value;
    const T* a = reinterpret_cast<const T*>(x.data());
    const T* b = reinterpret_cast<const T*>(y.data());
    const size_t n = x.pixel_bytes() / sizeof(T);
    for (size_t i = 0; i < n; ++i) {
      if (!(std::fabs(static_cast<double>(a[i]) - static_cast<double>(b[i])) <= epsilon))
        return false;
    }
    return true;
  });
}

// Same class, same region (domain), and for images the same channels:
// count and SamePixels. Data shared by reference compares equal without a
// look at the pixels. Sub-pixel objects compare their class, points and
// attributes.
Vresult SameObject(Vkey a, Vkey b, double epsilon, bool* same) {
  db::ObjKind ka, kb;
  Vresult rc = db::KindOf(a, &ka);
  if (rc == VRESULT_OK) rc = db::KindOf(b, &kb);
  if (rc != VRESULT_OK) return rc;
  if (ka == db::ObjKind::kXld || kb == db::ObjKind::kXld) {
    XldPtr xa, xb;
    *same = ka == kb;
    if (*same) rc = db::GetXld(a, &xa);
    if (*same && rc == VRESULT_OK) rc = db::GetXld(b, &xb);
    if (*same && rc == VRESULT_OK) *same = xa == xb || *xa == *xb;
    return rc;
  }
  RegionPtr ra, rb;
  rc = db::GetRegion(a, &ra);
  if (rc == VRESULT_OK) rc = db::GetRegion(b, &rb);
  if (rc != VRESULT_OK) return rc;
  *same = ka == kb && (ra == rb || *ra == *rb);
  if (!*same || ka != db::ObjKind::kImage) return VRESULT_OK;
  db::ImageData ia, ib;
  rc = db::GetImage(a, &ia);
  if (rc == VRESULT_OK) rc = db::GetImage(b, &ib);
  if (rc != VRESULT_OK) return rc;
  *same = ia.channels.size() == ib.channels.size();
  for (size_t i = 0; *same && i < ia.channels.size(); ++i)
    *same = SamePixels(*ia.channels[i], *ib.channels[i], epsilon);
  return VRESULT_OK;
}

// 1 when both lists of input objects 1 and 2 have the same length and
// their objects are pairwise the same within `epsilon`.
Vresult CompareLists(OpContext& ctx, double epsilon) {
  const std::vector<Vkey>* first = nullptr;
  const std::vector<Vkey>* second = nullptr;
  Vresult rc = ctx.InpObjs(1, &first);
  if (rc == VRESULT_OK) rc = ctx.InpObjs(2, &second);
  if (rc != VRESULT_OK) return rc;
  bool equal = first->size() == second->size();
  for (size_t i = 0; equal && i < first->size(); ++i) {
    rc = SameObject((*first)[i], (*second)[i], epsilon, &equal);
    if (rc != VRESULT_OK) return rc;
  }
  return ctx.SetOutpLong(0, equal ? 1 : 0);
}

}  // namespace

// The class name of each object.
VEXA_OPERATOR(get_obj_class) {
  std::vector<std::string> names;
  Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    names.emplace_back();
    return ClassNameOf(key, &names.back());
  });
  if (rc != VRESULT_OK) return rc;
  return ctx.SetOutpStrings(0, names);
}

// 1 when both lists have the same length and equal objects pairwise.
VEXA_OPERATOR(test_equal_obj) { return CompareLists(ctx, 0.0); }

// As test_equal_obj, with gray values that may differ by `epsilon`.
VEXA_OPERATOR(compare_obj) {
  double epsilon = 0.0;
  const Vresult rc = ctx.GetDouble(0, &epsilon);
  if (rc != VRESULT_OK) return rc;
  if (!(epsilon >= 0.0) || std::isinf(epsilon)) return VERR_CTRL_VALUE(0);
  return CompareLists(ctx, epsilon);
}

// The objects of input 1 that equal no object of input 2, in order.
VEXA_OPERATOR(obj_diff) {
  const std::vector<Vkey>* objects = nullptr;
  const std::vector<Vkey>* sub = nullptr;
  Vresult rc = ctx.InpObjs(1, &objects);
  if (rc == VRESULT_OK) rc = ctx.InpObjs(2, &sub);
  if (rc != VRESULT_OK) return rc;
  NewKeys kept;
  for (Vkey key : *objects) {
    bool found = false;
    for (size_t j = 0; !found && j < sub->size(); ++j) {
      rc = SameObject(key, (*sub)[j], 0.0, &found);
      if (rc != VRESULT_OK) return rc;
    }
    if (found) continue;
    if ((rc = db::AddRef(key)) != VRESULT_OK) return rc;
    kept.Add(key);
  }
  return kept.HandOver(ctx, 1);
}

}  // namespace vexa

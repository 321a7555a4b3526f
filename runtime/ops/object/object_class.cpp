// Operators that look at what objects are: their class and their data.
#include <cstring>

#include "ops/common/op_objects.h"
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

// Same class, same region (domain), and for images the same channels:
// count, type, size and every pixel. Data shared by reference compares
// equal without a look at the pixels. Sub-pixel objects compare their
// class, points and attributes.
Vresult SameObject(Vkey a, Vkey b, bool* same) {
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
  for (size_t i = 0; *same && i < ia.channels.size(); ++i) {
    const PixelBuffer& x = *ia.channels[i];
    const PixelBuffer& y = *ib.channels[i];
    *same = &x == &y ||
            (x.type() == y.type() && x.width() == y.width() &&
             x.height() == y.height() &&
             std::memcmp(x.data(), y.data(), x.pixel_bytes()) == 0);
  }
  return VRESULT_OK;
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
VEXA_OPERATOR(test_equal_obj) {
  const std::vector<Vkey>* first = nullptr;
  const std::vector<Vkey>* second = nullptr;
  Vresult rc = ctx.InpObjs(1, &first);
  if (rc == VRESULT_OK) rc = ctx.InpObjs(2, &second);
  if (rc != VRESULT_OK) return rc;
  bool equal = first->size() == second->size();
  for (size_t i = 0; equal && i < first->size(); ++i) {
    rc = SameObject((*first)[i], (*second)[i], &equal);
    if (rc != VRESULT_OK) return rc;
  }
  return ctx.SetOutpLong(0, equal ? 1 : 0);
}

}  // namespace vexa

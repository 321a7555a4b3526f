// Reading contours and polygons: points, attributes, point counts, polygon
// segments.
#include <cmath>
#include <string>

#include "registry.h"
#include "xld_support.h"

namespace vexa {
namespace xld {
namespace {

std::vector<double> AsDoubles(const std::vector<float>& v) {
  return std::vector<double>(v.begin(), v.end());
}

std::vector<std::string> NamesOf(const std::vector<XldAttrib>& list) {
  std::vector<std::string> names;
  for (const XldAttrib& a : list) names.push_back(a.name);
  return names;
}

// Segment lengths and angles of a polygon (angles as everywhere:
// counter-clockwise on the screen from the column axis).
void Segments(const Xld& p, std::vector<double>* length, std::vector<double>* phi) {
  for (size_t i = 1; i < p.size(); ++i) {
    const double dr = p.rows[i] - p.rows[i - 1], dc = p.cols[i] - p.cols[i - 1];
    length->push_back(std::hypot(dr, dc));
    phi->push_back(std::atan2(-dr, dc));
  }
}

}  // namespace

VEXA_OPERATOR(get_contour_xld) {
  XldPtr x;
  Vresult rc = InpSingleXld(ctx, 1, VOBJ_XLD_CONT, &x);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(0, AsDoubles(x->rows));
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, AsDoubles(x->cols));
  return rc;
}

VEXA_OPERATOR(get_contour_attrib_xld) {
  XldPtr x;
  const char* name = nullptr;
  Vresult rc = InpSingleXld(ctx, 1, VOBJ_XLD_CONT, &x);
  if (rc == VRESULT_OK) rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  const XldAttrib* a = x->Attrib(name);
  return a == nullptr ? VERR_CTRL_VALUE(0) : ctx.SetOutpDoubles(0, a->values);
}

VEXA_OPERATOR(get_contour_global_attrib_xld) {
  XldPtr x;
  const char* name = nullptr;
  Vresult rc = InpSingleXld(ctx, 1, VOBJ_XLD_CONT, &x);
  if (rc == VRESULT_OK) rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  const XldAttrib* a = x->Global(name);
  return a == nullptr ? VERR_CTRL_VALUE(0) : ctx.SetOutpDoubles(0, a->values);
}

VEXA_OPERATOR(query_contour_attribs_xld) {
  XldPtr x;
  const Vresult rc = InpSingleXld(ctx, 1, VOBJ_XLD_CONT, &x);
  return rc != VRESULT_OK ? rc : ctx.SetOutpStrings(0, NamesOf(x->attribs));
}

VEXA_OPERATOR(query_contour_global_attribs_xld) {
  XldPtr x;
  const Vresult rc = InpSingleXld(ctx, 1, VOBJ_XLD_CONT, &x);
  return rc != VRESULT_OK ? rc : ctx.SetOutpStrings(0, NamesOf(x->globals));
}

VEXA_OPERATOR(contour_point_num_xld) {
  std::vector<XldPtr> xs;
  const Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> num;
  for (const XldPtr& x : xs) num.push_back(static_cast<Vlong>(x->size()));
  return ctx.SetOutpLongs(0, num);
}

VEXA_OPERATOR(get_polygon_xld) {
  XldPtr x;
  Vresult rc = InpSingleXld(ctx, 1, VOBJ_XLD_POLY, &x);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> length, phi;
  Segments(*x, &length, &phi);
  rc = ctx.SetOutpDoubles(0, AsDoubles(x->rows));
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, AsDoubles(x->cols));
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(2, length);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(3, phi);
  return rc;
}

// The segments of all polygons, in order.
VEXA_OPERATOR(get_lines_xld) {
  std::vector<XldPtr> xs;
  const Vresult rc0 = InpXlds(ctx, 1, VOBJ_XLD_POLY, &xs);
  if (rc0 != VRESULT_OK) return rc0;
  std::vector<double> r1, c1, r2, c2, length, phi;
  for (const XldPtr& x : xs) {
    for (size_t i = 1; i < x->size(); ++i) {
      r1.push_back(x->rows[i - 1]);
      c1.push_back(x->cols[i - 1]);
      r2.push_back(x->rows[i]);
      c2.push_back(x->cols[i]);
    }
    Segments(*x, &length, &phi);
  }
  Vresult rc = ctx.SetOutpDoubles(0, r1);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, c1);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(2, r2);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(3, c2);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(4, length);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(5, phi);
  return rc;
}

}  // namespace xld
}  // namespace vexa

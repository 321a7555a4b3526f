// Contours and polygons written as ASCII DXF: one POLYLINE per object in
// the ENTITIES section, its points as VERTEX entities; the attributes of a
// contour as extended data of our application (docs/formats/dxf.md).
#include "dxf_format.h"
#include "registry.h"
#include "xld_file_support.h"

namespace vexa {
namespace xld {
namespace {

class DxfText {
 public:
  void Pair(int code, const std::string& value) {
    text_ += std::to_string(code) + "\n" + value + "\n";
  }
  void Pair(int code, double value) { Pair(code, FormatValue(value)); }
  void Entity(const char* type) {
    Pair(0, type);
    Pair(8, "0");  // layer
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// A name that fits one line and the format's 255 characters.
bool Writable(const std::string& name) {
  return !name.empty() && name.size() <= 255 && name.find_first_of("\r\n") == std::string::npos;
}

bool AttribsWritable(const Xld& x) {
  for (const auto* list : {&x.attribs, &x.globals})
    for (const XldAttrib& a : *list)
      if (!Writable(a.name)) return false;
  return true;
}

// Closed: the last point repeats the first, also in every attribute; the
// file then holds it once and flags the polyline as closed.
bool WriteClosed(const Xld& x) {
  if (!IsClosed(x) || x.size() < 3) return false;
  for (const XldAttrib& a : x.attribs)
    if (a.values.front() != a.values.back()) return false;
  return true;
}

void WriteAttribNames(const Xld& x, DxfText* out) {
  out->Pair(dxf::kXApp, dxf::kAppName);
  out->Pair(dxf::kXString, dxf::kPointAttribs);
  out->Pair(dxf::kXLong, std::to_string(x.attribs.size()));
  for (const XldAttrib& a : x.attribs) out->Pair(dxf::kXString, a.name);
  out->Pair(dxf::kXString, dxf::kGlobalAttribs);
  out->Pair(dxf::kXLong, std::to_string(x.globals.size()));
  for (const XldAttrib& g : x.globals) {
    out->Pair(dxf::kXString, g.name);
    out->Pair(dxf::kXReal, g.values.front());
  }
}

void WritePolyline(const Xld& x, DxfText* out) {
  const bool closed = WriteClosed(x);
  const bool with_attribs = !x.attribs.empty() || !x.globals.empty();
  out->Entity("POLYLINE");
  out->Pair(66, "1");  // vertices follow
  out->Pair(10, "0.0");
  out->Pair(20, "0.0");
  out->Pair(30, "0.0");
  out->Pair(70, std::to_string(closed ? dxf::kClosed : 0));
  if (with_attribs) WriteAttribNames(x, out);
  const size_t n = closed ? x.size() - 1 : x.size();
  for (size_t i = 0; i < n; ++i) {
    out->Entity("VERTEX");
    out->Pair(10, FormatCoord(x.cols[i]));
    out->Pair(20, FormatCoord(x.rows[i]));
    out->Pair(30, "0.0");
    if (x.attribs.empty()) continue;
    out->Pair(dxf::kXApp, dxf::kAppName);
    for (const XldAttrib& a : x.attribs) out->Pair(dxf::kXReal, a.values[i]);
  }
  out->Entity("SEQEND");
}

Vresult WriteDxf(OpContext& ctx, int32_t cls) {
  std::vector<XldPtr> xlds;
  const char* name = nullptr;
  Vresult rc = InpXlds(ctx, 1, cls, &xlds);
  if (rc == VRESULT_OK) rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  for (const XldPtr& x : xlds)
    if (!AttribsWritable(*x)) return VERR_FILE_UNSUPPORTED;
  DxfText out;
  out.Pair(0, "SECTION");
  out.Pair(2, "HEADER");
  out.Pair(9, "$ACADVER");
  out.Pair(1, "AC1009");
  out.Pair(0, "ENDSEC");
  out.Pair(0, "SECTION");
  out.Pair(2, "ENTITIES");
  for (const XldPtr& x : xlds) WritePolyline(*x, &out);
  out.Pair(0, "ENDSEC");
  out.Pair(0, "EOF");
  return WriteTextFile(name, out.text());
}

}  // namespace

VEXA_OPERATOR(write_contour_xld_dxf) { return WriteDxf(ctx, VOBJ_XLD_CONT); }
VEXA_OPERATOR(write_polygon_xld_dxf) { return WriteDxf(ctx, VOBJ_XLD_POLY); }

}  // namespace xld
}  // namespace vexa

// What the text file formats of contours and polygons (DXF, arc-info)
// share: the shapes a file holds, strict number parsing and formatting,
// whole-file text in and out, and turning shapes into database objects.
//
// Files hold x and y; x is our column and y our row, so that a file
// written and read back gives the same points. Coordinates are written
// with 9 significant digits, which restores a single precision value
// exactly; attribute values with 17 digits for doubles.
#pragma once

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "io/image_file.h"
#include "xld_support.h"

namespace vexa {
namespace xld {

// One contour or polygon as a file holds it.
struct FileShape {
  std::vector<Pt> pts;
  std::vector<XldAttrib> attribs;  // per point
  std::vector<XldAttrib> globals;  // one value each
};

// The whole text `s` is one finite number within +-kMaxValue (leading and
// trailing blanks allowed).
inline bool ParseNumber(const std::string& s, double* v) {
  const char* begin = s.c_str();
  char* end = nullptr;
  errno = 0;
  *v = std::strtod(begin, &end);
  if (end == begin || errno == ERANGE) return false;
  while (*end == ' ' || *end == '\t') ++end;
  return *end == '\0' && std::fabs(*v) <= kMaxValue;
}

// A point coordinate: exact for single precision.
inline std::string FormatCoord(double v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.9g", v);
  return buf;
}

// An attribute value: exact for double precision.
inline std::string FormatValue(double v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.17g", v);
  return buf;
}

inline Vresult WriteTextFile(const char* name, const std::string& text) {
  return io::WriteWholeFile(name, io::Bytes(text.begin(), text.end()));
}

inline Vresult ReadTextFile(const char* name, std::string* text) {
  io::Bytes bytes;
  const Vresult rc = io::ReadWholeFile(name, &bytes);
  if (rc == VRESULT_OK) text->assign(bytes.begin(), bytes.end());
  return rc;
}

// The lines of `text` without their line ends (LF or CR LF).
inline std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    size_t stop = end;
    if (stop > start && text[stop - 1] == '\r') --stop;
    lines.push_back(text.substr(start, stop - start));
    start = end + 1;
  }
  return lines;
}

// A polygon whose corners are its own points (no source contour).
inline std::shared_ptr<Xld> NewPolygon(const std::vector<Pt>& pts) {
  auto x = NewContour(pts);
  x->cls = VOBJ_XLD_POLY;
  x->source_index.resize(pts.size());
  for (size_t i = 0; i < pts.size(); ++i) x->source_index[i] = static_cast<int64_t>(i);
  return x;
}

// The shapes as contours (with their attributes) or as polygons, to
// output object `par`.
inline Vresult HandOverShapes(OpContext& ctx, int par, int32_t cls,
                              const std::vector<FileShape>& shapes) {
  std::vector<XldPtr> out;
  out.reserve(shapes.size());
  for (const FileShape& s : shapes) {
    if (cls == VOBJ_XLD_POLY) {
      out.push_back(NewPolygon(s.pts));
      continue;
    }
    auto c = NewContour(s.pts);
    c->attribs = s.attribs;
    c->globals = s.globals;
    out.push_back(std::move(c));
  }
  return HandOverXlds(ctx, par, out);
}

}  // namespace xld
}  // namespace vexa

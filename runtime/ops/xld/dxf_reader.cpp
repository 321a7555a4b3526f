// Contours and polygons read from ASCII DXF (docs/formats/dxf.md): the
// POLYLINE, LWPOLYLINE, LINE, ARC and CIRCLE entities of the ENTITIES
// section, arcs and bulges approximated by points; contour attributes from
// our application's extended data. Other entities are skipped and named in
// the status. A file that breaks the group structure or ends early gives a
// file code and no object.
#include <cctype>
#include <map>

#include "dxf_format.h"
#include "registry.h"
#include "xld_file_support.h"

namespace vexa {
namespace xld {
namespace {

constexpr double kPi = 3.14159265358979323846;

struct GroupPair {
  int code;
  std::string value;
};

struct Entity {
  std::string type;
  std::vector<GroupPair> data;   // group codes below 1000
  std::vector<GroupPair> xdata;  // our application's extended data
};

// How arcs, circles and bulges become points: a full turn gets at least
// `min_num_points` segments, and no chord lies farther than
// `max_approx_error` from its arc.
struct ArcOptions {
  double min_num_points = 20;
  double max_approx_error = 0.25;
};

struct Vertex {
  Pt p;
  double bulge = 0;
  std::vector<double> attribs;
};

std::string Trim(const std::string& s) {
  const size_t b = s.find_first_not_of(" \t");
  if (b == std::string::npos) return "";
  return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

bool ParseCode(const std::string& s, int* code) {
  const std::string t = Trim(s);
  if (t.empty() || t.size() > 5) return false;
  for (size_t i = 0; i < t.size(); ++i)
    if (!std::isdigit(static_cast<unsigned char>(t[i])) && !(i == 0 && t[i] == '-')) return false;
  if (t == "-") return false;
  *code = std::stoi(t);
  return true;
}

// The group pairs of the file without comments (code 999).
Vresult Tokenise(const std::string& text, std::vector<GroupPair>* pairs) {
  if (text.compare(0, 18, "AutoCAD Binary DXF") == 0) return VERR_FILE_UNSUPPORTED;
  const std::vector<std::string> lines = SplitLines(text);
  for (size_t i = 0; i + 1 < lines.size(); i += 2) {
    int code = 0;
    if (!ParseCode(lines[i], &code)) return i == 0 ? VERR_FILE_FORMAT : VERR_FILE_CORRUPT;
    if (code != 999) pairs->push_back({code, Trim(lines[i + 1])});
  }
  if (lines.size() % 2 != 0) return lines.size() == 1 ? VERR_FILE_FORMAT : VERR_FILE_TRUNCATED;
  return VRESULT_OK;
}

// Segments of an arc of `sweep` radians and radius `radius`.
Vresult ArcSegments(double radius, double sweep, const ArcOptions& o, size_t* n) {
  const double turn = std::fabs(sweep) / (2 * kPi);
  double segments = std::ceil(turn * o.min_num_points);
  if (o.max_approx_error < radius)
    segments = std::max(segments, std::ceil(std::fabs(sweep) /
                                            (2 * std::acos(1 - o.max_approx_error / radius))));
  segments = std::max(segments, 1.0);
  if (!(segments <= static_cast<double>(kMaxPoints))) return VERR_TOO_LARGE;
  *n = static_cast<size_t>(segments);
  return VRESULT_OK;
}

// Points of the arc about `centre` (x = column, y = row, angles
// counter-clockwise in x-y) from angle `start` over `sweep`, the ends
// included when `ends`; `out` may grow to `limit` points.
Vresult ArcPoints(const Pt& centre, double radius, double start, double sweep,
                  const ArcOptions& o, bool ends, size_t limit, std::vector<Pt>* out) {
  size_t n = 0;
  const Vresult rc = ArcSegments(radius, sweep, o, &n);
  if (rc != VRESULT_OK) return rc;
  if (out->size() + n + 1 > limit) return VERR_TOO_LARGE;
  for (size_t k = ends ? 0 : 1; k <= (ends ? n : n - 1); ++k) {
    const double a = start + sweep * static_cast<double>(k) / static_cast<double>(n);
    out->push_back({centre.r + radius * std::sin(a), centre.c + radius * std::cos(a)});
  }
  return VRESULT_OK;
}

// The points strictly between a and b on the arc of bulge `bulge` (the
// tangent of a quarter of the included angle; positive counter-clockwise).
Vresult BulgePoints(const Pt& a, const Pt& b, double bulge, const ArcOptions& o, size_t limit,
                    std::vector<Pt>* out) {
  const double dx = b.c - a.c, dy = b.r - a.r, chord = std::hypot(dx, dy);
  if (bulge == 0 || chord == 0) return VRESULT_OK;
  const double theta = 4 * std::atan(bulge);
  const double radius = chord / (2 * std::fabs(std::sin(theta / 2)));
  const double offset = chord * (1 - bulge * bulge) / (4 * bulge);
  const Pt centre{(a.r + b.r) / 2 + offset * dx / chord, (a.c + b.c) / 2 - offset * dy / chord};
  const double start = std::atan2(a.r - centre.r, a.c - centre.c);
  return ArcPoints(centre, radius, start, theta, o, false, limit, out);
}

class DxfParser {
 public:
  DxfParser(std::vector<GroupPair> pairs, const ArcOptions& o) : pairs_(std::move(pairs)), o_(o) {}

  Vresult Run(std::vector<FileShape>* shapes, std::string* status) {
    shapes_ = shapes;
    if (pairs_.empty() || pairs_[0].code != 0 ||
        (pairs_[0].value != "SECTION" && pairs_[0].value != "EOF"))
      return VERR_FILE_FORMAT;
    for (;;) {
      if (pos_ >= pairs_.size()) return VERR_FILE_TRUNCATED;
      const GroupPair& p = pairs_[pos_++];
      if (p.code != 0) return VERR_FILE_CORRUPT;
      if (p.value == "EOF") break;
      if (p.value != "SECTION") return VERR_FILE_CORRUPT;
      if (pos_ >= pairs_.size()) return VERR_FILE_TRUNCATED;
      const GroupPair& name = pairs_[pos_++];
      if (name.code != 2) return VERR_FILE_CORRUPT;
      const Vresult rc = name.value == "ENTITIES" ? ReadEntities() : SkipSection();
      if (rc != VRESULT_OK) return rc;
    }
    *status = Status();
    return VRESULT_OK;
  }

 private:
  bool AtSectionEnd() const { return pairs_[pos_].code == 0 && pairs_[pos_].value == "ENDSEC"; }

  Vresult SkipSection() {
    for (; pos_ < pairs_.size(); ++pos_)
      if (AtSectionEnd()) {
        ++pos_;
        return VRESULT_OK;
      }
    return VERR_FILE_TRUNCATED;
  }

  // The entity at pos_ and its pairs up to the next code 0.
  Vresult NextEntity(Entity* e) {
    if (pos_ >= pairs_.size()) return VERR_FILE_TRUNCATED;
    if (pairs_[pos_].code != 0) return VERR_FILE_CORRUPT;
    e->type = pairs_[pos_++].value;
    bool ours = false;
    for (; pos_ < pairs_.size() && pairs_[pos_].code != 0; ++pos_) {
      const GroupPair& p = pairs_[pos_];
      if (p.code == dxf::kXApp)
        ours = p.value == dxf::kAppName;
      else if (p.code < 1000)
        e->data.push_back(p);
      else if (ours)
        e->xdata.push_back(p);
    }
    return VRESULT_OK;
  }

  Vresult ReadEntities() {
    for (;;) {
      if (pos_ >= pairs_.size()) return VERR_FILE_TRUNCATED;
      if (AtSectionEnd()) {
        ++pos_;
        return VRESULT_OK;
      }
      Entity e;
      Vresult rc = NextEntity(&e);
      if (rc != VRESULT_OK) return rc;
      if (e.type == "POLYLINE")
        rc = ReadPolyline(e);
      else if (e.type == "LWPOLYLINE")
        rc = ReadLwPolyline(e);
      else if (e.type == "LINE")
        rc = ReadLine(e);
      else if (e.type == "ARC" || e.type == "CIRCLE")
        rc = ReadArc(e);
      else
        ++skipped_[e.type];
      if (rc != VRESULT_OK) return rc;
    }
  }

  // The first value of group `code`, `def` when the entity has none.
  static Vresult Number(const Entity& e, int code, double def, double* v) {
    for (const GroupPair& p : e.data)
      if (p.code == code) return ParseNumber(p.value, v) ? VRESULT_OK : VERR_FILE_CORRUPT;
    *v = def;
    return VRESULT_OK;
  }

  static Vresult Flags(const Entity& e, int* flags) {
    double v = 0;
    const Vresult rc = Number(e, 70, 0, &v);
    if (rc != VRESULT_OK) return rc;
    if (v < 0 || v > 32767 || v != std::floor(v)) return VERR_FILE_CORRUPT;
    *flags = static_cast<int>(v);
    return VRESULT_OK;
  }

  static Vresult Point(const Entity& e, int x_code, Pt* p) {
    const Vresult rc = Number(e, x_code, 0, &p->c);
    return rc == VRESULT_OK ? Number(e, x_code + 10, 0, &p->r) : rc;
  }

  // The attribute names and global attributes a POLYLINE carries, in the
  // order written by our writer.
  static Vresult PolylineAttribs(const Entity& e, FileShape* s) {
    const std::vector<GroupPair>& x = e.xdata;
    if (x.empty()) return VRESULT_OK;
    size_t i = 0;
    auto count = [&](const char* word, size_t per_item, size_t* n) {
      double v = 0;
      if (i + 2 > x.size() || x[i].code != dxf::kXString || x[i].value != word ||
          x[i + 1].code != dxf::kXLong || !ParseNumber(x[i + 1].value, &v) || v < 0 ||
          v != std::floor(v) || v * per_item > static_cast<double>(x.size() - i - 2))
        return false;
      *n = static_cast<size_t>(v);
      i += 2;
      return true;
    };
    size_t n = 0;
    if (!count(dxf::kPointAttribs, 1, &n)) return VERR_FILE_CORRUPT;
    for (size_t k = 0; k < n; ++k, ++i) {
      if (x[i].code != dxf::kXString || !NameFits(x[i].value)) return VERR_FILE_CORRUPT;
      s->attribs.push_back({x[i].value, {}});
    }
    if (!count(dxf::kGlobalAttribs, 2, &n)) return VERR_FILE_CORRUPT;
    for (size_t k = 0; k < n; ++k, i += 2) {
      double v = 0;
      if (x[i].code != dxf::kXString || !NameFits(x[i].value) || x[i + 1].code != dxf::kXReal ||
          !ParseNumberOrSpecial(x[i + 1].value, &v))
        return VERR_FILE_CORRUPT;
      s->globals.push_back({x[i].value, {v}});
    }
    return i == x.size() ? VRESULT_OK : VERR_FILE_CORRUPT;
  }

  // Attribute names as the writer allows them: 1 to 255 characters.
  static bool NameFits(const std::string& name) { return !name.empty() && name.size() <= 255; }

  // Attribute values are any double the writer printed, inf and nan
  // included.
  static bool ParseNumberOrSpecial(const std::string& s, double* v) {
    char* end = nullptr;
    *v = std::strtod(s.c_str(), &end);
    return end != s.c_str() && *end == '\0';
  }

  Vresult ReadPolyline(const Entity& head) {
    int flags = 0;
    FileShape shape;
    Vresult rc = Flags(head, &flags);
    if (rc == VRESULT_OK) rc = PolylineAttribs(head, &shape);
    if (rc != VRESULT_OK) return rc;
    std::vector<Vertex> vertices;
    for (;;) {
      Entity e;
      rc = NextEntity(&e);
      if (rc != VRESULT_OK) return rc;
      if (e.type == "SEQEND") break;
      if (e.type != "VERTEX") return VERR_FILE_CORRUPT;
      if (vertices.size() >= Room()) return VERR_TOO_LARGE;
      Vertex v;
      rc = Point(e, 10, &v.p);
      if (rc == VRESULT_OK) rc = Number(e, 42, 0, &v.bulge);
      if (rc != VRESULT_OK) return rc;
      if (!shape.attribs.empty()) {
        if (e.xdata.size() != shape.attribs.size()) return VERR_FILE_CORRUPT;
        for (const GroupPair& p : e.xdata) {
          double a = 0;
          if (p.code != dxf::kXReal || !ParseNumberOrSpecial(p.value, &a)) return VERR_FILE_CORRUPT;
          v.attribs.push_back(a);
        }
      }
      vertices.push_back(std::move(v));
    }
    if (flags & (dxf::kMesh | dxf::kPolyface)) {
      ++skipped_["POLYLINE mesh"];
      return VRESULT_OK;
    }
    return AddChain(vertices, (flags & dxf::kClosed) != 0, std::move(shape));
  }

  // Vertices come as 10 (starts a vertex), 20 and 42 in order.
  Vresult ReadLwPolyline(const Entity& e) {
    int flags = 0;
    double count = -1;
    Vresult rc = Flags(e, &flags);
    if (rc == VRESULT_OK) rc = Number(e, 90, -1, &count);
    if (rc != VRESULT_OK) return rc;
    std::vector<Vertex> vertices;
    for (const GroupPair& p : e.data) {
      if (p.code != 10 && p.code != 20 && p.code != 42) continue;
      if (p.code == 10) vertices.emplace_back();
      if (vertices.empty()) return VERR_FILE_CORRUPT;
      Vertex& v = vertices.back();
      double* target = p.code == 10 ? &v.p.c : p.code == 20 ? &v.p.r : &v.bulge;
      if (!ParseNumber(p.value, target)) return VERR_FILE_CORRUPT;
    }
    if (count >= 0 && count != static_cast<double>(vertices.size())) return VERR_FILE_CORRUPT;
    return AddChain(vertices, (flags & dxf::kClosed) != 0, FileShape());
  }

  Vresult ReadLine(const Entity& e) {
    FileShape s;
    s.pts.resize(2);
    Vresult rc = Point(e, 10, &s.pts[0]);
    if (rc == VRESULT_OK) rc = Point(e, 11, &s.pts[1]);
    return rc == VRESULT_OK ? Add(std::move(s)) : rc;
  }

  // ARC runs counter-clockwise (in x-y) from angle 50 to angle 51, in
  // degrees; CIRCLE is a closed full turn from angle 0.
  Vresult ReadArc(const Entity& e) {
    Pt centre{};
    double radius = 0, start = 0, end = 360;
    Vresult rc = Point(e, 10, &centre);
    if (rc == VRESULT_OK) rc = Number(e, 40, 0, &radius);
    if (rc == VRESULT_OK && e.type == "ARC") rc = Number(e, 50, 0, &start);
    if (rc == VRESULT_OK && e.type == "ARC") rc = Number(e, 51, 0, &end);
    if (rc != VRESULT_OK) return rc;
    if (!(radius > 0)) return VERR_FILE_CORRUPT;
    double sweep = std::fmod(end - start, 360.0);
    if (sweep <= 0) sweep += 360;
    FileShape s;
    rc = ArcPoints(centre, radius, start * kPi / 180, sweep * kPi / 180, o_, true, Room(), &s.pts);
    if (rc != VRESULT_OK) return rc;
    if (e.type == "CIRCLE") s.pts.back() = s.pts.front();
    return Add(std::move(s));
  }

  // The chain through the vertices, bulges replaced by arc points (which
  // take the attribute values of the vertex the arc starts at); a closed
  // chain ends with its first point again.
  Vresult AddChain(const std::vector<Vertex>& v, bool closed, FileShape s) {
    const size_t n = v.size();
    for (size_t i = 0; i < n; ++i) {
      s.pts.push_back(v[i].p);
      const bool last = i + 1 == n;
      if (!last || closed) {
        const Vresult rc = BulgePoints(v[i].p, v[last ? 0 : i + 1].p, v[i].bulge, o_, Room(), &s.pts);
        if (rc != VRESULT_OK) return rc;
      }
      for (size_t k = 0; k < s.attribs.size(); ++k)
        s.attribs[k].values.resize(s.pts.size(), v[i].attribs[k]);
    }
    if (closed && n > 0) {
      s.pts.push_back(v[0].p);
      for (size_t k = 0; k < s.attribs.size(); ++k) s.attribs[k].values.push_back(v[0].attribs[k]);
    }
    return Add(std::move(s));
  }

  // Points the shapes still read may have: kMaxPoints in all, since arcs
  // make many points of few bytes.
  size_t Room() const { return kMaxPoints - total_; }

  // Arcs may reach beyond the coordinates a file may hold; such a shape
  // could not be written again.
  Vresult Add(FileShape s) {
    for (const Pt& p : s.pts)
      if (!(std::fabs(p.r) <= kMaxValue && std::fabs(p.c) <= kMaxValue)) return VERR_FILE_CORRUPT;
    if (s.pts.size() > Room()) return VERR_TOO_LARGE;
    total_ += s.pts.size();
    shapes_->push_back(std::move(s));
    return VRESULT_OK;
  }

  std::string Status() const {
    if (skipped_.empty()) return "ok";
    std::string s = "skipped entities:";
    for (const auto& [type, count] : skipped_)
      s += (s.back() == ':' ? " " : ", ") + type + " " + std::to_string(count);
    return s;
  }

  std::vector<GroupPair> pairs_;
  ArcOptions o_;
  size_t pos_ = 0;
  size_t total_ = 0;  // points of the shapes read so far
  std::vector<FileShape>* shapes_ = nullptr;
  std::map<std::string, size_t> skipped_;
};

// Generic parameters: "min_num_points" (>= 3, a full turn's least number
// of segments) and "max_approx_error" (> 0, pixels).
Vresult ReadArcOptions(const OpContext& ctx, ArcOptions* o) {
  std::vector<const char*> names;
  std::vector<double> values;
  Vresult rc = ctx.GetStrings(1, names);
  if (rc == VRESULT_OK) rc = GetFinites(ctx, 2, &values);
  if (rc != VRESULT_OK) return rc;
  if (names.size() != values.size()) return VERR_CTRL_NUM(2);
  for (size_t i = 0; i < names.size(); ++i) {
    const std::string name = names[i];
    const double v = values[i];
    if (name == "min_num_points") {
      if (v < 3 || v > 1e6 || v != std::floor(v)) return VERR_CTRL_VALUE(2);
      o->min_num_points = v;
    } else if (name == "max_approx_error") {
      if (!(v > 0)) return VERR_CTRL_VALUE(2);
      o->max_approx_error = v;
    } else {
      return VERR_CTRL_VALUE(1);
    }
  }
  return VRESULT_OK;
}

Vresult ReadDxf(OpContext& ctx, int32_t cls) {
  const char* name = nullptr;
  ArcOptions options;
  std::string text;
  std::vector<GroupPair> pairs;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ReadArcOptions(ctx, &options);
  if (rc == VRESULT_OK) rc = ReadTextFile(name, &text);
  if (rc == VRESULT_OK) rc = Tokenise(text, &pairs);
  if (rc != VRESULT_OK) return rc;
  std::vector<FileShape> shapes;
  std::string status;
  rc = DxfParser(std::move(pairs), options).Run(&shapes, &status);
  if (rc == VRESULT_OK) rc = HandOverShapes(ctx, 1, cls, shapes);
  return rc == VRESULT_OK ? ctx.SetOutpString(0, status.c_str()) : rc;
}

}  // namespace

VEXA_OPERATOR(read_contour_xld_dxf) { return ReadDxf(ctx, VOBJ_XLD_CONT); }
VEXA_OPERATOR(read_polygon_xld_dxf) { return ReadDxf(ctx, VOBJ_XLD_POLY); }

}  // namespace xld
}  // namespace vexa

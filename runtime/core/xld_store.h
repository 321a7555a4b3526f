// Sub-pixel objects (XLD) as the object database holds them: contours,
// polygons and the three kinds of parallels.
//
// An Xld is immutable once it is in the database and shared by pointer,
// like a Region: operators build a new one and publish it with
// db::NewXld. Points are single precision (row, column), which keeps
// 1/1000 pixel on images far larger than any sensor; attributes are
// double.
//
//  - contour (class 5): points, per-point attributes (one value per point,
//    by name) and global attributes (one value each, by name);
//  - polygon (class 6): the corner points, for each corner the index of the
//    contour point it came from, and that source contour, so that a
//    polygon can be split back into contour pieces;
//  - parallels (class 7), modified parallels (8), extended parallels (9):
//    two polygons and the index range of the segments of each that run
//    side by side, plus the quality values the class carries.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vexa/types.h"

namespace vexa {

struct Xld;
using XldPtr = std::shared_ptr<const Xld>;

struct XldAttrib {
  std::string name;
  std::vector<double> values;  // per point, or one for a global attribute
  bool operator==(const XldAttrib& o) const { return name == o.name && values == o.values; }
};

struct Xld {
  int32_t cls = VOBJ_XLD_CONT;  // VOBJ_XLD_CONT .. VOBJ_XLD_EXT_PARA
  std::vector<float> rows, cols;

  // Contours.
  std::vector<XldAttrib> attribs;  // each holds rows.size() values
  std::vector<XldAttrib> globals;  // each holds one value

  // Polygons: index of each corner in `source` (null when the polygon was
  // made without a contour, then the indices count the corners).
  std::vector<int64_t> source_index;
  XldPtr source;

  // Parallels: the two polygons and the first and last segment of each.
  XldPtr part1, part2;
  int32_t first1 = 0, last1 = 0, first2 = 0, last2 = 0;
  std::vector<double> quality;  // by class: see the parallels operators

  size_t size() const { return rows.size(); }
  // The per-point attribute `name`, or null.
  const XldAttrib* Attrib(const std::string& name) const;
  const XldAttrib* Global(const std::string& name) const;
  // True for the contour and polygon classes, which have points.
  bool HasPoints() const { return cls == VOBJ_XLD_CONT || cls == VOBJ_XLD_POLY; }
};

// Same class and same data; the polygons' source contours and the
// parallels' polygons are compared by value.
bool operator==(const Xld& a, const Xld& b);
inline bool operator!=(const Xld& a, const Xld& b) { return !(a == b); }

// The database name of an XLD class, "xld_cont" ... "xld_ext_para".
const char* XldClassName(int32_t cls);

}  // namespace vexa

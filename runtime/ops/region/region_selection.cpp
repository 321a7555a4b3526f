// Choosing and ordering regions by their shape: select_shape,
// select_shape_std, sort_region; and by a point: select_region_point,
// get_region_index. The outputs are the input objects themselves (new
// references), never copies of their pixels.
#include <algorithm>
#include <cstring>
#include <string>

#include "ops/common/op_objects.h"
#include "ops/region/region_ops.h"
#include "ops/region/shape_features.h"
#include "registry.h"

namespace vexa {
namespace {

struct Item {
  Vkey key;
  RegionPtr region;
};

Vresult ReadItems(OpContext& ctx, std::vector<Item>* items) {
  return ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    RegionPtr region;
    const Vresult rc = InpRegion(1, key, &region);
    if (rc == VRESULT_OK) items->push_back({key, region});
    return rc;
  });
}

// New references to the chosen inputs, in the given order, to output 1.
Vresult Output(OpContext& ctx, const std::vector<Item>& items) {
  NewKeys out;
  for (const Item& it : items) {
    Vkey copy = VKEY_UNDEF;
    const Vresult rc = db::Copy(it.key, &copy);
    if (rc != VRESULT_OK) return rc;
    out.Add(copy);
  }
  return out.HandOver(ctx, 1);
}

bool Is(const char* s, const char* name) { return std::strcmp(s, name) == 0; }

}  // namespace

// The regions whose features lie in [min, max]: with "and" every feature
// must, with "or" one suffices. One min and one max per feature, or one
// of each for all.
VEXA_OPERATOR(select_shape) {
  std::vector<const char*> names;
  const char* operation = nullptr;
  std::vector<double> lo, hi;
  Vresult rc = ctx.GetStrings(0, names);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &operation);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(2, lo);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(3, hi);
  if (rc != VRESULT_OK) return rc;
  for (const char* name : names)
    if (!IsFeatureName(name)) return VERR_CTRL_VALUE(0);
  if (!Is(operation, "and") && !Is(operation, "or")) return VERR_CTRL_VALUE(1);
  if (lo.size() != names.size() && lo.size() != 1) return VERR_CTRL_NUM(2);
  if (hi.size() != names.size() && hi.size() != 1) return VERR_CTRL_NUM(3);
  const bool all = Is(operation, "and");
  std::vector<Item> items, chosen;
  rc = ReadItems(ctx, &items);
  if (rc != VRESULT_OK) return rc;
  for (const Item& it : items) {
    ShapeMeasures m(it.region);
    bool pass = all;
    for (size_t i = 0; i < names.size(); ++i) {
      double v = 0.0;
      FeatureValue(names[i], m, &v);
      const bool in = v >= lo[lo.size() == 1 ? 0 : i] && v <= hi[hi.size() == 1 ? 0 : i];
      pass = all ? pass && in : pass || in;
    }
    if (pass) chosen.push_back(it);
  }
  return Output(ctx, chosen);
}

// "max_area": the largest region (the first of equal ones); "rectangle1"
// and "rectangle2": the regions that fill at least `percent` of their
// axis-parallel / smallest rotated bounding rectangle.
VEXA_OPERATOR(select_shape_std) {
  const char* shape = nullptr;
  double percent = 0.0;
  Vresult rc = ctx.GetString(0, &shape);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &percent);
  if (rc != VRESULT_OK) return rc;
  const bool max_area = Is(shape, "max_area"), rect1 = Is(shape, "rectangle1");
  if (!max_area && !rect1 && !Is(shape, "rectangle2")) return VERR_CTRL_VALUE(0);
  if (!(percent >= 0.0 && percent <= 100.0)) return VERR_CTRL_VALUE(1);
  std::vector<Item> items, chosen;
  rc = ReadItems(ctx, &items);
  if (rc != VRESULT_OK) return rc;
  if (max_area) {
    const auto best = std::max_element(items.begin(), items.end(), [](const Item& a, const Item& b) {
      return a.region->area() < b.region->area();
    });
    if (best != items.end()) chosen.push_back(*best);
    return Output(ctx, chosen);
  }
  for (const Item& it : items) {
    ShapeMeasures m(it.region);
    double box = 0.0;
    if (rect1) {
      double w = 0, h = 0;
      FeatureValue("width", m, &w);
      FeatureValue("height", m, &h);
      box = w * h;
    } else {
      // Half lengths between pixel centres: add the pixel itself.
      box = (2.0 * m.SmallestRect().len1 + 1.0) * (2.0 * m.SmallestRect().len2 + 1.0);
    }
    if (box > 0.0 && 100.0 * double(it.region->area()) / box >= percent) chosen.push_back(it);
  }
  return Output(ctx, chosen);
}

// Orders regions by a reference point: "first_point" / "last_point" (the
// first / last pixel in row order) or a corner of the bounding box
// ("upper_left", "upper_right", "lower_left", "lower_right"); compared by
// row then column ("row") or column then row ("column"); ascending for
// "true", descending for "false"; ties keep the input order.
VEXA_OPERATOR(sort_region) {
  const char* mode = nullptr;
  const char* order = nullptr;
  const char* key = nullptr;
  Vresult rc = ctx.GetString(0, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &order);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &key);
  if (rc != VRESULT_OK) return rc;
  static const char* const kModes[] = {"first_point", "last_point", "upper_left",
                                       "upper_right", "lower_left", "lower_right"};
  int m = -1;
  for (int i = 0; i < 6; ++i)
    if (Is(mode, kModes[i])) m = i;
  if (m < 0) return VERR_CTRL_VALUE(0);
  if (!Is(order, "true") && !Is(order, "false")) return VERR_CTRL_VALUE(1);
  if (!Is(key, "row") && !Is(key, "column")) return VERR_CTRL_VALUE(2);
  std::vector<Item> items;
  rc = ReadItems(ctx, &items);
  if (rc != VRESULT_OK) return rc;
  auto point = [m](const Region& r) -> std::pair<int64_t, int64_t> {
    if (r.empty()) return {0, 0};
    if (m == 0) return {r.chords().front().r, r.chords().front().cb};
    if (m == 1) return {r.chords().back().r, r.chords().back().ce};
    int32_t r1, c1, r2, c2;
    r.BoundingBox(&r1, &c1, &r2, &c2);
    return {m >= 4 ? r2 : r1, (m == 3 || m == 5) ? c2 : c1};
  };
  const bool by_row = Is(key, "row"), ascending = Is(order, "true");
  std::stable_sort(items.begin(), items.end(), [&](const Item& a, const Item& b) {
    auto pa = point(*a.region), pb = point(*b.region);
    if (!by_row) std::swap(pa.first, pa.second), std::swap(pb.first, pb.second);
    return ascending ? pa < pb : pb < pa;
  });
  return Output(ctx, items);
}

// The regions that contain the pixel (row, column), in order.
VEXA_OPERATOR(select_region_point) {
  int32_t row = 0, col = 0;
  Vresult rc = GetCoord(ctx, 0, &row);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 1, &col);
  std::vector<Item> items, chosen;
  if (rc == VRESULT_OK) rc = ReadItems(ctx, &items);
  if (rc != VRESULT_OK) return rc;
  for (const Item& it : items)
    if (it.region->Contains(row, col)) chosen.push_back(it);
  return Output(ctx, chosen);
}

// The indices, counted from 1, of the regions that contain the pixel
// (row, column), in order; none gives an empty tuple.
VEXA_OPERATOR(get_region_index) {
  int32_t row = 0, col = 0;
  Vresult rc = GetCoord(ctx, 0, &row);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 1, &col);
  std::vector<Item> items;
  if (rc == VRESULT_OK) rc = ReadItems(ctx, &items);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> index;
  for (size_t i = 0; i < items.size(); ++i)
    if (items[i].region->Contains(row, col)) index.push_back(static_cast<Vlong>(i + 1));
  return ctx.SetOutpLongs(0, index);
}

}  // namespace vexa

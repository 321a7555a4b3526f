// Lists of lines, each given by its begin and end point in four parallel
// tuples: selection by features and by length.
#include <algorithm>
#include <numeric>

#include "ops/common/named_values.h"
#include "ops/geometry/plane.h"
#include "registry.h"

namespace vexa {
namespace geo {
namespace {

enum class LineFeature { kLength, kRow, kColumn, kPhi };

constexpr Named<LineFeature> kLineFeatures[] = {
    {"length", LineFeature::kLength},
    {"row", LineFeature::kRow},
    {"column", LineFeature::kColumn},
    {"phi", LineFeature::kPhi},
};

struct LineList {
  ElementInputs in;
  Pt Begin(size_t i) const { return in.Point(0, i); }
  Pt End(size_t i) const { return in.Point(2, i); }
};

// Value of `feature` for line i; false for the orientation of a line of
// length 0, which has none.
bool FeatureOf(const LineList& lines, size_t i, LineFeature feature, double* value) {
  const Pt a = lines.Begin(i), b = lines.End(i);
  switch (feature) {
    case LineFeature::kLength: *value = Distance(a, b); return true;
    case LineFeature::kRow: *value = 0.5 * (a.r + b.r); return true;
    case LineFeature::kColumn: *value = 0.5 * (a.c + b.c); return true;
    case LineFeature::kPhi: *value = Orientation(DirectionAngle(b - a)); return Distance(a, b) > 0;
  }
  return false;
}

// Writes the lines of `picked`, in that order, to outputs first..first+3.
Vresult SetLines(OpContext& ctx, int first, const LineList& lines, const std::vector<size_t>& picked) {
  std::vector<std::vector<double>> columns(4);
  for (size_t i : picked)
    for (size_t k = 0; k < 4; ++k) columns[k].push_back(lines.in.Real(k, i));
  return SetRealOutputs(ctx, first, columns);
}

// Splits the lines into those whose features lie in [min, max] (all of
// them for "and", any for "or") and the others, both in input order.
Vresult Partition(OpContext& ctx, LineList* lines, std::vector<size_t>* pass,
                  std::vector<size_t>* fail) {
  std::vector<const char*> names;
  const char* operation = nullptr;
  std::vector<double> lo, hi;
  Vresult rc = lines->in.ReadFirst(ctx, 4);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(4, names);
  if (rc == VRESULT_OK) rc = ctx.GetString(5, &operation);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(6, lo);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(7, hi);
  if (rc != VRESULT_OK) return rc;
  std::vector<LineFeature> features(names.size());
  for (size_t f = 0; f < names.size(); ++f)
    if (!LookUpName(kLineFeatures, names[f], &features[f])) return VERR_CTRL_VALUE(4);
  const bool all = std::string(operation) == "and";
  if (!all && std::string(operation) != "or") return VERR_CTRL_VALUE(5);
  if (features.empty()) return VERR_CTRL_NUM(4);
  if (lo.size() != features.size() && lo.size() != 1) return VERR_CTRL_NUM(6);
  if (hi.size() != features.size() && hi.size() != 1) return VERR_CTRL_NUM(7);
  for (size_t i = 0; i < lines->in.size(); ++i) {
    size_t inside = 0;
    for (size_t f = 0; f < features.size(); ++f) {
      double v = 0;
      const double min = lo[lo.size() == 1 ? 0 : f], max = hi[hi.size() == 1 ? 0 : f];
      if (FeatureOf(*lines, i, features[f], &v) && v >= min && v <= max) ++inside;
    }
    (all ? inside == features.size() : inside > 0) ? pass->push_back(i) : fail->push_back(i);
  }
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(select_lines) {
  LineList lines;
  std::vector<size_t> pass, fail;
  const Vresult rc = Partition(ctx, &lines, &pass, &fail);
  return rc == VRESULT_OK ? SetLines(ctx, 0, lines, pass) : rc;
}

VEXA_OPERATOR(partition_lines) {
  LineList lines;
  std::vector<size_t> pass, fail;
  Vresult rc = Partition(ctx, &lines, &pass, &fail);
  if (rc == VRESULT_OK) rc = SetLines(ctx, 0, lines, pass);
  return rc == VRESULT_OK ? SetLines(ctx, 4, lines, fail) : rc;
}

// The `num` longest lines (all, when there are fewer), longest first;
// lines of equal length keep their input order.
VEXA_OPERATOR(select_lines_longest) {
  LineList lines;
  Vlong num = 0;
  Vresult rc = lines.in.ReadFirst(ctx, 4);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &num);
  if (rc != VRESULT_OK) return rc;
  if (num < 0) return VERR_CTRL_VALUE(4);
  std::vector<size_t> order(lines.in.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::vector<double> length(order.size());
  for (size_t i : order) length[i] = Distance(lines.Begin(i), lines.End(i));
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return length[a] > length[b]; });
  order.resize(std::min(order.size(), static_cast<size_t>(num)));
  return SetLines(ctx, 0, lines, order);
}

}  // namespace geo
}  // namespace vexa

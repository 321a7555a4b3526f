// Statistics over a whole tuple of numbers: tuple_sum, tuple_cumul,
// tuple_mean, tuple_median, tuple_deviation, tuple_min, tuple_max,
// tuple_histo_range. A string among the values is VERR_CTRL_TYPE(0),
// except for tuple_min and tuple_max, which also order a tuple of strings.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {
namespace {

// Running sum: integers while only integers came (wrapping in 64 bits),
// real from the first real on.
Value Accumulate(const Value& acc, const Value& v) {
  if (acc.IsLong() && v.IsLong())
    return Value::Long(static_cast<Vlong>(static_cast<uint64_t>(acc.l) + static_cast<uint64_t>(v.l)));
  return Value::Double(acc.Real() + v.Real());
}

// The numbers of input 0, at least one of them.
Vresult ReadSample(const OpContext& ctx, Values* t) {
  const Vresult rc = ReadNumbers(ctx, 0, t);
  if (rc != VRESULT_OK) return rc;
  return t->empty() ? VERR_CTRL_NUM(0) : VRESULT_OK;
}

double Mean(const Values& t) {
  double sum = 0.0;
  for (const Value& v : t) sum += v.Real();
  return sum / static_cast<double>(t.size());
}

// tuple_min (want -1) and tuple_max (want 1): all numbers or all strings.
// Of equal values the first stays; NaN counts as greater than any number.
Vresult Extreme(OpContext& ctx, int want) {
  const Values t = ReadValues(ctx, 0);
  if (t.empty()) return VERR_CTRL_NUM(0);
  for (const Value& v : t)
    if (v.type == VPAR_UNDEF || v.IsString() != t[0].IsString()) return VERR_CTRL_TYPE(0);
  const Value* best = &t[0];
  for (const Value& v : t)
    if (SortOrder(v, *best) * want > 0) best = &v;
  return WriteValues(ctx, 0, Values{*best});
}

}  // namespace

// The sum of the empty tuple is the integer 0.
VEXA_OPERATOR(tuple_sum) {
  Values t;
  const Vresult rc = ReadNumbers(ctx, 0, &t);
  if (rc != VRESULT_OK) return rc;
  Value acc = Value::Long(0);
  for (const Value& v : t) acc = Accumulate(acc, v);
  return WriteValues(ctx, 0, Values{acc});
}

VEXA_OPERATOR(tuple_cumul) {
  Values t;
  const Vresult rc = ReadNumbers(ctx, 0, &t);
  if (rc != VRESULT_OK) return rc;
  Value acc = Value::Long(0);
  for (Value& v : t) v = acc = Accumulate(acc, v);
  return WriteValues(ctx, 0, t);
}

VEXA_OPERATOR(tuple_mean) {
  Values t;
  const Vresult rc = ReadSample(ctx, &t);
  return rc != VRESULT_OK ? rc : ctx.SetOutpDouble(0, Mean(t));
}

// The element at rank length / 2 of the sorted values: for an even count
// the upper of the two middle values. It keeps its type.
VEXA_OPERATOR(tuple_median) {
  Values t;
  const Vresult rc = ReadSample(ctx, &t);
  if (rc != VRESULT_OK) return rc;
  const auto mid = t.begin() + static_cast<std::ptrdiff_t>(t.size() / 2);
  std::nth_element(t.begin(), mid, t.end(),
                   [](const Value& a, const Value& b) { return SortOrder(a, b) < 0; });
  return WriteValues(ctx, 0, Values{*mid});
}

// Sample standard deviation (divisor n - 1), from the deviations from the
// mean; a single value has deviation 0.
VEXA_OPERATOR(tuple_deviation) {
  Values t;
  const Vresult rc = ReadSample(ctx, &t);
  if (rc != VRESULT_OK) return rc;
  if (t.size() == 1) return ctx.SetOutpDouble(0, 0.0);
  const double mean = Mean(t);
  double sq = 0.0;
  for (const Value& v : t) sq += (v.Real() - mean) * (v.Real() - mean);
  return ctx.SetOutpDouble(0, std::sqrt(sq / static_cast<double>(t.size() - 1)));
}

VEXA_OPERATOR(tuple_min) { return Extreme(ctx, -1); }
VEXA_OPERATOR(tuple_max) { return Extreme(ctx, 1); }

// Histogram of the values in [min, max] over num_bins bins of equal width;
// the value max falls into the last bin, values outside the range and NaN
// are not counted. Second result: the width of a bin.
VEXA_OPERATOR(tuple_histo_range) {
  Values t;
  Value lo, hi;
  Vlong bins = 0;
  Vresult rc = ReadNumbers(ctx, 0, &t);
  if (rc == VRESULT_OK) rc = ReadNumber(ctx, 1, &lo);
  if (rc == VRESULT_OK) rc = ReadNumber(ctx, 2, &hi);
  if (rc == VRESULT_OK) rc = ReadIndex(ctx, 3, &bins);
  if (rc != VRESULT_OK) return rc;
  const double min = lo.Real(), max = hi.Real();
  if (!std::isfinite(min)) return VERR_CTRL_VALUE(1);
  if (!std::isfinite(max) || !(max > min)) return VERR_CTRL_VALUE(2);
  if (bins < 1) return VERR_CTRL_VALUE(3);
  if (bins > kMaxGeneratedLength) return VERR_TOO_LARGE;
  const double width = (max - min) / static_cast<double>(bins);
  std::vector<Vlong> histo(static_cast<size_t>(bins), 0);
  for (const Value& v : t) {
    const double x = v.Real();
    if (!(x >= min && x <= max)) continue;
    const double bin = std::floor((x - min) / width);
    ++histo[std::min(static_cast<size_t>(bin), histo.size() - 1)];
  }
  rc = ctx.SetOutpLongs(0, histo);
  return rc != VRESULT_OK ? rc : ctx.SetOutpDouble(1, width);
}

}  // namespace vexa::tuple

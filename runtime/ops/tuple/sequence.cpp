// Sequence operations: tuple_length, tuple_concat, tuple_inverse,
// selection (tuple_select, tuple_select_range, tuple_first_n,
// tuple_last_n, tuple_select_mask, tuple_select_rank), editing
// (tuple_insert, tuple_replace, tuple_remove), ordering (tuple_sort,
// tuple_sort_index, tuple_uniq), searching (tuple_find, tuple_find_first,
// tuple_find_last) and generation (tuple_gen_sequence, tuple_gen_const).
//
// Elements keep their types throughout. Index-like inputs accept integers
// and reals (truncated toward zero); an index outside the tuple is
// VERR_CTRL_VALUE of the index parameter.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {
namespace {

// Elements first..last (both inclusive) of input 0 as the result; `last`
// one below `first` is the empty range. Bounds that leave the tuple name
// the parameter at fault.
Vresult WriteRange(OpContext& ctx, const Values& t, Vlong first, Vlong last,
                   int par_first, int par_last) {
  const Vlong n = static_cast<Vlong>(t.size());
  if (first < 0 || first > n) return VERR_CTRL_VALUE(par_first);
  if (last < first - 1 || last >= n) return VERR_CTRL_VALUE(par_last);
  return WriteValues(ctx, 0, Values(t.begin() + first, t.begin() + (last + 1)));
}

// Indices in stable sorted order of the elements.
std::vector<size_t> SortedIndices(const Values& t) {
  std::vector<size_t> idx(t.size());
  std::iota(idx.begin(), idx.end(), size_t{0});
  std::stable_sort(idx.begin(), idx.end(),
                   [&t](size_t a, size_t b) { return SortOrder(t[a], t[b]) < 0; });
  return idx;
}

// Start positions of `what` as a contiguous run of elements in `t`.
std::vector<Vlong> Occurrences(const Values& t, const Values& what) {
  std::vector<Vlong> found;
  for (size_t s = 0; !what.empty() && s + what.size() <= t.size(); ++s) {
    if (std::equal(what.begin(), what.end(), t.begin() + static_cast<std::ptrdiff_t>(s), Equal))
      found.push_back(static_cast<Vlong>(s));
  }
  return found;
}

// Elements may not be undefined where they are compared or ordered.
Vresult CheckDefined(const Values& t, int par) {
  for (const Value& v : t)
    if (v.type == VPAR_UNDEF) return VERR_CTRL_TYPE(par);
  return VRESULT_OK;
}

// Number of elements of start, start + step, ... not beyond `end`; exact
// for integers (in 128 bits, so no difference overflows), with a tiny
// tolerance for reals so that 0, 0.1, ... reaches 1.0 despite rounding.
double SequenceCount(const Value& start, const Value& end, const Value& step) {
  if (start.IsLong() && end.IsLong() && step.IsLong()) {
    const __int128 span = static_cast<__int128>(end.l) - start.l;
    if ((span < 0) != (step.l < 0) && span != 0) return 0.0;
    return static_cast<double>(span / step.l + 1);
  }
  return std::floor((end.Real() - start.Real()) / step.Real() + 1e-9) + 1.0;
}

}  // namespace

VEXA_OPERATOR(tuple_length) {
  return ctx.SetOutpLong(0, ctx.CtrlNum(0));
}

VEXA_OPERATOR(tuple_concat) {
  Values t = ReadValues(ctx, 0);
  Values b = ReadValues(ctx, 1);
  t.insert(t.end(), b.begin(), b.end());
  return WriteValues(ctx, 0, t);
}

VEXA_OPERATOR(tuple_inverse) {
  Values t = ReadValues(ctx, 0);
  std::reverse(t.begin(), t.end());
  return WriteValues(ctx, 0, t);
}

// Elements at the given indices, in the order of the indices; an index may
// repeat.
VEXA_OPERATOR(tuple_select) {
  const Values t = ReadValues(ctx, 0);
  std::vector<Vlong> idx;
  const Vresult rc = ReadIndices(ctx, 1, &idx);
  if (rc != VRESULT_OK) return rc;
  Values out;
  for (Vlong k : idx) {
    if (k < 0 || k >= static_cast<Vlong>(t.size())) return VERR_CTRL_VALUE(1);
    out.push_back(t[static_cast<size_t>(k)]);
  }
  return WriteValues(ctx, 0, out);
}

VEXA_OPERATOR(tuple_select_range) {
  Vlong first = 0, last = 0;
  Vresult rc = ReadIndex(ctx, 1, &first);
  if (rc == VRESULT_OK) rc = ReadIndex(ctx, 2, &last);
  return rc != VRESULT_OK ? rc : WriteRange(ctx, ReadValues(ctx, 0), first, last, 1, 2);
}

// Elements 0..index; index -1 gives the empty tuple.
VEXA_OPERATOR(tuple_first_n) {
  Vlong last = 0;
  const Vresult rc = ReadIndex(ctx, 1, &last);
  return rc != VRESULT_OK ? rc : WriteRange(ctx, ReadValues(ctx, 0), 0, last, 1, 1);
}

// Elements index..end; index equal to the length gives the empty tuple.
VEXA_OPERATOR(tuple_last_n) {
  Vlong first = 0;
  const Vresult rc = ReadIndex(ctx, 1, &first);
  if (rc != VRESULT_OK) return rc;
  const Values t = ReadValues(ctx, 0);
  return WriteRange(ctx, t, first, static_cast<Vlong>(t.size()) - 1, 1, 1);
}

// Elements whose mask value is greater than 0; the mask has one value per
// element.
VEXA_OPERATOR(tuple_select_mask) {
  const Values t = ReadValues(ctx, 0);
  std::vector<Vlong> mask;
  const Vresult rc = ReadIndices(ctx, 1, &mask);
  if (rc != VRESULT_OK) return rc;
  if (mask.size() != t.size()) return VERR_CTRL_NUM(1);
  Values out;
  for (size_t i = 0; i < t.size(); ++i)
    if (mask[i] > 0) out.push_back(t[i]);
  return WriteValues(ctx, 0, out);
}

// The element a sort would put at `rank_index`.
VEXA_OPERATOR(tuple_select_rank) {
  Values t = ReadValues(ctx, 0);
  Vlong rank = 0;
  Vresult rc = CheckDefined(t, 0);
  if (rc == VRESULT_OK) rc = ReadIndex(ctx, 1, &rank);
  if (rc != VRESULT_OK) return rc;
  if (rank < 0 || rank >= static_cast<Vlong>(t.size())) return VERR_CTRL_VALUE(1);
  auto nth = t.begin() + rank;
  std::nth_element(t.begin(), nth, t.end(),
                   [](const Value& a, const Value& b) { return SortOrder(a, b) < 0; });
  return WriteValues(ctx, 0, Values{*nth});
}

// insert_tuple goes in before element `index` (0..length; length appends).
VEXA_OPERATOR(tuple_insert) {
  Values t = ReadValues(ctx, 0);
  Vlong at = 0;
  const Vresult rc = ReadIndex(ctx, 1, &at);
  if (rc != VRESULT_OK) return rc;
  if (at < 0 || at > static_cast<Vlong>(t.size())) return VERR_CTRL_VALUE(1);
  const Values ins = ReadValues(ctx, 2);
  t.insert(t.begin() + at, ins.begin(), ins.end());
  return WriteValues(ctx, 0, t);
}

// Element index[i] becomes replace_tuple[i], or replace_tuple[0] for all
// when it has one element. With a repeated index the last one wins.
VEXA_OPERATOR(tuple_replace) {
  Values t = ReadValues(ctx, 0);
  std::vector<Vlong> idx;
  const Vresult rc = ReadIndices(ctx, 1, &idx);
  if (rc != VRESULT_OK) return rc;
  const Values rep = ReadValues(ctx, 2);
  if (!idx.empty() && rep.size() != 1 && rep.size() != idx.size()) return VERR_CTRL_NUM(2);
  for (size_t i = 0; i < idx.size(); ++i) {
    if (idx[i] < 0 || idx[i] >= static_cast<Vlong>(t.size())) return VERR_CTRL_VALUE(1);
    t[static_cast<size_t>(idx[i])] = rep[At(rep.size(), i)];
  }
  return WriteValues(ctx, 0, t);
}

// Removes the elements at the given indices; indices may repeat and come
// in any order, and indices outside the tuple remove nothing.
VEXA_OPERATOR(tuple_remove) {
  const Values t = ReadValues(ctx, 0);
  std::vector<Vlong> idx;
  const Vresult rc = ReadIndices(ctx, 1, &idx);
  if (rc != VRESULT_OK) return rc;
  std::vector<bool> removed(t.size(), false);
  for (Vlong k : idx)
    if (k >= 0 && k < static_cast<Vlong>(t.size())) removed[static_cast<size_t>(k)] = true;
  Values out;
  for (size_t i = 0; i < t.size(); ++i)
    if (!removed[i]) out.push_back(t[i]);
  return WriteValues(ctx, 0, out);
}

// Ascending and stable: numbers by value (integers and reals together, NaN
// last), then strings by bytes.
VEXA_OPERATOR(tuple_sort) {
  Values t = ReadValues(ctx, 0);
  const Vresult rc = CheckDefined(t, 0);
  if (rc != VRESULT_OK) return rc;
  std::stable_sort(t.begin(), t.end(),
                   [](const Value& a, const Value& b) { return SortOrder(a, b) < 0; });
  return WriteValues(ctx, 0, t);
}

// The indices that sort the tuple; ties stay in ascending index order.
VEXA_OPERATOR(tuple_sort_index) {
  const Values t = ReadValues(ctx, 0);
  const Vresult rc = CheckDefined(t, 0);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> out;
  for (size_t i : SortedIndices(t)) out.push_back(static_cast<Vlong>(i));
  return ctx.SetOutpLongs(0, out);
}

// Removes neighbouring duplicates (1 and 1.0 are equal); the first of a
// run stays. Sort first for distinct values.
VEXA_OPERATOR(tuple_uniq) {
  Values t = ReadValues(ctx, 0);
  const Vresult rc = CheckDefined(t, 0);
  if (rc != VRESULT_OK) return rc;
  t.erase(std::unique(t.begin(), t.end(), Equal), t.end());
  return WriteValues(ctx, 0, t);
}

// All start positions of to_find as a contiguous run, or -1; an empty
// operand gives the empty tuple.
VEXA_OPERATOR(tuple_find) {
  const Values t = ReadValues(ctx, 0), what = ReadValues(ctx, 1);
  if (t.empty() || what.empty()) return ctx.SetOutpEmpty(0);
  const std::vector<Vlong> found = Occurrences(t, what);
  return found.empty() ? ctx.SetOutpLong(0, -1) : ctx.SetOutpLongs(0, found);
}

VEXA_OPERATOR(tuple_find_first) {
  const std::vector<Vlong> found = Occurrences(ReadValues(ctx, 0), ReadValues(ctx, 1));
  return ctx.SetOutpLong(0, found.empty() ? -1 : found.front());
}

VEXA_OPERATOR(tuple_find_last) {
  const std::vector<Vlong> found = Occurrences(ReadValues(ctx, 0), ReadValues(ctx, 1));
  return ctx.SetOutpLong(0, found.empty() ? -1 : found.back());
}

// start, start + step, ... up to and including `end` when reached. Three
// integers give integers, otherwise reals; step 0 is refused.
VEXA_OPERATOR(tuple_gen_sequence) {
  Value start, end, step;
  Vresult rc = ReadNumber(ctx, 0, &start);
  if (rc == VRESULT_OK) rc = ReadNumber(ctx, 1, &end);
  if (rc == VRESULT_OK) rc = ReadNumber(ctx, 2, &step);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(start.Real())) return VERR_CTRL_VALUE(0);
  if (!std::isfinite(end.Real())) return VERR_CTRL_VALUE(1);
  if (step.Real() == 0.0 || !std::isfinite(step.Real())) return VERR_CTRL_VALUE(2);
  const double count = SequenceCount(start, end, step);
  if (count > static_cast<double>(kMaxGeneratedLength)) return VERR_TOO_LARGE;
  const Vlong n = count >= 1.0 ? static_cast<Vlong>(count) : 0;
  const bool integers = start.IsLong() && end.IsLong() && step.IsLong();
  Values out;
  for (Vlong i = 0; i < n; ++i)
    out.push_back(integers ? Value::Long(start.l + i * step.l)
                           : Value::Double(start.Real() + static_cast<double>(i) * step.Real()));
  return WriteValues(ctx, 0, out);
}

// `length` copies of the one value of const_value.
VEXA_OPERATOR(tuple_gen_const) {
  Vlong length = 0;
  const Vresult rc = ReadIndex(ctx, 0, &length);
  if (rc != VRESULT_OK) return rc;
  if (length < 0) return VERR_CTRL_VALUE(0);
  if (length > kMaxGeneratedLength) return VERR_TOO_LARGE;
  const Values value = ReadValues(ctx, 1);
  if (value.size() != 1) return VERR_CTRL_NUM(1);
  if (value[0].type == VPAR_UNDEF) return VERR_CTRL_TYPE(1);
  return WriteValues(ctx, 0, Values(static_cast<size_t>(length), value[0]));
}

}  // namespace vexa::tuple

// Tuple arithmetic and comparison on 1e6 elements, each against the same
// loop over a plain std::vector of the same element type. The tuple pays
// for its type tag per element (16 bytes instead of 8) and for sizing its
// result by the growth rule; nothing else should show.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include <vexaobj/VTuple.h>

namespace {

using Vexa::Vlong;
using Vexa::VTuple;

// Operand lengths: 1e6 elements, whose tuples (16 MB each) outgrow the
// last-level cache while the plain arrays (8 MB each) fit it, and 1e5,
// where both fit and only the work per element differs.
constexpr Vlong kCounts[] = {1000000, 100000};

// The i-th operand value of either type; the second operand differs from
// the first so that no multiplication or sum is trivial.
template <class T>
T Value(Vlong i, int which) {
  return static_cast<T>(which == 0 ? i % 1000 + 1 : i % 7 + 2);
}

template <class T>
VTuple MakeTuple(Vlong count, int which) {
  VTuple t;
  for (Vlong i = count - 1; i >= 0; --i) t[i] = Value<T>(i, which);
  return t;
}

template <class T>
const VTuple& TupleOperand(Vlong count, int which) {
  static const VTuple operands[2][2] = {
      {MakeTuple<T>(kCounts[0], 0), MakeTuple<T>(kCounts[0], 1)},
      {MakeTuple<T>(kCounts[1], 0), MakeTuple<T>(kCounts[1], 1)}};
  return operands[count == kCounts[0] ? 0 : 1][which];
}

template <class T>
std::vector<T> MakeVector(Vlong count, int which) {
  std::vector<T> v(count);
  for (Vlong i = 0; i < count; ++i) v[i] = Value<T>(i, which);
  return v;
}

template <class T>
const std::vector<T>& VectorOperand(Vlong count, int which) {
  static const std::vector<T> operands[2][2] = {
      {MakeVector<T>(kCounts[0], 0), MakeVector<T>(kCounts[0], 1)},
      {MakeVector<T>(kCounts[1], 0), MakeVector<T>(kCounts[1], 1)}};
  return operands[count == kCounts[0] ? 0 : 1][which];
}

// --- Elementwise operations: a fresh result each time, as in the tuple ----

template <class T>
void TupleAdd(benchmark::State& state) {
  const VTuple& a = TupleOperand<T>(state.range(0), 0);
  const VTuple& b = TupleOperand<T>(state.range(0), 1);
  for (auto _ : state) {
    VTuple r = a + b;
    benchmark::DoNotOptimize(r);
  }
}

template <class T>
void TupleMul(benchmark::State& state) {
  const VTuple& a = TupleOperand<T>(state.range(0), 0);
  const VTuple& b = TupleOperand<T>(state.range(0), 1);
  for (auto _ : state) {
    VTuple r = a * b;
    benchmark::DoNotOptimize(r);
  }
}

template <class T, class Op>
void VectorElementwise(benchmark::State& state, Op op) {
  const std::vector<T>& a = VectorOperand<T>(state.range(0), 0);
  const std::vector<T>& b = VectorOperand<T>(state.range(0), 1);
  for (auto _ : state) {
    std::vector<T> r(a.size());
    for (size_t i = 0; i < a.size(); ++i) r[i] = op(a[i], b[i]);
    benchmark::DoNotOptimize(r.data());
  }
}

template <class T>
void VectorAdd(benchmark::State& state) {
  VectorElementwise<T>(state, [](T x, T y) { return x + y; });
}

template <class T>
void VectorMul(benchmark::State& state) {
  VectorElementwise<T>(state, [](T x, T y) { return x * y; });
}

// --- Whole comparisons: equal operands, so that every element is visited ---

template <class T>
void TupleEqual(benchmark::State& state) {
  const VTuple& a = TupleOperand<T>(state.range(0), 0);
  const VTuple b = a;
  for (auto _ : state) benchmark::DoNotOptimize(a == b);
}

template <class T>
void VectorEqual(benchmark::State& state) {
  const std::vector<T>& a = VectorOperand<T>(state.range(0), 0);
  const std::vector<T> b = a;
  for (auto _ : state) {
    int equal = 1;
    for (size_t i = 0; i < a.size(); ++i) {
      if (a[i] != b[i]) {
        equal = 0;
        break;
      }
    }
    benchmark::DoNotOptimize(equal);
  }
}

// The floor under any equality of two tuples of this length: the bytes of
// two arrays in the tuple's layout (16 bytes per element: value, type tag,
// padding) read once and or'ed together, with nothing compared. Where
// this alone takes more than twice the plain vector's loop, the tag's
// memory traffic is what the difference is made of.
void LayoutReadFloor(benchmark::State& state) {
  const size_t words = 2 * static_cast<size_t>(state.range(0));
  const std::vector<uint64_t> a(words, 1);
  const std::vector<uint64_t> b(words, 2);
  for (auto _ : state) {
    uint64_t any = 0;
    for (size_t k = 0; k < words; ++k) any |= a[k] | b[k];
    benchmark::DoNotOptimize(any);
  }
}

// The same floor for an elementwise operation: the two arrays read once
// and a third of their size written, uninitialised before, as the tuple's
// result is.
void LayoutZipFloor(benchmark::State& state) {
  const size_t words = 2 * static_cast<size_t>(state.range(0));
  const std::vector<uint64_t> a(words, 1);
  const std::vector<uint64_t> b(words, 2);
  for (auto _ : state) {
    std::unique_ptr<uint64_t[]> r(new uint64_t[words]);
    for (size_t k = 0; k < words; ++k) r[k] = a[k] | b[k];
    benchmark::DoNotOptimize(r.get());
  }
}

template <class T>
void TupleLess(benchmark::State& state) {
  const VTuple& a = TupleOperand<T>(state.range(0), 0);
  const VTuple b = a;
  for (auto _ : state) benchmark::DoNotOptimize(a < b);
}

// The same algorithm on plain values: a not-a-number anywhere makes the
// order false, then the first difference or the lengths decide.
template <class T>
void VectorLess(benchmark::State& state) {
  const std::vector<T>& a = VectorOperand<T>(state.range(0), 0);
  const std::vector<T> b = a;
  for (auto _ : state) {
    int less = -1;
    for (const std::vector<T>* v : {&a, &b}) {
      for (T x : *v) {
        if (x != x) less = 0;
      }
    }
    for (size_t i = 0; less < 0 && i < a.size(); ++i) {
      if (a[i] < b[i]) less = 1;
      else if (a[i] > b[i]) less = 0;
    }
    if (less < 0) less = a.size() < b.size();
    benchmark::DoNotOptimize(less);
  }
}

BENCHMARK_TEMPLATE(TupleAdd, Vlong)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(VectorAdd, Vlong)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(TupleAdd, double)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(VectorAdd, double)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(TupleMul, Vlong)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(VectorMul, Vlong)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(TupleMul, double)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(VectorMul, double)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(TupleEqual, Vlong)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(VectorEqual, Vlong)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(TupleEqual, double)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(VectorEqual, double)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK(LayoutZipFloor)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK(LayoutReadFloor)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(TupleLess, Vlong)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(VectorLess, Vlong)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(TupleLess, double)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(VectorLess, double)->Arg(kCounts[0])->Arg(kCounts[1])->Unit(benchmark::kMillisecond);

}  // namespace

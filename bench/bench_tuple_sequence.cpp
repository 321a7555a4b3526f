// Sorting and text conversion of numeric tuples against plain baselines in
// the same run: Sort and SortIndex of 1e6 reals and integers against
// std::sort of a std::vector<double>, Number against a strtod loop and
// ToString against an snprintf loop on 1e5 elements. Prints one line per
// measurement with the ratio to its baseline (the target is 2x at most).
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <vexaobj/VTuple.h>

using Vexa::VCtrlVal;
using Vexa::VTuple;
using Vexa::Vlong;

namespace {

// Best of a few runs in milliseconds, so that one disturbed run on a shared
// machine does not decide.
template <class Work>
double BestMs(Work work) {
  double best = 1e300;
  for (int run = 0; run < 3; ++run) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> took =
        std::chrono::steady_clock::now() - start;
    best = std::min(best, took.count());
  }
  return best;
}

void Report(const char* what, double ms, double baseline_ms) {
  printf("%-36s %9.2f ms  %5.2fx baseline\n", what, ms, ms / baseline_ms);
}

// Keeps results alive so that the compiler cannot drop the work.
volatile double sink;

}  // namespace

int main() {
  const Vlong kSortCount = 1000000;
  const Vlong kTextCount = 100000;
  srand(12345);

  std::vector<double> reals(kSortCount);
  VTuple real_tuple;
  VTuple integer_tuple;
  for (Vlong i = kSortCount - 1; i >= 0; --i) {
    reals[i] = rand() / static_cast<double>(RAND_MAX) * 1e6;
    real_tuple[i] = VCtrlVal(reals[i]);
    integer_tuple[i] = VCtrlVal(static_cast<Vlong>(reals[i]));
  }

  const double sort_base = BestMs([&] {
    std::vector<double> copy = reals;
    std::sort(copy.begin(), copy.end());
    sink = copy[0];
  });
  Report("std::sort vector<double> 1e6", sort_base, sort_base);
  Report("Sort reals 1e6", BestMs([&] { sink = real_tuple.Sort()[0].D(); }), sort_base);
  Report("Sort integers 1e6", BestMs([&] { sink = integer_tuple.Sort()[0].D(); }), sort_base);
  Report("SortIndex reals 1e6", BestMs([&] { sink = real_tuple.SortIndex()[0].D(); }), sort_base);
  Report("SortIndex integers 1e6", BestMs([&] { sink = integer_tuple.SortIndex()[0].D(); }),
         sort_base);

  std::vector<std::string> texts(kTextCount);
  VTuple text_tuple;
  for (Vlong i = kTextCount - 1; i >= 0; --i) {
    char text[32];
    snprintf(text, sizeof text, "%g", reals[i]);
    texts[i] = text;
    text_tuple[i] = VCtrlVal(text);
  }
  const VTuple few_reals = real_tuple(0, kTextCount - 1);

  const double strtod_base = BestMs([&] {
    double sum = 0;
    for (const std::string& t : texts) sum += strtod(t.c_str(), nullptr);
    sink = sum;
  });
  Report("strtod loop 1e5", strtod_base, strtod_base);
  Report("Number 1e5", BestMs([&] { sink = text_tuple.Number()[0].D(); }), strtod_base);

  const double snprintf_base = BestMs([&] {
    char text[32];
    size_t total = 0;
    for (Vlong i = 0; i < kTextCount; ++i) total += snprintf(text, sizeof text, "%g", reals[i]);
    sink = static_cast<double>(total);
  });
  Report("snprintf loop 1e5", snprintf_base, snprintf_base);
  Report("ToString 1e5", BestMs([&] { sink = few_reals.ToString("").Num(); }), snprintf_base);
  return 0;
}

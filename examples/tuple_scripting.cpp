// Tuples as a small scripting language: mixed values, arithmetic that
// broadcasts, comparison, selection, strings and formatting, all on the
// library side without loops over the elements.
#include <vexaobj.h>

#include <cstdio>

using namespace Vexa;

namespace {

void PrintAll(const char* label, const VTuple& texts) {
  std::printf("%s:", label);
  for (Vlong i = 0; i < texts.Num(); ++i) std::printf(" %s", texts[i].S());
  std::printf("\n");
}

}  // namespace

int main() {
  // Measurements of five parts in millimetres, with their names.
  const VTuple names = VTuple("bolt").Append("nut").Append("washer").Append("pin").Append("clip");
  const VTuple lengths = VTuple(12.5).Append(4.0).Append(1.5).Append(20.25).Append(7.75);

  // Arithmetic broadcasts a single value over the tuple; statistics reduce.
  const VTuple inches = lengths / 25.4;
  std::printf("mean %.3f mm, max %.2f mm\n", lengths.Mean()[0].D(), lengths.Max()[0].D());

  // The parts longer than 5 mm: a 0/1 mask, then the indices of the ones.
  const VTuple long_ones = lengths.GreaterElem(5.0).Find(1);
  const VTuple selected = names.Select(long_ones);
  PrintAll("longer than 5 mm", selected);

  // Each element formatted with a pattern; + with strings concatenates.
  PrintAll("in inches", names + "=" + inches.ToString(".3f"));

  // Sorting by length gives the order of the names.
  const VTuple order = lengths.SortIndex();
  PrintAll("shortest first", names.Select(order));
  return selected.Num() == 3 && order[0].L() == 2 ? 0 : 1;
}

// The code types the tools know, by the names the operators use, and the
// engine's format for each.
#pragma once

#include "ops/codes/zxing_bridge.h"

namespace vexa {

struct Symbology {
  const char* name;
  ZXing::BarcodeFormat format;
};

// Linear codes, in the order in which per-type parameters are listed.
constexpr int kNumBarCodeTypes = 11;
extern const Symbology kBarCodeTypes[kNumBarCodeTypes];
// 2D data codes.
constexpr int kNumDataCodeTypes = 5;
extern const Symbology kDataCodeTypes[kNumDataCodeTypes];

// Index of `name` in `table`, or -1.
int FindSymbology(const Symbology* table, int n, const char* name);
// The name of a format in either table ("" for another one).
const char* SymbologyName(ZXing::BarcodeFormat format);

}  // namespace vexa

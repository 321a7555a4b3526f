// Bar code descriptions: the control tuples the description operators
// pass around instead of a model handle. A description is a lightweight
// model: searches with it run the same reader as the models, with the
// model's parameters set from the description.
//
// Linear code description, 9 values:
//   0  "bar_code_1d_descr"
//   1  code type: a linear type name, or "generic" (every type whose
//      characters have num_elements_per_char elements)
//   2  min_code_length, 3 max_code_length: decoded characters (max 0: any)
//   4  min_element_size, 5 max_element_size: the narrowest element's
//      width in pixels a code may have
//   6  num_elements_per_char: bars and spaces per character (a gap
//      between characters counted)
//   7  element_tolerance: the largest deviation of an element from a whole
//      number of modules, in modules (0.5 accepts every width)
//   8  check_character: "absent" (optional check characters need not be
//      there) or "present" (Code 39 and 2/5 Interleaved must carry a right
//      one; the other types always verify theirs)
// 2D code description, 4 values:
//   0  "bar_code_2d_descr"
//   1  code type: a 2D code type name
//   2  module_size, 3 max_module_size: the module widths in pixels a
//      symbol may have (not checked for PDF417, whose grid is not fitted)
#pragma once

#include <vector>

#include "ops/codes/bar_code_model.h"

namespace vexa {

struct LinearDescr {
  bool generic = false;
  std::vector<int> types;  // indices into kBarCodeTypes
  Vlong min_length = 0, max_length = 0;
  double min_element = 1, max_element = 64;
  Vlong elements_per_char = 0;
  double tolerance = 0.5;
  bool check_present = false;
};

struct MatrixDescr {
  int type = 0;  // index into kDataCodeTypes
  double module_size = 1, max_module_size = 64;
};

// Bars and spaces per character of a linear code type.
int ElementsPerChar(int type);
// The modules of a code of `type` with `num_elements` elements: fixed for
// EAN and UPC codes of their full element count, else 0 (unknown).
int TotalModules(int type, size_t num_elements);
// The types with that many elements per character.
std::vector<int> TypesWithElementsPerChar(Vlong n);

// Checks the fields (VERR_CTRL_VALUE(first_par + field - 2) for a value
// out of range, counting fields from min_code_length) and writes the tuple.
Vresult OutpLinearDescr(OpContext& ctx, int out_par, int first_par, const LinearDescr& d);
// The description at input `par`; VERR_CODE_DESCR for anything else.
Vresult InpLinearDescr(const OpContext& ctx, int par, LinearDescr* d);

Vresult OutpMatrixDescr(OpContext& ctx, int out_par, const MatrixDescr& d);
Vresult InpMatrixDescr(const OpContext& ctx, int par, MatrixDescr* d);

// The bar code model parameters a description stands for; with the
// parameter pairs at `name_par` and `name_par + 1` applied to its types.
BarCodeParamValues LinearDescrParams(const LinearDescr& d);
Vresult LinearDescrParams(const OpContext& ctx, int name_par, const LinearDescr& d,
                          BarCodeParamValues* params);

// Whether a decoded code with this text and narrowest element (pixels)
// fits the description's limits that the reader does not apply.
bool LinearDescrAccepts(const LinearDescr& d, const CodeHit& hit, double narrow_element);

}  // namespace vexa

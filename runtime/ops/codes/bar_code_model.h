// The tool behind a bar code handle: the parameters of the linear code
// reader and the results of its last search.
//
// Parameters are numbers. General ones hold one value; specific ones hold
// one value per code type (set_bar_code_param sets a specific parameter
// for every type at once):
//   stop_after_result_num    0 (all) or the largest number of codes to read
//   persistence              1: search every row and also the engine's
//                            harder modes; 0: faster, for clean images
//   min_identical_scanlines  scan lines that must agree on a linear code
//   orientation              expected reading direction, degrees
//   orientation_tol          accepted deviation from it, degrees (180: any)
//   min_code_length          (specific) fewest decoded characters
//   check_char               (specific) 1: the optional check character of
//                            Code 39 and 2/5 Interleaved must be present and
//                            right (no effect on the other types, whose
//                            check characters are always verified)
#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <vector>

#include "handle_registry.h"
#include "ops/codes/code_results.h"
#include "ops/codes/symbologies.h"
#include "ops/serialize/item_format.h"

namespace vexa {

struct BarCodeParamSpec {
  const char* name;
  double initial, min, max;
  bool integer;
  bool specific;  // one value per code type
};

constexpr int kNumBarCodeParams = 7;
extern const BarCodeParamSpec kBarCodeParams[kNumBarCodeParams];

// Index of the parameter `name`, or -1.
int FindBarCodeParam(const char* name);

// Parameter names at `name_par` and values at `name_par + 1`, checked as a
// whole before anything is set, so a bad pair leaves a model unchanged.
// With `specific_only`, general parameters are refused.
Vresult InpBarCodeParamPairs(const OpContext& ctx, int name_par, bool specific_only,
                             std::vector<int>* params, std::vector<double>* values);

// Characters of a decoded text (UTF-8 code points).
size_t CharCount(const std::string& s);

// One value per parameter and code type (general parameters keep all
// columns equal).
using BarCodeParamValues = std::array<std::array<double, kNumBarCodeTypes>, kNumBarCodeParams>;

class BarCodeModel : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kBarCode;
  static constexpr ItemKind kItemKind = ItemKind::kBarCodeModel;

  BarCodeModel();

  BarCodeParamValues Params() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return params_;
  }
  // Sets parameter `p` for the code types in `types` (all for a general
  // parameter); the value must be valid (ValidValue).
  void SetParam(int p, const std::vector<int>& types, double value);
  static bool ValidValue(int p, double value);

  CodeResultStore& results() { return results_; }

  // Serialised form: the parameter values.
  ItemBytes Payload() const;
  // VERR_FILE_CORRUPT for bytes that are not a valid payload.
  static Vresult FromPayload(ByteReader* r, std::shared_ptr<BarCodeModel>* model);

 private:
  mutable std::mutex mutex_;
  BarCodeParamValues params_;
  CodeResultStore results_;
};

// The reader's options for a search over `types` under `params`.
CodeReadOptions BarCodeReadOptions(const BarCodeParamValues& params, const std::vector<int>& types);

// The decoded hits that pass the filters of `params` (code type among
// `types`, length, orientation), at most stop_after_result_num of them.
std::vector<CodeHit> FilterBarCodes(const std::vector<CodeHit>& hits,
                                    const BarCodeParamValues& params,
                                    const std::vector<int>& types);

}  // namespace vexa

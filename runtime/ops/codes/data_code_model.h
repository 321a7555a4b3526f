// The tool behind a 2D data code handle: the code type it reads, the
// reader's parameters, and the results of its last search.
//
// Parameters (get_data_code_2d_param gives each as it was set):
//   symbol_type            the code type (fixed when the model is made)
//   polarity               "dark_on_light", "light_on_dark" or "any"
//   stop_after_result_num  0 (all) or the largest number of symbols to read
//   persistence            1: the engine's harder modes too; 0: faster
//   default_parameters     a preset: "standard_recognition" (persistence 0,
//                          dark on light), "enhanced_recognition"
//                          (persistence 1, dark on light; the initial
//                          state), "maximum_recognition" (persistence 1,
//                          any polarity); reading it names the preset the
//                          current values match, or "custom"
#pragma once

#include <memory>
#include <mutex>

#include "handle_registry.h"
#include "ops/codes/code_results.h"
#include "ops/codes/symbologies.h"
#include "ops/serialize/item_format.h"

namespace vexa {

struct DataCodeParams {
  int type = 0;  // index into kDataCodeTypes
  CodePolarity polarity = CodePolarity::kDarkOnLight;
  int stop_after = 0;
  bool persistence = true;
};

// Sets parameter `name` to `value`: VERR_CTRL_VALUE(name_par) for an
// unknown or read-only name, VERR_CTRL_TYPE/VALUE(value_par) for a value
// the parameter does not take.
Vresult SetDataCodeParam(DataCodeParams* params, const char* name, const Vcpar& value,
                         int name_par, int value_par);
// Appends the value of parameter `name`; VERR_CTRL_VALUE(name_par) for an
// unknown name.
Vresult GetDataCodeParam(const DataCodeParams& params, const char* name, int name_par,
                         CtrlValues* out);
// The names of the parameters that can be read, or set.
std::vector<std::string> DataCodeParamNames(bool settable);

CodeReadOptions DataCodeReadOptions(const DataCodeParams& params);

class DataCodeModel : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kDataCode2D;
  static constexpr ItemKind kItemKind = ItemKind::kDataCode2DModel;

  explicit DataCodeModel(const DataCodeParams& params) : params_(params) {}

  DataCodeParams Params() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return params_;
  }
  void SetParams(const DataCodeParams& params) {
    std::lock_guard<std::mutex> lock(mutex_);
    params_ = params;
  }
  CodeResultStore& results() { return results_; }

  ItemBytes Payload() const;
  static Vresult FromPayload(ByteReader* r, std::shared_ptr<DataCodeModel>* model);

 private:
  mutable std::mutex mutex_;
  DataCodeParams params_;
  CodeResultStore results_;
};

}  // namespace vexa

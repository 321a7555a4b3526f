// The runtime about itself: texts of result codes, the thread's last
// failure, and the process-wide settings.
#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "error_detail.h"
#include "op_table.h"
#include "ops/common/named_values.h"
#include "op_context.h"
#include "registry.h"

namespace vexa {
namespace {

// Settings that get_system answers and set_system changes.
enum class Setting { kRaiseOnError, kSeedRand, kProcessorNum, kOperatorNum, kImplementedNum };

const Named<Setting> kSettings[] = {
    {"raise_on_error", Setting::kRaiseOnError},
    {"seed_rand", Setting::kSeedRand},
    {"processor_num", Setting::kProcessorNum},
    {"operator_num", Setting::kOperatorNum},
    {"implemented_operator_num", Setting::kImplementedNum},
};

Vlong ImplementedOperators() {
  Vlong n = 0;
  for (int32_t op = 0; op < kOperatorCount; ++op) n += HasRegisteredImpl(op) ? 1 : 0;
  return n;
}

// Applies the value of one setting (control parameter 1 of set_system).
Vresult ApplySetting(Setting s, const Vcpar& value) {
  switch (s) {
    case Setting::kRaiseOnError: {
      if (value.type != VPAR_STRING) return VERR_CTRL_TYPE(1);
      const bool on = std::strcmp(value.par.s, "true") == 0;
      if (!on && std::strcmp(value.par.s, "false") != 0) return VERR_CTRL_VALUE(1);
      VSetRaiseOnError(on ? 1 : 0);
      return VRESULT_OK;
    }
    case Setting::kSeedRand:
      if (value.type != VPAR_LONG) return VERR_CTRL_TYPE(1);
      VSrand48(static_cast<long>(value.par.l));
      return VRESULT_OK;
    default:  // the others can only be read
      return VERR_CTRL_VALUE(0);
  }
}

}  // namespace

// The text of a result code, as VErrorMessage gives it.
VEXA_OPERATOR(get_error_text) {
  Vlong code = 0;
  const Vresult rc = ctx.GetLong(0, &code);
  if (rc != VRESULT_OK) return rc;
  if (code < 0 || code > 0xFFFFFFFFLL) return VERR_CTRL_VALUE(0);
  char text[1024];
  VErrorMessage(static_cast<Vresult>(code), text);
  return ctx.SetOutpString(0, text);
}

// The last operator call of this thread that failed: its operator, its
// code and its text with what it failed on; "", 0 and "" before any.
VEXA_OPERATOR(get_extended_error_info) {
  const CallFailure& last = LastCallFailure();
  if (last.op < 0) {
    Vresult rc = ctx.SetOutpString(0, "");
    if (rc == VRESULT_OK) rc = ctx.SetOutpLong(1, 0);
    return rc == VRESULT_OK ? ctx.SetOutpString(2, "") : rc;
  }
  char text[1024];
  VErrorMessage(last.code, text);
  std::string message = text;
  // VErrorMessage adds the detail only while the failure is the latest
  // call; this record keeps it longer.
  if (!last.detail.empty() && message.find(last.detail) == std::string::npos)
    message += ": " + last.detail;
  Vresult rc = ctx.SetOutpString(0, kOperatorTable[last.op].name);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLong(1, static_cast<Vlong>(last.code));
  return rc == VRESULT_OK ? ctx.SetOutpString(2, message.c_str()) : rc;
}

// Pairs of setting names and values: "raise_on_error" ("true", "false")
// and "seed_rand" (an integer seed of the runtime's random numbers).
VEXA_OPERATOR(set_system) {
  std::vector<const char*> names;
  Vresult rc = ctx.GetStrings(0, names);
  if (rc != VRESULT_OK) return rc;
  if (names.empty()) return VERR_CTRL_NUM(0);
  if (ctx.CtrlNum(1) != static_cast<Vlong>(names.size())) return VERR_CTRL_NUM(1);
  for (size_t i = 0; i < names.size(); ++i) {
    Setting s;
    if (!LookUpName(kSettings, names[i], &s)) return VERR_CTRL_VALUE(0);
    rc = ApplySetting(s, ctx.CtrlElem(1, static_cast<Vlong>(i)));
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

// One setting: "raise_on_error" (1 or 0), "processor_num" (hardware
// threads), "operator_num" (operators in the table),
// "implemented_operator_num" (operators this runtime implements).
VEXA_OPERATOR(get_system) {
  const char* name = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  Setting s;
  if (!LookUpName(kSettings, name, &s)) return VERR_CTRL_VALUE(0);
  switch (s) {
    case Setting::kRaiseOnError: return ctx.SetOutpLong(0, VGetRaiseOnError());
    case Setting::kProcessorNum:
      return ctx.SetOutpLong(0, std::max(1u, std::thread::hardware_concurrency()));
    case Setting::kOperatorNum: return ctx.SetOutpLong(0, kOperatorCount);
    case Setting::kImplementedNum: return ctx.SetOutpLong(0, ImplementedOperators());
    default: return VERR_CTRL_VALUE(0);  // write-only
  }
}

}  // namespace vexa

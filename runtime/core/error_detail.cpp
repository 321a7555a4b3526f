#include "error_detail.h"

#include <utility>

namespace vexa {
namespace {

thread_local std::string t_pending;
thread_local CallFailure t_last;
// True while the thread's most recent call is the one in t_last.
thread_local bool t_last_call_failed = false;

const std::string& NoDetail() {
  static const std::string* none = new std::string();
  return *none;
}

}  // namespace

void SetErrorDetail(std::string detail) { t_pending = std::move(detail); }

Vresult FileFailure(Vresult code, const std::string& name) {
  SetErrorDetail("file '" + name + "'");
  return code;
}

void BeginOperatorCall() { t_pending.clear(); }

void EndOperatorCall(int32_t op, Vresult code) {
  // 0 and 1 are answers (false, true), 2 is success: none is a failure.
  t_last_call_failed = code > VRESULT_OK;
  if (!t_last_call_failed) return;
  t_last.op = op;
  t_last.code = code;
  t_last.detail = std::move(t_pending);
  t_pending.clear();
}

const CallFailure& LastCallFailure() { return t_last; }

const std::string& DetailOfLastFailure(Vresult code) {
  return t_last_call_failed && t_last.code == code ? t_last.detail : NoDetail();
}

}  // namespace vexa

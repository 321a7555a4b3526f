// Time: a clock for measuring, waiting, and the local calendar time.
#include <chrono>
#include <cmath>
#include <ctime>
#include <thread>

#include "op_context.h"
#include "registry.h"

namespace vexa {

// Seconds on a monotonic clock from an arbitrary origin: differences of two
// readings measure elapsed time, unaffected by changes of the wall clock.
VEXA_OPERATOR(count_seconds) {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return ctx.SetOutpDouble(0, std::chrono::duration<double>(now).count());
}

// Sleeps the calling thread; 0 returns at once.
VEXA_OPERATOR(wait_seconds) {
  double seconds = 0.0;
  const Vresult rc = ctx.GetDouble(0, &seconds);
  if (rc != VRESULT_OK) return rc;
  // A day at most: a longer wait is surely a wrong unit.
  if (!(seconds >= 0.0 && seconds <= 86400.0)) return VERR_CTRL_VALUE(0);
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  return VRESULT_OK;
}

// Local time: milliseconds, seconds, minutes, hours, day of the month
// (1-31), day of the year (1-366), month (1-12), year.
VEXA_OPERATOR(get_system_time) {
  using namespace std::chrono;
  const auto now = system_clock::now();
  const std::time_t t = system_clock::to_time_t(now);
  std::tm local{};
  if (localtime_r(&t, &local) == nullptr) return VERR_INTERNAL;
  const auto ms = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
  const Vlong values[] = {ms, local.tm_sec, local.tm_min, local.tm_hour, local.tm_mday,
                          local.tm_yday + 1, local.tm_mon + 1, local.tm_year + 1900};
  Vresult rc = VRESULT_OK;
  for (int i = 0; i < 8 && rc == VRESULT_OK; ++i) rc = ctx.SetOutpLong(i, values[i]);
  return rc;
}

}  // namespace vexa

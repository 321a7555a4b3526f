// Text conversion of numbers independent of the application's locale: for
// the lifetime of a ScopedCLocale the calling thread formats and parses with
// the "C" locale, and its earlier locale is put back afterwards. Per-thread,
// so that other threads are not disturbed.
#ifndef VEXAOBJ_CONTROL_C_LOCALE_H
#define VEXAOBJ_CONTROL_C_LOCALE_H

#include <locale.h>

namespace Vexa {
namespace internal {

class ScopedCLocale {
 public:
  ScopedCLocale() : previous_(CLocale() ? uselocale(CLocale()) : nullptr) {}
  ~ScopedCLocale() {
    if (previous_ != nullptr) uselocale(previous_);
  }
  ScopedCLocale(const ScopedCLocale&) = delete;
  ScopedCLocale& operator=(const ScopedCLocale&) = delete;

 private:
  // Made once for the process and never freed; null if it cannot be made,
  // in which case the thread keeps its locale.
  static locale_t CLocale() {
    static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", locale_t(0));
    return c_locale;
  }

  locale_t previous_;
};

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_C_LOCALE_H

// The light_dark parameter of the threshold operators: which side of a
// reference value (a threshold, a local mean) is selected.
#pragma once

#include <cstring>

namespace vexa {

enum class LightDark { kLight, kDark, kEqual, kNotEqual };

// "light", "dark" and, when `with_equal`, "equal" and "not_equal".
inline bool ParseLightDark(const char* name, bool with_equal, LightDark* out) {
  struct Entry { const char* name; LightDark mode; };
  static constexpr Entry kModes[] = {{"light", LightDark::kLight},
                                     {"dark", LightDark::kDark},
                                     {"equal", LightDark::kEqual},
                                     {"not_equal", LightDark::kNotEqual}};
  for (const Entry& e : kModes) {
    if (std::strcmp(e.name, name) != 0) continue;
    if (!with_equal && e.mode != LightDark::kLight && e.mode != LightDark::kDark) return false;
    *out = e.mode;
    return true;
  }
  return false;
}

// Whether value g is selected against reference m with margin v:
// light g >= m + v, dark g <= m - v, equal within [m - v, m + v],
// not_equal outside it.
inline bool Selects(LightDark mode, double g, double m, double v) {
  switch (mode) {
    case LightDark::kLight: return g >= m + v;
    case LightDark::kDark: return g <= m - v;
    case LightDark::kEqual: return g >= m - v && g <= m + v;
    case LightDark::kNotEqual: break;
  }
  return g < m - v || g > m + v;
}

}  // namespace vexa

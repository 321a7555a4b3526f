// Named colours of windows (see color_names.h).
#include "ops/graphics/color_names.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace vexa {

namespace {

struct NamedColor {
  const char* name;
  window::Rgb rgb;
};

// The first twelve are the colours of set_colored, chosen to stand apart
// from each other and from gray images.
constexpr NamedColor kColors[] = {
    {"white", {255, 255, 255}}, {"red", {255, 0, 0}},
    {"green", {0, 255, 0}},     {"blue", {0, 0, 255}},
    {"cyan", {0, 255, 255}},    {"magenta", {255, 0, 255}},
    {"yellow", {255, 255, 0}},  {"coral", {255, 127, 80}},
    {"slate blue", {106, 90, 205}}, {"forest green", {34, 139, 34}},
    {"orange", {255, 165, 0}},  {"pink", {255, 192, 203}},
    {"black", {0, 0, 0}},       {"gray", {190, 190, 190}},
    {"dim gray", {105, 105, 105}}, {"navy", {0, 0, 128}},
};

}  // namespace

bool ParseColor(const char* text, window::Rgb* rgb) {
  for (const NamedColor& c : kColors) {
    if (std::strcmp(c.name, text) == 0) {
      *rgb = c.rgb;
      return true;
    }
  }
  if (text[0] != '#' || std::strlen(text) != 7) return false;
  for (int i = 1; i < 7; ++i)
    if (!std::isxdigit(static_cast<unsigned char>(text[i]))) return false;
  const unsigned long v = std::strtoul(text + 1, nullptr, 16);
  *rgb = {static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 8),
          static_cast<uint8_t>(v)};
  return true;
}

std::vector<std::string> ColorNames() {
  std::vector<std::string> names;
  for (const NamedColor& c : kColors) names.emplace_back(c.name);
  return names;
}

std::vector<window::Rgb> FirstColors(size_t n) {
  std::vector<window::Rgb> colors;
  for (size_t i = 0; i < n && i < sizeof kColors / sizeof kColors[0]; ++i)
    colors.push_back(kColors[i].rgb);
  return colors;
}

}  // namespace vexa

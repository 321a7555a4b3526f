// The colours windows know by name, and colours in the form "#rrggbb".
#pragma once

#include <string>
#include <vector>

#include "window_registry.h"

namespace vexa {

// A colour by name, or in the form "#rrggbb"; false for anything else.
bool ParseColor(const char* text, window::Rgb* rgb);
// The names, in the order query_color lists them.
std::vector<std::string> ColorNames();
// The colours set_colored(n) sets: the first n names.
std::vector<window::Rgb> FirstColors(size_t n);

}  // namespace vexa

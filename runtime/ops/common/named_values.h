// Choices named by strings, such as the metric or the feature that a
// control parameter selects: a table of names and values, and the lookup.
#pragma once

#include <cstddef>
#include <cstring>

namespace vexa {

template <class T>
struct Named {
  const char* name;
  T value;
};

// The value named `name` in `table` into *value; false when no entry has
// that name.
template <class T, size_t N>
bool LookUpName(const Named<T> (&table)[N], const char* name, T* value) {
  for (const Named<T>& entry : table) {
    if (std::strcmp(name, entry.name) == 0) {
      *value = entry.value;
      return true;
    }
  }
  return false;
}

}  // namespace vexa

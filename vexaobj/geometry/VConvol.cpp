// Filter masks: size and coordinate checks, the integer mask's storage,
// its text form and its centred resizing.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <vexaobj/VConvol.h>
#include <vexaobj/VGeometryBase.h>

#include "../control/raise.h"

namespace Vexa {

namespace {

constexpr const char* kCoordProc = "void VConvolSimple::TestCoord(int x, int y)";
constexpr const char* kTextProc =
    "VConvolInt::VConvolInt(int loc_width, int loc_height, int loc_div, const "
    "char *loc_values)";
constexpr const char* kArrayProc =
    "VConvolInt::VConvolInt(int loc_width, int loc_height, int loc_div, int "
    "*loc_values)";
constexpr const char* kBadValues = "parameter values not correct";

// Reads one number as the "%d" conversion of the C library does: leading
// white space, an optional sign, decimal digits, the value taken modulo
// 2^32. Without digits `target` keeps its value.
void ReadNumber(const char* text, int& target) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (end != text) target = static_cast<int>(static_cast<uint32_t>(value));
}

// The scratch entry that stands in for a place outside the array.
int& Scratch() {
  thread_local int scratch;
  scratch = 0;
  return scratch;
}

}  // namespace

// --- checks

void VConvolSimple::TestWH(int width, int height) const {
  static const char* const kProc =
      "void VConvolSimple::TestWH(int width, int height) const";
  if (width % 2 == 0) VEXA_RAISE(kProc, "even number for width not allowed");
  if (height % 2 == 0) VEXA_RAISE(kProc, "even number for height not allowed");
}

void VConvolSimple::TestCoordAbs(int x, int y) const {
  if (x < 0)
    VEXA_RAISE("void VConvolSimple::TestCoordAbs(int x, int y)", "x value to small");
  if (x >= Width()) VEXA_RAISE(kCoordProc, "x value to large");
  if (y < 0) VEXA_RAISE(kCoordProc, "y value to small");
  if (y >= Height()) VEXA_RAISE(kCoordProc, "y value to large");
}

void VConvolSimple::TestCoordRel(int x, int y) const {
  if (x < -(Width() / 2))
    VEXA_RAISE("void VConvolSimple::TestCoordRel(int x, int y)", "x value to small");
  if (x > Width() / 2) VEXA_RAISE(kCoordProc, "x value to large");
  if (y < -(Height() / 2)) VEXA_RAISE(kCoordProc, "y value to small");
  if (y > Height() / 2) VEXA_RAISE(kCoordProc, "y value to large");
}

// --- storage

Vlong VConvolInt::SlotCount() const {
  if (width <= 0 || height <= 0) return 0;
  return static_cast<Vlong>(width) * std::max(width, height);
}

void VConvolInt::Allocate() {
  const Vlong count = SlotCount();
  if (count == 0) return;
  values = static_cast<int*>(std::calloc(static_cast<size_t>(count), sizeof(int)));
  if (values == nullptr) VEXA_RAISE("new", "Out of memory");
}

int& VConvolInt::Slot(Vlong index) const {
  if (values == nullptr || index < 0 || index >= SlotCount()) return Scratch();
  return values[index];
}

VConvolInt::VConvolInt(int width, int height)
    : width(width), height(height), div(0), values(nullptr) {
  TestWH(width, height);
  Allocate();
}

// The constructors below delegate, so that a failure raised while filling
// the coefficients runs the destructor and frees the array.
VConvolInt::VConvolInt(int width, int height, int div, const char* values)
    : VConvolInt(width, height) {
  this->div = div;
  Parse(values, false);
}

VConvolInt::VConvolInt(int width, int height, const char* values)
    : VConvolInt(width, height) {
  Parse(values, true);
}

VConvolInt::VConvolInt(int width, int height, int div, int* values)
    : VConvolInt(width, height) {
  this->div = div;
  Copy(values, false);
}

VConvolInt::VConvolInt(int width, int height, int* values)
    : VConvolInt(width, height) {
  Copy(values, true);
}

VConvolInt::VConvolInt(const VConvolInt& m)
    : VConvolSimple(), width(m.width), height(m.height), div(m.div), values(nullptr) {
  Allocate();
  if (values != nullptr && m.values != nullptr)
    std::memcpy(values, m.values, static_cast<size_t>(SlotCount()) * sizeof(int));
}

VConvolInt& VConvolInt::operator=(const VConvolInt& m) {
  if (this == &m) return *this;
  VConvolInt copy(m);
  std::swap(width, copy.width);
  std::swap(height, copy.height);
  std::swap(div, copy.div);
  std::swap(values, copy.values);
  return *this;
}

VConvolInt::~VConvolInt() {
  std::free(values);
  values = nullptr;
  width = height = 0;
  div = 0;
}

// --- text form and copies

void VConvolInt::Parse(const char* text, bool sum_into_div) {
  // The cursor stands on a number's text, or on the blank in front of it;
  // it becomes null when no blank is left, so too few numbers fail while
  // surplus numbers are not read.
  const char* cursor = text;
  const Vlong count = static_cast<Vlong>(width) * height;
  for (Vlong i = 0; i < count; ++i) {
    if (cursor == nullptr) {
      VEXA_RAISE(kTextProc, "%s", kBadValues);
      continue;
    }
    int& value = Slot(i);
    ReadNumber(cursor, value);
    if (sum_into_div) div += value;
    cursor = *cursor == '\0' ? nullptr : std::strchr(cursor + 1, ' ');
  }
}

void VConvolInt::Copy(const int* source, bool sum_into_div) {
  if (source == nullptr) {
    VEXA_RAISE(kArrayProc, "%s", kBadValues);
    return;
  }
  const Vlong count = static_cast<Vlong>(width) * height;
  for (Vlong i = 0; i < count; ++i) {
    Slot(i) = source[i];
    if (sum_into_div) div += source[i];
  }
}

// --- access

void VConvolInt::SetValueRel(int x, int y, double value) {
  TestCoordRel(x, y);
  Slot((static_cast<Vlong>(width / 2) + x) * width + height / 2 + y) =
      geometry::TruncInt(value);
}

void VConvolInt::SetValueAbs(int x, int y, double value) {
  TestCoordAbs(x, y);
  Slot(static_cast<Vlong>(x) * width + y) = geometry::TruncInt(value);
}

double VConvolInt::GetValueRel(int x, int y) const {
  TestCoordRel(x, y);
  return Slot((static_cast<Vlong>(width / 2) + x) * width + height / 2 + y);
}

double VConvolInt::GetValueAbs(int x, int y) const {
  TestCoordAbs(x, y);
  return Slot(static_cast<Vlong>(x) * width + y);
}

int& VConvolInt::operator()(int x, int y) {
  TestCoordRel(x, y);
  return Slot((static_cast<Vlong>(width - 1) / 2 + x) * width + (height - 1) / 2 + y);
}

VConvolInt VConvolInt::Resize(int new_width, int new_height) const {
  VConvolInt result(new_width, new_height);
  // Relative coordinates that both masks hold: the centred copy.
  const int reach_x = std::min(width / 2, new_width / 2);
  const int reach_y = std::min(height / 2, new_height / 2);
  for (int x = -reach_x; x <= reach_x; ++x) {
    for (int y = -reach_y; y <= reach_y; ++y) {
      result.SetValueRel(x, y, GetValueRel(x, y));
    }
  }
  return result;
}

}  // namespace Vexa

// Arithmetic of two control values: + - * / %, with text concatenation as
// the one operation on strings, and the messages of every pair of types
// that has no operation. Dispatch is on the left type first.
#include <vexaobj/VCtrlVal.h>

#include <string.h>

#include <string>

#include "number_text.h"
#include "raise.h"
#include "runtime_alloc.h"
#include "value_arith.h"

namespace Vexa {
namespace internal {

namespace {

using K = TupleKernel;

const char kWrongType[] = "internal error: wrong type";
const char kSecondUndefined[] = "2nd parameter not instantiated";

// The words of one operator's failures. A null entry means that the pair
// has an operation. The texts are the system's own, including the places
// where one operator reports another's symbol.
struct ArithTexts {
  const char* proc;
  const char* long_double;
  const char* long_string;
  const char* long_undefined;
  const char* double_string;
  const char* double_undefined;
  const char* double_left;  // set where a real left fails before the right is read
  const char* string_left;  // set where a string left fails before the right is read
  const char* undefined_left;
};

template <Arith kOp>
const ArithTexts& TextsOf();

template <>
const ArithTexts& TextsOf<Arith::kAdd>() {
  static const ArithTexts texts = {
      "VCtrlVal VCtrlVal::operator + (const VCtrlVal &loc_val) const",
      nullptr, nullptr, kWrongType, nullptr, kSecondUndefined, nullptr, nullptr,
      "not instantiated"};
  return texts;
}

template <>
const ArithTexts& TextsOf<Arith::kSub>() {
  static const ArithTexts texts = {
      "VCtrlVal VCtrlVal::operator - (const VCtrlVal &loc_val) const",
      nullptr, "wrong type: Vlong - string", kSecondUndefined,
      "wrong type: double - string", kSecondUndefined, nullptr,
      "wrong type: Vlong/double/string - string", "1st parameter not instantiated"};
  return texts;
}

template <>
const ArithTexts& TextsOf<Arith::kMul>() {
  static const ArithTexts texts = {
      "VCtrlVal VCtrlVal::operator * (const VCtrlVal &loc_val) const",
      nullptr, "wrong type: Vlong - string", kSecondUndefined,
      "wrong type: double * string", kSecondUndefined, nullptr,
      "wrong type: Vlong/double/string * string", "1st parameter not instantiated"};
  return texts;
}

template <>
const ArithTexts& TextsOf<Arith::kDiv>() {
  static const ArithTexts texts = {
      "VCtrlVal VCtrlVal::operator / (const VCtrlVal &loc_val) const",
      nullptr, "wrong type: Vlong - string", kSecondUndefined,
      "wrong type: double / string", kSecondUndefined, nullptr,
      "wrong type: Vlong/double/string / string", "1st parameter not instantiated"};
  return texts;
}

template <>
const ArithTexts& TextsOf<Arith::kMod>() {
  static const char kModString[] = "wrong type: Vlong/double/string % string";
  static const ArithTexts texts = {
      "VCtrlVal VCtrlVal::operator % (const VCtrlVal &loc_val) const",
      "wrong type: Vlong % double", "wrong type: Vlong % string", kSecondUndefined,
      nullptr, nullptr, kModString, kModString, "1st parameter not instantiated"};
  return texts;
}

bool IsKnownTag(int tag) {
  return tag == VPAR_UNDEF || K::IsNumber(tag) || tag == VPAR_STRING;
}

// The failure message of a pair that NumericArith did not take, or null
// for the pairs that concatenate.
const char* FailureOf(const VCtrlVal& x, const VCtrlVal& y, const ArithTexts& texts) {
  const int ty = K::Tag(y);
  switch (K::Tag(x)) {
    case VPAR_LONG:
      if (ty == VPAR_DOUBLE) return texts.long_double;
      if (ty == VPAR_STRING) return texts.long_string;
      if (ty == VPAR_UNDEF) return texts.long_undefined;
      return kWrongType;
    case VPAR_DOUBLE:
      if (texts.double_left != nullptr) return texts.double_left;
      if (ty == VPAR_STRING) return texts.double_string;
      if (ty == VPAR_UNDEF) return texts.double_undefined;
      return kWrongType;
    case VPAR_STRING:
      if (texts.string_left != nullptr) return texts.string_left;
      if (ty == VPAR_UNDEF) return kSecondUndefined;
      return IsKnownTag(ty) ? nullptr : kWrongType;
    case VPAR_UNDEF:
      return texts.undefined_left;
    default:
      return kWrongType;
  }
}

// The text of a string, or of a number rendered into `number`.
const char* TextOf(const VCtrlVal& v, char (&number)[kNumberTextSize]) {
  switch (K::Tag(v)) {
    case VPAR_LONG: return LongText(K::Long(v), number);
    case VPAR_DOUBLE: return RealText(K::Real(v), number);
    default: return K::Text(v);
  }
}

// Gives `out`, an undefined slot, its own copy of `text`; it stays
// undefined if the copy cannot be made.
void TakeCopy(VCtrlVal& out, const char* text) {
  char* copy = VEXA_STRDUP(text, "VCtrlVal::VCtrlVal(const char *s)");
  if (copy != nullptr) K::SetText(out, copy);
}

// x + y where at least one side is a string, in the operands' order.
void Concatenate(const VCtrlVal& x, const VCtrlVal& y, VCtrlVal& out) {
  char left_number[kNumberTextSize];
  char right_number[kNumberTextSize];
  const char* left = TextOf(x, left_number);
  const char* right = TextOf(y, right_number);
  const size_t left_length = strlen(left);
  const size_t right_length = strlen(right);
  if (K::Tag(x) == VPAR_STRING && K::Tag(y) == VPAR_STRING) {
    // Two strings are joined in a runtime block of exactly their size.
    char* joined = static_cast<char*>(
        VEXA_ALLOC(left_length + right_length + 1,
                   "VCtrlVal VCtrlVal::operator+ (const VCtrlVal &loc_val)"));
    if (joined == nullptr) {
      K::SetLong(out, 0);
      return;
    }
    memcpy(joined, left, left_length);
    memcpy(joined + left_length, right, right_length + 1);
    TakeCopy(out, joined);
    VEXA_FREE(joined);
    return;
  }
  // A number and a string are joined in a working buffer that grows with
  // the string.
  std::string joined;
  joined.reserve(left_length + right_length);
  joined.append(left, left_length).append(right, right_length);
  TakeCopy(out, joined.c_str());
}

}  // namespace

template <Arith kOp>
VCtrlVal ArithValue(const VCtrlVal& x, const VCtrlVal& y) {
  VCtrlVal result;
  if (NumericArith<kOp>(x, y, result)) return result;
  const ArithTexts& texts = TextsOf<kOp>();
  const char* failure = FailureOf(x, y, texts);
  if (failure == nullptr) {
    Concatenate(x, y, result);
    return result;
  }
  VEXA_RAISE(texts.proc, "%s", failure);
  K::SetLong(result, 0);
  return result;
}

template VCtrlVal ArithValue<Arith::kAdd>(const VCtrlVal&, const VCtrlVal&);
template VCtrlVal ArithValue<Arith::kSub>(const VCtrlVal&, const VCtrlVal&);
template VCtrlVal ArithValue<Arith::kMul>(const VCtrlVal&, const VCtrlVal&);
template VCtrlVal ArithValue<Arith::kDiv>(const VCtrlVal&, const VCtrlVal&);
template VCtrlVal ArithValue<Arith::kMod>(const VCtrlVal&, const VCtrlVal&);

}  // namespace internal

using internal::Arith;
using internal::ArithValue;

VCtrlVal VCtrlVal::operator+(const VCtrlVal& loc_val) const {
  return ArithValue<Arith::kAdd>(*this, loc_val);
}

VCtrlVal VCtrlVal::operator-(const VCtrlVal& loc_val) const {
  return ArithValue<Arith::kSub>(*this, loc_val);
}

VCtrlVal VCtrlVal::operator*(const VCtrlVal& loc_val) const {
  return ArithValue<Arith::kMul>(*this, loc_val);
}

VCtrlVal VCtrlVal::operator/(const VCtrlVal& loc_val) const {
  return ArithValue<Arith::kDiv>(*this, loc_val);
}

VCtrlVal VCtrlVal::operator%(const VCtrlVal& loc_val) const {
  return ArithValue<Arith::kMod>(*this, loc_val);
}

}  // namespace Vexa

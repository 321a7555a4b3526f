// Comparison of two control values. Equality is defined for every pair of
// types (a number never equals a string); order exists between numbers and
// between strings, and fails for a string against a number.
#include <vexaobj/VCtrlVal.h>

#include <string.h>

#include "raise.h"
#include "tuple_kernel.h"
#include "value_compare.h"

namespace Vexa {

namespace {

using internal::Order;
using K = internal::TupleKernel;

const char kWrongType[] = "internal error: wrong type";

enum class Equality { kUnequal, kEqual, kLongWithUndefined, kBadRight };

bool IsKnownTag(int tag) {
  return tag == VPAR_UNDEF || K::IsNumber(tag) || tag == VPAR_STRING;
}

Equality EqualityOf(const VCtrlVal& x, const VCtrlVal& y) {
  const int tx = K::Tag(x);
  const int ty = K::Tag(y);
  // An undefined or unknown left value equals nothing, whatever the right.
  if (!K::IsNumber(tx) && tx != VPAR_STRING) return Equality::kUnequal;
  if (!IsKnownTag(ty)) return Equality::kBadRight;
  const int numeric = internal::NumericEqual(x, y);
  if (numeric >= 0) return numeric ? Equality::kEqual : Equality::kUnequal;
  if (tx == VPAR_STRING && ty == VPAR_STRING) {
    return strcmp(K::Text(x), K::Text(y)) == 0 ? Equality::kEqual : Equality::kUnequal;
  }
  // Only != treats an integer against an undefined value as a failure.
  if (tx == VPAR_LONG && ty == VPAR_UNDEF) return Equality::kLongWithUndefined;
  return Equality::kUnequal;
}

struct OrderTexts {
  const char* proc;
  const char* symbol;
};

template <Order kOp>
const OrderTexts& TextsOf();
template <>
const OrderTexts& TextsOf<Order::kLess>() {
  static const OrderTexts t = {"VBool VCtrlVal::operator < (const VCtrlVal &loc_val) const", "<"};
  return t;
}
template <>
const OrderTexts& TextsOf<Order::kGreater>() {
  static const OrderTexts t = {"VBool VCtrlVal::operator > (const VCtrlVal &loc_val) const", ">"};
  return t;
}
template <>
const OrderTexts& TextsOf<Order::kLessEqual>() {
  static const OrderTexts t = {"VBool VCtrlVal::operator <= (const VCtrlVal &loc_val) const", "<="};
  return t;
}
template <>
const OrderTexts& TextsOf<Order::kGreaterEqual>() {
  static const OrderTexts t = {"VBool VCtrlVal::operator >= (const VCtrlVal &loc_val) const", ">="};
  return t;
}

// The one template of <, >, <= and >=. A failed pair gives 0 once the
// handler returns.
template <Order kOp>
int OrderOf(const VCtrlVal& x, const VCtrlVal& y) {
  const int numeric = internal::NumericOrder<kOp>(x, y);
  if (numeric >= 0) return numeric;
  const OrderTexts& texts = TextsOf<kOp>();
  const int ty = K::Tag(y);
  switch (K::Tag(x)) {
    case VPAR_LONG:
      if (ty == VPAR_STRING) {
        VEXA_RAISE(texts.proc, "wrong type: Vlong %s string", texts.symbol);
        return 0;
      }
      break;  // undefined or unknown right
    case VPAR_DOUBLE:
      if (ty == VPAR_STRING) {
        VEXA_RAISE(texts.proc, "wrong type: double %s string", texts.symbol);
        return 0;
      }
      if (ty == VPAR_UNDEF) {
        VEXA_RAISE(texts.proc, "2nd parameter not instantiated");
        return 0;
      }
      break;
    case VPAR_STRING:
      switch (ty) {
        case VPAR_STRING:
          return internal::Holds<kOp>(strcmp(K::Text(x), K::Text(y)), 0);
        case VPAR_LONG:
          VEXA_RAISE(texts.proc, "wrong type: string %s Vlong", texts.symbol);
          return 0;
        case VPAR_DOUBLE:
          // The words of the opposite case, as the system reports them.
          VEXA_RAISE(texts.proc, "wrong type: double %s string", texts.symbol);
          return 0;
        case VPAR_UNDEF:
          VEXA_RAISE(texts.proc, "2nd parameter not instantiated");
          return 0;
      }
      break;
    default:
      // No order for an undefined or unknown left value, and no message.
      return 0;
  }
  VEXA_RAISE(texts.proc, "%s", kWrongType);
  return 0;
}

}  // namespace

int VCtrlVal::operator==(const VCtrlVal& loc_val) const {
  switch (EqualityOf(*this, loc_val)) {
    case Equality::kEqual:
      return 1;
    case Equality::kBadRight:
      VEXA_RAISE("VBool VCtrlVal::operator == (const VCtrlVal &loc_val) const", "%s",
                 kWrongType);
      return 0;
    default:
      return 0;
  }
}

int VCtrlVal::operator!=(const VCtrlVal& loc_val) const {
  switch (EqualityOf(*this, loc_val)) {
    case Equality::kEqual:
      return 0;
    case Equality::kUnequal:
      return 1;
    default:
      VEXA_RAISE("VBool VCtrlVal::operator != (const VCtrlVal &loc_val) const", "%s",
                 kWrongType);
      return 1;
  }
}

int VCtrlVal::operator<(const VCtrlVal& loc_val) const {
  return OrderOf<Order::kLess>(*this, loc_val);
}
int VCtrlVal::operator>(const VCtrlVal& loc_val) const {
  return OrderOf<Order::kGreater>(*this, loc_val);
}
int VCtrlVal::operator<=(const VCtrlVal& loc_val) const {
  return OrderOf<Order::kLessEqual>(*this, loc_val);
}
int VCtrlVal::operator>=(const VCtrlVal& loc_val) const {
  return OrderOf<Order::kGreaterEqual>(*this, loc_val);
}

}  // namespace Vexa

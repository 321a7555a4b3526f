// String VTuple methods that run locally: searching, cutting, splitting,
// and the conversions between numbers, character codes and text. Each
// walks the tuple elementwise; the result-per-element methods fill from the
// highest index down, so that the result is extended once.
#include <vexaobj/VTuple.h>

#include <inttypes.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "c_locale.h"
#include "raise.h"
#include "runtime_alloc.h"
#include "tuple_argument.h"
#include "tuple_kernel.h"
#include "work_buffer.h"

namespace Vexa {

namespace {

// The element at `index` of `t` made a copy of the `length` bytes at
// `text`, with one runtime allocation; a failed one is raised under `proc`
// and leaves the element as it was.
void SetText(VTuple& t, Vlong index, const char* text, size_t length, const char* proc) {
  char* copy = static_cast<char*>(VEXA_ALLOC(length + 1, proc));
  if (copy == nullptr) return;
  memcpy(copy, text, length);
  copy[length] = '\0';
  VCtrlVal& slot = t[index];
  slot.ClearCtrlVal();
  internal::TupleKernel::SetText(slot, copy);
}

// A search of `pattern` in `text` of `length` bytes: a position or -1.
using Finder = Vlong (*)(const char* text, size_t length, const char* pattern);

// First position whose byte is any byte of the pattern.
Vlong FirstOfSet(const char* text, size_t length, const char* pattern) {
  for (size_t p = 0; p < length; ++p) {
    for (const char* c = pattern; *c != '\0'; ++c) {
      if (text[p] == *c) return static_cast<Vlong>(p);
    }
  }
  return -1;
}

// Last position whose byte is any byte of the pattern.
Vlong LastOfSet(const char* text, size_t length, const char* pattern) {
  for (size_t p = length; p-- > 0;) {
    for (const char* c = pattern; *c != '\0'; ++c) {
      if (text[p] == *c) return static_cast<Vlong>(p);
    }
  }
  return -1;
}

// First occurrence of the whole pattern; an empty pattern is found at 0.
Vlong FirstWord(const char* text, size_t, const char* pattern) {
  const char* hit = strstr(text, pattern);
  return hit != nullptr ? hit - text : -1;
}

// Last occurrence of the whole pattern; an empty pattern is found at the
// end of the text.
Vlong LastWord(const char* text, size_t length, const char* pattern) {
  const size_t m = strlen(pattern);
  if (m > length) return -1;
  for (size_t p = length - m + 1; p-- > 0;) {
    if (memcmp(text + p, pattern, m) == 0) return static_cast<Vlong>(p);
  }
  return -1;
}

// The search methods: each element's text is copied into one working
// buffer and searched there; the result element is the position or -1.
VTuple SearchElements(const VCtrlVal* elems, Vlong n, const char* pattern,
                      Finder find, const char* proc) {
  VTuple result;
  if (n == 0) return result;
  const char* wanted = pattern != nullptr ? pattern : "";
  internal::WorkBuffer buffer(proc);
  for (Vlong i = n - 1; i >= 0; --i) {
    const char* text = elems[i].S();
    if (text == nullptr) continue;
    const char* copy = buffer.Copy(text);
    if (copy == nullptr) continue;
    result[i] = VCtrlVal(find(copy, strlen(copy), wanted));
  }
  return result;
}

// How a string is read as a number: the integer parse first (base 0, so
// 0x is hexadecimal and a leading 0 octal), then the real parse; each must
// end at the end of the text. The caller holds the "C" locale.
enum class NumberForm { kInteger, kReal, kText };

NumberForm ParseNumber(const char* text, Vlong* integer, double* real) {
  char* end;
  const long long l = strtoll(text, &end, 0);
  if (*end == '\0') {
    // The integer parse has 32 bits; beyond them it saturates.
    *integer = l > INT32_MAX ? INT32_MAX : l < INT32_MIN ? INT32_MIN : l;
    return NumberForm::kInteger;
  }
  const double d = strtod(text, &end);
  if (*end == '\0') {
    *real = d;
    return NumberForm::kReal;
  }
  return NumberForm::kText;
}

// A ToString pattern: flags of "-+ #", digits, optionally a point and
// digits, at most one conversion letter, which must be last.
bool ValidFormatPattern(const char* p) {
  while (*p != '\0' && strchr("-+ #", *p) != nullptr) ++p;
  while (*p >= '0' && *p <= '9') ++p;
  if (*p == '.') {
    ++p;
    while (*p >= '0' && *p <= '9') ++p;
  }
  if (*p != '\0' && strchr("diouxXfeEgGs", *p) != nullptr) ++p;
  return *p == '\0';
}

// printf-style rendering of one value, never cut: a short text stays in the
// inline buffer, a longer one is rendered again at its full size.
class Rendered {
 public:
  template <class Value>
  Rendered(const char* format, Value value) {
    const int length = snprintf(inline_, sizeof inline_, format, value);
    length_ = length > 0 ? static_cast<size_t>(length) : 0;
    if (length_ < sizeof inline_) {
      text_ = inline_;
      return;
    }
    long_.resize(length_ + 1);
    snprintf(long_.data(), long_.size(), format, value);
    text_ = long_.data();
  }
  const char* text() const { return text_; }
  size_t length() const { return length_; }

 private:
  char inline_[128];
  std::vector<char> long_;
  const char* text_;
  size_t length_;
};

}  // namespace

VTuple VTuple::Strchr(const char* pattern) const {
  return SearchElements(elems, num, pattern, FirstOfSet, "VTuple::Strchr(const char* pattern)");
}

VTuple VTuple::Strrchr(const char* pattern) const {
  return SearchElements(elems, num, pattern, LastOfSet, "VTuple::Strrchr(const char* pattern)");
}

VTuple VTuple::Strstr(const char* pattern) const {
  return SearchElements(elems, num, pattern, FirstWord, "VTuple::Strstr(const char* pattern)");
}

VTuple VTuple::Strrstr(const char* pattern) const {
  return SearchElements(elems, num, pattern, LastWord, "VTuple::Strrstr(const char* pattern)");
}

VTuple VTuple::Strchr(const VTuple& pattern) const {
  return internal::WithPatternText(*this, pattern, "VTuple VTuple::Strchr(const VTuple &pattern) const",
                                   [this](const char* p) { return Strchr(p); });
}

VTuple VTuple::Strrchr(const VTuple& pattern) const {
  return internal::WithPatternText(*this, pattern, "VTuple VTuple::Strrchr(const VTuple &pattern) const",
                                   [this](const char* p) { return Strrchr(p); });
}

VTuple VTuple::Strstr(const VTuple& pattern) const {
  return internal::WithPatternText(*this, pattern, "VTuple VTuple::Strstr(const VTuple &pattern) const",
                                   [this](const char* p) { return Strstr(p); });
}

VTuple VTuple::Strrstr(const VTuple& pattern) const {
  return internal::WithPatternText(*this, pattern, "VTuple VTuple::Strrstr(const VTuple &pattern) const",
                                   [this](const char* p) { return Strrstr(p); });
}

VTuple VTuple::Strlen() const {
  VTuple result;
  for (Vlong i = num - 1; i >= 0; --i) {
    const char* text = elems[i].S();
    if (text != nullptr) result[i] = VCtrlVal(static_cast<Vlong>(strlen(text)));
  }
  return result;
}

VTuple VTuple::Substring(Vlong index1, Vlong index2) const {
  static const char proc[] = "VTuple VTuple::Substring(long index1, long index2) const";
  VTuple result;
  for (Vlong i = num - 1; i >= 0; --i) {
    if (elems[i].type == VPAR_DOUBLE) {
      VEXA_RAISE(proc, "wrong type (double)");
      continue;
    }
    if (elems[i].type == VPAR_LONG) {
      VEXA_RAISE(proc, "wrong type (Vlong)");
      continue;
    }
    const char* text = elems[i].S();
    if (text == nullptr) continue;
    const Vlong length = static_cast<Vlong>(strlen(text));
    if (index1 < 0 || index1 >= length) {
      VEXA_RAISE(proc, "index1 out of range");
    } else if (index2 < 0 || index2 >= length) {
      VEXA_RAISE(proc, "index2 out of range");
    } else if (index1 > index2) {
      VEXA_RAISE(proc, "index2 < index1");
    } else {
      SetText(result, i, text + index1, static_cast<size_t>(index2 - index1 + 1),
                     "VTuple::Substring(Vlong index1, Vlong index)");
    }
  }
  return result;
}

VTuple VTuple::Substring(const VTuple& index1, const VTuple& index2) const {
  static const char proc[] =
      "VTuple VTuple::Substring(const VTuple &index1, const VTuple &index2) const";
  VCtrlVal first;
  VCtrlVal last;
  if (!internal::SingleValue(index1, proc, "length of index1 != 1", &first) ||
      !internal::SingleValue(index2, proc, "length of index2 != 1", &last))
    return VTuple();
  return Substring(first.L(), last.L());
}

VTuple VTuple::Substring(const VTuple& index1, Vlong index2) const {
  VCtrlVal first;
  if (!internal::SingleValue(index1,
                             "VTuple VTuple::Substring(const VTuple &index1, long &index2) const",
                             "length of index1 != 1", &first))
    return VTuple();
  return Substring(first.L(), index2);
}

VTuple VTuple::Substring(Vlong index1, const VTuple& index2) const {
  VCtrlVal last;
  if (!internal::SingleValue(index2,
                             "VTuple VTuple::Substring(long  index1, const VTuple &index2) const",
                             "length of index2 != 1", &last))
    return VTuple();
  return Substring(index1, last.L());
}

VTuple VTuple::StrBitSelect(Vlong index) const {
  VTuple result;
  for (Vlong i = num - 1; i >= 0; --i) {
    switch (elems[i].type) {
      case VPAR_STRING: {
        // The index is not checked against the length; one beyond the text
        // or outside it reads as the terminating zero, the empty string.
        const char* text = elems[i].par.s;
        const bool inside = index >= 0 && static_cast<size_t>(index) < strlen(text);
        SetText(result, i, inside ? text + index : "", inside ? 1 : 0,
                       "VTuple VTuple::StrBitSelect(VTuple index) const");
        break;
      }
      case VPAR_LONG: {
        // The shift count wraps at 64, as the processor's shift does.
        const uint64_t mask = uint64_t{1} << (static_cast<uint64_t>(index) & 63);
        result[i] = VCtrlVal(static_cast<Vlong>((static_cast<uint64_t>(elems[i].par.l) & mask) != 0));
        break;
      }
      case VPAR_DOUBLE:
        VEXA_RAISE("VTuple VTuple::StrBitSelect(VTuple index) const",
                   "Operator not defined for double value");
        break;
      default:
        break;
    }
  }
  return result;
}

VTuple VTuple::StrBitSelect(const VTuple& index) const {
  VCtrlVal value;
  if (!internal::SingleValue(index, "VTuple VTuple::StrBitSelect(const VTuple &index) const",
                             "length of index != 1", &value))
    return VTuple();
  return StrBitSelect(value.L());
}

VTuple VTuple::Split(const char* pattern) const {
  static const char proc[] = "VTuple::Split(const char* pattern)";
  VTuple result;
  if (num == 0) return result;
  const char* separators = pattern != nullptr ? pattern : "";
  internal::WorkBuffer buffer(proc);
  for (Vlong i = 0; i < num; ++i) {
    const char* text = elems[i].S();
    if (text == nullptr) continue;
    char* copy = buffer.Copy(text);
    if (copy == nullptr) continue;
    const size_t length = strlen(copy);
    // Runs of separators and separators at the ends make no empty piece.
    size_t start = 0;
    for (size_t p = 0; p < length; ++p) {
      if (separators[0] == '\0' || strchr(separators, copy[p]) == nullptr) continue;
      copy[p] = '\0';
      if (p > start) SetText(result, result.Num(), copy + start, p - start, proc);
      start = p + 1;
    }
    if (length > start) SetText(result, result.Num(), copy + start, length - start, proc);
  }
  return result;
}

VTuple VTuple::Split(const VTuple& pattern) const {
  return internal::WithPatternText(*this, pattern, "VTuple VTuple::Split(const VTuple &pattern) const",
                                   [this](const char* p) { return Split(p); });
}

VTuple VTuple::ToString(const char* pattern) const {
  static const char proc[] = "VTuple VTuple::ToString(const char *pattern) const";
  VTuple result;
  if (num == 0) return result;
  const char* pattern_text = pattern != nullptr ? pattern : "";
  if (!ValidFormatPattern(pattern_text)) {
    VEXA_RAISE(proc, "invalid pattern");
    return result;
  }
  const size_t pattern_length = strlen(pattern_text);
  const char last = pattern_length > 0 ? pattern_text[pattern_length - 1] : '\0';
  const bool real_conversion = last != '\0' && strchr("eEfgG", last) != nullptr;
  const bool integer_conversion = last != '\0' && strchr("diouxX", last) != nullptr;
  const bool string_conversion = last == 's';
  const bool no_conversion = !real_conversion && !integer_conversion && !string_conversion;

  // Without a conversion letter each type takes its own: 64-bit decimal,
  // %g and %s.
  const std::string format = std::string("%") + pattern_text;
  const std::string integer_format = no_conversion ? format + PRId64 : format;
  const std::string real_format = no_conversion ? format + "g" : format;
  const std::string string_format = no_conversion ? format + "s" : format;

  internal::ScopedCLocale c_locale;
  for (Vlong i = num - 1; i >= 0; --i) {
    const VCtrlVal& element = elems[i];
    switch (element.type) {
      case VPAR_LONG:
        if (string_conversion) break;
        if (real_conversion) {
          const Rendered text(format.c_str(), static_cast<double>(element.par.l));
          SetText(result, i, text.text(), text.length(), proc);
        } else if (integer_conversion) {
          // No length modifier: only the low 32 bits reach the text.
          const Rendered text(format.c_str(), static_cast<int>(static_cast<uint32_t>(element.par.l)));
          SetText(result, i, text.text(), text.length(), proc);
        } else {
          const Rendered text(integer_format.c_str(), static_cast<int64_t>(element.par.l));
          SetText(result, i, text.text(), text.length(), proc);
        }
        continue;
      case VPAR_DOUBLE:
        if (!real_conversion && !no_conversion) break;
        {
          const Rendered text(real_format.c_str(), element.par.d);
          SetText(result, i, text.text(), text.length(), proc);
        }
        continue;
      case VPAR_STRING:
        if (!string_conversion && !no_conversion) break;
        {
          const Rendered text(string_format.c_str(), element.par.s);
          SetText(result, i, text.text(), text.length(), proc);
        }
        continue;
      default:
        continue;
    }
    VEXA_RAISE(proc, "incompatible pattern and type");
  }
  return result;
}

VTuple VTuple::ToString(const VTuple& pattern) const {
  return internal::WithPatternText(*this, pattern, "VTuple VTuple::ToString(const VTuple &pattern) const",
                                   [this](const char* p) { return ToString(p); });
}

VTuple VTuple::Number() const {
  VTuple result;
  internal::ScopedCLocale c_locale;
  for (Vlong i = num - 1; i >= 0; --i) {
    switch (elems[i].type) {
      case VPAR_LONG:
      case VPAR_DOUBLE:
        result[i] = elems[i];
        break;
      case VPAR_STRING: {
        Vlong integer;
        double real;
        switch (ParseNumber(elems[i].par.s, &integer, &real)) {
          case NumberForm::kInteger:
            result[i] = VCtrlVal(integer);
            break;
          case NumberForm::kReal:
            result[i] = VCtrlVal(real);
            break;
          case NumberForm::kText:
            result[i] = elems[i];
            break;
        }
        break;
      }
      default:
        break;
    }
  }
  return result;
}

VTuple VTuple::IsNumber() const {
  VTuple result;
  internal::ScopedCLocale c_locale;
  for (Vlong i = num - 1; i >= 0; --i) {
    Vlong integer;
    double real;
    const int type = elems[i].type;
    const bool number =
        type == VPAR_LONG || type == VPAR_DOUBLE ||
        (type == VPAR_STRING && ParseNumber(elems[i].par.s, &integer, &real) != NumberForm::kText);
    result[i] = VCtrlVal(static_cast<Vlong>(number));
  }
  return result;
}

VTuple VTuple::Chr() const {
  static const char proc[] = "VTuple VTuple::Chr(void) const";
  VTuple result;
  for (Vlong i = num - 1; i >= 0; --i) {
    const unsigned int code = static_cast<unsigned int>(elems[i].I());
    if (code > 255) {
      VEXA_RAISE(proc, "integer value out of range");
      continue;
    }
    // The code 0 gives the empty string.
    const char byte = static_cast<char>(code);
    SetText(result, i, &byte, code != 0 ? 1 : 0, proc);
  }
  return result;
}

VTuple VTuple::Ord() const {
  VTuple result;
  for (Vlong i = num - 1; i >= 0; --i) {
    const char* text = elems[i].S();
    if (text == nullptr) continue;
    if (strlen(text) != 1) {
      VEXA_RAISE("VTuple VTuple::Ord(void) const", "string length != 1");
      continue;
    }
    result[i] = VCtrlVal(static_cast<Vlong>(static_cast<unsigned char>(text[0])));
  }
  return result;
}

VTuple VTuple::Chrt() const {
  static const char proc[] = "VTuple VTuple::Chrt(void) const";
  VTuple result;
  std::string run;
  for (Vlong i = 0; i < num; ++i) {
    switch (elems[i].type) {
      case VPAR_LONG:
        break;
      case VPAR_DOUBLE:
        VEXA_RAISE(proc, "wrong type: double");
        continue;
      case VPAR_STRING:
        VEXA_RAISE(proc, "wrong type: string");
        continue;
      default:
        VEXA_RAISE(proc, "not instantiated");
        continue;
    }
    const uint32_t code = static_cast<uint32_t>(elems[i].par.l);
    if (code > 255) {
      VEXA_RAISE(proc, "integer value out of range");
      continue;
    }
    if (code != 0) {
      run.push_back(static_cast<char>(code));
    } else if (!run.empty()) {
      SetText(result, result.Num(), run.data(), run.size(), proc);
      run.clear();
    } else {
      // A terminator with nothing before it stays an integer 0.
      result[result.Num()] = VCtrlVal(Vlong{0});
    }
  }
  if (!run.empty()) SetText(result, result.Num(), run.data(), run.size(), proc);
  return result;
}

VTuple VTuple::Ords() const {
  static const char proc[] = "VTuple VTuple::Ords(void) const";
  VTuple result;
  for (Vlong i = 0; i < num; ++i) {
    switch (elems[i].type) {
      case VPAR_STRING:
        for (const char* c = elems[i].par.s; *c != '\0'; ++c)
          result[result.Num()] = VCtrlVal(static_cast<Vlong>(static_cast<unsigned char>(*c)));
        break;
      case VPAR_LONG:
        result[result.Num()] = elems[i];
        break;
      case VPAR_DOUBLE:
        VEXA_RAISE(proc, "wrong type: double");
        break;
      default:
        VEXA_RAISE(proc, "not instantiated");
        break;
    }
  }
  return result;
}

VTuple VTuple::Getenv() const {
  VTuple result;
  for (Vlong i = num - 1; i >= 0; --i) {
    const char* name = elems[i].S();
    if (name == nullptr) continue;
    const char* value = getenv(name);
    if (value == nullptr) value = "";
    SetText(result, i, value, strlen(value), "VTuple VTuple::Getenv(void) const");
  }
  return result;
}

}  // namespace Vexa

#include "ops/filter/filter_mask_text.h"

#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "ops/filter/filter_support.h"
#include "vexa/errors.h"

namespace vexa {
namespace {

constexpr int kMaxFileSide = 4095;

// The words of a line separated by single blanks; false for a leading,
// trailing or doubled blank, a tab or an empty line.
bool SplitWords(const std::string& line, std::vector<std::string>* words) {
  words->clear();
  if (line.empty() || line.find('\t') != std::string::npos) return false;
  size_t start = 0;
  for (;;) {
    const size_t blank = line.find(' ', start);
    const std::string word = line.substr(start, blank == std::string::npos ? blank : blank - start);
    if (word.empty()) return false;
    words->push_back(word);
    if (blank == std::string::npos) return true;
    start = blank + 1;
  }
}

// Optional sign, then decimal digits only, within [lo, hi].
bool ParseInteger(const std::string& w, long long lo, long long hi, long long* v) {
  size_t k = (w[0] == '+' || w[0] == '-') ? 1 : 0;
  if (k == w.size()) return false;
  for (size_t i = k; i < w.size(); ++i)
    if (w[i] < '0' || w[i] > '9') return false;
  errno = 0;
  *v = std::strtoll(w.c_str(), nullptr, 10);
  return errno == 0 && *v >= lo && *v <= hi;
}

// [sign] digits [. digits] [e [sign] digits], at least one mantissa digit,
// finite; the C locale's decimal point is read by hand so that no locale
// changes the result.
bool ParseReal(const std::string& w, double* v) {
  size_t i = (w[0] == '+' || w[0] == '-') ? 1 : 0;
  size_t digits = 0;
  while (i < w.size() && w[i] >= '0' && w[i] <= '9') ++i, ++digits;
  if (i < w.size() && w[i] == '.') {
    ++i;
    while (i < w.size() && w[i] >= '0' && w[i] <= '9') ++i, ++digits;
  }
  if (digits == 0) return false;
  if (i < w.size() && (w[i] == 'e' || w[i] == 'E')) {
    ++i;
    if (i < w.size() && (w[i] == '+' || w[i] == '-')) ++i;
    size_t exp_digits = 0;
    while (i < w.size() && w[i] >= '0' && w[i] <= '9') ++i, ++exp_digits;
    if (exp_digits == 0) return false;
  }
  if (i != w.size()) return false;
  // strtod reads the point of the current locale; swap in that point.
  std::string local = w;
  const char point = *std::localeconv()->decimal_point;
  for (char& ch : local)
    if (ch == '.') ch = point;
  *v = std::strtod(local.c_str(), nullptr);
  return std::isfinite(*v);
}

// Splits the text into its two lines; VERR_FILE_TRUNCATED when a line has
// no end, VERR_FILE_FORMAT for text after the second.
Vresult SplitLines(const std::string& text, std::string lines[2]) {
  size_t start = 0;
  for (int k = 0; k < 2; ++k) {
    const size_t end = text.find('\n', start);
    if (end == std::string::npos) return VERR_FILE_TRUNCATED;
    lines[k] = text.substr(start, end - start);
    if (!lines[k].empty() && lines[k].back() == '\r') lines[k].pop_back();
    start = end + 1;
  }
  return start == text.size() ? VRESULT_OK : VERR_FILE_FORMAT;
}

Vresult ReadWholeFile(const char* name, std::string* text) {
  if (name == nullptr || *name == '\0') return VERR_FILE_NOT_FOUND;
  std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(name, "rb"), &std::fclose);
  if (!f) return errno == ENOENT ? VERR_FILE_NOT_FOUND : VERR_FILE_READ;
  char buf[4096];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f.get())) > 0) text->append(buf, n);
  return std::ferror(f.get()) ? VERR_FILE_READ : VRESULT_OK;
}

}  // namespace

void SetFilterMask(int width, int height, double divisor, const std::vector<double>& coefficients,
                   FilterMask* mask) {
  const double div = divisor == 0.0 ? 1.0 : divisor;
  mask->width = width;
  mask->height = height;
  mask->weights.assign(static_cast<size_t>(width) * height, 0.0);
  for (size_t k = 0; k < coefficients.size(); ++k) {
    const size_t col = k / static_cast<size_t>(height), row = k % static_cast<size_t>(height);
    mask->weights[row * static_cast<size_t>(width) + col] = coefficients[k] / div;
  }
}

Vresult ReadFilterMaskFile(const char* name, FilterMask* mask) {
  std::string text, lines[2];
  Vresult rc = ReadWholeFile(name, &text);
  if (rc == VRESULT_OK) rc = SplitLines(text, lines);
  if (rc != VRESULT_OK) return rc;
  std::vector<std::string> head, words;
  if (!SplitWords(lines[0], &head) || !SplitWords(lines[1], &words)) return VERR_FILE_FORMAT;
  const bool real = head[0] == "real";
  if (!(real || head[0] == "integer") || head.size() != (real ? 3u : 4u)) return VERR_FILE_FORMAT;
  long long width = 0, height = 0, div = 1;
  constexpr long long kInt = std::numeric_limits<int>::max();
  if (!ParseInteger(head[1], -kInt, kInt, &width) || !ParseInteger(head[2], -kInt, kInt, &height) ||
      (!real && !ParseInteger(head[3], std::numeric_limits<long long>::min(),
                              std::numeric_limits<long long>::max(), &div)))
    return VERR_FILE_FORMAT;
  std::vector<double> coefficients(words.size());
  for (size_t k = 0; k < words.size(); ++k) {
    long long c = 0;
    const bool ok = real ? ParseReal(words[k], &coefficients[k])
                         : ParseInteger(words[k], std::numeric_limits<int>::min(), kInt, &c);
    if (!ok) return VERR_FILE_FORMAT;
    if (!real) coefficients[k] = static_cast<double>(c);
  }
  if (width < 1 || width > kMaxFileSide || width % 2 == 0 || height < 1 ||
      height > kMaxFileSide || height % 2 == 0 ||
      coefficients.size() != static_cast<size_t>(width * height))
    return VERR_FILE_CORRUPT;
  SetFilterMask(static_cast<int>(width), static_cast<int>(height), static_cast<double>(div),
                coefficients, mask);
  return VRESULT_OK;
}

namespace {

Vresult MaskOfTuple(const OpContext& ctx, int par, FilterMask* mask) {
  std::vector<double> v;
  if (ctx.GetDoubles(par, v) != VRESULT_OK) return VERR_CTRL_TYPE(par);
  if (v.size() < 4) return VERR_CTRL_NUM(par);
  for (double x : v)
    if (!std::isfinite(x)) return VERR_CTRL_VALUE(par);
  const double w = v[0], h = v[1];
  if (w != std::floor(w) || h != std::floor(h) || w < 1 || h < 1 || w > kMaxMaskSide ||
      h > kMaxMaskSide || std::fmod(w, 2.0) == 0.0 || std::fmod(h, 2.0) == 0.0)
    return VERR_CTRL_VALUE(par);
  if (v.size() != 3 + static_cast<size_t>(w * h)) return VERR_CTRL_NUM(par);
  SetFilterMask(static_cast<int>(w), static_cast<int>(h), v[2],
                std::vector<double>(v.begin() + 3, v.end()), mask);
  return VRESULT_OK;
}

}  // namespace

Vresult ReadFilterMaskParam(const OpContext& ctx, int par, FilterMask* mask) {
  if (ctx.CtrlNum(par) == 1 && ctx.CtrlElem(par, 0).type == VPAR_STRING) {
    const char* name = nullptr;
    Vresult rc = ctx.GetString(par, &name);
    if (rc == VRESULT_OK) rc = ReadFilterMaskFile(name, mask);
    if (rc == VRESULT_OK && (mask->width > kMaxMaskSide || mask->height > kMaxMaskSide))
      rc = VERR_TOO_LARGE;
    return rc;
  }
  return MaskOfTuple(ctx, par, mask);
}

}  // namespace vexa

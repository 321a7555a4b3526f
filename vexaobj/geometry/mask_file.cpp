// Filter mask files: the whole file is read into memory and checked line by
// line, word by word, before any mask is built, so that a damaged file
// never yields a half-filled mask. Numbers are read and written with
// from_chars/to_chars: the files are the same whatever locale the
// application has set.
#include "mask_file.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include <vexa/errors.h>

namespace Vexa {
namespace internal {

namespace {

constexpr std::string_view kIntegerWord = "integer";
constexpr std::string_view kRealWord = "real";

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

MaskFileFailure Fail(unsigned int err, const char* name, const std::string& what) {
  return {err, "filter mask file '" + std::string(name) + "': " + what};
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Skips a run of digits from `i`; returns how many there were.
size_t SkipDigits(std::string_view w, size_t* i) {
  const size_t start = *i;
  while (*i < w.size() && IsDigit(w[*i])) ++*i;
  return *i - start;
}

// An optional sign and decimal digits, nothing else.
bool IsIntegerWord(std::string_view w) {
  size_t i = (!w.empty() && (w[0] == '+' || w[0] == '-')) ? 1 : 0;
  return SkipDigits(w, &i) > 0 && i == w.size();
}

// An optional sign, digits with an optional decimal point (at least one
// digit on either side), an optional exponent. No "inf", "nan" or hex.
bool IsRealWord(std::string_view w) {
  size_t i = (!w.empty() && (w[0] == '+' || w[0] == '-')) ? 1 : 0;
  size_t digits = SkipDigits(w, &i);
  if (i < w.size() && w[i] == '.') {
    ++i;
    digits += SkipDigits(w, &i);
  }
  if (digits == 0) return false;
  if (i < w.size() && (w[i] == 'e' || w[i] == 'E')) {
    ++i;
    if (i < w.size() && (w[i] == '+' || w[i] == '-')) ++i;
    if (SkipDigits(w, &i) == 0) return false;
  }
  return i == w.size();
}

// from_chars takes no leading '+'.
std::string_view WithoutPlus(std::string_view w) {
  return (!w.empty() && w[0] == '+') ? w.substr(1) : w;
}

// Reads an integer word into [lo, hi]; false if it is not one or out of
// range.
bool ReadInteger(std::string_view w, Vlong lo, Vlong hi, Vlong* value) {
  if (!IsIntegerWord(w)) return false;
  const std::string_view digits = WithoutPlus(w);
  const char* end = digits.data() + digits.size();
  const auto r = std::from_chars(digits.data(), end, *value);
  return r.ec == std::errc() && r.ptr == end && *value >= lo && *value <= hi;
}

// Reads a finite real word.
bool ReadReal(std::string_view w, double* value) {
  if (!IsRealWord(w)) return false;
  const std::string_view text = WithoutPlus(w);
  const char* end = text.data() + text.size();
  const auto r = std::from_chars(text.data(), end, *value);
  return r.ec == std::errc() && r.ptr == end && std::isfinite(*value);
}

// The line that starts at `*pos`, without its line end ("\n" or "\r\n");
// false if the text ends before a line end.
bool NextLine(std::string_view text, size_t* pos, std::string_view* line) {
  const size_t end = text.find('\n', *pos);
  if (end == std::string_view::npos) return false;
  size_t stop = end;
  if (stop > *pos && text[stop - 1] == '\r') --stop;
  *line = text.substr(*pos, stop - *pos);
  *pos = end + 1;
  return true;
}

// True if the line is words separated by single blanks: not empty, no
// blank at either end, no two blanks in a row.
bool SingleBlanks(std::string_view line) {
  return !line.empty() && line.front() != ' ' && line.back() != ' ' &&
         line.find("  ") == std::string_view::npos;
}

// The word of a single-blank line that starts at `*pos`; moves `*pos` past
// it and its blank.
std::string_view NextWord(std::string_view line, size_t* pos) {
  const size_t blank = std::min(line.find(' ', *pos), line.size());
  const std::string_view word = line.substr(*pos, blank - *pos);
  *pos = blank + 1;
  return word;
}

MaskFileFailure ReadWholeFile(const char* name, std::string* text) {
  File file(std::fopen(name, "rb"));
  if (!file) {
    const int error = errno;
    return Fail(error == ENOENT ? VERR_FILE_NOT_FOUND : VERR_FILE_READ, name,
                std::string("cannot open: ") + std::strerror(error));
  }
  char buffer[65536];
  size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, file.get())) > 0)
    text->append(buffer, got);
  if (std::ferror(file.get())) return Fail(VERR_FILE_READ, name, "cannot read");
  return {};
}

// Checks the header words: form, width, height and, for integers, the
// divisor.
MaskFileFailure ParseHeader(const char* name, const std::vector<std::string_view>& words,
                            MaskFileContents* contents) {
  if (words[0] == kIntegerWord) {
    contents->form = MaskForm::kInteger;
  } else if (words[0] == kRealWord) {
    contents->form = MaskForm::kReal;
  } else {
    return Fail(VERR_FILE_FORMAT, name, "the first word must be 'integer' or 'real'");
  }
  const size_t expected = contents->form == MaskForm::kInteger ? 4 : 3;
  if (words.size() != expected)
    return Fail(VERR_FILE_FORMAT, name,
                contents->form == MaskForm::kInteger
                    ? "the first line must be 'integer <width> <height> <divisor>'"
                    : "the first line must be 'real <width> <height>'");
  Vlong width = 0, height = 0;
  if (!ReadInteger(words[1], LLONG_MIN, LLONG_MAX, &width) ||
      !ReadInteger(words[2], LLONG_MIN, LLONG_MAX, &height))
    return Fail(VERR_FILE_FORMAT, name, "width and height must be whole numbers");
  // Sizes beyond int stay beyond the limit when clamped.
  contents->width = static_cast<int>(std::clamp<Vlong>(width, INT_MIN, INT_MAX));
  contents->height = static_cast<int>(std::clamp<Vlong>(height, INT_MIN, INT_MAX));
  const MaskFileFailure size = CheckMaskFileSize(name, contents->width, contents->height);
  if (size.Failed()) return size;
  if (contents->form == MaskForm::kInteger &&
      !ReadInteger(words[3], LLONG_MIN, LLONG_MAX, &contents->div))
    return Fail(VERR_FILE_FORMAT, name, "the divisor must be a whole number");
  return {};
}

// Checks every coefficient word and their count.
MaskFileFailure ParseCoefficients(const char* name, std::string_view line,
                                  MaskFileContents* contents) {
  if (!SingleBlanks(line))
    return Fail(VERR_FILE_FORMAT, name,
                "the coefficients must be separated by single blanks");
  const bool real = contents->form == MaskForm::kReal;
  size_t count = 0;
  for (size_t pos = 0; pos <= line.size(); ++count) {
    const std::string_view word = NextWord(line, &pos);
    Vlong integer;
    double value;
    const bool ok = real ? ReadReal(word, &value) : ReadInteger(word, INT_MIN, INT_MAX, &integer);
    if (!ok)
      return Fail(VERR_FILE_FORMAT, name,
                  "coefficient " + std::to_string(count + 1) + " '" + std::string(word) +
                      (real ? "' is not a finite real number"
                            : "' is not a whole number from -2147483648 to 2147483647"));
    if (real) contents->reals.push_back(value);
  }
  const size_t expected = static_cast<size_t>(contents->width) * contents->height;
  if (count != expected)
    return Fail(VERR_FILE_CORRUPT, name,
                std::string(count < expected ? "too few" : "too many") + " coefficients: " +
                    std::to_string(expected) + " expected, " + std::to_string(count) + " found");
  contents->numbers.assign(line);
  return {};
}

}  // namespace

MaskFileFailure CheckMaskFileSize(const char* name, int width, int height) {
  if (width < 1 || height < 1 || width > kMaxMaskSide || height > kMaxMaskSide ||
      width % 2 == 0 || height % 2 == 0)
    return Fail(VERR_FILE_CORRUPT, name,
                "width and height must be odd numbers from 1 to " +
                    std::to_string(kMaxMaskSide));
  return {};
}

MaskFileFailure ReadMaskFile(const char* name, MaskFileContents* contents) {
  std::string whole;
  MaskFileFailure failure = ReadWholeFile(name, &whole);
  if (failure.Failed()) return failure;
  const std::string_view text(whole);
  size_t pos = 0;
  std::string_view line;
  if (!NextLine(text, &pos, &line))
    return Fail(VERR_FILE_TRUNCATED, name, "truncated: the first line is not complete");
  if (!SingleBlanks(line))
    return Fail(VERR_FILE_FORMAT, name, "the first line must be words separated by single blanks");
  std::vector<std::string_view> words;
  for (size_t at = 0; at <= line.size();) words.push_back(NextWord(line, &at));
  failure = ParseHeader(name, words, contents);
  if (failure.Failed()) return failure;
  if (!NextLine(text, &pos, &line))
    return Fail(VERR_FILE_TRUNCATED, name, "truncated: the coefficient line is not complete");
  failure = ParseCoefficients(name, line, contents);
  if (failure.Failed()) return failure;
  if (pos != text.size())
    return Fail(VERR_FILE_FORMAT, name, "text after the coefficient line");
  return {};
}

std::string MaskFileText(MaskForm form, int width, int height, Vlong div,
                         const std::function<double(size_t)>& coefficient) {
  std::string text(form == MaskForm::kInteger ? kIntegerWord : kRealWord);
  text += ' ' + std::to_string(width) + ' ' + std::to_string(height);
  if (form == MaskForm::kInteger) text += ' ' + std::to_string(div);
  text += '\n';
  const size_t count = static_cast<size_t>(width) * height;
  char number[32];
  for (size_t k = 0; k < count; ++k) {
    const double value = coefficient(k);
    // Shortest text that reads back as the same value.
    const auto r = form == MaskForm::kInteger
                       ? std::to_chars(number, number + sizeof number, static_cast<Vlong>(value))
                       : std::to_chars(number, number + sizeof number, value);
    if (k > 0) text += ' ';
    text.append(number, r.ptr);
  }
  return text + '\n';
}

MaskFileFailure WriteMaskFile(const char* name, const std::string& text) {
  File file(std::fopen(name, "wb"));
  if (!file) {
    const int error = errno;
    return Fail(VERR_FILE_WRITE, name, std::string("cannot create: ") + std::strerror(error));
  }
  const bool written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
  const bool closed = std::fclose(file.release()) == 0;
  if (written && closed) return {};
  std::remove(name);
  return Fail(VERR_FILE_WRITE, name, "cannot write");
}

}  // namespace internal
}  // namespace Vexa

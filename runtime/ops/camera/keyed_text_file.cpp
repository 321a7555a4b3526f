#include "ops/camera/keyed_text_file.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "io/image_file.h"
#include "vexa/errors.h"

namespace vexa {
namespace {

constexpr int kFormatVersion = 1;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Splits "key value" at the first run of blanks; false for a line without
// both parts or with blanks after the value.
bool SplitKeyValue(const std::string& line, KeyedLine* out) {
  size_t i = 0;
  while (i < line.size() && !IsBlank(line[i])) ++i;
  size_t j = i;
  while (j < line.size() && IsBlank(line[j])) ++j;
  size_t end = j;
  while (end < line.size() && !IsBlank(line[end])) ++end;
  if (i == 0 || j == i || end == j || end != line.size()) return false;
  out->key = line.substr(0, i);
  out->value = line.substr(j, end - j);
  return true;
}

bool ParseFiniteNumber(const std::string& s, double* v) {
  const char* end = s.data() + s.size();
  const std::from_chars_result r = std::from_chars(s.data(), end, *v);
  return r.ec == std::errc() && r.ptr == end && std::isfinite(*v);
}

// The lines of `text` that carry content, without line ends.
std::vector<std::string> ContentLines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty() && line[0] != '#') lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

}  // namespace

std::string FormatNumber(double v) {
  char buf[40];
  const std::to_chars_result r = std::to_chars(buf, buf + sizeof buf, v);
  return std::string(buf, r.ptr);
}

Vresult ReadKeyedTextFile(const char* name, const char* format, std::vector<KeyedLine>* lines) {
  io::Bytes bytes;
  const Vresult rc = io::ReadWholeFile(name, &bytes);
  if (rc != VRESULT_OK) return rc;
  // An empty file has no bytes to look at (and data() may be null).
  if (!bytes.empty() && std::memchr(bytes.data(), '\0', bytes.size()) != nullptr)
    return VERR_FILE_FORMAT;
  const std::vector<std::string> text = ContentLines(std::string(bytes.begin(), bytes.end()));
  KeyedLine header;
  if (text.empty() || !SplitKeyValue(text[0], &header) || header.key != format)
    return VERR_FILE_FORMAT;
  if (header.value != std::to_string(kFormatVersion)) return VERR_FILE_UNSUPPORTED;
  lines->clear();
  for (size_t i = 1; i < text.size(); ++i) {
    KeyedLine line;
    if (!SplitKeyValue(text[i], &line)) return VERR_FILE_CORRUPT;
    lines->push_back(line);
  }
  return VRESULT_OK;
}

Vresult WriteKeyedTextFile(const char* name, const char* format,
                           const std::vector<KeyedLine>& lines) {
  std::string text = std::string(format) + " " + std::to_string(kFormatVersion) + "\n";
  for (const KeyedLine& line : lines) text += line.key + " " + line.value + "\n";
  return io::WriteWholeFile(name, io::Bytes(text.begin(), text.end()));
}

Vresult KeyedNumbers(const std::vector<KeyedLine>& lines, size_t first,
                     const std::vector<const char*>& keys, std::vector<double>* values) {
  values->clear();
  for (size_t k = 0; k < keys.size(); ++k) {
    if (first + k >= lines.size()) return VERR_FILE_TRUNCATED;
    const KeyedLine& line = lines[first + k];
    double v = 0.0;
    if (line.key != keys[k] || !ParseFiniteNumber(line.value, &v)) return VERR_FILE_CORRUPT;
    values->push_back(v);
  }
  return first + keys.size() == lines.size() ? VRESULT_OK : VERR_FILE_CORRUPT;
}

}  // namespace vexa

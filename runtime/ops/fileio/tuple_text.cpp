#include "ops/fileio/tuple_text.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace vexa {
namespace {

constexpr char kMagic[] = "vexa-tuple 1";

std::string Escaped(const std::string& s) {
  std::string out;
  out.reserve(s.size());
  for (char c : s) {
    switch (c) {
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default: out += c;
    }
  }
  return out;
}

bool Unescape(const std::string& s, std::string* out) {
  out->clear();
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] != '\\') {
      *out += s[i];
      continue;
    }
    if (++i == s.size()) return false;
    switch (s[i]) {
      case '\\': *out += '\\'; break;
      case 'n': *out += '\n'; break;
      case 'r': *out += '\r'; break;
      case 't': *out += '\t'; break;
      default: return false;
    }
  }
  return true;
}

// The lines of `text`, each ended by '\n'; false when the last one is not.
bool SplitLines(const std::string& text, std::vector<std::string>* lines) {
  size_t start = 0;
  while (start < text.size()) {
    const size_t end = text.find('\n', start);
    if (end == std::string::npos) return false;
    lines->push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return true;
}

Vresult ParseValue(const std::string& line, TupleValue* v) {
  if (line.size() < 2 || line[1] != ' ') return VERR_FILE_CORRUPT;
  const std::string body = line.substr(2);
  const char* begin = body.c_str();
  char* end = nullptr;
  errno = 0;
  switch (line[0]) {
    case 'i': {
      const long long l = std::strtoll(begin, &end, 10);
      if (body.empty() || *end != '\0' || errno == ERANGE) return VERR_FILE_CORRUPT;
      *v = TupleValue::Long(static_cast<Vlong>(l));
      return VRESULT_OK;
    }
    case 'r': {
      const double d = std::strtod(begin, &end);
      if (body.empty() || *end != '\0') return VERR_FILE_CORRUPT;
      *v = TupleValue::Double(d);
      return VRESULT_OK;
    }
    case 's': {
      std::string s;
      if (!Unescape(body, &s)) return VERR_FILE_CORRUPT;
      *v = TupleValue::String(std::move(s));
      return VRESULT_OK;
    }
    default:
      return VERR_FILE_CORRUPT;
  }
}

}  // namespace

std::string TupleText(const TupleValues& values) {
  std::string text = std::string(kMagic) + "\n" + std::to_string(values.size()) + "\n";
  char number[40];
  for (const TupleValue& v : values) {
    if (v.IsLong()) {
      text += "i " + std::to_string(v.l);
    } else if (v.IsDouble()) {
      std::snprintf(number, sizeof number, "%.17g", v.d);
      text += std::string("r ") + number;
    } else {
      text += "s " + Escaped(v.s);
    }
    text += '\n';
  }
  return text;
}

Vresult ParseTuple(const std::string& text, TupleValues* values) {
  std::vector<std::string> lines;
  const bool complete = SplitLines(text, &lines);
  if (lines.empty() || lines[0] != kMagic) return complete ? VERR_FILE_FORMAT : VERR_FILE_TRUNCATED;
  if (lines.size() < 2) return VERR_FILE_TRUNCATED;
  char* end = nullptr;
  const unsigned long long count = std::strtoull(lines[1].c_str(), &end, 10);
  if (lines[1].empty() || *end != '\0' || lines[1][0] == '-') return VERR_FILE_CORRUPT;
  if (lines.size() - 2 < count || !complete) return VERR_FILE_TRUNCATED;
  if (lines.size() - 2 > count) return VERR_FILE_CORRUPT;
  values->resize(static_cast<size_t>(count));
  for (size_t i = 0; i < values->size(); ++i) {
    const Vresult rc = ParseValue(lines[i + 2], &(*values)[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

}  // namespace vexa

// Contours and polygons in the ungenerated arc-info line format: per
// object an id line, one "x y" line per point and "END"; one more "END"
// closes the file (docs/formats/arc-info.md).
#include <cctype>

#include "registry.h"
#include "xld_file_support.h"

namespace vexa {
namespace xld {
namespace {

// The words of a line; blanks, tabs and commas separate them.
std::vector<std::string> Words(const std::string& line) {
  std::vector<std::string> words;
  std::string word;
  for (char ch : line) {
    if (ch == ' ' || ch == '\t' || ch == ',') {
      if (!word.empty()) words.push_back(word);
      word.clear();
    } else {
      word += ch;
    }
  }
  if (!word.empty()) words.push_back(word);
  return words;
}

bool IsEnd(const std::vector<std::string>& words) {
  if (words.size() != 1 || words[0].size() != 3) return false;
  std::string w = words[0];
  for (char& ch : w) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  return w == "END";
}

// An id line: an integer, optionally followed by a label point "x y".
bool IsIdLine(const std::vector<std::string>& words) {
  if (words.size() != 1 && words.size() != 3) return false;
  for (char ch : words[0])
    if (!std::isdigit(static_cast<unsigned char>(ch)) && ch != '-') return false;
  double v = 0;
  for (const std::string& w : words)
    if (!ParseNumber(w, &v)) return false;
  return true;
}

std::string ArcInfoText(const std::vector<XldPtr>& xlds) {
  std::string text;
  for (size_t k = 0; k < xlds.size(); ++k) {
    text += std::to_string(k + 1) + "\n";
    const Xld& x = *xlds[k];
    for (size_t i = 0; i < x.size(); ++i)
      text += FormatCoord(x.cols[i]) + " " + FormatCoord(x.rows[i]) + "\n";
    text += "END\n";
  }
  return text + "END\n";
}

// The shapes of the file. Blank lines are ignored anywhere. A first line
// that is no id is a wrong format; a later line that fits nowhere, also
// after the closing "END", is corrupt; a file ending before the closing
// "END" is truncated.
Vresult ParseArcInfo(const std::string& text, std::vector<FileShape>* shapes) {
  bool in_shape = false, seen_any = false, finished = false;
  for (const std::string& line : SplitLines(text)) {
    const std::vector<std::string> words = Words(line);
    if (words.empty()) continue;
    if (finished) return VERR_FILE_CORRUPT;
    if (in_shape) {
      if (IsEnd(words)) {
        in_shape = false;
        continue;
      }
      Pt p{};
      if (words.size() != 2 || !ParseNumber(words[0], &p.c) || !ParseNumber(words[1], &p.r))
        return VERR_FILE_CORRUPT;
      if (shapes->back().pts.size() >= kMaxPoints) return VERR_TOO_LARGE;
      shapes->back().pts.push_back(p);
      continue;
    }
    if (IsEnd(words)) {
      finished = true;
      continue;
    }
    if (!IsIdLine(words)) return seen_any ? VERR_FILE_CORRUPT : VERR_FILE_FORMAT;
    shapes->emplace_back();
    in_shape = seen_any = true;
  }
  if (finished) return VRESULT_OK;
  return seen_any ? VERR_FILE_TRUNCATED : VERR_FILE_FORMAT;
}

Vresult WriteArcInfo(OpContext& ctx, int32_t cls) {
  std::vector<XldPtr> xlds;
  const char* name = nullptr;
  Vresult rc = InpXlds(ctx, 1, cls, &xlds);
  if (rc == VRESULT_OK) rc = ctx.GetString(0, &name);
  return rc == VRESULT_OK ? WriteTextFile(name, ArcInfoText(xlds)) : rc;
}

// Nothing is handed over unless the whole file was read.
Vresult ReadArcInfo(OpContext& ctx, int32_t cls) {
  const char* name = nullptr;
  std::string text;
  std::vector<FileShape> shapes;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ReadTextFile(name, &text);
  if (rc == VRESULT_OK) rc = ParseArcInfo(text, &shapes);
  return rc == VRESULT_OK ? HandOverShapes(ctx, 1, cls, shapes) : rc;
}

}  // namespace

VEXA_OPERATOR(write_contour_xld_arc_info) { return WriteArcInfo(ctx, VOBJ_XLD_CONT); }
VEXA_OPERATOR(write_polygon_xld_arc_info) { return WriteArcInfo(ctx, VOBJ_XLD_POLY); }
VEXA_OPERATOR(read_contour_xld_arc_info) { return ReadArcInfo(ctx, VOBJ_XLD_CONT); }
VEXA_OPERATOR(read_polygon_xld_arc_info) { return ReadArcInfo(ctx, VOBJ_XLD_POLY); }

}  // namespace xld
}  // namespace vexa

// Text and binary files through handles.
//
// fwrite_string writes each value of its tuple in turn: strings as they
// are, integers in decimal, reals with 15 significant digits; nothing is
// put between them. fread_line gives the line with its line end,
// fread_string the next white-space separated word; both set is_eof to 1
// when nothing was left to read. fread_char gives one character, "eof" at
// the end, "nl" for a line end.
#include <cstdio>
#include <memory>
#include <string>

#include "ops/fileio/file_tool.h"
#include "ops/serialize/tuple_values.h"
#include "registry.h"

namespace vexa {
namespace {

std::string AsText(const TupleValue& v) {
  if (v.type == VPAR_STRING) return v.s;
  char buf[64];
  if (v.type == VPAR_LONG) {
    std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(v.l));
  } else {
    std::snprintf(buf, sizeof buf, "%.15g", v.d);
  }
  return buf;
}

// Writes the text of `read` to outputs 0 and 1 (is_eof).
template <class Read>
Vresult ReadText(OpContext& ctx, Read read) {
  std::shared_ptr<FileTool> file;
  std::string text;
  Vresult rc = InpTool(ctx, 0, &file);
  if (rc == VRESULT_OK) rc = read(*file, &text);
  if (rc == VRESULT_OK) rc = ctx.SetOutpString(0, text.c_str());
  return rc == VRESULT_OK ? ctx.SetOutpLong(1, text.empty() ? 1 : 0) : rc;
}

}  // namespace

VEXA_OPERATOR(open_file) {
  const char* name = nullptr;
  const char* type = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &type);
  std::shared_ptr<FileTool> file;
  if (rc == VRESULT_OK) rc = FileTool::Open(name, type, &file);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::move(file)) : rc;
}

VEXA_OPERATOR(close_file) { return CloseInpTool(ctx, 0, ToolKind::kFile); }

VEXA_OPERATOR(close_all_files) {
  handles::RemoveAll(ToolKind::kFile);
  return VRESULT_OK;
}

VEXA_OPERATOR(fwrite_string) {
  std::shared_ptr<FileTool> file;
  TupleValues values;
  Vresult rc = InpTool(ctx, 0, &file);
  if (rc == VRESULT_OK) rc = ReadInpValues(ctx, 1, &values);
  if (rc != VRESULT_OK) return rc;
  std::string text;
  for (const TupleValue& v : values) text += AsText(v);
  return file->Write(text.data(), text.size());
}

VEXA_OPERATOR(fnew_line) {
  std::shared_ptr<FileTool> file;
  const Vresult rc = InpTool(ctx, 0, &file);
  return rc == VRESULT_OK ? file->Write("\n", 1) : rc;
}

VEXA_OPERATOR(fread_line) {
  return ReadText(ctx, [](FileTool& f, std::string* s) { return f.ReadLine(s); });
}

VEXA_OPERATOR(fread_string) {
  return ReadText(ctx, [](FileTool& f, std::string* s) { return f.ReadWord(s); });
}

VEXA_OPERATOR(fread_char) {
  std::shared_ptr<FileTool> file;
  int c = EOF;
  Vresult rc = InpTool(ctx, 0, &file);
  if (rc == VRESULT_OK) rc = file->GetChar(&c);
  if (rc != VRESULT_OK) return rc;
  if (c == EOF) return ctx.SetOutpString(0, "eof");
  if (c == '\n') return ctx.SetOutpString(0, "nl");
  const char text[2] = {static_cast<char>(c), '\0'};
  return ctx.SetOutpString(0, text);
}

}  // namespace vexa

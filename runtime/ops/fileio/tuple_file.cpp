// write_tuple, read_tuple: control tuples in text files (tuple_text.h).
#include <string>

#include "error_detail.h"
#include "io/image_file.h"
#include "ops/fileio/tuple_text.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(write_tuple) {
  TupleValues values;
  const char* name = nullptr;
  Vresult rc = ReadInpValues(ctx, 0, &values);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &name);
  if (rc != VRESULT_OK) return rc;
  if (*name == '\0') return VERR_CTRL_VALUE(1);
  const std::string text = TupleText(values);
  return io::WriteWholeFile(name, io::Bytes(text.begin(), text.end()));
}

VEXA_OPERATOR(read_tuple) {
  const char* name = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  io::Bytes bytes;
  if (rc == VRESULT_OK) rc = io::ReadWholeFile(name, &bytes);
  if (rc != VRESULT_OK) return rc;
  TupleValues values;
  rc = ParseTuple(std::string(bytes.begin(), bytes.end()), &values);
  return rc == VRESULT_OK ? WriteOutpValues(ctx, 0, values) : FileFailure(rc, name);
}

}  // namespace vexa

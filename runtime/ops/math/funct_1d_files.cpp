// write_funct_1d, read_funct_1d: sampled functions in tuple text files
// (ops/fileio/tuple_text.h), checked as functions both ways.
#include <string>
#include <vector>

#include "error_detail.h"
#include "io/image_file.h"
#include "ops/fileio/tuple_text.h"
#include "ops/math/funct_1d.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(write_funct_1d) {
  Funct1D f;
  TupleValues values;
  const char* name = nullptr;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = ReadInpValues(ctx, 0, &values);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &name);
  if (rc != VRESULT_OK) return rc;
  if (*name == '\0') return VERR_CTRL_VALUE(1);
  const std::string text = TupleText(values);
  return io::WriteWholeFile(name, io::Bytes(text.begin(), text.end()));
}

// A file whose tuple is no function is VERR_FILE_CORRUPT; failures name
// the file.
VEXA_OPERATOR(read_funct_1d) {
  const char* name = nullptr;
  io::Bytes bytes;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = io::ReadWholeFile(name, &bytes);
  if (rc != VRESULT_OK) return rc;
  TupleValues values;
  rc = ParseTuple(std::string(bytes.begin(), bytes.end()), &values);
  std::vector<double> numbers;
  for (const TupleValue& v : values) {
    if (!v.IsNumber()) rc = VERR_FILE_CORRUPT;
    numbers.push_back(v.Real());
  }
  Funct1D f;
  if (rc == VRESULT_OK && Funct1DOfValues(numbers, 0, 1, &f) != VRESULT_OK) rc = VERR_FILE_CORRUPT;
  return rc == VRESULT_OK ? SetFunct1D(ctx, 0, f) : FileFailure(rc, name);
}

}  // namespace vexa

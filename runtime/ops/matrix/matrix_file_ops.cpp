// Matrices in serialised items and files.
//
// The item payload is rows and columns (u64 each) and the elements row by
// row as doubles. write_matrix "binary" writes exactly such an item;
// "ascii" writes a text: the line "rows columns", then one line per row
// with the elements in 17 significant digits, so that reading it back
// gives the same doubles. read_matrix tells the two apart by the item's
// magic.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "error_detail.h"
#include "io/image_file.h"
#include "ops/matrix/matrix_tool.h"
#include "ops/serialize/serialized_item.h"
#include "registry.h"

namespace vexa {
namespace {

ItemBytes MatrixItem(const Matrix& m) {
  ByteWriter w;
  w.U64(static_cast<uint64_t>(m.rows()));
  w.U64(static_cast<uint64_t>(m.cols()));
  for (Eigen::Index r = 0; r < m.rows(); ++r)
    for (Eigen::Index c = 0; c < m.cols(); ++c) w.F64(m(r, c));
  return WrapItem(ItemKind::kMatrix, w.bytes());
}

Vresult MatrixFromItem(const unsigned char* data, size_t size, Matrix* m) {
  ByteReader r(nullptr, 0);
  Vresult rc = OpenItem(data, size, ItemKind::kMatrix, &r);
  if (rc != VRESULT_OK) return rc;
  uint64_t rows = 0, cols = 0;
  if (!r.U64(&rows) || !r.U64(&cols)) return VERR_FILE_CORRUPT;
  if (rows < 1 || cols < 1 || rows > r.remaining() / 8 || cols > r.remaining() / 8 / rows ||
      rows * cols * 8 != r.remaining())
    return VERR_FILE_CORRUPT;
  m->resize(static_cast<Eigen::Index>(rows), static_cast<Eigen::Index>(cols));
  for (Eigen::Index i = 0; i < m->rows(); ++i)
    for (Eigen::Index j = 0; j < m->cols(); ++j) r.F64(&(*m)(i, j));
  return VRESULT_OK;
}

std::string MatrixText(const Matrix& m) {
  std::string text = std::to_string(m.rows()) + " " + std::to_string(m.cols()) + "\n";
  char buf[32];
  for (Eigen::Index r = 0; r < m.rows(); ++r) {
    for (Eigen::Index c = 0; c < m.cols(); ++c) {
      std::snprintf(buf, sizeof buf, c ? " %.17g" : "%.17g", m(r, c));
      text += buf;
    }
    text += '\n';
  }
  return text;
}

Vresult MatrixFromText(const std::string& text, Matrix* m) {
  std::istringstream in(text);
  long long rows = 0, cols = 0;
  if (!(in >> rows >> cols)) return VERR_FILE_FORMAT;
  if (CheckMatrixSize(rows, cols, 0) != VRESULT_OK) return VERR_FILE_CORRUPT;
  // Each element needs at least two characters, so the text bounds the size.
  if (rows * cols > static_cast<long long>(text.size())) return VERR_FILE_TRUNCATED;
  m->resize(rows, cols);
  std::string word;
  for (Eigen::Index r = 0; r < rows; ++r) {
    for (Eigen::Index c = 0; c < cols; ++c) {
      if (!(in >> word)) return VERR_FILE_TRUNCATED;
      char* end = nullptr;
      (*m)(r, c) = std::strtod(word.c_str(), &end);
      if (*end != '\0') return VERR_FILE_CORRUPT;
    }
  }
  return in >> word ? VERR_FILE_CORRUPT : VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(serialize_matrix) {
  Matrix m;
  const Vresult rc = InpMatrix(ctx, 0, &m);
  return rc == VRESULT_OK ? OutpNewItem(ctx, 0, MatrixItem(m)) : rc;
}

VEXA_OPERATOR(deserialize_matrix) {
  std::shared_ptr<SerializedItem> item;
  Matrix m;
  Vresult rc = InpTool(ctx, 0, &item);
  if (rc == VRESULT_OK) rc = MatrixFromItem(item->data(), item->size(), &m);
  return rc == VRESULT_OK ? OutpNewMatrix(ctx, 0, std::move(m)) : rc;
}

VEXA_OPERATOR(write_matrix) {
  Matrix m;
  const char* format = nullptr;
  const char* name = nullptr;
  Vresult rc = InpMatrix(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &format);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &name);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(format, "binary") == 0) return io::WriteWholeFile(name, MatrixItem(m));
  if (std::strcmp(format, "ascii") != 0) return VERR_CTRL_VALUE(1);
  const std::string text = MatrixText(m);
  return io::WriteWholeFile(name, io::Bytes(text.begin(), text.end()));
}

VEXA_OPERATOR(read_matrix) {
  const char* name = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  io::Bytes file;
  if (rc == VRESULT_OK) rc = io::ReadWholeFile(name, &file);
  if (rc != VRESULT_OK) return rc;
  Matrix m;
  if (file.size() >= 4 && std::memcmp(file.data(), "VXSI", 4) == 0) {
    rc = MatrixFromItem(file.data(), file.size(), &m);
  } else {
    rc = MatrixFromText(std::string(file.begin(), file.end()), &m);
  }
  return rc == VRESULT_OK ? OutpNewMatrix(ctx, 0, std::move(m)) : FileFailure(rc, name);
}

}  // namespace vexa

#include "ops/fileio/file_tool.h"

#include <cctype>
#include <cerrno>

namespace vexa {

Vresult FileTool::Open(const std::string& name, const std::string& type,
                       std::shared_ptr<FileTool>* file) {
  const bool binary = type.size() > 7 && type.compare(type.size() - 7, 7, "_binary") == 0;
  const std::string base = binary ? type.substr(0, type.size() - 7) : type;
  const char* mode = nullptr;
  if (base == "input") mode = binary ? "rb" : "r";
  if (base == "output") mode = binary ? "wb" : "w";
  if (base == "append") mode = binary ? "ab" : "a";
  if (!mode) return VERR_CTRL_VALUE(1);
  const bool writes = base != "input";
  std::FILE* f = std::fopen(name.c_str(), mode);
  if (!f) {
    if (!writes && errno == ENOENT) return VERR_FILE_NOT_FOUND;
    return writes ? VERR_FILE_WRITE : VERR_FILE_READ;
  }
  file->reset(new FileTool(f, writes));
  return VRESULT_OK;
}

FileTool::~FileTool() { Close(); }

void FileTool::Close() {
  std::lock_guard<std::mutex> lock(m_);
  if (file_) std::fclose(file_);
  file_ = nullptr;
}

Vresult FileTool::CheckReading() const {
  if (!file_) return VERR_HANDLE_CLOSED;
  return writes_ ? VERR_FILE_MODE : VRESULT_OK;
}

Vresult FileTool::Write(const void* data, size_t n) {
  std::lock_guard<std::mutex> lock(m_);
  if (!file_) return VERR_HANDLE_CLOSED;
  if (!writes_) return VERR_FILE_MODE;
  if (std::fwrite(data, 1, n, file_) != n || std::fflush(file_) != 0) return VERR_FILE_WRITE;
  return VRESULT_OK;
}

Vresult FileTool::Read(void* data, size_t n, size_t* got) {
  std::lock_guard<std::mutex> lock(m_);
  const Vresult rc = CheckReading();
  if (rc != VRESULT_OK) return rc;
  *got = std::fread(data, 1, n, file_);
  return std::ferror(file_) ? VERR_FILE_READ : VRESULT_OK;
}

Vresult FileTool::GetChar(int* c) {
  std::lock_guard<std::mutex> lock(m_);
  const Vresult rc = CheckReading();
  if (rc != VRESULT_OK) return rc;
  *c = std::fgetc(file_);
  return std::ferror(file_) ? VERR_FILE_READ : VRESULT_OK;
}

Vresult FileTool::ReadLine(std::string* line) {
  std::lock_guard<std::mutex> lock(m_);
  const Vresult rc = CheckReading();
  if (rc != VRESULT_OK) return rc;
  line->clear();
  for (int c; (c = std::fgetc(file_)) != EOF;) {
    line->push_back(static_cast<char>(c));
    if (c == '\n') break;
  }
  return std::ferror(file_) ? VERR_FILE_READ : VRESULT_OK;
}

Vresult FileTool::ReadWord(std::string* word) {
  std::lock_guard<std::mutex> lock(m_);
  const Vresult rc = CheckReading();
  if (rc != VRESULT_OK) return rc;
  word->clear();
  int c;
  while ((c = std::fgetc(file_)) != EOF && std::isspace(c)) {
  }
  for (; c != EOF && !std::isspace(c); c = std::fgetc(file_)) word->push_back(static_cast<char>(c));
  if (c != EOF) std::ungetc(c, file_);
  return std::ferror(file_) ? VERR_FILE_READ : VRESULT_OK;
}

}  // namespace vexa

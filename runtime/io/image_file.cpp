#include "io/image_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "error_detail.h"
#include "vexa/errors.h"

namespace vexa {
namespace io {
namespace {

bool IsRegularFile(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

struct FileCloser {
  std::FILE* f;
  ~FileCloser() {
    if (f) std::fclose(f);
  }
};

Vresult ReadContents(const std::string& path, Bytes* contents) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0)
    return errno == ENOENT || errno == ENOTDIR ? VERR_FILE_NOT_FOUND
                                               : VERR_FILE_READ;
  if (!S_ISREG(st.st_mode)) return VERR_FILE_READ;
  FileCloser in{std::fopen(path.c_str(), "rb")};
  if (!in.f) return VERR_FILE_READ;
  contents->resize(static_cast<size_t>(st.st_size));
  if (std::fread(contents->data(), 1, contents->size(), in.f) != contents->size())
    return VERR_FILE_READ;
  // A file that grew since stat is read to its end as well.
  unsigned char chunk[65536];
  size_t n;
  while ((n = std::fread(chunk, 1, sizeof chunk, in.f)) > 0)
    contents->insert(contents->end(), chunk, chunk + n);
  return std::ferror(in.f) ? VERR_FILE_READ : VRESULT_OK;
}

Vresult WriteContents(const std::string& path, const Bytes& contents) {
  FileCloser out{std::fopen(path.c_str(), "wb")};
  if (!out.f) return VERR_FILE_WRITE;
  const bool written =
      std::fwrite(contents.data(), 1, contents.size(), out.f) == contents.size();
  const bool closed = std::fclose(out.f) == 0;
  out.f = nullptr;
  if (written && closed) return VRESULT_OK;
  std::remove(path.c_str());
  return VERR_FILE_WRITE;
}

}  // namespace

Vresult ReadWholeFile(const std::string& path, Bytes* contents) {
  const Vresult rc = ReadContents(path, contents);
  return rc == VRESULT_OK ? rc : FileFailure(rc, path);
}

Vresult WriteWholeFile(const std::string& path, const Bytes& contents) {
  const Vresult rc = WriteContents(path, contents);
  return rc == VRESULT_OK ? rc : FileFailure(rc, path);
}

bool HasExtension(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  const size_t start = slash == std::string::npos ? 0 : slash + 1;
  const size_t dot = path.find_last_of('.');
  return dot != std::string::npos && dot > start;
}

std::string ResolveImagePath(const std::string& name,
                             const char* const* extensions, size_t count) {
  if (IsRegularFile(name) || HasExtension(name)) return name;
  for (size_t i = 0; i < count; ++i) {
    const std::string candidate = name + extensions[i];
    if (IsRegularFile(candidate)) return candidate;
  }
  return name;
}

}  // namespace io
}  // namespace vexa

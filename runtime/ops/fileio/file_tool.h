// The tool behind a file handle: an open C stream, the direction it was
// opened for, and a lock so that threads sharing a handle do not tear
// each other's lines.
#pragma once

#include <cstdio>
#include <mutex>
#include <string>

#include "handle_registry.h"

namespace vexa {

class FileTool : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kFile;
  // `type` is "input", "output" or "append", each also with "_binary".
  // VERR_CTRL_VALUE(1) for another type, VERR_FILE_NOT_FOUND for a missing
  // input file, VERR_FILE_READ / VERR_FILE_WRITE when opening fails.
  static Vresult Open(const std::string& name, const std::string& type,
                      std::shared_ptr<FileTool>* file);
  ~FileTool() override;

  // Every access checks the direction (VERR_FILE_MODE) and holds the lock.
  Vresult Write(const void* data, size_t n);
  // Reads up to `n` bytes; `got` tells how many there were.
  Vresult Read(void* data, size_t n, size_t* got);
  // The next character, or EOF.
  Vresult GetChar(int* c);
  // Characters up to and including the next line end (or to the end).
  Vresult ReadLine(std::string* line);
  // The next word: white space skipped, then up to the next white space.
  Vresult ReadWord(std::string* word);
  void Close() override;

 private:
  FileTool(std::FILE* f, bool writes) : file_(f), writes_(writes) {}
  Vresult CheckReading() const;

  std::mutex m_;
  std::FILE* file_;
  const bool writes_;
};

}  // namespace vexa

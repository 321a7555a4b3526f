// A directory of its own for a file test: made empty under /tmp when the
// test starts, removed with everything in it when the test ends.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

class ScratchDir {
 public:
  ScratchDir() {
    char pattern[] = "/tmp/vexa_test_XXXXXX";
    if (mkdtemp(pattern) == nullptr) throw std::runtime_error("no scratch directory");
    dir_ = pattern;
  }
  ~ScratchDir() { std::filesystem::remove_all(dir_); }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  const std::string& dir() const { return dir_; }
  std::string Path(const std::string& name) const { return dir_ + "/" + name; }
  // Writes `text` as the file `name` and returns its path.
  std::string Put(const std::string& name, const std::string& text) const {
    std::ofstream(Path(name), std::ios::binary) << text;
    return Path(name);
  }
  // The whole content of the file at `path`.
  static std::string Get(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }

 private:
  std::string dir_;
};

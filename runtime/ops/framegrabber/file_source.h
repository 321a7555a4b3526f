// The image source of the "File" acquisition interface: a list of image
// files, delivered one by one and from the start again after the last.
//
// The camera_type of open_framegrabber names the source:
//   - a directory: every file in it whose extension is one that
//     read_image knows, sorted by name;
//   - a file ending in ".seq": a list of image files, one per line
//     (relative names are taken from the list's directory, empty lines and
//     lines starting with '#' are skipped);
//   - any other file: that one image, again and again.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "handle_registry.h"

namespace vexa {

class FileSource : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kFramegrabber;
  // VERR_FILE_NOT_FOUND when `location` names nothing, VERR_GRAB_SOURCE when
  // it holds no image file.
  static Vresult Open(const std::string& location, std::shared_ptr<FileSource>* source);

  // The next image as a new object, through the lookup tables, and its
  // file name. With looping off, VERR_GRAB_SOURCE after the last.
  Vresult Grab(Vkey* image, std::string* file);

  const std::string& location() const { return location_; }
  size_t count() const { return files_.size(); }
  size_t next_index() const;
  // VERR_CTRL_VALUE(2) for an index beyond the list.
  Vresult set_next_index(Vlong index);
  bool looping() const;
  void set_looping(bool loop);
  std::string last_file() const;

  // Lookup tables for byte images, applied to each image as it is grabbed:
  // channel 0 goes through `red`, 1 through `green`, 2 through `blue`; an
  // empty table (the default) leaves its channel as it is.
  struct Luts {
    std::vector<uint8_t> red, green, blue;
  };
  void set_luts(Luts luts);
  Luts luts() const;

  // The "transfer_end" callback (vexa/framegrabber.h); function 0: none.
  struct Callback {
    Vlong function = 0;
    Vlong user_context = 0;
  };
  void set_transfer_end(Callback callback);
  Callback transfer_end() const;

 private:
  FileSource(std::string location, std::vector<std::string> files)
      : location_(std::move(location)), files_(std::move(files)) {}

  const std::string location_;
  const std::vector<std::string> files_;
  mutable std::mutex m_;
  size_t next_ = 0;
  bool loop_ = true;
  std::string last_;
  Luts luts_;
  Callback transfer_end_;
};

}  // namespace vexa

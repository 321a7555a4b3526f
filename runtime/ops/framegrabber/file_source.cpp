#include "ops/framegrabber/file_source.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <utility>

#include "io/image_codecs.h"
#include "io/image_file.h"
#include "objdb.h"

namespace vexa {
namespace {

namespace fs = std::filesystem;

bool KnownImageExtension(const fs::path& p) {
  std::string ext = p.extension().string();
  if (ext.empty()) return false;
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  for (size_t i = 0; i < io::kNumReadExtensions; ++i)
    if (ext == io::kReadExtensions[i]) return true;
  return false;
}

std::vector<std::string> DirectoryImages(const fs::path& dir) {
  std::vector<std::string> files;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(dir, ec))
    if (entry.is_regular_file(ec) && KnownImageExtension(entry.path()))
      files.push_back(entry.path().string());
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> ListedImages(const fs::path& list) {
  std::vector<std::string> files;
  std::ifstream in(list);
  for (std::string line; std::getline(in, line);) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    if (line.empty() || line[0] == '#') continue;
    const fs::path p(line);
    files.push_back((p.is_absolute() ? p : list.parent_path() / p).string());
  }
  return files;
}

// read_image's own path: whole file, format told by the contents.
Vresult ReadImage(const std::string& path, Vkey* key) {
  io::Bytes bytes;
  Vresult rc = io::ReadWholeFile(path, &bytes);
  io::DecodedImage image;
  if (rc == VRESULT_OK) rc = io::DecodeImage(bytes, &image);
  if (rc != VRESULT_OK) return rc;
  return db::NewImage(std::move(image.domain), std::move(image.channels), key);
}

// Maps the channels of a byte image through `luts`, in place (the image is
// new, so its channels are its own).
Vresult ApplyLuts(const FileSource::Luts& luts, Vkey image) {
  db::ImageData data;
  Vresult rc = db::GetImage(image, &data);
  if (rc != VRESULT_OK || data.channels[0]->type() != PixelType::kByte) return rc;
  const std::vector<uint8_t>* tables[3] = {&luts.red, &luts.green, &luts.blue};
  const size_t channels = std::min<size_t>(3, data.channels.size());
  for (size_t c = 0; c < channels && rc == VRESULT_OK; ++c) {
    const std::vector<uint8_t>& lut = *tables[c];
    if (lut.empty()) continue;
    PixelBuffer* buffer = nullptr;
    rc = db::WritableChannel(image, static_cast<int>(c), &buffer);
    if (rc != VRESULT_OK) break;
    uint8_t* p = buffer->data();
    const size_t n = static_cast<size_t>(buffer->width()) * buffer->height();
    for (size_t i = 0; i < n; ++i) p[i] = lut[p[i]];
  }
  return rc;
}

}  // namespace

Vresult FileSource::Open(const std::string& location, std::shared_ptr<FileSource>* source) {
  std::error_code ec;
  const fs::path p(location);
  if (!fs::exists(p, ec)) return VERR_FILE_NOT_FOUND;
  std::vector<std::string> files;
  if (fs::is_directory(p, ec)) {
    files = DirectoryImages(p);
  } else if (p.extension() == ".seq") {
    files = ListedImages(p);
  } else {
    files.push_back(location);
  }
  if (files.empty()) return VERR_GRAB_SOURCE;
  source->reset(new FileSource(location, std::move(files)));
  return VRESULT_OK;
}

Vresult FileSource::Grab(Vkey* image, std::string* file) {
  Luts luts;
  {
    std::lock_guard<std::mutex> lock(m_);
    if (next_ >= files_.size()) {
      if (!loop_) return VERR_GRAB_SOURCE;
      next_ = 0;
    }
    *file = files_[next_++];
    last_ = *file;
    luts = luts_;
  }
  Vresult rc = ReadImage(*file, image);
  if (rc != VRESULT_OK) return rc;
  rc = ApplyLuts(luts, *image);
  if (rc != VRESULT_OK) db::Release(*image);
  return rc;
}

void FileSource::set_luts(Luts luts) {
  std::lock_guard<std::mutex> lock(m_);
  luts_ = std::move(luts);
}

FileSource::Luts FileSource::luts() const {
  std::lock_guard<std::mutex> lock(m_);
  return luts_;
}

void FileSource::set_transfer_end(Callback callback) {
  std::lock_guard<std::mutex> lock(m_);
  transfer_end_ = callback;
}

FileSource::Callback FileSource::transfer_end() const {
  std::lock_guard<std::mutex> lock(m_);
  return transfer_end_;
}

size_t FileSource::next_index() const {
  std::lock_guard<std::mutex> lock(m_);
  return next_ % files_.size();
}

Vresult FileSource::set_next_index(Vlong index) {
  if (index < 0 || index >= static_cast<Vlong>(files_.size())) return VERR_CTRL_VALUE(2);
  std::lock_guard<std::mutex> lock(m_);
  next_ = static_cast<size_t>(index);
  return VRESULT_OK;
}

bool FileSource::looping() const {
  std::lock_guard<std::mutex> lock(m_);
  return loop_;
}

void FileSource::set_looping(bool loop) {
  std::lock_guard<std::mutex> lock(m_);
  loop_ = loop;
}

std::string FileSource::last_file() const {
  std::lock_guard<std::mutex> lock(m_);
  return last_;
}

}  // namespace vexa

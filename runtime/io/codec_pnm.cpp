#include "io/codec_pnm.h"

#include <cctype>
#include <cstdio>
#include <string>

#include "vexa/errors.h"

namespace vexa {
namespace io {
namespace {

// Reads the text of a file: numbers separated by white space, with
// comments from '#' to the end of a line.
class TextReader {
 public:
  TextReader(const Bytes& file, size_t pos) : file_(file), pos_(pos) {}
  size_t pos() const { return pos_; }

  // VERR_FILE_TRUNCATED at the end of the file, VERR_FILE_CORRUPT for
  // anything but a decimal number or one above `max`.
  Vresult Number(uint32_t max, uint32_t* value) {
    SkipSpaceAndComments();
    if (pos_ == file_.size()) return VERR_FILE_TRUNCATED;
    if (!std::isdigit(file_[pos_])) return VERR_FILE_CORRUPT;
    uint64_t v = 0;
    while (pos_ < file_.size() && std::isdigit(file_[pos_])) {
      v = v * 10 + (file_[pos_++] - '0');
      if (v > max) return VERR_FILE_CORRUPT;
    }
    *value = static_cast<uint32_t>(v);
    return VRESULT_OK;
  }

  // The single white-space character that ends the header of a binary map.
  Vresult EndOfHeader() {
    if (pos_ == file_.size()) return VERR_FILE_TRUNCATED;
    if (!std::isspace(file_[pos_])) return VERR_FILE_CORRUPT;
    ++pos_;
    return VRESULT_OK;
  }

 private:
  void SkipSpaceAndComments() {
    while (pos_ < file_.size()) {
      if (file_[pos_] == '#') {
        while (pos_ < file_.size() && file_[pos_] != '\n') ++pos_;
      } else if (std::isspace(file_[pos_])) {
        ++pos_;
      } else {
        return;
      }
    }
  }

  const Bytes& file_;
  size_t pos_;
};

Vresult ReadTextSamples(TextReader* text, uint32_t max_value, int channels,
                        DecodedImage* image) {
  const PixelBuffer& any = *image->channels[0];
  const size_t size = PixelSize(any.type());
  Bytes row(static_cast<size_t>(any.width()) * channels * size);
  for (int32_t r = 0; r < any.height(); ++r) {
    for (size_t i = 0; i < row.size(); i += size) {
      uint32_t v = 0;
      const Vresult rc = text->Number(max_value, &v);
      if (rc != VRESULT_OK) return rc;
      row[i] = static_cast<unsigned char>(v);  // little-endian low byte first
      if (size == 2) row[i + 1] = static_cast<unsigned char>(v >> 8);
    }
    ScatterRow(row.data(), channels, 0, r, false, image);
  }
  return VRESULT_OK;
}

Vresult ReadBinarySamples(const Bytes& file, size_t pos, uint32_t max_value,
                          int channels, DecodedImage* image) {
  const PixelBuffer& any = *image->channels[0];
  const size_t size = PixelSize(any.type());
  const size_t row_bytes = static_cast<size_t>(any.width()) * channels * size;
  for (int32_t r = 0; r < any.height(); ++r, pos += row_bytes) {
    if (file.size() - pos < row_bytes) return VERR_FILE_TRUNCATED;
    const unsigned char* row = file.data() + pos;
    for (size_t i = 0; i < row_bytes; i += size) {
      const uint32_t v = size == 2 ? (row[i] << 8 | row[i + 1]) : row[i];
      if (v > max_value) return VERR_FILE_CORRUPT;
    }
    ScatterRow(row, channels, 0, r, size == 2, image);  // big-endian in file
  }
  return VRESULT_OK;
}

}  // namespace

Vresult DecodePnm(const Bytes& file, DecodedImage* image) {
  if (file.size() < 2) return VERR_FILE_TRUNCATED;
  const char kind = static_cast<char>(file[1]);
  if (kind != '2' && kind != '3' && kind != '5' && kind != '6')
    return VERR_FILE_UNSUPPORTED;
  const bool binary = kind == '5' || kind == '6';
  const int channels = kind == '3' || kind == '6' ? 3 : 1;

  // White space separates the magic number from the header's fields.
  if (file.size() == 2) return VERR_FILE_TRUNCATED;
  if (!std::isspace(file[2]) && file[2] != '#') return VERR_FILE_CORRUPT;
  TextReader text(file, 2);
  uint32_t width = 0, height = 0, max_value = 0;
  Vresult rc = VRESULT_OK;
  for (uint32_t* field : {&width, &height, &max_value}) {
    if (rc == VRESULT_OK) rc = text.Number(0x7fffffff, field);
  }
  if (rc == VRESULT_OK && binary) rc = text.EndOfHeader();
  if (rc != VRESULT_OK) return rc;
  if (max_value < 1 || max_value > 65535) return VERR_FILE_CORRUPT;
  const PixelType type = max_value > 255 ? PixelType::kUInt2 : PixelType::kByte;
  // A text sample takes at least two bytes, a digit and a separator.
  rc = NewChannels(type, width, height, channels,
                   binary ? file.size() : file.size() / 2 + 1, image);
  if (rc != VRESULT_OK) return rc;
  return binary ? ReadBinarySamples(file, text.pos(), max_value, channels, image)
                : ReadTextSamples(&text, max_value, channels, image);
}

Vresult EncodePnm(const EncodeSource& source, bool text, Bytes* file) {
  const PixelType type = source.type();
  if (type != PixelType::kByte && type != PixelType::kUInt2) return VERR_PIXEL_TYPE;
  const size_t channels = source.channels.size();
  if (channels != 1 && channels != 3) return VERR_CHANNEL;
  const bool wide = type == PixelType::kUInt2;
  const char magic = static_cast<char>('0' + (channels == 1 ? 2 : 3) + (text ? 0 : 3));
  const std::string header = std::string("P") + magic + "\n" +
                             std::to_string(source.width()) + " " +
                             std::to_string(source.height()) + "\n" +
                             (wide ? "65535" : "255") + "\n";
  file->assign(header.begin(), header.end());

  const size_t size = PixelSize(type);
  Bytes row(static_cast<size_t>(source.width()) * channels * size);
  for (int32_t r = 0; r < source.height(); ++r) {
    GatherRow(source.channels, r, wide && !text, row.data());
    if (!text) {
      file->insert(file->end(), row.begin(), row.end());
      continue;
    }
    std::string line;
    for (size_t i = 0; i < row.size(); i += size) {
      const unsigned v = wide ? row[i] | row[i + 1] << 8 : row[i];
      line += std::to_string(v);
      line += i + size < row.size() ? ' ' : '\n';
    }
    file->insert(file->end(), line.begin(), line.end());
  }
  return VRESULT_OK;
}

}  // namespace io
}  // namespace vexa

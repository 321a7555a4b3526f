// libjpeg reports failures through its error manager, whose exit here is a
// longjmp. As with PNG, every libjpeg call runs inside a small *Safely
// function that holds no object with a destructor; the library's
// structures and all buffers belong to the callers and are freed on every
// path.
#include "io/codec_jpeg.h"

// jpeglib.h needs the size types declared first.
#include <cstddef>
#include <cstdio>

#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>

#include "vexa/errors.h"

namespace vexa {
namespace io {
namespace {

struct ErrorManager {
  jpeg_error_mgr pub;
  std::jmp_buf jump;
  int warning;  // message code of the first warning; 0 for none
};

void OnError(j_common_ptr cinfo) {
  std::longjmp(reinterpret_cast<ErrorManager*>(cinfo->err)->jump, 1);
}

// Level -1 is a warning (recoverable damage of the data); higher levels
// are trace messages, which are dropped.
void OnMessage(j_common_ptr cinfo, int level) {
  auto* err = reinterpret_cast<ErrorManager*>(cinfo->err);
  if (level < 0 && err->warning == 0) err->warning = cinfo->err->msg_code;
}

void InitErrors(ErrorManager* err) {
  jpeg_std_error(&err->pub);
  err->pub.error_exit = OnError;
  err->pub.emit_message = OnMessage;
  err->warning = 0;
}

Vresult FailureCode(const ErrorManager& err) {
  return err.warning == JWRN_JPEG_EOF ? VERR_FILE_TRUNCATED : VERR_FILE_CORRUPT;
}

struct Decompressor {
  jpeg_decompress_struct cinfo;
  ErrorManager err;
  bool created = false;
  ~Decompressor() {
    if (created) jpeg_destroy_decompress(&cinfo);
  }
};

// The compressed file grows in a Bytes; a failed allocation ends the
// compression through the error manager.
struct Destination {
  jpeg_destination_mgr pub;
  Bytes* out;
  bool out_of_memory;
  JOCTET buffer[16384];
};

void InitDestination(j_compress_ptr cinfo) {
  auto* d = reinterpret_cast<Destination*>(cinfo->dest);
  d->pub.next_output_byte = d->buffer;
  d->pub.free_in_buffer = sizeof d->buffer;
}

void Append(j_compress_ptr cinfo, size_t n) {
  auto* d = reinterpret_cast<Destination*>(cinfo->dest);
  try {
    d->out->insert(d->out->end(), d->buffer, d->buffer + n);
  } catch (const std::bad_alloc&) {
    d->out_of_memory = true;
  }
  if (d->out_of_memory) ERREXIT(cinfo, JERR_OUT_OF_MEMORY);
}

boolean EmptyDestination(j_compress_ptr cinfo) {
  auto* d = reinterpret_cast<Destination*>(cinfo->dest);
  Append(cinfo, sizeof d->buffer);
  InitDestination(cinfo);
  return TRUE;
}

void TermDestination(j_compress_ptr cinfo) {
  auto* d = reinterpret_cast<Destination*>(cinfo->dest);
  Append(cinfo, sizeof d->buffer - d->pub.free_in_buffer);
}

struct Compressor {
  jpeg_compress_struct cinfo;
  ErrorManager err;
  Destination dest;
  bool created = false;
  ~Compressor() {
    if (created) jpeg_destroy_compress(&cinfo);
  }
};

// Reads the header; `channels` is 0 for a colour space this codec does
// not read.
bool ReadHeaderSafely(Decompressor* d, const Bytes& file, int* channels) {
  if (setjmp(d->err.jump)) return false;
  jpeg_create_decompress(&d->cinfo);
  d->created = true;
  jpeg_mem_src(&d->cinfo, file.data(), file.size());
  jpeg_read_header(&d->cinfo, TRUE);
  switch (d->cinfo.jpeg_color_space) {
    case JCS_GRAYSCALE:
      *channels = 1;
      break;
    case JCS_YCbCr:
    case JCS_RGB:
      d->cinfo.out_color_space = JCS_RGB;
      *channels = 3;
      break;
    default:
      *channels = 0;
  }
  return true;
}

bool ReadRowsSafely(Decompressor* d, JSAMPROW row, DecodedImage* image) {
  if (setjmp(d->err.jump)) return false;
  jpeg_start_decompress(&d->cinfo);
  while (d->cinfo.output_scanline < d->cinfo.output_height) {
    const auto r = static_cast<int32_t>(d->cinfo.output_scanline);
    jpeg_read_scanlines(&d->cinfo, &row, 1);
    ScatterRow(row, d->cinfo.output_components, 0, r, false, image);
  }
  jpeg_finish_decompress(&d->cinfo);
  return true;
}

bool CompressSafely(Compressor* c, const EncodeSource& source, int quality,
                    JSAMPROW row) {
  if (setjmp(c->err.jump)) return false;
  jpeg_create_compress(&c->cinfo);
  c->created = true;
  c->cinfo.dest = &c->dest.pub;
  c->cinfo.image_width = static_cast<JDIMENSION>(source.width());
  c->cinfo.image_height = static_cast<JDIMENSION>(source.height());
  c->cinfo.input_components = static_cast<int>(source.channels.size());
  c->cinfo.in_color_space =
      source.channels.size() == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&c->cinfo);
  jpeg_set_quality(&c->cinfo, quality, TRUE);
  jpeg_start_compress(&c->cinfo, TRUE);
  for (int32_t r = 0; r < source.height(); ++r) {
    GatherRow(source.channels, r, false, row);
    jpeg_write_scanlines(&c->cinfo, &row, 1);
  }
  jpeg_finish_compress(&c->cinfo);
  return true;
}

}  // namespace

Vresult DecodeJpeg(const Bytes& file, DecodedImage* image) {
  Decompressor d;
  d.cinfo.err = &d.err.pub;
  InitErrors(&d.err);
  int channels = 0;
  if (!ReadHeaderSafely(&d, file, &channels)) return FailureCode(d.err);
  if (channels == 0) return VERR_FILE_UNSUPPORTED;
  const Vresult rc = NewChannels(PixelType::kByte, d.cinfo.image_width,
                                 d.cinfo.image_height, channels, file.size(),
                                 image);
  if (rc != VRESULT_OK) return rc;
  Bytes row(static_cast<size_t>(d.cinfo.image_width) * channels);
  if (!ReadRowsSafely(&d, row.data(), image) || d.err.warning != 0)
    return FailureCode(d.err);
  return VRESULT_OK;
}

Vresult EncodeJpeg(const EncodeSource& source, int quality, Bytes* file) {
  if (source.type() != PixelType::kByte) return VERR_PIXEL_TYPE;
  if (source.channels.size() != 1 && source.channels.size() != 3)
    return VERR_CHANNEL;
  Compressor c;
  c.cinfo.err = &c.err.pub;
  InitErrors(&c.err);
  file->clear();
  c.dest.out = file;
  c.dest.out_of_memory = false;
  c.dest.pub.init_destination = InitDestination;
  c.dest.pub.empty_output_buffer = EmptyDestination;
  c.dest.pub.term_destination = TermDestination;
  Bytes row(static_cast<size_t>(source.width()) * source.channels.size());
  if (!CompressSafely(&c, source, quality, row.data()))
    return c.dest.out_of_memory ? VERR_OUT_OF_MEMORY : VERR_INTERNAL;
  return VRESULT_OK;
}

}  // namespace io
}  // namespace vexa

// Mirroring images: "row" turns the image upside down (row r goes to
// height - 1 - r), "column" mirrors it left to right, "diagonal" exchanges
// rows and columns, "anti_diagonal" mirrors at the other diagonal ((r, c)
// goes to (width - 1 - c, height - 1 - r)). Pixels move unchanged, of every
// type; the domain moves with them.
#include <cstring>
#include <opencv2/core.hpp>

#include "ops/common/op_objects.h"
#include "ops/image/image_op_util.h"
#include "ops/region/kernels/transform.h"
#include "registry.h"

namespace vexa {
namespace {

enum class Mirror { kRow, kColumn, kDiagonal, kAntiDiagonal };

// OpenCV moves elements of any size by their bytes: one element type per
// size is enough.
int CvTypeOfSize(size_t bytes) {
  switch (bytes) {
    case 1: return CV_8U;
    case 2: return CV_16U;
    case 4: return CV_32S;
    default: return CV_64F;
  }
}

void MirrorPlane(const cv::Mat& src, cv::Mat& dst, Mirror mode) {
  switch (mode) {
    case Mirror::kRow: cv::flip(src, dst, 0); break;
    case Mirror::kColumn: cv::flip(src, dst, 1); break;
    case Mirror::kDiagonal: cv::transpose(src, dst); break;
    case Mirror::kAntiDiagonal:
      cv::transpose(src, dst);
      cv::flip(dst, dst, -1);
      break;
  }
}

RegionPtr MirrorDomain(const Region& domain, Mirror mode, int32_t width, int32_t height) {
  switch (mode) {
    case Mirror::kRow: return Region::FromCanonicalChords(ChordMirrorRows(domain.chords(), height));
    case Mirror::kColumn:
      return Region::FromCanonicalChords(ChordMirrorColumns(domain.chords(), width));
    case Mirror::kDiagonal: return Region::FromCanonicalChords(ChordTransposeAxes(domain.chords()));
    case Mirror::kAntiDiagonal: break;
  }
  const ChordList t = ChordTransposeAxes(domain.chords());
  return Region::FromCanonicalChords(ChordMirrorColumns(ChordMirrorRows(t, width), height));
}

}  // namespace

VEXA_OPERATOR(mirror_image) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  Mirror mode;
  if (std::strcmp(name, "row") == 0) mode = Mirror::kRow;
  else if (std::strcmp(name, "column") == 0) mode = Mirror::kColumn;
  else if (std::strcmp(name, "diagonal") == 0) mode = Mirror::kDiagonal;
  else if (std::strcmp(name, "anti_diagonal") == 0) mode = Mirror::kAntiDiagonal;
  else return VERR_CTRL_VALUE(0);
  const bool swap = mode == Mirror::kDiagonal || mode == Mirror::kAntiDiagonal;
  return MakePerImage(ctx, 1, 1, [&](Vkey, const db::ImageData& image, Vkey* out) {
    const int32_t w = image.channels[0]->width(), h = image.channels[0]->height();
    Channels channels(image.channels.size());
    for (size_t i = 0; i < channels.size(); ++i) {
      const PixelBuffer& in = *image.channels[i];
      const Vresult r = PixelBuffer::Create(in.type(), swap ? h : w, swap ? w : h, &channels[i]);
      if (r != VRESULT_OK) return r;
      const bool complex = in.type() == PixelType::kComplex;
      const size_t elem = complex ? 4 : PixelSize(in.type());
      const int type = CvTypeOfSize(elem);
      for (int plane = 0; plane < (complex ? 2 : 1); ++plane) {
        const size_t offset = plane * static_cast<size_t>(in.num_pixels()) * elem;
        const cv::Mat src(h, w, type, const_cast<unsigned char*>(in.data()) + offset);
        cv::Mat dst(swap ? w : h, swap ? h : w, type, channels[i]->data() + offset);
        MirrorPlane(src, dst, mode);
      }
    }
    return db::NewImage(MirrorDomain(*image.domain, mode, w, h), std::move(channels), out);
  });
}

}  // namespace vexa

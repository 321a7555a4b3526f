// The frame shared by the neighbourhood filters (smoothing, rank filters,
// gray morphology): images as cv::Mat headers over their pixel buffers, the
// rectangle a filter computes, the border rule and bordered tiles.
//
// Domain rule. A result has the input's domain and only its pixels are
// computed; every pixel of the image, inside the domain or not, serves as a
// neighbour. Work is restricted to the bounding box of the domain (plus the
// filter's margin for reading), so a small domain costs little; result
// pixels outside the domain are 0.
//
// Border rule. Positions outside the image take the value of the mirrored
// position, the border pixel itself not repeated (... 2 1 | 0 1 2 ...,
// OpenCV's BORDER_REFLECT_101), repeatedly for masks larger than the image;
// a 1-pixel side repeats its pixel. Filters with a margin parameter may ask
// for cyclic continuation, the repeated border pixel or a constant.
#pragma once

#include <functional>
#include <initializer_list>

#include <opencv2/core.hpp>

#include "ops/common/op_objects.h"
#include "ops/common/pixel_dispatch.h"

namespace vexa {

// Largest mask side the filters accept.
constexpr int kMaxMaskSide = 511;

enum class BorderMode { kMirrored, kCyclic, kContinued, kConstant };
struct Border {
  BorderMode mode = BorderMode::kMirrored;
  double value = 0.0;  // for kConstant
};

// The position inside [0, n) that stands for position i; -1 for a
// constant border outside the line.
int BorderIndex(int i, int n, BorderMode mode);

// OpenCV depth of a pixel type; -1 for the types the filters do not take.
int CvDepthOf(PixelType type);
// Headers over a buffer (no copy).
cv::Mat MatOf(const PixelBuffer& buffer);
cv::Mat MatOf(PixelBuffer* buffer);

// Calls fn(PixelTag<...>{}) for the pixel type of OpenCV depth `depth`
// (one of CvDepthOf's results).
template <class Fn>
decltype(auto) DispatchDepth(int depth, Fn&& fn) {
  switch (depth) {
    case CV_8S: return fn(PixelTag<PixelType::kInt1>{});
    case CV_16S: return fn(PixelTag<PixelType::kInt2>{});
    case CV_16U: return fn(PixelTag<PixelType::kUInt2>{});
    case CV_32S: return fn(PixelTag<PixelType::kInt4>{});
    case CV_32F: return fn(PixelTag<PixelType::kReal>{});
    default: break;
  }
  return fn(PixelTag<PixelType::kByte>{});
}

// Bounding box of a domain (empty for an empty domain).
cv::Rect DomainRect(const Region& domain);
// `rect` grown by my rows and mx columns on each side, clipped to `size`.
cv::Rect GrowRect(const cv::Rect& rect, int my, int mx, const cv::Size& size);

// A copy of src(rect) with my rows above and below and mx columns left and
// right, filled from the image and, beyond it, by the border rule. Same
// type as src.
cv::Mat BorderedTile(const cv::Mat& src, const cv::Rect& rect, int my, int mx,
                     const Border& border);

// Zero for the pixels of dst(rect) outside the domain.
void ClearOutsideDomain(const Region& domain, const cv::Rect& rect, cv::Mat* dst);

// fn(), with an exhausted memory and OpenCV's failures as result codes.
Vresult Guarded(const std::function<Vresult()>& fn);

// Computes dst(rect) from src; both are whole images of one size.
using ChannelFilter =
    std::function<Vresult(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect)>;

// Result type for an input type; false refuses the type (VERR_PIXEL_TYPE).
using FilterTypeRule = bool (*)(PixelType in, PixelType* out);
// byte, int1, int2, uint2, int4 and real, kept as they are.
bool FilterableType(PixelType in, PixelType* out);
// The same types, result real.
bool FilterableToReal(PixelType in, PixelType* out);
// byte only, result real.
bool ByteToReal(PixelType in, PixelType* out);
// byte only, result byte.
bool ByteToByte(PixelType in, PixelType* out);

// Whether a filter writes every pixel of dst(rect). Then a result with a
// full domain is not cleared first, which saves a pass over the image.
enum class FilterWrites { kSome, kAll };

// A result image of `like`'s size with `channels` channels under `domain`:
// uncleared buffers when the filter writes every pixel (kAll) of a full
// domain, zeroed ones otherwise.
Vresult NewFilterResult(PixelType type, const PixelBuffer& like, int channels, RegionPtr domain,
                        FilterWrites writes, Vkey* key);

// One result per image of input object 1 into output object 1: same size,
// channel count and domain, type by `rule`, each channel through `filter`
// over the domain's bounding box. Failures of OpenCV become result codes.
Vresult FilterImages(OpContext& ctx, FilterTypeRule rule, const ChannelFilter& filter,
                     FilterWrites writes = FilterWrites::kSome);

// dst(rect) = second(first(src)), where `second` reads my rows and mx
// columns around each pixel under `border`: `first` is computed on that
// grown rectangle (the whole extent of an axis with margin for a cyclic
// border, whose neighbours wrap around).
Vresult ChainFilters(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect, int my,
                     int mx, const Border& border, const ChannelFilter& first,
                     const ChannelFilter& second);

// The true convolution over `rect` of src with `kernel` (CV_64F), whose
// pixel `origin` is the weight of displacement 0:
//   out(p) = sum over q of kernel(origin + q) src(p - q),
// computed in double (CV_64F, rect's size) over a tile bordered by
// `border`.
cv::Mat Convolved(const cv::Mat& src, const cv::Rect& rect, const cv::Mat& kernel,
                  cv::Point origin, const Border& border);
// The same stored rounded into dst(rect).
void ConvolveRect(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect, const cv::Mat& kernel,
                  cv::Point origin, const Border& border);

// Runs an OpenCV neighbourhood call op(in, out) for dst(rect) with the
// mirror border, the call reading up to my rows and mx columns around `in`.
// Depths OpenCV filters itself (8U, 16U, 16S, 32F) are filtered in place
// through headers; int1 and int4 go through a double tile and are rounded
// back.
Vresult RunCvFilter(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect, int my,
                    int mx, const std::function<void(const cv::Mat&, cv::Mat&)>& op);

// ---- Parameters --------------------------------------------------------

// A whole number (integer, or a real without fraction) in [lo, hi].
Vresult ReadInt(const OpContext& ctx, int par, long lo, long hi, int* v);
// A mask side from 1 to kMaxMaskSide; an even side grows to the next odd
// one, so that every mask has a centre pixel.
Vresult ReadMaskSide(const OpContext& ctx, int par, int* side);
// A finite real in [lo, hi].
Vresult ReadReal(const OpContext& ctx, int par, double lo, double hi, double* v);
// One of `names`: its position.
Vresult ReadChoice(const OpContext& ctx, int par, std::initializer_list<const char*> names,
                   int* index);
// "mirrored", "cyclic", "continued" or a gray value for a constant border.
Vresult ReadBorder(const OpContext& ctx, int par, Border* border);

}  // namespace vexa

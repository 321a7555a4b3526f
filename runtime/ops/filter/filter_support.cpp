#include "ops/filter/filter_support.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace vexa {

int BorderIndex(int i, int n, BorderMode mode) {
  if (i >= 0 && i < n) return i;
  switch (mode) {
    case BorderMode::kMirrored: {
      if (n == 1) return 0;
      const int period = 2 * n - 2;
      int k = i % period;
      if (k < 0) k += period;
      return k < n ? k : period - k;
    }
    case BorderMode::kCyclic: {
      const int k = i % n;
      return k < 0 ? k + n : k;
    }
    case BorderMode::kContinued:
      return i < 0 ? 0 : n - 1;
    case BorderMode::kConstant:
      break;
  }
  return -1;
}

int CvDepthOf(PixelType type) {
  switch (type) {
    case PixelType::kByte: return CV_8U;
    case PixelType::kInt1: return CV_8S;
    case PixelType::kInt2: return CV_16S;
    case PixelType::kUInt2: return CV_16U;
    case PixelType::kInt4: return CV_32S;
    case PixelType::kReal: return CV_32F;
    default: return -1;
  }
}

cv::Mat MatOf(const PixelBuffer& buffer) {
  return cv::Mat(buffer.height(), buffer.width(), CvDepthOf(buffer.type()),
                 const_cast<unsigned char*>(buffer.data()));
}

cv::Mat MatOf(PixelBuffer* buffer) {
  return cv::Mat(buffer->height(), buffer->width(), CvDepthOf(buffer->type()),
                 buffer->data());
}

cv::Rect DomainRect(const Region& domain) {
  int32_t r1, c1, r2, c2;
  if (!domain.BoundingBox(&r1, &c1, &r2, &c2)) return cv::Rect();
  return cv::Rect(c1, r1, c2 - c1 + 1, r2 - r1 + 1);
}

cv::Rect GrowRect(const cv::Rect& rect, int my, int mx, const cv::Size& size) {
  return cv::Rect(rect.x - mx, rect.y - my, rect.width + 2 * mx, rect.height + 2 * my) &
         cv::Rect(0, 0, size.width, size.height);
}

cv::Mat BorderedTile(const cv::Mat& src, const cv::Rect& rect, int my, int mx,
                     const Border& border) {
  const int tw = rect.width + 2 * mx, th = rect.height + 2 * my;
  cv::Mat tile(th, tw, src.type());
  const size_t es = src.elemSize();
  // The constant in the image's type (rounded, saturated).
  cv::Mat fill(1, 1, src.type());
  fill.setTo(cv::Scalar(border.value));
  // Source column of every tile column; the columns inside the image form
  // one block that is copied at once.
  std::vector<int> col(static_cast<size_t>(tw));
  for (int x = 0; x < tw; ++x) col[x] = BorderIndex(rect.x - mx + x, src.cols, border.mode);
  const int inner0 = std::max(0, mx - rect.x);
  const int inner1 = std::min(tw, src.cols - rect.x + mx);
  for (int y = 0; y < th; ++y) {
    unsigned char* out = tile.ptr(y);
    const int sr = BorderIndex(rect.y - my + y, src.rows, border.mode);
    if (sr < 0) {
      for (int x = 0; x < tw; ++x) std::memcpy(out + x * es, fill.data, es);
      continue;
    }
    const unsigned char* in = src.ptr(sr);
    for (int x = 0; x < tw; ++x) {
      if (x == inner0 && inner1 > inner0) {
        std::memcpy(out + x * es, in + col[x] * es, (inner1 - inner0) * es);
        x = inner1 - 1;
        continue;
      }
      std::memcpy(out + x * es, col[x] < 0 ? fill.data : in + col[x] * es, es);
    }
  }
  return tile;
}

void ClearOutsideDomain(const Region& domain, const cv::Rect& rect, cv::Mat* dst) {
  if (rect.empty()) return;
  const size_t es = dst->elemSize();
  // Each row of the rectangle, with `next` the first column not yet known
  // to be inside the domain.
  int row = rect.y, next = rect.x;
  auto clear = [&](int r, int c0, int c1) {
    if (c1 > c0) std::memset(dst->ptr(r) + c0 * es, 0, (c1 - c0) * es);
  };
  for (const Chord& ch : domain.chords()) {
    for (; row < ch.r; ++row, next = rect.x) clear(row, next, rect.x + rect.width);
    clear(row, next, ch.cb);
    next = ch.ce + 1;
  }
  for (; row < rect.y + rect.height; ++row, next = rect.x)
    clear(row, next, rect.x + rect.width);
}

bool FilterableType(PixelType in, PixelType* out) {
  *out = in;
  return CvDepthOf(in) >= 0;
}

bool FilterableToReal(PixelType in, PixelType* out) {
  *out = PixelType::kReal;
  return CvDepthOf(in) >= 0;
}

bool ByteToReal(PixelType in, PixelType* out) {
  *out = PixelType::kReal;
  return in == PixelType::kByte;
}

bool ByteToByte(PixelType in, PixelType* out) {
  *out = PixelType::kByte;
  return in == PixelType::kByte;
}

Vresult Guarded(const std::function<Vresult()>& fn) {
  try {
    return fn();
  } catch (const std::bad_alloc&) {
    return VERR_OUT_OF_MEMORY;
  } catch (const cv::Exception& e) {
    return e.code == cv::Error::StsNoMem ? VERR_OUT_OF_MEMORY : VERR_INTERNAL;
  }
}

Vresult NewFilterResult(PixelType type, const PixelBuffer& like, int channels, RegionPtr domain,
                        FilterWrites writes, Vkey* key) {
  if (writes == FilterWrites::kSome || domain->area() != like.num_pixels())
    return db::NewBlankImage(type, like.width(), like.height(), channels, std::move(domain), key);
  std::vector<std::unique_ptr<PixelBuffer>> buffers(static_cast<size_t>(channels));
  for (auto& b : buffers) {
    const Vresult rc = PixelBuffer::CreateUncleared(type, like.width(), like.height(), &b);
    if (rc != VRESULT_OK) return rc;
  }
  return db::NewImage(std::move(domain), std::move(buffers), key);
}

Vresult FilterImages(OpContext& ctx, FilterTypeRule rule, const ChannelFilter& filter,
                     FilterWrites writes) {
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData in;
    Vresult r = InpImage(1, key, &in);
    if (r != VRESULT_OK) return r;
    const PixelBuffer& first = *in.channels[0];
    PixelType type;
    if (!rule(first.type(), &type)) return VERR_PIXEL_TYPE;
    Vkey made = VKEY_UNDEF;
    r = NewFilterResult(type, first, static_cast<int>(in.channels.size()), in.domain, writes, &made);
    if (r != VRESULT_OK) return r;
    out.Add(made);
    const cv::Rect rect = DomainRect(*in.domain);
    for (size_t ch = 0; ch < in.channels.size() && !rect.empty(); ++ch) {
      PixelBuffer* buffer = nullptr;
      r = db::WritableChannel(made, static_cast<int>(ch), &buffer);
      if (r != VRESULT_OK) return r;
      cv::Mat dst = MatOf(buffer);
      r = Guarded([&] { return filter(MatOf(*in.channels[ch]), dst, rect); });
      if (r != VRESULT_OK) return r;
      ClearOutsideDomain(*in.domain, rect, &dst);
    }
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

Vresult ChainFilters(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect, int my,
                     int mx, const Border& border, const ChannelFilter& first,
                     const ChannelFilter& second) {
  cv::Rect grown = GrowRect(rect, my, mx, src.size());
  if (border.mode == BorderMode::kCyclic) {
    if (my > 0) grown = cv::Rect(grown.x, 0, grown.width, src.rows);
    if (mx > 0) grown = cv::Rect(0, grown.y, src.cols, grown.height);
  }
  cv::Mat between(src.size(), src.type());
  const Vresult rc = first(src, between, grown);
  return rc == VRESULT_OK ? second(between, dst, rect) : rc;
}

Vresult RunCvFilter(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect, int my,
                    int mx, const std::function<void(const cv::Mat&, cv::Mat&)>& op) {
  const int depth = src.depth();
  if (depth == CV_8U || depth == CV_16U || depth == CV_16S || depth == CV_32F) {
    cv::Mat out = dst(rect);
    op(src(rect), out);
    return VRESULT_OK;
  }
  cv::Mat tile;
  BorderedTile(src, rect, my, mx, Border{}).convertTo(tile, CV_64F);
  cv::Mat result(rect.size(), CV_64F);
  op(tile(cv::Rect(mx, my, rect.width, rect.height)), result);
  cv::Mat out = dst(rect);
  result.convertTo(out, dst.type());
  return VRESULT_OK;
}

// ---- Parameters --------------------------------------------------------

Vresult ReadInt(const OpContext& ctx, int par, long lo, long hi, int* v) {
  double d = 0.0;
  const Vresult rc = ctx.GetDouble(par, &d);
  if (rc != VRESULT_OK) return rc;
  if (!(d >= static_cast<double>(lo) && d <= static_cast<double>(hi)) || d != std::floor(d))
    return VERR_CTRL_VALUE(par);
  *v = static_cast<int>(d);
  return VRESULT_OK;
}

Vresult ReadMaskSide(const OpContext& ctx, int par, int* side) {
  const Vresult rc = ReadInt(ctx, par, 1, kMaxMaskSide, side);
  if (rc == VRESULT_OK && *side % 2 == 0) ++*side;
  return rc;
}

Vresult ReadReal(const OpContext& ctx, int par, double lo, double hi, double* v) {
  const Vresult rc = ctx.GetDouble(par, v);
  if (rc != VRESULT_OK) return rc;
  return *v >= lo && *v <= hi ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

Vresult ReadChoice(const OpContext& ctx, int par, std::initializer_list<const char*> names,
                   int* index) {
  const char* s = nullptr;
  const Vresult rc = ctx.GetString(par, &s);
  if (rc != VRESULT_OK) return rc;
  int k = 0;
  for (const char* name : names) {
    if (std::strcmp(s, name) == 0) {
      *index = k;
      return VRESULT_OK;
    }
    ++k;
  }
  return VERR_CTRL_VALUE(par);
}

Vresult ReadBorder(const OpContext& ctx, int par, Border* border) {
  if (ctx.CtrlNum(par) != 1) return VERR_CTRL_NUM(par);
  if (ctx.CtrlElem(par, 0).type == VPAR_STRING) {
    int mode = 0;
    const Vresult rc = ReadChoice(ctx, par, {"mirrored", "cyclic", "continued"}, &mode);
    border->mode = static_cast<BorderMode>(mode);
    return rc;
  }
  border->mode = BorderMode::kConstant;
  const double big = 1e30;
  return ReadReal(ctx, par, -big, big, &border->value);
}

cv::Mat Convolved(const cv::Mat& src, const cv::Rect& rect, const cv::Mat& kernel,
                  cv::Point origin, const Border& border) {
  // filter2D correlates: with the kernel turned by 180 degrees and its
  // anchor mirrored, it convolves. src(p - q) reaches origin.y rows up and
  // kernel.rows - 1 - origin.y rows down, and the same for columns.
  const int my = std::max(origin.y, kernel.rows - 1 - origin.y);
  const int mx = std::max(origin.x, kernel.cols - 1 - origin.x);
  cv::Mat flipped, tile, sum;
  cv::flip(kernel, flipped, -1);
  BorderedTile(src, rect, my, mx, border).convertTo(tile, CV_64F);
  cv::filter2D(tile, sum, CV_64F, flipped,
               cv::Point(kernel.cols - 1 - origin.x, kernel.rows - 1 - origin.y));
  return sum(cv::Rect(mx, my, rect.width, rect.height));
}

void ConvolveRect(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect, const cv::Mat& kernel,
                  cv::Point origin, const Border& border) {
  cv::Mat out = dst(rect);
  Convolved(src, rect, kernel, origin, border).convertTo(out, dst.type());
}

}  // namespace vexa

// Texture and salt-and-pepper filters: texture_laws, mean_sp,
// eliminate_sp. Neighbours beyond the image follow the mirror border rule
// of filter_support.h; results keep the input's domain and type.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr int kBorder = cv::BORDER_REFLECT_101;

// Laws' one-dimensional texture vectors: level, edge, spot, wave, ripple
// and (for 7) oscillation, of length 3, 5 or 7. False for a letter the
// length has no vector for.
bool LawsVector(char letter, int size, cv::Mat* v) {
  static const struct {
    char letter;
    int size;
    std::vector<double> weights;
  } kVectors[] = {
      {'l', 3, {1, 2, 1}},
      {'e', 3, {-1, 0, 1}},
      {'s', 3, {-1, 2, -1}},
      {'l', 5, {1, 4, 6, 4, 1}},
      {'e', 5, {-1, -2, 0, 2, 1}},
      {'s', 5, {-1, 0, 2, 0, -1}},
      {'w', 5, {-1, 2, 0, -2, 1}},
      {'r', 5, {1, -4, 6, -4, 1}},
      {'l', 7, {1, 6, 15, 20, 15, 6, 1}},
      {'e', 7, {-1, -4, -5, 0, 5, 4, 1}},
      {'s', 7, {-1, -2, 1, 4, 1, -2, -1}},
      {'w', 7, {-1, 0, 3, 0, -3, 0, 1}},
      {'r', 7, {1, -2, -1, 4, -1, -2, 1}},
      {'o', 7, {-1, 6, -15, 20, -15, 6, -1}},
  };
  for (const auto& k : kVectors)
    if (k.letter == letter && k.size == size) {
      *v = cv::Mat(k.weights, true);
      return true;
    }
  return false;
}

// byte, int2 and uint2, kept.
bool TextureType(PixelType in, PixelType* out) {
  *out = in;
  return in == PixelType::kByte || in == PixelType::kInt2 || in == PixelType::kUInt2;
}

// The mask size and the thresholds of mean_sp and eliminate_sp: mask
// width and height (odd, see ReadMaskSide) and the range [min, max] of the
// gray values that count as good.
struct SpParams {
  int w = 0, h = 0, lo = 0, hi = 0;
};

Vresult ReadSpParams(const OpContext& ctx, SpParams* p) {
  Vresult rc = ReadMaskSide(ctx, 0, &p->w);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, 1, &p->h);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 2, 0, 65535, &p->lo);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 3, p->lo, 65535, &p->hi);
  return rc;
}

// For each pixel of dst(rect) whose own value `replace_all` or falls
// outside [lo, hi]: value(good) of the values in [lo, hi] within the mask
// around it (mirror border), or the pixel unchanged when there are none.
// byte and uint2 images.
template <class Value>
Vresult SpFilter(OpContext& ctx, bool replace_all, Value&& value) {
  SpParams p;
  const Vresult rc = ReadSpParams(ctx, &p);
  if (rc != VRESULT_OK) return rc;
  const auto rule = [](PixelType in, PixelType* out) {
    *out = in;
    return in == PixelType::kByte || in == PixelType::kUInt2;
  };
  return FilterImages(ctx, rule, [&](const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect) {
    const int my = p.h / 2, mx = p.w / 2;
    cv::Mat tile;
    BorderedTile(src, rect, my, mx, Border{}).convertTo(tile, CV_32S);
    std::vector<int> good;
    for (int r = 0; r < rect.height; ++r)
      for (int c = 0; c < rect.width; ++c) {
        const int own = tile.at<int>(r + my, c + mx);
        double v = own;
        if (replace_all || own < p.lo || own > p.hi) {
          good.clear();
          for (int y = r; y < r + p.h; ++y)
            for (int x = c; x < c + p.w; ++x) {
              const int g = tile.at<int>(y, x);
              if (g >= p.lo && g <= p.hi) good.push_back(g);
            }
          if (!good.empty()) v = value(good);
        }
        v = std::round(v);  // halves away from zero, as stored results are
        if (dst.depth() == CV_8U)
          dst.at<uint8_t>(rect.y + r, rect.x + c) = cv::saturate_cast<uint8_t>(v);
        else
          dst.at<uint16_t>(rect.y + r, rect.x + c) = cv::saturate_cast<uint16_t>(v);
      }
    return VRESULT_OK;
  }, FilterWrites::kAll);
}

}  // namespace

// Texture energy: the image filtered with the mask v1^T v2 of Laws'
// vectors named by the two letters of filter_types (v1 along the columns,
// v2 along the rows; "l", "e", "s" for size 3, also "w", "r" for 5 and "o"
// for 7), the absolute response divided by 2^shift, rounded and clipped
// to the type.
VEXA_OPERATOR(texture_laws) {
  const char* types = nullptr;
  int shift = 0, size = 0;
  Vresult rc = ctx.GetString(0, &types);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 1, 0, 31, &shift);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 2, 3, 7, &size);
  if (rc != VRESULT_OK) return rc;
  if (size % 2 == 0) return VERR_CTRL_VALUE(2);
  cv::Mat ky, kx;
  if (std::strlen(types) != 2 || !LawsVector(types[0], size, &ky) || !LawsVector(types[1], size, &kx))
    return VERR_CTRL_VALUE(0);
  const double scale = 1.0 / std::ldexp(1.0, shift);
  return FilterImages(ctx, TextureType, [&](const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect) {
    return RunCvFilter(src, dst, rect, size / 2, size / 2, [&](const cv::Mat& in, cv::Mat& out) {
      cv::Mat response;
      cv::sepFilter2D(in, response, CV_32F, kx, ky, cv::Point(-1, -1), 0, kBorder);
      // Rounded half away from zero, as every stored result is (OpenCV's
      // conversion would round halves to even).
      DispatchDepth(out.depth(), [&](auto tag) {
        using T = typename decltype(tag)::Value;
        for (int r = 0; r < out.rows; ++r)
          for (int c = 0; c < out.cols; ++c)
            out.at<T>(r, c) = cv::saturate_cast<T>(std::floor(std::fabs(response.at<float>(r, c)) * scale + 0.5));
      });
    });
  }, FilterWrites::kAll);
}

// Each pixel becomes the mean of the values in [min_thresh, max_thresh]
// within its mask (rounded); with none there it keeps its value.
VEXA_OPERATOR(mean_sp) {
  return SpFilter(ctx, true, [](const std::vector<int>& good) {
    double sum = 0;
    for (int g : good) sum += g;
    return sum / static_cast<double>(good.size());
  });
}

// Pixels outside [min_thresh, max_thresh] (salt and pepper) become the
// median of the values in the range within their mask (the lower middle
// one of an even count); others, and those without such neighbours, keep
// their value.
VEXA_OPERATOR(eliminate_sp) {
  return SpFilter(ctx, false, [](std::vector<int>& good) {
    const auto mid = good.begin() + static_cast<std::ptrdiff_t>((good.size() - 1) / 2);
    std::nth_element(good.begin(), mid, good.end());
    return static_cast<double>(*mid);
  });
}

}  // namespace vexa

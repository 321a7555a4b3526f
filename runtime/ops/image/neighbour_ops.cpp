// Operators that look at each pixel's neighbours: monotony, zero_crossing,
// fill_interlace, expand_domain_gray and gray_inside.
#include <algorithm>
#include <cstring>
#include <vector>

#include "image_op_util.h"
#include "ops/common/domain_scan.h"
#include "ops/common/pixel_dispatch.h"
#include "ops/image/image_map.h"
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

// The eight neighbour offsets, row then column.
constexpr int kSteps[8][2] = {{-1, -1}, {-1, 0}, {-1, 1}, {0, -1}, {0, 1}, {1, -1}, {1, 0}, {1, 1}};

// One result per image of input 1 (complex images refused): private copies
// of its channels, which change(image, &channels, &domain) changes, under
// the domain it leaves (the input's to begin with).
template <class Change>
Vresult ChangeCopies(OpContext& ctx, Change&& change) {
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult e = InpImage(1, key, &image);
    if (e != VRESULT_OK) return e;
    if (image.channels[0]->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
    Channels channels;
    if ((e = CloneChannels(image, &channels)) != VRESULT_OK) return e;
    RegionPtr domain = image.domain;
    if ((e = change(image, &channels, &domain)) != VRESULT_OK) return e;
    Vkey made = VKEY_UNDEF;
    e = db::NewImage(std::move(domain), std::move(channels), &made);
    if (e == VRESULT_OK) out.Add(made);
    return e;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace

// A byte image: for each domain pixel, how many of its eight neighbours
// (those inside the image) hold a smaller gray value; 0 outside the domain.
VEXA_OPERATOR(monotony) {
  const auto to_byte = [](PixelType in, PixelType* out) {
    *out = PixelType::kByte;
    return in != PixelType::kComplex;
  };
  return MapImages(ctx, to_byte, [](const PixelBuffer& in, PixelBuffer* out, const DomainScan& scan) {
    const int32_t w = in.width(), h = in.height();
    DispatchPixelType(in.type(), [&](auto tag) {
      const auto* px = PixelsOf(in, tag);
      uint8_t* dst = out->data();
      scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t o) {
        for (int32_t c = cb; c <= ce; ++c) {
          const auto v = px[o + static_cast<size_t>(c - cb)];
          uint8_t n = 0;
          for (const auto& s : kSteps) {
            const int32_t y = r + s[0], x = c + s[1];
            if (y >= 0 && y < h && x >= 0 && x < w && px[scan.Offset(y, x)] < v) ++n;
          }
          dst[o + static_cast<size_t>(c - cb)] = n;
        }
      });
    });
    return VRESULT_OK;
  });
}

// Where a signed image changes sign: its domain pixels of value 0, and
// those above 0 with a side neighbour in the domain below 0 (the positive
// side of each crossing, so a crossing between two pixels is marked once).
// One region per image.
VEXA_OPERATOR(zero_crossing) {
  std::vector<RegionPtr> out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    const PixelBuffer& in = *image.channels[0];
    if (in.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
    const DomainScan scan = DomainScan::Of(image);
    const Region& domain = *scan.domain();
    std::vector<Chord> marked;
    DispatchPixelType(in.type(), [&](auto tag) {
      const auto* px = PixelsOf(in, tag);
      const auto negative = [&](int32_t y, int32_t x) {
        return y >= 0 && y < in.height() && x >= 0 && x < in.width() && domain.Contains(y, x) &&
               static_cast<double>(px[scan.Offset(y, x)]) < 0;
      };
      scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t o) {
        for (int32_t c = cb; c <= ce; ++c) {
          const double v = static_cast<double>(px[o + static_cast<size_t>(c - cb)]);
          if (v == 0 || (v > 0 && (negative(r - 1, c) || negative(r + 1, c) || negative(r, c - 1) ||
                                   negative(r, c + 1))))
            marked.push_back({r, c, c});
        }
      });
    });
    out.push_back(Region::FromChords(std::move(marked)));
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? OutRegions(ctx, 1, out) : rc;
}

// Removes the interlacing of a camera frame: with "odd" the odd rows (1,
// 3, ...) are kept and each even row becomes the mean of its neighbours,
// with "even" the reverse; a row with one neighbour copies it. The whole
// image is computed; the domain is kept.
VEXA_OPERATOR(fill_interlace) {
  const char* mode = nullptr;
  const Vresult rc = ctx.GetString(0, &mode);
  if (rc != VRESULT_OK) return rc;
  const bool odd = std::strcmp(mode, "odd") == 0;
  if (!odd && std::strcmp(mode, "even") != 0) return VERR_CTRL_VALUE(0);
  const int kept = odd ? 1 : 0;
  return ChangeCopies(ctx, [&](const db::ImageData& image, Channels* channels, RegionPtr*) {
    if (image.channels[0]->height() < 2) return VERR_IMAGE_SIZE;
    for (auto& ch : *channels) {
      const int32_t w = ch->width(), h = ch->height();
      DispatchPixelType(ch->type(), [&](auto tag) {
        auto* px = PixelsOf(ch.get(), tag);
        for (int32_t row = 1 - kept; row < h; row += 2) {
          const int32_t above = row - 1 >= 0 ? row - 1 : row + 1;
          const int32_t below = row + 1 < h ? row + 1 : row - 1;
          for (int32_t c = 0; c < w; ++c) {
            const double mean = (static_cast<double>(px[static_cast<size_t>(above) * w + c]) +
                                 static_cast<double>(px[static_cast<size_t>(below) * w + c])) / 2;
            px[static_cast<size_t>(row) * w + c] = StorePixel<decltype(tag)::kType>(mean);
          }
        }
      });
    }
    return VRESULT_OK;
  });
}

// Grows the domain by `expansion_range` rings of pixels (8-neighbourhood,
// within the image; 0: until the image is full), each new pixel taking the
// mean of its neighbours in the domain grown so far, rounded to the type.
// The pixels of the domain keep their values.
VEXA_OPERATOR(expand_domain_gray) {
  Vlong range = 0;
  const Vresult rc = ctx.GetLong(0, &range);
  if (rc != VRESULT_OK) return rc;
  if (range < 0) return VERR_CTRL_VALUE(0);
  return ChangeCopies(ctx, [&](const db::ImageData& image, Channels* copies, RegionPtr* domain) {
    Channels& channels = *copies;
    const int32_t w = image.channels[0]->width(), h = image.channels[0]->height();
    std::vector<uint8_t> inside(static_cast<size_t>(w) * h, 0);
    for (const Chord& ch : image.domain->chords())
      std::fill_n(inside.begin() + static_cast<std::ptrdiff_t>(ch.r) * w + ch.cb, ch.ce - ch.cb + 1, 1);
    // Breadth first: each ring is the pixels outside next to the last one
    // (the first ring next to the domain itself).
    std::vector<size_t> layer, ring;
    std::vector<uint8_t> queued = inside;
    for (const Chord& ch : image.domain->chords())
      for (int32_t c = ch.cb; c <= ch.ce; ++c) layer.push_back(static_cast<size_t>(ch.r) * w + c);
    std::vector<double> sums(channels.size());
    for (Vlong step = 0; range == 0 || step < range; ++step) {
      ring.clear();
      for (size_t at : layer) {
        const auto y = static_cast<int32_t>(at / w), x = static_cast<int32_t>(at % w);
        for (const auto& s : kSteps) {
          const int32_t ny = y + s[0], nx = x + s[1];
          if (ny < 0 || ny >= h || nx < 0 || nx >= w) continue;
          const size_t n = static_cast<size_t>(ny) * w + nx;
          if (!queued[n]) queued[n] = 1, ring.push_back(n);
        }
      }
      if (ring.empty()) break;
      // Means from the domain before this ring, so that the ring's order
      // does not matter.
      std::vector<std::vector<double>> values(channels.size(), std::vector<double>(ring.size()));
      for (size_t k = 0; k < ring.size(); ++k) {
        const auto y = static_cast<int32_t>(ring[k] / w), x = static_cast<int32_t>(ring[k] % w);
        double n = 0;
        std::fill(sums.begin(), sums.end(), 0.0);
        for (const auto& s : kSteps) {
          const int32_t ny = y + s[0], nx = x + s[1];
          if (ny < 0 || ny >= h || nx < 0 || nx >= w || !inside[static_cast<size_t>(ny) * w + nx]) continue;
          n += 1;
          for (size_t c = 0; c < channels.size(); ++c) sums[c] += channels[c]->Get(ny, nx);
        }
        for (size_t c = 0; c < channels.size(); ++c) values[c][k] = sums[c] / n;
      }
      for (size_t c = 0; c < channels.size(); ++c)
        DispatchPixelType(channels[c]->type(), [&](auto tag) {
          auto* px = PixelsOf(channels[c].get(), tag);
          for (size_t k = 0; k < ring.size(); ++k) px[ring[k]] = StorePixel<decltype(tag)::kType>(values[c][k]);
        });
      for (size_t at : ring) inside[at] = 1;
      layer.swap(ring);
    }
    std::vector<Chord> grown;
    for (int32_t y = 0; y < h; ++y)
      for (int32_t x = 0; x < w;) {
        while (x < w && !inside[static_cast<size_t>(y) * w + x]) ++x;
        const int32_t start = x;
        while (x < w && inside[static_cast<size_t>(y) * w + x]) ++x;
        if (x > start) grown.push_back({y, start, x - 1});
      }
    *domain = Region::FromCanonicalChords(std::move(grown));
    return VRESULT_OK;
  });
}

// How far inside a byte image each pixel lies: the least sum of gray
// values over a path of 8-neighbours from the image border to the pixel,
// both ends included (border pixels cost their own value). Bright walls
// make the pixels they enclose expensive to reach. An int4 image; only
// the domain is written, but paths run through the whole image. Dial's
// algorithm: the costs are whole numbers and a step adds at most 255, so
// 256 buckets taken round in order hold every pixel whose cost is settled
// next.
VEXA_OPERATOR(gray_inside) {
  const auto to_int4 = [](PixelType in, PixelType* out) {
    *out = PixelType::kInt4;
    return in == PixelType::kByte;
  };
  return MapImages(ctx, to_int4, [](const PixelBuffer& in, PixelBuffer* out, const DomainScan& scan) {
    const int32_t w = in.width(), h = in.height();
    const uint8_t* g = in.data();
    constexpr int64_t kUnset = -1;
    std::vector<int64_t> cost(static_cast<size_t>(w) * h, kUnset);
    std::vector<std::vector<uint32_t>> buckets(256);
    const auto offer = [&](size_t k, int64_t c) {
      if (cost[k] != kUnset && cost[k] <= c) return;
      cost[k] = c;
      buckets[static_cast<size_t>(c & 255)].push_back(static_cast<uint32_t>(k));
    };
    for (int32_t r = 0; r < h; ++r)
      for (int32_t c = 0; c < w; ++c)
        if (r == 0 || c == 0 || r == h - 1 || c == w - 1) offer(static_cast<size_t>(r) * w + c, g[static_cast<size_t>(r) * w + c]);
    size_t pending = 0;
    for (const auto& b : buckets) pending += b.size();
    std::vector<uint32_t> now;
    for (int64_t level = 0; pending > 0; ++level) {
      // Steps onto pixels of value 0 land in this very bucket again.
      std::vector<uint32_t>& bucket = buckets[static_cast<size_t>(level & 255)];
      while (!bucket.empty()) {
        now.swap(bucket);
        pending -= now.size();
        for (uint32_t k : now) {
          if (cost[k] != level) continue;  // settled cheaper already
          const auto r = static_cast<int32_t>(k / w), c = static_cast<int32_t>(k % w);
          for (const auto& st : kSteps) {
            const int32_t y = r + st[0], x = c + st[1];
            if (y < 0 || y >= h || x < 0 || x >= w) continue;
            const size_t n = static_cast<size_t>(y) * w + x;
            const int64_t through = level + g[n];
            if (cost[n] == kUnset || through < cost[n]) {
              offer(n, through);
              ++pending;
            }
          }
        }
        now.clear();
      }
    }
    auto* dst = reinterpret_cast<int32_t*>(out->data());
    scan.ForEachRun([&](size_t o, size_t n) {
      for (size_t k = o; k < o + n; ++k) dst[k] = static_cast<int32_t>(cost[k]);
    });
    return VRESULT_OK;
  });
}

}  // namespace vexa

// Gabor filtering in the frequency domain: convol_gabor applies a filter of
// gen_gabor to spectra, giving the spectra of the even (cosine) and odd
// (sine, the Hilbert transform of the even) responses; energy_gabor adds
// the squares of the two responses back in the spatial domain, the local
// energy of the band that is independent of the wave's phase.
#include <vector>

#include "ops/edges/edge_support.h"
#include "ops/fft/spectrum.h"
#include "ops/image/image_op_util.h"
#include "registry.h"

namespace vexa {

// convol_gabor: with the signed filter h of gen_gabor, the even response is
// F |h| and the odd one F (-i h): together the analytic response of the
// one-sided lobe, split into its real and imaginary parts.
VEXA_OPERATOR(convol_gabor) {
  Vkey filter_key = VKEY_UNDEF;
  Vresult rc = ctx.InpObjSingle(2, &filter_key);
  db::ImageData filter;
  if (rc == VRESULT_OK) rc = InpImage(2, filter_key, &filter);
  if (rc != VRESULT_OK) return rc;
  if (filter.channels[0]->type() != PixelType::kReal) return VERR_PIXEL_TYPE;
  const cv::Mat h = ComplexPixels(*filter.channels[0]);
  NewKeys even, odd;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    const PixelBuffer& in = *image.channels[0];
    if (in.type() != PixelType::kComplex) return VERR_PIXEL_TYPE;
    if (!SameSize(in, *filter.channels[0])) return VERR_IMAGE_SIZE;
    const cv::Mat f = ComplexPixels(in);
    cv::Mat e(f.size(), CV_64FC2), o(f.size(), CV_64FC2);
    for (int y = 0; y < f.rows; ++y)
      for (int x = 0; x < f.cols; ++x) {
        const cv::Vec2d z = f.at<cv::Vec2d>(y, x);
        const double g = h.at<cv::Vec2d>(y, x)[0];
        e.at<cv::Vec2d>(y, x) = z * std::fabs(g);
        o.at<cv::Vec2d>(y, x) = cv::Vec2d(z[1] * g, -z[0] * g);
      }
    Vkey ke = VKEY_UNDEF, ko = VKEY_UNDEF;
    r = NewComplexImage(e, &ke);
    if (r != VRESULT_OK) return r;
    even.Add(ke);
    r = NewComplexImage(o, &ko);
    if (r == VRESULT_OK) odd.Add(ko);
    return r;
  });
  if (rc == VRESULT_OK) rc = even.HandOver(ctx, 1);
  if (rc == VRESULT_OK) rc = odd.HandOver(ctx, 2);
  return rc;
}

// energy_gabor: even^2 + odd^2 per pixel of the images' common domain, as
// a real image; the i-th image of each input go together, channel by
// channel.
VEXA_OPERATOR(energy_gabor) {
  NewKeys out;
  const Vresult rc = ZipImages(ctx, {1, 2}, [&](Vlong, const std::vector<Vkey>&,
                                              const std::vector<db::ImageData>& images) {
    const db::ImageData &a = images[0], &b = images[1];
    const PixelBuffer& first = *a.channels[0];
    if (!SameSize(first, *b.channels[0])) return VERR_IMAGE_SIZE;
    if (a.channels.size() != b.channels.size()) return VERR_CHANNEL;
    for (size_t ch = 0; ch < a.channels.size(); ++ch)
      if (!IsGrayType(a.channels[ch]->type()) || !IsGrayType(b.channels[ch]->type()))
        return VERR_PIXEL_TYPE;
    const RegionPtr domain = CommonDomain(images);
    Vkey key = VKEY_UNDEF;
    Vresult r = db::NewBlankImage(PixelType::kReal, first.width(), first.height(),
                                  static_cast<int>(a.channels.size()), domain, &key);
    if (r != VRESULT_OK) return r;
    out.Add(key);
    const FilterArea area{*domain, BoxOf(*domain)};
    if (area.box.empty()) return VRESULT_OK;
    for (size_t ch = 0; ch < a.channels.size(); ++ch) {
      PixelBuffer* px = nullptr;
      r = db::WritableChannel(key, static_cast<int>(ch), &px);
      if (r != VRESULT_OK) return r;
      const cv::Mat ea = SourceFor(*a.channels[ch], area.box, 0, CV_64F).Roi();
      const cv::Mat ob = SourceFor(*b.channels[ch], area.box, 0, CV_64F).Roi();
      StorePairInDomain<double>(ea, ob, area, px, [](double e, double o) { return e * e + o * o; });
    }
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa

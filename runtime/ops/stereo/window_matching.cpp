#include "ops/stereo/window_matching.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/common/cv_wrap.h"
#include "ops/filter/filter_support.h"

namespace vexa {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kMaxRange = 4096;

using Params = MatchParams;
using Method = MatchMethod;

// Window means of `m` (CV_64F).
cv::Mat WindowMean(const cv::Mat& m, const Params& p) {
  cv::Mat mean;
  cv::boxFilter(m, mean, CV_64F, cv::Size(p.mask_w, p.mask_h), cv::Point(-1, -1), true,
                cv::BORDER_REFLECT_101);
  return mean;
}

// image2 moved left by d columns (column c holds image2's c + d), 0 where
// that column lies outside image2.
cv::Mat Shifted(const cv::Mat& image2, int d) {
  cv::Mat out(image2.size(), CV_64F, cv::Scalar(0));
  const int from = std::max(0, -d), to = std::min(image2.cols, image2.cols - d);
  if (from < to) image2.colRange(from + d, to + d).copyTo(out.colRange(from, to));
  return out;
}

// The cost of disparity d at every pixel (lower is better; NaN where the
// window leaves image2 or the correlation is undefined).
class Costs {
 public:
  Costs(const cv::Mat& a, const cv::Mat& b, const Params& p) : a_(a), b_(b), p_(p) {
    if (p.method == Method::kNcc) {
      mean_a_ = WindowMean(a, p);
      var_a_ = WindowMean(a.mul(a), p) - mean_a_.mul(mean_a_);
    }
  }
  cv::Mat At(int d) const {
    cv::Mat cost = Raw(d);
    // Columns whose window in image2 would leave it.
    const int hw = p_.mask_w / 2;
    const int first = std::clamp(hw - d, 0, cost.cols);
    const int last = std::clamp(cost.cols - hw - d, first, cost.cols);
    cost.colRange(0, first).setTo(kNaN);
    cost.colRange(last, cost.cols).setTo(kNaN);
    return cost;
  }
  // The score that a cost stands for.
  double Score(double cost) const { return p_.method == Method::kNcc ? -cost : cost; }

 private:
  cv::Mat Raw(int d) const {
    const cv::Mat b = Shifted(b_, d);
    if (p_.method == Method::kSad) return WindowMean(cv::abs(a_ - b), p_);
    if (p_.method == Method::kSsd) {
      const cv::Mat diff = a_ - b;
      return WindowMean(diff.mul(diff), p_);
    }
    const cv::Mat mean_b = WindowMean(b, p_);
    const cv::Mat var_b = WindowMean(b.mul(b), p_) - mean_b.mul(mean_b);
    const cv::Mat cov = WindowMean(a_.mul(b), p_) - mean_a_.mul(mean_b);
    cv::Mat cost(a_.size(), CV_64F);
    for (int r = 0; r < cost.rows; ++r)
      for (int c = 0; c < cost.cols; ++c) {
        const double v = var_a_.at<double>(r, c) * var_b.at<double>(r, c);
        cost.at<double>(r, c) = v > 1e-12 ? -cov.at<double>(r, c) / std::sqrt(v) : kNaN;
      }
    return cost;
  }

  const cv::Mat& a_;
  const cv::Mat& b_;
  const Params& p_;
  cv::Mat mean_a_, var_a_;
};

// The best disparity per pixel of image1, with the costs beside it for
// the parabola, and image2's best disparity per pixel for the check.
struct Best {
  cv::Mat cost, disparity, before, after;  // image1's view
  cv::Mat right_cost, right_disparity;     // image2's view, by image2 column
};

Best Search(const Costs& costs, const cv::Size& size, const Params& p) {
  Best best;
  best.cost = cv::Mat(size, CV_64F, cv::Scalar(std::numeric_limits<double>::infinity()));
  best.disparity = cv::Mat(size, CV_32S, cv::Scalar(0));
  best.before = cv::Mat(size, CV_64F, cv::Scalar(kNaN));
  best.after = best.before.clone();
  best.right_cost = best.cost.clone();
  best.right_disparity = best.disparity.clone();
  cv::Mat previous(size, CV_64F, cv::Scalar(kNaN));
  for (int d = p.min_d; d <= p.max_d; ++d) {
    const cv::Mat cost = costs.At(d);
    for (int r = 0; r < size.height; ++r)
      for (int c = 0; c < size.width; ++c) {
        const double v = cost.at<double>(r, c);
        if (best.disparity.at<int>(r, c) == d - 1) best.after.at<double>(r, c) = v;
        if (v < best.cost.at<double>(r, c)) {
          best.cost.at<double>(r, c) = v;
          best.disparity.at<int>(r, c) = d;
          best.before.at<double>(r, c) = previous.at<double>(r, c);
          best.after.at<double>(r, c) = kNaN;
        }
        const int c2 = c + d;
        if (c2 >= 0 && c2 < size.width && v < best.right_cost.at<double>(r, c2)) {
          best.right_cost.at<double>(r, c2) = v;
          best.right_disparity.at<int>(r, c2) = d;
        }
      }
    previous = cost;
  }
  return best;
}

// A new real image of `values` under `domain`.
Vresult NewResult(const cv::Mat& values, RegionPtr domain, Vkey* key) {
  Vresult rc = db::NewBlankImage(PixelType::kReal, values.cols, values.rows, 1, domain, key);
  PixelBuffer* px = nullptr;
  if (rc == VRESULT_OK) rc = db::WritableChannel(*key, 0, &px);
  if (rc != VRESULT_OK) return rc;
  StoreInDomain(values, cv::Rect(0, 0, values.cols, values.rows), *domain, px);
  return VRESULT_OK;
}

}  // namespace

Vresult ReadMatchParams(const OpContext& ctx, int first, MatchParams* p) {
  int method = 0, levels = 0, filter = 0, sub = 0;
  Vresult rc = ReadChoice(ctx, first, {"sad", "ssd", "ncc"}, &method);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, first + 1, 1, 101, &p->mask_w);
  if (rc == VRESULT_OK && p->mask_w % 2 == 0) rc = VERR_CTRL_VALUE(first + 1);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, first + 2, 1, 101, &p->mask_h);
  if (rc == VRESULT_OK && p->mask_h % 2 == 0) rc = VERR_CTRL_VALUE(first + 2);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, first + 3, 0.0, 1e12, &p->texture);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, first + 4, -kMaxRange, kMaxRange, &p->min_d);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, first + 5, -kMaxRange, kMaxRange, &p->max_d);
  if (rc == VRESULT_OK && p->max_d < p->min_d) rc = VERR_CTRL_VALUE(first + 5);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, first + 6, 1, 8, &levels);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, first + 7, -1e12, 1e12, &p->score_thresh);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, first + 8, {"none", "left_right_check"}, &filter);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, first + 9, {"none", "interpolation"}, &sub);
  p->method = static_cast<MatchMethod>(method);
  p->check = filter == 1;
  p->subpixel = sub == 1;
  return rc;
}

Vresult MatchRectifiedPair(OpContext& ctx, const MatchParams& p, PairMatch* match) {
  db::ImageData im1, im2;
  Vresult rc = InpSingleImage(ctx, 1, &im1);
  if (rc == VRESULT_OK) rc = InpSingleImage(ctx, 2, &im2);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer &b1 = *im1.channels[0], &b2 = *im2.channels[0];
  if (CvDepthOf(b1.type()) < 0 || CvDepthOf(b2.type()) < 0) return VERR_PIXEL_TYPE;
  if (b1.width() != b2.width() || b1.height() != b2.height()) return VERR_IMAGE_SIZE;
  const cv::Size size(b1.width(), b1.height());
  cv::Mat a, b;
  MatOf(b1).convertTo(a, CV_64F);
  MatOf(b2).convertTo(b, CV_64F);
  const Costs costs(a, b, p);
  const Best best = Search(costs, size, p);
  const cv::Mat mean_a = WindowMean(a, p);
  const cv::Mat deviation = WindowMean(a.mul(a), p) - mean_a.mul(mean_a);
  const cv::Mat inside = MaskOfRegion(*im1.domain, cv::Rect(cv::Point(0, 0), size));
  cv::Mat& disparity = match->disparity;
  cv::Mat& score = match->score;
  cv::Mat& matched = match->matched;
  disparity = cv::Mat::zeros(size, CV_64F);
  score = cv::Mat::zeros(size, CV_64F);
  matched = cv::Mat::zeros(size, CV_8U);
  const int hw = p.mask_w / 2, hh = p.mask_h / 2;
  const int first_col = std::max(hw, hw - p.min_d);
  const int last_col = std::min(size.width - 1 - hw, size.width - 1 - hw - p.max_d);
  for (int r = hh; r < size.height - hh; ++r)
    for (int c = first_col; c <= last_col; ++c) {
      const double cost = best.cost.at<double>(r, c);
      if (!inside.at<uint8_t>(r, c) || !std::isfinite(cost)) continue;
      if (std::sqrt(std::max(deviation.at<double>(r, c), 0.0)) < p.texture) continue;
      const double s = costs.Score(cost);
      if (p.method == Method::kNcc ? s < p.score_thresh : s > p.score_thresh) continue;
      const int d = best.disparity.at<int>(r, c);
      if (p.check && std::abs(best.right_disparity.at<int>(r, c + d) - d) > 1) continue;
      double refined = d;
      const double lo = best.before.at<double>(r, c), hi = best.after.at<double>(r, c);
      const double curvature = lo - 2 * cost + hi;
      if (p.subpixel && std::isfinite(lo) && std::isfinite(hi) && curvature > 0)
        refined += std::clamp(0.5 * (lo - hi) / curvature, -0.5, 0.5);
      disparity.at<double>(r, c) = refined;
      score.at<double>(r, c) = s;
      matched.at<uint8_t>(r, c) = 255;
    }
  return VRESULT_OK;
}

Vresult OutpMatchImages(OpContext& ctx, const cv::Mat& first, const cv::Mat& second,
                        const cv::Mat& matched) {
  const RegionPtr domain = RegionOfMask(matched, cv::Point(0, 0));
  Vkey k1 = VKEY_UNDEF, k2 = VKEY_UNDEF;
  Vresult rc = NewResult(first, domain, &k1);
  if (rc != VRESULT_OK) return rc;
  rc = NewResult(second, domain, &k2);
  if (rc != VRESULT_OK) {
    db::Release(k1);
    return rc;
  }
  // Each output takes its key over, also when the other fails.
  rc = ctx.SetOutpObj(1, k1);
  const Vresult rc2 = ctx.SetOutpObj(2, k2);
  return rc == VRESULT_OK ? rc2 : rc;
}

}  // namespace vexa

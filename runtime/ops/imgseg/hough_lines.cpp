#include "ops/imgseg/hough_lines.h"

namespace vexa {

namespace {
constexpr Vlong kMaxAngleResolution = 4;
}  // namespace

Vresult ReadAngleResolution(const OpContext& ctx, int par, int* resolution) {
  Vlong v = 0;
  const Vresult rc = ctx.GetLong(par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v < 1 || v > kMaxAngleResolution) return VERR_CTRL_VALUE(par);
  *resolution = static_cast<int>(v);
  return VRESULT_OK;
}

Vresult NewLineAccumulator(const cv::Rect& box, int resolution, LineAccumulator* acc) {
  acc->num_angles = 180 * resolution;
  acc->max_dist = 0;
  if (!box.empty()) {
    const double far_r = std::max(std::abs(box.y), std::abs(box.y + box.height - 1));
    const double far_c = std::max(std::abs(box.x), std::abs(box.x + box.width - 1));
    const double d = std::ceil(std::hypot(far_r, far_c));
    if ((2 * d + 1) * acc->num_angles > kMaxHoughCells) return VERR_TOO_LARGE;
    acc->max_dist = static_cast<int>(d);
  }
  acc->cos_phi.clear();
  acc->sin_phi.clear();
  for (int i = 0; i < acc->num_angles; ++i) {
    acc->cos_phi.push_back(std::cos(acc->Angle(i)));
    acc->sin_phi.push_back(std::sin(acc->Angle(i)));
  }
  acc->votes = cv::Mat::zeros(2 * acc->max_dist + 1, acc->num_angles, CV_32S);
  return VRESULT_OK;
}

std::vector<LinePeak> StrongestLines(const cv::Mat& votes, const LineAccumulator& acc,
                                     double threshold, long angle_gap, long dist_gap) {
  std::vector<LinePeak> candidates;
  for (int r = 0; r < votes.rows; ++r)
    for (int i = 0; i < votes.cols; ++i)
      if (votes.at<double>(r, i) >= threshold) candidates.push_back({votes.at<double>(r, i), i, r});
  std::stable_sort(candidates.begin(), candidates.end(), [](const LinePeak& a, const LinePeak& b) {
    return a.votes != b.votes ? a.votes > b.votes
                              : a.angle != b.angle ? a.angle < b.angle : a.row < b.row;
  });
  std::vector<LinePeak> lines;
  for (const LinePeak& p : candidates) {
    const bool near = std::any_of(lines.begin(), lines.end(), [&](const LinePeak& q) {
      const int apart = std::abs(p.angle - q.angle);
      // Across 180 degrees the distance changes its sign: row r stands for
      // r - D, so the opposite distance lies at row 2 D - r.
      return (apart <= angle_gap && std::abs(p.row - q.row) <= dist_gap) ||
             (acc.num_angles - apart <= angle_gap &&
              std::abs(p.row - (2 * acc.max_dist - q.row)) <= dist_gap);
    });
    if (!near) lines.push_back(p);
  }
  return lines;
}

Vresult OutpLines(OpContext& ctx, const LineAccumulator& acc, const std::vector<LinePeak>& lines,
                  int angle_par) {
  std::vector<double> angles, dists;
  for (const LinePeak& p : lines) {
    angles.push_back(acc.Angle(p.angle));
    dists.push_back(p.row - acc.max_dist);
  }
  const Vresult rc = ctx.SetOutpDoubles(angle_par, angles);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(angle_par + 1, dists) : rc;
}

Vresult VoteImage(const cv::Mat& votes, NewKeys* out) {
  Vkey key = VKEY_UNDEF;
  Vresult rc = db::NewBlankImage(PixelType::kInt4, votes.cols, votes.rows, 1, nullptr, &key);
  if (rc != VRESULT_OK) return rc;
  out->Add(key);
  PixelBuffer* px = nullptr;
  rc = db::WritableChannel(key, 0, &px);
  if (rc != VRESULT_OK) return rc;
  votes.copyTo(CvHeaderOf(px));
  return VRESULT_OK;
}

}  // namespace vexa

// Iso-lines by marching squares: see iso_lines.h.
#include "iso_lines.h"

#include <cmath>
#include <unordered_map>

namespace vexa {
namespace xld {
namespace {

struct Crossing {
  float r, c;
  int64_t next = -1;
  bool has_prev = false;
};

class IsoLines {
 public:
  IsoLines(const cv::Mat& v, double threshold) : v_(v), thr_(threshold) {}

  void Cell(int r, int c) {
    // Corners clockwise on the screen, and the sides leaving each.
    const int cr[4] = {r, r, r + 1, r + 1}, cc[4] = {c, c + 1, c + 1, c};
    double val[4];
    bool above[4];
    for (int k = 0; k < 4; ++k) {
      val[k] = v_.at<float>(cr[k], cc[k]);
      above[k] = val[k] > thr_;
    }
    int64_t id[4];
    bool leave[4], cross[4];
    for (int k = 0; k < 4; ++k) {
      const int j = (k + 1) % 4;
      cross[k] = above[k] != above[j];
      leave[k] = above[k] && !above[j];
      if (cross[k]) id[k] = CrossingOn(cr[k], cc[k], cr[j], cc[j], val[k], val[j]);
    }
    const bool saddle = cross[0] && cross[1] && cross[2] && cross[3];
    const bool joined = (val[0] + val[1] + val[2] + val[3]) / 4 > thr_;
    for (int k = 0; k < 4; ++k) {
      if (!cross[k] || !leave[k]) continue;
      // The next entering side clockwise, or in a saddle whose centre is
      // not above, the previous one.
      int step = saddle && !joined ? 3 : 1;
      int j = (k + step) % 4;
      while (!cross[j] || leave[j]) j = (j + step) % 4;
      points_[static_cast<size_t>(id[k])].next = id[j];
      points_[static_cast<size_t>(id[j])].has_prev = true;
    }
  }

  std::vector<XldPtr> Contours() {
    std::vector<XldPtr> out;
    std::vector<char> done(points_.size(), 0);
    auto follow = [&](size_t start) {
      std::vector<Pt> line;
      int64_t k = static_cast<int64_t>(start);
      while (k >= 0 && !done[static_cast<size_t>(k)]) {
        done[static_cast<size_t>(k)] = 1;
        line.push_back({points_[static_cast<size_t>(k)].r, points_[static_cast<size_t>(k)].c});
        k = points_[static_cast<size_t>(k)].next;
      }
      if (k == static_cast<int64_t>(start)) line.push_back(line.front());
      if (line.size() > 1) out.push_back(NewContour(line));
    };
    for (size_t i = 0; i < points_.size(); ++i)
      if (!points_[i].has_prev && !done[i]) follow(i);
    for (size_t i = 0; i < points_.size(); ++i)
      if (!done[i]) follow(i);
    return out;
  }

 private:
  // The crossing on the side from (r1, c1) to (r2, c2), made once.
  int64_t CrossingOn(int r1, int c1, int r2, int c2, double v1, double v2) {
    // Each side is named by its upper-left end and its direction.
    const int r = std::min(r1, r2), c = std::min(c1, c2);
    const int64_t side = (static_cast<int64_t>(r) * v_.cols + c) * 2 + (r1 == r2 ? 0 : 1);
    auto it = ids_.find(side);
    if (it != ids_.end()) return it->second;
    const double t = (thr_ - v1) / (v2 - v1);
    points_.push_back({static_cast<float>(r1 + t * (r2 - r1)), static_cast<float>(c1 + t * (c2 - c1))});
    const int64_t id = static_cast<int64_t>(points_.size()) - 1;
    ids_.emplace(side, id);
    return id;
  }

  const cv::Mat& v_;
  const double thr_;
  std::vector<Crossing> points_;
  std::unordered_map<int64_t, int64_t> ids_;
};

}  // namespace

std::vector<XldPtr> IsoLineContours(const FloatImage& image, double threshold) {
  IsoLines lines(image.values, threshold);
  const cv::Mat& d = image.domain;
  for (int r = 0; r + 1 < d.rows; ++r)
    for (int c = 0; c + 1 < d.cols; ++c)
      if (d.at<uint8_t>(r, c) && d.at<uint8_t>(r, c + 1) && d.at<uint8_t>(r + 1, c) &&
          d.at<uint8_t>(r + 1, c + 1))
        lines.Cell(r, c);
  return lines.Contours();
}

}  // namespace xld
}  // namespace vexa

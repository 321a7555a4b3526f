// Rank filters and the filters of local statistics against sorted
// neighbourhoods written out per pixel, with every border mode, on every
// pixel type the filters take (byte runs the histogram, selection,
// column network and medianBlur paths), a domain with holes and a 1 x 1 image; then the
// checks.
#include <map>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "filter_test_support.h"

namespace {

using namespace Vexa;
using namespace filter_test;

class RankTypes : public LeakCheckedTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(RankTypes, RankFiltersPickTheRightValue) {
  const std::string type = GetParam();
  std::mt19937 gen(21);
  // An L-shaped mask region, centred on the middle of its bounding box.
  std::vector<uint8_t> l_shape(5 * 4, 0);
  for (int c = 0; c < 5; ++c) l_shape[3 * 5 + c] = 1;
  for (int r = 0; r < 4; ++r) l_shape[r * 5] = 1;
  const Vobject mask = RegionOf(l_shape, 5, 4);
  std::vector<Offset> l_offsets;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 5; ++c)
      if (l_shape[r * 5 + c]) l_offsets.push_back({r - 1, c - 2});

  const std::map<std::string, std::pair<Edge, double>> borders = {
      {"mirrored", {Edge::kMirror, 0}}, {"cyclic", {Edge::kCyclic, 0}},
      {"continued", {Edge::kContinued, 0}}, {"", {Edge::kConstant, 9}}};
  auto margin = [](const std::string& name) { return name.empty() ? VTuple(Vlong{9}) : VTuple(name.c_str()); };

  for (const TestImage& im : FilterInputs(type, gen)) {
    Vobject out;
    for (const auto& [name, edge] : borders) {
      for (int radius : {1, 2, 3, 5}) {
        for (const char* shape : {"circle", "square"}) {
          const std::vector<Offset> o = std::string(shape) == "circle"
                                            ? DiscOffsets(radius)
                                            : RectOffsets(2 * radius + 1, 2 * radius + 1);
          ASSERT_EQ(median_image(im.image, &out, shape, radius, margin(name)), VRESULT_OK);
          ExpectFiltered(out, im, [&](int r, int c) {
            return Rank(Around(im, r, c, o, edge.first, edge.second), o.size() / 2);
          }, 0, "median_image " + std::string(shape) + " " + name);
        }
      }
      ASSERT_EQ(rank_image(im.image, mask, &out, 3, margin(name)), VRESULT_OK);
      ExpectFiltered(out, im, [&](int r, int c) {
        return Rank(Around(im, r, c, l_offsets, edge.first, edge.second), 2);
      }, 0, "rank_image " + name);
      ASSERT_EQ(median_separate(im.image, &out, 5, 3, margin(name)), VRESULT_OK);
      ExpectFiltered(out, im, [&](int r, int c) {
        std::vector<double> col;
        for (int dy = -1; dy <= 1; ++dy) {
          std::vector<double> row;
          for (int dx = -2; dx <= 2; ++dx) {
            // The row median of a row outside the image follows the border
            // rule for rows; within a row, the rule for columns.
            if (edge.first == Edge::kConstant && (r + dy < 0 || r + dy >= im.height)) {
              row.push_back(edge.second);
              continue;
            }
            const int rr = edge.first == Edge::kConstant ? r + dy : Fold(r + dy, im.height, edge.first);
            row.push_back(Value(im, rr, c + dx, edge.first, edge.second));
          }
          col.push_back(Rank(row, 2));
        }
        return Rank(col, 1);
      }, 0, "median_separate " + name);
    }
    ASSERT_EQ(rank_rect(im.image, &out, 5, 3, 4), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) { return Rank(Around(im, r, c, RectOffsets(3, 5)), 3); },
                   0, "rank_rect");
    ASSERT_EQ(median_rect(im.image, &out, 3, 7), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) { return Rank(Around(im, r, c, RectOffsets(7, 3)), 10); },
                   0, "median_rect");
    // dual_rank: 20 % of the 21-pixel disc is rank 4 (from 0), then rank 16.
    ASSERT_EQ(dual_rank(im.image, &out, "circle", 2, 20, "mirrored"), VRESULT_OK);
    TestImage first = im;
    for (int r = 0; r < im.height; ++r)
      for (int c = 0; c < im.width; ++c)
        first.value[static_cast<size_t>(r) * im.width + c] = Rank(Around(im, r, c, DiscOffsets(2)), 4);
    ExpectFiltered(out, im, [&](int r, int c) { return Rank(Around(first, r, c, DiscOffsets(2)), 16); },
                   0, "dual_rank");
  }
}

TEST_P(RankTypes, StatisticFiltersFollowTheirDefinitions) {
  const std::string type = GetParam();
  const double tol = type == "real" ? 1e-5 : 0.5 + 1e-9;
  std::mt19937 gen(22);
  std::vector<uint8_t> cross(9, 0);
  for (int k : {1, 3, 4, 5, 7}) cross[k] = 1;
  const Vobject mask = RegionOf(cross, 3, 3);
  const std::vector<Offset> cross_offsets = {{-1, 0}, {0, -1}, {0, 0}, {0, 1}, {1, 0}};
  const std::vector<Offset> box = RectOffsets(3, 5);
  for (const TestImage& im : FilterInputs(type, gen)) {
    const double sigma = type == "int4" ? 300000 : type == "real" || type == "int2" || type == "uint2" ? 9000 : 40;
    Vobject out;
    ASSERT_EQ(trimmed_mean(im.image, mask, &out, 3, "continued"), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) {
      std::vector<double> v = Around(im, r, c, cross_offsets, Edge::kContinued);
      std::sort(v.begin(), v.end());
      return Stored(type, (v[1] + v[2] + v[3]) / 3);
    }, tol, "trimmed_mean");
    ASSERT_EQ(midrange_image(im.image, mask, &out, "mirrored"), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) {
      const std::vector<double> v = Around(im, r, c, cross_offsets);
      return Stored(type, (*std::min_element(v.begin(), v.end()) + *std::max_element(v.begin(), v.end())) / 2);
    }, tol, "midrange_image");
    ASSERT_EQ(sigma_image(im.image, &out, 3, 5, static_cast<Vlong>(sigma)), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) {
      double sum = 0;
      int n = 0;
      for (double v : Around(im, r, c, box))
        if (std::fabs(v - im.At(r, c)) <= sigma) sum += v, ++n;
      return Stored(type, sum / n);
    }, tol, "sigma_image");
    ASSERT_EQ(median_weighted(im.image, &out, "inner", 3), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) {
      std::vector<double> v = Around(im, r, c, RectOffsets(3, 3));
      v.push_back(im.At(r, c));
      v.push_back(im.At(r, c));  // the centre weighs 3 of 11
      return Rank(v, 5);
    }, 0, "median_weighted");
    for (int mode : {1, 2, 3}) {
      const double gap = type == "byte" || type == "int1" ? 10 : 1000;
      ASSERT_EQ(eliminate_min_max(im.image, &out, 5, 3, gap, mode), VRESULT_OK);
      ExpectFiltered(out, im, [&](int r, int c) {
        std::vector<double> v;
        for (const Offset& o : box)
          if (o.dy || o.dx) v.push_back(Value(im, r + o.dy, c + o.dx));
        const double g = im.At(r, c), lo = *std::min_element(v.begin(), v.end()),
                     hi = *std::max_element(v.begin(), v.end());
        if (g <= hi + gap && g >= lo - gap) return g;
        if (mode == 1) return g > hi ? hi : lo;
        if (mode == 2) return Rank(v, v.size() / 2);
        return Stored(type, std::accumulate(v.begin(), v.end(), 0.0) / v.size());
      }, tol, "eliminate_min_max " + std::to_string(mode));
    }
    if (type != "byte") continue;
    ASSERT_EQ(entropy_image(im.image, &out, 5, 3), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) {
      std::map<double, int> histo;
      for (double v : Around(im, r, c, box)) ++histo[v];
      double e = 0;
      for (const auto& h : histo) e -= h.second / 15.0 * std::log2(h.second / 15.0);
      return e;
    }, 1e-5, "entropy_image");
  }
}

INSTANTIATE_TEST_SUITE_P(Types, RankTypes, ::testing::ValuesIn(kTypes));

class RankChecks : public LeakCheckedTest {};

// Byte medians of the 3x3 and 5x5 squares and the disc of radius 2 run
// comparator networks on sorted columns, 32 pixels at a time and single
// pixels at the end of a row, straight from the image where the mask fits
// and from bordered tiles along its edges; the disc of radius 3 runs the
// histogram. Rows of several vectors and a remainder, values from the full
// range and from four levels (many ties), under the full domain, a domain
// whose chords start and end anywhere and a domain one column wide.
TEST_F(RankChecks, SmallByteMediansMatchSortedNeighbourhoods) {
  std::mt19937 gen(24);
  const int w = 300, h = 9;
  std::vector<uint8_t> column(w * h, 0);
  for (int r = 0; r < h; ++r) column[r * w + 257] = 1;
  std::vector<uint8_t> all(w * h, 1);
  for (const TestImage& im :
       {RandomImage("byte", w, h, gen), RandomImage("byte", w, h, gen, true),
        MakeImage("byte", w, h, all, gen, 0, 3), MakeImage("byte", w, h, column, gen, 0, 255)})
    for (const auto& [shape, radius] : std::vector<std::pair<const char*, int>>{
             {"circle", 1}, {"circle", 2}, {"circle", 3}, {"square", 2}}) {
      const std::vector<Offset> o = std::string(shape) == "circle"
                                        ? DiscOffsets(radius)
                                        : RectOffsets(2 * radius + 1, 2 * radius + 1);
      for (const auto& [border, edge] :
           {std::pair{"continued", Edge::kContinued}, std::pair{"mirrored", Edge::kMirror}}) {
        Vobject out;
        ASSERT_EQ(median_image(im.image, &out, shape, radius, border), VRESULT_OK);
        ExpectFiltered(out, im, [&](int r, int c) {
          return Rank(Around(im, r, c, o, edge), o.size() / 2);
        }, 0, std::string(shape) + " " + std::to_string(radius) + " " + border);
      }
    }
}

TEST_F(RankChecks, BadRanksMasksAndTypesAreRefused) {
  std::mt19937 gen(23);
  const TestImage im = RandomImage("uint2", 8, 8, gen);
  Vobject out, empty_region, cplx;
  EXPECT_EQ(median_image(im.image, &out, "ring", 1, "mirrored"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(median_image(im.image, &out, "circle", -1, "mirrored"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(median_image(im.image, &out, "circle", 1, "mirror"), VERR_CTRL_VALUE(2));
  EXPECT_EQ(rank_rect(im.image, &out, 3, 3, 10), VERR_CTRL_VALUE(2));
  EXPECT_EQ(dual_rank(im.image, &out, "square", 1, 101, "mirrored"), VERR_CTRL_VALUE(2));
  EXPECT_EQ(median_weighted(im.image, &out, "gauss", 39), VERR_CTRL_VALUE(1));
  EXPECT_EQ(eliminate_min_max(im.image, &out, 3, 3, 1.0, 4), VERR_CTRL_VALUE(3));
  EXPECT_EQ(entropy_image(im.image, &out, 3, 3), VERR_PIXEL_TYPE);
  ASSERT_EQ(gen_empty_region(&empty_region), VRESULT_OK);
  EXPECT_EQ(rank_image(im.image, empty_region, &out, 1, "mirrored"), VERR_EMPTY_OBJECT);
  const Vobject one = RegionOf(std::vector<uint8_t>(4, 1), 2, 2);
  EXPECT_EQ(rank_image(im.image, one, &out, 5, "mirrored"), VERR_CTRL_VALUE(0));
  ASSERT_EQ(gen_image_const(&cplx, "complex", 4, 4), VRESULT_OK);
  EXPECT_EQ(median_image(cplx, &out, "circle", 1, "mirrored"), VERR_PIXEL_TYPE);
}

}  // namespace

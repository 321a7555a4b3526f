// The orientation of a text line and the slant of its characters, from the
// pixels of the character region: text_line_orientation and
// text_line_slant. Both search the angle at which a projection of the
// pixels is most sharply peaked: along the line, the rows of characters
// pile up; along slanted strokes, the strokes do.
#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <vector>

#include "ops/region/region_ops.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// The parameters both operators read: the character height (control 0,
// at least 1) and the searched range of angles (controls 1 and 2, radians
// within +-pi/2, from <= to).
struct AngleSearch {
  double from = 0.0, to = 0.0;
  int64_t char_height = 1;
};

Vresult ReadAngleSearch(const OpContext& ctx, AngleSearch* s) {
  Vlong height = 0;
  Vresult rc = ctx.GetLong(0, &height);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &s->from);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &s->to);
  if (rc != VRESULT_OK) return rc;
  if (height < 1 || height > kMaxRegionCoord) return VERR_CTRL_VALUE(0);
  if (!(std::fabs(s->from) <= M_PI / 2)) return VERR_CTRL_VALUE(1);
  if (!(std::fabs(s->to) <= M_PI / 2) || s->to < s->from) return VERR_CTRL_VALUE(2);
  s->char_height = height;
  return VRESULT_OK;
}

// The 8-connected parts of `region` no taller and no wider than twice the
// character height: underlines, frames and smudges would outweigh the
// characters.
RegionPtr CharacterParts(const Region& region, int64_t char_height) {
  std::vector<RegionPtr> kept;
  for (ChordList& part : ChordComponents(region.chords(), Neighbourhood::k8)) {
    RegionPtr piece = Region::FromCanonicalChords(std::move(part));
    int32_t r1, c1, r2, c2;
    piece->BoundingBox(&r1, &c1, &r2, &c2);
    if (int64_t{r2} - r1 + 1 > 2 * char_height || int64_t{c2} - c1 + 1 > 2 * char_height) continue;
    kept.push_back(std::move(piece));
  }
  return RegionUnionMany(kept);
}

// The sum of squared counts of project(r, c) over the region's pixels in
// bins one pixel wide: large when the projection piles the pixels into few
// bins. Each pixel is shared between the two nearest bin centres in
// proportion, so that the energy changes smoothly with the angle rather
// than in steps.
template <class Project>
double Energy(const Region& region, Project&& project) {
  std::unordered_map<int64_t, double> bins;
  for (const Chord& ch : region.chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c) {
      const double x = project(ch.r, c);
      const double below = std::floor(x);
      bins[static_cast<int64_t>(below)] += 1.0 - (x - below);
      bins[static_cast<int64_t>(below) + 1] += x - below;
    }
  double energy = 0;
  for (const auto& [key, n] : bins) energy += n * n;
  return energy;
}

// The angle in [from, to] with the largest Energy of project(angle)
// (which takes coordinates relative to the region's centre, so that the
// angle does not also move the whole projection against the bins):
// a grid fine enough that the farthest pixel moves by less than a pixel
// between neighbouring angles (at most 720 steps), then the same again
// around the best angle, one step to either side.
template <class ProjectAt>
double BestAngle(const Region& region, const AngleSearch& s, ProjectAt&& project_at) {
  int32_t r1, c1, r2, c2;
  region.BoundingBox(&r1, &c1, &r2, &c2);
  const double r0 = region.row(), c0 = region.col();
  const double reach = std::max(1.0, std::hypot(r2 - r1, c2 - c1));
  double lo = s.from, hi = s.to, best = s.from;
  for (int round = 0; round < 2 && hi > lo; ++round) {
    const int steps = static_cast<int>(std::min(720.0, std::ceil((hi - lo) * reach)));
    // The middle of a run of equally good angles, not its first.
    double best_energy = -1;
    int first = 0, last = 0;
    for (int k = 0; k <= steps; ++k) {
      const double e = Energy(region, project_at(lo + (hi - lo) * k / std::max(1, steps), r0, c0));
      if (e > best_energy * (1 + 1e-12)) best_energy = e, first = last = k;
      else if (e >= best_energy * (1 - 1e-12) && last == k - 1) last = k;
    }
    best = lo + (hi - lo) * 0.5 * (first + last) / std::max(1, steps);
    const double step = (hi - lo) / std::max(1, steps);
    lo = std::max(s.from, best - step);
    hi = std::min(s.to, best + step);
  }
  return best;
}

// One angle per region of input 1 from BestAngle over its character parts
// in the domain of the image of input 2; none gives 0.
template <class ProjectAt>
Vresult AnglePerRegion(OpContext& ctx, ProjectAt&& project_at) {
  AngleSearch s;
  Vresult rc = ReadAngleSearch(ctx, &s);
  std::vector<RegionPtr> regions;
  db::ImageData image;
  if (rc == VRESULT_OK) rc = InpRegions(ctx, 1, &regions);
  if (rc == VRESULT_OK) rc = InpSingleImage(ctx, 2, &image);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> angles;
  for (const RegionPtr& r : regions) {
    const RegionPtr chars = CharacterParts(*Region::Intersection(*r, *image.domain), s.char_height);
    angles.push_back(chars->empty() ? 0.0 : BestAngle(*chars, s, project_at));
  }
  return ctx.SetOutpDoubles(0, angles);
}

}  // namespace

// The direction of the text line: the angle (radians, counter-clockwise
// from the column axis, rows pointing down) along which the pixels' rows
// across the line, r cos a + c sin a, pile up most.
VEXA_OPERATOR(text_line_orientation) {
  return AnglePerRegion(ctx, [](double a, double r0, double c0) {
    const double ca = std::cos(a), sa = std::sin(a);
    return [=](int32_t r, int32_t c) { return (r - r0) * ca + (c - c0) * sa; };
  });
}

// The slant of the characters: the angle (radians, positive for strokes
// leaning to the right) at which the columns of the sheared pixels,
// c + r tan s, pile up most.
VEXA_OPERATOR(text_line_slant) {
  return AnglePerRegion(ctx, [](double s, double r0, double c0) {
    const double t = std::tan(s);
    return [=](int32_t r, int32_t c) { return (c - c0) + (r - r0) * t; };
  });
}

}  // namespace vexa

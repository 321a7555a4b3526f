// The named Golay letters (kernels/golay_elements.h) as regions
// (gen_struct_elements, golay_elements) and in morphology: hit-or-miss,
// thinning and thickening with a letter, turned or in all eight turns one
// after the other (the *_seq forms), and dilation, erosion, opening and
// closing with a letter's foreground part.
#include <cstring>
#include <vector>

#include "ops/region/kernels/golay_elements.h"
#include "ops/region/kernels/thinning_kernels.h"
#include "ops/region/morphology_ops.h"
#include "ops/region/region_op_util.h"
#include "ops/region/region_ops.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// The letter named by control `name_par`, turned by the angle (degrees, a
// multiple of 45) of control `rotation_par` (-1: not turned).
Vresult ReadLetter(const OpContext& ctx, int name_par, int rotation_par, GolayPair* pair) {
  const char* name = nullptr;
  Vresult rc = ctx.GetString(name_par, &name);
  if (rc != VRESULT_OK) return rc;
  Vlong rotation = 0;
  if (rotation_par >= 0 && (rc = ctx.GetLong(rotation_par, &rotation)) != VRESULT_OK) return rc;
  if (rotation % 45 != 0) return VERR_CTRL_VALUE(rotation_par);
  if (!GolayElement(name, static_cast<int>(rotation / 45 % 8), pair)) return VERR_CTRL_VALUE(name_par);
  return VRESULT_OK;
}

// A letter's parts as structuring elements around its centre:
// (foreground, background).
Vresult ReadLetterElements(const OpContext& ctx, int name_par, int rotation_par,
                           ElementPair* letter) {
  GolayPair pair;
  const Vresult rc = ReadLetter(ctx, name_par, rotation_par, &pair);
  if (rc != VRESULT_OK) return rc;
  letter->first = Element::FromChords(pair.fg->chords());
  letter->second = Element::FromChords(pair.bg->chords());
  return VRESULT_OK;
}

// The eight turns of the letter named by control `name_par`, clockwise
// from the letter as drawn.
Vresult ReadLetterTurns(const OpContext& ctx, int name_par, std::vector<ElementPair>* turns) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(name_par, &name);
  if (rc != VRESULT_OK) return rc;
  for (int k = 0; k < 8; ++k) {
    GolayPair pair;
    if (!GolayElement(name, k, &pair)) return VERR_CTRL_VALUE(name_par);
    turns->push_back({Element::FromChords(pair.fg->chords()), Element::FromChords(pair.bg->chords())});
  }
  return VRESULT_OK;
}

// The two parts translated to (row, column), into output objects 1 and 2
// or both into output object 1.
Vresult OutLetter(OpContext& ctx, const GolayPair& pair, int32_t row, int32_t col, bool apart) {
  RegionPtr fg = Region::FromCanonicalChords(ChordTranslate(pair.fg->chords(), row, col));
  RegionPtr bg = Region::FromCanonicalChords(ChordTranslate(pair.bg->chords(), row, col));
  if (!apart) return OutRegions(ctx, 1, {std::move(fg), std::move(bg)});
  const Vresult rc = OutRegion(ctx, 1, std::move(fg));
  return rc == VRESULT_OK ? OutRegion(ctx, 2, std::move(bg)) : rc;
}

// Thickening by a letter works on the background: a point outside the
// region is added when the letter's background part, moved there, lies
// inside the region and its foreground part (which holds the centre)
// outside: the dual of thinning.
Vresult ThickenByLetter(const Region& a, const Element& fg, const Element& bg, RegionPtr* out) {
  return Thicken(a, bg, fg, out);
}

// The dilation (a translate of the element meets the region) and the
// erosion (the element fits) with a letter's foreground part.
Vresult DilateByLetter(const Region& a, const Element& fg, const Element&, RegionPtr* out) {
  return Add(a, fg.Mirrored(), out);
}
Vresult ErodeByLetter(const Region& a, const Element& fg, const Element&, RegionPtr* out) {
  return Fit(a, fg, out);
}

// A step with a letter, and whether it can grow the region (by at most
// one pixel around each point per turn).
struct LetterStep {
  PairStep step;
  bool grows;
};

constexpr LetterStep kHitOrMissStep{HitOrMiss, false};
constexpr LetterStep kThinStep{Thin, false};
constexpr LetterStep kThickenStep{ThickenByLetter, true};
constexpr LetterStep kDilateStep{DilateByLetter, true};
constexpr LetterStep kErodeStep{ErodeByLetter, false};

// A repetition count at control `par`, at least 0, of `turns` turns of
// `s`. Growing steps may not be repeated beyond the coordinate range;
// shrinking ones any number of times, as they soon change nothing.
Vresult ReadSteps(const OpContext& ctx, int par, const LetterStep& s, int64_t turns,
                  int64_t* iterations) {
  if (s.grows)
    return ReadIterations(ctx, par, Element::Rectangle(2 * turns + 1, 2 * turns + 1), iterations);
  Vlong n = 0;
  const Vresult rc = ctx.GetLong(par, &n);
  if (rc != VRESULT_OK) return rc;
  if (n < 0) return VERR_CTRL_VALUE(par);
  *iterations = n;
  return VRESULT_OK;
}

// A turned letter (controls 0 and `rotation_par`), `step` repeated
// `iterations` times (control `iterations_par`; -1: once), stopping early
// where `until_stable`.
Vresult TurnedLetterOp(OpContext& ctx, int rotation_par, int iterations_par, const LetterStep& s,
                       bool until_stable) {
  ElementPair letter;
  int64_t iterations = 1;
  Vresult rc = ReadLetterElements(ctx, 0, rotation_par, &letter);
  if (rc == VRESULT_OK && iterations_par >= 0) rc = ReadSteps(ctx, iterations_par, s, 1, &iterations);
  if (rc != VRESULT_OK) return rc;
  const auto once = [&](const Region& a, RegionPtr* r) { return s.step(a, letter.first, letter.second, r); };
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    return until_stable ? RepeatUntilStable(in, iterations, once, out)
                        : Repeat(in, iterations, once, out);
  });
}

// All eight turns one after the other, that pass repeated `iterations`
// times (control 1), stopping early where `until_stable`.
Vresult LetterSequenceOp(OpContext& ctx, const LetterStep& s, bool until_stable) {
  std::vector<ElementPair> turns;
  int64_t iterations = 0;
  Vresult rc = ReadLetterTurns(ctx, 0, &turns);
  if (rc == VRESULT_OK) rc = ReadSteps(ctx, 1, s, 8, &iterations);
  if (rc != VRESULT_OK) return rc;
  const auto pass = [&](const Region& a, RegionPtr* r) { return StepThrough(a, turns, s.step, r); };
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    return until_stable ? RepeatUntilStable(in, iterations, pass, out)
                        : Repeat(in, iterations, pass, out);
  });
}

// opening_golay and closing_golay: `op` with the turned letter's
// foreground part.
Vresult SmoothByLetter(OpContext& ctx, Vresult (*op)(const Region&, const Element&, RegionPtr*)) {
  ElementPair letter;
  const Vresult rc = ReadLetterElements(ctx, 0, 1, &letter);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) { return op(in, letter.first, out); });
}

}  // namespace

// Two regions: the foreground part of the letter, then its background
// part, with the centre moved to (row, column).
VEXA_OPERATOR(gen_struct_elements) {
  GolayPair pair;
  int32_t row = 0, col = 0;
  Vresult rc = ReadLetter(ctx, 0, -1, &pair);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 1, &row);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 2, &col);
  if (rc != VRESULT_OK) return rc;
  return OutLetter(ctx, pair, row, col, false);
}

// The turned letter's foreground part (output 1) and background part
// (output 2), with the centre moved to (row, column).
VEXA_OPERATOR(golay_elements) {
  GolayPair pair;
  int32_t row = 0, col = 0;
  Vresult rc = ReadLetter(ctx, 0, 1, &pair);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 2, &row);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 3, &col);
  if (rc != VRESULT_OK) return rc;
  return OutLetter(ctx, pair, row, col, true);
}

VEXA_OPERATOR(hit_or_miss_golay) { return TurnedLetterOp(ctx, 1, -1, kHitOrMissStep, false); }

// The union of the hit-or-miss points of all eight turns.
VEXA_OPERATOR(hit_or_miss_seq) {
  std::vector<ElementPair> turns;
  const Vresult rc = ReadLetterTurns(ctx, 0, &turns);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    RegionPtr all = Region::Empty();
    for (const ElementPair& t : turns) {
      RegionPtr hits;
      const Vresult r = HitOrMiss(in, t.first, t.second, &hits);
      if (r != VRESULT_OK) return r;
      all = Region::Union(*all, *hits);
    }
    *out = std::move(all);
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(thinning_seq) { return LetterSequenceOp(ctx, kThinStep, true); }
VEXA_OPERATOR(thickening_golay) { return TurnedLetterOp(ctx, 1, -1, kThickenStep, false); }
VEXA_OPERATOR(thickening_seq) { return LetterSequenceOp(ctx, kThickenStep, true); }
VEXA_OPERATOR(dilation_golay) { return TurnedLetterOp(ctx, 2, 1, kDilateStep, false); }
VEXA_OPERATOR(erosion_golay) { return TurnedLetterOp(ctx, 2, 1, kErodeStep, false); }
VEXA_OPERATOR(dilation_seq) { return LetterSequenceOp(ctx, kDilateStep, false); }
VEXA_OPERATOR(erosion_seq) { return LetterSequenceOp(ctx, kErodeStep, false); }
VEXA_OPERATOR(opening_golay) { return SmoothByLetter(ctx, Opening); }
VEXA_OPERATOR(closing_golay) { return SmoothByLetter(ctx, Closing); }

// One thinning step: every region loses the hit-or-miss points of the
// letter turned clockwise by `rotation` degrees.
VEXA_OPERATOR(thinning_golay) { return TurnedLetterOp(ctx, 1, -1, kThinStep, false); }

}  // namespace vexa

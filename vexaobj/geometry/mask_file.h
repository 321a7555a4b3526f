// The text files of filter masks (docs/formats/filter-mask.md): reading a
// whole file with strict checks of its layout, and writing one. Failures
// come back as a runtime file code with a message naming the file; the
// mask classes raise them.
#ifndef VEXAOBJ_GEOMETRY_MASK_FILE_H
#define VEXAOBJ_GEOMETRY_MASK_FILE_H

#include <functional>
#include <string>
#include <vector>

#include <vexaobj/VBase.h>

namespace Vexa {
namespace internal {

// Largest width and height a mask file may give.
constexpr int kMaxMaskSide = 4095;

enum class MaskForm { kInteger, kReal };

// What a mask file holds once its layout has been checked.
struct MaskFileContents {
  MaskForm form = MaskForm::kInteger;
  int width = 0;
  int height = 0;
  Vlong div = 0;            // integer form only
  std::string numbers;      // the coefficient line, without its line end
  std::vector<double> reals;  // real form only: the coefficients
};

// A failure: a code of <vexa/errors.h> (0 when no file is at fault) and the
// message. An empty message means success.
struct MaskFileFailure {
  unsigned int err = 0;
  std::string message;
  bool Failed() const { return !message.empty(); }
};

// Reads and checks the file `name`. On failure `contents` is unspecified.
MaskFileFailure ReadMaskFile(const char* name, MaskFileContents* contents);

// The whole text of a file: the first line, then the width * height
// coefficients `coefficient(k)` in the order of k. Integer coefficients
// are passed as doubles, which hold every int exactly; reals must be
// finite.
std::string MaskFileText(MaskForm form, int width, int height, Vlong div,
                         const std::function<double(size_t)>& coefficient);

// The first failure of a mask of `width` x `height` that the file form
// cannot hold (sizes not odd, not positive or above kMaxMaskSide).
MaskFileFailure CheckMaskFileSize(const char* name, int width, int height);

// Writes `text` as the whole file `name`; a file left half-written is
// removed.
MaskFileFailure WriteMaskFile(const char* name, const std::string& text);

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_GEOMETRY_MASK_FILE_H

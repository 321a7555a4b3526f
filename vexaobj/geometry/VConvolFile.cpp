// Filter masks read from and written to their text files: the integer form
// through VConvolInt, the real form through the classes derived from
// VConvolFloat. The file layout and its checks are in mask_file.
#include <cmath>
#include <string>

#include <vexa/errors.h>
#include <vexaobj/VConvol.h>
#include <vexaobj/VException.h>

#include "mask_file.h"

namespace Vexa {

namespace {

using internal::MaskFileContents;
using internal::MaskFileFailure;
using internal::MaskForm;

constexpr const char* kReadIntProc =
    "static VConvolInt VConvolInt::ReadFile(const char *file_name)";
constexpr const char* kWriteIntProc = "void VConvolInt::WriteFile(const char *file_name) const";
constexpr const char* kReadRealProc = "void VConvolFloat::ReadFile(const char *file_name)";
constexpr const char* kWriteRealProc =
    "void VConvolFloat::WriteFile(const char *file_name) const";

// Reacts to `failure` if there is one; true if there was.
bool Raised(const char* proc, const MaskFileFailure& failure) {
  if (!failure.Failed()) return false;
  VException(__FILE__, __LINE__, proc, failure.err, failure.message.c_str()).React();
  return true;
}

MaskFileFailure NoName() { return {VERR_FILE_NOT_FOUND, "filter mask file name missing"}; }

// Reads `file_name` and checks that it holds the `form` wanted.
bool ReadForm(const char* proc, const char* file_name, MaskForm form,
              MaskFileContents* contents) {
  if (file_name == nullptr) return !Raised(proc, NoName());
  if (Raised(proc, internal::ReadMaskFile(file_name, contents))) return false;
  if (contents->form == form) return true;
  const std::string message =
      "filter mask file '" + std::string(file_name) +
      (form == MaskForm::kInteger ? "': holds a real mask, an integer mask was expected"
                                  : "': holds an integer mask, a real mask was expected");
  return !Raised(proc, {VERR_FILE_UNSUPPORTED, message});
}

// Checks the name and the size before anything is written.
bool CanWrite(const char* proc, const char* file_name, int width, int height) {
  if (file_name == nullptr) return !Raised(proc, NoName());
  return !Raised(proc, internal::CheckMaskFileSize(file_name, width, height));
}

}  // namespace

VConvolInt VConvolInt::ReadFile(const char* file_name) {
  MaskFileContents contents;
  if (!ReadForm(kReadIntProc, file_name, MaskForm::kInteger, &contents)) return VConvolInt();
  // The coefficient line has been checked word by word: the text form
  // reads it completely and exactly.
  VConvolInt mask(contents.width, contents.height, 0, contents.numbers.c_str());
  mask.div = contents.div;
  return mask;
}

void VConvolInt::WriteFile(const char* file_name) const {
  if (!CanWrite(kWriteIntProc, file_name, width, height)) return;
  if (values == nullptr) return;  // only after a failed allocation was reported
  const std::string text = internal::MaskFileText(
      MaskForm::kInteger, width, height, div, [this](size_t k) { return values[k]; });
  Raised(kWriteIntProc, internal::WriteMaskFile(file_name, text));
}

void VConvolFloat::ReadFile(const char* file_name) {
  MaskFileContents contents;
  if (!ReadForm(kReadRealProc, file_name, MaskForm::kReal, &contents)) return;
  if (contents.width != Width() || contents.height != Height()) {
    const std::string message =
        "filter mask file '" + std::string(file_name) + "': holds a " +
        std::to_string(contents.width) + "x" + std::to_string(contents.height) +
        " mask, this mask is " + std::to_string(Width()) + "x" + std::to_string(Height());
    Raised(kReadRealProc, {0, message});
    return;
  }
  for (size_t k = 0; k < contents.reals.size(); ++k)
    SetValueAbs(static_cast<int>(k / contents.height), static_cast<int>(k % contents.height),
                contents.reals[k]);
}

void VConvolFloat::WriteFile(const char* file_name) const {
  const int width = Width(), height = Height();
  if (!CanWrite(kWriteRealProc, file_name, width, height)) return;
  const auto value = [this, height](size_t k) {
    return GetValueAbs(static_cast<int>(k / height), static_cast<int>(k % height));
  };
  const size_t count = static_cast<size_t>(width) * height;
  for (size_t k = 0; k < count; ++k) {
    if (std::isfinite(value(k))) continue;
    const std::string message = "filter mask file '" + std::string(file_name) +
                                "': coefficient " + std::to_string(k + 1) +
                                " is not finite and cannot be written";
    Raised(kWriteRealProc, {VERR_FILE_WRITE, message});
    return;
  }
  Raised(kWriteRealProc,
         internal::WriteMaskFile(file_name,
                                 internal::MaskFileText(MaskForm::kReal, width, height, 0, value)));
}

}  // namespace Vexa

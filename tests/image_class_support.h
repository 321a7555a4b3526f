// Shared pieces of the image class tests: a leak-checked fixture whose
// raises throw, images made from pixel lists, and a reading of pixels
// through the runtime that does not go through the classes under test.
#pragma once

#include <string>
#include <vector>

#include <vexaobj/VImage.h>
#include <vexaobj/VProcedural.h>

#include "frame_test_support.h"
#include "leak_checked_test.h"

class ImageClassTest : public LeakCheckedTest {
 protected:
  frame_test::ScopedThrowingHandler handler_;
};

// A byte image of `w` x `h` holding `pixels` row by row.
inline Vexa::VImage ByteImage(std::vector<unsigned char> pixels, int w, int h) {
  return Vexa::VImage(pixels.data(), w, h, "byte");
}

// Pixel (row, column) as the runtime reads it.
inline double Gray(const Vexa::VImage& image, int row, int column) {
  double value = -1.0;
  EXPECT_EQ(Vexa::get_grayval(Vexa::Vobject(image.Key(), 0), row, column, &value),
            VRESULT_OK);
  return value;
}

// The message of the raise that `call` makes ("" if it makes none).
template <class Call>
std::string RaisedMessage(Call call) {
  try {
    call();
  } catch (const Vexa::VException& e) {
    return e.message != nullptr ? e.message : "";
  }
  return "";
}

template <class Call>
bool Raises(Call call) {
  try {
    call();
  } catch (const Vexa::VException&) {
    return true;
  }
  return false;
}

// The code of the raise that `call` makes (0 if it makes none; a failure
// reported with the runtime's text alone carries 0 as well).
template <class Call>
unsigned int RaisedCode(Call call) {
  try {
    call();
  } catch (const Vexa::VException& e) {
    return e.err;
  }
  return 0;
}

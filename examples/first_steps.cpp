// First steps with vexaobj: build an image in the runtime, segment it with
// threshold, measure the result, and see how failures are reported.
//
// Prints one line per step and exits with status 0 only if every result is
// the expected one.
#include <vexa/runtime.h>
#include <vexaobj.h>

#include <cstdio>
#include <cmath>
#include <cstring>

using namespace Vexa;

namespace {

int g_failures = 0;

void Report(const char* step, bool ok, const char* detail) {
  std::printf("%-34s %-4s %s\n", step, ok ? "ok" : "FAIL", detail);
  if (!ok) ++g_failures;
}

// Paints a filled box of gray value `value` with set_grayval, one pixel at a
// time through tuples of coordinates.
unsigned int PaintBox(const Vobject& image, Vlong r1, Vlong c1, Vlong r2, Vlong c2,
                      double value) {
  VTuple rows, cols, values;
  Vlong n = 0;
  for (Vlong r = r1; r <= r2; ++r)
    for (Vlong c = c1; c <= c2; ++c, ++n) {
      rows[n] = r;
      cols[n] = c;
      values[n] = value;
    }
  return set_grayval(image, rows, cols, values);
}

}  // namespace

int main() {
  char detail[256];

  // 1. A synthetic scene: a dark 320 x 240 image with two bright boxes.
  Vobject image;
  unsigned int rc = gen_image_const(&image, "byte", 320, 240);
  std::snprintf(detail, sizeof detail, "gen_image_const -> %u", rc);
  Report("create a 320x240 byte image", rc == 2, detail);
  rc = PaintBox(image, 20, 30, 59, 89, 200);           // 40 x 60 = 2400 pixels
  if (rc == 2) rc = PaintBox(image, 100, 150, 109, 159, 250);  // 10 x 10 = 100 pixels
  std::snprintf(detail, sizeof detail, "set_grayval -> %u", rc);
  Report("paint two boxes", rc == 2, detail);

  // 2. Segmentation and measurement.
  Vobject region;
  rc = threshold(image, &region, 128.0, 255.0);
  Vlong area = 0;
  double row = 0, col = 0;
  if (rc == 2) rc = area_center(region, &area, &row, &col);
  double expect_row = (2400.0 * 39.5 + 100.0 * 104.5) / 2500.0;
  double expect_col = (2400.0 * 59.5 + 100.0 * 154.5) / 2500.0;
  std::snprintf(detail, sizeof detail, "area %lld, centre (%.3f, %.3f)", (long long)area, row,
                col);
  Report("threshold 128..255 + area_center",
         rc == 2 && area == 2500 && std::fabs(row - expect_row) < 1e-9 &&
             std::fabs(col - expect_col) < 1e-9,
         detail);

  // 3. The same operator chosen by name at run time.
  VOperator op((char*)"area_center");
  op.SetInputObject("regions", region);
  rc = op.Execute();
  std::snprintf(detail, sizeof detail, "code %u, area %lld", rc,
                rc == 2 ? (long long)op.GetOutputCtrl(1)[0].L() : -1LL);
  Report("VOperator(\"area_center\")", rc == 2 && op.GetOutputCtrl(1)[0].L() == 2500, detail);

  // 4. Tuples are values: mixed types, growth on write.
  VTuple t;
  t[0] = 3;
  t[1] = 2.5;
  t[2] = "text";
  std::snprintf(detail, sizeof detail, "length %lld, types %d %d %d", (long long)t.Num(),
                t[0].ValType(), t[1].ValType(), t[2].ValType());
  Report("mixed tuple", t.Num() == 3 && t[2].ValType() == VPAR_STRING, detail);

  // 5. Failures are codes in procedural functions.
  char text[1024];
  Vlong wrong = 0;
  double dummy = 0;
  rc = get_grayval(image, 1000, 1000, &dummy);
  VErrorMessage(rc, text);
  std::snprintf(detail, sizeof detail, "code %u: %s", rc, text);
  Report("get_grayval outside the image", rc > 2, detail);
  Vobject none;
  rc = count_obj(none, &wrong);
  std::snprintf(detail, sizeof detail, "code %u, count %lld", rc, (long long)wrong);
  Report("count_obj of no object", rc == 2 && wrong == 0, detail);

  std::printf("%s\n", g_failures == 0 ? "all steps gave the expected result"
                                      : "some steps failed");
  return g_failures == 0 ? 0 : 1;
}

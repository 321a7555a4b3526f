// Blob analysis with the procedural functions: every operator is a
// function that returns a result code (2 is success) and writes its results
// through pointers.
//
// The scene is made here: six discs of three sizes painted into a dark
// image. The program finds them, keeps the large ones and prints area and
// centre of each, then checks the counts it knows to expect.
#include <vexa/runtime.h>
#include <vexaobj.h>

#include <cstdio>

using namespace Vexa;

// Stops at the first failed call with the runtime's text for its code.
#define CHECK(call)                                            \
  do {                                                         \
    const unsigned int rc_ = (call);                           \
    if (rc_ != 2) {                                            \
      char text_[1024];                                        \
      VErrorMessage(rc_, text_);                               \
      std::fprintf(stderr, "%s failed: %s\n", #call, text_);   \
      return 1;                                                \
    }                                                          \
  } while (0)

int main() {
  // Discs of radius 8, 15 and 25, two of each, painted at gray 220.
  const VTuple rows = VTuple(60.0).Append(60.0).Append(150.0).Append(150.0).Append(250.0)
                          .Append(250.0);
  const VTuple cols = VTuple(60.0).Append(200.0).Append(80.0).Append(240.0).Append(100.0)
                          .Append(300.0);
  const VTuple radii = VTuple(8.0).Append(8.0).Append(15.0).Append(15.0).Append(25.0)
                           .Append(25.0);
  Vobject image, discs, scene;
  CHECK(gen_image_const(&image, "byte", 400, 320));
  CHECK(gen_circle(&discs, rows, cols, radii));
  CHECK(paint_region(discs, image, &scene, 220.0, "fill"));

  // Segment, split into connected blobs, keep those of at least 500 pixels.
  Vobject bright, blobs, large;
  CHECK(threshold(scene, &bright, 128.0, 255.0));
  CHECK(connection(bright, &blobs));
  CHECK(select_shape(blobs, &large, "area", "and", 500.0, 1e9));

  Vlong found = 0, kept = 0;
  CHECK(count_obj(blobs, &found));
  CHECK(count_obj(large, &kept));
  VTuple area, row, column;
  CHECK(area_center(large, &area, &row, &column));

  std::printf("%lld blobs found, %lld of at least 500 pixels:\n", (long long)found,
              (long long)kept);
  for (Vlong i = 0; i < area.Num(); ++i)
    std::printf("  area %6lld  centre (%6.1f, %6.1f)\n", (long long)area[i].L(), row[i].D(),
                column[i].D());
  return found == 6 && kept == 4 ? 0 : 1;
}

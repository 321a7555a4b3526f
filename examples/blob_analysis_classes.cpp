// Blob analysis with the classes: the same scene as
// blob_analysis_procedural, with images and regions as objects whose
// methods raise on failure instead of returning codes.
#include <vexaobj.h>

#include <cstdio>

using namespace Vexa;

int main() {
  // Discs of radius 8, 15 and 25, two of each, painted at gray 220.
  const VTuple rows = VTuple(60.0).Append(60.0).Append(150.0).Append(150.0).Append(250.0)
                          .Append(250.0);
  const VTuple cols = VTuple(60.0).Append(200.0).Append(80.0).Append(240.0).Append(100.0)
                          .Append(300.0);
  const VTuple radii = VTuple(8.0).Append(8.0).Append(15.0).Append(15.0).Append(25.0)
                           .Append(25.0);
  const VImage board(400, 320, "byte");
  const VRegionArray discs = VRegionArray::GenCircle(rows, cols, radii);
  const VImage scene = discs.PaintRegion(board, 220.0, "fill");

  // Segment, split into blobs, keep those of at least 500 pixels.
  const VRegionArray blobs = VRegionArray(scene.Threshold(128.0, 255.0)).Connection();
  const VRegionArray large = blobs.SelectShape("area", "and", 500.0, 1e9);
  VTuple row, column;
  const VTuple area = large.AreaCenter(&row, &column);

  std::printf("%lld blobs found, %lld of at least 500 pixels:\n", (long long)blobs.Num(),
              (long long)large.Num());
  for (Vlong i = 0; i < area.Num(); ++i)
    std::printf("  area %6lld  centre (%6.1f, %6.1f)\n", (long long)area[i].L(), row[i].D(),
                column[i].D());
  return blobs.Num() == 6 && large.Num() == 4 ? 0 : 1;
}

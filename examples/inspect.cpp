// The demo: an inspection of a board that the program paints itself, so
// that nothing needs downloading. The board holds bright blobs of three
// sizes, a part with a round hole, a printed bar code, a 2D code and a
// shape to locate.
//
// Each step prints its results in a table on standard output and a
// progress line on standard error. A step whose operators this runtime
// does not implement yet says so and is skipped. The input image and the
// result picture, drawn through an off-screen window, go to
// demo-output/input.png and demo-output/result.png.
//
// Exit status 0 only if every available step gave the expected result.
//
//   inspect [OUTPUT_DIR]
#include <vexa/runtime.h>
#include <vexaobj.h>

// The codes on the board are written by the decoding engine's own encoder,
// so that the demo reads real symbols.
#define ZX_USE_UTF8 1
#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>

#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace Vexa;

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr Vlong kWidth = 640, kHeight = 480;
constexpr double kBackground = 40, kBlobGray = 230, kPartGray = 150, kShapeGray = 100;

struct Disc {
  double row, column, radius;
};
// The blobs: two of each radius.
const std::vector<Disc> kBlobs = {{70, 70, 8},   {70, 170, 8},   {170, 70, 14},
                                  {170, 190, 14}, {300, 80, 22},  {310, 200, 22}};
// The part: a plate with a round hole.
constexpr double kPartRow1 = 60, kPartCol1 = 300, kPartRow2 = 220, kPartCol2 = 460;
const Disc kHole = {140, 380, 35};

// The codes: an EAN-13 at 2 pixels per module, a QR code at 3.
const char* const kBarCodeText = "4006381333931";
const char* const kQrText = "VEXA DEMO 42";

// The shape: an L with legs 20 pixels thick and 80 long, whose corner
// points are given around its bounding box's centre; the template shows it
// upright in a box centred at (kShapeRow, kShapeCol), the board turned by
// kShapeAngle about that centre and moved by (kShapeShiftRow,
// kShapeShiftCol).
constexpr double kShapeRow = 300, kShapeCol = 560;
const double kShapeCorners[][2] = {{-40, -40}, {40, -40}, {40, 40}, {20, 40}, {20, -20}, {-40, -20}};
constexpr double kShapeAngle = 25 * kPi / 180, kShapeShiftRow = -2.5, kShapeShiftCol = 1.5;

int g_failed = 0;
std::vector<std::string> g_unavailable;

void Progress(const char* step) { std::fprintf(stderr, "[inspect] %s\n", step); }

std::string Text(unsigned int code) {
  char text[1024];
  VErrorMessage(code, text);
  return text;
}

// A step's check: prints the outcome and counts failures.
void Expect(bool ok, const char* what) {
  std::printf("  %-58s %s\n", what, ok ? "ok" : "UNEXPECTED");
  if (!ok) ++g_failed;
}

// Stops the program at a failed call that no step can go on without.
void Must(unsigned int rc, const char* call) {
  if (rc == 2) return;
  std::fprintf(stderr, "[inspect] %s failed: %s\n", call, Text(rc).c_str());
  std::exit(1);
}

// True if the runtime implements `op` (its call with empty inputs answers
// anything but 9001); otherwise records the step as not yet available.
bool Available(const char* op, const char* step) {
  VOperator probe(op);
  if (probe.Execute() != 9001) return true;
  g_unavailable.push_back(std::string(step) + " (" + op + ")");
  std::printf("  %-58s not yet available\n", step);
  return false;
}

// Paints `region` into `image` with `gray`.
void Paint(Vobject* image, const Vobject& region, double gray) {
  Vobject painted;
  Must(paint_region(region, *image, &painted, gray, "fill"), "paint_region");
  *image = painted;
}

// A symbol of `format` holding `text` on a white label, its dark modules
// `module` pixels wide, the symbol's top left corner at (row, column) and
// a quiet zone of `quiet` pixels; linear codes get bars `bar_height` high.
void PaintCode(Vobject* image, ZXing::BarcodeFormat format, const char* text, int module,
               double row, double column, double quiet, int bar_height) {
  const ZXing::BitMatrix bits = ZXing::MultiFormatWriter(format).setMargin(0).encode(text, 0, 0);
  const bool linear = bits.height() == 1;
  const int rows = linear ? bar_height : bits.height() * module;
  Vobject label, dark;
  Must(gen_rectangle1(&label, row - quiet, column - quiet, row + rows - 1 + quiet,
                      column + bits.width() * module - 1 + quiet),
       "gen_rectangle1");
  Paint(image, label, 255);
  for (int r = 0; r < (linear ? 1 : bits.height()); ++r)
    for (int c = 0; c < bits.width(); ++c) {
      if (!bits.get(c, r)) continue;
      const double r1 = row + (linear ? 0 : r * module), c1 = column + c * module;
      Must(gen_rectangle1(&dark, r1, c1, linear ? row + rows - 1 : r1 + module - 1, c1 + module - 1),
           "gen_rectangle1");
      Paint(image, dark, 0);
    }
}

// The L, turned by `angle` about the centre of its box and moved by
// (shift_row, shift_col).
Vobject ShapeRegion(double angle, double shift_row, double shift_col) {
  VTuple rows, columns;
  for (const auto& p : kShapeCorners) {
    rows.Append(VTuple(kShapeRow + shift_row + p[0] * std::cos(angle) - p[1] * std::sin(angle)));
    columns.Append(VTuple(kShapeCol + shift_col + p[0] * std::sin(angle) + p[1] * std::cos(angle)));
  }
  Vobject shape;
  Must(gen_region_polygon_filled(&shape, rows, columns), "gen_region_polygon_filled");
  return shape;
}

// An image of the board's background with only the upright L: the
// template the shape model is made from.
Vobject PaintShapeTemplate() {
  Vobject image, plate;
  Must(gen_image_const(&image, "byte", kWidth, kHeight), "gen_image_const");
  Must(gen_rectangle1(&plate, 0, 0, kHeight - 1, kWidth - 1), "gen_rectangle1");
  Paint(&image, plate, kBackground);
  Paint(&image, ShapeRegion(0, 0, 0), kShapeGray);
  return image;
}

// The board: background, blobs, the plate with its hole, an EAN-13 and a
// QR code on white labels, and the L-shaped part to locate.
Vobject PaintScene() {
  Vobject image;
  Must(gen_image_const(&image, "byte", kWidth, kHeight), "gen_image_const");
  auto paint = [&](const Vobject& region, double gray) { Paint(&image, region, gray); };
  Vobject plate, hole, blob;
  Must(gen_rectangle1(&plate, 0, 0, kHeight - 1, kWidth - 1), "gen_rectangle1");
  paint(plate, kBackground);
  for (const Disc& d : kBlobs) {
    Must(gen_circle(&blob, d.row, d.column, d.radius), "gen_circle");
    paint(blob, kBlobGray);
  }
  Must(gen_rectangle1(&plate, kPartRow1, kPartCol1, kPartRow2, kPartCol2), "gen_rectangle1");
  paint(plate, kPartGray);
  Must(gen_circle(&hole, kHole.row, kHole.column, kHole.radius), "gen_circle");
  paint(hole, kBackground);

  PaintCode(&image, ZXing::BarcodeFormat::EAN13, kBarCodeText, 2, 395, 310, 20, 60);
  PaintCode(&image, ZXing::BarcodeFormat::QRCode, kQrText, 3, 385, 555, 12, 0);
  paint(ShapeRegion(kShapeAngle, kShapeShiftRow, kShapeShiftCol), kShapeGray);
  return image;
}

// Blob analysis: the bright blobs, their areas and centres against the
// painted discs.
Vobject InspectBlobs(const Vobject& image) {
  Progress("blob analysis");
  std::printf("Blobs\n");
  Vobject bright, blobs;
  Must(threshold(image, &bright, 200.0, 240.0), "threshold");
  Must(connection(bright, &blobs), "connection");
  VTuple area, row, column;
  Must(area_center(blobs, &area, &row, &column), "area_center");
  std::printf("  %4s %8s %9s %9s\n", "#", "area", "row", "column");
  int matched = 0;
  for (Vlong i = 0; i < area.Num(); ++i) {
    std::printf("  %4lld %8lld %9.2f %9.2f\n", (long long)i + 1, (long long)area[i].L(),
                row[i].D(), column[i].D());
    for (const Disc& d : kBlobs) {
      const double expected = kPi * d.radius * d.radius;
      if (std::fabs(row[i].D() - d.row) < 0.5 && std::fabs(column[i].D() - d.column) < 0.5 &&
          std::fabs(area[i].L() - expected) < 0.06 * expected)
        ++matched;
    }
  }
  Expect(area.Num() == static_cast<Vlong>(kBlobs.size()), "six blobs found");
  Expect(matched == static_cast<int>(kBlobs.size()), "each at its disc's centre with its area");
  return blobs;
}

// The hole of the part: the filled plate minus the plate, measured by its
// smallest enclosing circle.
Vobject InspectHole(const Vobject& image) {
  Progress("hole of the part");
  std::printf("Hole\n");
  Vobject plate, filled, hole;
  Must(threshold(image, &plate, 140.0, 160.0), "threshold");
  Must(fill_up(plate, &filled), "fill_up");
  Must(difference(filled, plate, &hole), "difference");
  double row = 0, column = 0, radius = 0;
  Must(smallest_circle(hole, &row, &column, &radius), "smallest_circle");
  std::printf("  centre (%.2f, %.2f), diameter %.2f px\n", row, column, 2 * radius);
  Expect(std::fabs(row - kHole.row) < 0.5 && std::fabs(column - kHole.column) < 0.5,
         "hole centre where it was drilled");
  Expect(std::fabs(radius - kHole.radius) < 1.0, "hole diameter within 2 px");
  return hole;
}

// The plate's width along a line above the hole: a measure rectangle
// across the plate, its edge pair from dark to bright and back. The plate
// covers columns 300 to 460, so its pixel edges lie at 299.5 and 460.5.
void InspectWidth(const Vobject& image) {
  Progress("measuring the plate's width");
  std::printf("Widths\n");
  if (!Available("gen_measure_rectangle2", "1D measuring of the plate's width")) return;
  const double row = 80, column = 0.5 * (kPartCol1 + kPartCol2);
  Vlong measure = 0;
  Must(gen_measure_rectangle2(row, column, 0.0, 0.5 * (kPartCol2 - kPartCol1) + 20, 5, kWidth,
                              kHeight, "bilinear", &measure),
       "gen_measure_rectangle2");
  VTuple row1, col1, amp1, row2, col2, amp2, width, gap;
  Must(measure_pairs(image, measure, 1.0, 30.0, "positive", "all", &row1, &col1, &amp1, &row2,
                     &col2, &amp2, &width, &gap),
       "measure_pairs");
  close_measure(measure);
  const double expected = kPartCol2 - kPartCol1 + 1;
  for (Vlong i = 0; i < width.Num(); ++i)
    std::printf("  edges at columns %.3f and %.3f, width %.3f px\n", col1[i].D(), col2[i].D(),
                width[i].D());
  Expect(width.Num() == 1 && std::fabs(width[0].D() - expected) < 0.05,
         "one edge pair, the plate's width to 0.05 px");
}

// What the code and shape steps found, for the result picture.
struct Found {
  Vobject bar_code;     // symbol regions
  Vobject data_code;    // symbol outlines
  Vobject shape;        // the model's edges at the match
};

// The EAN-13 and the QR code, read with models for their symbologies.
void InspectCodes(const Vobject& image, Found* found) {
  Progress("reading codes");
  std::printf("Codes\n");
  if (Available("create_bar_code_model", "bar code reading")) {
    Vlong model = 0;
    Must(create_bar_code_model(VTuple(), VTuple(), &model), "create_bar_code_model");
    VTuple text;
    Must(find_bar_code(image, &found->bar_code, model, "EAN-13", &text), "find_bar_code");
    clear_bar_code_model(model);
    for (Vlong i = 0; i < text.Num(); ++i) std::printf("  EAN-13: %s\n", text[i].S());
    Expect(text.Num() == 1 && std::string(text[0].S()) == kBarCodeText, "the EAN-13 read exactly");
  }
  if (Available("create_data_code_2d_model", "2D code reading")) {
    Vlong model = 0;
    Must(create_data_code_2d_model("QR Code", VTuple(), VTuple(), &model),
         "create_data_code_2d_model");
    VTuple results, text;
    Must(find_data_code_2d(image, &found->data_code, model, VTuple(), VTuple(), &results, &text),
         "find_data_code_2d");
    clear_data_code_2d_model(model);
    for (Vlong i = 0; i < text.Num(); ++i) std::printf("  QR code: %s\n", text[i].S());
    Expect(text.Num() == 1 && std::string(text[0].S()) == kQrText, "the QR code read exactly");
  }
}

// The L: a shape model from the upright template, found on the board over
// the full circle with least-squares refinement.
void InspectShape(const Vobject& image, Found* found) {
  Progress("locating the shape");
  std::printf("Shape\n");
  if (!Available("create_shape_model", "shape-based matching")) return;
  Vobject box, templ;
  Must(gen_rectangle1(&box, kShapeRow - 50, kShapeCol - 50, kShapeRow + 50, kShapeCol + 50),
       "gen_rectangle1");
  Must(reduce_domain(PaintShapeTemplate(), box, &templ), "reduce_domain");
  Vlong model = 0;
  Must(create_shape_model(templ, VTuple("auto"), 0.0, 2 * kPi, VTuple("auto"), "auto",
                          "use_polarity", VTuple("auto"), VTuple("auto"), &model),
       "create_shape_model");
  VTuple row, column, angle, score;
  Must(find_shape_model(image, model, 0.0, 2 * kPi, 0.7, 1, 0.5, "least_squares", 0, 0.9, &row,
                        &column, &angle, &score),
       "find_shape_model");
  for (Vlong i = 0; i < row.Num(); ++i)
    std::printf("  L at (%.2f, %.2f), turned %.2f degrees, score %.3f\n", row[i].D(),
                column[i].D(), angle[i].D() * 180 / kPi, score[i].D());
  const bool one = row.Num() == 1;
  Expect(one && std::fabs(row[0].D() - (kShapeRow + kShapeShiftRow)) < 1.0 &&
             std::fabs(column[0].D() - (kShapeCol + kShapeShiftCol)) < 1.0,
         "one L, where it was put to 1 px");
  Expect(one && std::fabs(angle[0].D() - kShapeAngle) < 0.5 * kPi / 180,
         "turned by 25 degrees to 0.5 degrees");
  if (one) {
    Vobject edges;
    VTuple pose;
    Must(get_shape_model_contours(&edges, model, 1), "get_shape_model_contours");
    Must(vector_angle_to_rigid(0.0, 0.0, 0.0, row[0].D(), column[0].D(), angle[0].D(), &pose),
         "vector_angle_to_rigid");
    Must(affine_trans_contour_xld(edges, &found->shape, pose), "affine_trans_contour_xld");
  }
  clear_shape_model(model);
}

void WriteResult(const Vobject& image, const Vobject& blobs, const Vobject& hole,
                 const Found& found, const std::string& dir) {
  Progress("writing the result picture");
  Vlong window = 0;
  Must(open_window(0, 0, kWidth, kHeight, 0, "buffer", "", &window), "open_window");
  Must(disp_image(image, window), "disp_image");
  Must(set_draw(window, "margin"), "set_draw");
  Must(set_color(window, "red"), "set_color");
  Must(disp_region(blobs, window), "disp_region");
  Must(set_color(window, "green"), "set_color");
  Must(disp_region(hole, window), "disp_region");
  Must(set_color(window, "blue"), "set_color");
  Must(disp_region(found.bar_code, window), "disp_region");
  Must(disp_obj(found.data_code, window), "disp_obj");
  Must(set_color(window, "magenta"), "set_color");
  Must(set_line_width(window, 2), "set_line_width");
  Must(disp_obj(found.shape, window), "disp_obj");
  // The window's contents go straight into a PNG file ("result.png").
  Must(dump_window(window, "png", (dir + "/result").c_str()), "dump_window");
  Must(close_window(window), "close_window");
  Must(write_image(image, "png", 0, (dir + "/input.png").c_str()), "write_image");
  std::printf("Pictures\n  %s/input.png, %s/result.png\n", dir.c_str(), dir.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const std::string dir = argc > 1 ? argv[1] : "demo-output";
  mkdir(dir.c_str(), 0755);

  Progress("painting the board");
  const Vobject image = PaintScene();
  const Vobject blobs = InspectBlobs(image);
  const Vobject hole = InspectHole(image);

  InspectWidth(image);
  Found found;
  InspectCodes(image, &found);
  InspectShape(image, &found);

  WriteResult(image, blobs, hole, found, dir);

  std::printf("\n%d unexpected result(s).", g_failed);
  if (!g_unavailable.empty()) {
    std::printf(" Not yet available in this runtime:");
    for (size_t i = 0; i < g_unavailable.size(); ++i)
      std::printf("%s %s", i ? "," : "", g_unavailable[i].c_str());
    std::printf(".");
  }
  std::printf("\n");
  return g_failed == 0 ? 0 : 1;
}

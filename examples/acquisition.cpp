// An acquisition loop as it runs against a camera, here against the "File"
// frame grabber, which delivers the images of a directory one by one. The
// program first writes three images of rising brightness into a scratch
// directory, then grabs five frames (the grabber starts over at the end)
// and prints the mean gray value of each.
#include <vexa/runtime.h>
#include <vexaobj.h>

#include <sys/stat.h>

#include <cstdio>
#include <string>

using namespace Vexa;

int main(int argc, char** argv) {
  const std::string dir = argc > 1 ? argv[1] : "acquisition-frames";
  mkdir(dir.c_str(), 0755);
  for (int i = 0; i < 3; ++i) {
    Vobject blank, image;
    gen_image_const(&blank, "byte", 64, 48);
    gen_image_proto(blank, &image, 50.0 * (i + 1));
    write_image(image, "png", 0, (dir + "/frame" + std::to_string(i) + ".png").c_str());
  }

  Vlong grabber = -1;
  unsigned int rc = open_framegrabber("File", 1, 1, 0, 0, 0, 0, "default", -1, "default", -1.0,
                                      "false", dir.c_str(), "default", -1, -1, &grabber);
  if (rc != 2) {
    char text[1024];
    VErrorMessage(rc, text);
    std::fprintf(stderr, "open_framegrabber: %s\n", text);
    return 1;
  }
  int expected = 0;
  for (int frame = 0; frame < 5; ++frame) {
    Vobject image;
    double mean = 0, deviation = 0;
    rc = grab_image(&image, grabber);
    if (rc == 2) rc = intensity(image, image, &mean, &deviation);
    if (rc != 2) break;
    std::printf("frame %d: mean gray %.0f\n", frame, mean);
    if (mean == 50.0 * (frame % 3 + 1)) ++expected;
  }
  close_framegrabber(grabber);
  return rc == 2 && expected == 5 ? 0 : 1;
}

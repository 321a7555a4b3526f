// Writes small valid files of every image format and of the region format
// into the two directories given, as seeds for the file-reading fuzz
// targets: each pixel type and channel count a format holds, and the
// format options that change the file's layout.
#include <cstdio>
#include <string>

#include <vexaobj.h>

using namespace Vexa;

namespace {

// A small image of `channels` channels with a gradient and a domain that
// leaves out a corner, so that every reader sees varying pixels.
Vobject TestImage(const char* type, int channels) {
  Vobject image, domain, reduced;
  gen_image_gray_ramp(&image, 3.0, 5.0, 20.0, 3, 4, 9, 7);
  Vobject converted;
  convert_image_type(image, &converted, type);
  Vobject result = converted;
  if (channels == 3) compose3(converted, converted, converted, &result);
  gen_rectangle1(&domain, 1, 0, 6, 7);
  reduce_domain(result, domain, &reduced);
  return reduced;
}

struct ImageSeed {
  const char* type;
  int channels;
  const char* format;
  const char* file;
};

const ImageSeed kImageSeeds[] = {
    {"byte", 1, "png", "gray.png"},
    {"byte", 3, "png", "rgb.png"},
    {"uint2", 1, "png", "gray16.png"},
    {"byte", 1, "jpeg 90", "gray.jpg"},
    {"byte", 3, "jpeg 90", "rgb.jpg"},
    {"byte", 1, "tiff", "gray.tif"},
    {"byte", 3, "tiff planar lzw", "planar.tif"},
    {"uint2", 1, "tiff tiled deflate", "tiled.tif"},
    {"real", 1, "tiff packbits", "real.tif"},
    {"byte", 1, "pgm", "gray.pgm"},
    {"byte", 1, "pgm ascii", "ascii.pgm"},
    {"byte", 3, "ppm", "rgb.ppm"},
    {"byte", 1, "native", "gray.vxi"},
    {"int2", 3, "native", "int2.vxi"},
    {"real", 1, "native", "real.vxi"},
};

bool WriteImages(const std::string& dir) {
  bool ok = true;
  for (const ImageSeed& s : kImageSeeds) {
    const std::string path = dir + "/" + s.file;
    if (write_image(TestImage(s.type, s.channels), s.format, 0, path.c_str()) != VRESULT_OK) {
      std::fprintf(stderr, "cannot write %s\n", path.c_str());
      ok = false;
    }
  }
  return ok;
}

bool WriteRegions(const std::string& dir) {
  Vobject rectangle, circle, empty, both;
  gen_rectangle1(&rectangle, 2, 3, 8, 12);
  gen_circle(&circle, 20.0, 20.0, 6.5);
  gen_empty_region(&empty);
  concat_obj(rectangle, circle, &both);
  const std::pair<const Vobject*, const char*> seeds[] = {
      {&rectangle, "rectangle.reg"}, {&both, "two.reg"}, {&empty, "empty.reg"}};
  bool ok = true;
  for (const auto& seed : seeds) {
    const std::string path = dir + "/" + seed.second;
    if (write_region(*seed.first, path.c_str()) != VRESULT_OK) {
      std::fprintf(stderr, "cannot write %s\n", path.c_str());
      ok = false;
    }
  }
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s IMAGE_DIR REGION_DIR\n", argv[0]);
    return 2;
  }
  const bool images = WriteImages(argv[1]);
  const bool regions = WriteRegions(argv[2]);
  return images && regions ? 0 : 1;
}

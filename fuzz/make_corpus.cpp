// Writes small valid files of every image format and of the region format,
// serialised items of every kind, and the frames sockets send, into the
// four directories given, as
// seeds for the file-reading fuzz targets: each pixel type and channel
// count a format holds, and the format options that change the file's
// layout.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

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

// Writes the bytes of serialised item `item` as seed `name`, behind a first
// byte with the top bit set: the deserialize target takes such an input
// as a whole item. Clears the item.
bool WriteItem(const std::string& dir, const char* name, Vlong item) {
  Vlong pointer = 0, size = 0;
  bool ok = get_serialized_item_ptr(item, &pointer, &size) == VRESULT_OK;
  if (ok) {
    FILE* f = std::fopen((dir + "/" + name).c_str(), "wb");
    const unsigned char whole = 0x80;
    ok = f != nullptr && std::fwrite(&whole, 1, 1, f) == 1 &&
         std::fwrite(reinterpret_cast<const void*>(pointer), 1, static_cast<size_t>(size), f) ==
             static_cast<size_t>(size);
    if (f != nullptr) std::fclose(f);
  }
  clear_serialized_item(item);
  if (!ok) std::fprintf(stderr, "cannot write %s\n", name);
  return ok;
}

// A bright square on dark: a template that every model accepts.
Vobject SquareImage() {
  Vobject image, square, painted;
  gen_image_const(&image, "byte", 48, 48);
  gen_rectangle1(&square, 14, 14, 33, 33);
  paint_region(square, image, &painted, 200.0, "fill");
  return painted;
}

// make(&handle) makes a tool, serialize(handle, &item) stores it, written
// as seed `name`; clear(handle) closes the tool.
template <class Make, class Serialize, class Clear>
bool WriteToolItem(const std::string& dir, const char* name, Make make, Serialize serialize,
                   Clear clear) {
  Vlong handle = -1, item = -1;
  bool ok = make(&handle) == VRESULT_OK;
  if (ok) {
    ok = serialize(handle, &item) == VRESULT_OK && WriteItem(dir, name, item);
    clear(handle);
  }
  if (!ok) std::fprintf(stderr, "cannot write %s\n", name);
  return ok;
}

// Seeds of the items of every tool the runtime stores.
bool WriteToolItems(const std::string& dir) {
  const Vobject square = SquareImage();
  bool ok = WriteToolItem(
      dir, "measure.item",
      [](Vlong* h) { return gen_measure_rectangle2(20.0, 20.0, 0.3, 15.0, 3.0, 64, 48, "bilinear", h); },
      [](Vlong h, Vlong* i) { return serialize_measure(h, i); }, [](Vlong h) { return close_measure(h); });
  ok = WriteToolItem(
           dir, "metrology.item",
           [](Vlong* h) {
             unsigned int rc = create_metrology_model(h);
             if (rc == VRESULT_OK) rc = set_metrology_model_image_size(*h, 64, 48);
             Vlong index = 0;
             if (rc == VRESULT_OK)
               rc = add_metrology_object_circle_measure(VTuple(*h), VTuple(24.0), VTuple(24.0), VTuple(10.0),
                                                        VTuple(5.0), VTuple(2.0), VTuple(1.0), VTuple(30.0),
                                                        VTuple(), VTuple(), &index);
             return rc;
           },
           [](Vlong h, Vlong* i) { return serialize_metrology_model(h, i); },
           [](Vlong h) { return clear_metrology_model(h); }) &&
       ok;
  ok = WriteToolItem(
           dir, "bar_code.item", [](Vlong* h) { return create_bar_code_model(VTuple(), VTuple(), h); },
           [](Vlong h, Vlong* i) { return serialize_bar_code_model(h, i); },
           [](Vlong h) { return clear_bar_code_model(h); }) &&
       ok;
  ok = WriteToolItem(
           dir, "data_code.item",
           [](Vlong* h) { return create_data_code_2d_model("QR Code", VTuple(), VTuple(), h); },
           [](Vlong h, Vlong* i) { return serialize_data_code_2d_model(h, i); },
           [](Vlong h) { return clear_data_code_2d_model(h); }) &&
       ok;
  ok = WriteToolItem(
           dir, "shape_model.item",
           [&](Vlong* h) {
             return create_shape_model(square, VTuple(Vlong{2}), 0.0, 1.0, VTuple(0.1), "none",
                                       "use_polarity", VTuple(Vlong{30}), VTuple(Vlong{10}), h);
           },
           [](Vlong h, Vlong* i) { return serialize_shape_model(h, i); },
           [](Vlong h) { return clear_shape_model(h); }) &&
       ok;
  ok = WriteToolItem(
           dir, "ncc_model.item",
           [&](Vlong* h) { return create_ncc_model(square, VTuple(Vlong{2}), 0.0, 1.0, VTuple(0.1), "use_polarity", h); },
           [](Vlong h, Vlong* i) { return serialize_ncc_model(h, i); },
           [](Vlong h) { return clear_ncc_model(h); }) &&
       ok;
  ok = WriteToolItem(
           dir, "template.item",
           [&](Vlong* h) { return create_template(square, 255, 2, "sort", "original", h); },
           [](Vlong h, Vlong* i) { return serialize_template(h, i); },
           [](Vlong h) { return clear_template(h); }) &&
       ok;
  return ok;
}

bool WriteSerialized(const std::string& dir) {
  Vlong item = 0, matrix = 0;
  Vobject region;
  gen_circle(&region, 10.0, 12.0, 4.5);
  bool ok = serialize_tuple(VTuple(Vlong{7}).Append(2.5).Append("text"), &item) == VRESULT_OK &&
            WriteItem(dir, "tuple.item", item);
  ok = serialize_image(TestImage("byte", 3), &item) == VRESULT_OK &&
       WriteItem(dir, "image.item", item) && ok;
  ok = serialize_image(TestImage("real", 1), &item) == VRESULT_OK &&
       WriteItem(dir, "real_image.item", item) && ok;
  ok = serialize_region(region, &item) == VRESULT_OK && WriteItem(dir, "region.item", item) && ok;
  Vobject contour, polygon, both;
  ok = gen_circle_contour_xld(&contour, 10.0, 12.0, 4.5, 0.0, 6.28318, "positive", 1.0) == VRESULT_OK &&
       gen_polygons_xld(contour, &polygon, "ramer", 0.5) == VRESULT_OK &&
       concat_obj(contour, polygon, &both) == VRESULT_OK &&
       serialize_xld(both, &item) == VRESULT_OK && WriteItem(dir, "xld.item", item) && ok;
  if (create_matrix(2, 3, 1.5, &matrix) == VRESULT_OK) {
    ok = serialize_matrix(matrix, &item) == VRESULT_OK && WriteItem(dir, "matrix.item", item) && ok;
    clear_matrix(matrix);
  } else {
    ok = false;
  }
  return WriteToolItems(dir) && ok;
}

// The frames the runtime sends, caught on a plain TCP socket: `send` writes
// one frame through a runtime socket connected to it. Each seed is the
// socket_receive target's selector byte, then the frame.
bool WriteFrames(const std::string& dir) {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof addr;
  if (listener < 0 || bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
      listen(listener, 4) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
    return false;
  const Vlong port = ntohs(addr.sin_port);
  Vobject region;
  gen_circle(&region, 10.0, 12.0, 4.5);
  struct Frame {
    const char* name;
    unsigned char selector;  // the receive operator the target calls
    unsigned int (*send)(Vlong socket, const Vobject& region);
  };
  const Frame frames[] = {
      {"tuple.frame", 0,
       [](Vlong s, const Vobject&) {
         return send_tuple(VTuple(s), VTuple(Vlong{5}).Append(1.25).Append("frame"));
       }},
      {"image.frame", 1, [](Vlong s, const Vobject&) { return send_image(TestImage("byte", 1), s); }},
      {"region.frame", 2, [](Vlong s, const Vobject& r) { return send_region(r, s); }},
      {"xld.frame", 4,
       [](Vlong s, const Vobject&) {
         Vobject contour;
         const unsigned int rc = gen_circle_contour_xld(&contour, 5.0, 6.0, 3.0, 0.0, 3.0, "positive", 1.0);
         return rc == VRESULT_OK ? send_xld(contour, s) : rc;
       }},
  };
  bool ok = true;
  for (const Frame& f : frames) {
    Vlong runtime_socket = -1;
    if (open_socket_connect(VTuple("127.0.0.1"), VTuple(port), VTuple(), VTuple(),
                            &runtime_socket) != VRESULT_OK) {
      ok = false;
      continue;
    }
    const int peer = accept(listener, nullptr, nullptr);
    const bool sent = f.send(runtime_socket, region) == VRESULT_OK;
    close_socket(runtime_socket);
    std::string bytes(1, static_cast<char>(f.selector));
    char buffer[4096];
    for (ssize_t n; peer >= 0 && (n = recv(peer, buffer, sizeof buffer, 0)) > 0;)
      bytes.append(buffer, static_cast<size_t>(n));
    if (peer >= 0) close(peer);
    FILE* out = std::fopen((dir + "/" + f.name).c_str(), "wb");
    ok = sent && out != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size() &&
         ok;
    if (out != nullptr) std::fclose(out);
  }
  close(listener);
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: %s IMAGE_DIR REGION_DIR ITEM_DIR FRAME_DIR\n", argv[0]);
    return 2;
  }
  const bool images = WriteImages(argv[1]);
  const bool regions = WriteRegions(argv[2]);
  const bool items = WriteSerialized(argv[3]);
  const bool frames = WriteFrames(argv[4]);
  return images && regions && items && frames ? 0 : 1;
}

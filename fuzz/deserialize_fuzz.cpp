// The deserialize_* operators of every item kind the runtime reads, and
// read_matrix, over arbitrary bytes: a bad item must give a code and leave
// no object or handle behind. Most inputs get a valid header (magic,
// version, the kind chosen by the first byte, the length and checksum of
// the rest) so that the fuzzer reaches the payload decoders instead of
// stopping at the checksum; inputs whose first byte has the top bit set
// are taken as whole items, header included.
#include <cstring>
#include <vector>

#include "fuzz_support.h"

using namespace Vexa;

namespace {

// CRC-32 with the polynomial of zlib, bit by bit: the fuzz target links
// only the interface library.
uint32_t Crc32(const uint8_t* p, size_t n) {
  uint32_t crc = 0xffffffffu;
  for (size_t i = 0; i < n; ++i) {
    crc ^= p[i];
    for (int b = 0; b < 8; ++b) crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

void PutLittle(std::vector<uint8_t>* out, uint64_t v, int bytes) {
  for (int i = 0; i < bytes; ++i) out->push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// The item kinds the runtime reads.
const uint16_t kKinds[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 16, 20, 21, 22};

// deserialize(&handle) and, when it makes a tool, clear(handle), which must
// succeed.
template <class Deserialize, class Clear>
void Tool(Deserialize deserialize, Clear clear) {
  Vlong handle = -1;
  if (vexa_fuzz::CodeOf([&] { return deserialize(&handle); }) == VRESULT_OK && clear(handle) != VRESULT_OK)
    std::abort();
}

std::vector<uint8_t> Item(const uint8_t* data, size_t size) {
  if (size == 0 || (data[0] & 0x80)) return std::vector<uint8_t>(data + (size ? 1 : 0), data + size);
  const uint8_t* payload = data + 1;
  const size_t length = size - 1;
  std::vector<uint8_t> item = {'V', 'X', 'S', 'I'};
  PutLittle(&item, 1, 2);                  // version
  PutLittle(&item, kKinds[data[0] % (sizeof kKinds / sizeof kKinds[0])], 2);
  PutLittle(&item, length, 8);
  PutLittle(&item, Crc32(payload, length), 4);
  item.insert(item.end(), payload, payload + length);
  return item;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexa_fuzz::ThrowOnFailure();
  const std::vector<uint8_t> bytes = Item(data, size);
  Vlong item = -1;
  if (vexa_fuzz::CodeOf([&] {
        return create_serialized_item_ptr(static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data())),
                                          static_cast<Vlong>(bytes.size()), "true", &item);
      }) != VRESULT_OK)
    std::abort();
  VTuple tuple;
  vexa_fuzz::CodeOf([&] { return deserialize_tuple(item, &tuple); });
  Vobject objects;
  if (vexa_fuzz::CodeOf([&] { return deserialize_object(&objects, item); }) == VRESULT_OK) {
    Vlong n = 0;
    if (count_obj(objects, &n) != VRESULT_OK) std::abort();
  }
  VTuple pose;
  vexa_fuzz::CodeOf([&] { return deserialize_pose(item, &pose); });
  Vlong matrix = -1;
  if (vexa_fuzz::CodeOf([&] { return deserialize_matrix(item, &matrix); }) == VRESULT_OK) {
    VTuple values;
    if (get_full_matrix(matrix, &values) != VRESULT_OK || clear_matrix(matrix) != VRESULT_OK)
      std::abort();
  }
  Tool([&](Vlong* h) { return deserialize_measure(item, h); }, [](Vlong h) { return close_measure(h); });
  Tool([&](Vlong* h) { return deserialize_bar_code_model(item, h); },
       [](Vlong h) { return clear_bar_code_model(h); });
  Tool([&](Vlong* h) { return deserialize_data_code_2d_model(item, h); },
       [](Vlong h) { return clear_data_code_2d_model(h); });
  Tool([&](Vlong* h) { return deserialize_metrology_model(item, h); },
       [](Vlong h) { return clear_metrology_model(h); });
  Tool([&](Vlong* h) { return deserialize_shape_model(item, h); },
       [](Vlong h) { return clear_shape_model(h); });
  Tool([&](Vlong* h) { return deserialize_ncc_model(item, h); }, [](Vlong h) { return clear_ncc_model(h); });
  Tool([&](Vlong* h) { return deserialize_template(item, h); }, [](Vlong h) { return clear_template(h); });
  if (clear_serialized_item(item) != VRESULT_OK) std::abort();
  // The same bytes as a matrix file, read in its binary or its text form.
  Tool([&](Vlong* h) { return read_matrix(vexa_fuzz::ScratchFile(data, size).c_str(), h); },
       [](Vlong h) { return clear_matrix(h); });
  return 0;
}

#include "ops/codes/symbologies.h"

#include <cstring>

namespace vexa {

using ZXing::BarcodeFormat;

const Symbology kBarCodeTypes[kNumBarCodeTypes] = {
    {"EAN-13", BarcodeFormat::EAN13},
    {"EAN-8", BarcodeFormat::EAN8},
    {"UPC-A", BarcodeFormat::UPCA},
    {"UPC-E", BarcodeFormat::UPCE},
    {"Code 128", BarcodeFormat::Code128},
    {"Code 39", BarcodeFormat::Code39},
    {"Code 93", BarcodeFormat::Code93},
    {"Codabar", BarcodeFormat::Codabar},
    {"2/5 Interleaved", BarcodeFormat::ITF},
    {"GS1 DataBar Omnidir", BarcodeFormat::DataBar},
    {"GS1 DataBar Expanded", BarcodeFormat::DataBarExpanded},
};

const Symbology kDataCodeTypes[kNumDataCodeTypes] = {
    {"QR Code", BarcodeFormat::QRCode},
    {"Data Matrix ECC 200", BarcodeFormat::DataMatrix},
    {"PDF417", BarcodeFormat::PDF417},
    {"Aztec Code", BarcodeFormat::Aztec},
    {"Micro QR Code", BarcodeFormat::MicroQRCode},
};

int FindSymbology(const Symbology* table, int n, const char* name) {
  for (int i = 0; i < n; ++i)
    if (std::strcmp(table[i].name, name) == 0) return i;
  return -1;
}

const char* SymbologyName(BarcodeFormat format) {
  for (const Symbology& s : kBarCodeTypes)
    if (s.format == format) return s.name;
  for (const Symbology& s : kDataCodeTypes)
    if (s.format == format) return s.name;
  return "";
}

}  // namespace vexa

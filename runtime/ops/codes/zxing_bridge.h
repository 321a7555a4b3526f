// The decoding engine behind the bar code and 2D data code tools.
//
// Search area. The engine reads the first channel of a byte image, cropped
// to the bounding box of the image's domain. The crop is a view over the
// database's pixels (no copy); pixels inside the box but outside the domain
// are read as they are.
//
// Directions. The engine reads QR codes at any angle, but linear codes
// and Data Matrix only within about 15 degrees of a quarter turn, PDF417
// within about 8 and Aztec codes within about 4. For these the area is
// searched in views turned in steps of 30 degrees (15 for PDF417, 6 for
// Aztec), each read as it is
// and a quarter turn further (a view with swapped strides, no copy): the
// upright view first, then 90, then (at 30 degree steps) 30, 120, 60, 150
// degrees (resampled bilinearly). The first view that yields a decoded code ends the search.
// Corners found in a view are mapped back to the image; linear codes get
// their outline measured (linear_symbol_geometry.h).
//
// Linear codes: one per search. The engine merges the scan lines of
// several linear codes in one read only when they are parallel to the
// rows and stops on an internal check otherwise, so it is asked for one
// linear code at a time; several codes in one image need a domain each.
//
// Polarity. Dark symbols on a light background are read as they are; for
// light-on-dark symbols the search runs on an inverted copy.
//
// Small modules. When no view yields a decoded code, the views are read
// once more enlarged twice and sharpened (views of up to 4 million pixels;
// larger ones sharpened only), for 2D codes strongly and then binarized at
// one threshold per view, which recovers modules of 2 pixels under a blur
// of sigma 1 (Aztec codes from about 3). A search that finds nothing thus
// reads every view twice, the second time at four times the pixels.
//
// Aztec and Micro QR codes of 2 pixels per module. When the search for
// such codes still has no decoded code, their bull's-eyes or finder
// patterns are looked for in the grey values and each symbol is restored
// module by module and read as a crisp drawing (symbol_restoration.h); its
// corners are mapped back to the image.
#pragma once

#define ZX_USE_UTF8 1
#include <ZXing/BarcodeFormat.h>

#include <cstdint>
#include <string>
#include <vector>

#include "op_context.h"

namespace vexa {

enum class CodePolarity { kDarkOnLight, kLightOnDark, kAny };

struct CodeReadOptions {
  ZXing::BarcodeFormats formats;
  bool try_harder = true;
  int max_symbols = 0;      // 0: all
  int min_line_count = 2;   // identical scan lines a linear code needs
  bool code39_check = false;
  bool itf_check = false;
  CodePolarity polarity = CodePolarity::kDarkOnLight;
};

// One symbol the engine saw, decoded or not.
struct CodeHit {
  ZXing::BarcodeFormat format = ZXing::BarcodeFormat::None;
  bool valid = false;  // decoded; false: found but not decodable
  std::string text;    // UTF-8
  std::vector<uint8_t> bytes;
  // Corners in image coordinates, in reading order: top-left, top-right,
  // bottom-right, bottom-left of the symbol.
  double rows[4] = {0, 0, 0, 0}, cols[4] = {0, 0, 0, 0};
  std::string ec_level;
  bool mirrored = false;

  // Reading direction (top-left to top-right) in radians, counter-clockwise
  // from the column axis, in (-pi, pi].
  double Orientation() const;
};

// The pixels the engine reads: first channel of a byte image, cropped to
// its domain's bounding box. Valid while the input object lives.
struct CodeImage {
  const uint8_t* data = nullptr;  // pixel (row0, col0)
  int stride = 0;                 // bytes per image row
  int width = 0, height = 0;      // of the crop; 0 for an empty domain
  int row0 = 0, col0 = 0;
};

// The single image at input object `par`: VERR_OBJ_NUM for none or
// several, VERR_OBJ_CLASS for a region, VERR_PIXEL_TYPE for a pixel type
// other than byte.
Vresult InpCodeImage(OpContext& ctx, int par, CodeImage* image);

// Every symbol in the image (see above for the search order).
std::vector<CodeHit> ReadCodes(const CodeImage& image, const CodeReadOptions& options);

// The symbols in an upright drawing of a code (made by the runtime, not
// seen by a camera): the image as it is only, no turned views and no
// enhanced pass.
std::vector<CodeHit> ReadDrawnCodes(const CodeImage& image, const CodeReadOptions& options);

// The symbols inside the rectangle with centre (row, col), half lengths
// len1 along phi and len2 across: the rectangle is resampled so that phi
// becomes the reading direction.
std::vector<CodeHit> ReadCodesInRectangle(const CodeImage& image, const CodeReadOptions& options,
                                          double row, double col, double phi, double len1,
                                          double len2);

}  // namespace vexa

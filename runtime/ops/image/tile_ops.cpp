// Operators that put several images into one: tiles in a grid
// (tile_images, and the channels of one image with tile_channels) and
// parts placed at given offsets (tile_images_offset).
// The result holds copies of the pixels; where no image lands its pixels
// are 0. Its domain is the union of the placed parts of the inputs'
// domains, so what was outside a domain stays outside.
#include <algorithm>
#include <cstring>
#include <vector>

#include "image_op_util.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// Rows r1..r2, columns c1..c2 (inclusive) of an image.
struct Part {
  Vlong r1, c1, r2, c2;
};

// The images of input 1: at least one, all of the first one's pixel type
// and number of channels.
Vresult ReadTiles(OpContext& ctx, std::vector<db::ImageData>* images) {
  const std::vector<Vkey>* keys = nullptr;
  Vresult rc = ctx.InpObjs(1, &keys);
  if (rc != VRESULT_OK) return rc;
  if (keys->empty()) return VERR_OBJ_NUM(1);
  for (Vkey key : *keys) {
    db::ImageData image;
    rc = InpImage(1, key, &image);
    if (rc != VRESULT_OK) return rc;
    images->push_back(std::move(image));
  }
  const db::ImageData& first = images->front();
  for (const db::ImageData& image : *images) {
    if (image.channels.size() != first.channels.size()) return VERR_CHANNEL;
    if (image.channels[0]->type() != first.channels[0]->type()) return VERR_PIXEL_TYPE;
  }
  return VRESULT_OK;
}

// The result being put together: its channels, cleared, and the parts of
// the domain placed so far.
class Mosaic {
 public:
  Vresult Create(const db::ImageData& like, int32_t width, int32_t height) {
    channels_.resize(like.channels.size());
    for (auto& ch : channels_) {
      const Vresult rc = PixelBuffer::Create(like.channels[0]->type(), width, height, &ch);
      if (rc != VRESULT_OK) return rc;
    }
    return VRESULT_OK;
  }

  // Copies `part` of `image` (clipped to the image) so that its top left
  // corner lands at (to_r, to_c), clipped to the result, over whatever was
  // there.
  void Place(const db::ImageData& image, Part part, Vlong to_r, Vlong to_c) {
    const PixelBuffer& src = *image.channels[0];
    const PixelBuffer& dst = *channels_[0];
    // Clip the part to the image, then its landing place to the result,
    // moving the other side along.
    const Vlong r1 = std::max({part.r1, Vlong{0}, part.r1 - to_r});
    const Vlong c1 = std::max({part.c1, Vlong{0}, part.c1 - to_c});
    const Vlong r2 = std::min({part.r2, Vlong{src.height()} - 1, part.r1 - to_r + dst.height() - 1});
    const Vlong c2 = std::min({part.c2, Vlong{src.width()} - 1, part.c1 - to_c + dst.width() - 1});
    if (r1 > r2 || c1 > c2) return;
    const auto dr = static_cast<int32_t>(to_r - part.r1), dc = static_cast<int32_t>(to_c - part.c1);
    for (size_t i = 0; i < channels_.size(); ++i)
      CopyBlock(*image.channels[i], static_cast<int32_t>(r1), static_cast<int32_t>(c1),
                static_cast<int32_t>(r2 - r1 + 1), static_cast<int32_t>(c2 - c1 + 1),
                channels_[i].get(), static_cast<int32_t>(r1) + dr, static_cast<int32_t>(c1) + dc);
    const RegionPtr inside = image.domain->ClipToRectangle(
        static_cast<int32_t>(r1), static_cast<int32_t>(c1), static_cast<int32_t>(r2),
        static_cast<int32_t>(c2));
    domain_ = ChordUnion(domain_, ChordTranslate(inside->chords(), dr, dc));
  }

  // The result as a new object in `out`.
  Vresult Finish(NewKeys* out) {
    Vkey key = VKEY_UNDEF;
    const Vresult rc =
        db::NewImage(Region::FromCanonicalChords(std::move(domain_)), std::move(channels_), &key);
    if (rc == VRESULT_OK) out->Add(key);
    return rc;
  }

 private:
  Channels channels_;
  ChordList domain_;
};

// The grid's shape: num_columns (control 0) and the order (control 1),
// "horizontal" (filled row by row) or "vertical" (column by column).
Vresult ReadGrid(const OpContext& ctx, Vlong* columns, bool* by_rows) {
  const char* order = nullptr;
  Vresult rc = ctx.GetLong(0, columns);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &order);
  if (rc != VRESULT_OK) return rc;
  if (*columns < 1) return VERR_CTRL_VALUE(0);
  if (*columns > kMaxImageSide) return VERR_TOO_LARGE;
  *by_rows = std::strcmp(order, "horizontal") == 0;
  if (!*by_rows && std::strcmp(order, "vertical") != 0) return VERR_CTRL_VALUE(1);
  return VRESULT_OK;
}

// `images` (of one pixel type and channel count) in a grid of `columns`
// columns, every cell the size of the largest image, each image at the top
// left corner of its cell; the result as a new object in `out`.
Vresult TileGrid(const std::vector<db::ImageData>& images, Vlong columns, bool by_rows,
                 NewKeys* out) {
  Vlong cell_w = 0, cell_h = 0;
  for (const db::ImageData& image : images) {
    cell_w = std::max<Vlong>(cell_w, image.channels[0]->width());
    cell_h = std::max<Vlong>(cell_h, image.channels[0]->height());
  }
  const Vlong n = static_cast<Vlong>(images.size());
  const Vlong rows = (n + columns - 1) / columns;
  if (cell_w * columns > kMaxImageSide || cell_h * rows > kMaxImageSide) return VERR_TOO_LARGE;
  Mosaic mosaic;
  const Vresult rc = mosaic.Create(images[0], static_cast<int32_t>(cell_w * columns),
                                   static_cast<int32_t>(cell_h * rows));
  if (rc != VRESULT_OK) return rc;
  for (Vlong k = 0; k < n; ++k) {
    const db::ImageData& image = images[static_cast<size_t>(k)];
    const Vlong row = by_rows ? k / columns : k % rows;
    const Vlong col = by_rows ? k % columns : k / rows;
    mosaic.Place(image, {0, 0, image.channels[0]->height() - 1, image.channels[0]->width() - 1},
                 row * cell_h, col * cell_w);
  }
  return mosaic.Finish(out);
}

}  // namespace

// The images of input 1 in a grid of num_columns columns.
VEXA_OPERATOR(tile_images) {
  Vlong columns = 0;
  bool by_rows = true;
  std::vector<db::ImageData> images;
  Vresult rc = ReadGrid(ctx, &columns, &by_rows);
  if (rc == VRESULT_OK) rc = ReadTiles(ctx, &images);
  NewKeys out;
  if (rc == VRESULT_OK) rc = TileGrid(images, columns, by_rows, &out);
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// Each image of input 1 as a one-channel image of its channels in a grid
// of num_columns columns, every tile under the image's domain.
VEXA_OPERATOR(tile_channels) {
  Vlong columns = 0;
  bool by_rows = true;
  Vresult rc = ReadGrid(ctx, &columns, &by_rows);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    std::vector<db::ImageData> tiles;
    for (const PixelBuffer* ch : image.channels) tiles.push_back({image.domain, {ch}});
    return TileGrid(tiles, columns, by_rows, &out);
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// Image k's part row1[k]..row2[k], column1[k]..column2[k] (all four -1: the
// whole image) placed with its top left corner at (offset_row[k],
// offset_column[k]) of a width x height image; parts are clipped to their
// image and to the result, and later images cover earlier ones.
VEXA_OPERATOR(tile_images_offset) {
  std::vector<db::ImageData> images;
  Vresult rc = ReadTiles(ctx, &images);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> v[6];
  for (int k = 0; k < 6 && rc == VRESULT_OK; ++k) {
    rc = ctx.GetLongs(k, v[k]);
    if (rc == VRESULT_OK && v[k].size() != images.size()) rc = VERR_CTRL_NUM(k);
  }
  int32_t width = 0, height = 0;
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 6, &width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 7, &height);
  if (rc != VRESULT_OK) return rc;
  Mosaic mosaic;
  rc = mosaic.Create(images[0], width, height);
  if (rc != VRESULT_OK) return rc;
  for (size_t k = 0; k < images.size(); ++k) {
    Part part{v[2][k], v[3][k], v[4][k], v[5][k]};
    const bool whole = part.r1 == -1 && part.c1 == -1 && part.r2 == -1 && part.c2 == -1;
    if (whole) part = {0, 0, images[k].channels[0]->height() - 1, images[k].channels[0]->width() - 1};
    for (int i = 0; i < 4; ++i) {
      const Vlong x = i == 0 ? part.r1 : i == 1 ? part.c1 : i == 2 ? part.r2 : part.c2;
      if (x < -kMaxImageSide || x > 2 * kMaxImageSide) return VERR_CTRL_VALUE(2 + i);
    }
    if (part.r2 < part.r1) return VERR_CTRL_VALUE(4);
    if (part.c2 < part.c1) return VERR_CTRL_VALUE(5);
    if (std::abs(v[0][k]) > 2 * kMaxImageSide) return VERR_CTRL_VALUE(0);
    if (std::abs(v[1][k]) > 2 * kMaxImageSide) return VERR_CTRL_VALUE(1);
    mosaic.Place(images[k], part, v[0][k], v[1][k]);
  }
  NewKeys out;
  rc = mosaic.Finish(&out);
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa

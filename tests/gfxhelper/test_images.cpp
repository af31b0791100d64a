#include "tests/gfxhelper/test_images.h"

#include <algorithm>

#include "gfxhelper/pixel_format.h"

// stb_image_write compiled here, static, so that its JPEG part can be built without the
// shift check (it shifts negative values left, which the sanitizer would stop at).
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>
#include <png.h>

namespace tstest {

namespace {

void collect(void* context, void* data, int size) {
  auto* bytes = static_cast<Bytes*>(context);
  const auto* from = static_cast<const uint8_t*>(data);
  bytes->insert(bytes->end(), from, from + size);
}

void collectPng(png_structp png, png_bytep data, size_t size) { collect(png_get_io_ptr(png), data, static_cast<int>(size)); }

// Every quantiser 1 and no subsampling of the colour.
constexpr int kBestJpegQuality = 100;

}  // namespace

const uint8_t kJpegTexels[8][3] = {{255, 0, 0},   {0, 255, 0},   {0, 0, 255},   {255, 255, 255},
                                   {255, 255, 0}, {0, 255, 255}, {255, 0, 255}, {0, 0, 0}};

Bytes jpegFile() {
  Bytes bytes;
  if (!stbi_write_jpg_to_func(collect, &bytes, 4, 2, 3, kJpegTexels, kBestJpegQuality)) bytes.clear();
  return bytes;
}

Bytes encodePng(int width, int height, int channels, const uint8_t* pixels) {
  Bytes bytes;
  if (!stbi_write_png_to_func(collect, &bytes, width, height, channels, pixels, width * channels)) bytes.clear();
  return bytes;
}

void appendLe32(Bytes* bytes, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

namespace {

void appendLe16(Bytes* bytes, uint32_t value) {
  bytes->insert(bytes->end(), {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)});
}

// A BMP file from its fields: a header of 12 (core), 40, 108 or 124 bytes; a negative
// height for rows from the top; masks after a 40-byte header, inside a later one.
struct BmpFields {
  uint32_t headerBytes, bits, compression;
  std::vector<uint32_t> masks{};
  Bytes palette{}, pixels{};
};

Bytes bmpFile(const BmpFields& f, int32_t width, int32_t height) {
  const size_t masksAfter = f.headerBytes == 40 ? 4 * f.masks.size() : 0;
  const auto pixelsAt = static_cast<uint32_t>(14 + f.headerBytes + masksAfter + f.palette.size());
  Bytes bytes = {'B', 'M'};
  for (uint32_t field : {pixelsAt + static_cast<uint32_t>(f.pixels.size()), 0u, pixelsAt, f.headerBytes})
    appendLe32(&bytes, field);
  if (f.headerBytes == 12) {
    for (uint32_t field : {static_cast<uint32_t>(width), static_cast<uint32_t>(height), 1u, f.bits}) appendLe16(&bytes, field);
  } else {
    for (uint32_t field : {static_cast<uint32_t>(width), static_cast<uint32_t>(height), 1u | f.bits << 16, f.compression})
      appendLe32(&bytes, field);
    bytes.resize(bytes.size() + 20, 0);  // image size, resolution, colours used and important: all may be 0
    for (uint32_t mask : f.masks) appendLe32(&bytes, mask);
    bytes.resize(pixelsAt - f.palette.size(), 0);
  }
  for (const Bytes* part : {&f.palette, &f.pixels}) bytes.insert(bytes.end(), part->begin(), part->end());
  return bytes;
}

// A TGA file: image type 1 colour-mapped, 2 true colour, 3 grey, 8 more for run-length;
// `mapBits` 0 for no colour map.
Bytes tgaFile(uint32_t type, uint32_t width, uint32_t height, uint32_t bits, bool topDown, const Bytes& id,
              uint32_t mapBits, const Bytes& map, const Bytes& pixels) {
  Bytes bytes = {static_cast<uint8_t>(id.size()), static_cast<uint8_t>(mapBits ? 1 : 0), static_cast<uint8_t>(type)};
  for (uint32_t field : {0u, mapBits ? static_cast<uint32_t>(map.size() * 8 / mapBits) : 0u}) appendLe16(&bytes, field);
  bytes.push_back(static_cast<uint8_t>(mapBits));
  for (uint32_t field : {0u, 0u, width, height}) appendLe16(&bytes, field);
  bytes.insert(bytes.end(), {static_cast<uint8_t>(bits), static_cast<uint8_t>(topDown ? 0x20 : 0)});
  for (const Bytes* part : {&id, &map, &pixels}) bytes.insert(bytes.end(), part->begin(), part->end());
  return bytes;
}

// TGA packets over pixels of `size` bytes: a run packet for equal ones, a raw packet of one for others.
Bytes tgaRunLength(const Bytes& pixels, size_t size) {
  Bytes packets;
  for (size_t at = 0, count = 1; at < pixels.size(); at += count * size, count = 1) {
    while (count < 128 && at + (count + 1) * size <= pixels.size() &&
           std::equal(pixels.begin() + at, pixels.begin() + at + size, pixels.begin() + at + count * size))
      ++count;
    packets.push_back(static_cast<uint8_t>((count > 1 ? 0x80 : 0) | (count - 1)));
    packets.insert(packets.end(), pixels.begin() + at, pixels.begin() + at + size);
  }
  return packets;
}

// Rows given top to bottom, put bottom first unless `topDown`, each padded to `align` bytes.
Bytes fileRows(const Bytes& rows, size_t rowBytes, bool topDown, size_t align) {
  Bytes out;
  for (size_t i = 0, height = rows.size() / rowBytes; i < height; ++i) {
    const auto row = rows.begin() + static_cast<std::ptrdiff_t>((topDown ? i : height - 1 - i) * rowBytes);
    out.insert(out.end(), row, row + static_cast<std::ptrdiff_t>(rowBytes));
    out.resize((out.size() + align - 1) / align * align, 0);
  }
  return out;
}

// B, G, R (and A) rows, bottom first, from R, G, B (and A) ones.
Bytes bgrRows(int width, int height, int channels, const uint8_t* pixels, size_t align) {
  Bytes bgr(pixels, pixels + width * height * channels);
  for (size_t i = 0; i < bgr.size(); i += static_cast<size_t>(channels)) std::swap(bgr[i], bgr[i + 2]);
  return fileRows(bgr, static_cast<size_t>(width * channels), false, align);
}

// The picture: 7 x 3 texels of four colours (two, through a 1-bit palette), in each row
// "a b b c c d d" and one colour on from the row above. B, G, R, A; channels of 5 and 6
// bits keep 0, 16 and 255 exactly.
constexpr uint32_t kPictureWidth = 7, kPictureHeight = 3;
const uint8_t kColours[4][4] = {{16, 0, 255, 255}, {255, 255, 16, 0}, {0, 16, 0, 255}, {255, 255, 255, 0}};

uint32_t colourAt(uint32_t x, uint32_t y, uint32_t colours) { return ((x + 1) / 2 + y) % colours; }

// How the picture is stored: palette indices of `indexBits` (`layout` then the entries'),
// grey (and alpha) bytes, or texels of `layout`.
struct Storage {
  uint32_t indexBits, colours, greyBytes;
  gfximage::MaskLayout layout;

  uint32_t pixelBits() const { return indexBits ? indexBits : greyBytes ? 8 * greyBytes : layout.bits; }
  Bytes palette() const {
    Bytes entries(colours * layout.bits / 8);
    gfximage::packRow(layout, kColours[0], colours, entries.data());
    return entries;
  }
};

Bytes storedRows(const Storage& s, bool topDown, size_t align) {
  Bytes rows;
  for (uint32_t y = 0; y < kPictureHeight; ++y) {
    Bytes row(s.indexBits && s.indexBits < 16 ? (kPictureWidth * s.indexBits + 7) / 8 : 0);
    for (uint32_t x = 0; x < kPictureWidth; ++x) {
      const uint32_t colour = colourAt(x, y, s.colours), bit = x * s.indexBits;
      if (s.indexBits == 16) appendLe16(&row, colour);
      else if (s.indexBits) row[bit / 8] |= static_cast<uint8_t>(colour << (8 - s.indexBits - bit % 8));
      else if (s.greyBytes) row.insert(row.end(), {kColours[colour][0], kColours[colour][3]});  // grey from blue
      else row.resize(row.size() + s.layout.bits / 8);
      if (s.greyBytes == 1) row.pop_back();
      if (!s.indexBits && !s.greyBytes) gfximage::packRow(s.layout, kColours[colour], 1, &row[row.size() - s.layout.bits / 8]);
    }
    rows.insert(rows.end(), row.begin(), row.end());
  }
  return fileRows(rows, rows.size() / kPictureHeight, topDown, align);
}

Bytes expectedTexels(const Storage& s) {
  Bytes bgra;
  for (uint32_t y = 0; y < kPictureHeight; ++y)
    for (uint32_t x = 0; x < kPictureWidth; ++x) {
      const uint8_t* c = kColours[colourAt(x, y, s.colours)];
      const bool alpha = s.layout.alpha != 0 || s.greyBytes == 2;
      bgra.insert(bgra.end(), {c[0], s.greyBytes ? c[0] : c[1], s.greyBytes ? c[0] : c[2], alpha ? c[3] : uint8_t{255}});
    }
  return bgra;
}

// RLE8 or RLE4 rows, bottom first: a run of one, a run of two (in the top row with `skip`,
// a delta over them, which leaves them transparent black), four literal pixels, the end of
// the line; the last one the end of the bitmap.
Bytes bmpRunLength(bool nibbles, bool skip) {
  Bytes codes;
  for (uint32_t y = kPictureHeight; y-- > 0;) {
    const auto pair = [&](uint32_t x) {
      return static_cast<uint8_t>(nibbles ? colourAt(x, y, 4) << 4 | colourAt(x + 1, y, 4) : colourAt(x, y, 4));
    };
    const Bytes start = skip && y == 0 ? Bytes{1, pair(0), 0, 2, 2, 0, 0, 4} : Bytes{1, pair(0), 2, pair(1), 0, 4};
    codes.insert(codes.end(), start.begin(), start.end());
    if (nibbles) codes.insert(codes.end(), {pair(3), pair(5), 0, 0});
    else codes.insert(codes.end(), {pair(3), pair(4), pair(5), pair(6), 0, 0});
  }
  codes.back() = 1;
  return codes;
}

StoredPicture bmpPicture(const std::string& name, BmpFields f, const Storage& s, bool topDown) {
  f.bits = s.pixelBits();
  if (s.indexBits) f.palette = s.palette();
  if (f.pixels.empty()) f.pixels = storedRows(s, topDown, 4);
  const auto height = static_cast<int32_t>(kPictureHeight);
  return {name, bmpFile(f, kPictureWidth, topDown ? -height : height), expectedTexels(s)};
}

StoredPicture tgaPicture(const std::string& name, uint32_t type, const Storage& s, bool topDown, const Bytes& id = {}) {
  const Bytes rows = storedRows(s, topDown, 1);
  const Bytes pixels = type & 8 ? tgaRunLength(rows, s.pixelBits() / 8) : rows;
  return {name,
          tgaFile(type, kPictureWidth, kPictureHeight, s.pixelBits(), topDown, id, s.indexBits ? s.layout.bits : 0,
                  s.indexBits ? s.palette() : Bytes(), pixels),
          expectedTexels(s)};
}

}  // namespace

Bytes encodeBmp(int width, int height, int channels, const uint8_t* pixels) {
  const BmpFields f = {40, 8 * static_cast<uint32_t>(channels), 0, {}, {}, bgrRows(width, height, channels, pixels, 4)};
  return bmpFile(f, width, height);
}

Bytes encodeTga(int width, int height, int channels, const uint8_t* pixels, bool rle) {
  const Bytes rows = bgrRows(width, height, channels, pixels, 1);
  return tgaFile(rle ? 10 : 2, static_cast<uint32_t>(width), static_cast<uint32_t>(height), 8 * static_cast<uint32_t>(channels),
                 false, {}, 0, {}, rle ? tgaRunLength(rows, static_cast<size_t>(channels)) : rows);
}

std::vector<StoredPicture> bmpAndTgaPictures() {
  const gfximage::MaskLayout bgr = {24, 0xff0000, 0xff00, 0xff, 0}, bgrx = {32, 0xff0000, 0xff00, 0xff, 0};
  const gfximage::MaskLayout bgra = {32, 0xff0000, 0xff00, 0xff, 0xff000000}, x555 = {16, 0x7c00, 0x3e0, 0x1f, 0};
  const gfximage::MaskLayout r565 = {16, 0xf800, 0x7e0, 0x1f, 0}, a1555 = {16, 0x7c00, 0x3e0, 0x1f, 0x8000};
  const gfximage::MaskLayout abgr = {32, 0xff, 0xff00, 0xff0000, 0xff000000};
  const BmpFields info = {40, 0, 0}, core = {12, 0, 0};
  std::vector<StoredPicture> pictures = {
      bmpPicture("bmp_1bit", info, {1, 2, 0, bgrx}, false),
      bmpPicture("bmp_4bit", info, {4, 4, 0, bgrx}, false),
      bmpPicture("bmp_8bit_top_down", info, {8, 4, 0, bgrx}, true),
      bmpPicture("bmp_core_8bit", core, {8, 4, 0, bgr}, false),
      bmpPicture("bmp_core_24bit", core, {0, 4, 0, bgr}, false),
      bmpPicture("bmp_16bit", info, {0, 4, 0, x555}, false),
      bmpPicture("bmp_24bit", info, {0, 4, 0, bgr}, false),
      bmpPicture("bmp_32bit", info, {0, 4, 0, bgra}, false),
      bmpPicture("bmp_masks_565_top_down", {40, 0, 3, {0xf800, 0x7e0, 0x1f}}, {0, 4, 0, r565}, true),
      bmpPicture("bmp_v4_masks_1555", {108, 0, 3, {0x7c00, 0x3e0, 0x1f, 0x8000}}, {0, 4, 0, a1555}, false),
      bmpPicture("bmp_v5_masks_abgr", {124, 0, 3, {0xff, 0xff00, 0xff0000, 0xff000000}}, {0, 4, 0, abgr}, false),
      bmpPicture("bmp_rle8_delta", {40, 0, 1, {}, {}, bmpRunLength(false, true)}, {8, 4, 0, bgrx}, false),
      bmpPicture("bmp_rle4", {40, 0, 2, {}, {}, bmpRunLength(true, false)}, {4, 4, 0, bgrx}, false),
      tgaPicture("tga_16", 2, {0, 4, 0, x555}, false),
      tgaPicture("tga_24", 2, {0, 4, 0, bgr}, false),
      tgaPicture("tga_32_top_with_id", 2, {0, 4, 0, bgra}, true, {'i', 'd'}),
      tgaPicture("tga_grey", 3, {0, 4, 1, {}}, false),
      tgaPicture("tga_grey_alpha_top", 3, {0, 4, 2, {}}, true),
      tgaPicture("tga_mapped", 1, {8, 4, 0, bgr}, false),
      tgaPicture("tga_rle_16", 10, {0, 4, 0, x555}, true),
      tgaPicture("tga_rle_24", 10, {0, 4, 0, bgr}, false),
      tgaPicture("tga_rle_grey_alpha", 11, {0, 4, 2, {}}, false),
      tgaPicture("tga_rle_mapped_16bit_index_top", 9, {16, 4, 0, bgra}, true),
  };
  std::fill(pictures[11].bgra.begin() + 4, pictures[11].bgra.begin() + 12, 0);  // texels 1 and 2 skipped by the delta
  return pictures;
}

// The encoders' default error handlers end the process: a test's inputs are all valid.
Bytes libPng(int width, int height, const PngLayout& layout, const Bytes& samples) {
  Bytes bytes;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(png, &bytes, collectPng, nullptr);
  png_set_IHDR(png, info, width, height, layout.bitDepth, layout.colourType,
               layout.adam7 ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  std::vector<png_color> colours;
  Bytes alphas;
  for (size_t at = 0; at + 3 < layout.palette.size(); at += 4) {
    colours.push_back({layout.palette[at], layout.palette[at + 1], layout.palette[at + 2]});
    alphas.push_back(layout.palette[at + 3]);
  }
  if (!colours.empty()) {
    png_set_PLTE(png, info, colours.data(), static_cast<int>(colours.size()));
    png_set_tRNS(png, info, alphas.data(), static_cast<int>(alphas.size()), nullptr);
  }
  png_write_info(png, info);
  std::vector<png_bytep> rows;
  const size_t rowBytes = samples.size() / static_cast<size_t>(height);
  for (int y = 0; y < height; ++y) rows.push_back(const_cast<png_bytep>(samples.data() + y * rowBytes));
  png_write_image(png, rows.data());
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return bytes;
}

Bytes libJpeg(int width, int height, int channels, const Bytes& samples, bool progressive) {
  jpeg_compress_struct info;
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* file = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &file, &size);
  info.image_width = static_cast<JDIMENSION>(width);
  info.image_height = static_cast<JDIMENSION>(height);
  info.input_components = channels;
  info.in_color_space = channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, kBestJpegQuality, TRUE);
  info.comp_info[0].h_samp_factor = info.comp_info[0].v_samp_factor = 1;
  if (progressive) jpeg_simple_progression(&info);
  jpeg_start_compress(&info, TRUE);
  while (info.next_scanline < info.image_height) {
    auto row = const_cast<JSAMPROW>(samples.data() + static_cast<size_t>(info.next_scanline) * width * channels);
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  Bytes bytes(file, file + size);
  std::free(file);
  jpeg_destroy_compress(&info);
  return bytes;
}

Bytes ddsFile(const DdsHeader& header, const Bytes& data) {
  // Flags: caps, height, width, pixel format; the mip count and depth flags when they apply.
  const uint32_t flags = 0x1 | 0x2 | 0x4 | 0x1000 | (header.mipCount ? 0x20000 : 0) | (header.depth ? 0x800000 : 0);
  const uint32_t caps = 0x1000 | (header.mipCount > 1 ? 0x400000 | 0x8 : 0) | (header.caps2 ? 0x8 : 0);
  Bytes bytes;
  for (uint32_t field : {fourCC('D', 'D', 'S', ' '), header.headerSize, flags, header.height, header.width, 0u,
                         header.depth, header.mipCount})
    appendLe32(&bytes, field);
  for (int i = 0; i < 11; ++i) appendLe32(&bytes, 0);
  for (uint32_t field : {32u, header.pixelFlags, header.fourCC, header.bitCount, header.redMask,
                         header.greenMask, header.blueMask, header.alphaMask, caps, header.caps2, 0u, 0u, 0u})
    appendLe32(&bytes, field);
  bytes.insert(bytes.end(), data.begin(), data.end());
  return bytes;
}

DdsHeader ddsMasks(uint32_t width, uint32_t height, uint32_t bits, uint32_t red, uint32_t green, uint32_t blue,
                   uint32_t alpha) {
  const uint32_t flags = red | green | blue ? kDdpfRgb | (alpha ? kDdpfAlphaPixels : 0) : kDdpfAlpha;
  return {width, height, 0, flags, 0, bits, red, green, blue, alpha};
}

DdsHeader ddsFourCC(uint32_t width, uint32_t height, uint32_t code) { return {width, height, 0, kDdpfFourCC, code}; }

Bytes dxtColourBlock(uint16_t c0, uint16_t c1, const int indices[16]) {
  uint32_t bits = 0;
  for (int i = 0; i < 16; ++i) bits |= static_cast<uint32_t>(indices[i] & 3) << (2 * i);
  Bytes block;
  appendLe32(&block, c0 | static_cast<uint32_t>(c1) << 16);
  appendLe32(&block, bits);
  return block;
}

}  // namespace tstest

#include "tests/gfxhelper/test_images.h"

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

Bytes encodeBmp(int width, int height, int channels, const uint8_t* pixels) {
  Bytes bytes;
  if (!stbi_write_bmp_to_func(collect, &bytes, width, height, channels, pixels)) bytes.clear();
  return bytes;
}

Bytes encodeTga(int width, int height, int channels, const uint8_t* pixels, bool rle) {
  Bytes bytes;
  stbi_write_tga_with_rle = rle ? 1 : 0;  // this file's own copy of the writer's setting
  if (!stbi_write_tga_to_func(collect, &bytes, width, height, channels, pixels)) bytes.clear();
  return bytes;
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

void appendLe32(Bytes* bytes, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes->push_back(static_cast<uint8_t>(value >> (8 * i)));
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

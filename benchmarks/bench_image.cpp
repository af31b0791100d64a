// Decoding a 2048 x 2048 JPEG and PNG (written by the libraries' own encoders) through
// gfximage::decode, against the bare library call on the same bytes (what our wrapper
// adds: header checks, the error hooks, the transparency scan) and against stb_image, the
// decoder that read them before.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include <jpeglib.h>
#include <png.h>

#include "gfxhelper/image_decode.h"
#include "tests/gfxhelper/test_images.h"

#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_NO_STDIO
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

namespace {

using tstest::Bytes;

constexpr int kSize = 2048;
constexpr int kRepeats = 5;

// A photograph's kind of content: smooth gradients under a little noise, in R, G, B.
Bytes picture() {
  Bytes rgb;
  rgb.reserve(static_cast<size_t>(kSize) * kSize * 3);
  uint32_t noise = 12345;
  for (int y = 0; y < kSize; ++y)
    for (int x = 0; x < kSize; ++x) {
      noise = noise * 1664525u + 1013904223u;
      const int grain = static_cast<int>(noise >> 29);
      rgb.push_back(static_cast<uint8_t>((x / 8 + grain) & 0xff));
      rgb.push_back(static_cast<uint8_t>((y / 8 + grain) & 0xff));
      rgb.push_back(static_cast<uint8_t>(((x + y) / 16 + grain) & 0xff));
    }
  return rgb;
}

// The plain use of each library, into B, G, R, A, with its default error handling.
bool bareJpeg(const Bytes& file, Bytes* bgra) {
  jpeg_decompress_struct info;
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, file.data(), static_cast<unsigned long>(file.size()));
  jpeg_read_header(&info, TRUE);
  info.out_color_space = JCS_EXT_BGRA;
  jpeg_start_decompress(&info);
  bgra->resize(static_cast<size_t>(info.output_width) * info.output_height * 4);
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = bgra->data() + static_cast<size_t>(info.output_scanline) * info.output_width * 4;
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return true;
}

bool barePng(const Bytes& file, Bytes* bgra) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&image, file.data(), file.size())) return false;
  image.format = PNG_FORMAT_BGRA;
  bgra->resize(PNG_IMAGE_SIZE(image));
  return png_image_finish_read(&image, nullptr, bgra->data(), 0, nullptr) != 0;
}

bool ours(const Bytes& file, Bytes* bgra) {
  gfximage::DecodedImage image;
  if (!gfximage::decode(file.data(), file.size(), &image).ok()) return false;
  *bgra = std::move(image.levels[0].pixels);
  return true;
}

bool stb(const Bytes& file, Bytes* bgra) {
  int width = 0, height = 0, channels = 0;
  stbi_uc* rgba = stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &width, &height, &channels, 4);
  if (!rgba) return false;
  bgra->assign(rgba, rgba + static_cast<size_t>(width) * height * 4);
  for (size_t at = 0; at < bgra->size(); at += 4) std::swap((*bgra)[at], (*bgra)[at + 2]);
  stbi_image_free(rgba);
  return true;
}

using Decoder = std::function<bool(const Bytes&, Bytes*)>;

// Best of several runs, in milliseconds; negative when the decoder failed. Each run
// writes into new memory, as a texture load does.
double milliseconds(const Decoder& decoder, const Bytes& file, Bytes* bgra) {
  double best = 1e30;
  for (int r = 0; r < kRepeats; ++r) {
    Bytes().swap(*bgra);
    const auto start = std::chrono::steady_clock::now();
    if (!decoder(file, bgra)) return -1;
    best = std::min(best, std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

// The largest difference of one byte between two decodes of the same file.
int largestDifference(const Bytes& a, const Bytes& b) {
  if (a.size() != b.size()) return 256;
  int largest = 0;
  for (size_t i = 0; i < a.size(); ++i) largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

bool measure(const char* name, const Bytes& file, const Decoder& bare, int allowedFromStb) {
  Bytes fromOurs, fromBare, fromStb;
  const double oursMs = milliseconds(ours, file, &fromOurs), bareMs = milliseconds(bare, file, &fromBare),
               stbMs = milliseconds(stb, file, &fromStb);
  const int fromStbBy = largestDifference(fromOurs, fromStb);
  if (oursMs < 0 || bareMs < 0 || stbMs < 0 || fromOurs != fromBare || fromStbBy > allowedFromStb) {
    std::fprintf(stderr, "bench_image: %s: a decoder failed or the decoders disagree (by %d against stb_image)\n", name,
                 fromStbBy);
    return false;
  }
  std::printf("%s %d x %d, %zu bytes: decode %.1f ms; bare library call %.1f ms: ratio %.2f; stb_image %.1f ms: "
              "ratio %.2f (its texels within %d)\n",
              name, kSize, kSize, file.size(), oursMs, bareMs, oursMs / bareMs, stbMs, oursMs / stbMs, fromStbBy);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    std::printf("usage: bench_image\n\nTimes decoding a %d x %d JPEG and PNG (best of %d).\n", kSize, kSize, kRepeats);
    return std::string(argv[1]) == "--help" ? 0 : 2;
  }
  const Bytes rgb = picture();
  const Bytes jpeg = tstest::libJpeg(kSize, kSize, 3, rgb, false);
  const Bytes png = tstest::libPng(kSize, kSize, {PNG_COLOR_TYPE_RGB, 8, false, {}}, rgb);
  // Two JPEG decoders differ in their rounding; PNG is lossless.
  const bool ok = measure("JPEG", jpeg, bareJpeg, 4) && measure("PNG", png, barePng, 0);
  return ok ? 0 : 1;
}

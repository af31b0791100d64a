// Writes the seed corpora of the image fuzz targets with our own writers: PNG, BMP,
// TGA and JPEG files (and a few DDS) into the first folder, DDS files of every layout
// the reader knows into the second.
#include <cstdio>
#include <string>
#include <vector>

#include "gfxhelper/pixel_format.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using tstest::Bytes;

bool save(const std::string& path, const Bytes& bytes) {
  if (bytes.empty()) return false;
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return std::fclose(file) == 0 && written;
}

// A little picture: diagonal stripes over a gradient, alpha falling off to one side.
std::vector<uint8_t> picture(int width, int height, int channels) {
  std::vector<uint8_t> pixels;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const uint8_t stripe = ((x + y) / 3) % 2 ? 200 : 30;
      const uint8_t values[4] = {stripe, static_cast<uint8_t>(x * 255 / (width > 1 ? width - 1 : 1)),
                                 static_cast<uint8_t>(y * 255 / (height > 1 ? height - 1 : 1)),
                                 static_cast<uint8_t>(255 - x * 8)};
      if (channels == 1) pixels.push_back(values[0]);
      if (channels == 2) pixels.insert(pixels.end(), {values[0], values[3]});
      if (channels >= 3) pixels.insert(pixels.end(), values, values + channels);
    }
  return pixels;
}

gfximage::Image bgraPicture(uint32_t width, uint32_t height) {
  const std::vector<uint8_t> rgba = picture(static_cast<int>(width), static_cast<int>(height), 4);
  gfximage::Image image;
  image.allocate(width, height);
  for (size_t i = 0; i < rgba.size(); i += 4) {
    image.pixels[i] = rgba[i + 2];
    image.pixels[i + 1] = rgba[i + 1];
    image.pixels[i + 2] = rgba[i];
    image.pixels[i + 3] = rgba[i + 3];
  }
  return image;
}

// A DDS file of `format` with `levels` levels (and six faces for a cube), each level
// the picture at that size, written by our own pixel writers.
Bytes ddsFile(gfximage::PixelFormat format, uint32_t width, uint32_t height, uint32_t levels, bool cube = false) {
  tstest::DdsHeader header;
  header.width = width;
  header.height = height;
  header.mipCount = levels > 1 ? levels : 0;
  gfximage::MaskLayout layout;
  if (gfximage::layoutOf(format, &layout)) {
    header.bitCount = layout.bits;
    header.redMask = layout.red;
    header.greenMask = layout.green;
    header.blueMask = layout.blue;
    header.alphaMask = layout.alpha;
    header.pixelFlags = (layout.luminance ? tstest::kDdpfLuminance : (layout.red ? tstest::kDdpfRgb : tstest::kDdpfAlpha)) |
                        (layout.alpha && (layout.red || layout.luminance) ? tstest::kDdpfAlphaPixels : 0);
  } else {
    header.pixelFlags = tstest::kDdpfFourCC;
    header.fourCC = static_cast<uint32_t>(format);
  }
  if (cube) header.caps2 = 0x200 | 0xfc00;
  Bytes file = tstest::ddsHeader(header);
  for (int face = 0; face < (cube ? 6 : 1); ++face) {
    for (uint32_t level = 0; level < levels; ++level) {
      const uint32_t w = gfximage::mipSize(width, level), h = gfximage::mipSize(height, level);
      const size_t pitch = static_cast<size_t>(gfximage::surfacePitch(format, w));
      Bytes surface(pitch * gfximage::surfaceRows(format, h));
      gfximage::packSurface(format, bgraPicture(w, h), surface.data(), pitch);
      file.insert(file.end(), surface.begin(), surface.end());
    }
  }
  return file;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: make_image_corpus <images folder> <dds folder>\n");
    return 2;
  }
  const std::string images = argv[1], dds = argv[2];
  bool ok = true;
  ok = ok && save(images + "/rgba.png", tstest::encodePng(7, 5, 4, picture(7, 5, 4).data()));
  ok = ok && save(images + "/rgb.png", tstest::encodePng(16, 3, 3, picture(16, 3, 3).data()));
  ok = ok && save(images + "/grey.png", tstest::encodePng(5, 9, 1, picture(5, 9, 1).data()));
  ok = ok && save(images + "/grey_alpha.png", tstest::encodePng(4, 4, 2, picture(4, 4, 2).data()));
  ok = ok && save(images + "/rgb.bmp", tstest::encodeBmp(6, 5, 3, picture(6, 5, 3).data()));
  ok = ok && save(images + "/grey.bmp", tstest::encodeBmp(3, 3, 1, picture(3, 3, 1).data()));
  ok = ok && save(images + "/rgba.tga", tstest::encodeTga(5, 4, 4, picture(5, 4, 4).data(), false));
  ok = ok && save(images + "/rgba_rle.tga", tstest::encodeTga(9, 4, 4, picture(9, 4, 4).data(), true));
  ok = ok && save(images + "/rgb_rle.tga", tstest::encodeTga(8, 2, 3, picture(8, 2, 3).data(), true));
  ok = ok && save(images + "/grey.tga", tstest::encodeTga(4, 4, 1, picture(4, 4, 1).data(), false));
  ok = ok && save(images + "/small.jpg", tstest::encodeJpeg(16, 16, picture(16, 16, 3).data()));
  ok = ok && save(images + "/odd.jpg", tstest::encodeJpeg(11, 5, picture(11, 5, 3).data()));
  tstest::JpegOptions progressive;
  progressive.progressive = true;
  ok = ok && save(images + "/progressive.jpg", tstest::encodeJpeg(16, 8, picture(16, 8, 3).data(), progressive));
  tstest::JpegOptions coarse;
  coarse.grey = true;
  coarse.quantiser = 300;
  ok = ok && save(images + "/grey_coarse.jpg", tstest::encodeJpeg(24, 16, picture(24, 16, 3).data(), coarse));
  coarse.progressive = true;
  coarse.quantiser = 40;
  ok = ok && save(images + "/grey_progressive.jpg", tstest::encodeJpeg(16, 16, picture(16, 16, 3).data(), coarse));
  ok = ok && save(images + "/argb.dds", ddsFile(gfximage::PixelFormat::A8R8G8B8, 4, 4, 3));
  ok = ok && save(images + "/dxt1.dds", ddsFile(gfximage::PixelFormat::DXT1, 8, 8, 1));

  using gfximage::PixelFormat;
  const PixelFormat layouts[] = {PixelFormat::A8R8G8B8, PixelFormat::X8R8G8B8, PixelFormat::A8B8G8R8,
                                 PixelFormat::R8G8B8,   PixelFormat::R5G6B5,   PixelFormat::A1R5G5B5,
                                 PixelFormat::A4R4G4B4, PixelFormat::R3G3B2,   PixelFormat::A8,
                                 PixelFormat::L8,       PixelFormat::A8L8,     PixelFormat::A4L4,
                                 PixelFormat::L16,      PixelFormat::A2B10G10R10, PixelFormat::G16R16};
  for (PixelFormat format : layouts)
    ok = ok && save(dds + "/layout_" + std::to_string(static_cast<uint32_t>(format)) + ".dds", ddsFile(format, 3, 2, 2));
  for (PixelFormat format : {PixelFormat::DXT1, PixelFormat::DXT3, PixelFormat::DXT5}) {
    const std::string name = dds + "/dxt" + std::to_string((static_cast<uint32_t>(format) >> 24) - '0');
    ok = ok && save(name + "_chain.dds", ddsFile(format, 8, 4, 4)) && save(name + "_odd.dds", ddsFile(format, 5, 3, 1));
  }
  ok = ok && save(dds + "/cube.dds", ddsFile(PixelFormat::X8R8G8B8, 2, 2, 2, true));
  ok = ok && save(dds + "/cube_dxt5.dds", ddsFile(PixelFormat::DXT5, 4, 4, 1, true));
  if (!ok) std::fprintf(stderr, "make_image_corpus: can't write the corpus\n");
  return ok ? 0 : 1;
}

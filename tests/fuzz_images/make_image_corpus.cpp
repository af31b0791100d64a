// Writes the seed corpora of the image fuzz targets with our own writers: PNG, JPEG, BMP
// and TGA of every layout their readers know (progressive JPEG, 16-bit, interlaced and
// palette PNG by the libraries' own encoders) and a few DDS into the first folder, DDS
// files of every layout the reader knows into the second.
#include <png.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "gfxhelper/pixel_format.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using gfximage::PixelFormat;
using tstest::Bytes;

// An empty file is a writer's failure.
bool save(const std::string& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary);
  return !bytes.empty() &&
         file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size())).flush().good();
}

// A little picture with `channels` bytes a texel: diagonal stripes over a gradient, alpha
// falling off to one side.
Bytes picture(uint32_t width, uint32_t height, int channels) {
  Bytes pixels;
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x) {
      const uint8_t texel[4] = {((x + y) / 3) % 2 ? uint8_t{200} : uint8_t{30}, static_cast<uint8_t>(x * 255 / width),
                                static_cast<uint8_t>(y * 255 / height), static_cast<uint8_t>(255 - x * 8)};
      pixels.insert(pixels.end(), texel, texel + channels);
    }
  return pixels;
}

// A DDS file of `format` with `levels` levels (and six faces for a cube), each level the
// picture at that size, written by our own pixel writers.
Bytes ddsFile(PixelFormat format, uint32_t width, uint32_t height, uint32_t levels, bool cube = false) {
  tstest::DdsHeader header = tstest::ddsFourCC(width, height, static_cast<uint32_t>(format));
  gfximage::MaskLayout layout;
  if (gfximage::layoutOf(format, &layout))
    header = tstest::ddsMasks(width, height, layout.bits, layout.red, layout.green, layout.blue, layout.alpha);
  if (layout.luminance) header.pixelFlags = tstest::kDdpfLuminance | (layout.alpha ? tstest::kDdpfAlphaPixels : 0);
  header.mipCount = levels > 1 ? levels : 0;
  header.caps2 = cube ? tstest::kCaps2AllFacesOfACube : 0;
  Bytes data;
  for (int face = 0; face < (cube ? 6 : 1); ++face) {
    for (uint32_t level = 0; level < levels; ++level) {
      gfximage::Image image;
      image.allocate(gfximage::mipSize(width, level), gfximage::mipSize(height, level));
      image.pixels = picture(image.width, image.height, 4);  // the writers take B, G, R, A: any four bytes do
      const size_t pitch = static_cast<size_t>(gfximage::surfacePitch(format, image.width));
      Bytes surface(pitch * gfximage::surfaceRows(format, image.height));
      gfximage::packSurface(format, image, surface.data(), pitch);
      data.insert(data.end(), surface.begin(), surface.end());
    }
  }
  return tstest::ddsFile(header, data);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;  // usage: make_image_corpus <images folder> <dds folder>
  const std::string images = std::string(argv[1]) + "/", dds = std::string(argv[2]) + "/";
  bool ok = save(images + "rgba.png", tstest::encodePng(7, 5, 4, picture(7, 5, 4).data())) &&
            save(images + "grey_alpha.png", tstest::encodePng(4, 4, 2, picture(4, 4, 2).data())) &&
            save(images + "rgb.bmp", tstest::encodeBmp(6, 5, 3, picture(6, 5, 3).data())) &&
            save(images + "rgb_rle.tga", tstest::encodeTga(8, 2, 3, picture(8, 2, 3).data(), true)) &&
            save(images + "small.jpg", tstest::jpegFile()) && save(images + "dxt1.dds", ddsFile(PixelFormat::DXT1, 8, 8, 1)) &&
            save(dds + "cube_dxt5.dds", ddsFile(PixelFormat::DXT5, 4, 4, 1, true));
  for (const tstest::StoredPicture& picture : tstest::bmpAndTgaPictures())
    ok = ok && save(images + picture.name + (picture.name[0] == 'b' ? ".bmp" : ".tga"), picture.file);
  // 16-bit samples: the bytes of a picture twice as wide.
  ok = ok && save(images + "progressive.jpg", tstest::libJpeg(7, 5, 3, picture(7, 5, 3), true)) &&
       save(images + "grey.jpg", tstest::libJpeg(8, 8, 1, picture(8, 8, 1), false)) &&
       save(images + "rgba16_adam7.png",
            tstest::libPng(7, 5, {PNG_COLOR_TYPE_RGB_ALPHA, 16, true, {}}, picture(14, 5, 4))) &&
       save(images + "palette.png", tstest::libPng(6, 4, {PNG_COLOR_TYPE_PALETTE, 2, false, picture(4, 1, 4)},
                                                  Bytes(4 * 2, 0x1b)));
  for (PixelFormat format : {PixelFormat::A8R8G8B8, PixelFormat::X8R8G8B8, PixelFormat::A8B8G8R8, PixelFormat::R8G8B8,
                             PixelFormat::R5G6B5, PixelFormat::A1R5G5B5, PixelFormat::A4R4G4B4, PixelFormat::R3G3B2,
                             PixelFormat::A8, PixelFormat::L8, PixelFormat::A8L8, PixelFormat::A4L4, PixelFormat::L16,
                             PixelFormat::A2B10G10R10, PixelFormat::G16R16, PixelFormat::DXT1, PixelFormat::DXT3,
                             PixelFormat::DXT5})
    ok = ok && save(dds + "layout_" + std::to_string(static_cast<uint32_t>(format)) + ".dds", ddsFile(format, 5, 3, 3));
  if (!ok) std::fprintf(stderr, "make_image_corpus: can't write the corpus\n");
  return ok ? 0 : 1;
}

#pragma once

// A reader of DDS files: 2D textures and cube maps with their mip levels, in DXT1
// to DXT5 or in uncompressed layouts described by channel masks (RGB, luminance,
// alpha alone). Platform-free.
//
// Every header field that matters is checked, every size is computed in 64 bits
// and compared with the bytes present before anything is read, and the pitch and
// linear size fields, which writers often get wrong, are not trusted: rows are
// packed, as every writer lays them out. Trailing bytes are ignored.
//
// Refused, with a reason: volume textures, the extended (DX10) header, palettes,
// YUV and bump formats, cube maps missing a face, more mip levels than the chain
// has, and sizes beyond Limits.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "gfxhelper/image.h"
#include "gfxhelper/pixel_format.h"

namespace gfximage {
namespace dds {

constexpr uint32_t kMagic = makeFourCC('D', 'D', 'S', ' ');
constexpr size_t kHeaderBytes = 128;  // magic and the 124-byte header

// Header flags and bits, with their documented values.
constexpr uint32_t kFlagCaps = 0x1, kFlagHeight = 0x2, kFlagWidth = 0x4, kFlagPitch = 0x8;
constexpr uint32_t kFlagPixelFormat = 0x1000, kFlagMipMapCount = 0x20000, kFlagLinearSize = 0x80000;
constexpr uint32_t kFlagDepth = 0x800000;
constexpr uint32_t kPixelAlphaPixels = 0x1, kPixelAlpha = 0x2, kPixelFourCC = 0x4, kPixelPalette8 = 0x20;
constexpr uint32_t kPixelRgb = 0x40, kPixelYuv = 0x200, kPixelLuminance = 0x20000, kPixelBumpDuDv = 0x80000;
constexpr uint32_t kCapsComplex = 0x8, kCapsTexture = 0x1000, kCapsMipMap = 0x400000;
constexpr uint32_t kCaps2CubeMap = 0x200, kCaps2AllFaces = 0xfc00, kCaps2Volume = 0x200000;

// One stored surface: where its bytes lie in the file and how they are arranged.
struct Surface {
  uint32_t width = 0;
  uint32_t height = 0;
  size_t offset = 0;  // from the start of the file
  size_t size = 0;
  size_t pitch = 0;   // bytes per row of texels, or per row of 4 x 4 blocks
  uint32_t rows = 0;  // rows of texels or of blocks
};

struct File {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t mipLevels = 1;
  uint32_t faces = 1;                         // 6 for a cube map, in the order +X, -X, +Y, -Y, +Z, -Z
  PixelFormat format = PixelFormat::Unknown;  // Unknown for masks without a Direct3D name
  bool compressed = false;
  MaskLayout layout;                          // for uncompressed files
  std::vector<Surface> surfaces;              // face by face, each with its levels from 0 down

  const Surface& surface(uint32_t face, uint32_t level) const { return surfaces[face * mipLevels + level]; }
};

bool hasMagic(const void* data, size_t size);

// Reads and checks the header and the layout of every surface.
Result parse(const void* data, size_t size, File* file, const Limits& limits = Limits());

// One surface in B, G, R, A; `file` must come from parse over the same bytes.
Result decodeSurface(const void* data, size_t size, const File& file, uint32_t face, uint32_t level, Image* image);

}  // namespace dds
}  // namespace gfximage

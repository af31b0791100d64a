#include "gfxhelper/dds.h"

#include "gfxhelper/dxt.h"
#include "gfxhelper/le_bytes.h"

namespace gfximage {
namespace dds {

namespace {

constexpr uint32_t kHeaderSize = 124;
constexpr uint32_t kPixelFormatSize = 32;

// Field offsets from the start of the file (the magic takes the first four bytes).
enum Offset : size_t {
  kSize = 4,
  kFlags = 8,
  kHeight = 12,
  kWidth = 16,
  kDepth = 24,
  kMipMapCount = 28,
  kPfSize = 76,
  kPfFlags = 80,
  kPfFourCC = 84,
  kPfBitCount = 88,
  kPfRedMask = 92,
  kPfGreenMask = 96,
  kPfBlueMask = 100,
  kPfAlphaMask = 104,
  kCaps2 = 112,
};

uint32_t field(const uint8_t* bytes, size_t offset) { return le32(bytes + offset); }

Result invalid(const char* why) { return Result::failure(Status::InvalidData, std::string("DDS: ") + why); }
Result unsupported(const char* why) { return Result::failure(Status::Unsupported, std::string("DDS: ") + why); }

Result readPixelFormat(const uint8_t* bytes, File* file) {
  if (field(bytes, kPfSize) != kPixelFormatSize) return invalid("the pixel format block has the wrong size");
  const uint32_t flags = field(bytes, kPfFlags);
  if (flags & kPixelFourCC) {
    const auto fourCC = static_cast<PixelFormat>(field(bytes, kPfFourCC));
    if (dxt::isBlockFormat(fourCC)) {
      file->format = fourCC;
      file->compressed = true;
      return Result::success();
    }
    if (field(bytes, kPfFourCC) == makeFourCC('D', 'X', '1', '0')) return unsupported("the extended (DX10) header is not read");
    return unsupported("the compressed or special format code is not read");
  }
  if (flags & kPixelPalette8) return unsupported("palette images are not read");
  if (flags & (kPixelYuv | kPixelBumpDuDv)) return unsupported("YUV and bump formats are not read");

  MaskLayout& layout = file->layout;
  layout.bits = field(bytes, kPfBitCount);
  const bool alphaPixels = (flags & (kPixelAlphaPixels | kPixelAlpha)) != 0;
  layout.alpha = alphaPixels ? field(bytes, kPfAlphaMask) : 0;
  if (flags & kPixelRgb) {
    layout.red = field(bytes, kPfRedMask);
    layout.green = field(bytes, kPfGreenMask);
    layout.blue = field(bytes, kPfBlueMask);
  } else if (flags & kPixelLuminance) {
    layout.luminance = true;
    layout.red = field(bytes, kPfRedMask);
  } else if (!(flags & kPixelAlpha)) {
    return invalid("the pixel format names no known layout");
  }
  if (!validLayout(layout)) return invalid("the pixel format's bit count or channel masks are not usable");
  file->format = formatOfLayout(layout);
  return Result::success();
}

}  // namespace

bool hasMagic(const void* data, size_t size) {
  return data && size >= 4 && field(static_cast<const uint8_t*>(data), 0) == kMagic;
}

Result parse(const void* data, size_t size, File* file, const Limits& limits) {
  if (!data || !file) return Result::failure(Status::InvalidArgument, "DDS: no data or no result");
  *file = File();
  const auto* bytes = static_cast<const uint8_t*>(data);
  if (!hasMagic(data, size)) return invalid("the file does not start with \"DDS \"");
  if (size < kHeaderBytes) return invalid("the header is cut short");
  if (field(bytes, kSize) != kHeaderSize) return invalid("the header has the wrong size");

  const uint32_t flags = field(bytes, kFlags);
  const uint32_t caps2 = field(bytes, kCaps2);
  if ((caps2 & kCaps2Volume) || ((flags & kFlagDepth) && field(bytes, kDepth) > 1))
    return unsupported("volume textures are not read");

  file->width = field(bytes, kWidth);
  file->height = field(bytes, kHeight);
  Result result = checkDimensions(file->width, file->height, limits);
  if (!result.ok()) {
    result.reason = "DDS: " + result.reason;
    return result;
  }

  if (caps2 & kCaps2CubeMap) {
    if ((caps2 & kCaps2AllFaces) != kCaps2AllFaces) return unsupported("cube maps without all six faces are not read");
    if (file->width != file->height) return invalid("a cube map's faces are not square");
    file->faces = 6;
  }

  const uint32_t stored = field(bytes, kMipMapCount);
  file->mipLevels = (flags & kFlagMipMapCount) && stored > 0 ? stored : 1;
  if (file->mipLevels > fullMipChain(file->width, file->height))
    return invalid("more mip levels than the image's chain has");

  result = readPixelFormat(bytes, file);
  if (!result.ok()) return result;

  // Lay out every surface and check that all of them lie within the bytes present.
  const uint64_t available = size - kHeaderBytes;
  uint64_t offset = kHeaderBytes;
  const PixelFormat sizing = file->compressed ? file->format : PixelFormat::Unknown;
  for (uint32_t face = 0; face < file->faces; ++face) {
    for (uint32_t level = 0; level < file->mipLevels; ++level) {
      Surface surface;
      surface.width = mipSize(file->width, level);
      surface.height = mipSize(file->height, level);
      uint64_t pitch;
      if (file->compressed) {
        pitch = surfacePitch(sizing, surface.width);
        surface.rows = surfaceRows(sizing, surface.height);
      } else {
        pitch = static_cast<uint64_t>(surface.width) * (file->layout.bits / 8);
        surface.rows = surface.height;
      }
      const uint64_t bytesNeeded = pitch * surface.rows;  // both factors are far below 2^32
      if (offset - kHeaderBytes + bytesNeeded > available) return invalid("the file is shorter than its surfaces");
      surface.offset = static_cast<size_t>(offset);
      surface.pitch = static_cast<size_t>(pitch);
      surface.size = static_cast<size_t>(bytesNeeded);
      offset += bytesNeeded;
      try {
        file->surfaces.push_back(surface);
      } catch (...) {
        return Result::failure(Status::OutOfMemory, "DDS: out of memory");
      }
    }
  }
  return Result::success();
}

Result decodeSurface(const void* data, size_t size, const File& file, uint32_t face, uint32_t level, Image* image) {
  if (!data || !image || face >= file.faces || level >= file.mipLevels ||
      file.surfaces.size() != static_cast<size_t>(file.faces) * file.mipLevels)
    return Result::failure(Status::InvalidArgument, "DDS: no such surface");
  const Surface& surface = file.surface(face, level);
  if (surface.offset > size || surface.size > size - surface.offset)
    return Result::failure(Status::InvalidArgument, "DDS: the surface lies outside the data");
  const auto* bytes = static_cast<const uint8_t*>(data) + surface.offset;
  if (file.compressed) {
    if (!unpackSurface(file.format, bytes, surface.pitch, surface.width, surface.height, image))
      return Result::failure(Status::OutOfMemory, "DDS: out of memory");
    return Result::success();
  }
  if (!image->allocate(surface.width, surface.height)) return Result::failure(Status::OutOfMemory, "DDS: out of memory");
  for (uint32_t y = 0; y < surface.height; ++y)
    unpackRow(file.layout, bytes + y * surface.pitch, surface.width, image->row(y));
  return Result::success();
}

}  // namespace dds
}  // namespace gfximage

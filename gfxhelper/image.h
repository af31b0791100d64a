#pragma once

// The value types of image decoding, shared by the decoders, the pixel conversions
// and the texture functions. Platform-free: no Windows or Direct3D header.
//
// Pixels in memory are 32-bit B, G, R, A bytes (the little-endian layout of
// D3DFMT_A8R8G8B8), rows top to bottom without padding.

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace gfximage {

enum class Status {
  Ok,
  InvalidArgument,  // the caller's mistake: null pointers, unknown options
  InvalidData,      // the bytes are not an image we can read
  Unsupported,      // a well-formed file of a kind we do not read (volume, DX10 header, palette)
  TooLarge,         // beyond Limits
  OutOfMemory,
};

// What a failure was, in a short sentence for a person; empty reason on success.
struct Result {
  Status status = Status::Ok;
  std::string reason;

  bool ok() const { return status == Status::Ok; }
  static Result success() { return Result(); }
  static Result failure(Status failed, std::string why) {
    Result result;
    result.status = failed;
    result.reason = std::move(why);
    return result;
  }
};

// Images beyond these are refused before any pixel memory is taken. The defaults are
// what the texture functions use; a fuzzer may pass smaller ones to stay fast.
struct Limits {
  uint32_t maxDimension = 8192;
  uint64_t maxPixelBytes = 256ull << 20;  // width * height * 4 of one level 0
};

// Refuses a zero or over-large size with a reason naming it.
Result checkDimensions(uint32_t width, uint32_t height, const Limits& limits);

// Pixel formats under their Direct3D 9 (D3DFORMAT) codes, so that the device side
// passes them on unchanged.
constexpr uint32_t makeFourCC(char a, char b, char c, char d) {
  return static_cast<uint32_t>(static_cast<uint8_t>(a)) | (static_cast<uint32_t>(static_cast<uint8_t>(b)) << 8) |
         (static_cast<uint32_t>(static_cast<uint8_t>(c)) << 16) | (static_cast<uint32_t>(static_cast<uint8_t>(d)) << 24);
}

enum class PixelFormat : uint32_t {
  Unknown = 0,
  R8G8B8 = 20,
  A8R8G8B8 = 21,
  X8R8G8B8 = 22,
  R5G6B5 = 23,
  X1R5G5B5 = 24,
  A1R5G5B5 = 25,
  A4R4G4B4 = 26,
  R3G3B2 = 27,
  A8 = 28,
  A8R3G3B2 = 29,
  X4R4G4B4 = 30,
  A2B10G10R10 = 31,
  A8B8G8R8 = 32,
  X8B8G8R8 = 33,
  G16R16 = 34,
  A2R10G10B10 = 35,
  L8 = 50,
  A8L8 = 51,
  A4L4 = 52,
  L16 = 81,
  DXT1 = makeFourCC('D', 'X', 'T', '1'),
  DXT2 = makeFourCC('D', 'X', 'T', '2'),
  DXT3 = makeFourCC('D', 'X', 'T', '3'),
  DXT4 = makeFourCC('D', 'X', 'T', '4'),
  DXT5 = makeFourCC('D', 'X', 'T', '5'),
};

// The file kinds, in the order of D3DXIMAGE_FILEFORMAT for those it names.
enum class FileType { Bmp = 0, Jpg = 1, Tga = 2, Png = 3, Dds = 4, Unknown = -1 };

// What a file holds, from its header.
struct ImageInfo {
  FileType type = FileType::Unknown;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t mipLevels = 1;  // levels stored in the file
  uint32_t faces = 1;      // 6 for a cube map
  PixelFormat format = PixelFormat::Unknown;  // the file's own layout, or the nearest 32-bit one
};

// One level of pixels, B, G, R, A.
struct Image {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> pixels;

  // Sizes the pixel store; false (and an empty image) when memory is short.
  bool allocate(uint32_t newWidth, uint32_t newHeight);
  size_t rowBytes() const { return static_cast<size_t>(width) * 4; }
  uint8_t* row(uint32_t y) { return pixels.data() + y * rowBytes(); }
  const uint8_t* row(uint32_t y) const { return pixels.data() + y * rowBytes(); }
  uint8_t* texel(uint32_t x, uint32_t y) { return row(y) + static_cast<size_t>(x) * 4; }
  const uint8_t* texel(uint32_t x, uint32_t y) const { return row(y) + static_cast<size_t>(x) * 4; }
};

// The number of levels of a full mip chain down to 1 x 1.
uint32_t fullMipChain(uint32_t width, uint32_t height);

// The size of `level` below a level 0 of `size`: halved, never below 1.
inline uint32_t mipSize(uint32_t size, uint32_t level) {
  const uint32_t shifted = level >= 32 ? 0 : size >> level;
  return shifted == 0 ? 1 : shifted;
}

}  // namespace gfximage

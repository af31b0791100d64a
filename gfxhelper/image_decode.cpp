#include "gfxhelper/image_decode.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "gfxhelper/dds.h"
#include "gfxhelper/jpeg_file.h"
#include "gfxhelper/png_file.h"

namespace {

// stb_image allocates through these. Each block carries its size in front, so that
// the memory held at once can be counted and capped per decode.
struct Budget {
  uint64_t cap = 0;
  uint64_t live = 0;
  uint64_t peak = 0;
  bool refused = false;  // a request went beyond the cap
};
thread_local Budget budget;

constexpr size_t kBlockHeader = 16;  // keeps the alignment that malloc gives

void* budgetMalloc(size_t size) {
  if (size > SIZE_MAX - kBlockHeader || budget.live + size > budget.cap) {
    budget.refused = true;
    return nullptr;
  }
  auto* block = static_cast<unsigned char*>(std::malloc(size + kBlockHeader));
  if (!block) return nullptr;
  std::memcpy(block, &size, sizeof size);
  budget.live += size;
  if (budget.live > budget.peak) budget.peak = budget.live;
  return block + kBlockHeader;
}

void budgetFree(void* memory) {
  if (!memory) return;
  unsigned char* block = static_cast<unsigned char*>(memory) - kBlockHeader;
  size_t old;
  std::memcpy(&old, block, sizeof old);
  budget.live -= old;
  std::free(block);
}

}  // namespace

// Only BMP and TGA, from memory only.
#define STBI_ONLY_BMP
#define STBI_ONLY_TGA
#define STBI_NO_STDIO
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#define STBI_MAX_DIMENSIONS (1 << 14)  // a backstop; Limits decides first
#define STBI_MALLOC(size) budgetMalloc(size)
#define STBI_REALLOC(memory, size) nullptr  // only the PNG and JPEG parts grow blocks
#define STBI_FREE(memory) budgetFree(memory)
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

namespace gfximage {

namespace {

// Parsing a header takes little.
constexpr uint64_t kInfoBudget = 1u << 20;
// Decoding takes the compressed stream, the image in the file's own depth (up to
// 16 bits a channel), and the 8-bit result, with room for the stream's growth.
constexpr uint64_t kDecodeBudgetPerPixel = 32;
constexpr uint64_t kDecodeBudgetBase = 4u << 20;

const char* typeName(FileType type) {
  switch (type) {
    case FileType::Bmp:
      return "BMP";
    case FileType::Tga:
      return "TGA";
    case FileType::Dds:
      return "DDS";
    default:
      return "image";
  }
}

bool startsWith(const void* data, size_t size, const unsigned char* signature, size_t length) {
  return size >= length && std::memcmp(data, signature, length) == 0;
}

// The kinds with a signature; Unknown for the rest, TGA among them.
FileType bySignature(const void* data, size_t size) {
  static const unsigned char kPng[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  static const unsigned char kBmp[] = {'B', 'M'};
  if (dds::hasMagic(data, size)) return FileType::Dds;
  if (startsWith(data, size, kPng, sizeof kPng)) return FileType::Png;
  // A JPEG starts with its SOI marker, which readers find after any number of 0xFF.
  const auto* bytes = static_cast<const uint8_t*>(data);
  size_t fill = 0;
  while (fill < size && bytes[fill] == 0xff) ++fill;
  if (fill > 0 && fill < size && bytes[fill] == 0xd8) return FileType::Jpg;
  if (startsWith(data, size, kBmp, sizeof kBmp)) return FileType::Bmp;
  return FileType::Unknown;
}

Result stbFailure(FileType type, bool overBudget) {
  const char* why = stbi_failure_reason();
  if (overBudget) return Result::failure(Status::OutOfMemory, std::string(typeName(type)) + ": needs more memory than its size allows");
  return Result::failure(Status::InvalidData, std::string(typeName(type)) + ": " + (why ? why : "cannot be decoded"));
}

// Header of a file that stb_image reads, with the size checked against the limits.
Result stbInfo(const void* data, size_t size, FileType type, ImageInfo* info, int* channels, const Limits& limits) {
  if (size > static_cast<size_t>(INT_MAX)) return Result::failure(Status::TooLarge, "the file is larger than 2 GB");
  budget = Budget();
  budget.cap = kInfoBudget;
  int width = 0, height = 0;
  *channels = 0;
  const int found =
      stbi_info_from_memory(static_cast<const stbi_uc*>(data), static_cast<int>(size), &width, &height, channels);
  budget.cap = 0;
  if (!found || width <= 0 || height <= 0) {
    if (type == FileType::Unknown) return Result::failure(Status::InvalidData, "not an image file of a known kind");
    return stbFailure(type, false);
  }
  Result result = checkDimensions(static_cast<uint32_t>(width), static_cast<uint32_t>(height), limits);
  if (!result.ok()) {
    result.reason = std::string(typeName(type)) + ": " + result.reason;
    return result;
  }
  info->type = type == FileType::Unknown ? FileType::Tga : type;  // the one kind without a signature
  info->width = static_cast<uint32_t>(width);
  info->height = static_cast<uint32_t>(height);
  info->mipLevels = 1;
  info->faces = 1;
  info->format = (*channels == 2 || *channels == 4) ? PixelFormat::A8R8G8B8 : PixelFormat::X8R8G8B8;
  return Result::success();
}

uint32_t le16(const uint8_t* at) { return static_cast<uint32_t>(at[0]) | (static_cast<uint32_t>(at[1]) << 8); }
uint32_t le32(const uint8_t* at) { return le16(at) | (le16(at + 2) << 16); }

// stb_image reads zeros past the end of a file instead of failing, and sizes its
// buffers from the header alone. So before it runs, a file must hold at least the
// bytes its header promises: the packed rows for an uncompressed BMP or TGA, all
// the packets of a run-length TGA. Headers that these checks do not understand
// are left to stb_image to judge.
Result checkBmp(const uint8_t* bytes, size_t size) {
  if (size < 30) return Result::success();
  const uint64_t offset = le32(bytes + 10), headerSize = le32(bytes + 14);
  int64_t width, height;
  uint32_t bits, compression = 0;
  if (headerSize == 12) {
    width = static_cast<int16_t>(le16(bytes + 18));
    height = static_cast<int16_t>(le16(bytes + 20));
    bits = le16(bytes + 24);
  } else if (headerSize >= 40 && size >= 34) {
    width = static_cast<int32_t>(le32(bytes + 18));
    height = static_cast<int32_t>(le32(bytes + 22));
    bits = le16(bytes + 28);
    compression = le32(bytes + 30);
  } else {
    return Result::success();
  }
  const bool packedRows = compression == 0 || compression == 3;
  if (!packedRows || width <= 0 || (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32))
    return Result::success();
  const uint64_t rowBytes = ((static_cast<uint64_t>(width) * bits + 31) / 32) * 4;
  const uint64_t rows = static_cast<uint64_t>(height < 0 ? -height : height);
  if (offset > size || rowBytes * rows > size - offset)
    return Result::failure(Status::InvalidData, "BMP: the pixel rows run past the end of the file");
  return Result::success();
}

Result checkTga(const uint8_t* bytes, size_t size) {
  if (size < 18) return Result::failure(Status::InvalidData, "TGA: the header is cut short");
  const uint32_t type = bytes[2];
  if (type != 1 && type != 2 && type != 3 && type != 9 && type != 10 && type != 11) return Result::success();
  const uint64_t paletteBytes = bytes[1] ? static_cast<uint64_t>(le16(bytes + 5)) * ((bytes[7] + 7u) / 8) : 0;
  const uint64_t start = 18 + static_cast<uint64_t>(bytes[0]) + paletteBytes;
  const uint64_t texels = static_cast<uint64_t>(le16(bytes + 12)) * le16(bytes + 14);
  const uint64_t texelBytes = (bytes[16] + 7u) / 8;
  const Result truncated = Result::failure(Status::InvalidData, "TGA: the pixel data runs past the end of the file");
  if (start > size) return truncated;
  if (type < 8) return texels * texelBytes > size - start ? truncated : Result::success();
  // Run-length packets: a count byte, then one texel repeated or that many texels.
  uint64_t at = start, done = 0;
  while (done < texels) {
    if (at >= size) return truncated;
    const uint32_t header = bytes[at++];
    const uint64_t count = (header & 0x7f) + 1;
    at += header & 0x80 ? texelBytes : count * texelBytes;
    done += count;
  }
  return at > size ? truncated : Result::success();
}

Result checkPromisedBytes(FileType type, const void* data, size_t size) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  switch (type) {
    case FileType::Bmp:
      return checkBmp(bytes, size);
    case FileType::Tga:
      return checkTga(bytes, size);
    default:
      return Result::success();
  }
}

Result decodeStb(const void* data, size_t size, FileType type, DecodedImage* out, const Limits& limits) {
  int channels = 0;
  Result result = stbInfo(data, size, type, &out->info, &channels, limits);
  if (!result.ok()) return result;
  const uint32_t width = out->info.width, height = out->info.height;
  type = out->info.type;
  result = checkPromisedBytes(type, data, size);
  if (!result.ok()) return result;

  budget = Budget();
  budget.cap = kDecodeBudgetBase + kDecodeBudgetPerPixel * width * height;
  int decodedWidth = 0, decodedHeight = 0, decodedChannels = 0;
  stbi_uc* rgba = stbi_load_from_memory(static_cast<const stbi_uc*>(data), static_cast<int>(size), &decodedWidth,
                                        &decodedHeight, &decodedChannels, 4);
  if (!rgba) {
    budget.cap = 0;
    return stbFailure(type, budget.refused);
  }
  if (decodedWidth != static_cast<int>(width) || decodedHeight != static_cast<int>(height)) {
    stbi_image_free(rgba);
    budget.cap = 0;
    return Result::failure(Status::InvalidData, std::string(typeName(type)) + ": the image does not match its header");
  }

  Image image;
  if (!image.allocate(width, height)) {
    stbi_image_free(rgba);
    budget.cap = 0;
    return Result::failure(Status::OutOfMemory, std::string(typeName(type)) + ": out of memory");
  }
  bool transparent = false;
  const size_t texels = static_cast<size_t>(width) * height;
  for (size_t i = 0; i < texels; ++i) {
    const stbi_uc* in = rgba + i * 4;
    uint8_t* pixel = image.pixels.data() + i * 4;
    pixel[0] = in[2];
    pixel[1] = in[1];
    pixel[2] = in[0];
    pixel[3] = in[3];
    transparent = transparent || in[3] != 255;
  }
  stbi_image_free(rgba);
  budget.cap = 0;
  if (transparent) out->info.format = PixelFormat::A8R8G8B8;
  try {
    out->levels.push_back(std::move(image));
  } catch (...) {
    return Result::failure(Status::OutOfMemory, std::string(typeName(type)) + ": out of memory");
  }
  return Result::success();
}

Result decodeDds(const void* data, size_t size, DecodedImage* out, const Limits& limits) {
  dds::File file;
  Result result = dds::parse(data, size, &file, limits);
  if (!result.ok()) return result;
  out->info.type = FileType::Dds;
  out->info.width = file.width;
  out->info.height = file.height;
  out->info.mipLevels = file.mipLevels;
  out->info.faces = file.faces;
  out->info.format = file.format != PixelFormat::Unknown
                         ? file.format
                         : (file.layout.alpha ? PixelFormat::A8R8G8B8 : PixelFormat::X8R8G8B8);
  if (file.faces != 1) return Result::failure(Status::Unsupported, "DDS: a cube map, not a 2D image");
  try {
    out->levels.resize(file.mipLevels);
  } catch (...) {
    return Result::failure(Status::OutOfMemory, "DDS: out of memory");
  }
  for (uint32_t level = 0; level < file.mipLevels; ++level) {
    result = dds::decodeSurface(data, size, file, 0, level, &out->levels[level]);
    if (!result.ok()) return result;
  }
  return Result::success();
}

}  // namespace

FileType identify(const void* data, size_t size) {
  if (!data || size == 0) return FileType::Unknown;
  const FileType type = bySignature(data, size);
  if (type != FileType::Unknown || size > static_cast<size_t>(INT_MAX)) return type;
  // TGA has no signature: it is whatever else stb_image's header reader accepts.
  budget = Budget();
  budget.cap = kInfoBudget;
  const int found = stbi_info_from_memory(static_cast<const stbi_uc*>(data), static_cast<int>(size), nullptr, nullptr,
                                          nullptr);
  budget.cap = 0;
  return found ? FileType::Tga : FileType::Unknown;
}

Result readInfo(const void* data, size_t size, ImageInfo* info, const Limits& limits) {
  if (!data || !info) return Result::failure(Status::InvalidArgument, "no data or no result");
  *info = ImageInfo();
  if (size == 0) return Result::failure(Status::InvalidData, "the file is empty");
  if (dds::hasMagic(data, size)) {
    dds::File file;
    Result result = dds::parse(data, size, &file, limits);
    if (!result.ok()) return result;
    info->type = FileType::Dds;
    info->width = file.width;
    info->height = file.height;
    info->mipLevels = file.mipLevels;
    info->faces = file.faces;
    info->format = file.format != PixelFormat::Unknown
                       ? file.format
                       : (file.layout.alpha ? PixelFormat::A8R8G8B8 : PixelFormat::X8R8G8B8);
    return Result::success();
  }
  const FileType type = bySignature(data, size);
  if (type == FileType::Jpg) return jpeg::readInfo(data, size, info, limits);
  if (type == FileType::Png) return png::readInfo(data, size, info, limits);
  int channels = 0;
  return stbInfo(data, size, type, info, &channels, limits);
}

Result decode(const void* data, size_t size, DecodedImage* image, const Limits& limits) {
  if (!data || !image) return Result::failure(Status::InvalidArgument, "no data or no result");
  *image = DecodedImage();
  budget = Budget();
  if (size == 0) return Result::failure(Status::InvalidData, "the file is empty");
  if (dds::hasMagic(data, size)) return decodeDds(data, size, image, limits);
  const FileType type = bySignature(data, size);
  if (type == FileType::Jpg) return jpeg::decode(data, size, image, limits);
  if (type == FileType::Png) return png::decode(data, size, image, limits);
  return decodeStb(data, size, type, image, limits);
}

uint64_t lastDecoderPeakBytes() { return budget.peak; }

}  // namespace gfximage

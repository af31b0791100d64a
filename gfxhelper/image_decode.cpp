#include "gfxhelper/image_decode.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "gfxhelper/bmp.h"
#include "gfxhelper/dds.h"
#include "gfxhelper/tga.h"

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

void* budgetRealloc(void* memory, size_t size) {
  if (!memory) return budgetMalloc(size);
  unsigned char* block = static_cast<unsigned char*>(memory) - kBlockHeader;
  size_t old;
  std::memcpy(&old, block, sizeof old);
  if (size > SIZE_MAX - kBlockHeader || budget.live - old + size > budget.cap) {
    budget.refused = true;
    return nullptr;
  }
  auto* moved = static_cast<unsigned char*>(std::realloc(block, size + kBlockHeader));
  if (!moved) return nullptr;
  std::memcpy(moved, &size, sizeof size);
  budget.live = budget.live - old + size;
  if (budget.live > budget.peak) budget.peak = budget.live;
  return moved + kBlockHeader;
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

// PNG and JPEG, from memory only; BMP and TGA have readers of their own.
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_NO_STDIO
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#define STBI_MAX_DIMENSIONS (1 << 14)  // a backstop; Limits decides first
#define STBI_MALLOC(size) budgetMalloc(size)
#define STBI_REALLOC(memory, size) budgetRealloc(memory, size)
#define STBI_FREE(memory) budgetFree(memory)
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

namespace gfximage {

namespace {

// Parsing a header takes little: a JPEG decoder's tables at most.
constexpr uint64_t kInfoBudget = 1u << 20;
// Decoding takes the compressed stream, the image in the file's own depth (up to
// 16 bits a channel), and the 8-bit result, with room for the stream's growth.
constexpr uint64_t kDecodeBudgetPerPixel = 32;
constexpr uint64_t kDecodeBudgetBase = 4u << 20;

const char* typeName(FileType type) {
  switch (type) {
    case FileType::Bmp:
      return "BMP";
    case FileType::Jpg:
      return "JPEG";
    case FileType::Tga:
      return "TGA";
    case FileType::Png:
      return "PNG";
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
  if (dds::hasMagic(data, size)) return FileType::Dds;
  if (startsWith(data, size, kPng, sizeof kPng)) return FileType::Png;
  // A JPEG starts with its SOI marker, which stb_image finds after any number of 0xFF.
  const auto* bytes = static_cast<const uint8_t*>(data);
  size_t fill = 0;
  while (fill < size && bytes[fill] == 0xff) ++fill;
  if (fill > 0 && fill < size && bytes[fill] == 0xd8) return FileType::Jpg;
  if (bmp::hasSignature(data, size)) return FileType::Bmp;
  return FileType::Unknown;
}

Result stbFailure(FileType type, bool overBudget) {
  const char* why = stbi_failure_reason();
  if (overBudget) return Result::failure(Status::OutOfMemory, std::string(typeName(type)) + ": needs more memory than its size allows");
  return Result::failure(Status::InvalidData, std::string(typeName(type)) + ": " + (why ? why : "cannot be decoded"));
}

Result checkJpeg(const uint8_t* bytes, size_t size);

// Header of a file that stb_image reads, with the size checked against the limits.
Result stbInfo(const void* data, size_t size, FileType type, ImageInfo* info, int* channels, const Limits& limits) {
  if (size > static_cast<size_t>(INT_MAX)) return Result::failure(Status::TooLarge, "the file is larger than 2 GB");
  if (type == FileType::Jpg) {
    // stb_image reads Huffman tables while it looks for the header already.
    Result safe = checkJpeg(static_cast<const uint8_t*>(data), size);
    if (!safe.ok()) return safe;
  }
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
  info->type = type;
  info->width = static_cast<uint32_t>(width);
  info->height = static_cast<uint32_t>(height);
  info->mipLevels = 1;
  info->faces = 1;
  info->format = (*channels == 2 || *channels == 4) ? PixelFormat::A8R8G8B8 : PixelFormat::X8R8G8B8;
  return Result::success();
}

uint32_t be32(const uint8_t* at) {
  return (static_cast<uint32_t>(at[0]) << 24) | (static_cast<uint32_t>(at[1]) << 16) |
         (static_cast<uint32_t>(at[2]) << 8) | static_cast<uint32_t>(at[3]);
}

// stb_image reads zeros past the end of a file instead of failing, and sizes its
// buffers from the header alone. So before it runs, a PNG must hold at least the
// bytes its header promises: its own chunks, whose deflate stream cannot expand more
// than 1032 times. Headers that this check does not understand are left to stb_image
// to judge.
Result checkPng(const uint8_t* bytes, size_t size) {
  size_t at = 8;
  uint64_t compressed = 0, pixelBytes = 0;
  bool ended = false;
  while (size - at >= 12) {
    const uint64_t length = be32(bytes + at);
    if (length > size - at - 12) return Result::failure(Status::InvalidData, "PNG: a chunk runs past the end of the file");
    const uint8_t* type = bytes + at + 4;
    if (std::memcmp(type, "IHDR", 4) == 0 && length >= 13) {
      const uint8_t* header = type + 4;
      static const uint32_t kChannels[7] = {1, 0, 3, 1, 2, 0, 4};
      const uint32_t colour = header[9];
      const uint64_t channels = colour < 7 ? kChannels[colour] : 0;
      const uint64_t width = be32(header), height = be32(header + 4);
      pixelBytes = (width >> 24) || (height >> 24) ? UINT64_MAX : width * height * channels * header[8] / 8;
    } else if (std::memcmp(type, "IDAT", 4) == 0) {
      compressed += length;
    } else if (std::memcmp(type, "IEND", 4) == 0) {
      ended = true;
      break;
    }
    at += 12 + static_cast<size_t>(length);
  }
  if (!ended) return Result::failure(Status::InvalidData, "PNG: the file ends before its last chunk");
  if (pixelBytes > compressed * 1032 + 4096)
    return Result::failure(Status::InvalidData, "PNG: too little image data for the declared size");
  return Result::success();
}

// stb_image (as packaged) builds a JPEG Huffman table from its 16 code counts without
// checking that they total at most 256, and overruns the table when they do not. So
// every table of every DHT segment that it could reach is checked first: the walk
// takes each 0xFF followed by a marker as stb_image would, anywhere in the file (so
// also inside entropy-coded data, where only stuffed zeros and restart markers
// belong), and reads bytes past the end as zeros, as stb_image does.
Result checkJpeg(const uint8_t* bytes, size_t size) {
  auto at = [&](size_t index) -> uint32_t { return index < size ? bytes[index] : 0; };
  size_t position = 0;
  while (position + 1 < size) {
    if (bytes[position] != 0xff) {
      ++position;
      continue;
    }
    size_t next = position + 1;
    while (next < size && bytes[next] == 0xff) ++next;
    if (next >= size) break;
    const uint32_t marker = bytes[next];
    position = next + 1;
    if (marker == 0x00 || marker == 0x01 || (marker >= 0xd0 && marker <= 0xd9)) continue;  // no length
    const size_t length = (at(position) << 8) | at(position + 1);
    if (marker == 0xc4) {
      int64_t left = static_cast<int64_t>(length) - 2;
      size_t table = position + 2;
      while (left > 0) {
        const uint32_t header = at(table);
        if ((header >> 4) > 1 || (header & 15) > 3) break;  // stb_image refuses the segment itself
        uint32_t codes = 0;
        for (size_t i = 0; i < 16; ++i) codes += at(table + 1 + i);
        if (codes > 256)
          return Result::failure(Status::InvalidData, "JPEG: a Huffman table has more than 256 codes");
        table += 17 + codes;
        left -= 17 + static_cast<int64_t>(codes);
      }
    }
    // Past the segment (entropy-coded data after a scan header is walked like the rest).
    if (marker != 0xda) position += length;
  }
  return Result::success();
}

Result checkPromisedBytes(FileType type, const void* data, size_t size) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  switch (type) {
    case FileType::Png:
      return checkPng(bytes, size);
    default:  // JPEG: checked before its header is read
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

// BMP and TGA through our own readers; transparency that the header did not declare
// (a run-length BMP's skipped pixels, say) makes the format A8R8G8B8, as with the others.
Result decodeOwn(FileType type, const void* data, size_t size, DecodedImage* out, const Limits& limits) {
  Image image;
  Result result = type == FileType::Bmp ? bmp::decode(data, size, &out->info, &image, limits)
                                        : tga::decode(data, size, &out->info, &image, limits);
  if (!result.ok()) return result;
  for (size_t i = 3; i < image.pixels.size(); i += 4)
    if (image.pixels[i] != 255) out->info.format = PixelFormat::A8R8G8B8;
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
  if (type != FileType::Unknown) return type;
  return tga::looksLike(data, size) ? FileType::Tga : FileType::Unknown;
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
  const FileType type = identify(data, size);
  if (type == FileType::Bmp) return bmp::readInfo(data, size, info, limits);
  if (type == FileType::Tga) return tga::readInfo(data, size, info, limits);
  int channels = 0;
  return stbInfo(data, size, type, info, &channels, limits);
}

Result decode(const void* data, size_t size, DecodedImage* image, const Limits& limits) {
  if (!data || !image) return Result::failure(Status::InvalidArgument, "no data or no result");
  *image = DecodedImage();
  budget = Budget();
  if (size == 0) return Result::failure(Status::InvalidData, "the file is empty");
  if (dds::hasMagic(data, size)) return decodeDds(data, size, image, limits);
  const FileType type = identify(data, size);
  if (type == FileType::Bmp || type == FileType::Tga) return decodeOwn(type, data, size, image, limits);
  return decodeStb(data, size, type, image, limits);
}

uint64_t lastDecoderPeakBytes() { return budget.peak; }

}  // namespace gfximage

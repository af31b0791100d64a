#include "gfxhelper/bmp.h"

#include <string>

#include "gfxhelper/le_bytes.h"
#include "gfxhelper/pixel_format.h"

namespace gfximage {
namespace bmp {

namespace {

constexpr size_t kFileHeaderBytes = 14;
// The header's forms by their size: core, info, and the later ones that add masks and colour spaces.
constexpr uint32_t kCoreHeaderBytes = 12, kInfoHeaderBytes = 40, kV2HeaderBytes = 52, kV3HeaderBytes = 56,
                   kV4HeaderBytes = 108, kV5HeaderBytes = 124;
// The red, green and blue masks follow the 40-byte header (inside it from the 52-byte form), alpha from 56.
constexpr size_t kMasksAt = kFileHeaderBytes + kInfoHeaderBytes;
constexpr size_t kRgbMaskBytes = 12;
constexpr uint32_t kCoreEntryBytes = 3, kInfoEntryBytes = 4;  // palette entries: B, G, R (and a spare byte)

enum Compression : uint32_t { kRgb = 0, kRle8 = 1, kRle4 = 2, kBitfields = 3 };
// The second byte of a run-length code whose count is 0; above these, that many literal pixels.
enum Escape : uint32_t { kEndOfLine = 0, kEndOfBitmap = 1, kDelta = 2 };

Result invalid(const std::string& why) { return Result::failure(Status::InvalidData, "BMP: " + why); }

struct Header {
  uint32_t width = 0;
  uint32_t height = 0;
  bool topDown = false;
  uint32_t bits = 0;
  uint32_t compression = kRgb;
  uint32_t masks[4] = {};             // red, green, blue, alpha of packed texels
  bool zeroAlphaIsOpaque = false;     // 32-bit BI_RGB: most writers leave the fourth byte 0
  uint32_t entryBytes = kInfoEntryBytes;
  uint32_t paletteEntries = 0;
  size_t paletteAt = 0;
  size_t pixelsAt = 0;
  uint64_t rowBytes = 0;              // of unpacked rows, padded to 4 bytes
};

// One channel of a packed texel, widened to 8 bits by repeating its bits, so that a 5-bit
// 16 reads as 132; a channel of more than 8 bits gives its top 8.
class Channel {
 public:
  explicit Channel(uint32_t mask) : mask_(mask) {
    if (mask == 0) return;
    while (((mask >> shift_) & 1) == 0) ++shift_;
    for (uint32_t rest = mask >> shift_; rest & 1; rest >>= 1) ++bits_;
    if (bits_ > 8) shift_ += bits_ - 8, bits_ = 8;
  }
  uint8_t read(uint32_t texel, uint8_t absent) const {
    if (mask_ == 0) return absent;
    const uint32_t value = (texel >> shift_) & ((1u << bits_) - 1);
    uint32_t wide = 0;
    for (int at = 8 - static_cast<int>(bits_);; at -= static_cast<int>(bits_)) {
      wide |= at >= 0 ? value << at : value >> -at;
      if (at <= 0) break;
    }
    return static_cast<uint8_t>(wide);
  }

 private:
  uint32_t mask_;
  uint32_t shift_ = 0;
  uint32_t bits_ = 0;
};

bool knownHeaderSize(uint32_t bytes) {
  return bytes == kCoreHeaderBytes || bytes == kInfoHeaderBytes || bytes == kV2HeaderBytes ||
         bytes == kV3HeaderBytes || bytes == kV4HeaderBytes || bytes == kV5HeaderBytes;
}

Result checkDepth(const Header& h) {
  const std::string depth = std::to_string(h.bits) + "-bit";
  switch (h.compression) {
    case kRgb:
      if (h.bits == 1 || h.bits == 4 || h.bits == 8 || h.bits == 16 || h.bits == 24 || h.bits == 32)
        return Result::success();
      return invalid(depth + " pixels are not a BMP depth");
    case kRle8:
      return h.bits == 8 ? Result::success() : invalid("RLE8 with " + depth + " pixels");
    case kRle4:
      return h.bits == 4 ? Result::success() : invalid("RLE4 with " + depth + " pixels");
    case kBitfields:
      return h.bits == 16 || h.bits == 32 ? Result::success() : invalid("channel masks with " + depth + " pixels");
    default:
      return Result::failure(Status::Unsupported, "BMP: compression " + std::to_string(h.compression) + " is not read");
  }
}

// The masks of packed texels; returns where the header, with masks after it, ends.
Result readMasks(const uint8_t* bytes, size_t size, uint32_t headerBytes, Header* h, size_t* headerEnd) {
  if (h->compression == kBitfields) {
    if (headerBytes == kInfoHeaderBytes) {
      if (size - *headerEnd < kRgbMaskBytes) return invalid("the channel masks are cut short");
      *headerEnd += kRgbMaskBytes;
    }
    for (size_t i = 0; i < 3; ++i) h->masks[i] = le32(bytes + kMasksAt + 4 * i);
    h->masks[3] = headerBytes >= kV3HeaderBytes ? le32(bytes + kMasksAt + 12) : 0;
  } else if (h->bits == 16) {
    h->masks[0] = 0x7c00, h->masks[1] = 0x3e0, h->masks[2] = 0x1f;
  } else {
    h->masks[0] = 0xff0000, h->masks[1] = 0xff00, h->masks[2] = 0xff;
    h->masks[3] = h->bits == 32 ? 0xff000000 : 0;
    h->zeroAlphaIsOpaque = h->bits == 32;
  }
  MaskLayout layout;
  layout.bits = h->bits, layout.red = h->masks[0], layout.green = h->masks[1], layout.blue = h->masks[2];
  layout.alpha = h->masks[3];
  return validLayout(layout) ? Result::success() : invalid("a channel mask lies outside the texel or has gaps");
}

Result parseHeader(const uint8_t* bytes, size_t size, const Limits& limits, Header* h) {
  if (!hasSignature(bytes, size)) return invalid("the file does not start with \"BM\"");
  if (size < kFileHeaderBytes + 4) return invalid("the header is cut short");
  const uint32_t headerBytes = le32(bytes + kFileHeaderBytes);
  if (!knownHeaderSize(headerBytes))
    return Result::failure(Status::Unsupported, "BMP: a header of " + std::to_string(headerBytes) + " bytes is not read");
  if (size - kFileHeaderBytes < headerBytes) return invalid("the header is cut short");
  const uint8_t* info = bytes + kFileHeaderBytes;
  int64_t width, height;
  uint32_t planes;
  if (headerBytes == kCoreHeaderBytes) {
    width = le16(info + 4), height = le16(info + 6), planes = le16(info + 8), h->bits = le16(info + 10);
    h->entryBytes = kCoreEntryBytes;
  } else {
    width = static_cast<int32_t>(le32(info + 4)), height = static_cast<int32_t>(le32(info + 8));
    planes = le16(info + 12), h->bits = le16(info + 14), h->compression = le32(info + 16);
  }
  if (planes != 1) return invalid("the plane count is not 1");
  if (width < 0) return invalid("the width is negative");
  h->topDown = height < 0;
  h->width = static_cast<uint32_t>(width);
  h->height = static_cast<uint32_t>(height < 0 ? -height : height);
  Result result = checkDimensions(h->width, h->height, limits);
  if (!result.ok()) {
    result.reason = "BMP: " + result.reason;
    return result;
  }
  result = checkDepth(*h);
  if (!result.ok()) return result;

  size_t headerEnd = kFileHeaderBytes + headerBytes;
  if (h->bits > 8) {
    result = readMasks(bytes, size, headerBytes, h, &headerEnd);
    if (!result.ok()) return result;
  }
  h->pixelsAt = le32(bytes + 10);
  if (h->pixelsAt > size) return invalid("the pixels start past the end of the file");
  if (h->pixelsAt < headerEnd) return invalid("the pixels start inside the header");
  if (h->bits <= 8) {
    // The palette fills the gap up to the pixels, but for more entries than the depth can name.
    h->paletteAt = headerEnd;
    const uint64_t entries = (h->pixelsAt - headerEnd) / h->entryBytes;
    h->paletteEntries = static_cast<uint32_t>(entries < (1u << h->bits) ? entries : 1u << h->bits);
    if (h->paletteEntries == 0) return invalid("the palette is missing");
  }
  if (h->compression == kRgb || h->compression == kBitfields) {
    h->rowBytes = (static_cast<uint64_t>(h->width) * h->bits + 31) / 32 * 4;
    if (h->rowBytes * h->height > size - h->pixelsAt) return invalid("the pixel rows run past the end of the file");
  }
  return Result::success();
}

// Where pixels go: the file's rows in its order, palette colours by index.
class Target {
 public:
  Target(const Header& header, const uint8_t* bytes, Image* image)
      : header_(header), palette_(bytes + header.paletteAt), image_(image) {}

  uint8_t* texel(uint32_t x, uint32_t fileRow) {
    return image_->texel(x, header_.topDown ? fileRow : header_.height - 1 - fileRow);
  }
  Result putIndex(uint32_t x, uint32_t fileRow, uint32_t index) {
    if (index >= header_.paletteEntries)
      return invalid("a pixel names palette entry " + std::to_string(index) + ", past the palette's " +
                     std::to_string(header_.paletteEntries));
    const uint8_t* entry = palette_ + static_cast<size_t>(index) * header_.entryBytes;
    uint8_t* out = texel(x, fileRow);
    out[0] = entry[0], out[1] = entry[1], out[2] = entry[2], out[3] = 255;
    return Result::success();
  }

 private:
  const Header& header_;
  const uint8_t* palette_;
  Image* image_;
};

uint32_t nibble(uint8_t byte, uint32_t position) { return position % 2 ? byte & 15u : byte >> 4; }

Result decodeIndexedRows(const uint8_t* bytes, const Header& h, Target* target) {
  const uint32_t indexMask = (1u << h.bits) - 1;
  for (uint32_t row = 0; row < h.height; ++row) {
    const uint8_t* in = bytes + h.pixelsAt + row * h.rowBytes;
    for (uint32_t x = 0; x < h.width; ++x) {
      const uint32_t bit = x * h.bits;  // within a row of at most 8192 texels of 8 bits
      Result result = target->putIndex(x, row, (in[bit / 8] >> (8 - h.bits - bit % 8)) & indexMask);
      if (!result.ok()) return result;
    }
  }
  return Result::success();
}

void decodePackedRows(const uint8_t* bytes, const Header& h, Target* target) {
  const uint32_t texelBytes = h.bits / 8;
  const Channel red(h.masks[0]), green(h.masks[1]), blue(h.masks[2]), alpha(h.masks[3]);
  bool anyAlpha = false;
  for (uint32_t row = 0; row < h.height; ++row) {
    const uint8_t* in = bytes + h.pixelsAt + row * h.rowBytes;
    for (uint32_t x = 0; x < h.width; ++x, in += texelBytes) {
      uint32_t texel = 0;
      for (uint32_t i = 0; i < texelBytes; ++i) texel |= static_cast<uint32_t>(in[i]) << (8 * i);
      uint8_t* out = target->texel(x, row);
      out[0] = blue.read(texel, 0), out[1] = green.read(texel, 0), out[2] = red.read(texel, 0);
      out[3] = alpha.read(texel, 255);
      anyAlpha = anyAlpha || out[3] != 0;
    }
  }
  if (!h.zeroAlphaIsOpaque || anyAlpha) return;
  for (uint32_t row = 0; row < h.height; ++row)
    for (uint32_t x = 0; x < h.width; ++x) target->texel(x, row)[3] = 255;
}

// RLE8 and RLE4: runs of one index (of two alternating ones in RLE4), literal pixels padded
// to an even byte count, and escapes that end a row, end the image or move ahead.
Result decodeRunLength(const uint8_t* bytes, size_t size, const Header& h, Target* target) {
  const bool nibbles = h.compression == kRle4;
  const Result cut = invalid("the run-length data ends before its end-of-bitmap code");
  const Result overrun = invalid("a run-length run goes past the end of a row");
  size_t at = h.pixelsAt;
  uint32_t x = 0, row = 0;  // row <= height and x <= width throughout
  for (;;) {
    if (size - at < 2) return cut;
    const uint32_t count = bytes[at], value = bytes[at + 1];
    at += 2;
    if (count > 0) {
      if (row == h.height || count > h.width - x) return overrun;
      for (uint32_t i = 0; i < count; ++i) {
        Result result = target->putIndex(x++, row, nibbles ? nibble(static_cast<uint8_t>(value), i) : value);
        if (!result.ok()) return result;
      }
    } else if (value == kEndOfLine) {
      if (row == h.height) return invalid("the run-length data goes on past the last row");
      x = 0, ++row;
    } else if (value == kEndOfBitmap) {
      return Result::success();
    } else if (value == kDelta) {
      if (size - at < 2) return cut;
      const uint32_t right = bytes[at], down = bytes[at + 1];
      at += 2;
      if (right > h.width - x || down > h.height - row) return invalid("a run-length delta moves outside the image");
      x += right, row += down;
    } else {
      const size_t literalBytes = nibbles ? (value + 1) / 2 : value;
      if (size - at < literalBytes + literalBytes % 2) return cut;
      if (row == h.height || value > h.width - x) return overrun;
      for (uint32_t i = 0; i < value; ++i) {
        Result result = target->putIndex(x++, row, nibbles ? nibble(bytes[at + i / 2], i) : bytes[at + i]);
        if (!result.ok()) return result;
      }
      at += literalBytes + literalBytes % 2;
    }
  }
}

void describe(const Header& h, ImageInfo* info) {
  *info = ImageInfo();
  info->type = FileType::Bmp;
  info->width = h.width;
  info->height = h.height;
  info->format = h.masks[3] ? PixelFormat::A8R8G8B8 : PixelFormat::X8R8G8B8;
}

}  // namespace

bool hasSignature(const void* data, size_t size) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  return data && size >= 2 && bytes[0] == 'B' && bytes[1] == 'M';
}

Result readInfo(const void* data, size_t size, ImageInfo* info, const Limits& limits) {
  if (!data || !info) return Result::failure(Status::InvalidArgument, "BMP: no data or no result");
  Header header;
  Result result = parseHeader(static_cast<const uint8_t*>(data), size, limits, &header);
  if (result.ok()) describe(header, info);
  return result;
}

Result decode(const void* data, size_t size, ImageInfo* info, Image* image, const Limits& limits) {
  if (!data || !info || !image) return Result::failure(Status::InvalidArgument, "BMP: no data or no result");
  const auto* bytes = static_cast<const uint8_t*>(data);
  Header header;
  Result result = parseHeader(bytes, size, limits, &header);
  if (!result.ok()) return result;
  describe(header, info);
  if (!image->allocate(header.width, header.height)) return Result::failure(Status::OutOfMemory, "BMP: out of memory");
  Target target(header, bytes, image);
  if (header.compression == kRle8 || header.compression == kRle4)
    return decodeRunLength(bytes, size, header, &target);
  if (header.bits <= 8) return decodeIndexedRows(bytes, header, &target);
  decodePackedRows(bytes, header, &target);
  return Result::success();
}

}  // namespace bmp
}  // namespace gfximage

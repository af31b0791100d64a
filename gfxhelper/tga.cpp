#include "gfxhelper/tga.h"

#include <cstring>
#include <string>
#include <vector>

#include "gfxhelper/le_bytes.h"

namespace gfximage {
namespace tga {

namespace {

constexpr size_t kHeaderBytes = 18;
enum Field : size_t {
  kIdLength = 0,
  kMapType = 1,
  kImageType = 2,
  kMapFirst = 3,
  kMapLength = 5,
  kMapBits = 7,
  kWidth = 12,
  kHeight = 14,
  kBits = 16,
  kDescriptor = 17,
};
enum ImageType : uint32_t { kMapped = 1, kTrueColour = 2, kGrey = 3, kRunLength = 8 };
constexpr uint32_t kTopOrigin = 0x20;  // in the descriptor: rows from the top
constexpr uint32_t kRunPacket = 0x80, kPacketCount = 0x7f, kMaxPacketTexels = 128;

// How a pixel, or a colour map entry, is stored.
enum class Kind { None, Grey, GreyAlpha, Rgb555, Bgr, Bgra };

// By its bit count: 16 bits are grey and alpha in a grey image, five bits a channel elsewhere.
Kind kindOf(uint32_t bits, bool grey) {
  switch (bits) {
    case 8:
      return Kind::Grey;
    case 15:
      return Kind::Rgb555;
    case 16:
      return grey ? Kind::GreyAlpha : Kind::Rgb555;
    case 24:
      return Kind::Bgr;
    case 32:
      return Kind::Bgra;
    default:
      return Kind::None;
  }
}

// Five bits to eight, rounding down as these files have always been read here.
uint8_t widen5(uint32_t value) { return static_cast<uint8_t>((value & 31) * 255 / 31); }

void unpack(Kind kind, const uint8_t* in, uint8_t* bgra) {
  switch (kind) {
    case Kind::Grey:
    case Kind::GreyAlpha:
      bgra[0] = bgra[1] = bgra[2] = in[0];
      bgra[3] = kind == Kind::GreyAlpha ? in[1] : 255;
      break;
    case Kind::Rgb555: {
      const uint32_t texel = le16(in);
      bgra[0] = widen5(texel), bgra[1] = widen5(texel >> 5), bgra[2] = widen5(texel >> 10), bgra[3] = 255;
      break;
    }
    case Kind::Bgr:
    case Kind::Bgra:
      bgra[0] = in[0], bgra[1] = in[1], bgra[2] = in[2];
      bgra[3] = kind == Kind::Bgra ? in[3] : 255;
      break;
    case Kind::None:
      break;
  }
}

Result invalid(const std::string& why) { return Result::failure(Status::InvalidData, "TGA: " + why); }

struct Header {
  uint32_t width = 0;
  uint32_t height = 0;
  bool topDown = false;
  bool runLength = false;
  bool mapped = false;
  Kind kind = Kind::None;    // of the pixels, or of the map's entries when mapped
  uint32_t pixelBytes = 0;   // stored a pixel: its texel or its index
  uint32_t mapFirst = 0;     // the index of the map's first entry
  uint32_t mapLength = 0;
  uint32_t entryBytes = 0;
};

// The fields alone, without the bytes they describe.
Result parseHeader(const uint8_t* bytes, size_t size, Header* h) {
  if (size < kHeaderBytes) return invalid("the header is cut short");
  const uint32_t mapType = bytes[kMapType], type = bytes[kImageType];
  const uint32_t base = type & ~kRunLength;
  if (type > (kGrey | kRunLength) || (base != kMapped && base != kTrueColour && base != kGrey))
    return invalid("image type " + std::to_string(type) + " is not read");
  h->mapped = base == kMapped;
  if (mapType != (h->mapped ? 1u : 0u))
    return invalid("colour map type " + std::to_string(mapType) + " with image type " + std::to_string(type));
  h->runLength = (type & kRunLength) != 0;
  h->width = le16(bytes + kWidth);
  h->height = le16(bytes + kHeight);
  if (h->width == 0 || h->height == 0) return invalid("the image has no pixels");
  h->topDown = (bytes[kDescriptor] & kTopOrigin) != 0;
  const uint32_t bits = bytes[kBits];
  if (h->mapped) {
    if (bits != 8 && bits != 16) return invalid("colour map indices of " + std::to_string(bits) + " bits");
    const uint32_t entryBits = bytes[kMapBits];
    h->kind = kindOf(entryBits, false);
    if (h->kind == Kind::None) return invalid("colour map entries of " + std::to_string(entryBits) + " bits");
    h->pixelBytes = bits / 8;
    h->mapFirst = le16(bytes + kMapFirst);
    h->mapLength = le16(bytes + kMapLength);
    h->entryBytes = (entryBits + 7) / 8;
    if (h->mapLength == 0) return invalid("the colour map is empty");
  } else {
    h->kind = kindOf(bits, base == kGrey);
    if (h->kind == Kind::None) return invalid("pixels of " + std::to_string(bits) + " bits");
    h->pixelBytes = (bits + 7) / 8;
  }
  return Result::success();
}

Result parseWithLimits(const uint8_t* bytes, size_t size, const Limits& limits, Header* h) {
  Result result = parseHeader(bytes, size, h);
  if (!result.ok()) return result;
  result = checkDimensions(h->width, h->height, limits);
  if (!result.ok()) result.reason = "TGA: " + result.reason;
  return result;
}

void describe(const Header& h, ImageInfo* info) {
  *info = ImageInfo();
  info->type = FileType::Tga;
  info->width = h.width;
  info->height = h.height;
  info->format = h.kind == Kind::GreyAlpha || h.kind == Kind::Bgra ? PixelFormat::A8R8G8B8 : PixelFormat::X8R8G8B8;
}

// Pixels from their stored bytes: unpacked, or looked up in the unpacked colour map.
class PixelReader {
 public:
  explicit PixelReader(const Header& header) : header_(header) {}

  Result readMap(const uint8_t* entries) {
    try {
      map_.resize(static_cast<size_t>(header_.mapLength) * 4);
    } catch (...) {
      return Result::failure(Status::OutOfMemory, "TGA: out of memory");
    }
    for (uint32_t i = 0; i < header_.mapLength; ++i) unpack(header_.kind, entries + i * header_.entryBytes, &map_[i * 4]);
    return Result::success();
  }

  Result read(const uint8_t* in, uint8_t* bgra) const {
    if (!header_.mapped) {
      unpack(header_.kind, in, bgra);
      return Result::success();
    }
    const uint32_t index = header_.pixelBytes == 1 ? in[0] : le16(in);
    if (index < header_.mapFirst || index - header_.mapFirst >= header_.mapLength)
      return invalid("a pixel names colour map entry " + std::to_string(index) + ", outside the map's " +
                     std::to_string(header_.mapFirst) + " to " +
                     std::to_string(header_.mapFirst + header_.mapLength - 1));
    std::memcpy(bgra, &map_[(index - header_.mapFirst) * 4], 4);
    return Result::success();
  }

 private:
  const Header& header_;
  std::vector<uint8_t> map_;
};

class Decoder {
 public:
  Decoder(const Header& header, const PixelReader& reader, Image* image)
      : header_(header), reader_(reader), image_(image) {}

  // `count` stored pixels from the one at `first`.
  Result raw(const uint8_t* in, uint64_t first, uint64_t count) {
    for (uint64_t i = 0; i < count; ++i) {
      Result result = reader_.read(in + i * header_.pixelBytes, texel(first + i));
      if (!result.ok()) return result;
    }
    return Result::success();
  }

  // Packets of a count byte, then one pixel repeated or that many pixels.
  Result runLength(const uint8_t* in, size_t size, uint64_t texels) {
    const Result truncated = invalid("the pixel data runs past the end of the file");
    size_t at = 0;
    for (uint64_t done = 0; done < texels;) {
      if (at >= size) return truncated;
      const uint32_t packet = in[at++];
      const uint32_t count = (packet & kPacketCount) + 1;
      if (count > texels - done) return invalid("a run-length packet runs past the last pixel");
      const size_t stored = packet & kRunPacket ? header_.pixelBytes : static_cast<size_t>(count) * header_.pixelBytes;
      if (stored > size - at) return truncated;
      Result result = packet & kRunPacket ? repeat(in + at, done, count) : raw(in + at, done, count);
      if (!result.ok()) return result;
      at += stored;
      done += count;
    }
    return Result::success();
  }

 private:
  uint8_t* texel(uint64_t index) {
    const auto x = static_cast<uint32_t>(index % header_.width), row = static_cast<uint32_t>(index / header_.width);
    return image_->texel(x, header_.topDown ? row : header_.height - 1 - row);
  }
  Result repeat(const uint8_t* in, uint64_t first, uint32_t count) {
    uint8_t bgra[4];
    Result result = reader_.read(in, bgra);
    for (uint32_t i = 0; i < count && result.ok(); ++i) std::memcpy(texel(first + i), bgra, 4);
    return result;
  }

  const Header& header_;
  const PixelReader& reader_;
  Image* image_;
};

}  // namespace

bool looksLike(const void* data, size_t size) {
  Header header;
  return data && parseHeader(static_cast<const uint8_t*>(data), size, &header).ok();
}

Result readInfo(const void* data, size_t size, ImageInfo* info, const Limits& limits) {
  if (!data || !info) return Result::failure(Status::InvalidArgument, "TGA: no data or no result");
  Header header;
  Result result = parseWithLimits(static_cast<const uint8_t*>(data), size, limits, &header);
  if (result.ok()) describe(header, info);
  return result;
}

Result decode(const void* data, size_t size, ImageInfo* info, Image* image, const Limits& limits) {
  if (!data || !info || !image) return Result::failure(Status::InvalidArgument, "TGA: no data or no result");
  const auto* bytes = static_cast<const uint8_t*>(data);
  Header header;
  Result result = parseWithLimits(bytes, size, limits, &header);
  if (!result.ok()) return result;
  describe(header, info);

  // The image ID, the colour map, then the pixels; each must lie within the file.
  const uint64_t mapAt = kHeaderBytes + static_cast<uint64_t>(bytes[kIdLength]);
  const uint64_t mapBytes = static_cast<uint64_t>(header.mapLength) * header.entryBytes;
  if (mapAt + mapBytes > size) return invalid("the colour map runs past the end of the file");
  const size_t pixelsAt = static_cast<size_t>(mapAt + mapBytes), available = size - pixelsAt;
  const uint64_t texels = static_cast<uint64_t>(header.width) * header.height;
  // Raw, every pixel is stored; run-length, at least one pixel for every 128.
  const uint64_t leastBytes = header.runLength
                                  ? (texels + kMaxPacketTexels - 1) / kMaxPacketTexels * (1 + header.pixelBytes)
                                  : texels * header.pixelBytes;
  if (leastBytes > available) return invalid("the pixel data runs past the end of the file");

  PixelReader reader(header);
  if (header.mapped) {
    result = reader.readMap(bytes + mapAt);
    if (!result.ok()) return result;
  }
  if (!image->allocate(header.width, header.height)) return Result::failure(Status::OutOfMemory, "TGA: out of memory");
  Decoder decoder(header, reader, image);
  return header.runLength ? decoder.runLength(bytes + pixelsAt, available, texels)
                          : decoder.raw(bytes + pixelsAt, 0, texels);
}

}  // namespace tga
}  // namespace gfximage

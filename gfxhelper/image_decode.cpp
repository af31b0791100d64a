#include "gfxhelper/image_decode.h"

#include <cstring>
#include <string>

#include "gfxhelper/bmp.h"
#include "gfxhelper/dds.h"
#include "gfxhelper/jpeg_file.h"
#include "gfxhelper/png_file.h"
#include "gfxhelper/tga.h"

namespace gfximage {

namespace {

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
  // A JPEG starts with its SOI marker, after any number of 0xFF fill bytes.
  const auto* bytes = static_cast<const uint8_t*>(data);
  size_t fill = 0;
  while (fill < size && bytes[fill] == 0xff) ++fill;
  if (fill > 0 && fill < size && bytes[fill] == 0xd8) return FileType::Jpg;
  if (bmp::hasSignature(data, size)) return FileType::Bmp;
  return FileType::Unknown;
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
  switch (identify(data, size)) {
    case FileType::Jpg: return jpeg::readInfo(data, size, info, limits);
    case FileType::Png: return png::readInfo(data, size, info, limits);
    case FileType::Bmp: return bmp::readInfo(data, size, info, limits);
    case FileType::Tga: return tga::readInfo(data, size, info, limits);
    default: return Result::failure(Status::InvalidData, "not an image file of a known kind");
  }
}

Result decode(const void* data, size_t size, DecodedImage* image, const Limits& limits) {
  if (!data || !image) return Result::failure(Status::InvalidArgument, "no data or no result");
  *image = DecodedImage();
  if (size == 0) return Result::failure(Status::InvalidData, "the file is empty");
  if (dds::hasMagic(data, size)) return decodeDds(data, size, image, limits);
  switch (const FileType type = identify(data, size)) {
    case FileType::Jpg: return jpeg::decode(data, size, image, limits);
    case FileType::Png: return png::decode(data, size, image, limits);
    case FileType::Bmp:
    case FileType::Tga: return decodeOwn(type, data, size, image, limits);
    default: return Result::failure(Status::InvalidData, "not an image file of a known kind");
  }
}

}  // namespace gfximage

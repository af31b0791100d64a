#include "gfxhelper/png_file.h"

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <png.h>

namespace gfximage {
namespace png {

namespace {

// The read position in the file and the last error. Plain data, like everything that
// the jump from libpng's error handler passes over.
struct Source {
  const uint8_t* bytes;
  size_t size;
  size_t at;
  char message[160];
};

// Replaces libpng's default, which prints the message.
void onError(png_structp png, png_const_charp message) {
  auto* source = static_cast<Source*>(png_get_error_ptr(png));
  std::snprintf(source->message, sizeof source->message, "%s", message);
  png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void onRead(png_structp png, png_bytep to, size_t length) {
  auto* source = static_cast<Source*>(png_get_io_ptr(png));
  if (length > source->size - source->at) png_error(png, "the file ends too early");
  std::memcpy(to, source->bytes + source->at, length);
  source->at += length;
}

// The setjmp regions: each returns false, with the message set, when libpng failed.
bool readHeader(png_structp png, png_infop info) {
  if (setjmp(png_jmpbuf(png))) return false;
  // Our Limits decide the size, and the checksums go unchecked as by other readers.
  png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  png_set_crc_action(png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
  png_set_option(png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
  // Nothing but the pixels and their transparency is used: -1 skips every chunk
  // other than IHDR, PLTE, tRNS, IDAT and IEND.
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  png_read_info(png, info);
  return true;
}

bool readPixels(png_structp png, png_infop info, png_bytep* rows, uint32_t rowBytes) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_set_expand(png);  // palette to colours, grey below 8 bits to 8, tRNS to alpha
  png_set_strip_16(png);
  png_set_gray_to_rgb(png);
  png_set_filler(png, 0xff, PNG_FILLER_AFTER);
  png_set_bgr(png);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  if (png_get_rowbytes(png, info) != rowBytes) png_error(png, "the decoded rows do not match the header");
  png_read_image(png, rows);
  return true;
}

// libpng's state over one file, destroyed with it.
class Reader {
 public:
  Reader(const void* data, size_t size) : source_{static_cast<const uint8_t*>(data), size, 0, {}} {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &source_, onError, onWarning);
    if (png_) info_ = png_create_info_struct(png_);
    if (!info_) return;
    png_set_read_fn(png_, &source_, onRead);
  }
  ~Reader() { png_destroy_read_struct(&png_, &info_, nullptr); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  png_structp png() const { return png_; }
  png_infop info() const { return info_; }
  Result failure() const { return Result::failure(Status::InvalidData, std::string("PNG: ") + source_.message); }

 private:
  Source source_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

uint32_t be32(const uint8_t* at) {
  return (static_cast<uint32_t>(at[0]) << 24) | (static_cast<uint32_t>(at[1]) << 16) |
         (static_cast<uint32_t>(at[2]) << 8) | static_cast<uint32_t>(at[3]);
}

// The file's own chunks up to IEND, holding at least the compressed data that the
// header's size needs: a deflate stream cannot expand more than 1032 times. So a small
// file that declares a huge image is refused before the pixels are allocated.
Result checkData(const uint8_t* bytes, size_t size, uint64_t pixelBytes) {
  size_t at = 8;
  uint64_t compressed = 0;
  bool ended = false;
  while (size - at >= 12) {
    const uint64_t length = be32(bytes + at);
    if (length > size - at - 12) return Result::failure(Status::InvalidData, "PNG: a chunk runs past the end of the file");
    const uint8_t* type = bytes + at + 4;
    if (std::memcmp(type, "IDAT", 4) == 0) {
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

Result header(const Reader& reader, const Limits& limits, ImageInfo* info) {
  if (!reader.info()) return Result::failure(Status::OutOfMemory, "PNG: out of memory");
  if (!readHeader(reader.png(), reader.info())) return reader.failure();
  const uint32_t width = png_get_image_width(reader.png(), reader.info());
  const uint32_t height = png_get_image_height(reader.png(), reader.info());
  Result result = checkDimensions(width, height, limits);
  if (!result.ok()) {
    result.reason = "PNG: " + result.reason;
    return result;
  }
  const png_byte colour = png_get_color_type(reader.png(), reader.info());
  const bool alpha = (colour & PNG_COLOR_MASK_ALPHA) ||
                     (colour == PNG_COLOR_TYPE_PALETTE && png_get_valid(reader.png(), reader.info(), PNG_INFO_tRNS));
  info->type = FileType::Png;
  info->width = width;
  info->height = height;
  info->mipLevels = 1;
  info->faces = 1;
  info->format = alpha ? PixelFormat::A8R8G8B8 : PixelFormat::X8R8G8B8;
  return Result::success();
}

}  // namespace

Result readInfo(const void* data, size_t size, ImageInfo* info, const Limits& limits) {
  Reader reader(data, size);
  return header(reader, limits, info);
}

Result decode(const void* data, size_t size, DecodedImage* out, const Limits& limits) {
  Reader reader(data, size);
  Result result = header(reader, limits, &out->info);
  if (!result.ok()) return result;
  const uint32_t width = out->info.width, height = out->info.height;
  // The stored bytes of the pixels, at the file's own depth and channels.
  const uint64_t pixelBytes = (static_cast<uint64_t>(width) * height * png_get_channels(reader.png(), reader.info()) *
                               png_get_bit_depth(reader.png(), reader.info())) / 8;
  result = checkData(static_cast<const uint8_t*>(data), size, pixelBytes);
  if (!result.ok()) return result;

  Image image;
  std::vector<png_bytep> rows;
  try {
    rows.resize(height);
  } catch (...) {
    return Result::failure(Status::OutOfMemory, "PNG: out of memory");
  }
  if (!image.allocate(width, height)) return Result::failure(Status::OutOfMemory, "PNG: out of memory");
  for (uint32_t y = 0; y < height; ++y) rows[y] = image.row(y);
  if (!readPixels(reader.png(), reader.info(), rows.data(), width * 4)) return reader.failure();

  for (size_t at = 3; at < image.pixels.size(); at += 4)
    if (image.pixels[at] != 255) {
      out->info.format = PixelFormat::A8R8G8B8;
      break;
    }
  try {
    out->levels.push_back(std::move(image));
  } catch (...) {
    return Result::failure(Status::OutOfMemory, "PNG: out of memory");
  }
  return Result::success();
}

}  // namespace png
}  // namespace gfximage

#include "gfxhelper/jpeg_file.h"

#include <climits>
#include <csetjmp>
#include <cstdint>
#include <cstdio>  // jpeglib.h needs FILE
#include <string>

#include <jpeglib.h>
#include <jerror.h>

namespace gfximage {
namespace jpeg {

namespace {

// A progressive file may hold any number of scans, each a pass over the whole image:
// well beyond what encoders write, few enough to bound the time a file can take.
constexpr int kMaxScans = 500;
// The library's memory beyond our pixels: Huffman and quantisation tables, a few rows
// per component, and for a progressive file the coefficients of the whole image
// (2 bytes a sample, up to 4 components).
constexpr uint64_t kMemoryBase = 4u << 20;
constexpr uint64_t kMemoryPerPixel = 32;

// libjpeg's state and the way back out of it. Plain data: the jump from the error
// handler lands in one of the plain functions below, over no destructor.
struct Session {
  jpeg_decompress_struct info;
  jpeg_error_mgr errors;
  jpeg_progress_mgr progress;
  std::jmp_buf back;
  char message[JMSG_LENGTH_MAX];
};

Session* sessionOf(j_common_ptr info) { return static_cast<Session*>(info->client_data); }

// Replaces libjpeg's default, which ends the process.
void onError(j_common_ptr info) {
  Session* session = sessionOf(info);
  info->err->format_message(info, session->message);
  std::longjmp(session->back, 1);
}

void onMessage(j_common_ptr) {}  // warnings are counted by the library, never printed

void onProgress(j_common_ptr common) {
  auto* info = reinterpret_cast<j_decompress_ptr>(common);
  if (info->input_scan_number <= kMaxScans) return;
  Session* session = sessionOf(common);
  std::snprintf(session->message, sizeof session->message, "more than %d scans", kMaxScans);
  std::longjmp(session->back, 1);
}

// The setjmp regions: each returns false, with the message set, when libjpeg failed.
bool readHeader(Session* session, const void* data, size_t size) {
  if (setjmp(session->back)) return false;
  jpeg_create_decompress(&session->info);
  session->info.progress = &session->progress;
  jpeg_mem_src(&session->info, static_cast<const unsigned char*>(data), static_cast<unsigned long>(size));
  jpeg_read_header(&session->info, TRUE);
  return true;
}

bool readPixels(Session* session, J_COLOR_SPACE space, long memory, Image* image) {
  if (setjmp(session->back)) return false;
  session->info.out_color_space = space;
  session->info.mem->max_memory_to_use = memory;
  jpeg_start_decompress(&session->info);
  if (session->info.output_width != image->width || session->info.output_height != image->height ||
      session->info.output_components != 4) {
    std::snprintf(session->message, sizeof session->message, "the decoded image does not match its header");
    return false;
  }
  while (session->info.output_scanline < image->height) {
    JSAMPROW row = image->row(session->info.output_scanline);
    jpeg_read_scanlines(&session->info, &row, 1);
  }
  return true;
}

// A session that libjpeg's state is destroyed with.
class Decompressor {
 public:
  Decompressor() : session_() {
    session_.info.err = jpeg_std_error(&session_.errors);
    session_.info.client_data = &session_;
    session_.errors.error_exit = onError;
    session_.errors.output_message = onMessage;
    session_.progress.progress_monitor = onProgress;
  }
  ~Decompressor() { jpeg_destroy_decompress(&session_.info); }  // nothing to do before create
  Decompressor(const Decompressor&) = delete;
  Decompressor& operator=(const Decompressor&) = delete;

  Session* session() { return &session_; }

  Result failure() const {
    const int code = session_.errors.msg_code;
    const bool memory = code == JERR_OUT_OF_MEMORY || code == JERR_NO_BACKING_STORE;
    return Result::failure(memory ? Status::OutOfMemory : Status::InvalidData,
                           std::string("JPEG: ") + (code == JERR_NO_BACKING_STORE
                                                        ? "needs more memory than its size allows"
                                                        : session_.message));
  }

 private:
  Session session_;
};

Result header(Decompressor* decompressor, const void* data, size_t size, ImageInfo* info, const Limits& limits) {
  // Fill bytes before the start marker are allowed; libjpeg wants the marker first.
  const auto* bytes = static_cast<const uint8_t*>(data);
  while (size > 2 && bytes[0] == 0xff && bytes[1] == 0xff) ++bytes, --size;
  if (size > ULONG_MAX) return Result::failure(Status::TooLarge, "JPEG: the file is too large");
  if (!readHeader(decompressor->session(), bytes, size)) return decompressor->failure();
  const jpeg_decompress_struct& jpeg = decompressor->session()->info;
  Result result = checkDimensions(jpeg.image_width, jpeg.image_height, limits);
  if (!result.ok()) {
    result.reason = "JPEG: " + result.reason;
    return result;
  }
  info->type = FileType::Jpg;
  info->width = jpeg.image_width;
  info->height = jpeg.image_height;
  info->mipLevels = 1;
  info->faces = 1;
  info->format = PixelFormat::X8R8G8B8;
  return Result::success();
}

// Adobe's CMYK, stored inverted (and YCCK, which libjpeg turns into it), into B, G, R:
// each colour channel darkened by the black one, rounded as x * k / 255.
void cmykToBgra(Image* image) {
  const auto darken = [](uint32_t x, uint32_t k) {
    const uint32_t t = x * k + 128;
    return static_cast<uint8_t>((t + (t >> 8)) >> 8);
  };
  for (size_t at = 0; at < image->pixels.size(); at += 4) {
    uint8_t* texel = &image->pixels[at];
    const uint8_t c = texel[0], m = texel[1], y = texel[2], k = texel[3];
    texel[0] = darken(y, k);
    texel[1] = darken(m, k);
    texel[2] = darken(c, k);
    texel[3] = 255;
  }
}

}  // namespace

Result readInfo(const void* data, size_t size, ImageInfo* info, const Limits& limits) {
  Decompressor decompressor;
  return header(&decompressor, data, size, info, limits);
}

Result decode(const void* data, size_t size, DecodedImage* out, const Limits& limits) {
  Decompressor decompressor;
  Result result = header(&decompressor, data, size, &out->info, limits);
  if (!result.ok()) return result;
  const uint64_t width = out->info.width, height = out->info.height;
  Image image;
  if (!image.allocate(out->info.width, out->info.height))
    return Result::failure(Status::OutOfMemory, "JPEG: out of memory");
  const J_COLOR_SPACE stored = decompressor.session()->info.jpeg_color_space;
  const bool cmyk = stored == JCS_CMYK || stored == JCS_YCCK;
  const uint64_t memory = kMemoryBase + kMemoryPerPixel * width * height;
  const long cap = memory > static_cast<uint64_t>(LONG_MAX) ? LONG_MAX : static_cast<long>(memory);  // 32 bits on Windows
  if (!readPixels(decompressor.session(), cmyk ? JCS_CMYK : JCS_EXT_BGRA, cap, &image))
    return decompressor.failure();
  if (cmyk) cmykToBgra(&image);
  try {
    out->levels.push_back(std::move(image));
  } catch (...) {
    return Result::failure(Status::OutOfMemory, "JPEG: out of memory");
  }
  return Result::success();
}

}  // namespace jpeg
}  // namespace gfximage

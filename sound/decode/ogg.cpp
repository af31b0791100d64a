#include "sound/decode/ogg.h"

#include <vorbis/vorbisfile.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "sound/decode/byte_reader.h"
#include "sound/decode/decoder_base.h"

namespace tssound {
namespace {

// ov_read's output: little-endian (the byte order of every machine we build for), signed 16-bit.
constexpr int kLittleEndian = 0, kWordBytes = 2, kSigned = 1;
constexpr long kWholeStream = -1;

std::string describe(long code) {
  switch (code) {
    case OV_ENOTVORBIS: return "not Vorbis data";
    case OV_EVERSION: return "a Vorbis version that doesn't play";
    case OV_EBADHEADER: return "a damaged Vorbis header";
    case OV_HOLE: return "a hole in the data";
    case OV_EBADLINK: return "a damaged link of the stream";
    default: return "damaged data (vorbisfile error " + std::to_string(code) + ")";
  }
}

size_t readBytes(void* out, size_t size, size_t count, void* source) {
  if (size == 0) return 0;
  auto* reader = static_cast<ByteReader*>(source);
  const size_t left = reader->bytes().size() - static_cast<size_t>(reader->position());
  return reader->read(out, std::min(count, left / size) * size) / size;
}

int seekBytes(void* source, ogg_int64_t offset, int whence) {
  return static_cast<ByteReader*>(source)->seek(offset, whence) < 0 ? -1 : 0;
}

long tellBytes(void* source) { return static_cast<long>(static_cast<ByteReader*>(source)->position()); }

class OggDecoder : public BlockDecoder {
 public:
  explicit OggDecoder(std::vector<uint8_t> bytes) : source_(std::move(bytes)) {}
  ~OggDecoder() override {
    if (open_) ov_clear(&file_);
  }
  OggDecoder(const OggDecoder&) = delete;
  OggDecoder& operator=(const OggDecoder&) = delete;

  std::string open() {
    const ov_callbacks callbacks = {readBytes, seekBytes, nullptr, tellBytes};
    const int status = ov_open_callbacks(&source_, &file_, nullptr, 0, callbacks);
    if (status != 0) return describe(status);  // vorbisfile has cleared file_ itself
    open_ = true;
    const vorbis_info* info = ov_info(&file_, kWholeStream);
    channels_ = info->channels;
    rate_ = info->rate;
    length_ = std::max<int64_t>(ov_pcm_total(&file_, kWholeStream), -1);
    return layoutProblem(channels_, rate_);
  }

  bool seek(int64_t frame) override { return inSound(frame) && ov_pcm_seek(&file_, frame) == 0; }

 protected:
  bool decodeSome(int16_t* out, size_t frames, size_t* got) override {
    const int want = static_cast<int>(std::min<size_t>(frames * frameBytes(), INT_MAX / frameBytes() * frameBytes()));
    int link = 0;
    const long bytes = ov_read(&file_, reinterpret_cast<char*>(out), want, kLittleEndian, kWordBytes, kSigned, &link);
    if (bytes < 0) return fail(describe(bytes));
    // A chained stream may change its layout from one link to the next.
    const vorbis_info* info = ov_info(&file_, link);
    if (info == nullptr || info->channels != channels_ || info->rate != rate_) return fail("a link of the stream changes its channels or rate");
    *got = static_cast<size_t>(bytes) / frameBytes();
    return bytes > 0;
  }

 private:
  ByteReader source_;
  OggVorbis_File file_{};
  bool open_ = false;
};
}  // namespace

bool isOgg(const uint8_t* bytes, size_t size) { return size >= 4 && std::memcmp(bytes, "OggS", 4) == 0; }

std::unique_ptr<Decoder> openOgg(std::vector<uint8_t> bytes, std::string* error) {
  return openAs<OggDecoder>("Ogg Vorbis", std::move(bytes), error);
}

}  // namespace tssound

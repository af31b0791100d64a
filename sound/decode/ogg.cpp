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

class OggDecoder : public DecoderBase {
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

  int channels() const override { return channels_; }
  int rate() const override { return static_cast<int>(rate_); }
  int64_t lengthFrames() const override { return length_; }

  size_t read(int16_t* out, size_t frames) override {
    if (!error().empty()) return 0;
    const size_t frameBytes = static_cast<size_t>(channels_) * kWordBytes;
    size_t done = 0;
    while (done < frames) {
      const int want = static_cast<int>(std::min<size_t>((frames - done) * frameBytes, INT_MAX / frameBytes * frameBytes));
      int link = 0;
      const long got = ov_read(&file_, reinterpret_cast<char*>(out + done * channels_), want, kLittleEndian, kWordBytes, kSigned, &link);
      if (got == 0) break;
      if (got < 0) {
        fail(describe(got));
        break;
      }
      // A chained stream may change its layout from one link to the next.
      const vorbis_info* info = ov_info(&file_, link);
      if (info == nullptr || info->channels != channels_ || info->rate != rate_) {
        fail("a link of the stream changes its channels or rate");
        break;
      }
      done += static_cast<size_t>(got) / frameBytes;
    }
    return done;
  }

  bool seek(int64_t frame) override {
    return frame >= 0 && (length_ < 0 || frame <= length_) && ov_pcm_seek(&file_, frame) == 0;
  }

 private:
  ByteReader source_;
  OggVorbis_File file_{};
  bool open_ = false;
  int channels_ = 0;
  long rate_ = 0;
  int64_t length_ = -1;
};

}  // namespace

bool isOgg(const uint8_t* bytes, size_t size) { return size >= 4 && std::memcmp(bytes, "OggS", 4) == 0; }

std::unique_ptr<Decoder> openOgg(std::vector<uint8_t> bytes, std::string* error) {
  return openAs<OggDecoder>("Ogg Vorbis", std::move(bytes), error);
}

}  // namespace tssound

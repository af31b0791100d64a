#include "io/stream_bzip2.h"

#include <bzlib.h>

#include "io/persistence.h"
#include "io/stream_memory.h"
#include "io/trace.h"

namespace tsio {
namespace {

// What a bzip2 stream of a given length can unpack to at most. The stream starts "BZh" and its
// block size digit; a block holds at most digit x 100000 bytes, which the last run-length stage
// turns into at most 259 bytes for every 5; and a block with its headers and code tables takes
// more than kMinBlockBytes of the stream. Negative when the bytes aren't a bzip2 stream.
constexpr int64_t kMinBlockBytes = 16;

int64_t maxUnpackedSize(const char* packed, size_t size) {
  if (size < 4 || packed[0] != 'B' || packed[1] != 'Z' || packed[2] != 'h' || packed[3] < '1' ||
      packed[3] > '9')
    return -1;
  const int64_t blockSize = (packed[3] - '0') * int64_t{100000};
  const int64_t blocks = static_cast<int64_t>(size) / kMinBlockBytes + 1;
  return blocks * blockSize / 5 * 259;
}

}  // namespace

InStreamBzip2::InStreamBzip2(InStream* source, bool ownsSource) : InStreamComposite(new InStreamMemory, true) {
  if (unpack(*source))
    static_cast<InStreamMemory*>(inner)->setRange(buffer.get(), bufferSize);
  else
    buffer.reset();
  if (ownsSource) delete source;
}

bool InStreamBzip2::unpack(InStream& source) {
  int32_t length = 0;
  int32_t packedLength = 0;
  source.readInt32(&length);
  source.readInt32(&packedLength);
  const int32_t left = source.remaining();
  if (!source.isGood() || length <= 0 || packedLength <= 0 || packedLength > left) {
    traceBox("TSIO : Unreadable file : a compressed block of %d bytes (unpacking to %d) where %d bytes are left",
             packedLength, length, left);
    return false;
  }
  // Not zero-filled: every byte is written before it is read, and filling tens of
  // megabytes first would cost as much as a tenth of the unpacking.
  std::unique_ptr<char[]> packed(new char[static_cast<size_t>(packedLength)]);
  source.readBytes(packed.get(), static_cast<uint32_t>(packedLength));
  const int64_t bound = source.isGood() ? maxUnpackedSize(packed.get(), static_cast<size_t>(packedLength)) : -1;
  if (bound < 0) {
    traceBox("TSIO : Unreadable file : the compressed block is not a bzip2 stream");
    return false;
  }
  if (length > kMaxUnpackedSize || length > bound) {
    traceBox("TSIO : Unreadable file : a compressed block of %d bytes can't unpack to the %d bytes it declares",
             packedLength, length);
    return false;
  }
  buffer.reset(new char[static_cast<size_t>(length)]);
  bufferSize = length;
  unsigned int produced = static_cast<unsigned int>(length);
  const int result = BZ2_bzBuffToBuffDecompress(buffer.get(), &produced, packed.get(),
                                                static_cast<unsigned int>(packedLength), 0, 0);
  if (result != BZ_OK || produced != static_cast<unsigned int>(length)) {
    traceBox("TSIO : Unreadable file : the compressed block is damaged (bzip2 result %d, %u of %d bytes)", result,
             produced, length);
    return false;
  }
  return true;
}

OutStreamBzip2::OutStreamBzip2(OutStream* destination, bool ownsDestination)
    : OutStreamComposite(new OutStreamMemory, true), target(destination), ownsTarget(ownsDestination) {}

OutStreamBzip2::~OutStreamBzip2() {
  if (target->isOpen()) pack();
  if (ownsTarget) delete target;
}

void OutStreamBzip2::pack() {
  const std::vector<uint8_t>& written = static_cast<OutStreamMemory*>(inner)->bytes();
  std::vector<char> source(written.begin(), written.end());
  const auto length = static_cast<unsigned int>(source.size());
  std::vector<char> packed(length * size_t{102} / 100 + 800);
  auto packedLength = static_cast<unsigned int>(packed.size());
  // Block size 1 (100 k), the smallest; work factor 30 is the library's default.
  const int result = BZ2_bzBuffToBuffCompress(packed.data(), &packedLength, source.data(), length, 1, 0, 30);
  if (result != BZ_OK) {
    traceBox("TSIO : Compression failed (bzip2 result %d): the file stays empty", result);
    return;
  }
  target->writeUint32(kMagicBzip2);
  target->writeInt32(static_cast<int32_t>(length));
  target->writeInt32(static_cast<int32_t>(packedLength));
  target->writeBytes(packed.data(), packedLength);
}

}  // namespace tsio

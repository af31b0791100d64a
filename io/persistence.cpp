#include "io/persistence.h"

#include "io/chunked_stream.h"
#include "io/stream_bzip2.h"
#include "io/stream_file.h"

namespace tsio {

InStream* openInStream(const std::string& path) {
  auto* file = new InStreamFile(path);
  if (!file->isOpen()) {
    delete file;
    return nullptr;
  }
  return openInStream(file, true);
}

InStream* openInStream(InStream* source, bool ownsSource) {
  uint32_t magic = 0;
  source->readUint32(&magic);
  if (source->isGood() && magic == kMagicPlain) return new InStreamChunked(source, ownsSource);
  if (source->isGood() && magic == kMagicBzip2) {
    // Reads and unpacks the whole block, and is done with the source from here on.
    InStream* unpacked = new InStreamBzip2(source, ownsSource);
    if (unpacked->isOpen()) return new InStreamChunked(unpacked, true);
    delete unpacked;
    return nullptr;
  }
  // Not a persistence file: null, and the caller says what it was looking for.
  if (ownsSource) delete source;
  return nullptr;
}

OutStream* openOutStream(const std::string& path, int mode) {
  if (mode != 0 && mode != 1) return nullptr;
  auto* file = new OutStreamFile(path);
  if (!file->isOpen()) {
    delete file;
    return nullptr;
  }
  return openOutStream(file, true, mode);
}

OutStream* openOutStream(OutStream* target, bool ownsTarget, int mode) {
  if (mode == 0) {
    auto* objects = new OutStreamChunked(target, ownsTarget);
    objects->writeUint32(kMagicPlain);
    return objects;
  }
  if (mode == 1) return new OutStreamChunked(new OutStreamBzip2(target, ownsTarget), true);
  if (ownsTarget) delete target;
  return nullptr;
}

}  // namespace tsio

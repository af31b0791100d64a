#pragma once

#include <string>

#include "io/stream.h"

// Opening persistence files. A file starts with the magic "NONE" (the object stream follows)
// or "IOBZ" (a bzip2 block of it follows). Read the root with one readObject, or write it
// with one writeObject, then delete the stream: for a compressed file, deleting the stream
// is what writes it.
namespace tsio {

constexpr uint32_t kMagicPlain = fourCC("NONE");
constexpr uint32_t kMagicBzip2 = fourCC("IOBZ");

// Null when the file can't be opened or holds no persistence data.
InStream* openInStream(const std::string& path);
// The same over a stream that is already open, positioned at the magic; a source that is
// owned goes with the result, or is deleted at once when the result is null.
InStream* openInStream(InStream* source, bool ownsSource);

// Mode 0 writes the object stream as it is, mode 1 as a bzip2 block; null for another mode
// or a file that can't be created.
OutStream* openOutStream(const std::string& path, int mode);
OutStream* openOutStream(OutStream* target, bool ownsTarget, int mode);

}  // namespace tsio

#include "io/stream.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <vector>

#include "io/serializable.h"

// Values are stored as their in-memory image, which is the file's byte order only here.
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "the persistence streams store values as little-endian memory images"
#endif

namespace tsio {

Serializable* InStream::readObject() { return nullptr; }
bool InStream::isChunked() { return false; }
int32_t InStream::chunkCode() { return 0; }
int32_t InStream::chunkVersion() { return 0; }
int32_t InStream::chunkSize() { return 0; }
InStream::~InStream() = default;
bool InStream::claim(Serializable*) { return false; }

int32_t InStream::remaining() {
  const int64_t left = static_cast<int64_t>(size()) - tell();
  return left > 0 ? static_cast<int32_t>(left) : 0;
}

bool InStream::readCount(uint32_t* count, uint32_t minItemBytes) {
  *count = 0;
  uint32_t value = 0;
  readUint32(&value);
  if (!isGood()) return false;
  const uint64_t needed = static_cast<uint64_t>(value) * (minItemBytes > 0 ? minItemBytes : 1);
  const int32_t left = remaining();
  if (needed > static_cast<uint64_t>(left)) {
    failf("a count of %u items of %u bytes or more, with %d bytes left", value, minItemBytes, left);
    return false;
  }
  *count = value;
  return true;
}

bool InStream::fits(uint32_t count, uint32_t itemBytes, const char* what) {
  const uint64_t needed = static_cast<uint64_t>(count) * itemBytes;
  const int32_t left = remaining();
  if (needed <= static_cast<uint64_t>(left)) return true;
  failf("%u %s of %u bytes each, with %d bytes left", count, what, itemBytes, left);
  return false;
}

void InStream::failf(const char* format, ...) {
  char reason[256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(reason, sizeof reason, format, arguments);
  va_end(arguments);
  fail(reason);
}

bool InStream::acceptsVersion(int32_t lowest, int32_t highest) {
  if (!isChunked()) return true;
  const int32_t version = chunkVersion();
  if (version >= lowest && version <= highest) return true;
  skip(chunkSize());
  return false;
}

void Serializable::keepUnowned(std::vector<Serializable*>& objects) {
  static std::vector<std::unique_ptr<Serializable>> forGood;
  for (Serializable* object : objects) forGood.emplace_back(object);
  objects.clear();
}

void OutStream::beginChunk(uint32_t, int32_t) {}
OutStream::~OutStream() = default;

}  // namespace tsio

#include "io/stream_memory.h"

#include <cstring>

#include "io/serializable.h"

namespace tsio {

void InStreamMemory::setRange(const void* bytes, int32_t size) {
  data = static_cast<const unsigned char*>(bytes);
  length = size > 0 ? size : 0;
  position = 0;
  good = true;
}

bool InStreamMemory::readObjectBody(Serializable* object) { return object->load(*this); }

uint32_t InStreamMemory::available() const {
  if (position < 0 || position >= length) return 0;
  return static_cast<uint32_t>(length - position);
}

bool InStreamMemory::take(void* destination, uint32_t size) {
  if (size > available()) {
    good = false;
    position = length;
    return false;
  }
  if (size > 0) std::memcpy(destination, data + position, size);
  position += static_cast<int32_t>(size);
  return true;
}

void InStreamMemory::readBytes(void* destination, uint32_t size) { take(destination, size); }

void InStreamMemory::readBool(bool* value) {
  uint8_t byte = 0;
  if (take(&byte, 1)) *value = byte != 0;
}

void InStreamMemory::readString(std::string& value) {
  value.clear();
  const uint32_t left = available();
  if (left == 0) return;
  const unsigned char* start = data + position;
  const void* terminator = std::memchr(start, 0, left);
  const uint32_t count = terminator ? static_cast<uint32_t>(static_cast<const unsigned char*>(terminator) - start)
                                    : left;
  value.assign(reinterpret_cast<const char*>(start), count);
  position += static_cast<int32_t>(terminator ? count + 1 : count);
}

void InStreamMemory::skip(int32_t count) {
  position = static_cast<int32_t>(static_cast<int64_t>(position) + count);
}

void OutStreamMemory::writeObject(Serializable* object) {
  if (object)
    object->store(*this);
  else
    writeInt32(0);
}

void OutStreamMemory::writeBytes(const void* source, uint32_t size) {
  const auto* bytes = static_cast<const uint8_t*>(source);
  buffer.insert(buffer.end(), bytes, bytes + size);
}

void OutStreamMemory::writeCString(const char* value) { writeBytes(value, static_cast<uint32_t>(std::strlen(value)) + 1); }

void OutStreamMemory::patchUint32(uint32_t offset, uint32_t value) {
  if (offset > buffer.size() || buffer.size() - offset < sizeof value) return;
  std::memcpy(buffer.data() + offset, &value, sizeof value);
}

}  // namespace tsio

#pragma once

#include <d3d9.h>

#include <cstdint>

#include "platform/com_ptr.h"

namespace ts3d {

// A dynamic vertex or index buffer used as a ring, so that drawing made up on the fly needs
// no allocation and doesn't stall: each lock lies behind the last one, which the device may
// still be reading (no overwrite), and a lock that doesn't fit there wraps to the start and
// discards. What is locked is drawn before the next lock.
template <class Buffer>
class DynamicRing {
 public:
  static constexpr uint32_t kBytes = 0x100000;

  // Locks `size` bytes at `from`, or at 0 when they would pass the end. The first lock makes
  // the buffer through `create(Buffer**)`, a device Create* call, and starts at 0. Null when
  // the request is larger than the ring or the buffer can't be made or locked.
  template <class Create>
  void* lock(uint32_t size, uint32_t from, Create create) {
    if (size > kBytes) return nullptr;
    if (!buffer) {
      if (FAILED(create(buffer.out()))) return nullptr;
      start = 0;
    } else {
      start = from + size > kBytes ? 0 : from;
    }
    lockedSize = size;
    void* data = nullptr;
    if (FAILED(buffer->Lock(start, size, &data, start == 0 ? D3DLOCK_DISCARD : D3DLOCK_NOOVERWRITE))) return nullptr;
    return data;
  }

  void unlock() {
    if (buffer) buffer->Unlock();
  }

  void reset() { buffer.reset(); }

  Buffer* get() const { return buffer.get(); }
  // The last lock: where it starts, how many bytes, and the first byte behind it.
  uint32_t offset() const { return start; }
  uint32_t size() const { return lockedSize; }
  uint32_t end() const { return start + lockedSize; }

 private:
  platform::ComPtr<Buffer> buffer;
  uint32_t start = 0, lockedSize = 0;
};

}  // namespace ts3d

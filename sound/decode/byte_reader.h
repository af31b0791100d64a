#pragma once

// A file's bytes read and sought as a file, for the libraries that read through callbacks.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

namespace tssound {

class ByteReader {
 public:
  explicit ByteReader(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}

  const std::vector<uint8_t>& bytes() const { return bytes_; }
  int64_t position() const { return static_cast<int64_t>(position_); }

  size_t read(void* out, size_t size) {
    size = std::min(size, bytes_.size() - position_);
    if (size > 0) std::memcpy(out, bytes_.data() + position_, size);
    position_ += size;
    return size;
  }

  // The new position, or -1 (and no move) when it would lie outside the bytes.
  int64_t seek(int64_t offset, int whence) {
    const int64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position() : static_cast<int64_t>(bytes_.size());
    if (offset < -base || offset > static_cast<int64_t>(bytes_.size()) - base) return -1;
    position_ = static_cast<size_t>(base + offset);
    return position();
  }

 private:
  std::vector<uint8_t> bytes_;
  size_t position_ = 0;
};

}  // namespace tssound

#pragma once

// A glTF accessor's elements as plain numbers, never reading a byte that is not there: every
// index, offset, stride and count is checked against the buffers the file really holds.
// Sparse accessors and accessors without a buffer view are refused (an error, not zeros).

#include <cstdint>
#include <string>
#include <vector>

namespace tinygltf {
class Model;
}

namespace tsimport {

// What the reads of one file may hand out in all. Each read stays inside the file's buffers,
// but an accessor or buffer view is read again each time something names it, and a small file
// can name one large accessor from thousands of primitives or channels.
class DecodeBudget {
 public:
  static constexpr uint64_t kMaxBytes = uint64_t(1) << 30;

  explicit DecodeBudget(uint64_t bytes = kMaxBytes) : limit(bytes), left(bytes) {}

  // Counts `bytes` against the budget; false with error when they pass it.
  bool take(uint64_t bytes, std::string& error);
  // Whether a take has failed: the model can't be read whole.
  bool exhausted() const { return failed; }

 private:
  uint64_t limit, left;
  bool failed = false;
};

// Elements of components numbers each (the accessor's type must have that many), as floats;
// normalised integer types map to [0, 1] or [-1, 1] as glTF says, others convert as they are.
// On failure error says which accessor and why.
bool readFloats(const tinygltf::Model& gltf, int accessor, int components, DecodeBudget& budget,
                std::vector<float>& out, std::string& error);

// The same for unsigned integer types (indices, joints).
bool readUnsigned(const tinygltf::Model& gltf, int accessor, int components, DecodeBudget& budget,
                  std::vector<uint32_t>& out, std::string& error);

// A buffer view's bytes (images kept in the buffer), checked against its buffer.
bool readBufferView(const tinygltf::Model& gltf, int view, DecodeBudget& budget, std::vector<uint8_t>& out,
                    std::string& error);

// The number of components of the accessor's type (1 for SCALAR ... 16 for MAT4), 0 if the
// accessor does not exist.
int accessorComponents(const tinygltf::Model& gltf, int accessor);

}  // namespace tsimport

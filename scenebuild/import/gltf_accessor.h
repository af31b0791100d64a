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

// Elements of components numbers each (the accessor's type must have that many), as floats;
// normalised integer types map to [0, 1] or [-1, 1] as glTF says, others convert as they are.
// On failure error says which accessor and why.
bool readFloats(const tinygltf::Model& gltf, int accessor, int components, std::vector<float>& out,
                std::string& error);

// The same for unsigned integer types (indices, joints).
bool readUnsigned(const tinygltf::Model& gltf, int accessor, int components, std::vector<uint32_t>& out,
                  std::string& error);

// A buffer view's bytes (images kept in the buffer), checked against its buffer.
bool readBufferView(const tinygltf::Model& gltf, int view, std::vector<uint8_t>& out, std::string& error);

// The number of components of the accessor's type (1 for SCALAR ... 16 for MAT4), 0 if the
// accessor does not exist.
int accessorComponents(const tinygltf::Model& gltf, int accessor);

}  // namespace tsimport

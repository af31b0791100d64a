#pragma once

// Model files written by the tests themselves: one mesh as .gltf (data URIs), .glb (binary
// chunk) or .obj with its .mtl, with an optional PNG as its base-colour texture.

#include <cstdint>
#include <string>
#include <vector>

namespace importtest {

struct TestMesh {
  std::vector<float> positions, normals, uvs;  // xyz, xyz, uv per vertex
  std::vector<uint32_t> indices;
};

// A cube of side 2 about the origin, each face its own four vertices, uv 0 to 1 per face.
TestMesh cube();
// A strip of quads along x, as many vertices as asked (even), no normals.
TestMesh strip(uint32_t vertices);

std::string gltf(const TestMesh& mesh, const std::vector<uint8_t>& png);
std::vector<uint8_t> glb(const TestMesh& mesh, const std::vector<uint8_t>& png);
// The .obj names "cube.mtl", whose material takes its texture from textureFile if not empty.
std::string obj(const TestMesh& mesh);
std::string mtl(const std::string& textureFile);

}  // namespace importtest

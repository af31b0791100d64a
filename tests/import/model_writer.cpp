#include "tests/import/model_writer.h"

#include <cstring>

namespace importtest {

namespace {

std::string base64(const uint8_t* data, size_t size) {
  static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (size_t i = 0; i < size; i += 3) {
    uint32_t group = uint32_t(data[i]) << 16 | (i + 1 < size ? uint32_t(data[i + 1]) << 8 : 0) |
                     (i + 2 < size ? data[i + 2] : 0);
    for (int k = 0; k < 4; ++k) out += (k <= int(size - i)) ? kDigits[(group >> (18 - 6 * k)) & 63] : '=';
  }
  return out;
}

template <class T>
void append(std::vector<uint8_t>& bytes, const std::vector<T>& values) {
  const size_t at = bytes.size();
  bytes.resize(at + values.size() * sizeof(T));
  if (!values.empty()) std::memcpy(&bytes[at], values.data(), values.size() * sizeof(T));
}

// The JSON and the one buffer it reads; a GLB's buffer has no uri. A view per array that has
// values, an accessor per view but the image's.
std::string json(const TestMesh& mesh, const std::vector<uint8_t>& png, bool glb, std::vector<uint8_t>& buffer) {
  std::string views, accessors, attributes;
  int count = 0;
  auto add = [&](const auto& values, int type, const char* kind, size_t elementSize, const char* attribute) {
    if (values.empty()) return;
    const size_t at = buffer.size();
    append(buffer, values);
    views += std::string(count ? "," : "") + "{\"buffer\":0,\"byteOffset\":" + std::to_string(at) +
             ",\"byteLength\":" + std::to_string(buffer.size() - at) + "}";
    if (type)
      accessors += std::string(count ? "," : "") + "{\"bufferView\":" + std::to_string(count) +
                   ",\"componentType\":" + std::to_string(type) + ",\"count\":" +
                   std::to_string(values.size() / elementSize) + ",\"type\":\"" + kind + "\"}";
    if (attribute) attributes += std::string(attributes.empty() ? "" : ",") + "\"" + attribute + "\":" + std::to_string(count);
    ++count;
  };
  add(mesh.positions, 5126, "VEC3", 3, "POSITION");
  add(mesh.normals, 5126, "VEC3", 3, "NORMAL");
  add(mesh.uvs, 5126, "VEC2", 2, "TEXCOORD_0");
  const int indices = count;
  add(mesh.indices, 5125, "SCALAR", 1, nullptr);
  const int image = count;
  if (glb) add(png, 0, "", 1, nullptr);
  std::string out = "{\"asset\":{\"version\":\"2.0\"},\"scene\":0,\"scenes\":[{\"nodes\":[0]}],\"nodes\":[{\"mesh\":0}],";
  out += "\"meshes\":[{\"primitives\":[{\"attributes\":{" + attributes + "},\"indices\":" + std::to_string(indices) +
         ",\"material\":0}]}],\"bufferViews\":[" + views + "],\"accessors\":[" + accessors + "],";
  if (png.empty()) {
    out += "\"materials\":[{}],";
  } else {
    out += "\"materials\":[{\"pbrMetallicRoughness\":{\"baseColorTexture\":{\"index\":0}}}],\"textures\":[{\"source\":0}],";
    out += glb ? "\"images\":[{\"bufferView\":" + std::to_string(image) + ",\"mimeType\":\"image/png\"}],"
               : "\"images\":[{\"uri\":\"data:image/png;base64," + base64(png.data(), png.size()) + "\"}],";
  }
  out += "\"buffers\":[{\"byteLength\":" + std::to_string(buffer.size()) +
         (glb ? "" : ",\"uri\":\"data:application/octet-stream;base64," + base64(buffer.data(), buffer.size()) + "\"") + "}]}";
  return out;
}

void appendChunk(std::vector<uint8_t>& file, uint32_t type, std::vector<uint8_t> data, uint8_t pad) {
  while (data.size() % 4) data.push_back(pad);
  append(file, std::vector<uint32_t>{static_cast<uint32_t>(data.size()), type});
  append(file, data);
}

}  // namespace

TestMesh cube() {
  TestMesh mesh;
  const float axes[6][3][3] = {  // normal, u direction, v direction (v runs down the image)
      {{1, 0, 0}, {0, 0, -1}, {0, -1, 0}}, {{-1, 0, 0}, {0, 0, 1}, {0, -1, 0}}, {{0, 1, 0}, {1, 0, 0}, {0, 0, 1}},
      {{0, -1, 0}, {1, 0, 0}, {0, 0, -1}}, {{0, 0, 1}, {1, 0, 0}, {0, -1, 0}}, {{0, 0, -1}, {-1, 0, 0}, {0, -1, 0}}};
  for (const auto& face : axes) {
    const auto base = static_cast<uint32_t>(mesh.positions.size() / 3);
    for (int corner = 0; corner < 4; ++corner) {
      const float u = corner & 1 ? 1.0f : 0.0f, v = corner & 2 ? 1.0f : 0.0f;
      for (int k = 0; k < 3; ++k) {
        mesh.positions.push_back(face[0][k] + (2 * u - 1) * face[1][k] + (2 * v - 1) * face[2][k]);
        mesh.normals.push_back(face[0][k]);
      }
      mesh.uvs.insert(mesh.uvs.end(), {u, v});
    }
    // u x v points inwards along the normal, so this order winds counter-clockwise outside.
    mesh.indices.insert(mesh.indices.end(), {base, base + 2, base + 1, base + 1, base + 2, base + 3});
  }
  return mesh;
}

TestMesh strip(uint32_t vertices) {
  TestMesh mesh;
  for (uint32_t i = 0; i < vertices; ++i) mesh.positions.insert(mesh.positions.end(), {float(i / 2), float(i % 2), 0});
  for (uint32_t i = 0; i + 3 < vertices; i += 2) mesh.indices.insert(mesh.indices.end(), {i, i + 2, i + 1, i + 1, i + 2, i + 3});
  return mesh;
}

std::string gltf(const TestMesh& mesh, const std::vector<uint8_t>& png) {
  std::vector<uint8_t> buffer;
  return json(mesh, png, false, buffer);
}

std::vector<uint8_t> glb(const TestMesh& mesh, const std::vector<uint8_t>& png) {
  std::vector<uint8_t> buffer;
  const std::string text = json(mesh, png, true, buffer);
  std::vector<uint8_t> file;
  append(file, std::vector<uint32_t>{0x46546C67, 2, 0});
  appendChunk(file, 0x4E4F534A, std::vector<uint8_t>(text.begin(), text.end()), ' ');
  appendChunk(file, 0x004E4942, buffer, 0);
  const auto length = static_cast<uint32_t>(file.size());
  std::memcpy(&file[8], &length, 4);
  return file;
}

std::string obj(const TestMesh& mesh) {
  std::string out = "mtllib cube.mtl\nusemtl skin\n";
  for (size_t i = 0; i < mesh.positions.size(); i += 3)
    out += "v " + std::to_string(mesh.positions[i]) + " " + std::to_string(mesh.positions[i + 1]) + " " +
           std::to_string(mesh.positions[i + 2]) + "\n";
  for (size_t i = 0; i < mesh.normals.size(); i += 3)
    out += "vn " + std::to_string(mesh.normals[i]) + " " + std::to_string(mesh.normals[i + 1]) + " " +
           std::to_string(mesh.normals[i + 2]) + "\n";
  // OBJ's v runs up the image.
  for (size_t i = 0; i < mesh.uvs.size(); i += 2)
    out += "vt " + std::to_string(mesh.uvs[i]) + " " + std::to_string(1.0f - mesh.uvs[i + 1]) + "\n";
  for (size_t i = 0; i < mesh.indices.size(); i += 3) {
    out += "f";
    for (int c = 0; c < 3; ++c) {
      const std::string n = std::to_string(mesh.indices[i + c] + 1);
      out += " " + n + (mesh.uvs.empty() ? "" : "/" + n) + (mesh.normals.empty() ? "" : (mesh.uvs.empty() ? "//" : "/") + n);
    }
    out += "\n";
  }
  return out;
}

std::string mtl(const std::string& textureFile) {
  return "newmtl skin\nKd 1 1 1\n" + (textureFile.empty() ? "" : "map_Kd " + textureFile + "\n");
}

}  // namespace importtest

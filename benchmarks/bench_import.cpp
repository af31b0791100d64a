// Importing a generated 200,000-triangle model (normals and texture coordinates, as .gltf with a
// data URI and as .glb): to the model alone, and on to a written scene file, against the bare
// parse of the same file by the glTF parser (the file read and parsed, nothing made of it).
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include "platform/whole_file.h"
#include "scenebuild/import/import.h"
#include "scenebuild/import/model_scene.h"
#include "scenebuild/import/tinygltf.h"
#include "tests/import/model_writer.h"

namespace {

constexpr uint32_t kColumns = 500, kRows = 200;  // quads: 200,000 triangles
constexpr int kRepeats = 3;
constexpr size_t kMaxFile = size_t(1) << 30;

importtest::TestMesh grid() {
  importtest::TestMesh mesh;
  for (uint32_t y = 0; y <= kRows; ++y)
    for (uint32_t x = 0; x <= kColumns; ++x) {
      mesh.positions.insert(mesh.positions.end(), {float(x), float(y), 0.0f});
      mesh.normals.insert(mesh.normals.end(), {0.0f, 0.0f, 1.0f});
      mesh.uvs.insert(mesh.uvs.end(), {float(x) / kColumns, float(y) / kRows});
    }
  for (uint32_t y = 0; y < kRows; ++y)
    for (uint32_t x = 0; x < kColumns; ++x) {
      const uint32_t a = y * (kColumns + 1) + x, b = a + 1, c = a + kColumns + 1, d = c + 1;
      mesh.indices.insert(mesh.indices.end(), {a, b, c, c, b, d});
    }
  return mesh;
}

// The best of kRepeats runs, in milliseconds; false if a run failed.
bool best(const std::function<bool()>& run, double& ms) {
  ms = 1e30;
  for (int i = 0; i < kRepeats; ++i) {
    const auto start = std::chrono::steady_clock::now();
    if (!run()) return false;
    ms = std::min(ms, std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
  }
  return true;
}

bool bareParse(const std::string& path, bool binary) {
  std::vector<uint8_t> bytes;
  if (!platform::readWholeFile(path, bytes, kMaxFile)) return false;
  tinygltf::TinyGLTF parser;
  tinygltf::Model gltf;
  std::string error, warning;
  return binary ? parser.LoadBinaryFromMemory(&gltf, &error, &warning, bytes.data(), static_cast<unsigned>(bytes.size()))
                : parser.LoadASCIIFromString(&gltf, &error, &warning, reinterpret_cast<const char*>(bytes.data()),
                                             static_cast<unsigned>(bytes.size()), ".");
}

bool toModel(const std::string& path) {
  tsimport::Model model;
  std::string error;
  if (tsimport::importFile(path, tsimport::Conversion(), model, error)) return true;
  std::fprintf(stderr, "%s\n", error.c_str());
  return false;
}

bool toSceneFile(const std::string& path, const std::string& out) {
  tsimport::Model model;
  std::string error;
  scenebuild::SceneBuilder builder;
  const bool ok = tsimport::importFile(path, tsimport::Conversion(), model, error) &&
                  tsimport::buildScene(model, builder).triangles == kColumns * kRows * 2 &&
                  builder.write(out, 0, &error);
  if (!ok) std::fprintf(stderr, "%s\n", error.c_str());
  std::remove(out.c_str());
  return ok;
}

}  // namespace

int main() {
  const importtest::TestMesh mesh = grid();
  const std::string text = importtest::gltf(mesh, {});
  const std::vector<uint8_t> binary = importtest::glb(mesh, {});
  const std::string gltfPath = "bench_import.gltf", glbPath = "bench_import.glb";
  if (!platform::writeWholeFile(gltfPath, text.data(), text.size()) ||
      !platform::writeWholeFile(glbPath, binary.data(), binary.size()))
    return 1;
  int status = 0;
  for (const auto& [path, isBinary] : {std::pair<std::string, bool>{gltfPath, false}, {glbPath, true}}) {
    double bare, model, scene;
    if (!best([&] { return bareParse(path, isBinary); }, bare) || !best([&] { return toModel(path); }, model) ||
        !best([&] { return toSceneFile(path, path + ".ts2"); }, scene)) {
      status = 1;
      continue;
    }
    std::printf("import of a 200,000-triangle %s (%.1f MB): bare parse %.1f ms; to the model %.1f ms, ratio %.2f; "
                "to a written scene file %.1f ms, ratio %.2f\n",
                isBinary ? ".glb" : ".gltf", (isBinary ? binary.size() : text.size()) / 1e6, bare, model, model / bare,
                scene, scene / bare);
  }
  std::remove(gltfPath.c_str());
  std::remove(glbPath.c_str());
  return status;
}

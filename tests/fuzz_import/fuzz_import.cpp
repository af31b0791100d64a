// The importer on any bytes, read as a glTF file (JSON or GLB, by its magic) and as an OBJ file:
// a refusal with a reason, or a model whose every part keeps to its bounds; never a crash, a
// read outside the input or an allocation from an unchecked size. The model's folder holds
// nothing, so what the file names is never found.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "scenebuild/import/import.h"

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

void importAs(const std::vector<uint8_t>& bytes, tsimport::Format format) {
  tsimport::Model model;
  std::string error;
  if (!tsimport::importBytes(bytes, format, "/nonexistent-model-folder", tsimport::Conversion(), model, error)) {
    check(!error.empty());
    return;
  }
  for (const tsimport::Mesh& mesh : model.meshes)
    for (const tsimport::MeshPart& part : mesh.parts) {
      check(part.positions.size() <= tsimport::kMaxPartVertices && part.normals.size() == part.positions.size());
      check(part.indices.size() % 3 == 0);
      for (uint16_t index : part.indices) check(index < part.positions.size());
    }
  for (const tsimport::Node& node : model.nodes) {
    for (int mesh : node.meshes) {
      check(mesh >= 0 && static_cast<size_t>(mesh) < model.meshes.size());
      if (node.skin < 0) continue;
      for (const tsimport::MeshPart& part : model.meshes[mesh].parts) {
        check(part.influences.size() == part.positions.size());
        for (const tsimport::Influence& influence : part.influences)
          for (uint8_t joint : influence.joints) check(joint < model.skins[node.skin].joints.size());
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<uint8_t> bytes(data, data + size);
  importAs(bytes, tsimport::Format::Gltf);
  importAs(bytes, tsimport::Format::Obj);
  return 0;
}

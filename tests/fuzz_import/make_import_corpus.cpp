// Writes the seed corpus of fuzz_import into the folder given: a textured cube as .gltf, .glb
// and .obj, a strip without normals, and an animated skinned arm.
#include <cstdio>
#include <string>
#include <vector>

#include "tests/gfxhelper/test_images.h"
#include "tests/import/gltf_build.h"
#include "tests/import/model_writer.h"

namespace {

bool save(const std::string& path, const std::string& text) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  const bool ok = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return std::fclose(file) == 0 && ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::string folder = argv[1];
  const uint8_t texels[] = {255, 0, 0, 0, 0, 255, 0, 0, 255, 255, 0, 0};
  const std::vector<uint8_t> png = tstest::encodePng(2, 2, 3, texels);
  const importtest::TestMesh cube = importtest::cube();
  const std::vector<uint8_t> glb = importtest::glb(cube, png), arm = motiontest::glb(motiontest::arm());
  const bool ok = save(folder + "/cube.gltf", importtest::gltf(cube, png)) &&
                  save(folder + "/cube.glb", std::string(glb.begin(), glb.end())) &&
                  save(folder + "/cube.obj", importtest::obj(cube)) &&
                  save(folder + "/strip.gltf", importtest::gltf(importtest::strip(8), {})) &&
                  save(folder + "/arm.glb", std::string(arm.begin(), arm.end()));
  return ok ? 0 : 1;
}

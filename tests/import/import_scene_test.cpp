// Imported models on the device, through tsimport.exe as the host runs it: a textured cube
// written as .gltf, .glb and .obj draws the same frame with its texture where it belongs, and
// a refused model leaves no scene file.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "io/persistence.h"
#include "platform/whole_file.h"
#include "player/host/model_import.h"
#include "scene/camera.h"
#include "tests/context/context_fixture.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/import/model_writer.h"

namespace {

std::string save(const std::string& name, const std::string& bytes) {
  const std::string folder = std::filesystem::absolute("import_scene_models").string();
  std::filesystem::create_directories(folder);
  const std::string path = folder + "\\" + name;
  EXPECT_TRUE(platform::writeWholeFile(path, bytes.data(), bytes.size()));
  return path;
}

class ImportPixels : public tstest::ContextTest {
 protected:
  // The frame of the model's scene file, imported by the tool, seen by its default camera.
  std::vector<uint32_t> draw(const std::string& model) {
    std::string scenePath, error;
    EXPECT_TRUE(host::importModel(model, scenePath, error)) << error;
    std::unique_ptr<tsio::InStream> in(tsio::openInStream(scenePath));
    std::unique_ptr<ts3d::SceneHierarchy> scene(in ? dynamic_cast<ts3d::SceneHierarchy*>(in->readObject()) : nullptr);
    in.reset();
    std::remove(scenePath.c_str());
    if (!scene) return {};
    scene->createResources();
    drawScene(*scene);
    D3DXMatrixMultiply(&viewProjection, scene->activeCamera->viewMatrix(), scene->activeCamera->projectionMatrix());
    return frame;
  }

  // The pixel where a point of the model shows.
  uint32_t rgbOf(const ts3d::vect3& point) {
    ts3d::vect3 screen;
    D3DXVec3TransformCoord(&screen, &point, &viewProjection);
    return rgbAt(static_cast<unsigned>((screen.x + 1) / 2 * frameWidth), static_cast<unsigned>((1 - screen.y) / 2 * frameHeight));
  }

  ts3d::matrix viewProjection;
};

// Which of red, green and blue is strongest, by a clear margin; -1 for none.
int strongest(uint32_t rgb) {
  const int channel[3] = {int(rgb >> 16 & 255), int(rgb >> 8 & 255), int(rgb & 255)};
  for (int c = 0; c < 3; ++c)
    if (channel[c] > 2 * channel[(c + 1) % 3] + 40 && channel[c] > 2 * channel[(c + 2) % 3] + 40) return c;
  return -1;
}

TEST_F(ImportPixels, TexturedCubeDrawsTheSameAsGltfGlbAndObj) {
  // Texels top to bottom: red, green; blue, white.
  const uint8_t texels[] = {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255};
  const std::vector<uint8_t> png = tstest::encodePng(2, 2, 3, texels);
  const importtest::TestMesh cube = importtest::cube();
  const std::vector<uint8_t> glb = importtest::glb(cube, png);
  save("checker.png", std::string(png.begin(), png.end()));
  save("cube.mtl", importtest::mtl("checker.png"));
  const std::vector<uint32_t> fromGltf = draw(save("cube.gltf", importtest::gltf(cube, png)));
  ASSERT_FALSE(fromGltf.empty());
  // The front face (+Z) holds the texture upright: u along +x, v down -y.
  EXPECT_EQ(strongest(rgbOf({-0.5f, 0.5f, 1})), 0) << std::hex << rgbOf({-0.5f, 0.5f, 1});
  EXPECT_EQ(strongest(rgbOf({0.5f, 0.5f, 1})), 1) << std::hex << rgbOf({0.5f, 0.5f, 1});
  EXPECT_EQ(strongest(rgbOf({-0.5f, -0.5f, 1})), 2) << std::hex << rgbOf({-0.5f, -0.5f, 1});
  EXPECT_TRUE(draw(save("cube.glb", std::string(glb.begin(), glb.end()))) == fromGltf);
  EXPECT_TRUE(draw(save("cube.obj", importtest::obj(cube))) == fromGltf);
}

TEST(ImportTool, ARefusedModelGivesTheFileAndTheProblemAndNoSceneFile) {
  const std::vector<uint8_t> glb = importtest::glb(importtest::cube(), {});
  const std::string model = save("cut.glb", std::string(glb.begin(), glb.begin() + 100));
  std::string scenePath, error;
  EXPECT_FALSE(host::importModel(model, scenePath, error));
  EXPECT_EQ(error, model + ": GLB header claims " + std::to_string(glb.size()) + " bytes");
  EXPECT_FALSE(std::filesystem::exists(scenePath));
}

}  // namespace

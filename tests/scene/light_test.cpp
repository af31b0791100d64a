#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "scene/camera.h"
#include "scene/controller/const.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/transformation.h"
#include "tests/context/context_fixture.h"
#include "tests/scene/support.h"

namespace {

using ts3d::color;
using ts3d::LightOmni;
using ts3d::quat;
using ts3d::TransformationPRS;
using ts3d::vect3;
using ts3d::controller::Const;
using tstest::FileBuilder;
using tstest::floats;

template <class T>
void setValue(LightOmni& light, ts3d::controller::ControllerBase<T>*& field, const T& value) {
  field = new Const<T>(value);
  light.addController(field);
}

// A white point light: constant attenuation, a long range.
void makeWhite(LightOmni& light) {
  setValue(light, light.ambientController, color(0, 0, 0, 0));
  setValue(light, light.diffuseController, color(1, 1, 1, 1));
  setValue(light, light.specularController, color(0, 0, 0, 0));
  setValue(light, light.rangeController, 100.0f);
  setValue(light, light.attenuation0Controller, 1.0f);
  setValue(light, light.attenuation1Controller, 0.0f);
  setValue(light, light.attenuation2Controller, 0.0f);
}

class LightTest : public tstest::SceneTest {};

TEST_F(LightTest, UpdateFillsThePointLight) {
  TransformationPRS place(vect3(1, 2, 3), quat(0, 0, 0, 1), vect3(5, 5, 5));
  LightOmni light;
  light.transformation = &place;
  setValue(light, light.ambientController, color(0.1f, 0.2f, 0.3f, 0.4f));
  setValue(light, light.diffuseController, color(0.5f, 0.6f, 0.7f, 0.8f));
  setValue(light, light.specularController, color(0.9f, 1.0f, 0.0f, 1.0f));
  setValue(light, light.rangeController, 42.0f);
  setValue(light, light.attenuation0Controller, 1.0f);
  setValue(light, light.attenuation1Controller, 0.25f);
  setValue(light, light.attenuation2Controller, 0.125f);
  light.update(0.0f);
  const D3DLIGHT9& d = light.d3dLight;
  EXPECT_EQ(d.Type, D3DLIGHT_POINT);
  EXPECT_EQ(d.Ambient.r, 0.1f);
  EXPECT_EQ(d.Ambient.a, 0.4f);
  EXPECT_EQ(d.Diffuse.g, 0.6f);
  EXPECT_EQ(d.Specular.r, 0.9f);
  EXPECT_EQ(d.Range, 42.0f);
  EXPECT_EQ(d.Attenuation0, 1.0f);
  EXPECT_EQ(d.Attenuation1, 0.25f);
  EXPECT_EQ(d.Attenuation2, 0.125f);
  EXPECT_EQ(d.Position.x, 1.0f);
  EXPECT_EQ(d.Position.y, 2.0f);
  EXPECT_EQ(d.Position.z, 3.0f);
  // A point light has no direction, cone or falloff.
  EXPECT_EQ(d.Direction.x, 0.0f);
  EXPECT_EQ(d.Falloff, 0.0f);
  EXPECT_EQ(d.Phi, 0.0f);
  light.transformation = nullptr;
}

TEST_F(LightTest, LightBodyHasAmbientFirstAndEndsWithTwoEmptyLists) {
  LightOmni light;
  setValue(light, light.diffuseController, color(1, 0, 0, 1));
  setValue(light, light.ambientController, color(0, 0, 1, 1));
  FileBuilder expected;
  expected.header("LTOM", 0, 88);
  expected.u32(0);  // transformation
  expected.header("CCCO", 1, 16);
  floats(expected, {0, 0, 1, 1});  // ambient
  expected.header("CCCO", 2, 16);
  floats(expected, {1, 0, 0, 1});  // diffuse
  expected.u32(0).u32(0).u32(0).u32(0).u32(0);  // specular, range, attenuations
  expected.u32(0).u32(0);                       // the two lists
  EXPECT_EQ(tstest::storeToBytes(&light, 0), expected.bytes);

  auto loaded = tstest::loadAs<LightOmni>(expected.bytes);
  ASSERT_NE(loaded, nullptr);
  ASSERT_NE(loaded->ambientController, nullptr);
  ASSERT_NE(loaded->diffuseController, nullptr);
  EXPECT_EQ(loaded->ambientController->value, color(0, 0, 1, 1));
  EXPECT_EQ(loaded->diffuseController->value, color(1, 0, 0, 1));
  EXPECT_EQ(loaded->specularController, nullptr);
  EXPECT_TRUE(loaded->includedMeshes().empty());
  EXPECT_TRUE(loaded->shadowMeshes().empty());
}

TEST_F(LightTest, MeshListsPointAtObjectsOwnedElsewhereAndKeepNulls) {
  // A node owns two meshes; the light lists them behind itself.
  tstest::Node root("scene");
  auto* first = new ts3d::MeshSimple;
  auto* second = new ts3d::MeshSimple;
  auto* light = new LightOmni;
  makeWhite(*light);
  light->included = {second, nullptr};
  light->shadowCasters = {first};
  root.children = {first, second, light};
  const tstest::Bytes file = tstest::storeToBytes(&root, 0);

  auto loaded = tstest::loadAs<tstest::Node>(file);
  ASSERT_NE(loaded, nullptr);
  ASSERT_EQ(loaded->children.size(), 3u);
  auto* lightRead = dynamic_cast<LightOmni*>(loaded->children[2]);
  ASSERT_NE(lightRead, nullptr);
  ASSERT_EQ(lightRead->includedMeshes().size(), 2u);
  EXPECT_EQ(lightRead->includedMeshes()[0], dynamic_cast<ts3d::Mesh*>(loaded->children[1]));
  EXPECT_EQ(lightRead->includedMeshes()[1], nullptr);
  ASSERT_EQ(lightRead->shadowMeshes().size(), 1u);
  EXPECT_EQ(lightRead->shadowMeshes()[0], dynamic_cast<ts3d::Mesh*>(loaded->children[0]));
  EXPECT_EQ(lightRead->controllers.size(), 7u);
}

TEST_F(LightTest, LightOfAnotherVersionStaysEmpty) {
  FileBuilder file;
  tstest::headerV(file, "LTOM", 3, 0, 40);
  for (int i = 0; i < 10; ++i) file.u32(0);
  auto loaded = tstest::loadAs<LightOmni>(file.bytes);
  ASSERT_NE(loaded, nullptr);
  EXPECT_TRUE(loaded->controllers.empty());
}

class LightDeviceTest : public tstest::ContextTest {
 protected:
  void SetUp() override {
    tstest::ContextTest::SetUp();
  }

  // A 4 x 4 quad in the plane z = 0 facing +Z, seen from (0, 0, 5), lit by light; the
  // brightness of the pixel in the middle of the frame.
  uint32_t drawLitQuad(LightOmni& light) {
    TransformationPRS eye(vect3(0, 0, 5), quat(0, 0, 0, 1), vect3(1, 1, 1));
    ts3d::CameraSimple camera;
    camera.transformation = &eye;
    camera.fovController = new Const<float>(1.0f);
    camera.addController(camera.fovController);
    camera.update(0.0f);

    context->setClearColor(color(0, 0, 0, 1));
    context->clear(7, true);
    context->beginScene();
    camera.apply();
    context->clearLights();
    light.update(0.0f);
    light.apply();
    ts3d::RenderStateBlock states(ts3d::RenderStateBlock::LightingGroup | ts3d::RenderStateBlock::RasteriserGroup);
    states.lighting = true;
    states.cullMode = ts3d::CullNone;
    context->applyRenderState(states);
    context->setAmbient(color(0, 0, 0, 0));
    context->setDefaultMaterial();
    context->setWorldMatrix(tstest::identityMatrix());
    struct Vertex {
      float x, y, z, nx, ny, nz;
    };
    const DWORD fvf = D3DFVF_XYZ | D3DFVF_NORMAL;
    auto* vertices = static_cast<Vertex*>(context->lockDynamicVertices(fvf, sizeof(Vertex), 4));
    EXPECT_NE(vertices, nullptr);
    if (vertices) {
      vertices[0] = {-2, -2, 0, 0, 0, 1};
      vertices[1] = {-2, 2, 0, 0, 0, 1};
      vertices[2] = {2, -2, 0, 0, 0, 1};
      vertices[3] = {2, 2, 0, 0, 0, 1};
      context->unlockDynamicVertices();
      context->useFvf(fvf);
      context->drawDynamicVertices(D3DPT_TRIANGLESTRIP, 0, 2);
    }
    context->endScene();
    camera.transformation = nullptr;
    const std::vector<uint32_t> pixels = readTarget(context->renderTarget()->surface.get());
    if (pixels.size() != 640u * 480u) return 0;
    return pixels[240u * 640u + 320u];
  }
};

int green(uint32_t pixel) { return static_cast<int>((pixel >> 8) & 0xFF); }

TEST_F(LightDeviceTest, AQuadFacingTheLightIsBrighterThanOneFacingAway) {
  TransformationPRS front(vect3(0, 0, 3), quat(0, 0, 0, 1), vect3(1, 1, 1));
  TransformationPRS behind(vect3(0, 0, -3), quat(0, 0, 0, 1), vect3(1, 1, 1));
  LightOmni light;
  makeWhite(light);

  light.transformation = &front;
  const uint32_t lit = drawLitQuad(light);
  light.transformation = &behind;
  const uint32_t unlit = drawLitQuad(light);
  light.transformation = nullptr;

  // Lighting is computed at the vertices: each corner (+-2, +-2, 0) sees the light at (0, 0, 3)
  // under a cosine of 3 / sqrt(17), and the middle takes that same shade: 255 * 0.7276 = 186.
  // From behind every corner faces away, so the quad stays black.
  EXPECT_TRUE(tstest::pixelNear(lit, 186, 186, 186, 6)) << std::hex << lit;
  EXPECT_TRUE(tstest::pixelNear(unlit, 0, 0, 0, 6)) << std::hex << unlit;
  EXPECT_GT(green(lit), green(unlit) + 150);
}

}  // namespace

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "scene/camera.h"
#include "scene/controller/const.h"
#include "scene/hierarchy_node.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/render_queue.h"
#include "scene/scene_hierarchy.h"
#include "tests/context/context_fixture.h"
#include "tests/scene/scene_support.h"

// Whole scenes drawn on a real device behind the recording proxy: the tree places meshes, a
// look-at node aims a camera, the frustum drops what lies behind, the queue blends last, and
// the renderer chain and light limit work as the scene drives them.
namespace {

using ts3d::color;
using ts3d::HierarchyNode;
using ts3d::MeshSimple;
using ts3d::SceneHierarchy;
using ts3d::vect3;
using tstest::DeviceCallKind;
using tstest::TestMaterial;

constexpr unsigned int kWidth = 640, kHeight = 480;

class SceneDeviceTest : public tstest::ContextTest {
 protected:
  void SetUp() override {
    tstest::ContextTest::SetUp();
    context->setClearColor(color(0.0f, 0.0f, 1.0f, 1.0f));
  }

  // An unlit material that draws both faces in the vertex colours, owned by the scene.
  TestMaterial* addMaterial(SceneHierarchy& scene, int order, bool blended) {
    auto* material = new TestMaterial("m" + std::to_string(scene.materials.size()), order);
    material->states.lighting = false;
    material->states.cullMode = ts3d::CullNone;
    if (blended) {
      material->states.alphaBlendEnable = true;
      material->states.setBlendPreset(2);
    }
    scene.materials.push_back(material);
    return material;
  }

  // A camera at its node's place (the origin without one), looking along the node's -Z.
  ts3d::CameraSimple* addCamera(SceneHierarchy& scene, HierarchyNode* place) {
    auto* camera = new ts3d::CameraSimple;
    camera->transformation = place;
    camera->fovController = new ts3d::controller::Const<float>(1.0f);
    camera->addController(camera->fovController);
    scene.cameras.push_back(camera);
    scene.activeCamera = camera;
    return camera;
  }

  MeshSimple* addSquare(SceneHierarchy& scene, ts3d::Material* material, const color& colour, float half,
                        ts3d::Transformation* place, bool inXY = true) {
    auto* mesh = new MeshSimple;
    mesh->setGeometry(tstest::colouredSquare(colour, half, inXY));
    mesh->setMaterial(material);
    mesh->transformation = place;
    scene.meshes.push_back(mesh);
    return mesh;
  }

  static HierarchyNode* addNode(HierarchyNode* parent, ts3d::ControllerTransformation* transformation) {
    auto* node = new HierarchyNode;
    node->transformation = transformation;
    if (parent) {
      node->parent = parent;
      parent->children.push_back(node);
    }
    return node;
  }

  // One frame as the scene effect draws it.
  std::vector<uint32_t> drawFrame(SceneHierarchy& scene, float time) {
    scene.update(time);
    context->beginScene();
    scene.clear(time);
    scene.render();
    context->endScene();
    return readTarget(context->currentTarget->surface.get());
  }

  static uint32_t at(const std::vector<uint32_t>& pixels, unsigned int x, unsigned int y) {
    return pixels[static_cast<size_t>(y) * kWidth + x];
  }

  static void saveOnFailure(bool ok, const std::vector<uint32_t>& pixels, const char* name) {
    if (!ok) tstest::saveFailedFrame(pixels, kWidth, kHeight, name);
  }
};

TEST_F(SceneDeviceTest, AChildNodeFollowsItsAnimatedParent) {
  SceneHierarchy scene;
  scene.root = addNode(nullptr, nullptr);
  // The parent moves from x = -3 to x = 1 at depth 10; the child stands 1 to its right.
  HierarchyNode* parent = addNode(scene.root, tstest::movingFrom(vect3(-3, 0, -10), vect3(1, 0, -10)));
  HierarchyNode* child = addNode(parent, tstest::placeAt(vect3(1, 0, 0)));
  addSquare(scene, addMaterial(scene, 1, false), color(1, 0, 0, 1), 0.5f, child);
  addCamera(scene, nullptr);
  scene.createResources();

  // With a vertical field of 1 radian, x = -2 and 2 at depth 10 fall on columns 232 and 408.
  const std::vector<uint32_t> before = drawFrame(scene, 0.0f);
  ASSERT_EQ(before.size(), static_cast<size_t>(kWidth) * kHeight);
  bool ok = tstest::pixelNear(at(before, 232, 240), 255, 0, 0) && tstest::pixelNear(at(before, 408, 240), 0, 0, 255);
  saveOnFailure(ok, before, "SceneChildAtZero");
  EXPECT_TRUE(ok) << std::hex << at(before, 232, 240) << " " << at(before, 408, 240);

  const std::vector<uint32_t> after = drawFrame(scene, 1.0f);
  ASSERT_EQ(after.size(), static_cast<size_t>(kWidth) * kHeight);
  ok = tstest::pixelNear(at(after, 408, 240), 255, 0, 0) && tstest::pixelNear(at(after, 232, 240), 0, 0, 255);
  saveOnFailure(ok, after, "SceneChildAtOne");
  EXPECT_TRUE(ok) << std::hex << at(after, 408, 240) << " " << at(after, 232, 240);
}

TEST_F(SceneDeviceTest, ALookAtNodeAimsItsCameraAtTheTarget) {
  SceneHierarchy scene;
  scene.root = addNode(nullptr, nullptr);
  HierarchyNode* eye = addNode(scene.root, tstest::placeAt(vect3(0, -10, 0)));
  HierarchyNode* spot = addNode(scene.root, tstest::placeAt(vect3(0, 0, 0)));
  eye->target = spot;
  // Upright, facing the eye.
  addSquare(scene, addMaterial(scene, 1, false), color(1, 0, 0, 1), 1.0f, spot, false);
  addCamera(scene, eye);
  scene.createResources();

  const std::vector<uint32_t> aimed = drawFrame(scene, 0.0f);
  ASSERT_EQ(aimed.size(), static_cast<size_t>(kWidth) * kHeight);
  bool ok = tstest::pixelNear(at(aimed, 320, 240), 255, 0, 0) && tstest::pixelNear(at(aimed, 20, 20), 0, 0, 255);
  saveOnFailure(ok, aimed, "SceneLookAt");
  EXPECT_TRUE(ok) << std::hex << at(aimed, 320, 240);

  // Without its target the node keeps the identity turn and looks down -Z, past the square.
  eye->target = nullptr;
  const std::vector<uint32_t> away = drawFrame(scene, 0.0f);
  ASSERT_EQ(away.size(), static_cast<size_t>(kWidth) * kHeight);
  ok = tstest::pixelNear(at(away, 320, 240), 0, 0, 255);
  saveOnFailure(ok, away, "SceneLookAway");
  EXPECT_TRUE(ok) << std::hex << at(away, 320, 240);
}

TEST_F(SceneDeviceTest, MeshesBehindTheCameraAreNotDrawn) {
  SceneHierarchy scene;
  TestMaterial* material = addMaterial(scene, 1, false);
  ts3d::TransformationPRS front(vect3(0, 0, -10), ts3d::quat(0, 0, 0, 1), vect3(1, 1, 1));
  ts3d::TransformationPRS behind(vect3(0, 0, 10), ts3d::quat(0, 0, 0, 1), vect3(1, 1, 1));
  MeshSimple* seen = addSquare(scene, material, color(1, 0, 0, 1), 0.5f, &front);
  MeshSimple* unseen = addSquare(scene, material, color(0, 1, 0, 1), 0.5f, &behind);

  // No camera yet: nothing is drawn, and nothing breaks.
  drawFrame(scene, 0.0f);
  EXPECT_EQ(proxy->count(DeviceCallKind::DrawIndexedPrimitive), 0u);

  ts3d::CameraSimple* camera = addCamera(scene, nullptr);
  scene.createResources();
  scene.update(0.0f);
  camera->apply();  // the projection, which the frustum needs
  std::unique_ptr<ts3d::RenderQueue> visible(scene.collectVisible());
  ASSERT_EQ(visible->items().size(), 1u);
  EXPECT_EQ(visible->items()[0]->geometry, seen->geometry());

  proxy->clearLog();
  drawFrame(scene, 0.0f);
  EXPECT_EQ(proxy->count(DeviceCallKind::DrawIndexedPrimitive), 1u);
  seen->setHidden(true);
  proxy->clearLog();
  drawFrame(scene, 0.0f);
  EXPECT_EQ(proxy->count(DeviceCallKind::DrawIndexedPrimitive), 0u) << "the mesh behind stays undrawn";
  // Drawn directly, the culled mesh does reach the device.
  proxy->clearLog();
  context->beginScene();
  unseen->draw();
  context->endScene();
  EXPECT_EQ(proxy->count(DeviceCallKind::DrawIndexedPrimitive), 1u);

  // Bounds are drawn for every mesh, seen or not: each box is three line draws under its
  // own matrix. (The last world set, the unseen mesh's, is restored after each box.)
  proxy->clearLog();
  context->beginScene();
  scene.drawBounds();
  context->endScene();
  EXPECT_EQ(proxy->count(DeviceCallKind::DrawPrimitive), 6u);
  size_t boxWorlds = 0;
  for (const tstest::DeviceCall& call : proxy->callsOf(DeviceCallKind::SetTransform))
    boxWorlds += call == tstest::transformCall(D3DTS_WORLD, seen->orientedBox()->toWorld);
  EXPECT_EQ(boxWorlds, 1u);
}

TEST_F(SceneDeviceTest, ABlendedMeshIsDrawnOverTheOpaqueOneBehindIt) {
  SceneHierarchy scene;
  ts3d::TransformationPRS nearPlace(vect3(0, 0, -5), ts3d::quat(0, 0, 0, 1), vect3(1, 1, 1));
  ts3d::TransformationPRS farPlace(vect3(0, 0, -10), ts3d::quat(0, 0, 0, 1), vect3(1, 1, 1));
  // The glass comes first in the list and is nearer: only the queue's classes put it last.
  addSquare(scene, addMaterial(scene, 3, true), color(0, 1, 0, 0.5f), 1.0f, &nearPlace);
  addSquare(scene, addMaterial(scene, 1, false), color(1, 0, 0, 1), 3.0f, &farPlace);
  addCamera(scene, nullptr);
  scene.createResources();

  const std::vector<uint32_t> pixels = drawFrame(scene, 0.0f);
  ASSERT_EQ(pixels.size(), static_cast<size_t>(kWidth) * kHeight);
  // Half green over red in the middle; drawn first, the glass would have hidden the red.
  const bool ok = tstest::pixelNear(at(pixels, 320, 240), 128, 128, 0, 4) &&
                  tstest::pixelNear(at(pixels, 320, 130), 255, 0, 0) && tstest::pixelNear(at(pixels, 5, 5), 0, 0, 255);
  saveOnFailure(ok, pixels, "SceneBlend");
  EXPECT_TRUE(ok) << std::hex << at(pixels, 320, 240) << " " << at(pixels, 320, 130);
}

TEST_F(SceneDeviceTest, TheLastRendererIsOutermostAndDepthCountsTheActiveOnes) {
  SceneHierarchy scene;
  auto* first = new tstest::TestRenderer("A");
  auto* second = new tstest::TestRenderer("B");
  second->passes = 2;
  scene.renderers = {first, second};
  auto* fog = new tstest::TestAtmospheric("fog");
  fog->watched = &scene;
  scene.atmospheres = {fog};
  scene.overlays = {new tstest::TestAtmospheric("sky")};
  ts3d::CameraSimple* camera = addCamera(scene, nullptr);
  scene.update(0.0f);

  tstest::eventLog().clear();
  proxy->clearLog();
  context->beginScene();
  scene.render();
  context->endScene();
  const std::vector<std::string> onePass = {"render A at depth 2", "enter fog at depth 2", "leave fog", "enter sky"};
  std::vector<std::string> expected;
  for (int pass = 0; pass < 2; ++pass) {
    expected.push_back("render B at depth 1");
    expected.insert(expected.end(), onePass.begin(), onePass.end());
  }
  EXPECT_EQ(tstest::eventLog(), expected);
  EXPECT_EQ(scene.rendererDepth, 0u);
  EXPECT_EQ(first->seenCamera, camera);
  EXPECT_EQ(second->seenCamera, camera);
  for (const tstest::DeviceCall& call : proxy->callsOf(DeviceCallKind::SetTransform))
    EXPECT_NE(call.args[0], D3DTS_VIEW) << "with renderers the scene leaves the camera to them";

  // Without renderers the scene applies the camera itself.
  scene.renderers.clear();
  delete first;
  delete second;
  proxy->clearLog();
  context->beginScene();
  scene.render();
  context->endScene();
  size_t views = 0;
  for (const tstest::DeviceCall& call : proxy->callsOf(DeviceCallKind::SetTransform))
    views += call.args[0] == D3DTS_VIEW;
  EXPECT_EQ(views, 1u);
}

TEST_F(SceneDeviceTest, OnlyAsManyLightsAsTheDeviceHoldsShineInListOrder) {
  SceneHierarchy scene;
  for (int i = 0; i < 3; ++i) {
    auto* light = new ts3d::LightOmni;
    light->diffuseController = new ts3d::controller::Const<color>(color(0.25f * static_cast<float>(i + 1), 0, 0, 1));
    light->addController(light->diffuseController);
    scene.lights.push_back(light);
  }
  addCamera(scene, nullptr);
  context->capabilities.maxLights = 2;
  // Three lights of an earlier drawing are on: the scene switches them off first.
  D3DLIGHT9 earlier = {};
  earlier.Type = D3DLIGHT_POINT;
  earlier.Range = 1.0f;
  for (int i = 0; i < 3; ++i) context->addLight(&earlier);
  scene.update(0.0f);
  context->beginScene();
  scene.render();
  context->endScene();
  EXPECT_EQ(context->lightCount, 2u);
  for (DWORD index = 0; index < 2; ++index) {
    D3DLIGHT9 set = {};
    proxy->real()->GetLight(index, &set);
    EXPECT_FLOAT_EQ(set.Diffuse.r, 0.25f * static_cast<float>(index + 1)) << "light " << index;
  }
  BOOL third = TRUE;
  proxy->real()->GetLightEnable(2, &third);
  EXPECT_FALSE(third);
}

}  // namespace

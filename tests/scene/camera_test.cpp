#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "geometry/oriented_box.h"
#include "scene/camera.h"
#include "scene/controller/const.h"
#include "scene/hierarchy_node.h"
#include "scene/transformation.h"
#include "tests/context/context_fixture.h"
#include "tests/scene/scene_support.h"
#include "tests/scene/support.h"

namespace {

using ts3d::CameraSimple;
using ts3d::matrix;
using ts3d::quat;
using ts3d::TransformationPRS;
using ts3d::vect3;
using ts3d::controller::Const;
using tstest::FileBuilder;
using tstest::floats;

void setFloat(CameraSimple& camera, ts3d::controller::ControllerBase<float>*& field, float value) {
  field = new Const<float>(value);
  camera.addController(field);
}

// The right-handed perspective matrix written out from its definition.
matrix perspectiveRH(float fov, float aspect, float zn, float zf) {
  const float yScale = 1.0f / std::tan(fov / 2.0f);
  const float xScale = yScale / aspect;
  return matrix(xScale, 0, 0, 0, 0, yScale, 0, 0, 0, 0, zf / (zn - zf), -1, 0, 0, zn * zf / (zn - zf), 0);
}

matrix deviceTransform(tstest::ProxyDevice* proxy, D3DTRANSFORMSTATETYPE state) {
  D3DMATRIX read = {};
  proxy->real()->GetTransform(state, &read);
  return matrix(read);
}

class CameraTest : public tstest::SceneTest {};

TEST_F(CameraTest, AccessorsReadTheirOwnControllersAndFallBackWithoutThem) {
  CameraSimple camera;
  EXPECT_EQ(camera.rangeNear(), 0.0f);
  EXPECT_EQ(camera.clipNear(), 1.0f);
  EXPECT_EQ(camera.clipFar(), 10000.0f);
  EXPECT_EQ(camera.rangeFar(), 0.0f);
  EXPECT_FLOAT_EQ(camera.focusDistance(), (10000.0f - 1.0f) * 0.5f);
  setFloat(camera, camera.nearController, 2.0f);
  setFloat(camera, camera.farController, 300.0f);
  setFloat(camera, camera.clipNearController, 4.0f);
  setFloat(camera, camera.rangeFarController, 50.0f);
  camera.update(0.0f);
  EXPECT_EQ(camera.rangeNear(), 2.0f);
  EXPECT_EQ(camera.clipFar(), 300.0f);
  EXPECT_EQ(camera.clipNear(), 4.0f);
  EXPECT_EQ(camera.rangeFar(), 50.0f);
  EXPECT_FLOAT_EQ(camera.focusDistance(), 148.0f);
}

TEST_F(CameraTest, FocusIsTheDistanceToTheTargetOfItsNode) {
  // Positions as the nodes' own controllers give them: the parent's offset doesn't count.
  ts3d::HierarchyNode parent, eye, target;
  parent.transformation = tstest::placeAt(vect3(100, 0, 0));
  eye.transformation = tstest::placeAt(vect3(1, 2, 3));
  eye.parent = &parent;
  target.transformation = tstest::placeAt(vect3(4, 6, 3));
  CameraSimple camera;
  camera.transformation = &eye;
  setFloat(camera, camera.clipNearController, 4.0f);
  setFloat(camera, camera.farController, 300.0f);
  for (ts3d::HierarchyNode* node : {&parent, &eye, &target}) node->update(0.0f);
  camera.update(0.0f);
  EXPECT_FLOAT_EQ(camera.focusDistance(), 148.0f);  // no target yet
  eye.target = &target;
  eye.update(0.0f);
  EXPECT_FLOAT_EQ(camera.focusDistance(), 5.0f);
}

TEST_F(CameraTest, ViewFollowsTheTransformation) {
  // At (0, 0, 10), turned a quarter about +Y: it looks along -X.
  const float h = std::sqrt(0.5f);
  TransformationPRS place(vect3(0, 0, 10), quat(0, h, 0, h), vect3(1, 1, 1));
  CameraSimple camera;
  camera.transformation = &place;
  camera.update(0.0f);
  const matrix& view = *camera.viewMatrix();
  // A point 3 units ahead (at (-3, 0, 10)) lies at view depth -3; a point above stays above;
  // -Z of the world is the camera's right.
  tstest::expectVectNear(tstest::transformPoint(view, vect3(-3, 0, 10)), vect3(0, 0, -3));
  tstest::expectVectNear(tstest::transformPoint(view, vect3(0, 2, 10)), vect3(0, 2, 0));
  tstest::expectVectNear(tstest::transformPoint(view, vect3(0, 0, 9)), vect3(1, 0, 0));
  // Without a transformation it looks down -Z from the origin: the view space itself.
  camera.transformation = nullptr;
  camera.update(0.0f);
  tstest::expectMatrixNear(*camera.viewMatrix(), tstest::identityMatrix());
}

TEST_F(CameraTest, CameraBodyIsSixObjectsAndOwnsTheTransformationItBrings) {
  auto* place = new TransformationPRS(vect3(1, 2, 3), quat(0, 0, 0, 1), vect3(1, 1, 1));
  CameraSimple camera;
  camera.transformation = place;
  setFloat(camera, camera.fovController, 0.5f);
  setFloat(camera, camera.farController, 100.0f);

  FileBuilder expected;
  expected.header("cASM", 0, 96);
  expected.header("TRPR", 1, 40);
  floats(expected, {1, 2, 3, 0, 0, 0, 1, 1, 1, 1});
  expected.header("CCFL", 2, 4);
  floats(expected, {0.5f});
  expected.u32(0);  // near
  expected.header("CCFL", 3, 4);
  floats(expected, {100.0f});
  expected.u32(0).u32(0);  // clip near, range far
  EXPECT_EQ(tstest::storeToBytes(&camera, 0), expected.bytes);
  delete place;  // made here, so not the camera's
  camera.transformation = nullptr;

  auto loaded = tstest::loadAs<CameraSimple>(expected.bytes);
  ASSERT_NE(loaded, nullptr);
  ASSERT_NE(loaded->transformation, nullptr);
  EXPECT_EQ(*loaded->transformation->position(), vect3(1, 2, 3));
  ASSERT_NE(loaded->fovController, nullptr);
  EXPECT_EQ(loaded->fovController->value, 0.5f);
  EXPECT_EQ(loaded->nearController, nullptr);
  EXPECT_EQ(loaded->clipFar(), 100.0f);
  EXPECT_EQ(loaded->controllers.size(), 2u);
}

TEST_F(CameraTest, TwoCamerasShareOneTransformationAndOnlyTheFirstOwnsIt) {
  auto* place = new TransformationPRS(vect3(0, 0, 5), quat(0, 0, 0, 1), vect3(1, 1, 1));
  auto* first = new CameraSimple;
  auto* second = new CameraSimple;
  first->transformation = place;
  second->transformation = place;
  tstest::Node root("cameras");
  root.children = {first, second};
  const tstest::Bytes file = tstest::storeToBytes(&root, 0);
  // The second camera names the transformation by reference: object id 2 (root 0, camera 1).
  const uint8_t reference[4] = {0x02, 0x00, 0x00, 0x80};
  EXPECT_NE(std::search(file.begin(), file.end(), reference, reference + 4), file.end());
  first->transformation = nullptr;
  second->transformation = nullptr;
  delete place;

  auto loaded = tstest::loadAs<tstest::Node>(file);
  ASSERT_NE(loaded, nullptr);
  ASSERT_EQ(loaded->children.size(), 2u);
  auto* one = dynamic_cast<CameraSimple*>(loaded->children[0]);
  auto* two = dynamic_cast<CameraSimple*>(loaded->children[1]);
  ASSERT_NE(one, nullptr);
  ASSERT_NE(two, nullptr);
  EXPECT_EQ(one->transformation, two->transformation);
  // The root keeps the transformation, which no camera owns.
}

TEST_F(CameraTest, CameraOfAnotherVersionStaysEmpty) {
  FileBuilder file;
  tstest::headerV(file, "cASM", 2, 0, 24).u32(0).u32(0).u32(0).u32(0).u32(0).u32(0);
  auto loaded = tstest::loadAs<CameraSimple>(file.bytes);
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(loaded->transformation, nullptr);
  EXPECT_TRUE(loaded->controllers.empty());
}

TEST_F(CameraTest, FrustumKeepsWhatTheCameraSees) {
  CameraSimple camera;
  camera.update(0.0f);
  D3DXMatrixPerspectiveFovRH(&camera.projection, 1.5707963f, 1.0f, 1.0f, 100.0f);
  ts3d::Frustum frustum;
  EXPECT_EQ(&camera.frustum(frustum), &frustum);
  ASSERT_EQ(frustum.planes.size(), 6u);
  for (const D3DXPLANE& plane : frustum.planes)
    EXPECT_NEAR(plane.a * plane.a + plane.b * plane.b + plane.c * plane.c, 1.0f, 1e-5f);
  const auto insideAll = [&frustum](const vect3& p) {
    for (const D3DXPLANE& plane : frustum.planes)
      if (!frustum.isInside(plane, p)) return false;
    return true;
  };
  EXPECT_TRUE(insideAll(vect3(0, 0, -10)));
  EXPECT_TRUE(insideAll(vect3(4, 4, -5)));     // within the 90 degree cone
  EXPECT_FALSE(insideAll(vect3(6, 0, -5)));    // right of it
  EXPECT_FALSE(insideAll(vect3(0, -6, -5)));   // below it
  EXPECT_FALSE(insideAll(vect3(0, 0, 10)));    // behind the camera
  EXPECT_FALSE(insideAll(vect3(0, 0, -0.5f))); // before the near plane
  EXPECT_FALSE(insideAll(vect3(0, 0, -150)));  // beyond the far plane

  ts3d::OrientedBox box;
  box.halfSize = vect3(1, 1, 1);
  box.toWorld.m[3][2] = -10.0f;
  EXPECT_TRUE(frustum.intersects(box));
  box.toWorld.m[3][2] = 10.0f;
  EXPECT_FALSE(frustum.intersects(box));
  // Straddling the left edge: some corner is inside every plane.
  box.toWorld.m[3][0] = -5.5f;
  box.toWorld.m[3][2] = -5.0f;
  EXPECT_TRUE(frustum.intersects(box));
}

class CameraDeviceTest : public tstest::ContextTest {
 protected:
  void SetUp() override {
    tstest::ContextTest::SetUp();
  }
};

TEST_F(CameraDeviceTest, ApplyGivesViewAndProjectionToTheDevice) {
  TransformationPRS place(vect3(0, 0, 10), quat(0, 0, 0, 1), vect3(1, 1, 1));
  CameraSimple camera;
  camera.transformation = &place;
  setFloat(camera, camera.fovController, 1.0f);
  setFloat(camera, camera.nearController, 2.0f);
  setFloat(camera, camera.farController, 500.0f);
  camera.update(0.0f);
  camera.apply();

  // Standing at z = 10 and looking down -Z, the view only moves the world back by 10.
  const matrix view(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, -10, 1);
  tstest::expectMatrixNear(deviceTransform(proxy, D3DTS_VIEW), view);
  tstest::expectMatrixNear(context->transforms.view, view);
  ASSERT_NE(context->renderTarget(), nullptr);
  const float aspect = static_cast<float>(context->renderTarget()->viewport.Width) /
                       static_cast<float>(context->renderTarget()->viewport.Height);
  EXPECT_FLOAT_EQ(aspect, 640.0f / 480.0f);
  const matrix projection = perspectiveRH(1.0f, aspect, 2.0f, 500.0f);
  tstest::expectMatrixNear(deviceTransform(proxy, D3DTS_PROJECTION), projection);
  tstest::expectMatrixNear(*camera.projectionMatrix(), projection);
  camera.transformation = nullptr;
}

TEST_F(CameraDeviceTest, WithoutAFieldOfViewTheProjectionIsLeftAloneAndAloneItSpansOneToTenThousand) {
  CameraSimple camera;
  camera.update(0.0f);
  proxy->clearLog();
  camera.apply();
  const auto transforms = proxy->callsOf(tstest::DeviceCallKind::SetTransform);
  ASSERT_EQ(transforms.size(), 1u);
  EXPECT_EQ(transforms[0].args[0], D3DTS_VIEW);
  tstest::expectMatrixNear(*camera.projectionMatrix(), tstest::identityMatrix(), 0.0f);

  setFloat(camera, camera.fovController, 0.8f);
  camera.update(0.0f);
  camera.apply();
  tstest::expectMatrixNear(deviceTransform(proxy, D3DTS_PROJECTION),
                           perspectiveRH(0.8f, 640.0f / 480.0f, 1.0f, 10000.0f), 1e-4f);
  EXPECT_EQ(context->nearPlane, 1.0f);
  EXPECT_EQ(context->farPlane, 10000.0f);
}

}  // namespace

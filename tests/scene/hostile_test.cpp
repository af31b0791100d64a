#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "scene/camera.h"
#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "scene/controller_transformation.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/transformation.h"
#include "tests/support/heap_count.h"
#include "tests/scene/support.h"

namespace {

using ts3d::CameraSimple;
using ts3d::color;
using ts3d::ControllerTransformation;
using ts3d::ControllerTransformationMatrix;
using ts3d::LightOmni;
using ts3d::matrix;
using ts3d::quat;
using ts3d::TransformationPRS;
using ts3d::vect3;
using ts3d::controller::Const;
using ts3d::controller::Linear;
using ts3d::controller::LinearKey;
using tstest::Bytes;
using tstest::FileBuilder;

template <class Owner, class T>
void give(Owner& owner, ts3d::controller::ControllerBase<T>*& field, ts3d::controller::ControllerBase<T>* made) {
  field = made;
  owner.addController(made);
}

std::vector<Bytes> sampleFiles() {
  std::vector<Bytes> files;
  {
    TransformationPRS prs(vect3(1, 2, 3), quat(0, 0, 0, 1), vect3(2, 2, 2));
    files.push_back(tstest::storeToBytes(&prs, 0));
  }
  {
    ControllerTransformation animated;
    auto* moving = new Linear<vect3>;
    moving->addKey(LinearKey<vect3>(0.0f, vect3(0, 0, 0)));
    moving->addKey(LinearKey<vect3>(1.0f, vect3(1, 0, 0)));
    give(animated, animated.positionController, static_cast<ts3d::controller::ControllerBase<vect3>*>(moving));
    give(animated, animated.rotationController,
         static_cast<ts3d::controller::ControllerBase<quat>*>(new Const<quat>(quat(0, 0, 0, 1))));
    give(animated, animated.scaleController,
         static_cast<ts3d::controller::ControllerBase<vect3>*>(new Const<vect3>(vect3(1, 1, 1))));
    files.push_back(tstest::storeToBytes(&animated, 0));
  }
  {
    ControllerTransformationMatrix animated;
    auto* track = new Linear<matrix>;
    track->addKey(LinearKey<matrix>(0.0f, tstest::identityMatrix()));
    give(animated, animated.matrixController, static_cast<ts3d::controller::ControllerBase<matrix>*>(track));
    files.push_back(tstest::storeToBytes(&animated, 0));
  }
  {
    // A node owning a leaf, a light and a camera; the camera shares the light's place.
    auto* place = new TransformationPRS(vect3(0, 0, 4), quat(0, 0, 0, 1), vect3(1, 1, 1));
    tstest::Node root("scene");
    auto* leaf = new tstest::Leaf(7);
    auto* light = new LightOmni;
    light->transformation = place;
    give(*light, light->diffuseController,
         static_cast<ts3d::controller::ControllerBase<color>*>(new Const<color>(color(1, 1, 1, 1))));
    give(*light, light->rangeController,
         static_cast<ts3d::controller::ControllerBase<float>*>(new Const<float>(50.0f)));
    auto* mesh = new ts3d::MeshSimple;
    light->included = {mesh, nullptr};
    light->shadowCasters = {mesh};
    auto* camera = new CameraSimple;
    camera->transformation = place;
    give(*camera, camera->fovController, static_cast<ts3d::controller::ControllerBase<float>*>(new Const<float>(1.0f)));
    root.children = {leaf, mesh, light, camera};
    files.push_back(tstest::storeToBytes(&root, 0));
    light->transformation = nullptr;
    camera->transformation = nullptr;
    delete place;
  }
  return files;
}

class HostileScene : public tstest::SceneTest {};

TEST_F(HostileScene, EveryTruncationIsRefusedWithOneMessageAndFreesAll) {
  for (const Bytes& file : sampleFiles()) tstest::expectEveryCutRefused(file);
}

TEST_F(HostileScene, TheCounterSeesAnObjectThatIsNotFreed) {
  // The leak checks can fail: a block kept alive shows as one more live block.
  const long before = tstest::liveHeapBlocks();
  auto* kept = new TransformationPRS;
  EXPECT_EQ(tstest::liveHeapBlocks(), before + 1);
  delete kept;
  EXPECT_EQ(tstest::liveHeapBlocks(), before);
}

// A light of null controllers whose included list has the given count and entries.
Bytes lightWithList(uint32_t size, const std::function<void(FileBuilder&)>& list) {
  FileBuilder file;
  file.header("LTOM", 0, size);
  for (int i = 0; i < 8; ++i) file.u32(0);
  list(file);
  return file.bytes;
}

TEST_F(HostileScene, MeshListCountsBeyondTheBytesLeftAreRefused) {
  tstest::expectRefused(lightWithList(36, [](FileBuilder& f) { f.u32(0x7FFFFFFF); }),
                        "a count of 2147483647 items of 4 bytes or more, with 0 bytes left in chunk LTOM (id 0)");
  tstest::expectRefused(lightWithList(44, [](FileBuilder& f) { f.u32(0).u32(0xFFFFFFFF).u32(0); }),
                        "a count of 4294967295 items of 4 bytes or more, with 4 bytes left in chunk LTOM (id 0)");
}

}  // namespace

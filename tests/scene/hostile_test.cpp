#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "scene/camera.h"
#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "scene/controller_transformation.h"
#include "scene/light.h"
#include "scene/transformation.h"
#include "tests/scene/heap_count.h"
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
    give(*light, light->ambientController,
         static_cast<ts3d::controller::ControllerBase<color>*>(new Const<color>(color(0, 0, 0, 1))));
    give(*light, light->diffuseController,
         static_cast<ts3d::controller::ControllerBase<color>*>(new Const<color>(color(1, 1, 1, 1))));
    give(*light, light->specularController,
         static_cast<ts3d::controller::ControllerBase<color>*>(new Const<color>(color(0, 0, 0, 1))));
    give(*light, light->rangeController,
         static_cast<ts3d::controller::ControllerBase<float>*>(new Const<float>(50.0f)));
    give(*light, light->attenuation0Controller,
         static_cast<ts3d::controller::ControllerBase<float>*>(new Const<float>(1.0f)));
    give(*light, light->attenuation1Controller,
         static_cast<ts3d::controller::ControllerBase<float>*>(new Const<float>(0.0f)));
    give(*light, light->attenuation2Controller,
         static_cast<ts3d::controller::ControllerBase<float>*>(new Const<float>(0.0f)));
    light->included = {leaf, nullptr};
    light->shadowCasters = {leaf};
    auto* camera = new CameraSimple;
    camera->transformation = place;
    give(*camera, camera->fovController, static_cast<ts3d::controller::ControllerBase<float>*>(new Const<float>(1.0f)));
    root.children = {leaf, light, camera};
    files.push_back(tstest::storeToBytes(&root, 0));
    light->transformation = nullptr;
    camera->transformation = nullptr;
    delete place;
  }
  return files;
}

struct Outcome {
  bool loaded = false;
  std::vector<std::string> boxes;
};

// Reads a file and frees what the read gave.
Outcome read(const Bytes& file) {
  Outcome outcome;
  tstest::RecordingTracer tracer;
  std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(file));
  outcome.loaded = root != nullptr;
  outcome.boxes = tracer.texts('b');
  return outcome;
}

// Heap blocks that reading a file and freeing its result leaves behind.
long leakOf(const Bytes& file) {
  const long before = tstest::liveHeapBlocks();
  {
    tstest::RecordingTracer tracer;
    std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(file));
  }
  return tstest::liveHeapBlocks() - before;
}

class HostileScene : public tstest::SceneTest {};

TEST_F(HostileScene, EveryTruncationIsRefusedWithOneMessageAndFreesAll) {
  const std::vector<Bytes> files = sampleFiles();
  ASSERT_EQ(files.size(), 4u);
  // Once each way first, so that lasting first-use allocations don't count.
  read(files[3]);
  read(Bytes(files[3].begin(), files[3].end() - 1));

  for (const Bytes& file : files) {
    const Outcome whole = read(file);
    ASSERT_TRUE(whole.loaded) << "the intact sample must load";
    EXPECT_TRUE(whole.boxes.empty());
    EXPECT_EQ(leakOf(file), 0) << "an intact read, deleted, frees all too";
    for (size_t length = 0; length < file.size(); ++length) {
      const long before = tstest::liveHeapBlocks();
      bool loaded = false;
      {
        const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
        tstest::RecordingTracer tracer;
        std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(cut));
        loaded = root != nullptr;
        if (length >= 4) {
          EXPECT_EQ(tracer.texts('b').size(), 1u) << "cut at " << length << " of " << file.size();
        }
      }
      EXPECT_FALSE(loaded) << "cut at " << length << " of " << file.size();
      EXPECT_EQ(tstest::liveHeapBlocks(), before) << "cut at " << length << " of " << file.size();
    }
  }
}

TEST_F(HostileScene, TheCounterSeesAnObjectThatIsNotFreed) {
  // The leak check above can fail: a block kept alive shows as one more live block.
  const long before = tstest::liveHeapBlocks();
  auto* kept = new TransformationPRS;
  EXPECT_EQ(tstest::liveHeapBlocks(), before + 1);
  delete kept;
  EXPECT_EQ(tstest::liveHeapBlocks(), before);
}

void expectRefused(const Bytes& file, const std::string& reason) {
  const Outcome outcome = read(file);
  EXPECT_FALSE(outcome.loaded);
  EXPECT_EQ(outcome.boxes, std::vector<std::string>{"TSIO : Unreadable file : " + reason});
  EXPECT_EQ(leakOf(file), 0);
}

TEST_F(HostileScene, MeshCountBeyondTheBytesLeftIsRefusedBeforeAnythingIsMade) {
  FileBuilder file;
  file.header("LTOM", 0, 36);
  for (int i = 0; i < 8; ++i) file.u32(0);
  file.u32(0x7FFFFFFF);
  expectRefused(file.bytes, "a count of 2147483647 items of 4 bytes or more, with 0 bytes left in chunk LTOM (id 0)");

  FileBuilder negative;
  negative.header("LTOM", 0, 44);
  for (int i = 0; i < 8; ++i) negative.u32(0);
  negative.u32(0).u32(0xFFFFFFFF).u32(0);
  expectRefused(negative.bytes,
                "a count of 4294967295 items of 4 bytes or more, with 4 bytes left in chunk LTOM (id 0)");
}

TEST_F(HostileScene, AMeshListEntryNamingNothingIsRefused) {
  FileBuilder file;
  file.header("LTOM", 0, 44);
  for (int i = 0; i < 8; ++i) file.u32(0);
  file.u32(1).u32(0x80000005).u32(0);
  const Outcome outcome = read(file.bytes);
  EXPECT_FALSE(outcome.loaded);
  EXPECT_EQ(outcome.boxes.size(), 1u);
  EXPECT_EQ(leakOf(file.bytes), 0);
}

TEST_F(HostileScene, AnUnownedMeshInALightIsRefused) {
  // A mesh list entry stored in full inside the light has nobody to own it.
  FileBuilder file;
  file.header("LTOM", 0, 65);
  for (int i = 0; i < 8; ++i) file.u32(0);
  file.u32(1).header("tLEF", 1, 13).u32(1).u32(0).u32(0).u8(0);
  file.u32(0);
  const Outcome outcome = read(file.bytes);
  EXPECT_FALSE(outcome.loaded);
  ASSERT_EQ(outcome.boxes.size(), 1u);
  EXPECT_NE(outcome.boxes[0].find("has no owner"), std::string::npos) << outcome.boxes[0];
  EXPECT_EQ(leakOf(file.bytes), 0);
}

TEST_F(HostileScene, ALightInTheMatrixSlotOfATransformationIsRefused) {
  // CMTX holding a light instead of a matrix controller.
  FileBuilder file;
  file.header("CMTX", 0, 52).header("LTOM", 1, 40);
  for (int i = 0; i < 10; ++i) file.u32(0);
  const Outcome outcome = read(file.bytes);
  EXPECT_FALSE(outcome.loaded);
  ASSERT_EQ(outcome.boxes.size(), 1u);
  EXPECT_NE(outcome.boxes[0].find("unexpected class"), std::string::npos) << outcome.boxes[0];
  EXPECT_EQ(leakOf(file.bytes), 0);
}

}  // namespace

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "materials/texture_bitmap_file.h"
#include "materials/texture_stage.h"
#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "tests/materials/material_support.h"

// TS__ on streams and the texture matrix rules of a stage, without a device.
namespace {

using ts3d::TextureStage;
using ts3d::matrix;
using ts3d::controller::Const;
using ts3d::controller::ControllerBase;
using ts3d::controller::Linear;
using ts3d::controller::LinearKey;
using tstest::Bytes;

matrix identity() { return matrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1); }

void expectMatrixNear(const matrix& actual, const matrix& expected) {
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-5f) << "element " << i;
}

ControllerBase<float>* constant(float value) { return new Const<float>(value); }

Linear<float>* ramp(float from, float to, float endTime) {
  auto* linear = new Linear<float>;
  linear->keys = {LinearKey<float>(0.0f, from), LinearKey<float>(endTime, to)};
  return linear;
}

// offset U, V, tiling U, V, angle U, V, W as constants.
void setConstants(TextureStage& stage, float offsetU, float offsetV, float tilingU, float tilingV, float angleU = 0,
                  float angleV = 0, float angleW = 0) {
  stage.setControllers(constant(offsetU), constant(offsetV), constant(tilingU), constant(tilingV), constant(angleU),
                       constant(angleV), constant(angleW));
}

class TextureStageTest : public tstest::MaterialChunkTest {};

TEST_F(TextureStageTest, RoundTripWritesTheFileMatrixAndReadsItBack) {
  TextureStage stage;
  stage.states = ts3d::TextureStageStateBlock::modulate();
  stage.states.texCoordIndex = 1;
  stage.states.transformCount = 3;
  matrix scaled = identity();
  scaled._11 = 3.0f;
  scaled._32 = 0.25f;
  stage.fileMatrix = scaled;
  stage.hasFileMatrix = true;
  stage.mappingMode = 1;
  setConstants(stage, 0.5f, 0.25f, 2.0f, 1.0f);
  // The working matrix is what animation made; the file must get fileMatrix.
  matrix working = identity();
  working._41 = 9.0f;
  stage.states.textureMatrix = working;

  std::unique_ptr<TextureStage> back = tstest::roundTrip(stage);
  ASSERT_NE(back, nullptr);
  expectMatrixNear(stage.states.textureMatrix, working);  // put back behind the write
  EXPECT_TRUE(back->hasFileMatrix);
  expectMatrixNear(back->fileMatrix, scaled);
  expectMatrixNear(back->states.textureMatrix, scaled);
  EXPECT_EQ(back->states.colorOp, ts3d::TextureModulate);
  EXPECT_EQ(back->states.texCoordIndex, 1);
  EXPECT_EQ(back->states.transformCount, 3);
  EXPECT_EQ(back->mappingMode, 1);
  EXPECT_EQ(back->texture, nullptr);
  ASSERT_NE(back->offsetUController, nullptr);
  EXPECT_FLOAT_EQ(back->offsetUController->value, 0.5f);
  EXPECT_FLOAT_EQ(back->tilingUController->value, 2.0f);
  EXPECT_NE(back->angleWController, nullptr);
  EXPECT_EQ(back->controllers.size(), 7u) << "all seven stand on the list";

  // An identity in the file is no file matrix.
  TextureStage plain;
  back = tstest::roundTrip(plain);
  ASSERT_NE(back, nullptr);
  EXPECT_FALSE(back->hasFileMatrix);
  expectMatrixNear(back->fileMatrix, identity());
  EXPECT_EQ(back->offsetUController, nullptr);
  EXPECT_TRUE(back->controllers.empty());
}

TEST_F(TextureStageTest, VersionOneHasNoModeByteAndVersionsAboveTwoAreRefused) {
  TextureStage stage;
  stage.mappingMode = 1;
  const Bytes file = tstest::storeToBytes(&stage, 0);
  // Texture word, 79 bytes of states, seven controller words, the mode byte.
  ASSERT_EQ(file.size(), tstest::kRootBodyAt + 4 + 79 + 7 * 4 + 1);
  std::unique_ptr<TextureStage> back = tstest::loadAs<TextureStage>(tstest::olderRoot(file, 1, file.size() - 1, 1));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->mappingMode, 0);
  back = tstest::loadAs<TextureStage>(tstest::olderRoot(file, 0, file.size() - 1, 1));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->mappingMode, 0);
  back = tstest::loadAs<TextureStage>(file);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->mappingMode, 1);

  // A later version is left unread.
  back = tstest::loadAs<TextureStage>(tstest::withRootVersion(file, 3));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->mappingMode, 0);
}

TEST_F(TextureStageTest, StaticStagesLeaveTheStatesAsLoadedOrSetTheMatrixOnce) {
  // No controllers, no file matrix, mode 0: the states stay as loaded.
  TextureStage none;
  none.states.transformCount = 0;
  none.prepare();
  EXPECT_TRUE(none.controllersConstant);
  none.update(3.0f);
  EXPECT_EQ(none.states.transformCount, 0);
  expectMatrixNear(none.states.textureMatrix, identity());

  // Neutral constants: the animated matrix is identity and no transform is switched on.
  TextureStage neutral;
  setConstants(neutral, 0, 0, 1, 1);
  neutral.prepare();
  EXPECT_TRUE(neutral.controllersConstant);
  expectMatrixNear(neutral.animatedMatrix, identity());
  EXPECT_EQ(neutral.states.transformCount, 0);
  expectMatrixNear(neutral.states.textureMatrix, identity());

  // Tiling 2 about the centre: made once in prepare; update does no more work.
  TextureStage tiled;
  setConstants(tiled, 0, 0, 2, 2);
  tiled.prepare();
  matrix expected = identity();
  expected._11 = 2.0f;
  expected._22 = 2.0f;
  expected._31 = -0.5f;
  expected._32 = 0.5f;
  expectMatrixNear(tiled.states.textureMatrix, expected);
  EXPECT_EQ(tiled.states.transformCount, 2);
  tiled.states.transformCount = 0;
  tiled.states.textureMatrix = identity();
  tiled.update(5.0f);
  EXPECT_EQ(tiled.states.transformCount, 0);
  expectMatrixNear(tiled.states.textureMatrix, identity());
}

TEST_F(TextureStageTest, AnimatedControllersFollowTimeAndComposeBehindTheFileMatrix) {
  // Offset U runs from 0 to 0.5 over ten units; V's sign is the opposite of U's.
  TextureStage moving;
  moving.setControllers(ramp(0.0f, 0.5f, 10.0f), constant(0.25f), constant(1), constant(1), constant(0),
                        constant(0), constant(0));
  moving.prepare();
  EXPECT_FALSE(moving.controllersConstant);
  moving.update(10.0f);
  matrix expected = identity();
  expected._31 = -0.5f;
  expected._32 = 0.25f;
  expectMatrixNear(moving.states.textureMatrix, expected);
  EXPECT_EQ(moving.states.transformCount, 2);
  // Even where the animated matrix is identity, a moving stage keeps using it.
  moving.update(0.0f);
  expected._31 = 0.0f;
  expectMatrixNear(moving.states.textureMatrix, expected);

  // A quarter turn about W: roll is -angleW.
  TextureStage turned;
  setConstants(turned, 0, 0, 1, 1, 0, 0, 1.5707964f);
  turned.prepare();
  ts3d::quat q;
  D3DXQuaternionRotationYawPitchRoll(&q, 0.0f, 0.0f, -1.5707964f);
  matrix rotation;
  D3DXMatrixRotationQuaternion(&rotation, &q);
  matrix centre = identity(), uncentre = identity();
  centre._31 = 0.5f;
  centre._32 = -0.5f;
  D3DXMatrixInverse(&uncentre, nullptr, &centre);
  expectMatrixNear(turned.animatedMatrix, uncentre * rotation * centre);

  // With a file matrix the product is file x animated, and the file's transform flags stay.
  TextureStage withFile;
  withFile.hasFileMatrix = true;
  withFile.fileMatrix = identity();
  withFile.fileMatrix._11 = 4.0f;
  withFile.states.transformCount = 3;
  withFile.setControllers(ramp(0.0f, 1.0f, 1.0f), constant(0), constant(1), constant(1), constant(0), constant(0),
                          constant(0));
  withFile.prepare();
  withFile.update(1.0f);
  expectMatrixNear(withFile.states.textureMatrix, withFile.fileMatrix * withFile.animatedMatrix);
  EXPECT_FLOAT_EQ(withFile.animatedMatrix._31, -1.0f);
  EXPECT_EQ(withFile.states.transformCount, 3);

  // Constant neutral controllers over a file matrix give the file matrix alone.
  TextureStage fileOnly;
  fileOnly.hasFileMatrix = true;
  fileOnly.fileMatrix = withFile.fileMatrix;
  setConstants(fileOnly, 0, 0, 1, 1);
  fileOnly.prepare();
  expectMatrixNear(fileOnly.states.textureMatrix, fileOnly.fileMatrix);
}

TEST_F(TextureStageTest, MatrixElementsDifferingByExactlyTheToleranceCountAsDifferent) {
  matrix nudged = identity();
  nudged._21 = 0.0001f;
  EXPECT_FALSE(TextureStage::nearlyEqual(nudged, identity()));
  nudged._21 = 0.00009f;
  EXPECT_TRUE(TextureStage::nearlyEqual(nudged, identity()));
  nudged._21 = -0.0001f;
  EXPECT_FALSE(TextureStage::nearlyEqual(nudged, identity()));

  // The same rule decides hasFileMatrix on load.
  TextureStage stage;
  stage.hasFileMatrix = true;
  stage.fileMatrix = identity();
  stage.fileMatrix._43 = 0.0001f;
  std::unique_ptr<TextureStage> back = tstest::roundTrip(stage);
  ASSERT_NE(back, nullptr);
  EXPECT_TRUE(back->hasFileMatrix);
  stage.fileMatrix._43 = 0.00005f;
  back = tstest::roundTrip(stage);
  ASSERT_NE(back, nullptr);
  EXPECT_FALSE(back->hasFileMatrix);
  expectMatrixNear(back->fileMatrix, identity());
}

TEST_F(TextureStageTest, ReplacingControllersDeletesTheOldOnes) {
  using Counted = tstest::Counted<float>;
  const int before = Counted::live;
  {
    TextureStage stage;
    stage.setControllers(new Counted(0), new Counted(0), new Counted(1), new Counted(1), new Counted(0),
                         new Counted(0), new Counted(0));
    EXPECT_EQ(Counted::live, before + 7);
    setConstants(stage, 0, 0, 1, 1);
    EXPECT_EQ(Counted::live, before);
    EXPECT_EQ(stage.controllers.size(), 7u);
  }
}

}  // namespace

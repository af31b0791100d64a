#include <gtest/gtest.h>

#include <memory>

#include "materials/material_simple.h"
#include "materials/texture_bitmap_file.h"
#include "materials/texture_stage.h"
#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "tests/controller/support.h"
#include "tests/support/heap_count.h"

// The rules of materials, stages and bitmap textures that need no device.
namespace {

using namespace ts3d;
using controller::Const;

controller::ControllerBase<float>* constant(float value) { return new Const<float>(value); }

void expectMatrixNear(const matrix& actual, const matrix& expected) {
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-5f) << "element " << i;
}

TEST(MaterialSimpleColours, OpacityReplacesTheDiffuseAlphaAndOnlyMovingControllersUpdate) {
  MaterialSimple still;
  still.setDiffuseController(new Const<color>(color(1.0f, 0.5f, 0.25f, 0.75f)));
  still.setOpacityController(new Const<float>(0.25f));
  still.prepare();
  EXPECT_TRUE(still.isStatic);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Diffuse.g, 0.5f);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Diffuse.a, 0.25f);

  MaterialSimple fading;
  auto* opacity = new controller::Linear<float>;
  opacity->keys = {controller::LinearKey<float>(0, 1), controller::LinearKey<float>(10, 0)};
  fading.setOpacityController(opacity);
  fading.prepare();
  EXPECT_FALSE(fading.isStatic);
  fading.update(2.5f);
  EXPECT_FLOAT_EQ(fading.d3dMaterial.Diffuse.a, 0.75f);
  EXPECT_FLOAT_EQ(fading.d3dMaterial.Diffuse.r, 1.0f) << "a missing diffuse colour is the default white";
}

TEST(MaterialSimpleStages, AMaterialHoldsAtMostSevenStagesSetOrRead) {
  MaterialSimple material;
  TextureStage stage;
  material.setStage(MaterialSimple::kMaxStages - 1, &stage);
  material.setStage(MaterialSimple::kMaxStages, &stage);
  EXPECT_EQ(material.stageCount(), MaterialSimple::kMaxStages);
  EXPECT_EQ(material.stage(0), nullptr) << "the list grows with gaps";

  // A version 1 body of null controllers, an empty state mask, and eight null stages.
  tstest::FileBuilder file;
  file.header("MTSM", 0, 5 * 4 + 4 + 1 + 4 + 8 * 4);
  for (int word = 0; word < 6; ++word) file.u32(0);
  file.u8(0).u32(8);
  for (int word = 0; word < 8; ++word) file.u32(0);
  std::unique_ptr<MaterialSimple> loaded = tstest::loadAs<MaterialSimple>(file.bytes);
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(loaded->stageCount(), MaterialSimple::kMaxStages);
}

TEST(TextureStageMatrix, TilingScalesAboutTheCentreBehindTheFileMatrix) {
  const matrix aboutCentre(2, 0, 0, 0, 0, 2, 0, 0, -0.5f, 0.5f, 1, 0, 0, 0, 0, 1);
  TextureStage tiled;
  tiled.setControllers(constant(0), constant(0), constant(2), constant(2), constant(0), constant(0), constant(0));
  tiled.prepare();
  expectMatrixNear(tiled.states.textureMatrix, aboutCentre);
  EXPECT_EQ(tiled.states.transformCount, 2);

  TextureStage withFile;
  withFile.hasFileMatrix = true;
  withFile.fileMatrix = matrix(4, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  withFile.states.transformCount = 3;
  withFile.setControllers(constant(0), constant(0), constant(2), constant(2), constant(0), constant(0), constant(0));
  withFile.prepare();
  expectMatrixNear(withFile.states.textureMatrix, withFile.fileMatrix * aboutCentre);
  EXPECT_EQ(withFile.states.transformCount, 3) << "the file's transform flags stay";
}

TEST(TextureBitmapFileHostile, EmbeddedSizesPastTheBodyAreRefusedBeforeAllocation) {
  for (uint32_t size : {4u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
    SCOPED_TRACE(size);
    tstest::FileBuilder file;
    file.header("TXBF", 0, 11).u32(TextureBitmapFile::kFlagEmbedded).u32(size).u8(1).u8(2).u8(3);
    tstest::expectRefused(file.bytes, "");
  }
}

}  // namespace

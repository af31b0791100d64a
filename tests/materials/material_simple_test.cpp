#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "io/stream_memory.h"
#include "materials/material_simple.h"
#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "tests/materials/material_support.h"

// MTSM on streams (versions 0 to 2, the stage limit, hostile bodies), static detection and the
// stage list, without a device.
namespace {

using ts3d::MaterialSimple;
using ts3d::TextureStage;
using ts3d::color;
using ts3d::controller::Const;
using ts3d::controller::Linear;
using ts3d::controller::LinearKey;
using tstest::Bytes;

// Four colour constants of 28 bytes (header and four floats), then the power of 16.
constexpr size_t kOpacityWordAt = tstest::kRootBodyAt + 4 * 28 + 16;

void setColours(MaterialSimple& material) {
  material.setDiffuseController(new Const<color>(color(1.0f, 0.5f, 0.25f, 0.75f)));
  material.setAmbientController(new Const<color>(color(0.1f, 0.2f, 0.3f, 1.0f)));
  material.setSpecularController(new Const<color>(color(0.0f, 1.0f, 0.0f, 1.0f)));
  material.setEmissiveController(new Const<color>(color(0.0f, 0.0f, 0.5f, 1.0f)));
  material.setPowerController(new Const<float>(8.0f));
}

class MaterialSimpleTest : public tstest::MaterialChunkTest {};

TEST_F(MaterialSimpleTest, RoundTripOfVersionTwoKeepsEveryField) {
  MaterialSimple material;
  setColours(material);
  material.setOpacityController(new Const<float>(0.5f));
  material.renderStates().lighting = false;
  material.renderStates().cullMode = ts3d::CullNone;
  material.setOrder(3);
  TextureStage first, second;
  first.states = ts3d::TextureStageStateBlock::modulate();
  second.states.texCoordIndex = 1;
  material.setStage(0, &first);
  material.setStage(1, &second);
  EXPECT_EQ(material.controllers.size(), 6u);

  std::unique_ptr<MaterialSimple> back = tstest::roundTrip(material);
  ASSERT_NE(back, nullptr);
  ASSERT_NE(back->diffuseController, nullptr);
  EXPECT_FLOAT_EQ(back->diffuseController->value.g, 0.5f);
  EXPECT_FLOAT_EQ(back->ambientController->value.b, 0.3f);
  EXPECT_FLOAT_EQ(back->specularController->value.g, 1.0f);
  EXPECT_FLOAT_EQ(back->emissiveController->value.b, 0.5f);
  EXPECT_FLOAT_EQ(back->powerController->value, 8.0f);
  ASSERT_NE(back->opacityController, nullptr);
  EXPECT_FLOAT_EQ(back->opacityController->value, 0.5f);
  EXPECT_EQ(back->controllers.size(), 6u);
  EXPECT_FALSE(back->renderStates().lighting);
  EXPECT_EQ(back->renderStates().cullMode, ts3d::CullNone);
  EXPECT_EQ(back->order(), 3);
  EXPECT_FALSE(back->isComposite());
  EXPECT_EQ(back->beginPasses(5), 1u);
  ASSERT_EQ(back->stageCount(), 2u);
  ASSERT_NE(back->stage(0), nullptr);
  EXPECT_EQ(back->stage(0)->states.colorOp, ts3d::TextureModulate);
  EXPECT_EQ(back->stage(1)->states.texCoordIndex, 1);
  EXPECT_EQ(back->stage(2), nullptr);
}

TEST_F(MaterialSimpleTest, VersionsZeroAndOneHaveNoOpacityAndAboveTwoIsRefused) {
  MaterialSimple material;
  setColours(material);
  material.renderStates().alphaBlendEnable = true;
  material.setOrder(4);
  TextureStage only;
  only.states.texCoordIndex = 2;
  material.setStage(0, &only);
  const Bytes file = tstest::storeToBytes(&material, 0);
  ASSERT_EQ(tstest::wordAt(file, kOpacityWordAt), 0u) << "the null opacity reference";

  for (uint16_t version : {0, 1}) {
    SCOPED_TRACE(version);
    std::unique_ptr<MaterialSimple> back =
        tstest::loadAs<MaterialSimple>(tstest::olderRoot(file, version, kOpacityWordAt, 4));
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->opacityController, nullptr);
    // The render states stood where the opacity would: everything behind reads in step.
    EXPECT_TRUE(back->renderStates().alphaBlendEnable);
    EXPECT_EQ(back->order(), 4);
    ASSERT_EQ(back->stageCount(), 1u);
    EXPECT_EQ(back->stage(0)->states.texCoordIndex, 2);
    back->prepare();
    EXPECT_FLOAT_EQ(back->d3dMaterial.Diffuse.a, 0.75f) << "alpha from the diffuse controller";
  }
  // A later version is left unread.
  std::unique_ptr<MaterialSimple> later = tstest::loadAs<MaterialSimple>(tstest::withRootVersion(file, 3));
  ASSERT_NE(later, nullptr);
  EXPECT_EQ(later->diffuseController, nullptr);
  EXPECT_EQ(later->stageCount(), 0u);
  EXPECT_EQ(later->order(), 0);

  // So is a nested stage of a later version, and the stage behind it reads in step.
  MaterialSimple two;
  TextureStage first, second;
  first.states.texCoordIndex = 3;
  second.states.texCoordIndex = 5;
  two.setStage(0, &first);
  two.setStage(1, &second);
  Bytes nested = tstest::storeToBytes(&two, 0);
  const size_t stageBytes = 12 + 4 + 79 + 7 * 4 + 1;
  const size_t firstStageAt = nested.size() - 2 * stageBytes;
  ASSERT_EQ(nested[firstStageAt], 'T');
  nested[firstStageAt + 4] = 3;
  std::unique_ptr<MaterialSimple> mixed = tstest::loadAs<MaterialSimple>(nested);
  ASSERT_NE(mixed, nullptr);
  ASSERT_EQ(mixed->stageCount(), 2u);
  EXPECT_EQ(mixed->stage(0)->states.texCoordIndex, 0);
  EXPECT_EQ(mixed->stage(1)->states.texCoordIndex, 5);
}

TEST_F(MaterialSimpleTest, ConstantControllersMakeAStaticMaterialButMovingOpacityDoesNot) {
  MaterialSimple still;
  setColours(still);
  still.prepare();
  EXPECT_TRUE(still.isStatic);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Diffuse.r, 1.0f);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Diffuse.a, 0.75f);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Ambient.g, 0.2f);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Specular.g, 1.0f);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Emissive.b, 0.5f);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Power, 8.0f);
  // A static material doesn't touch its device material again.
  still.diffuseController->value = color(0, 0, 0, 0);
  still.update(2.0f);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Diffuse.r, 1.0f);

  MaterialSimple fading;
  setColours(fading);
  auto* opacity = new Linear<float>;
  opacity->keys = {LinearKey<float>(0.0f, 1.0f), LinearKey<float>(10.0f, 0.0f)};
  fading.setOpacityController(opacity);
  fading.prepare();
  EXPECT_FALSE(fading.isStatic);
  fading.update(2.5f);
  EXPECT_FLOAT_EQ(fading.d3dMaterial.Diffuse.a, 0.75f) << "opacity replaces the diffuse alpha";
  EXPECT_FLOAT_EQ(fading.d3dMaterial.Diffuse.g, 0.5f);
  fading.update(10.0f);
  EXPECT_FLOAT_EQ(fading.d3dMaterial.Diffuse.a, 0.0f);

  // A constant opacity keeps the material static.
  MaterialSimple fixedOpacity;
  setColours(fixedOpacity);
  fixedOpacity.setOpacityController(new Const<float>(0.25f));
  fixedOpacity.prepare();
  EXPECT_TRUE(fixedOpacity.isStatic);
  EXPECT_FLOAT_EQ(fixedOpacity.d3dMaterial.Diffuse.a, 0.25f);
}

TEST_F(MaterialSimpleTest, MissingMandatoryControllersTakeTheDefaultMaterialsValues) {
  MaterialSimple bare;
  bare.prepare();
  bare.update(1.0f);
  EXPECT_TRUE(bare.isStatic);
  EXPECT_FLOAT_EQ(bare.d3dMaterial.Diffuse.r, 1.0f);
  EXPECT_FLOAT_EQ(bare.d3dMaterial.Diffuse.a, 1.0f);
  EXPECT_FLOAT_EQ(bare.d3dMaterial.Ambient.r, 0.0f);
  EXPECT_FLOAT_EQ(bare.d3dMaterial.Emissive.g, 0.0f);
  EXPECT_FLOAT_EQ(bare.d3dMaterial.Power, 0.0f);

  // The same from a file whose references are all null.
  MaterialSimple empty;
  std::unique_ptr<MaterialSimple> back = tstest::roundTrip(empty);
  ASSERT_NE(back, nullptr);
  back->setAmbientController(new Const<color>(color(0.5f, 0.5f, 0.5f, 1.0f)));
  back->prepare();
  EXPECT_FLOAT_EQ(back->d3dMaterial.Diffuse.g, 1.0f);
  EXPECT_FLOAT_EQ(back->d3dMaterial.Ambient.g, 0.5f);
}

TEST_F(MaterialSimpleTest, StageListGrowsWithNullsAndRefusesTheEighthStage) {
  MaterialSimple material;
  TextureStage stage;
  material.setStage(3, &stage);
  ASSERT_EQ(material.stageCount(), 4u);
  for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(material.stage(i), nullptr);
  EXPECT_EQ(material.stage(3), &stage);
  EXPECT_EQ(material.stageTexture(1), nullptr);
  EXPECT_EQ(material.stageTexture(3), nullptr);
  EXPECT_EQ(material.stageTexture(9), nullptr);
  EXPECT_EQ(material.stage(9), nullptr);

  tstest::RecordingTracer tracer;
  TextureStage last;
  material.setStage(6, &last);
  EXPECT_EQ(material.stageCount(), 7u);
  EXPECT_EQ(tracer.messages.size(), 0u);
  material.setStage(7, &last);
  material.setStage(100, &last);
  EXPECT_EQ(material.stageCount(), 7u);
  ASSERT_EQ(tracer.count('l'), 2u);
  EXPECT_NE(tracer.texts('l')[0].find("stage 7 refused"), std::string::npos) << tracer.texts('l')[0];

  // Gaps survive a round trip as null references, and prepare and update step over them.
  std::unique_ptr<MaterialSimple> back = tstest::roundTrip(material);
  ASSERT_NE(back, nullptr);
  ASSERT_EQ(back->stageCount(), 7u);
  EXPECT_EQ(back->stage(0), nullptr);
  EXPECT_NE(back->stage(3), nullptr);
  EXPECT_NE(back->stage(6), nullptr);
  back->prepare();
  back->update(1.0f);
}

TEST_F(MaterialSimpleTest, ReplacingAControllerDeletesTheOldOne) {
  using CountedFloat = tstest::Counted<float>;
  const int live = CountedFloat::live;
  MaterialSimple material;
  material.setPowerController(new CountedFloat(1.0f));
  material.setOpacityController(new CountedFloat(1.0f));
  EXPECT_EQ(CountedFloat::live, live + 2);
  EXPECT_EQ(material.controllers.size(), 2u);
  material.setPowerController(new Const<float>(2.0f));
  material.setOpacityController(nullptr);
  EXPECT_EQ(CountedFloat::live, live);
  EXPECT_EQ(material.controllers.size(), 1u);
  EXPECT_EQ(material.opacityController, nullptr);
}

}  // namespace

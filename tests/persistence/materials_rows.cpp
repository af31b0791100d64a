#include <memory>

#include "materials/material_composite.h"
#include "materials/material_fx.h"
#include "materials/material_simple.h"
#include "materials/texture_bitmap_file.h"
#include "materials/texture_cubemap_file.h"
#include "materials/texture_stage.h"
#include "scene/controller/const.h"
#include "tests/materials/state_samples.h"
#include "tests/persistence/contract.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

namespace tstest {
namespace {

using namespace ts3d;
using controller::Const;

tsio::Serializable* sampleMaterial() {
  auto* material = new MaterialSimple;
  material->setDiffuseController(new Const<color>(color(1, 0, 0, 0)));
  material->setAmbientController(new Const<color>(color(0, 1, 0, 0)));
  material->setSpecularController(new Const<color>(color(0, 0, 1, 0)));
  material->setEmissiveController(new Const<color>(color(0, 0, 0, 1)));
  material->setPowerController(new Const<float>(2.0f));
  material->setOpacityController(new Const<float>(0.5f));
  material->setRenderStates(everyRenderStateChanged());
  material->setOrder(3);
  material->setStage(0, nullptr);  // a stage object would be unowned: the file's root keeps it
  return material;
}

tsio::Serializable* sampleStage() {
  auto* stage = new TextureStage;
  stage->states = everyStageStateChanged();
  stage->hasFileMatrix = true;
  stage->fileMatrix = stage->states.textureMatrix;
  stage->setControllers(new Const<float>(0.5f), new Const<float>(0.25f), new Const<float>(2.0f),
                        new Const<float>(4.0f), new Const<float>(1.0f), new Const<float>(3.0f),
                        new Const<float>(-1.0f));
  stage->mappingMode = 1;
  return stage;
}

tsio::Serializable* bitmapFile(bool embedded) {
  auto* texture = new TextureBitmapFile("a.png", 2);
  texture->asNormalMap = true;
  if (embedded) texture->fileData = {1, 2, 3};
  return texture;
}

// Its base is itself: a reference word, with nothing left unowned by a file of one object.
tsio::Serializable* sampleEffect() {
  auto* material = new MaterialFX;
  material->fileName = "a.fx";
  material->baseMaterial = material;
  return material;
}

// Itself as its first sub-material beside a null one: all a file of one object can point at.
tsio::Serializable* sampleComposite() {
  auto* material = new MaterialComposite;
  material->subMaterials = {material, nullptr};
  material->idToIndex = {{7, 0}, {3, 1}};
  return material;
}

// Diffuse, ambient, specular and emissive as colour constants, then the power of 2.
const std::string kMaterialColours =
    "4343434F 0100 0100 10000000 | 0000803F 00000000 00000000 00000000 |"
    "4343434F 0100 0200 10000000 | 00000000 0000803F 00000000 00000000 |"
    "4343434F 0100 0300 10000000 | 00000000 00000000 0000803F 00000000 |"
    "4343434F 0100 0400 10000000 | 00000000 00000000 00000000 0000803F |"
    "4343464C 0100 0500 04000000 | 00000040 |";
// The render states by group (blending, depth, rasteriser, lighting, vertex blending,
// stencil), the order, and one null stage.
const std::string kMaterialTail =
    "3F000000 | 01 05 04 01 06 80 07000000 | 00 01 | 02 01 01 | 00 01 01 01 | 01 03 01 |"
    "01 01 02 03 02 F0000000 0F000000 05000000 01 04 05 06 04 | 03 | 01000000 00000000";
// No texture, then the stage states: operations and arguments, addressing, filters, the
// coordinate index, the transform count, projected and the matrix.
const std::string kStageStates =
    "00000000 | 04 03 04 06 05 06 | 01 02 03 | 02 03 01 | 01 02 01 |"
    "00000040 00000000 00000000 00000000 00000000 00004040 00000000 00000000 |"
    "00000000 00000000 0000803F 00000000 0000803E 0000003F 00000000 0000803F |";
// Offset U, V, tiling U, V, angle U, V, W.
const std::string kStageControllers =
    "4343464C 0100 0100 04000000 0000003F | 4343464C 0100 0200 04000000 0000803E |"
    "4343464C 0100 0300 04000000 00000040 | 4343464C 0100 0400 04000000 00008040 |"
    "4343464C 0100 0500 04000000 0000803F | 4343464C 0100 0600 04000000 00004040 |"
    "4343464C 0100 0700 04000000 000080BF |";

const ChunkCase kMaterials[] = {
    chunkCase<MaterialSimple>("MaterialSimple", sampleMaterial,
                              "4E4F4E45 | 4D54534D 0200 0000 C9000000 |" + kMaterialColours +
                                  "4343464C 0100 0600 04000000 | 0000003F |" + kMaterialTail,
                              0, 2),
    chunkCase<TextureStage>("TextureStage", sampleStage,
                            "4E4F4E45 | 54535F5F 0200 0000 C4000000 |" + kStageStates + kStageControllers + "01", 0,
                            2),
    chunkCase<TextureBitmapFile>(
        "TextureBitmapFileByName", [] { return bitmapFile(false); },
        "4E4F4E45 | 54584246 0100 0000 0A000000 | 02000000 | 612E706E6700", 1, 1),
    chunkCase<TextureBitmapFile>(
        "TextureBitmapFileEmbedded", [] { return bitmapFile(true); },
        "4E4F4E45 | 54584246 0100 0000 0B000000 | 03000000 | 03000000 | 010203", 1, 1),
    chunkCase<TextureCubemapFile>(
        "CubeTextureByName",
        [] {
          auto* cube = new TextureCubemapFile;
          cube->fileNames = {{0, "c.dds"}, {1, "1"}, {2, "2"}, {3, "3"}, {4, "4"}, {5, "5"}, {6, "6"}};
          return cube;
        },
        "4E4F4E45 | 54584346 0100 0000 16000000 | 03000000 | 632E64647300 | 3100 3200 3300 3400 3500 3600", 1, 1),
    chunkCase<TextureCubemapFile>(
        "CubeTextureEmbedded",
        [] {
          auto* cube = new TextureCubemapFile;
          for (int32_t key = 1; key <= 6; ++key) cube->fileData[key] = {static_cast<uint8_t>(key)};
          return cube;
        },
        "4E4F4E45 | 54584346 0100 0000 22000000 | 06000000 | 01000000 01 | 01000000 02 | 01000000 03 |"
        "01000000 04 | 01000000 05 | 01000000 06",
        1, 1),
    chunkCase<MaterialFX>("MaterialFX", sampleEffect, "4E4F4E45 | 4D544658 0100 0000 09000000 | 612E667800 | 00000080",
                          0, kAnyVersion),
    chunkCase<MaterialComposite>(
        "MaterialComposite", sampleComposite,
        "4E4F4E45 | 4D544350 0200 0000 20000000 | 02000000 00000080 00000000 | 02000000 03000000 01000000 |"
        "07000000 00000000",
        1, 2),
};

INSTANTIATE_TEST_SUITE_P(Materials, ChunkContract, testing::ValuesIn(kMaterials), CaseName());

// Before version 2 a material had no opacity, a stage no mapping mode and a composite no id
// table: such chunks load, and store as the current version with those fields empty.
TEST(MaterialsOlderLayouts, LoadAndStoreAsTheCurrentVersion) {
  const struct {
    std::string older, current;
  } rows[] = {
      {"4E4F4E45 | 4D54534D 0000 0000 B9000000 |" + kMaterialColours + kMaterialTail,
       "4E4F4E45 | 4D54534D 0200 0000 BD000000 |" + kMaterialColours + "00000000 |" + kMaterialTail},
      {"4E4F4E45 | 54535F5F 0100 0000 C3000000 |" + kStageStates + kStageControllers,
       "4E4F4E45 | 54535F5F 0200 0000 C4000000 |" + kStageStates + kStageControllers + "00"},
      {"4E4F4E45 | 4D544350 0100 0000 08000000 | 01000000 00000000",
       "4E4F4E45 | 4D544350 0200 0000 0C000000 | 01000000 00000000 | 00000000"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.older.substr(0, 20));
    expectDescribed(hexBytes(row.older));
    RecordingTracer tracer;
    std::unique_ptr<tsio::Serializable> loaded(loadFromBytes(hexBytes(row.older)));
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(hexOf(storeToBytes(loaded.get(), 0)), hexOf(hexBytes(row.current)));
  }
}

}  // namespace
}  // namespace tstest

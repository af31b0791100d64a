#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "geometry/geometry_simple.h"
#include "materials/material_simple.h"
#include "materials/texture_bitmap_file.h"
#include "materials/texture_stage.h"
#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "tests/context/context_fixture.h"
#include "tests/controller/support.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/support/heap_count.h"
#include "tests/support/recording_tracer.h"

// Materials, stages and bitmap textures: pixels of a full-screen quad drawn through a Context,
// what a pass sends to the device, and the rules that need no device.
namespace {

using namespace ts3d;
using controller::Const;
using tstest::Bytes;
using tstest::DeviceCall;
using tstest::DeviceCallKind;

// A 4 x 2 image: red, green, blue, white on top; yellow, cyan, magenta, black below.
constexpr int kImageWidth = 4, kImageHeight = 2;
const uint8_t kTexels[kImageHeight][kImageWidth][3] = {
    {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}},
    {{255, 255, 0}, {0, 255, 255}, {255, 0, 255}, {0, 0, 0}},
};
const uint8_t* const kRgb = &kTexels[0][0][0];

Bytes ddsImage() {
  Bytes file = tstest::ddsFile(tstest::ddsMasks(kImageWidth, kImageHeight, 32, 0xff0000, 0xff00, 0xff, 0));
  for (const auto& row : kTexels)
    for (const auto& texel : row) tstest::appendLe32(&file, 0xff000000u | texel[0] << 16 | texel[1] << 8 | texel[2]);
  return file;
}

Bytes pngImage() { return tstest::encodePng(kImageWidth, kImageHeight, 3, kRgb); }

controller::ControllerBase<float>* constant(float value) { return new Const<float>(value); }

// A file on disk for the length of a test.
struct TempFile {
  TempFile(std::string fileName, const Bytes& contents) : name(std::move(fileName)) {
    std::ofstream(name, std::ios::binary).write(reinterpret_cast<const char*>(contents.data()), contents.size());
  }
  ~TempFile() { std::remove(name.c_str()); }
  const std::string name;
};

class MaterialDeviceTest : public tstest::ContextTest {
 protected:
  void SetUp() override {
    ContextTest::SetUp();
    if (HasFatalFailure()) return;
    useIdentityTransforms();
    context->setClearColor(color(0.5f, 0.5f, 0.5f, 1.0f));
  }

  // A quad from x = -1 to right, the whole height, facing -z, with the image's corners on
  // its corners: texel column c covers a quarter of the screen's width.
  static std::unique_ptr<GeometrySimple> quad(float right = 1.0f) {
    auto g = std::make_unique<GeometrySimple>();
    g->positions = {vect3(-1, 1, 0.5f), vect3(right, 1, 0.5f), vect3(-1, -1, 0.5f), vect3(right, -1, 0.5f)};
    g->normals.assign(4, vect3(0, 0, -1));
    g->textureChannels.push_back(TextureChannel{{{0, 0}, {1, 0}, {0, 1}, {1, 1}}});
    g->faces = {Face{{0, 1, 2}}, Face{{2, 1, 3}}};
    g->createResources();
    return g;
  }

  // Unlit, unculled, one stage showing the texture.
  static void makeTextured(MaterialSimple& material, TextureStage& stage, Texture* texture) {
    material.renderStates().lighting = false;
    material.renderStates().cullMode = CullNone;
    stage.texture = texture;
    stage.states = TextureStageStateBlock::modulate();
    material.setStage(0, &stage);
    material.prepare();
  }

  void drawFrame(Material& material, Geometry& g) {
    context->beginScene();
    context->clear(Context::ClearAll, true);
    material.applyPass(0);
    g.draw();
    context->endScene();
    readTarget();
  }

  bool expectPixel(unsigned int x, unsigned int y, int r, int g, int b, int tolerance = 3) {
    const bool ok = tstest::pixelNear(rgbAt(x, y), r, g, b, tolerance);
    if (!ok) ADD_FAILURE() << "pixel (" << x << ", " << y << ") is " << std::hex << rgbAt(x, y);
    return ok;
  }

  // Each texel's colour at the centre of its screen rectangle, shifted by columns.
  void expectTheImage(int tolerance = 3, int shift = 0) {
    for (int row = 0; row < kImageHeight; ++row)
      for (int column = 0; column < kImageWidth; ++column) {
        const uint8_t* texel = kTexels[row][(column + kImageWidth - shift) % kImageWidth];
        expectPixel(80 + 160 * column, 120 + 240 * row, texel[0], texel[1], texel[2], tolerance);
      }
  }
};

TEST_F(MaterialDeviceTest, AStageHoldingABitmapOfEachFileFormatShowsItsTexels) {
  const Bytes bmp = tstest::encodeBmp(kImageWidth, kImageHeight, 3, kRgb);
  const struct {
    const char* extension;
    Bytes contents;
    int tolerance;
  } images[] = {{"bmp", bmp, 3},
                {"dds", ddsImage(), 3},
                {"dib", bmp, 3},
                {"jpg", tstest::jpegFile(), 16},
                {"png", pngImage(), 3},
                {"tga", tstest::encodeTga(kImageWidth, kImageHeight, 3, kRgb, false), 3}};
  const std::unique_ptr<GeometrySimple> g = quad();
  for (const auto& image : images) {
    SCOPED_TRACE(image.extension);
    TempFile file(std::string("mat_quad.") + image.extension, image.contents);
    TextureBitmapFile texture(file.name, 0);
    texture.createResources();
    ASSERT_NE(texture.d3dTexture(), nullptr);
    MaterialSimple material;
    TextureStage stage;
    makeTextured(material, stage, &texture);
    drawFrame(material, *g);
    expectTheImage(image.tolerance);
  }
}

TEST_F(MaterialDeviceTest, AnAnimatedOffsetOfEmbeddedBytesMovesTheTexture) {
  TextureBitmapFile texture;
  texture.fileData = pngImage();
  texture.createResources();
  MaterialSimple material;
  TextureStage stage;
  auto* offsetU = new controller::Linear<float>;
  offsetU->keys = {controller::LinearKey<float>(0, 0), controller::LinearKey<float>(10, 0.25f)};
  stage.setControllers(offsetU, constant(0), constant(1), constant(1), constant(0), constant(0), constant(0));
  makeTextured(material, stage, &texture);
  const std::unique_ptr<GeometrySimple> g = quad();
  material.update(0);
  drawFrame(material, *g);
  expectTheImage();
  // An offset of a quarter shifts the image one column to the right, wrapping.
  material.update(10);
  drawFrame(material, *g);
  expectTheImage(3, 1);
}

TEST_F(MaterialDeviceTest, ALitMaterialsDiffuseColourReachesThePixels) {
  MaterialSimple material;
  material.renderStates().cullMode = CullNone;
  material.setDiffuseController(new Const<color>(color(1.0f, 0.5f, 0.0f, 1.0f)));
  material.prepare();
  context->setAmbient(color(0, 0, 0, 0));
  D3DLIGHT9 light = {};
  light.Type = D3DLIGHT_DIRECTIONAL;
  light.Diffuse = {1.0f, 1.0f, 1.0f, 1.0f};
  light.Direction = {0.0f, 0.0f, 1.0f};
  context->addLight(&light);
  drawFrame(material, *quad(0.0f));
  expectPixel(160, 240, 255, 128, 0);
  expectPixel(480, 240, 128, 128, 128);
}

TEST_F(MaterialDeviceTest, AMissingFileGivesANullTextureAndTheQuadStillDraws) {
  TextureBitmapFile texture("mat_no_such_image.png", 0);
  texture.createResources();
  EXPECT_EQ(texture.d3dTexture(), nullptr);
  MaterialSimple material;
  TextureStage stage;
  makeTextured(material, stage, &texture);
  drawFrame(material, *quad(0.0f));
  EXPECT_FALSE(tstest::pixelNear(rgbAt(160, 240), 128, 128, 128, 8)) << std::hex << rgbAt(160, 240);
}

TEST_F(MaterialDeviceTest, PassesResetOrCloseTheStageCascade) {
  // Stages 1 to 3 hold something that a material must end or leave alone.
  const TextureStageStateBlock on = TextureStageStateBlock::modulate();
  for (uint32_t s = 1; s <= 3; ++s) context->applyStageState(s, on);
  MaterialSimple bare;
  bare.prepare();
  bare.applyPass(0);
  EXPECT_EQ(context->currentStageState[0].colorArg1, ArgCurrent) << "no stages: stage 0 passes the diffuse colour";
  EXPECT_EQ(context->currentStageState[1].colorOp, TextureDisable);

  MaterialSimple two;
  TextureStage first, second;
  first.states = second.states = on;
  two.setStage(0, &first);
  two.setStage(1, &second);
  two.prepare();
  proxy->clearLog();
  two.applyPass(0);
  const std::vector<DeviceCall> calls = proxy->callsOf(DeviceCallKind::SetTextureStageState);
  const DeviceCall closing = tstest::stageStateCall(2, D3DTSS_COLOROP, D3DTOP_DISABLE);
  EXPECT_NE(std::find(calls.begin(), calls.end(), closing), calls.end()) << "the stage behind the last is closed";
  for (const DeviceCall& call : calls) EXPECT_LT(call.args[0], 3) << "stage 3 is left as it was";
  // A second pass of the same material sends nothing new: the shadow holds it all.
  proxy->clearLog();
  two.applyPass(0);
  EXPECT_EQ(proxy->count(DeviceCallKind::SetTextureStageState), 0u);
  EXPECT_EQ(proxy->count(DeviceCallKind::SetRenderState), 0u);
}

TEST_F(MaterialDeviceTest, TheNormalMapFlagConvertsTheLoadedImage) {
  // A flat grey image: every normal points straight out, (0, 0, 1) as (128, 128, 255).
  const std::vector<uint8_t> grey(8 * 8 * 3, 100);
  TempFile file("mat_height.png", tstest::encodePng(8, 8, 3, grey.data()));
  TextureBitmapFile texture(file.name, 0);
  texture.setAsNormalMap(true);
  texture.createResources();
  auto* normal = static_cast<IDirect3DTexture9*>(texture.d3dTexture());
  ASSERT_NE(normal, nullptr);
  EXPECT_EQ(normal->GetLevelCount(), 4u) << "a full mip chain";
  D3DLOCKED_RECT locked;
  ASSERT_TRUE(SUCCEEDED(normal->LockRect(0, &locked, nullptr, D3DLOCK_READONLY)));
  const uint32_t texel = static_cast<const uint32_t*>(locked.pBits)[9];
  normal->UnlockRect(0);
  EXPECT_TRUE(tstest::pixelNear(texel, 128, 128, 255, 2)) << std::hex << texel;
}

TEST(TextureBitmapFileEmbed, TakesTheFilesBytesOrWarnsWhenItIsMissing) {
  const Bytes contents = {'B', 'M', 1, 2, 3};
  TextureBitmapFile texture("mat_embed.bmp", 0), missing("mat_no_such_file.png", 0);
  TempFile file(texture.fileName, contents);
  tstest::RecordingTracer tracer;
  EXPECT_TRUE(texture.embed());
  EXPECT_EQ(texture.fileData, contents);
  EXPECT_FALSE(missing.embed());
  EXPECT_EQ(tracer.texts('w'), std::vector<std::string>{"texture \"mat_no_such_file.png\" not embeddable."});
}

TEST(MaterialSimpleColours, OpacityReplacesTheDiffuseAlphaAndOnlyMovingControllersUpdate) {
  MaterialSimple still;
  still.setOpacityController(new Const<float>(0.25f));
  still.prepare();
  EXPECT_TRUE(still.isStatic);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Diffuse.a, 0.25f);
  EXPECT_FLOAT_EQ(still.d3dMaterial.Diffuse.r, 1.0f) << "a missing diffuse colour is the default white";

  MaterialSimple fading;
  auto* opacity = new controller::Linear<float>;
  opacity->keys = {controller::LinearKey<float>(0, 1), controller::LinearKey<float>(10, 0)};
  fading.setOpacityController(opacity);
  fading.prepare();
  EXPECT_FALSE(fading.isStatic);
  fading.update(2.5f);
  EXPECT_FLOAT_EQ(fading.d3dMaterial.Diffuse.a, 0.75f);
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

TEST(TextureStageMatrix, TilingScalesAboutTheCentre) {
  const matrix aboutCentre(2, 0, 0, 0, 0, 2, 0, 0, -0.5f, 0.5f, 1, 0, 0, 0, 0, 1);
  TextureStage tiled;
  tiled.setControllers(constant(0), constant(0), constant(2), constant(2), constant(0), constant(0), constant(0));
  tiled.prepare();
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(tiled.states.textureMatrix[i], aboutCentre[i], 1e-5f) << i;
  EXPECT_EQ(tiled.states.transformCount, 2);
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

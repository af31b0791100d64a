#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "materials/material_simple.h"
#include "materials/texture_bitmap_file.h"
#include "materials/texture_stage.h"
#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "tests/context/context_fixture.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/materials/material_support.h"

// Materials, stages and bitmap textures on a real device behind the recording proxy: what a
// pass sends, and pixels of a full-screen quad drawn with a textured or lit material.
namespace {

using ts3d::GeometrySimple;
using ts3d::MaterialSimple;
using ts3d::TextureBitmapFile;
using ts3d::TextureStage;
using ts3d::color;
using ts3d::vect3;
using ts3d::controller::Const;
using ts3d::controller::ControllerBase;
using ts3d::controller::Linear;
using ts3d::controller::LinearKey;
using tstest::Bytes;
using tstest::DeviceCall;
using tstest::DeviceCallKind;

constexpr unsigned int kWidth = 640, kHeight = 480;

// A 4 x 2 image: columns red, green, blue, white on top; yellow, cyan, magenta, black below.
constexpr int kImageWidth = 4, kImageHeight = 2;
const uint8_t kTexels[kImageHeight][kImageWidth][3] = {
    {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}},
    {{255, 255, 0}, {0, 255, 255}, {255, 0, 255}, {0, 0, 0}},
};

std::vector<uint8_t> rgbTexels() {
  std::vector<uint8_t> rgb;
  for (const auto& row : kTexels)
    for (const auto& texel : row) rgb.insert(rgb.end(), texel, texel + 3);
  return rgb;
}

Bytes ddsImage() {
  Bytes file =
      tstest::ddsFile(tstest::ddsMasks(kImageWidth, kImageHeight, 32, 0x00ff0000, 0x0000ff00, 0x000000ff, 0));
  for (const auto& row : kTexels)
    for (const auto& texel : row) tstest::appendLe32(&file, 0xff000000u | texel[0] << 16 | texel[1] << 8 | texel[2]);
  return file;
}

struct ImageFile {
  const char* extension;
  Bytes contents;
  int tolerance;
};

std::vector<ImageFile> imagesOfEveryFormat() {
  const std::vector<uint8_t> rgb = rgbTexels();
  const Bytes bmp = tstest::encodeBmp(kImageWidth, kImageHeight, 3, rgb.data());
  return {
      {"bmp", bmp, 3},
      {"dds", ddsImage(), 3},
      {"dib", bmp, 3},
      {"jpg", tstest::jpegFile(), 16},
      {"png", tstest::encodePng(kImageWidth, kImageHeight, 3, rgb.data()), 3},
      {"tga", tstest::encodeTga(kImageWidth, kImageHeight, 3, rgb.data(), false), 3},
  };
}

ControllerBase<float>* constant(float value) { return new Const<float>(value); }

class MaterialDeviceTest : public tstest::ContextTest {
 protected:
  void SetUp() override {
    tstest::ContextTest::SetUp();
  }

  // Clip space is world space; the target cleared to grey.
  void setUpIdentityCamera() {
    useIdentityTransforms();
    context->setClearColor(color(0.5f, 0.5f, 0.5f, 1.0f));
  }

  // A quad from x = -1 to right, the whole height, facing -z, with the image's corners on its
  // corners: texel column c covers a quarter of the screen's width.
  static GeometrySimple* quad(float right = 1.0f) {
    auto* g = new GeometrySimple;
    g->positions = {vect3(-1, 1, 0.5f), vect3(right, 1, 0.5f), vect3(-1, -1, 0.5f), vect3(right, -1, 0.5f)};
    g->normals.assign(4, vect3(0, 0, -1));
    g->textureChannels.push_back(ts3d::TextureChannel{{{0, 0}, {1, 0}, {0, 1}, {1, 1}}});
    g->faces = {tstest::face(0, 1, 2), tstest::face(2, 1, 3)};
    g->createResources();
    return g;
  }

  // Unlit, no culling, one stage showing the texture.
  static void makeTextured(MaterialSimple& material, TextureStage& stage, ts3d::Texture* texture) {
    material.renderStates().lighting = false;
    material.renderStates().cullMode = ts3d::CullNone;
    stage.texture = texture;
    stage.states = ts3d::TextureStageStateBlock::modulate();
    material.setStage(0, &stage);
    material.prepare();
  }

  std::vector<uint32_t> drawFrame(ts3d::Material& material, ts3d::Geometry& g) {
    context->beginScene();
    context->clear(7, true);
    const uint32_t passes = material.beginPasses(0);
    for (uint32_t pass = 0; pass < passes; ++pass) {
      material.applyPass(pass);
      g.draw();
    }
    material.endPasses();
    context->endScene();
    return readTarget(context->currentTarget->surface.get());
  }

  static uint32_t at(const std::vector<uint32_t>& pixels, unsigned int x, unsigned int y) {
    return pixels[static_cast<size_t>(y) * kWidth + x];
  }

  static void saveOnFailure(bool ok, const std::vector<uint32_t>& pixels, const std::string& name) {
    if (!ok) tstest::saveFailedFrame(pixels, kWidth, kHeight, name);
  }

  // Each texel's colour at the centre of its screen rectangle.
  static bool showsTheImage(const std::vector<uint32_t>& pixels, int tolerance, std::string* report) {
    bool ok = pixels.size() == static_cast<size_t>(kWidth) * kHeight;
    for (int row = 0; ok && row < kImageHeight; ++row)
      for (int column = 0; column < kImageWidth; ++column) {
        const unsigned int x = 80 + 160 * column, y = 120 + 240 * row;
        const uint8_t* texel = kTexels[row][column];
        if (!tstest::pixelNear(at(pixels, x, y), texel[0], texel[1], texel[2], tolerance)) {
          ok = false;
          char line[80];
          std::snprintf(line, sizeof line, "(%u, %u) is %08x ", x, y, at(pixels, x, y));
          *report += line;
        }
      }
    return ok;
  }
};

TEST_F(MaterialDeviceTest, AStageHoldingABitmapOfEachFileFormatShowsItsTexels) {
  setUpIdentityCamera();
  std::unique_ptr<GeometrySimple> g(quad());
  for (const ImageFile& image : imagesOfEveryFormat()) {
    SCOPED_TRACE(image.extension);
    tstest::TempFile file(std::string("mat_quad.") + image.extension, image.contents);
    TextureBitmapFile texture(file.name, 0);
    texture.createResources();
    ASSERT_NE(texture.d3dTexture(), nullptr);
    MaterialSimple material;
    TextureStage stage;
    makeTextured(material, stage, &texture);
    const std::vector<uint32_t> pixels = drawFrame(material, *g);
    std::string report;
    const bool ok = showsTheImage(pixels, image.tolerance, &report);
    saveOnFailure(ok, pixels, std::string("MaterialBitmap_") + image.extension);
    EXPECT_TRUE(ok) << report;
  }
}

TEST_F(MaterialDeviceTest, EmbeddedBytesDrawAfterTheFileIsGone) {
  setUpIdentityCamera();
  std::unique_ptr<GeometrySimple> g(quad());
  const std::vector<uint8_t> rgb = rgbTexels();
  TextureBitmapFile texture("mat_embedded.png", 0);
  {
    tstest::TempFile file(texture.fileName, tstest::encodePng(kImageWidth, kImageHeight, 3, rgb.data()));
    ASSERT_TRUE(texture.embed());
  }
  // Through a file: the reloaded texture has only the bytes.
  std::unique_ptr<TextureBitmapFile> back = tstest::roundTrip(texture);
  ASSERT_NE(back, nullptr);
  ASSERT_TRUE(back->fileName.empty());
  back->createResources();
  ASSERT_NE(back->d3dTexture(), nullptr);
  MaterialSimple material;
  TextureStage stage;
  makeTextured(material, stage, back.get());
  const std::vector<uint32_t> pixels = drawFrame(material, *g);
  std::string report;
  const bool ok = showsTheImage(pixels, 3, &report);
  saveOnFailure(ok, pixels, "MaterialEmbedded");
  EXPECT_TRUE(ok) << report;
}

TEST_F(MaterialDeviceTest, AnAnimatedOffsetMovesTheTextureAsPredicted) {
  setUpIdentityCamera();
  std::unique_ptr<GeometrySimple> g(quad());
  const std::vector<uint8_t> rgb = rgbTexels();
  TextureBitmapFile texture("", 0);
  texture.fileData = tstest::encodePng(kImageWidth, kImageHeight, 3, rgb.data());
  texture.createResources();
  MaterialSimple material;
  TextureStage stage;
  auto* offsetU = new Linear<float>;
  offsetU->keys = {LinearKey<float>(0.0f, 0.0f), LinearKey<float>(10.0f, 0.25f)};
  stage.setControllers(offsetU, constant(0), constant(1), constant(1), constant(0), constant(0), constant(0));
  makeTextured(material, stage, &texture);
  ASSERT_FALSE(stage.controllersConstant);

  material.update(0.0f);
  std::vector<uint32_t> pixels = drawFrame(material, *g);
  std::string report;
  bool ok = showsTheImage(pixels, 3, &report);
  saveOnFailure(ok, pixels, "MaterialOffset0");
  EXPECT_TRUE(ok) << report;

  // An offset of a quarter shifts u by -0.25: the first column shows the last texel column
  // (wrapping), the second the first.
  material.update(10.0f);
  EXPECT_EQ(stage.states.transformCount, 2);
  pixels = drawFrame(material, *g);
  ok = pixels.size() == static_cast<size_t>(kWidth) * kHeight &&
       tstest::pixelNear(at(pixels, 80, 120), 255, 255, 255) && tstest::pixelNear(at(pixels, 240, 120), 255, 0, 0) &&
       tstest::pixelNear(at(pixels, 400, 360), 0, 255, 255);
  saveOnFailure(ok, pixels, "MaterialOffset10");
  EXPECT_TRUE(ok) << std::hex << at(pixels, 80, 120) << " " << at(pixels, 240, 120) << " " << at(pixels, 400, 360);
}

TEST_F(MaterialDeviceTest, ALitMaterialsDiffuseColourReachesThePixels) {
  setUpIdentityCamera();
  std::unique_ptr<GeometrySimple> g(quad(0.0f));
  MaterialSimple material;
  material.renderStates().cullMode = ts3d::CullNone;
  material.setDiffuseController(new Const<color>(color(1.0f, 0.5f, 0.0f, 1.0f)));
  material.setAmbientController(new Const<color>(color(0, 0, 0, 1)));
  material.setSpecularController(new Const<color>(color(0, 0, 0, 1)));
  material.setEmissiveController(new Const<color>(color(0, 0, 0, 1)));
  material.setPowerController(constant(0));
  material.prepare();
  ASSERT_TRUE(material.renderStates().lighting);
  context->setAmbient(color(0, 0, 0, 0));
  D3DLIGHT9 light = {};
  light.Type = D3DLIGHT_DIRECTIONAL;
  light.Diffuse = {1.0f, 1.0f, 1.0f, 1.0f};
  light.Direction = {0.0f, 0.0f, 1.0f};
  context->addLight(&light);

  const std::vector<uint32_t> pixels = drawFrame(material, *g);
  const bool ok = pixels.size() == static_cast<size_t>(kWidth) * kHeight &&
                  tstest::pixelNear(at(pixels, 160, 240), 255, 128, 0) &&
                  tstest::pixelNear(at(pixels, 480, 240), 128, 128, 128);
  saveOnFailure(ok, pixels, "MaterialLit");
  EXPECT_TRUE(ok) << std::hex << at(pixels, 160, 240) << " " << at(pixels, 480, 240);
  context->clearLights();
}

TEST_F(MaterialDeviceTest, AMissingFileGivesANullTextureAndTheFrameStillDraws) {
  setUpIdentityCamera();
  std::unique_ptr<GeometrySimple> g(quad(0.0f));
  TextureBitmapFile texture("mat_no_such_image.png", 0);
  texture.createResources();
  EXPECT_EQ(texture.d3dTexture(), nullptr);
  MaterialSimple material;
  TextureStage stage;
  makeTextured(material, stage, &texture);
  context->setTexture(0, nullptr);
  proxy->clearLog();
  const std::vector<uint32_t> pixels = drawFrame(material, *g);
  ASSERT_EQ(pixels.size(), static_cast<size_t>(kWidth) * kHeight);
  // The stage binds the null texture and the quad is drawn over the clear colour.
  const std::vector<DeviceCall> textures = proxy->callsOf(DeviceCallKind::SetTexture);
  ASSERT_EQ(textures.size(), 1u);
  EXPECT_EQ(textures[0], tstest::textureCall(0, nullptr));
  EXPECT_EQ(proxy->count(DeviceCallKind::DrawIndexedPrimitive), 1u);
  const bool ok = tstest::pixelNear(at(pixels, 480, 240), 128, 128, 128) &&
                  !tstest::pixelNear(at(pixels, 160, 240), 128, 128, 128, 8);
  saveOnFailure(ok, pixels, "MaterialMissingFile");
  EXPECT_TRUE(ok) << std::hex << at(pixels, 160, 240) << " " << at(pixels, 480, 240);
}

TEST_F(MaterialDeviceTest, PassesResetOrCloseTheStageCascade) {
  // Stages 1 to 3 hold something that a material must end or leave alone.
  const ts3d::TextureStageStateBlock on = ts3d::TextureStageStateBlock::modulate();
  for (uint32_t s = 1; s <= 3; ++s) context->applyStageState(s, on);

  MaterialSimple bare;
  bare.prepare();
  proxy->clearLog();
  bare.applyPass(0);
  const std::vector<DeviceCall>& calls = proxy->calls();
  EXPECT_NE(std::find(calls.begin(), calls.end(), tstest::textureCall(0, nullptr)), calls.end());
  EXPECT_NE(std::find(calls.begin(), calls.end(), tstest::stageStateCall(1, D3DTSS_COLOROP, D3DTOP_DISABLE)),
            calls.end())
      << "zero stages reset the stages";
  EXPECT_EQ(context->currentStageState[2].colorOp, ts3d::TextureModulate);

  for (uint32_t s = 1; s <= 3; ++s) context->applyStageState(s, on);
  MaterialSimple two;
  TextureStage first, second;
  first.states = on;
  second.states = on;
  second.states.texCoordIndex = 1;
  two.setStage(0, &first);
  two.setStage(1, &second);
  two.prepare();
  proxy->clearLog();
  two.applyPass(0);
  const std::vector<DeviceCall> stageCalls = proxy->callsOf(DeviceCallKind::SetTextureStageState);
  EXPECT_NE(std::find(stageCalls.begin(), stageCalls.end(), tstest::stageStateCall(2, D3DTSS_COLOROP, D3DTOP_DISABLE)),
            stageCalls.end());
  EXPECT_NE(std::find(stageCalls.begin(), stageCalls.end(), tstest::stageStateCall(1, D3DTSS_TEXCOORDINDEX, 1)),
            stageCalls.end());
  for (const DeviceCall& call : stageCalls) EXPECT_LT(call.args[0], 3) << "stage 3 is left as it was";
  EXPECT_EQ(proxy->count(DeviceCallKind::SetTexture), 0u) << "stages without a texture bind nothing";
  EXPECT_EQ(context->currentStageState[2].colorOp, ts3d::TextureDisable);
  EXPECT_EQ(context->currentStageState[3].colorOp, ts3d::TextureModulate);

  // A second pass of the same material sends nothing new: the shadow holds it all.
  proxy->clearLog();
  two.applyPass(0);
  EXPECT_EQ(proxy->count(DeviceCallKind::SetTextureStageState), 0u);
  EXPECT_EQ(proxy->count(DeviceCallKind::SetRenderState), 0u);
}

TEST_F(MaterialDeviceTest, NormalMapFlagConvertsTheLoadedImage) {
  // A flat grey image: every normal points straight out, (0, 0, 1) as (128, 128, 255).
  std::vector<uint8_t> grey(8 * 8 * 3, 100);
  tstest::TempFile file("mat_height.png", tstest::encodePng(8, 8, 3, grey.data()));
  tstest::ByteWriter body;
  body.u32(TextureBitmapFile::kFlagNormalMap).text(file.name.c_str()).u8(0);
  std::unique_ptr<TextureBitmapFile> texture = tstest::loadAs<TextureBitmapFile>(tstest::fileOf("TXBF", 1, body.bytes));
  ASSERT_NE(texture, nullptr);
  ASSERT_TRUE(texture->asNormalMap);
  texture->createResources();
  auto* normal = static_cast<IDirect3DTexture9*>(texture->d3dTexture());
  ASSERT_NE(normal, nullptr);
  D3DSURFACE_DESC desc;
  ASSERT_TRUE(SUCCEEDED(normal->GetLevelDesc(0, &desc)));
  EXPECT_EQ(desc.Format, D3DFMT_A8R8G8B8);
  EXPECT_EQ(desc.Width, 8u);
  EXPECT_EQ(normal->GetLevelCount(), 4u) << "a full mip chain";
  D3DLOCKED_RECT locked;
  ASSERT_TRUE(SUCCEEDED(normal->LockRect(0, &locked, nullptr, D3DLOCK_READONLY)));
  const uint32_t texel = static_cast<const uint32_t*>(locked.pBits)[9];
  normal->UnlockRect(0);
  EXPECT_TRUE(tstest::pixelNear(texel, 128, 128, 255, 2)) << std::hex << texel;
}

TEST_F(MaterialDeviceTest, CameraReflectionModeTakesTheNegatedInverseViewWithoutTranslation) {
  ts3d::matrix view;
  D3DXMatrixRotationY(&view, 0.7f);
  view._41 = 3.0f;
  view._42 = -2.0f;
  view._43 = 5.0f;
  context->transforms.setView(view);
  TextureStage stage;
  stage.mappingMode = 1;
  stage.states.transformCount = 3;
  stage.setControllers(constant(0), constant(0), constant(2), constant(2), constant(0), constant(0), constant(0));
  stage.prepare();
  stage.update(1.0f);
  ts3d::matrix expected;
  D3DXMatrixInverse(&expected, nullptr, &view);
  for (int i = 0; i < 16; ++i) expected[i] = -expected[i];
  expected._41 = expected._42 = expected._43 = 0.0f;
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(stage.states.textureMatrix[i], expected[i], 1e-5f) << i;
  EXPECT_FLOAT_EQ(stage.states.textureMatrix._44, -1.0f);
  EXPECT_EQ(stage.states.transformCount, 2) << "prepare's tiling set it; the mode leaves it";
}

}  // namespace

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
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
#include "tests/gfxhelper/test_images.h"
#include "tests/support/recording_tracer.h"

// Materials, stages and bitmap textures drawing a full-screen quad through a Context: pixels,
// and what a pass sends to the device.
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
    std::FILE* file = std::fopen(name.c_str(), "wb");
    EXPECT_NE(file, nullptr) << name;
    if (!file) return;
    std::fwrite(contents.data(), 1, contents.size(), file);
    std::fclose(file);
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
  context->clearLights();
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
  expectPixel(480, 240, 128, 128, 128);
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
  EXPECT_EQ(context->currentStageState[2].colorOp, TextureModulate);

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

TEST_F(MaterialDeviceTest, CameraReflectionModeTakesTheNegatedInverseViewWithoutTranslation) {
  matrix view;
  D3DXMatrixRotationY(&view, 0.7f);
  view._41 = 3.0f;
  view._43 = 5.0f;
  context->transforms.setView(view);
  TextureStage stage;
  stage.mappingMode = 1;
  stage.prepare();
  stage.update(1.0f);
  matrix expected;
  D3DXMatrixInverse(&expected, nullptr, &view);
  for (int i = 0; i < 16; ++i) expected[i] = -expected[i];
  expected._41 = expected._42 = expected._43 = 0.0f;
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(stage.states.textureMatrix[i], expected[i], 1e-5f) << i;
}

TEST(TextureBitmapFileEmbed, ReadsTheFileOnceAndWarnsWhenItIsMissing) {
  const Bytes contents = {'B', 'M', 1, 2, 3};
  TextureBitmapFile texture("mat_embed_once.bmp", 0);
  tstest::RecordingTracer tracer;
  {
    TempFile file(texture.fileName, contents);
    EXPECT_TRUE(texture.embed());
  }
  EXPECT_TRUE(texture.embed()) << "the file is gone: the bytes are kept";
  EXPECT_EQ(texture.fileData, contents);
  TextureBitmapFile missing("mat_no_such_file.png", 0);
  EXPECT_FALSE(missing.embed());
  EXPECT_EQ(tracer.texts('w'), std::vector<std::string>{"texture \"mat_no_such_file.png\" not embeddable."});
}

}  // namespace

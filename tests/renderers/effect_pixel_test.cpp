#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "materials/material_fx.h"
#include "materials/material_simple.h"
#include "materials/texture_bitmap_file.h"
#include "materials/texture_stage.h"
#include "renderers/scene_renderer_multirender.h"
#include "scene/scene_hierarchy.h"
#include "tests/context/context_fixture.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/renderers/effect_sources.h"
#include "tests/support/recording_tracer.h"

// Effect materials and the renderer chain, on the device: what is drawn, where, and what the
// device is left with.
namespace {

using namespace ts3d;
using tstest::kPlacement;
using tstest::kTwoTechniques;

// Shows whatever stage 0 holds: the base material decides the texture.
const char* const kOverBase = R"(
technique overBase {
  pass P0 {
    CullMode = None;
    Lighting = false;
    VertexShader = NULL;
    PixelShader = NULL;
  }
}
)";

// Copies a texture into a rectangle of the current target, through clip space.
const char* const kCopy = R"(
texture Picture;
technique copy {
  pass P0 {
    Texture[0] = <Picture>;
    MinFilter[0] = Point;
    MagFilter[0] = Point;
    ColorOp[0] = SelectArg1;
    ColorArg1[0] = Texture;
    CullMode = None;
    ZEnable = false;
    VertexShader = asm {
      vs_1_1
      dcl_position v0
      dcl_texcoord0 v1
      mov oPos, v0
      mov oT0, v1
    };
    PixelShader = NULL;
  }
}
)";

class EffectPixels : public tstest::ContextTest {
 protected:
  // An effect material of that text, written to a file of the test's name, created.
  std::unique_ptr<MaterialFX> load(const std::string& text) {
    const std::string path = std::string(testing::UnitTest::GetInstance()->current_test_info()->name()) + ".fx";
    std::ofstream(path, std::ios::binary) << text;
    auto material = std::make_unique<MaterialFX>();
    material->fileName = path;
    material->createResources();
    return material;
  }

  // Clears to black and draws a screen triangle over the top left quarter with the
  // material's passes; gives the pixel at (40, 40), inside it.
  uint32_t drawTriangle(Material& material) {
    const struct {
      float x, y, z, rhw;
      DWORD colour;
      float u, v;
    } triangle[3] = {{0, 0, 0.5f, 1, 0xffffffff, 0, 0},
                     {320, 0, 0.5f, 1, 0xffffffff, 1, 0},
                     {0, 240, 0.5f, 1, 0xffffffff, 0, 1}};
    context->setClearColor(color(0, 0, 0, 1));
    context->beginScene();
    context->clear(Context::ClearAll, true);
    const uint32_t passes = material.beginPasses(0);
    for (uint32_t pass = 0; pass < passes; ++pass) {
      material.applyPass(pass);
      context->useFvf(D3DFVF_XYZRHW | D3DFVF_DIFFUSE | D3DFVF_TEX1);
      context->device->DrawPrimitiveUP(D3DPT_TRIANGLELIST, 1, triangle, sizeof triangle[0]);
    }
    material.endPasses();
    context->endScene();
    readTarget();
    return rgbAt(40, 40);
  }

  // The box around the lit pixels of the last frame: left, top, right, bottom.
  std::array<int, 4> litBox() const {
    std::array<int, 4> box{static_cast<int>(frameWidth), static_cast<int>(frameHeight), -1, -1};
    for (unsigned int y = 0; y < frameHeight; ++y) {
      for (unsigned int x = 0; x < frameWidth; ++x) {
        if (rgbAt(x, y) == 0) continue;
        box = {std::min(box[0], static_cast<int>(x)), std::min(box[1], static_cast<int>(y)),
               std::max(box[2], static_cast<int>(x)), std::max(box[3], static_cast<int>(y))};
      }
    }
    return box;
  }

  DWORD deviceState(D3DRENDERSTATETYPE state) {
    DWORD value = 0;
    proxy->real()->GetRenderState(state, &value);
    return value;
  }
};

TEST_F(EffectPixels, TheFirstValidTechniqueDrawsWithItsParameters) {
  const DWORD cullBefore = deviceState(D3DRS_CULLMODE), factorBefore = deviceState(D3DRS_TEXTUREFACTOR);
  auto material = load(kTwoTechniques);
  ASSERT_TRUE(material->isValid());
  EXPECT_TRUE(material->isTechnique("shaded"));
  EXPECT_TRUE(tstest::pixelNear(drawTriangle(*material), 0, 255, 0)) << std::hex << rgbAt(40, 40);

  // A known vector parameter reaches the shader; an unknown one is skipped and kept.
  material->setVectorParameter("Tint") = D3DXVECTOR4(0, 0, 1, 1);
  material->setVectorParameter("NoSuchParameter") = D3DXVECTOR4(1, 1, 1, 1);
  EXPECT_TRUE(tstest::pixelNear(drawTriangle(*material), 0, 0, 255)) << std::hex << rgbAt(40, 40);
  EXPECT_EQ(material->vectorParameters.count("NoSuchParameter"), 1u);
  EXPECT_FALSE(context->effectActive);

  // What the pass set is gone after End.
  IDirect3DPixelShader9* shader = nullptr;
  proxy->real()->GetPixelShader(&shader);
  EXPECT_EQ(shader, nullptr);
  EXPECT_EQ(deviceState(D3DRS_CULLMODE), cullBefore);

  // A first technique that can't be built leaves the second to draw.
  std::string broken = kTwoTechniques;
  broken.replace(broken.find("ps_2_0"), 6, "ps_2_7");
  auto fallback = load(broken);
  ASSERT_TRUE(fallback->isValid());
  EXPECT_TRUE(fallback->isTechnique("fixed"));
  EXPECT_TRUE(tstest::pixelNear(drawTriangle(*fallback), 255, 0, 0)) << std::hex << rgbAt(40, 40);
  EXPECT_EQ(deviceState(D3DRS_TEXTUREFACTOR), factorBefore);
}

TEST_F(EffectPixels, WorldViewProjectionPlacesAShadedObjectWhereThePipelineDoes) {
  auto material = load(kPlacement);
  ASSERT_TRUE(material->isValid());
  matrix world, view, projection;
  D3DXMatrixRotationYawPitchRoll(&world, 0.4f, 0.3f, 0.2f);
  world._41 = 0.5f;
  const D3DXVECTOR3 eye(1, 2, 6), at(0, 0, 0), up(0, 1, 0);
  D3DXMatrixLookAtRH(&view, &eye, &at, &up);
  D3DXMatrixPerspectiveFovRH(&projection, 0.8f, 4.0f / 3.0f, 1.0f, 50.0f);
  context->setWorldMatrix(world);
  context->transforms.setView(view);
  context->device->SetTransform(D3DTS_VIEW, &view);
  context->transforms.setProjection(projection);
  context->device->SetTransform(D3DTS_PROJECTION, &projection);

  const float triangle[3][3] = {{-1, -1, 0}, {1, -1, 0}, {0, 1.5f, 0}};
  std::array<int, 4> boxes[3];
  const char* techniques[3] = {"byShader", "byCompiler", "byPipeline"};
  for (int i = 0; i < 3; ++i) {
    material->setTechnique(techniques[i]);
    context->setClearColor(color(0, 0, 0, 1));
    context->beginScene();
    context->clear(Context::ClearAll, true);
    const uint32_t passes = material->beginPasses(0);
    ASSERT_EQ(passes, 1u);
    material->applyPass(0);
    MaterialFXModifier(material.get()).setupRender();
    context->useFvf(D3DFVF_XYZ);
    context->device->DrawPrimitiveUP(D3DPT_TRIANGLELIST, 1, triangle, sizeof triangle[0]);
    material->endPasses();
    context->endScene();
    readTarget();
    boxes[i] = litBox();
  }
  ASSERT_GE(boxes[2][2], boxes[2][0]) << "the pipeline drew nothing";
  for (int edge = 0; edge < 4; ++edge) {
    EXPECT_NEAR(boxes[0][edge], boxes[2][edge], 1) << "assembled, edge " << edge;
    EXPECT_NEAR(boxes[1][edge], boxes[2][edge], 1) << "compiled, edge " << edge;
  }
}

TEST_F(EffectPixels, TheBaseMaterialsStagesAreOnTheDeviceWhenTheEffectBegins) {
  const uint8_t red[4 * 4 * 3] = {255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0,
                                  255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0,
                                  255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0};
  const tstest::Bytes png = tstest::encodePng(4, 4, 3, red);
  std::ofstream("base.png", std::ios::binary).write(reinterpret_cast<const char*>(png.data()), png.size());
  TextureBitmapFile texture("base.png", 0);
  texture.createResources();
  TextureStage stage;
  stage.texture = &texture;
  stage.states = TextureStageStateBlock::modulate();
  MaterialSimple base;
  base.setStage(0, &stage);
  base.prepare();

  auto material = load(kOverBase);
  ASSERT_TRUE(material->isValid());
  EXPECT_TRUE(tstest::pixelNear(drawTriangle(*material), 255, 255, 255)) << "without a base, stage 0 is off";
  material->baseMaterial = &base;
  EXPECT_TRUE(tstest::pixelNear(drawTriangle(*material), 255, 0, 0)) << std::hex << rgbAt(40, 40);

  // Effect materials whose bases loop draw as if they had none.
  auto other = load(kOverBase);
  material->baseMaterial = other.get();
  other->baseMaterial = material.get();
  EXPECT_TRUE(tstest::pixelNear(drawTriangle(*material), 255, 255, 255)) << std::hex << rgbAt(40, 40);
}

TEST_F(EffectPixels, TheBuiltInSourcesBuildEveryTechniqueOnTheDevice) {
  Context::setResourceModule(GetModuleHandleA(nullptr));
  const struct {
    uint32_t resource;
    std::vector<const char*> techniques;
  } sources[] = {{101, {"multitap", "depth", "merge"}},
                 {102, {"blur", "blur_nops"}},
                 {103, {"filter", "filter1_3", "filter_nops", "gradient"}}};
  for (const auto& source : sources) {
    std::unique_ptr<MaterialFX> material(MaterialFX::createFromResource(source.resource));
    material->createResources();
    ASSERT_TRUE(material->isValid()) << source.resource;
    for (const char* name : source.techniques) {
      D3DXHANDLE technique = material->effect->GetTechniqueByName(name);
      EXPECT_EQ(material->effect->ValidateTechnique(technique), D3D_OK) << source.resource << " " << name;
    }
  }
}

TEST_F(EffectPixels, HostileEffectsLeaveTheMaterialInvalidWithAMessage) {
  const std::string good = kTwoTechniques;
  const struct {
    const char* name;
    std::string text;
  } rows[] = {
      {"cut", good.substr(0, good.size() / 2)},
      {"unbalanced braces", good + "}"},
      {"unknown state", std::string("technique t { pass p { NoSuchState = 1; } }")},
      {"unknown value", std::string("technique t { pass p { CullMode = Sideways; } }")},
      {"wrong register", std::string("technique t { pass p { PixelShader = asm { ps_2_0\n mov oC0, c999 }; } }")},
      {"vertex shader as pixel shader", std::string("technique t { pass p { PixelShader = asm { vs_1_1\n mov oPos, v0 }; } }")},
      {"bit flipped", [&] {
         std::string flipped = good;
         flipped[good.find(';')] ^= 0x01;
         return flipped;
       }()},
      {"binary", std::string("\x01\xff\x00\x7f{<>;", 8)},
  };
  auto deviceReferences = [this] {
    context->device->AddRef();
    return context->device->Release();
  };
  const ULONG references = deviceReferences();
  for (const auto& row : rows) {
    tstest::RecordingTracer tracer;
    auto material = load(row.text);
    EXPECT_FALSE(material->isValid()) << row.name;
    EXPECT_EQ(material->beginPasses(0), 0u) << row.name;
    material->endPasses();
    EXPECT_FALSE(context->effectActive) << row.name;
    ASSERT_FALSE(tracer.texts('l').empty()) << row.name;
    EXPECT_NE(tracer.texts('l').back().find("line"), std::string::npos) << row.name << ": " << tracer.texts('l').back();
    material.reset();
    EXPECT_EQ(deviceReferences(), references) << row.name << ": an effect kept the device";
  }
}

// Draws what is inside it into a surface of its own, cleared to its colour, then copies that
// surface into the top left quarter of the target it found.
class FramingRenderer : public SceneRendererMultirender {
 public:
  FramingRenderer(const color& colour, MaterialFX* copier) : fill(colour), copy(copier) {
    surface.reset(RenderSurface::create(640, 480, true, true));
  }
  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream&) override {}
  void update(float) override {}
  void render(SceneHierarchy& scene, Camera*) override {
    Context* context = Context::instance;
    RenderSurface* saved = context->renderTarget();
    context->setRenderTarget(surface.get());
    context->setClearColor(fill);
    context->clear(Context::ClearAll, true);
    scene.render();
    context->setRenderTarget(saved);
    float rect[4];
    textureRect(*surface, surface->viewport, rect);
    const float quarter[4] = {-1.0f, 1.0f, 0.0f, 0.0f};
    copy->setTextureParameter("Picture") = surface->texture.get();
    drawQuad(copy, quarter, rect, nullptr, nullptr, nullptr);
  }

 private:
  color fill;
  MaterialFX* copy;
  std::unique_ptr<RenderSurface> surface;
};

TEST_F(EffectPixels, AnInnerRendererDrawsInsideTheOuterOnesSurface) {
  auto copy = load(kCopy);
  ASSERT_TRUE(copy->isValid());
  SceneHierarchy scene;
  // The last renderer is the outermost: green frames red.
  scene.renderers = {new FramingRenderer(color(1, 0, 0, 1), copy.get()),
                     new FramingRenderer(color(0, 1, 0, 1), copy.get())};
  context->setClearColor(color(0, 0, 0, 1));
  context->beginScene();
  context->clear(Context::ClearAll, true);
  scene.render();
  context->endScene();
  readTarget();
  // The outer copy covers 0..320 x 0..240, the inner one the top left quarter of that.
  const struct {
    unsigned int x, y;
    int r, g, b;
  } probes[] = {{10, 10, 255, 0, 0},  {150, 110, 255, 0, 0}, {170, 10, 0, 255, 0}, {10, 130, 0, 255, 0},
                {300, 220, 0, 255, 0}, {340, 100, 0, 0, 0},  {100, 260, 0, 0, 0}, {600, 400, 0, 0, 0}};
  for (const auto& probe : probes) {
    EXPECT_TRUE(tstest::pixelNear(rgbAt(probe.x, probe.y), probe.r, probe.g, probe.b))
        << probe.x << "," << probe.y << ": " << std::hex << rgbAt(probe.x, probe.y);
  }
}

}  // namespace

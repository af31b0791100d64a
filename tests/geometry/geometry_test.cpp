#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "geometry/geometry_composite.h"
#include "geometry/geometry_weighted.h"
#include "geometry/modifier_skin.h"
#include "geometry/modifier_stack.h"
#include "io/chunk_registry.h"
#include "tests/context/context_fixture.h"
#include "tests/geometry/geometry_support.h"
#include "tests/support/heap_count.h"

// What geometries guard and compute; their files are rows of the persistence contract.
namespace {

using ts3d::color;
using ts3d::GeometryComposite;
using ts3d::GeometrySimple;
using ts3d::vect3;
using tstest::Bytes;
using tstest::face;

// First in this program, so no file has been read yet.
TEST(GeometryRegistry, EveryCodeIsKnownBeforeAnyFileIsRead) {
  for (uint32_t code : {GeometrySimple::kCode, GeometryComposite::kCode, ts3d::ModifierStack::kCode,
                        ts3d::GeometryWeighted::kCode, ts3d::ModifierSkin::kCode})
    EXPECT_NE(tsio::findChunk(code), nullptr) << std::hex << code;
}

// Three positions and one face (0, 1, last); or, with channels, that many of one pair each.
Bytes simpleFile(uint16_t last, uint32_t channels = 0) {
  // Flags, counts, positions, the face; a count and up to 16 channels of six floats.
  const uint32_t size = 4 + 8 + 36 + 6 + (channels ? 4 + 24 * std::min(channels, 16u) : 0);
  tstest::FileBuilder file;
  file.header("GOSM", 0, size).u32(0x1 | 0x2 | 0x100 | (channels ? 0x400 : 0)).u32(3).u32(1);
  for (int i = 0; i < 9; ++i) file.f32(static_cast<float>(i));
  if (channels) file.u32(channels);
  for (uint32_t c = 0; c < channels && c < 16; ++c) file.f32(0.5f).f32(0.25f).f32(0).f32(0).f32(1).f32(1);
  return file.u16(0).u16(1).u16(last).bytes;
}

TEST(GeometryLoad, FacesPastTheLastVertexAreDroppedAndChannelsBeyondAVertexFormatSteppedOver) {
  struct Row {
    Bytes file;
    size_t faces, channels;
  };
  const Row rows[] = {{simpleFile(2), 1, 0}, {simpleFile(3), 0, 0}, {simpleFile(2, 9), 1, 8}};
  for (const Row& row : rows) {
    std::unique_ptr<GeometrySimple> g = tstest::loadAs<GeometrySimple>(row.file);
    ASSERT_TRUE(g);
    EXPECT_EQ(g->positions.size(), 3u) << "vertices stay";
    EXPECT_EQ(g->faces.size(), row.faces);
    EXPECT_EQ(g->textureChannels.size(), row.channels);
  }
  tstest::expectRefused(simpleFile(2, 0x10000000), "268435456 texture channels of 3 vertices");
  Bytes huge = simpleFile(2);
  huge[22] = 0xFF;  // a vertex count of 0x00FF0003
  tstest::expectRefused(huge, "a count of 16711683 items of 12 bytes");
}

TEST(GeometryLayout, VertexFormatFollowsTheFilledVectors) {
  struct Layout {
    bool normals, colors;
    int channels;
    bool tangentSpace;
    uint32_t fvf, stride;
  };
  const Layout layouts[] = {{false, false, 0, false, 0x2, 12},    {true, false, 0, false, 0x12, 24},
                            {true, false, 1, false, 0x112, 32},   {false, true, 0, false, 0x42, 16},
                            {true, true, 1, false, 0x142, 24},    {true, false, 2, false, 0x212, 40},
                            {true, false, 0, true, 0x50212, 48},  {true, false, 1, true, 0x140312, 56}};
  for (const Layout& l : layouts) {
    GeometrySimple g;
    g.positions = {vect3(0, 0, 0)};
    if (l.normals) g.normals = {vect3(0, 0, 1)};
    if (l.colors) g.colors = {color(1, 1, 1, 1)};
    g.textureChannels.resize(static_cast<size_t>(l.channels), ts3d::TextureChannel{{{0, 0}}});
    g.hasTangentSpace = l.tangentSpace;
    uint32_t fvf = 0, stride = 0;
    g.computeVertexFormat(&fvf, &stride);
    EXPECT_EQ(fvf, l.fvf) << std::hex << "expected 0x" << l.fvf;
    EXPECT_EQ(stride, l.stride);
  }
}

GeometrySimple* points(std::vector<vect3> positions) {
  auto* g = new GeometrySimple;
  g->positions = std::move(positions);
  return g;
}

// Sphere of two points: their middle, half their distance and a margin of 0.0001. Folding in
// another sphere moves the centre by the new radius itself: files were made that way.
TEST(GeometryComposite, SphereFoldFollowsItsThreeCasesInChildOrder) {
  GeometryComposite inside({points({vect3(-2, 0, 0), vect3(2, 0, 0)}), points({vect3(1, 0, 0)})});
  GeometryComposite around({points({vect3(1, 0, 0)}), points({vect3(-2, 0, 0), vect3(2, 0, 0)})});
  GeometryComposite apart({points({vect3(-1, 0, 0), vect3(1, 0, 0)}), points({vect3(0, 4, 0)})});
  for (auto [composite, y, radius] : {std::tuple{&inside, 0.0f, 2.0001f}, {&around, 0.0f, 2.0001f},
                                      {&apart, 2.5001f, 2.5001f}}) {
    const ts3d::BoundingSphere s = composite->boundingSphere();
    EXPECT_NEAR(s.center.x, 0, 1e-5f);
    EXPECT_NEAR(s.center.y, y, 1e-5f);
    EXPECT_NEAR(s.radius, radius, 1e-5f);
  }
}

TEST(GeometryComposite, SplitKeepsEachGroupsFacesAndMergedRefusesWhatSixteenBitFacesCantName) {
  GeometrySimple g;
  g.positions = {vect3(0, 0, 0), vect3(1, 0, 0), vect3(2, 0, 0), vect3(3, 0, 0)};
  g.colors.assign(4, color(1, 0, 0, 1));
  g.faces = {face(0, 1, 2), face(3, 2, 1), face(0, 0, 0)};
  // The last face names group 7, beyond the count: it goes nowhere. Group 1 is unused.
  std::unique_ptr<GeometryComposite> parts(g.split({0, 2, 7}, 3));
  ASSERT_EQ(parts->children.size(), 3u);
  auto& two = dynamic_cast<GeometrySimple&>(*parts->children[2]);
  EXPECT_EQ(two.faces, std::vector<ts3d::Face>{face(0, 1, 2)}) << "numbered by first use";
  EXPECT_EQ(two.positions, (std::vector<vect3>{vect3(3, 0, 0), vect3(2, 0, 0), vect3(1, 0, 0)}));
  EXPECT_EQ(two.colors.size(), 3u);
  EXPECT_TRUE(dynamic_cast<GeometrySimple&>(*parts->children[1]).faces.empty());

  auto strip = [](uint16_t n, float y) {
    auto* s = new GeometrySimple;
    for (uint16_t i = 0; i < n; ++i) s->positions.push_back(vect3(i, y, 0));
    s->faces = {face(0, 1, static_cast<uint16_t>(n - 1))};
    return s;
  };
  tstest::RecordingTracer tracer;
  std::unique_ptr<GeometrySimple> full(GeometryComposite({strip(32768, 0), strip(32768, 1)}).merged());
  ASSERT_NE(full, nullptr) << "65,536 vertices still fit";
  EXPECT_EQ(full->faces.back(), face(32768, 32769, 65535)) << "the second child's faces start at 32768";
  EXPECT_EQ(GeometryComposite({strip(40000, 0), strip(30000, 1)}).merged(), nullptr);
  EXPECT_EQ(tracer.count('w'), 1u);
}

// On a real device behind the recording proxy. Clip space is world space; no culling; stage 0
// passes the vertex colour; the target is cleared to blue.
class GeometryDeviceTest : public tstest::ContextTest {
 protected:
  void SetUp() override {
    ContextTest::SetUp();
    if (HasFatalFailure()) return;
    useIdentityTransforms();
    ts3d::RenderStateBlock noCulling(ts3d::RenderStateBlock::RasteriserGroup);
    noCulling.cullMode = ts3d::CullNone;
    context->applyRenderState(noCulling);
    context->resetTextureStages();
    context->setClearColor(color(0, 0, 1, 1));
  }

  // The lower left half of the screen, or the upper right one.
  static GeometrySimple* triangle(bool upperRight) {
    auto* g = new GeometrySimple;
    const float s = upperRight ? -1.0f : 1.0f;
    g->positions = {vect3(-s, -s, 0.5f), vect3(-s, s, 0.5f), vect3(s, -s, 0.5f)};
    g->faces = {face(0, 1, 2)};
    return g;
  }

  void drawFrame(ts3d::Geometry& g) {
    context->beginScene();
    context->clear(7, true);
    g.draw();
    context->endScene();
    readTarget();
  }
};

// A coloured triangle is drawn unlit, a lit one takes the light's colour, and a composite
// draws each child; all its buffers go with it.
TEST_F(GeometryDeviceTest, CompositeOfAColouredAndALitTriangleShowsBoth) {
  GeometrySimple* red = triangle(false);
  red->colors.assign(3, color(1, 0, 0, 1));
  red->normals.assign(3, vect3(0, 0, -1));  // present, but a coloured geometry drops them
  GeometrySimple* lit = triangle(true);
  lit->normals.assign(3, vect3(0, 0, -1));  // facing the light, which shines along +z
  context->setDefaultMaterial();
  context->setAmbient(color(0, 0, 0, 0));
  D3DLIGHT9 light = {};
  light.Type = D3DLIGHT_DIRECTIONAL;
  light.Diffuse = {0, 1, 0, 1};
  light.Direction = {0, 0, 1};
  context->addLight(&light);
  const ULONG before = proxy->references();
  auto* both = new GeometryComposite({red, lit});
  both->createResources();
  EXPECT_EQ(proxy->references(), before + 4) << "two buffers for each child";
  drawFrame(*both);
  EXPECT_TRUE(tstest::pixelNear(rgbAt(100, 400), 255, 0, 0)) << std::hex << rgbAt(100, 400);
  EXPECT_TRUE(tstest::pixelNear(rgbAt(540, 80), 0, 255, 0)) << std::hex << rgbAt(540, 80);
  EXPECT_TRUE(context->renderState().lighting) << "lighting comes back after the coloured draw";
  delete both;
  EXPECT_EQ(proxy->references(), before);
  context->clearLights();
}

TEST_F(GeometryDeviceTest, UpdatedPositionsMoveTheTriangleAndItsBufferKeepsTheColours) {
  std::unique_ptr<GeometrySimple> g(triangle(false));
  g->colors.assign(3, color(1, 0, 0, 1));
  g->createResources();
  g->positions = std::unique_ptr<GeometrySimple>(triangle(true))->positions;
  g->colors.assign(3, color(0, 1, 0, 1));  // in memory only
  g->updateBuffers(GeometrySimple::kUpdatePositions | GeometrySimple::kUpdateNormals);
  drawFrame(*g);
  EXPECT_TRUE(tstest::pixelNear(rgbAt(540, 80), 255, 0, 0)) << std::hex << rgbAt(540, 80);
  EXPECT_TRUE(tstest::pixelNear(rgbAt(100, 400), 0, 0, 255)) << std::hex << rgbAt(100, 400);
}

TEST_F(GeometryDeviceTest, AVertexBufferIsDiscardedOnlyWhenDynamicAndRewrittenWhole) {
  using G = GeometrySimple;
  const struct { bool dynamic; uint32_t mask; DWORD flags; } cases[] = {
      {true, G::kUpdateVertices, D3DLOCK_DISCARD},
      {true, G::kUpdatePositions | G::kUpdateNormals | G::kUpdateChannel0, D3DLOCK_DISCARD},
      {true, G::kUpdatePositions | G::kUpdateNormals, 0},  // the coordinates keep their bytes
      {false, G::kUpdateVertices, 0},
  };
  for (const auto& c : cases) {
    std::unique_ptr<GeometrySimple> g(triangle(false));
    g->normals.assign(3, vect3(0, 0, -1));
    g->textureChannels.resize(1);
    g->textureChannels[0].coordinates.resize(3);
    g->dynamicVertices = c.dynamic;
    g->createResources();
    proxy->clearLog();
    g->updateBuffers(c.mask);
    const std::vector<tstest::DeviceCall> locks = proxy->callsOf(tstest::DeviceCallKind::LockVertexBuffer);
    ASSERT_EQ(locks.size(), 1u);
    EXPECT_EQ(locks[0].args[2], c.flags) << "dynamic " << c.dynamic << ", mask " << c.mask;
  }
}

TEST_F(GeometryDeviceTest, BuffersAreReleasedByTheDestructorAndReplacedByCreateResources) {
  for (bool dynamicIndices : {false, true}) {
    const ULONG before = proxy->references();
    std::unique_ptr<GeometrySimple> g(triangle(false));
    g->dynamicIndices = dynamicIndices;
    g->createResources();
    EXPECT_EQ(proxy->references(), before + 2) << "each buffer holds the device";
    g->createResources();
    EXPECT_EQ(proxy->references(), before + 2) << "the second run replaces both buffers";
    proxy->clearLog();
    g->updateBuffers(GeometrySimple::kUpdateIndices);
    // Only a dynamic index buffer may be discarded.
    const std::vector<tstest::DeviceCall> locks = proxy->callsOf(tstest::DeviceCallKind::LockIndexBuffer);
    ASSERT_EQ(locks.size(), 1u);
    EXPECT_EQ(locks[0].args[2], dynamicIndices ? D3DLOCK_DISCARD : 0);
    g.reset();
    EXPECT_EQ(proxy->references(), before);
  }
}

}  // namespace

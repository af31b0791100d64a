#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "geometry/geometry_composite.h"
#include "tests/context/context_fixture.h"
#include "tests/geometry/geometry_support.h"

// Geometries on a real device behind the recording proxy: buffers made by createResources
// and released by the destructor, one draw call per draw, lighting off for coloured
// vertices, and pixels where the triangle is.
namespace {

using ts3d::color;
using ts3d::GeometrySimple;
using ts3d::vect3;
using tstest::DeviceCall;
using tstest::DeviceCallKind;
using tstest::face;

constexpr unsigned int kWidth = 640, kHeight = 480;

class GeometryDeviceTest : public tstest::ContextTest {
 protected:
  // Clip space is world space: identity world, view and projection, no culling, stage 0
  // passing the vertex colour, the target cleared to blue.
  void setUpIdentityCamera() {
    useIdentityTransforms();
    ts3d::RenderStateBlock noCulling(ts3d::RenderStateBlock::RasteriserGroup);
    noCulling.cullMode = ts3d::CullNone;
    context->applyRenderState(noCulling);
    context->resetTextureStages();
    context->setClearColor(color(0.0f, 0.0f, 1.0f, 1.0f));
  }

  std::vector<uint32_t> frame() { return readTarget(context->currentTarget->surface.get()); }

  static uint32_t at(const std::vector<uint32_t>& pixels, unsigned int x, unsigned int y) {
    return pixels[static_cast<size_t>(y) * kWidth + x];
  }

  static void saveOnFailure(bool ok, const std::vector<uint32_t>& pixels, const char* name) {
    if (!ok) tstest::saveFailedFrame(pixels, kWidth, kHeight, name);
  }

  // The lower left half of the screen: corners bottom left, top left, bottom right, at depth 0.5.
  static GeometrySimple* lowerLeftTriangle() {
    auto* g = new GeometrySimple;
    g->positions = {vect3(-1, -1, 0.5f), vect3(-1, 1, 0.5f), vect3(1, -1, 0.5f)};
    g->faces = {face(0, 1, 2)};
    return g;
  }

  void drawFrame(ts3d::Geometry& g) {
    context->beginScene();
    context->clear(7, true);
    g.draw();
    context->endScene();
  }
};

TEST_F(GeometryDeviceTest, ColouredTriangleShowsItsColourWhereItIsAndTheClearColourElsewhere) {
  setUpIdentityCamera();
  std::unique_ptr<GeometrySimple> g(lowerLeftTriangle());
  g->colors.assign(3, color(1.0f, 0.0f, 0.0f, 1.0f));
  g->normals.assign(3, vect3(0, 0, -1));  // present, but a coloured geometry drops them
  g->createResources();
  EXPECT_EQ(g->vertexFormat, static_cast<uint32_t>(D3DFVF_XYZ | D3DFVF_DIFFUSE));
  drawFrame(*g);

  const std::vector<uint32_t> pixels = frame();
  ASSERT_EQ(pixels.size(), static_cast<size_t>(kWidth) * kHeight);
  const bool ok = tstest::pixelNear(at(pixels, 100, 400), 255, 0, 0) &&
                  tstest::pixelNear(at(pixels, 200, 300), 255, 0, 0) &&
                  tstest::pixelNear(at(pixels, 540, 80), 0, 0, 255) && tstest::pixelNear(at(pixels, 400, 200), 0, 0, 255);
  saveOnFailure(ok, pixels, "GeometryColoured");
  EXPECT_TRUE(ok) << std::hex << at(pixels, 100, 400) << " " << at(pixels, 540, 80);
}

TEST_F(GeometryDeviceTest, LitTriangleOfPositionsAndNormalsTakesTheLightsColour) {
  setUpIdentityCamera();
  std::unique_ptr<GeometrySimple> g(lowerLeftTriangle());
  // The normal faces the light, which shines along +z onto it.
  g->normals.assign(3, vect3(0, 0, -1));
  g->createResources();
  EXPECT_EQ(g->vertexFormat, static_cast<uint32_t>(D3DFVF_XYZ | D3DFVF_NORMAL));

  context->setDefaultMaterial();
  context->setAmbient(color(0, 0, 0, 0));
  D3DLIGHT9 light = {};
  light.Type = D3DLIGHT_DIRECTIONAL;
  light.Diffuse = {0.0f, 1.0f, 0.0f, 1.0f};
  light.Direction = {0.0f, 0.0f, 1.0f};
  context->addLight(&light);
  ASSERT_TRUE(context->renderState().lighting);
  drawFrame(*g);

  const std::vector<uint32_t> pixels = frame();
  ASSERT_EQ(pixels.size(), static_cast<size_t>(kWidth) * kHeight);
  const bool ok = tstest::pixelNear(at(pixels, 100, 400), 0, 255, 0) && tstest::pixelNear(at(pixels, 540, 80), 0, 0, 255);
  saveOnFailure(ok, pixels, "GeometryLit");
  EXPECT_TRUE(ok) << std::hex << at(pixels, 100, 400) << " " << at(pixels, 540, 80);
  context->clearLights();
}

TEST_F(GeometryDeviceTest, UpdatingPositionsOfAColouredLayoutLeavesItsColours) {
  setUpIdentityCamera();
  std::unique_ptr<GeometrySimple> g(lowerLeftTriangle());
  g->colors.assign(3, color(1.0f, 0.0f, 0.0f, 1.0f));
  g->createResources();
  // Move the triangle to the upper right half and change the colours in memory only.
  g->positions = {vect3(1, 1, 0.5f), vect3(1, -1, 0.5f), vect3(-1, 1, 0.5f)};
  g->colors.assign(3, color(0.0f, 1.0f, 0.0f, 1.0f));
  g->boundingBox();
  proxy->clearLog();
  g->updateBuffers(GeometrySimple::kUpdatePositions | GeometrySimple::kUpdateNormals);
  EXPECT_FALSE(g->boxValid);
  const std::vector<DeviceCall> locks = proxy->callsOf(DeviceCallKind::LockVertexBuffer);
  ASSERT_EQ(locks.size(), 1u);
  EXPECT_EQ(locks[0].args[2], 0) << "lock flags";
  EXPECT_EQ(proxy->count(DeviceCallKind::LockIndexBuffer), 0u);
  drawFrame(*g);

  const std::vector<uint32_t> pixels = frame();
  ASSERT_EQ(pixels.size(), static_cast<size_t>(kWidth) * kHeight);
  // Red (the old colour) at the new place; the old place is clear.
  const bool ok = tstest::pixelNear(at(pixels, 540, 80), 255, 0, 0) && tstest::pixelNear(at(pixels, 100, 400), 0, 0, 255);
  saveOnFailure(ok, pixels, "GeometryUpdatePositions");
  EXPECT_TRUE(ok) << std::hex << at(pixels, 540, 80) << " " << at(pixels, 100, 400);
}

TEST_F(GeometryDeviceTest, CreateResourcesMakesBothBuffersAndFillsThem) {
  std::unique_ptr<GeometrySimple> g(new GeometrySimple(true, false));
  g->positions = {vect3(0, 0, 0), vect3(1, 0, 0), vect3(0, 1, 0), vect3(1, 1, 0)};
  g->normals.assign(4, vect3(0, 0, 1));
  g->textureChannels.push_back(ts3d::TextureChannel{{{0, 0}, {1, 0}, {0, 1}, {1, 1}}});
  g->faces = {face(0, 1, 2), face(2, 1, 3)};
  proxy->clearLog();
  g->createResources();

  ASSERT_NE(g->vertexBuffer.get(), nullptr);
  ASSERT_NE(g->indexBuffer.get(), nullptr);
  const std::vector<DeviceCall> vb = proxy->callsOf(DeviceCallKind::CreateVertexBuffer);
  ASSERT_EQ(vb.size(), 1u);
  EXPECT_EQ(vb[0].args[0], 4 * 32) << "stride 32 times four vertices";
  EXPECT_EQ(vb[0].args[1], D3DUSAGE_WRITEONLY | D3DUSAGE_DYNAMIC);
  EXPECT_EQ(vb[0].args[2], 0x112);
  EXPECT_EQ(vb[0].args[3], D3DPOOL_DEFAULT);
  const std::vector<DeviceCall> ib = proxy->callsOf(DeviceCallKind::CreateIndexBuffer);
  ASSERT_EQ(ib.size(), 1u);
  EXPECT_EQ(ib[0].args[0], 2 * 3 * 2) << "two faces of three 16-bit indices";
  EXPECT_EQ(ib[0].args[1], D3DUSAGE_WRITEONLY);
  EXPECT_EQ(ib[0].args[2], D3DFMT_INDEX16);
  EXPECT_EQ(ib[0].args[3], D3DPOOL_DEFAULT);
  ASSERT_EQ(proxy->count(DeviceCallKind::LockVertexBuffer), 1u);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::LockVertexBuffer)[0].args[2], 0);
  ASSERT_EQ(proxy->count(DeviceCallKind::LockIndexBuffer), 1u);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::LockIndexBuffer)[0].args[2], 0);
  EXPECT_EQ(proxy->count(DeviceCallKind::UnlockVertexBuffer), 1u);
  EXPECT_EQ(proxy->count(DeviceCallKind::UnlockIndexBuffer), 1u);
}

TEST_F(GeometryDeviceTest, EachDrawIsOneIndexedDrawOfTheWholeList) {
  setUpIdentityCamera();
  std::unique_ptr<GeometrySimple> g(new GeometrySimple);
  g->positions = {vect3(0, 0, 0.5f), vect3(1, 0, 0.5f), vect3(0, 1, 0.5f), vect3(1, 1, 0.5f)};
  g->faces = {face(0, 1, 2), face(2, 1, 3)};
  g->createResources();
  proxy->clearLog();
  context->beginScene();
  g->draw();
  g->draw();
  context->endScene();

  const std::vector<DeviceCall> draws = proxy->callsOf(DeviceCallKind::DrawIndexedPrimitive);
  ASSERT_EQ(draws.size(), 2u);
  for (const DeviceCall& d : draws) {
    EXPECT_EQ(d.args[0], D3DPT_TRIANGLELIST);
    EXPECT_EQ(d.args[1], 0);
    EXPECT_EQ(d.args[2], 0);
    EXPECT_EQ(d.args[3], 4) << "vertex count";
    EXPECT_EQ(d.args[4], 0);
    EXPECT_EQ(d.args[5], 2) << "face count";
  }
  EXPECT_EQ(proxy->count(DeviceCallKind::DrawPrimitive), 0u);
  const std::vector<DeviceCall> streams = proxy->callsOf(DeviceCallKind::SetStreamSource);
  ASSERT_FALSE(streams.empty());
  EXPECT_EQ(streams.back().args[2], 12) << "stride of positions alone";
  const std::vector<DeviceCall> fvfs = proxy->callsOf(DeviceCallKind::SetFVF);
  ASSERT_FALSE(fvfs.empty());
  EXPECT_EQ(fvfs.back().args[0], D3DFVF_XYZ);
  EXPECT_EQ(proxy->count(DeviceCallKind::SetRenderState), 0u) << "an uncoloured geometry sets no state";
}

TEST_F(GeometryDeviceTest, ColouredDrawTurnsLightingOffAroundItself) {
  setUpIdentityCamera();
  std::unique_ptr<GeometrySimple> g(lowerLeftTriangle());
  g->colors.assign(3, color(1, 1, 1, 1));
  g->createResources();
  ASSERT_TRUE(context->renderState().lighting);
  proxy->clearLog();
  context->beginScene();
  g->draw();
  context->endScene();

  const std::vector<DeviceCall>& calls = proxy->calls();
  size_t drawAt = calls.size(), offAt = calls.size(), onAt = calls.size();
  for (size_t i = 0; i < calls.size(); ++i) {
    if (calls[i].kind == DeviceCallKind::DrawIndexedPrimitive) drawAt = i;
    if (calls[i] == tstest::renderStateCall(D3DRS_LIGHTING, FALSE)) offAt = i;
    if (calls[i] == tstest::renderStateCall(D3DRS_LIGHTING, TRUE)) onAt = i;
  }
  ASSERT_LT(drawAt, calls.size());
  EXPECT_LT(offAt, drawAt) << "lighting off before the draw";
  EXPECT_GT(onAt, drawAt) << "and back after it";
  EXPECT_LT(onAt, calls.size());
  EXPECT_TRUE(context->renderState().lighting);
}

TEST_F(GeometryDeviceTest, BuffersAreReleasedByTheDestructorAndReplacedByCreateResources) {
  const ULONG before = proxy->references();
  auto* g = new GeometrySimple;
  g->positions = {vect3(0, 0, 0), vect3(1, 0, 0), vect3(0, 1, 0)};
  g->faces = {face(0, 1, 2)};
  g->createResources();
  const ULONG withBuffers = proxy->references();
  EXPECT_EQ(withBuffers, before + 2) << "each buffer holds the device";
  g->createResources();
  EXPECT_EQ(proxy->references(), withBuffers) << "the second run replaces both buffers";
  g->flipFaces();
  proxy->clearLog();
  g->updateBuffers(GeometrySimple::kUpdateIndices);
  // A static index buffer can't be discarded: it is locked plainly.
  ASSERT_EQ(proxy->count(DeviceCallKind::LockIndexBuffer), 1u);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::LockIndexBuffer)[0].args[2], 0);
  EXPECT_EQ(proxy->count(DeviceCallKind::LockVertexBuffer), 0u);
  delete g;
  EXPECT_EQ(proxy->references(), before);

  // A dynamic one is rewritten with discard.
  std::unique_ptr<GeometrySimple> dynamic(new GeometrySimple(false, true));
  dynamic->positions = {vect3(0, 0, 0), vect3(1, 0, 0), vect3(0, 1, 0)};
  dynamic->faces = {face(0, 1, 2)};
  dynamic->createResources();
  proxy->clearLog();
  dynamic->updateBuffers(GeometrySimple::kUpdateIndices);
  const std::vector<DeviceCall> locks = proxy->callsOf(DeviceCallKind::LockIndexBuffer);
  ASSERT_EQ(locks.size(), 1u);
  EXPECT_EQ(locks[0].args[2], D3DLOCK_DISCARD);
}

TEST_F(GeometryDeviceTest, LoadingMakesNoDeviceObject) {
  GeometrySimple source;
  source.positions = {vect3(0, 0, 0), vect3(1, 0, 0), vect3(0, 1, 0)};
  source.colors.assign(3, color(1, 0, 0, 1));
  source.faces = {face(0, 1, 2)};
  const tstest::Bytes file = tstest::storeFile(source);
  proxy->clearLog();
  const tstest::ReadOutcome outcome = tstest::readFile(file);
  ASSERT_NE(outcome.geometry(), nullptr);
  EXPECT_EQ(outcome.geometry()->vertexBuffer.get(), nullptr);
  EXPECT_EQ(proxy->totalCalls(), 0u);
  const ULONG before = proxy->references();
  outcome.geometry()->createResources();
  EXPECT_NE(outcome.geometry()->vertexBuffer.get(), nullptr);
  EXPECT_EQ(proxy->references(), before + 2);
}

TEST_F(GeometryDeviceTest, CompositeDrawsEachChildInOrderAndBothAppear) {
  setUpIdentityCamera();
  GeometrySimple* red = lowerLeftTriangle();
  red->colors.assign(3, color(1.0f, 0.0f, 0.0f, 1.0f));
  auto* green = new GeometrySimple;
  green->positions = {vect3(1, 1, 0.5f), vect3(1, -1, 0.5f), vect3(-1, 1, 0.5f)};
  green->faces = {face(0, 1, 2)};
  green->colors.assign(3, color(0.0f, 1.0f, 0.0f, 1.0f));
  const ULONG before = proxy->references();
  auto* both = new ts3d::GeometryComposite({red, green});
  both->createResources();
  EXPECT_EQ(proxy->references(), before + 4) << "two buffers for each child";

  proxy->clearLog();
  drawFrame(*both);
  // Each draw uses the vertex buffer that was set last before it.
  std::vector<const void*> drawnBuffers;
  const void* current = nullptr;
  for (const DeviceCall& call : proxy->calls()) {
    if (call.kind == DeviceCallKind::SetStreamSource) current = call.object;
    if (call.kind == DeviceCallKind::DrawIndexedPrimitive) drawnBuffers.push_back(current);
  }
  EXPECT_EQ(drawnBuffers, (std::vector<const void*>{red->vertexBuffer.get(), green->vertexBuffer.get()}));

  const std::vector<uint32_t> pixels = frame();
  ASSERT_EQ(pixels.size(), static_cast<size_t>(kWidth) * kHeight);
  const bool ok = tstest::pixelNear(at(pixels, 100, 400), 255, 0, 0) && tstest::pixelNear(at(pixels, 540, 80), 0, 255, 0);
  saveOnFailure(ok, pixels, "GeometryComposite");
  EXPECT_TRUE(ok) << std::hex << at(pixels, 100, 400) << " " << at(pixels, 540, 80);

  delete both;
  EXPECT_EQ(proxy->references(), before) << "the children went with the composite";
}

}  // namespace

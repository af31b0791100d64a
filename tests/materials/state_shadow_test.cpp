#include <gtest/gtest.h>

#include <vector>

#include "materials/state_shadow.h"
#include "tests/device/test_device.h"
#include "tests/materials/state_samples.h"
#include "tests/support/proxy_device.h"

// What the shadow sends to a device: only the states that differ from what it holds.
namespace {

using namespace ts3d;
using namespace tstest;
using Calls = std::vector<DeviceCall>;

// A real device seen through a recording proxy, with the shadow of a device just started.
class ShadowedDevice : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(test.ok()) << "no Direct3D 9 device";
    proxy = ProxyDevice::create(test.get());
    initialiseDeviceState(proxy, current, stages);
    proxy->clearLog();
  }
  void TearDown() override {
    if (proxy) { EXPECT_EQ(proxy->Release(), 0u) << "something still holds the device"; }
  }
  void apply(const RenderStateBlock& block) { applyRenderState(proxy, current, forced, block); }

  TestDevice test;
  ProxyDevice* proxy = nullptr;
  RenderStateBlock current{RenderStateBlock::AllGroups};
  RenderStateBlock forced{0};
  StageStates stages;
};

// everyRenderStateChanged against a started device, group by group: blending, depth (a mode whose
// comparison the device holds already sends its write flag alone), rasteriser (clipping is never
// merged), lighting (local viewer before normalisation), vertex blending, stencil (the reference
// before the masks).
const Calls kEveryRenderStateSent = {
    renderStateCall(D3DRS_ALPHABLENDENABLE, TRUE),  renderStateCall(D3DRS_DESTBLEND, D3DBLEND_INVSRCALPHA),
    renderStateCall(D3DRS_SRCBLEND, D3DBLEND_SRCALPHA), renderStateCall(D3DRS_ALPHATESTENABLE, TRUE),
    renderStateCall(D3DRS_ALPHAFUNC, D3DCMP_GREATEREQUAL), renderStateCall(D3DRS_ALPHAREF, 0x80),
    renderStateCall(D3DRS_COLORWRITEENABLE, 0x7),   renderStateCall(D3DRS_ZENABLE, D3DZB_FALSE),
    renderStateCall(D3DRS_ZWRITEENABLE, FALSE),
    renderStateCall(D3DRS_CULLMODE, D3DCULL_NONE),  renderStateCall(D3DRS_FILLMODE, D3DFILL_WIREFRAME),
    renderStateCall(D3DRS_LIGHTING, FALSE),         renderStateCall(D3DRS_SPECULARENABLE, TRUE),
    renderStateCall(D3DRS_LOCALVIEWER, TRUE),       renderStateCall(D3DRS_NORMALIZENORMALS, TRUE),
    renderStateCall(D3DRS_INDEXEDVERTEXBLENDENABLE, TRUE), renderStateCall(D3DRS_VERTEXBLEND, D3DVBF_2WEIGHTS),
    softwareVertexProcessingCall(true),             renderStateCall(D3DRS_STENCILENABLE, TRUE),
    renderStateCall(D3DRS_STENCILFAIL, D3DSTENCILOP_ZERO), renderStateCall(D3DRS_STENCILZFAIL, D3DSTENCILOP_REPLACE),
    renderStateCall(D3DRS_STENCILPASS, D3DSTENCILOP_INCRSAT), renderStateCall(D3DRS_STENCILFUNC, D3DCMP_EQUAL),
    renderStateCall(D3DRS_STENCILREF, 5),           renderStateCall(D3DRS_STENCILMASK, 0xf0),
    renderStateCall(D3DRS_STENCILWRITEMASK, 0x0f),  renderStateCall(D3DRS_TWOSIDEDSTENCILMODE, TRUE),
    renderStateCall(D3DRS_CCW_STENCILFAIL, D3DSTENCILOP_DECRSAT),
    renderStateCall(D3DRS_CCW_STENCILZFAIL, D3DSTENCILOP_INVERT),
    renderStateCall(D3DRS_CCW_STENCILPASS, D3DSTENCILOP_INCR), renderStateCall(D3DRS_CCW_STENCILFUNC, D3DCMP_GREATER),
};

TEST_F(ShadowedDevice, OnlyRenderStatesThatDifferAreSentInGroupOrder) {
  apply(everyRenderStateChanged());
  EXPECT_EQ(proxy->calls(), kEveryRenderStateSent);
  proxy->clearLog();
  apply(everyRenderStateChanged());
  EXPECT_EQ(proxy->totalCalls(), 0u) << ::testing::PrintToString(proxy->calls());

  // A block of one group changes that group alone.
  apply(RenderStateBlock(RenderStateBlock::BlendingGroup));
  const Calls blendingBack = {
      renderStateCall(D3DRS_ALPHABLENDENABLE, FALSE), renderStateCall(D3DRS_DESTBLEND, D3DBLEND_ZERO),
      renderStateCall(D3DRS_SRCBLEND, D3DBLEND_ONE),  renderStateCall(D3DRS_ALPHATESTENABLE, FALSE),
      renderStateCall(D3DRS_ALPHAFUNC, D3DCMP_ALWAYS), renderStateCall(D3DRS_ALPHAREF, 0),
      renderStateCall(D3DRS_COLORWRITEENABLE, 0xf)};
  EXPECT_EQ(proxy->calls(), blendingBack);
  EXPECT_FALSE(current.zEnable);
}

TEST_F(ShadowedDevice, OnlyStageStatesThatDifferAreSentToTheirStageAndTheMatrixAlways) {
  const TextureStageStateBlock block = everyStageStateChanged();
  applyStageState(proxy, stages, 3, block);
  const Calls expected = {
      stageStateCall(3, D3DTSS_COLOROP, D3DTOP_MODULATE2X), stageStateCall(3, D3DTSS_COLORARG1, D3DTA_TFACTOR),
      stageStateCall(3, D3DTSS_COLORARG2, D3DTA_SPECULAR), stageStateCall(3, D3DTSS_ALPHAOP, D3DTOP_ADD),
      stageStateCall(3, D3DTSS_ALPHAARG1, D3DTA_TEMP), stageStateCall(3, D3DTSS_ALPHAARG2, D3DTA_COMPLEMENT),
      samplerStateCall(3, D3DSAMP_ADDRESSU, D3DTADDRESS_MIRROR),
      samplerStateCall(3, D3DSAMP_ADDRESSV, D3DTADDRESS_CLAMP),
      samplerStateCall(3, D3DSAMP_ADDRESSW, D3DTADDRESS_BORDER),
      samplerStateCall(3, D3DSAMP_MINFILTER, D3DTEXF_ANISOTROPIC),
      samplerStateCall(3, D3DSAMP_MAGFILTER, D3DTEXF_LINEAR), samplerStateCall(3, D3DSAMP_MIPFILTER, D3DTEXF_POINT),
      stageStateCall(3, D3DTSS_TEXCOORDINDEX, 1),
      stageStateCall(3, D3DTSS_TEXTURETRANSFORMFLAGS, D3DTTFF_COUNT2 | D3DTTFF_PROJECTED),
      transformCall(D3DTS_TEXTURE3, block.textureMatrix)};
  EXPECT_EQ(proxy->calls(), expected);

  // The matrix is never compared: it goes again while there is a transform.
  proxy->clearLog();
  applyStageState(proxy, stages, 3, block);
  EXPECT_EQ(proxy->calls(), Calls{transformCall(D3DTS_TEXTURE3, block.textureMatrix)});

  // Without one the device's matrix is left alone; a stage past the last changes nothing.
  TextureStageStateBlock untransformed = block;
  untransformed.transformCount = 0;
  untransformed.projected = false;
  proxy->clearLog();
  applyStageState(proxy, stages, 3, untransformed);
  applyStageState(proxy, stages, StageCount, block);
  EXPECT_EQ(proxy->calls(), Calls{stageStateCall(3, D3DTSS_TEXTURETRANSFORMFLAGS, D3DTTFF_DISABLE)});
}

}  // namespace

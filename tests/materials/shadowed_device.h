#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "materials/state_shadow.h"
#include "tests/device/test_device.h"
#include "tests/support/proxy_device.h"

namespace tstest {

using Calls = std::vector<DeviceCall>;

// A real device seen through a counting proxy, with the shadow state of a device that has
// just been started, and an empty log.
class ShadowedDevice : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(test.ok()) << "no Direct3D 9 device";
    proxy = ProxyDevice::create(test.get());
    ts3d::initialiseDeviceState(proxy, current, stages);
    proxy->clearLog();
  }

  void TearDown() override {
    if (proxy) {
      EXPECT_EQ(proxy->Release(), 0u) << "something still holds the device";
    }
  }

  void apply(const ts3d::RenderStateBlock& block) { ts3d::applyRenderState(proxy, current, forced, block); }

  TestDevice test;
  ProxyDevice* proxy = nullptr;
  ts3d::RenderStateBlock current{ts3d::RenderStateBlock::AllGroups};
  ts3d::RenderStateBlock forced{0};
  ts3d::StageStates stages;
};

// Every field of two render state blocks, one by one (the mask aside).
inline void expectSameFields(const ts3d::RenderStateBlock& a, const ts3d::RenderStateBlock& b) {
  EXPECT_EQ(a.zEnable, b.zEnable);
  EXPECT_EQ(a.alphaBlendEnable, b.alphaBlendEnable);
  EXPECT_EQ(a.alphaTestEnable, b.alphaTestEnable);
  EXPECT_EQ(a.lighting, b.lighting);
  EXPECT_EQ(a.specularEnable, b.specularEnable);
  EXPECT_EQ(a.localViewer, b.localViewer);
  EXPECT_EQ(a.normalizeNormals, b.normalizeNormals);
  EXPECT_EQ(a.indexedVertexBlend, b.indexedVertexBlend);
  EXPECT_EQ(a.softwareVertexProcessing, b.softwareVertexProcessing);
  EXPECT_EQ(a.stencilEnable, b.stencilEnable);
  EXPECT_EQ(a.twoSidedStencil, b.twoSidedStencil);
  EXPECT_EQ(a.clipping, b.clipping);
  EXPECT_EQ(a.depthMode, b.depthMode);
  EXPECT_EQ(a.destBlend, b.destBlend);
  EXPECT_EQ(a.srcBlend, b.srcBlend);
  EXPECT_EQ(a.cullMode, b.cullMode);
  EXPECT_EQ(a.fillMode, b.fillMode);
  EXPECT_EQ(a.vertexBlend, b.vertexBlend);
  EXPECT_EQ(a.alphaFunc, b.alphaFunc);
  EXPECT_EQ(a.alphaRef, b.alphaRef);
  EXPECT_EQ(a.stencilFail, b.stencilFail);
  EXPECT_EQ(a.stencilZFail, b.stencilZFail);
  EXPECT_EQ(a.stencilPass, b.stencilPass);
  EXPECT_EQ(a.stencilFunc, b.stencilFunc);
  EXPECT_EQ(a.stencilMask, b.stencilMask);
  EXPECT_EQ(a.stencilWriteMask, b.stencilWriteMask);
  EXPECT_EQ(a.stencilRef, b.stencilRef);
  EXPECT_EQ(a.ccwStencilFail, b.ccwStencilFail);
  EXPECT_EQ(a.ccwStencilZFail, b.ccwStencilZFail);
  EXPECT_EQ(a.ccwStencilPass, b.ccwStencilPass);
  EXPECT_EQ(a.ccwStencilFunc, b.ccwStencilFunc);
  EXPECT_EQ(a.colorWriteMask, b.colorWriteMask);
}

}  // namespace tstest

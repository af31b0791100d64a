// Device state goes through the shadow blocks, so only differences reach the device.
#include "context/context.h"

namespace ts3d {

void Context::applyRenderState(const RenderStateBlock& block) {
  ts3d::applyRenderState(device.get(), currentRenderState, overrideRenderState, block);
}

void Context::applyDefaultRenderState() { applyRenderState(RenderStateBlock::defaultBlock()); }

void Context::setRenderStateOverride(const RenderStateBlock& block) {
  ts3d::setRenderStateOverride(device.get(), currentRenderState, overrideRenderState, block);
}

void Context::clearRenderStateOverride() {
  ts3d::clearRenderStateOverride(device.get(), currentRenderState, overrideRenderState);
}

void Context::applyStageState(uint32_t stage, const TextureStageStateBlock& block) {
  ts3d::applyStageState(device.get(), currentStageState, stage, block);
}

void Context::resetTextureStages() { ts3d::resetTextureStages(device.get(), currentStageState); }

}  // namespace ts3d

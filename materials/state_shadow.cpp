#include "materials/state_shadow.h"

namespace ts3d {

void initialiseDeviceState(IDirect3DDevice9* device, const RenderStateBlock& current, StageStates& stages) {
  sendFull(device, current);
  stages[0] = TextureStageStateBlock::modulate();
  for (uint32_t stage = 0; stage < StageCount; ++stage) sendFull(device, stage, stages[stage]);
}

void applyRenderState(IDirect3DDevice9* device, RenderStateBlock& current, const RenderStateBlock& forced,
                      const RenderStateBlock& block) {
  RenderStateBlock working = current;
  merge(working, block);
  merge(working, forced);
  sendDifference(device, working, current);
  current = working;
}

void setRenderStateOverride(IDirect3DDevice9* device, RenderStateBlock& current, RenderStateBlock& forced,
                            const RenderStateBlock& block) {
  RenderStateBlock working = current;
  merge(working, block);
  sendDifference(device, working, current);
  current = working;
  forced = block;
}

void clearRenderStateOverride(IDirect3DDevice9* device, RenderStateBlock& current, RenderStateBlock& forced) {
  forced.groupMask = 0;
  applyRenderState(device, current, forced, RenderStateBlock::defaultBlock());
}

void applyStageState(IDirect3DDevice9* device, StageStates& stages, uint32_t stage,
                     const TextureStageStateBlock& block) {
  if (stage >= StageCount) return;
  sendDifference(device, stage, block, stages[stage]);
  stages[stage] = block;
}

void resetTextureStages(IDirect3DDevice9* device, StageStates& stages) {
  TextureStageStateBlock block = stages[0];
  device->SetTexture(0, nullptr);
  // Stage 0 reads no texture: with no earlier stage, "current" is the diffuse colour.
  block.colorOp = TextureSelectArg1;
  block.colorArg1 = ArgCurrent;
  block.colorArg2 = ArgTexture;
  block.alphaOp = TextureSelectArg1;
  block.alphaArg1 = ArgCurrent;
  block.alphaArg2 = ArgTexture;
  applyStageState(device, stages, 0, block);
  block.colorOp = TextureDisable;
  block.alphaOp = TextureDisable;
  applyStageState(device, stages, 1, block);
}

}  // namespace ts3d

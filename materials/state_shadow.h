#pragma once

#include <windows.h>
#include <d3d9.h>

#include <array>
#include <cstdint>

#include "materials/render_state_block.h"
#include "materials/texture_stage_state_block.h"

// The filter between drawing code and the device. The rendering context owns the shadow of
// what its device holds (current render states, one stage block per stage) and the override
// block; these functions work on those fields, so that every state that reaches the device
// passes through them and only differences are sent.
namespace ts3d {

constexpr uint32_t StageCount = 8;
using StageStates = std::array<TextureStageStateBlock, StageCount>;

// Start of a device, when nothing is known of what it holds: sends current whole, makes
// stage 0 the modulate stage and sends every stage whole.
void initialiseDeviceState(IDirect3DDevice9* device, const RenderStateBlock& current, StageStates& stages);

// Merges block, then the override over it (the override always wins), into a copy of the
// shadow, sends the difference and keeps the result as the shadow.
void applyRenderState(IDirect3DDevice9* device, RenderStateBlock& current, const RenderStateBlock& forced,
                      const RenderStateBlock& block);

// Sends block's difference against the shadow and forces it on everything applied from now
// on. Overrides don't nest: a second one replaces the first.
void setRenderStateOverride(IDirect3DDevice9* device, RenderStateBlock& current, RenderStateBlock& forced,
                            const RenderStateBlock& block);

// Ends the override and returns every group to its default: what stood before the override
// is not restored.
void clearRenderStateOverride(IDirect3DDevice9* device, RenderStateBlock& current, RenderStateBlock& forced);

// Sends block's difference against the stage's shadow and keeps it there. A stage beyond
// the last one changes nothing.
void applyStageState(IDirect3DDevice9* device, StageStates& stages, uint32_t stage,
                     const TextureStageStateBlock& block);

// Unbinds stage 0's texture and lets it pass the diffuse colour through, and disables
// stage 1, so that untextured drawing ends there. Stages above 1 stay as they are.
void resetTextureStages(IDirect3DDevice9* device, StageStates& stages);

}  // namespace ts3d

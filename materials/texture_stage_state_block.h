#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>

#include "io/stream.h"
#include "materials/render_enums.h"
#include "scene/value_types.h"

namespace ts3d {

// The states of one texture stage and its sampler, as a plain value. Always whole: it has
// no mask.
class TextureStageStateBlock {
 public:
  TextureStageStateBlock() = default;
  virtual ~TextureStageStateBlock() = default;
  TextureStageStateBlock(const TextureStageStateBlock&) = default;
  TextureStageStateBlock& operator=(const TextureStageStateBlock&) = default;

  // The body, 79 bytes, has no chunk header: a material writes it inside its chunk. load
  // always returns true; a short body leaves the stream not good for the caller to see.
  virtual bool load(tsio::InStream& in);
  virtual void store(tsio::OutStream& out) const;

  // Colour is the texture times what came before, alpha is the texture's: what drawing
  // code that shows one plain texture puts on stage 0.
  static TextureStageStateBlock modulate();

  int32_t colorOp = TextureDisable;
  int32_t colorArg1 = ArgTexture;
  int32_t colorArg2 = ArgCurrent;
  int32_t alphaOp = TextureDisable;
  int32_t alphaArg1 = ArgTexture;
  int32_t alphaArg2 = ArgCurrent;
  int32_t addressU = AddressWrap;
  int32_t addressV = AddressWrap;
  int32_t addressW = AddressWrap;
  int32_t magFilter = FilterPoint;
  int32_t minFilter = FilterPoint;
  int32_t mipFilter = FilterNone;
  // 0 to 16 name a coordinate set; TexCoordCameraSpaceNormal and its two sisters generate one.
  int32_t texCoordIndex = 0;
  // Coordinates that the texture matrix produces, 0 (no transform) to 4.
  int32_t transformCount = 0;
  bool projected = false;
  matrix textureMatrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

// Sends the states of next that differ from old to the stage: operations and arguments,
// then sampler addressing and filters (minification before magnification), the coordinate
// index and the transform flags. The texture matrix is never compared: it goes whenever
// transformCount isn't 0, and a stage without a transform leaves the device's matrix alone.
void sendDifference(IDirect3DDevice9* device, uint32_t stage, const TextureStageStateBlock& next,
                    const TextureStageStateBlock& old);

// Sends every state of the block to the stage in the same order, the texture matrix last.
void sendFull(IDirect3DDevice9* device, uint32_t stage, const TextureStageStateBlock& block);

}  // namespace ts3d

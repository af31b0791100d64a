#include "materials/texture_stage_state_block.h"

namespace ts3d {

namespace {

using Field = int32_t TextureStageStateBlock::*;

// One byte in files, read as unsigned and widened: 0 to 255. What lies beyond a table is
// caught by the mappings when sent.
void readByte(tsio::InStream& in, int32_t& field) {
  uint8_t value = static_cast<uint8_t>(field);
  in.readUint8(&value);
  field = value;
}

// The fields that are one byte each in files, in file order.
const Field byteFields[] = {
    &TextureStageStateBlock::colorOp,       &TextureStageStateBlock::colorArg1,      &TextureStageStateBlock::colorArg2,
    &TextureStageStateBlock::alphaOp,       &TextureStageStateBlock::alphaArg1,      &TextureStageStateBlock::alphaArg2,
    &TextureStageStateBlock::addressU,      &TextureStageStateBlock::addressV,       &TextureStageStateBlock::addressW,
    &TextureStageStateBlock::magFilter,     &TextureStageStateBlock::minFilter,      &TextureStageStateBlock::mipFilter,
    &TextureStageStateBlock::texCoordIndex, &TextureStageStateBlock::transformCount,
};

struct StageState {
  D3DTEXTURESTAGESTATETYPE state;
  Field field;
  std::optional<DWORD> (*map)(int32_t);
};

struct SamplerState {
  D3DSAMPLERSTATETYPE state;
  Field field;
  std::optional<DWORD> (*map)(int32_t);
};

const StageState operations[] = {
    {D3DTSS_COLOROP, &TextureStageStateBlock::colorOp, deviceTextureOperation},
    {D3DTSS_COLORARG1, &TextureStageStateBlock::colorArg1, deviceTextureArgument},
    {D3DTSS_COLORARG2, &TextureStageStateBlock::colorArg2, deviceTextureArgument},
    {D3DTSS_ALPHAOP, &TextureStageStateBlock::alphaOp, deviceTextureOperation},
    {D3DTSS_ALPHAARG1, &TextureStageStateBlock::alphaArg1, deviceTextureArgument},
    {D3DTSS_ALPHAARG2, &TextureStageStateBlock::alphaArg2, deviceTextureArgument},
};

const SamplerState samplerStates[] = {
    {D3DSAMP_ADDRESSU, &TextureStageStateBlock::addressU, deviceAddressMode},
    {D3DSAMP_ADDRESSV, &TextureStageStateBlock::addressV, deviceAddressMode},
    {D3DSAMP_ADDRESSW, &TextureStageStateBlock::addressW, deviceAddressMode},
    {D3DSAMP_MINFILTER, &TextureStageStateBlock::minFilter, deviceFilter},
    {D3DSAMP_MAGFILTER, &TextureStageStateBlock::magFilter, deviceFilter},
    {D3DSAMP_MIPFILTER, &TextureStageStateBlock::mipFilter, deviceFilter},
};

// The difference when full is false, every state when it is true.
void send(IDirect3DDevice9* device, uint32_t stage, const TextureStageStateBlock& next,
          const TextureStageStateBlock& old, bool full) {
  for (const StageState& entry : operations) {
    if (!full && next.*entry.field == old.*entry.field) continue;
    if (const std::optional<DWORD> value = entry.map(next.*entry.field))
      device->SetTextureStageState(stage, entry.state, *value);
  }
  for (const SamplerState& entry : samplerStates) {
    if (!full && next.*entry.field == old.*entry.field) continue;
    if (const std::optional<DWORD> value = entry.map(next.*entry.field))
      device->SetSamplerState(stage, entry.state, *value);
  }
  if (full || next.texCoordIndex != old.texCoordIndex) {
    if (const std::optional<DWORD> value = deviceTexCoordIndex(next.texCoordIndex))
      device->SetTextureStageState(stage, D3DTSS_TEXCOORDINDEX, *value);
  }
  if (full || next.transformCount != old.transformCount || next.projected != old.projected) {
    if (const std::optional<DWORD> value = deviceTransformFlags(next.transformCount, next.projected))
      device->SetTextureStageState(stage, D3DTSS_TEXTURETRANSFORMFLAGS, *value);
  }
  if (full || next.transformCount != 0)
    device->SetTransform(static_cast<D3DTRANSFORMSTATETYPE>(D3DTS_TEXTURE0 + stage), &next.textureMatrix);
}

}  // namespace

TextureStageStateBlock TextureStageStateBlock::modulate() {
  TextureStageStateBlock block;
  block.colorOp = TextureModulate;
  block.colorArg1 = ArgTexture;
  block.colorArg2 = ArgCurrent;
  block.alphaOp = TextureSelectArg1;
  block.alphaArg1 = ArgTexture;
  block.alphaArg2 = ArgCurrent;
  return block;
}

bool TextureStageStateBlock::load(tsio::InStream& in) {
  for (Field field : byteFields) readByte(in, this->*field);
  in.readBool(&projected);
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 4; ++column) in.readFloat(&textureMatrix.m[row][column]);
  return true;
}

void TextureStageStateBlock::store(tsio::OutStream& out) const {
  // Only the low byte of an enumeration reaches a file; every valid value fits.
  for (Field field : byteFields) out.writeUint8(static_cast<uint8_t>(this->*field));
  out.writeBool(projected);
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 4; ++column) out.writeFloat(textureMatrix.m[row][column]);
}

void sendDifference(IDirect3DDevice9* device, uint32_t stage, const TextureStageStateBlock& next,
                    const TextureStageStateBlock& old) {
  send(device, stage, next, old, false);
}

void sendFull(IDirect3DDevice9* device, uint32_t stage, const TextureStageStateBlock& block) {
  send(device, stage, block, block, true);
}

}  // namespace ts3d

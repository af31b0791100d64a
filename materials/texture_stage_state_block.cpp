#include "materials/texture_stage_state_block.h"

#include "materials/field_order.h"

namespace ts3d {

namespace {

using Block = TextureStageStateBlock;

// Where a field goes on the device.
enum class Target { StageState, SamplerState, TransformFlags };

struct Field {
  int32_t Block::*member;
  Target target;
  DWORD state;  // a D3DTEXTURESTAGESTATETYPE or D3DSAMPLERSTATETYPE, by target
  std::optional<DWORD> (*map)(int32_t);
  // Places moved from the file's order when sent.
  int8_t move = 0;
};

// The fields that are one byte each, once, in the order of the file body; the sends walk
// them with minification before magnification. transformCount goes out with projected, as
// the transform flags, after the others.
constexpr Field kFields[] = {
    {&Block::colorOp, Target::StageState, D3DTSS_COLOROP, deviceTextureOperation},
    {&Block::colorArg1, Target::StageState, D3DTSS_COLORARG1, deviceTextureArgument},
    {&Block::colorArg2, Target::StageState, D3DTSS_COLORARG2, deviceTextureArgument},
    {&Block::alphaOp, Target::StageState, D3DTSS_ALPHAOP, deviceTextureOperation},
    {&Block::alphaArg1, Target::StageState, D3DTSS_ALPHAARG1, deviceTextureArgument},
    {&Block::alphaArg2, Target::StageState, D3DTSS_ALPHAARG2, deviceTextureArgument},
    {&Block::addressU, Target::SamplerState, D3DSAMP_ADDRESSU, deviceAddressMode},
    {&Block::addressV, Target::SamplerState, D3DSAMP_ADDRESSV, deviceAddressMode},
    {&Block::addressW, Target::SamplerState, D3DSAMP_ADDRESSW, deviceAddressMode},
    {&Block::magFilter, Target::SamplerState, D3DSAMP_MAGFILTER, deviceFilter, +1},
    {&Block::minFilter, Target::SamplerState, D3DSAMP_MINFILTER, deviceFilter, -1},
    {&Block::mipFilter, Target::SamplerState, D3DSAMP_MIPFILTER, deviceFilter},
    {&Block::texCoordIndex, Target::StageState, D3DTSS_TEXCOORDINDEX, deviceTexCoordIndex},
    {&Block::transformCount, Target::TransformFlags, D3DTSS_TEXTURETRANSFORMFLAGS, nullptr},
};
static_assert(movesArePermutation(kFields, &Field::move), "moves keep one row in each place");
constexpr auto kSendOrder = sendOrder(kFields, &Field::move);

// One byte in files, read as unsigned and widened: 0 to 255. What lies beyond a table is
// caught by the mappings when sent.
void readByte(tsio::InStream& in, int32_t& field) {
  uint8_t value = static_cast<uint8_t>(field);
  in.readUint8(&value);
  field = value;
}

// The difference when full is false, every state when it is true.
void send(IDirect3DDevice9* device, uint32_t stage, const Block& next, const Block& old, bool full) {
  for (const uint8_t index : kSendOrder) {
    const Field& field = kFields[index];
    if (field.target == Target::TransformFlags) continue;
    if (!full && next.*field.member == old.*field.member) continue;
    const std::optional<DWORD> value = field.map(next.*field.member);
    if (!value) continue;
    if (field.target == Target::StageState)
      device->SetTextureStageState(stage, static_cast<D3DTEXTURESTAGESTATETYPE>(field.state), *value);
    else
      device->SetSamplerState(stage, static_cast<D3DSAMPLERSTATETYPE>(field.state), *value);
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
  for (const Field& field : kFields) readByte(in, this->*field.member);
  in.readBool(&projected);
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 4; ++column) in.readFloat(&textureMatrix.m[row][column]);
  return true;
}

void TextureStageStateBlock::store(tsio::OutStream& out) const {
  // Only the low byte of an enumeration reaches a file; every valid value fits.
  for (const Field& field : kFields) out.writeUint8(static_cast<uint8_t>(this->*field.member));
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

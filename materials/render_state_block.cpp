#include "materials/render_state_block.h"

#include <iterator>
#include <variant>

#include "materials/field_order.h"

namespace ts3d {

namespace {

using Block = RenderStateBlock;

// The six group bits; the rest of a mask names no fields.
constexpr uint32_t knownGroups = 0x3f;

// Enumerations are one byte in files, read as unsigned and widened: 0 to 255. What lies
// beyond a table is caught by the mappings when sent.
void read(tsio::InStream& in, int32_t& field) {
  uint8_t value = static_cast<uint8_t>(field);
  in.readUint8(&value);
  field = value;
}
void read(tsio::InStream& in, bool& field) { in.readBool(&field); }
void read(tsio::InStream& in, uint8_t& field) { in.readUint8(&field); }
void read(tsio::InStream& in, uint32_t& field) { in.readUint32(&field); }

// Only the low byte of an enumeration reaches a file; every valid value fits.
void write(tsio::OutStream& out, int32_t field) { out.writeUint8(static_cast<uint8_t>(field)); }
void write(tsio::OutStream& out, bool field) { out.writeBool(field); }
void write(tsio::OutStream& out, uint8_t field) { out.writeUint8(field); }
void write(tsio::OutStream& out, uint32_t field) { out.writeUint32(field); }

// The fields whose device form isn't the one render state of their value. With old (a
// difference send), each device state goes only when its own value changes: two depth modes
// share a comparison, and masks share their low bits.
void sendDepthMode(IDirect3DDevice9* device, const Block& block, const Block* old) {
  const std::optional<DepthStates> states = deviceDepthMode(block.depthMode);
  if (!states) return;
  const std::optional<DepthStates> held = old ? deviceDepthMode(old->depthMode) : std::nullopt;
  if (!held || held->zWriteEnable != states->zWriteEnable)
    device->SetRenderState(D3DRS_ZWRITEENABLE, states->zWriteEnable);
  if (!held || held->zFunc != states->zFunc) device->SetRenderState(D3DRS_ZFUNC, states->zFunc);
}

// Sent without the bits the device has no channel for.
void sendColorWriteMask(IDirect3DDevice9* device, const Block& block, const Block* old) {
  if (!old || ((block.colorWriteMask ^ old->colorWriteMask) & 0xf))
    device->SetRenderState(D3DRS_COLORWRITEENABLE, block.colorWriteMask & 0xf);
}

void sendSoftwareVertexProcessing(IDirect3DDevice9* device, const Block& block, const Block*) {
  device->SetSoftwareVertexProcessing(block.softwareVertexProcessing ? TRUE : FALSE);
}

using Member = std::variant<bool Block::*, int32_t Block::*, uint8_t Block::*, uint32_t Block::*>;

struct Field {
  uint32_t group;
  Member member;
  // Where the value goes; an enumeration is mapped first.
  D3DRENDERSTATETYPE state;
  std::optional<DWORD> (*map)(int32_t) = nullptr;
  // Instead of the render state, for the fields that aren't one state of their value.
  void (*send)(IDirect3DDevice9*, const Block&, const Block* old) = nullptr;
  // Places moved from the file's order in a difference send and in the full send at start.
  int8_t differenceMove = 0;
  int8_t fullMove = 0;
  // Clipping is stored and compared but reaches the device only in the full send at start.
  bool merged = true;
};

// For the rows that send themselves.
constexpr D3DRENDERSTATETYPE kNoRenderState{};

// Every field of the block but groupMask, once, in the order of the file body: group by
// group, blending, depth, rasteriser, lighting, vertex blending, stencil. Load, store, merge
// and both sends walk it; the sends move a few rows.
constexpr Field kFields[] = {
    {Block::BlendingGroup, &Block::alphaBlendEnable, D3DRS_ALPHABLENDENABLE},
    {Block::BlendingGroup, &Block::destBlend, D3DRS_DESTBLEND, deviceBlendFactor},
    {Block::BlendingGroup, &Block::srcBlend, D3DRS_SRCBLEND, deviceBlendFactor},
    {Block::BlendingGroup, &Block::alphaTestEnable, D3DRS_ALPHATESTENABLE},
    {Block::BlendingGroup, &Block::alphaFunc, D3DRS_ALPHAFUNC, deviceCompareFunction},
    {Block::BlendingGroup, &Block::alphaRef, D3DRS_ALPHAREF},
    {Block::BlendingGroup, &Block::colorWriteMask, D3DRS_COLORWRITEENABLE, nullptr, sendColorWriteMask},
    {Block::DepthGroup, &Block::zEnable, D3DRS_ZENABLE},
    {Block::DepthGroup, &Block::depthMode, kNoRenderState, nullptr, sendDepthMode},
    {Block::RasteriserGroup, &Block::cullMode, D3DRS_CULLMODE, deviceCullMode, nullptr, 0, +1},
    {Block::RasteriserGroup, &Block::fillMode, D3DRS_FILLMODE, deviceFillMode, nullptr, 0, -1},
    {Block::RasteriserGroup, &Block::clipping, D3DRS_CLIPPING, nullptr, nullptr, 0, 0, false},
    {Block::LightingGroup, &Block::lighting, D3DRS_LIGHTING},
    {Block::LightingGroup, &Block::specularEnable, D3DRS_SPECULARENABLE},
    {Block::LightingGroup, &Block::normalizeNormals, D3DRS_NORMALIZENORMALS, nullptr, nullptr, +1, +1},
    {Block::LightingGroup, &Block::localViewer, D3DRS_LOCALVIEWER, nullptr, nullptr, -1, -1},
    {Block::VertexBlendingGroup, &Block::indexedVertexBlend, D3DRS_INDEXEDVERTEXBLENDENABLE},
    {Block::VertexBlendingGroup, &Block::vertexBlend, D3DRS_VERTEXBLEND, deviceVertexBlend},
    {Block::VertexBlendingGroup, &Block::softwareVertexProcessing, kNoRenderState, nullptr,
     sendSoftwareVertexProcessing},
    {Block::StencilGroup, &Block::stencilEnable, D3DRS_STENCILENABLE},
    {Block::StencilGroup, &Block::stencilFail, D3DRS_STENCILFAIL, deviceStencilOperation},
    {Block::StencilGroup, &Block::stencilZFail, D3DRS_STENCILZFAIL, deviceStencilOperation},
    {Block::StencilGroup, &Block::stencilPass, D3DRS_STENCILPASS, deviceStencilOperation},
    {Block::StencilGroup, &Block::stencilFunc, D3DRS_STENCILFUNC, deviceCompareFunction},
    {Block::StencilGroup, &Block::stencilMask, D3DRS_STENCILMASK, nullptr, nullptr, +1, +1},
    {Block::StencilGroup, &Block::stencilWriteMask, D3DRS_STENCILWRITEMASK, nullptr, nullptr, +1, +1},
    {Block::StencilGroup, &Block::stencilRef, D3DRS_STENCILREF, nullptr, nullptr, -2, -2},
    {Block::StencilGroup, &Block::twoSidedStencil, D3DRS_TWOSIDEDSTENCILMODE},
    {Block::StencilGroup, &Block::ccwStencilFail, D3DRS_CCW_STENCILFAIL, deviceStencilOperation},
    {Block::StencilGroup, &Block::ccwStencilZFail, D3DRS_CCW_STENCILZFAIL, deviceStencilOperation},
    {Block::StencilGroup, &Block::ccwStencilPass, D3DRS_CCW_STENCILPASS, deviceStencilOperation},
    {Block::StencilGroup, &Block::ccwStencilFunc, D3DRS_CCW_STENCILFUNC, deviceCompareFunction},
};
static_assert(std::size(kFields) == 32, "a row for each field of the block but groupMask");
static_assert(movesArePermutation(kFields, &Field::differenceMove) && movesArePermutation(kFields, &Field::fullMove),
              "moves keep one row in each place");

constexpr auto kDifferenceOrder = sendOrder(kFields, &Field::differenceMove);
constexpr auto kFullOrder = sendOrder(kFields, &Field::fullMove);

void sendValue(IDirect3DDevice9* device, const Field& field, bool value) {
  device->SetRenderState(field.state, value ? TRUE : FALSE);
}
void sendValue(IDirect3DDevice9* device, const Field& field, int32_t value) {
  if (const std::optional<DWORD> mapped = field.map(value)) device->SetRenderState(field.state, *mapped);
}
void sendValue(IDirect3DDevice9* device, const Field& field, uint8_t value) {
  device->SetRenderState(field.state, value);
}
void sendValue(IDirect3DDevice9* device, const Field& field, uint32_t value) {
  device->SetRenderState(field.state, value);
}

// The fields of next's groups, in the given order: all of them without old, else those
// that differ from old.
template <size_t N>
void send(IDirect3DDevice9* device, const std::array<uint8_t, N>& order, const Block& next, const Block* old) {
  for (const uint8_t index : order) {
    const Field& field = kFields[index];
    if (!(next.groupMask & field.group)) continue;
    const bool differs = !old || std::visit([&](auto member) { return next.*member != old->*member; }, field.member);
    if (!differs) continue;
    if (field.send)
      field.send(device, next, old);
    else
      std::visit([&](auto member) { sendValue(device, field, next.*member); }, field.member);
  }
}

}  // namespace

RenderStateBlock::RenderStateBlock(uint32_t groupMask_) : groupMask(groupMask_) {}

const RenderStateBlock& RenderStateBlock::defaultBlock() {
  static const RenderStateBlock block(AllGroups);
  return block;
}

void RenderStateBlock::setBlendPreset(int32_t preset) {
  static const int32_t presets[][2] = {
      {BlendOne, BlendZero},
      {BlendOne, BlendOne},
      {BlendSrcAlpha, BlendInvSrcAlpha},
      {BlendSrcAlpha, BlendOne},
  };
  if (preset < 0 || static_cast<size_t>(preset) >= std::size(presets)) return;
  srcBlend = presets[preset][0];
  destBlend = presets[preset][1];
}

bool RenderStateBlock::load(tsio::InStream& in) {
  uint32_t mask = 0;
  in.readUint32(&mask);
  // Groups the file lacks must hold their defaults, whatever this block held before.
  *this = RenderStateBlock(mask);
  for (const Field& field : kFields)
    if (mask & field.group) std::visit([&](auto member) { read(in, this->*member); }, field.member);
  return true;
}

void RenderStateBlock::store(tsio::OutStream& out) const {
  out.writeUint32(groupMask);
  for (const Field& field : kFields)
    if (groupMask & field.group) std::visit([&](auto member) { write(out, this->*member); }, field.member);
}

void merge(RenderStateBlock& dest, const RenderStateBlock& source) {
  const uint32_t mask = source.groupMask;
  for (const Field& field : kFields)
    if ((mask & field.group) && field.merged)
      std::visit([&](auto member) { dest.*member = source.*member; }, field.member);
  dest.groupMask |= mask & knownGroups;
}

void sendDifference(IDirect3DDevice9* device, const RenderStateBlock& next, const RenderStateBlock& old) {
  send(device, kDifferenceOrder, next, &old);
}

void sendFull(IDirect3DDevice9* device, const RenderStateBlock& block) { send(device, kFullOrder, block, nullptr); }

}  // namespace ts3d

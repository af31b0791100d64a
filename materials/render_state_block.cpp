#include "materials/render_state_block.h"

#include <iterator>

namespace ts3d {

namespace {

// The six group bits; the rest of a mask names no fields.
constexpr uint32_t knownGroups = 0x3f;

// Enumerations are one byte in files, read as unsigned and widened: 0 to 255. What lies
// beyond a table is caught by the mappings when sent.
void readByte(tsio::InStream& in, int32_t& field) {
  uint8_t value = static_cast<uint8_t>(field);
  in.readUint8(&value);
  field = value;
}

// Only the low byte of an enumeration reaches a file; every valid value fits.
void writeByte(tsio::OutStream& out, int32_t field) { out.writeUint8(static_cast<uint8_t>(field)); }

// Sends the fields of one block against another: those that differ, or all of them for a
// full send. Fields go out one at a time, in the order their callers name them.
class StateSender {
 public:
  StateSender(IDirect3DDevice9* device_, const RenderStateBlock& next_, const RenderStateBlock& old_, bool full_)
      : device(device_), next(next_), old(old_), full(full_) {}

  template <class T>
  bool changed(T RenderStateBlock::*field) const {
    return full || next.*field != old.*field;
  }

  void flag(D3DRENDERSTATETYPE state, bool RenderStateBlock::*field) const {
    if (changed(field)) device->SetRenderState(state, next.*field ? TRUE : FALSE);
  }

  void number(D3DRENDERSTATETYPE state, uint32_t RenderStateBlock::*field) const {
    if (changed(field)) device->SetRenderState(state, next.*field);
  }

  void mapped(D3DRENDERSTATETYPE state, int32_t RenderStateBlock::*field, std::optional<DWORD> (*map)(int32_t)) const {
    if (!changed(field)) return;
    if (const std::optional<DWORD> value = map(next.*field)) device->SetRenderState(state, *value);
  }

  void blending() const {
    flag(D3DRS_ALPHABLENDENABLE, &RenderStateBlock::alphaBlendEnable);
    mapped(D3DRS_DESTBLEND, &RenderStateBlock::destBlend, deviceBlendFactor);
    mapped(D3DRS_SRCBLEND, &RenderStateBlock::srcBlend, deviceBlendFactor);
    flag(D3DRS_ALPHATESTENABLE, &RenderStateBlock::alphaTestEnable);
    mapped(D3DRS_ALPHAFUNC, &RenderStateBlock::alphaFunc, deviceCompareFunction);
    if (changed(&RenderStateBlock::alphaRef)) device->SetRenderState(D3DRS_ALPHAREF, next.alphaRef);
    // Compared whole, sent without the bits the device has no channel for.
    if (changed(&RenderStateBlock::colorWriteMask))
      device->SetRenderState(D3DRS_COLORWRITEENABLE, next.colorWriteMask & 0xf);
  }

  void depth() const {
    flag(D3DRS_ZENABLE, &RenderStateBlock::zEnable);
    if (!changed(&RenderStateBlock::depthMode)) return;
    if (const std::optional<DepthStates> states = deviceDepthMode(next.depthMode)) {
      device->SetRenderState(D3DRS_ZWRITEENABLE, states->zWriteEnable);
      device->SetRenderState(D3DRS_ZFUNC, states->zFunc);
    }
  }

  void rasteriser() const {
    if (full) {
      mapped(D3DRS_FILLMODE, &RenderStateBlock::fillMode, deviceFillMode);
      mapped(D3DRS_CULLMODE, &RenderStateBlock::cullMode, deviceCullMode);
    } else {
      mapped(D3DRS_CULLMODE, &RenderStateBlock::cullMode, deviceCullMode);
      mapped(D3DRS_FILLMODE, &RenderStateBlock::fillMode, deviceFillMode);
    }
    flag(D3DRS_CLIPPING, &RenderStateBlock::clipping);
  }

  void lighting() const {
    flag(D3DRS_LIGHTING, &RenderStateBlock::lighting);
    flag(D3DRS_SPECULARENABLE, &RenderStateBlock::specularEnable);
    flag(D3DRS_LOCALVIEWER, &RenderStateBlock::localViewer);
    flag(D3DRS_NORMALIZENORMALS, &RenderStateBlock::normalizeNormals);
  }

  void vertexBlending() const {
    flag(D3DRS_INDEXEDVERTEXBLENDENABLE, &RenderStateBlock::indexedVertexBlend);
    mapped(D3DRS_VERTEXBLEND, &RenderStateBlock::vertexBlend, deviceVertexBlend);
    if (changed(&RenderStateBlock::softwareVertexProcessing))
      device->SetSoftwareVertexProcessing(next.softwareVertexProcessing ? TRUE : FALSE);
  }

  void stencil() const {
    flag(D3DRS_STENCILENABLE, &RenderStateBlock::stencilEnable);
    mapped(D3DRS_STENCILFAIL, &RenderStateBlock::stencilFail, deviceStencilOperation);
    mapped(D3DRS_STENCILZFAIL, &RenderStateBlock::stencilZFail, deviceStencilOperation);
    mapped(D3DRS_STENCILPASS, &RenderStateBlock::stencilPass, deviceStencilOperation);
    mapped(D3DRS_STENCILFUNC, &RenderStateBlock::stencilFunc, deviceCompareFunction);
    number(D3DRS_STENCILREF, &RenderStateBlock::stencilRef);
    number(D3DRS_STENCILMASK, &RenderStateBlock::stencilMask);
    number(D3DRS_STENCILWRITEMASK, &RenderStateBlock::stencilWriteMask);
    flag(D3DRS_TWOSIDEDSTENCILMODE, &RenderStateBlock::twoSidedStencil);
    mapped(D3DRS_CCW_STENCILFAIL, &RenderStateBlock::ccwStencilFail, deviceStencilOperation);
    mapped(D3DRS_CCW_STENCILZFAIL, &RenderStateBlock::ccwStencilZFail, deviceStencilOperation);
    mapped(D3DRS_CCW_STENCILPASS, &RenderStateBlock::ccwStencilPass, deviceStencilOperation);
    mapped(D3DRS_CCW_STENCILFUNC, &RenderStateBlock::ccwStencilFunc, deviceCompareFunction);
  }

  void groups() const {
    const uint32_t mask = next.groupMask;
    if (mask & RenderStateBlock::BlendingGroup) blending();
    if (mask & RenderStateBlock::DepthGroup) depth();
    if (mask & RenderStateBlock::RasteriserGroup) rasteriser();
    if (mask & RenderStateBlock::LightingGroup) lighting();
    if (mask & RenderStateBlock::VertexBlendingGroup) vertexBlending();
    if (mask & RenderStateBlock::StencilGroup) stencil();
  }

 private:
  IDirect3DDevice9* device;
  const RenderStateBlock& next;
  const RenderStateBlock& old;
  bool full;
};

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
  if (mask & BlendingGroup) {
    in.readBool(&alphaBlendEnable);
    readByte(in, destBlend);
    readByte(in, srcBlend);
    in.readBool(&alphaTestEnable);
    readByte(in, alphaFunc);
    in.readUint8(&alphaRef);
    in.readUint32(&colorWriteMask);
  }
  if (mask & DepthGroup) {
    in.readBool(&zEnable);
    readByte(in, depthMode);
  }
  if (mask & RasteriserGroup) {
    readByte(in, cullMode);
    readByte(in, fillMode);
    in.readBool(&clipping);
  }
  if (mask & LightingGroup) {
    in.readBool(&lighting);
    in.readBool(&specularEnable);
    in.readBool(&normalizeNormals);
    in.readBool(&localViewer);
  }
  if (mask & VertexBlendingGroup) {
    in.readBool(&indexedVertexBlend);
    readByte(in, vertexBlend);
    in.readBool(&softwareVertexProcessing);
  }
  if (mask & StencilGroup) {
    in.readBool(&stencilEnable);
    readByte(in, stencilFail);
    readByte(in, stencilZFail);
    readByte(in, stencilPass);
    readByte(in, stencilFunc);
    in.readUint32(&stencilMask);
    in.readUint32(&stencilWriteMask);
    in.readUint32(&stencilRef);
    in.readBool(&twoSidedStencil);
    readByte(in, ccwStencilFail);
    readByte(in, ccwStencilZFail);
    readByte(in, ccwStencilPass);
    readByte(in, ccwStencilFunc);
  }
  return true;
}

void RenderStateBlock::store(tsio::OutStream& out) const {
  out.writeUint32(groupMask);
  if (groupMask & BlendingGroup) {
    out.writeBool(alphaBlendEnable);
    writeByte(out, destBlend);
    writeByte(out, srcBlend);
    out.writeBool(alphaTestEnable);
    writeByte(out, alphaFunc);
    out.writeUint8(alphaRef);
    out.writeUint32(colorWriteMask);
  }
  if (groupMask & DepthGroup) {
    out.writeBool(zEnable);
    writeByte(out, depthMode);
  }
  if (groupMask & RasteriserGroup) {
    writeByte(out, cullMode);
    writeByte(out, fillMode);
    out.writeBool(clipping);
  }
  if (groupMask & LightingGroup) {
    out.writeBool(lighting);
    out.writeBool(specularEnable);
    out.writeBool(normalizeNormals);
    out.writeBool(localViewer);
  }
  if (groupMask & VertexBlendingGroup) {
    out.writeBool(indexedVertexBlend);
    writeByte(out, vertexBlend);
    out.writeBool(softwareVertexProcessing);
  }
  if (groupMask & StencilGroup) {
    out.writeBool(stencilEnable);
    writeByte(out, stencilFail);
    writeByte(out, stencilZFail);
    writeByte(out, stencilPass);
    writeByte(out, stencilFunc);
    out.writeUint32(stencilMask);
    out.writeUint32(stencilWriteMask);
    out.writeUint32(stencilRef);
    out.writeBool(twoSidedStencil);
    writeByte(out, ccwStencilFail);
    writeByte(out, ccwStencilZFail);
    writeByte(out, ccwStencilPass);
    writeByte(out, ccwStencilFunc);
  }
}

void merge(RenderStateBlock& dest, const RenderStateBlock& source) {
  const uint32_t mask = source.groupMask;
  if (mask & RenderStateBlock::BlendingGroup) {
    dest.alphaBlendEnable = source.alphaBlendEnable;
    dest.destBlend = source.destBlend;
    dest.srcBlend = source.srcBlend;
    dest.alphaTestEnable = source.alphaTestEnable;
    dest.alphaFunc = source.alphaFunc;
    dest.alphaRef = source.alphaRef;
    dest.colorWriteMask = source.colorWriteMask;
  }
  if (mask & RenderStateBlock::DepthGroup) {
    dest.zEnable = source.zEnable;
    dest.depthMode = source.depthMode;
  }
  if (mask & RenderStateBlock::RasteriserGroup) {
    dest.cullMode = source.cullMode;
    dest.fillMode = source.fillMode;
  }
  if (mask & RenderStateBlock::LightingGroup) {
    dest.lighting = source.lighting;
    dest.specularEnable = source.specularEnable;
    dest.localViewer = source.localViewer;
    dest.normalizeNormals = source.normalizeNormals;
  }
  if (mask & RenderStateBlock::VertexBlendingGroup) {
    dest.indexedVertexBlend = source.indexedVertexBlend;
    dest.vertexBlend = source.vertexBlend;
    dest.softwareVertexProcessing = source.softwareVertexProcessing;
  }
  if (mask & RenderStateBlock::StencilGroup) {
    dest.stencilEnable = source.stencilEnable;
    dest.stencilFail = source.stencilFail;
    dest.stencilZFail = source.stencilZFail;
    dest.stencilPass = source.stencilPass;
    dest.stencilFunc = source.stencilFunc;
    dest.stencilMask = source.stencilMask;
    dest.stencilWriteMask = source.stencilWriteMask;
    dest.stencilRef = source.stencilRef;
    dest.twoSidedStencil = source.twoSidedStencil;
    dest.ccwStencilFail = source.ccwStencilFail;
    dest.ccwStencilZFail = source.ccwStencilZFail;
    dest.ccwStencilPass = source.ccwStencilPass;
    dest.ccwStencilFunc = source.ccwStencilFunc;
  }
  dest.groupMask |= mask & knownGroups;
}

void sendDifference(IDirect3DDevice9* device, const RenderStateBlock& next, const RenderStateBlock& old) {
  StateSender(device, next, old, false).groups();
}

void sendFull(IDirect3DDevice9* device, const RenderStateBlock& block) {
  StateSender(device, block, block, true).groups();
}

}  // namespace ts3d

// Device state: render and stage states go through the shadow blocks, so only differences
// reach the device; targets, lights, transforms, clip planes and fog are set as asked.
#include "context/context.h"

#include <cstring>

namespace ts3d {

namespace {

// Render states that take a float take its bits.
DWORD floatBits(float value) {
  DWORD bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

}  // namespace

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

void Context::setAmbient(const color& value) {
  device->SetRenderState(D3DRS_AMBIENT, packColor(value));
  ambient = value;
}

void Context::setRenderTarget(RenderSurface* target) {
  currentTarget->attach(nullptr);
  currentTarget = target;
  device->SetRenderTarget(0, target->surface.get());
  device->SetDepthStencilSurface(target->depthSurface.get());
  target->attach(this);
}

void Context::setViewport(const D3DVIEWPORT9& viewport) {
  currentTarget->viewport = viewport;
  device->SetViewport(&viewport);
}

void Context::setTexture(uint32_t stage, IDirect3DBaseTexture9* texture) { device->SetTexture(stage, texture); }

void Context::setMaterial(const D3DMATERIAL9* material) { device->SetMaterial(material); }

void Context::setDefaultMaterial() {
  // The device's own default: white diffuse, everything else black.
  D3DMATERIAL9 material = {};
  material.Diffuse = {1.0f, 1.0f, 1.0f, 1.0f};
  device->SetMaterial(&material);
}

void Context::addLight(const D3DLIGHT9* light) {
  device->SetLight(lightCount, light);
  device->LightEnable(lightCount, TRUE);
  ++lightCount;
}

void Context::clearLights() {
  for (uint32_t i = 0; i < lightCount; ++i) device->LightEnable(i, FALSE);
  lightCount = 0;
}

matrix Context::setPerspective(float fov, float aspectRatio, float nearZ, float farZ) {
  fieldOfView = fov;
  aspect = aspectRatio;
  nearPlane = nearZ;
  farPlane = farZ;
  matrix projection;
  D3DXMatrixPerspectiveFovRH(&projection, fov, aspectRatio, nearZ, farZ);
  transforms.setProjection(projection);
  device->SetTransform(D3DTS_PROJECTION, &projection);
  return projection;
}

void Context::pushClipPlane(const D3DXPLANE& plane) {
  clipPlanes.push_back(plane);
  const float sent[4] = {plane.a, plane.b, plane.c, -plane.d};
  const DWORD count = static_cast<DWORD>(clipPlanes.size());
  device->SetClipPlane(count - 1, sent);
  device->SetRenderState(D3DRS_CLIPPLANEENABLE, (1u << count) - 1);
}

void Context::clearClipPlanes() {
  device->SetRenderState(D3DRS_CLIPPLANEENABLE, 0);
  clipPlanes.clear();
}

void Context::setFog(bool enable, const FogSettings& settings) {
  if (!enable || settings.mode == FogOff) {
    device->SetRenderState(D3DRS_FOGENABLE, FALSE);
    return;
  }
  device->SetRenderState(D3DRS_FOGENABLE, TRUE);
  device->SetRenderState(D3DRS_FOGCOLOR, settings.color);
  const D3DFOGMODE mode = settings.mode == FogLinear        ? D3DFOG_LINEAR
                          : settings.mode == FogExponential ? D3DFOG_EXP
                                                            : D3DFOG_EXP2;
  auto sendValues = [&] {
    if (mode == D3DFOG_LINEAR) {
      device->SetRenderState(D3DRS_FOGSTART, floatBits(settings.start));
      device->SetRenderState(D3DRS_FOGEND, floatBits(settings.end));
    } else {
      device->SetRenderState(D3DRS_FOGDENSITY, floatBits(settings.density));
    }
  };
  if (settings.kind == FogTable) {
    device->SetRenderState(D3DRS_FOGVERTEXMODE, D3DFOG_NONE);
    device->SetRenderState(D3DRS_RANGEFOGENABLE, FALSE);
    device->SetRenderState(D3DRS_FOGTABLEMODE, mode);
    sendValues();
  } else {
    device->SetRenderState(D3DRS_FOGTABLEMODE, D3DFOG_NONE);
    device->SetRenderState(D3DRS_RANGEFOGENABLE, settings.kind == FogVertexRange ? TRUE : FALSE);
    device->SetRenderState(D3DRS_FOGVERTEXMODE, mode);
    sendValues();
  }
}

void Context::resetMaterial() {
  setDefaultMaterial();
  applyDefaultRenderState();
  resetTextureStages();
}

void Context::setWorldMatrix(const matrix& world) {
  transforms.setWorld(world);
  device->SetTransform(D3DTS_WORLD, &world);
}

}  // namespace ts3d

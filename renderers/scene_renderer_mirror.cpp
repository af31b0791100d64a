#include "renderers/scene_renderer_mirror.h"

#include "context/context.h"
#include "geometry/geometry.h"
#include "io/trace.h"
#include "scene/camera.h"
#include "scene/frustum.h"
#include "scene/mesh.h"
#include "scene/scene_hierarchy.h"
#include "scene/transformation.h"

namespace ts3d {

namespace {

// Where a mirror shows, the stencil holds this.
constexpr uint32_t kMirrorStencil = 1;
// The stencil test that keeps drawing inside the mask; fields of other groups stay default.
RenderStateBlock insideMask(uint32_t groups) {
  RenderStateBlock block(RenderStateBlock::StencilGroup | groups);
  block.stencilEnable = true;
  block.stencilFunc = CompareEqual;
  block.stencilRef = kMirrorStencil;
  return block;
}

// The mirror's plane in the world: the point normal x d and one a normal further, both moved.
D3DXPLANE worldPlane(const Plane& local, const matrix& world) {
  const vect3 normal(local.a, local.b, local.c);
  const vect3 point = normal * local.d, ahead = point + normal;
  vect3 movedPoint, movedAhead, movedNormal;
  D3DXVec3TransformCoord(&movedPoint, &point, &world);
  D3DXVec3TransformCoord(&movedAhead, &ahead, &world);
  const vect3 step = movedAhead - movedPoint;
  D3DXVec3Normalize(&movedNormal, &step);
  return D3DXPLANE(movedNormal.x, movedNormal.y, movedNormal.z, D3DXVec3Dot(&movedNormal, &movedPoint));
}

}  // namespace

bool SceneRendererMirror::stencilChecked = false;
bool SceneRendererMirror::stencilUsable = false;

bool SceneRendererMirror::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes)) return false;
  for (uint32_t i = 0; i < count && in.isGood(); ++i) {
    // A null reference or another class than a mesh can't be a mirror: it is left out.
    if (Mesh* mirror = tsio::readShared<Mesh>(in)) mirrors.push_back(mirror);
  }
  return in.isGood();
}

void SceneRendererMirror::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeUint32(static_cast<uint32_t>(mirrors.size()));
  for (Mesh* mirror : mirrors) out.writeObject(mirror);
}

void SceneRendererMirror::render(SceneHierarchy& scene, Camera* camera) {
  context = Context::instance;
  // Without a camera the scene has nothing to draw.
  if (!context || !camera) return;
  if (!stencilChecked) {
    const Capabilities& caps = context->capabilities;
    stencilUsable = caps.stencilBits >= 1 && caps.stencilKeep && caps.stencilReplace;
    traceBoxIf(!stencilUsable,
               "Stencil Mirror needs stencil buffer capabilities, the current device does not have it, try "
               "changing resolution and pixel format.");
    stencilChecked = true;
  }
  camera->apply();
  if (!stencilUsable) {
    scene.renderContents();
    context = nullptr;
    return;
  }
  // The direct view, without the mirrors.
  for (Mesh* mirror : mirrors) mirror->setExcluded(true);
  scene.renderContents();
  for (Mesh* mirror : mirrors) mirror->setExcluded(false);
  for (size_t i = 0; i < mirrors.size(); ++i) {
    mask(i);
    clearInside(scene);
    reflect(scene, *camera, *mirrors[i]);
    overlay(*camera, *mirrors[i]);
  }
  context = nullptr;
}

void SceneRendererMirror::mask(size_t index) {
  // The first mirror finds the stencil as the frame's clear left it.
  if (index > 0) context->clear(Context::ClearStencil, true);
  RenderStateBlock block(RenderStateBlock::BlendingGroup | RenderStateBlock::DepthGroup |
                         RenderStateBlock::StencilGroup);
  block.alphaBlendEnable = true;
  block.srcBlend = BlendZero;
  block.destBlend = BlendOne;
  block.stencilEnable = true;
  block.stencilFunc = CompareAlways;
  block.stencilPass = StencilReplace;
  block.stencilRef = kMirrorStencil;
  context->setRenderStateOverride(block);
  mirrors[index]->draw();
  context->clearRenderStateOverride();
}

void SceneRendererMirror::clearInside(SceneHierarchy& scene) {
  context->setRenderStateOverride(insideMask(0));
  // Through a quad, so that the stencil test applies.
  scene.clear(nullptr, Context::ClearTarget | Context::ClearDepth, false);
  context->clearRenderStateOverride();
}

void SceneRendererMirror::reflect(SceneHierarchy& scene, Camera& camera, Mesh& mirror) {
  // Without a geometry a mirror cut nothing out of the stencil: nothing could show.
  Geometry* shape = mirror.geometry();
  if (!shape) return;
  matrix world;
  D3DXMatrixIdentity(&world);
  if (mirror.transformation) world = *mirror.transformation->matrix();
  const D3DXPLANE plane = worldPlane(shape->plane(), world);
  const vect3 normal(plane.a, plane.b, plane.c), onPlane = normal * plane.d;
  D3DXPLANE reflecting;
  D3DXPlaneFromPointNormal(&reflecting, &onPlane, &normal);
  matrix reflection, mirrorView, mirrorViewProjection;
  D3DXMatrixReflect(&reflection, &reflecting);
  D3DXMatrixMultiply(&mirrorView, &reflection, camera.viewMatrix());
  context->transforms.setView(mirrorView);
  context->device->SetTransform(D3DTS_VIEW, &mirrorView);
  // What lies behind the mirror is dropped: its plane is one more side of the frustum.
  Frustum frustum;
  D3DXMatrixMultiply(&mirrorViewProjection, &mirrorView, camera.projectionMatrix());
  frustum.setFromViewProjection(mirrorViewProjection);
  frustum.planes.push_back(plane);

  // The reflection turns the winding over.
  RenderStateBlock block = insideMask(RenderStateBlock::RasteriserGroup);
  block.cullMode = CullCounterClockwise;
  context->setRenderStateOverride(block);
  const bool clipped = context->capabilities.maxClipPlanes > 0;
  if (clipped) context->pushClipPlane(plane);
  mirror.setExcluded(true);
  scene.renderContents(frustum);
  mirror.setExcluded(false);
  if (clipped) context->clearClipPlanes();
  context->clearRenderStateOverride();
}

void SceneRendererMirror::overlay(Camera& camera, Mesh& mirror) {
  context->transforms.setView(*camera.viewMatrix());
  context->device->SetTransform(D3DTS_VIEW, camera.viewMatrix());
  RenderStateBlock block(RenderStateBlock::BlendingGroup);
  block.alphaBlendEnable = true;
  block.setBlendPreset(2);
  context->setRenderStateOverride(block);
  mirror.draw();
  context->clearRenderStateOverride();
}

}  // namespace ts3d

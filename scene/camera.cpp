#include "scene/camera.h"

#include "context/context.h"
#include "scene/hierarchy_node.h"
#include "scene/transformation.h"

namespace ts3d {

namespace {

float valueOr(const controller::ControllerBase<float>* source, float fallback) {
  return source ? source->value : fallback;
}

}  // namespace

CameraSimple::CameraSimple() {
  D3DXMatrixIdentity(&view);
  D3DXMatrixIdentity(&projection);
}

CameraSimple::~CameraSimple() {
  delete fovController;
  delete nearController;
  delete farController;
  delete clipNearController;
  delete rangeFarController;
}

void CameraSimple::update(float time) {
  updateControllers(time);
  vect3 eye(0.0f, 0.0f, 0.0f);
  vect3 upPoint(0.0f, 1.0f, 0.0f);
  vect3 at(0.0f, 0.0f, -1.0f);
  if (transformation) {
    // Asked for each point: a node's matrix may live in a buffer that the next call reuses.
    const vect3 localEye = eye, localUp = upPoint, localAt = at;
    D3DXVec3TransformCoord(&eye, &localEye, transformation->matrix());
    D3DXVec3TransformCoord(&upPoint, &localUp, transformation->matrix());
    D3DXVec3TransformCoord(&at, &localAt, transformation->matrix());
  }
  const vect3 up = upPoint - eye;
  D3DXMatrixLookAtRH(&view, &eye, &at, &up);
}

void CameraSimple::apply() {
  Context* context = Context::instance;
  if (!context) return;
  context->transforms.setView(view);
  context->device->SetTransform(D3DTS_VIEW, &view);
  if (!fovController) return;
  const float farZ = valueOr(farController, kDefaultFar);
  const float nearZ = valueOr(nearController, kDefaultNear);
  float aspect = context->aspect;
  if (const RenderSurface* target = context->currentTarget) {
    if (target->viewport.Height > 0)
      aspect = static_cast<float>(target->viewport.Width) / static_cast<float>(target->viewport.Height);
  }
  projection = context->setPerspective(fovController->value, aspect, nearZ, farZ);
}

Frustum& CameraSimple::frustum(Frustum& out) {
  matrix viewProjection;
  D3DXMatrixMultiply(&viewProjection, &view, &projection);
  out.setFromViewProjection(viewProjection);
  return out;
}

float CameraSimple::clipNear() { return valueOr(clipNearController, 1.0f); }
float CameraSimple::clipFar() { return valueOr(farController, kDefaultFar); }
float CameraSimple::rangeNear() { return valueOr(nearController, 0.0f); }
float CameraSimple::rangeFar() { return valueOr(rangeFarController, 0.0f); }

float CameraSimple::focusDistance() {
  // A camera aiming at a node focuses on it; the positions are those the nodes' own
  // controllers give, as the look-at itself uses them.
  auto* node = dynamic_cast<HierarchyNode*>(transformation);
  if (node && node->target) {
    const vect3 between = *node->target->position() - *node->position();
    return D3DXVec3Length(&between);
  }
  return (clipFar() - clipNear()) * 0.5f;
}

bool CameraSimple::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  loadTransformation(in);
  loadController(in, fovController);
  loadController(in, nearController);
  loadController(in, farController);
  loadController(in, clipNearController);
  loadController(in, rangeFarController);
  return in.isGood();
}

void CameraSimple::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeObject(transformation);
  out.writeObject(fovController);
  out.writeObject(nearController);
  out.writeObject(farController);
  out.writeObject(clipNearController);
  out.writeObject(rangeFarController);
}

}  // namespace ts3d

#include "scene/hierarchy_node.h"

#include "scene/controller_transformation.h"

namespace ts3d {

namespace {

const vect3 kOrigin(0.0f, 0.0f, 0.0f);
const vect3 kUnitScale(1.0f, 1.0f, 1.0f);
const quat kNoRotation(0.0f, 0.0f, 0.0f, 1.0f);

}  // namespace

HierarchyNode::HierarchyNode() {
  D3DXMatrixIdentity(&localMatrix);
  D3DXMatrixIdentity(&worldMatrix);
}

HierarchyNode::~HierarchyNode() {
  delete rollController;
  delete transformation;
}

void HierarchyNode::update(float time) {
  if (!transformation) return;
  transformation->update(time);
  if (!target) {
    localMatrix = *transformation->matrix();
    return;
  }
  // Only the target's position is read: its own update comes in the tree pass, and stepping its
  // transformation alone can't recurse around a ring of targets.
  if (target->transformation) target->transformation->update(time);
  if (rollController) rollController->update(time);
  // Both points as they stand in the nodes' own transformations, not in world space.
  const vect3 eye = *transformation->position();
  const vect3 at = *target->position();
  const vect3 up(0.0f, 0.0f, 1.0f);
  ts3d::matrix view;
  D3DXMatrixLookAtRH(&view, &eye, &at, &up);
  quat aim;
  D3DXQuaternionRotationMatrix(&aim, &view);
  // The view turns the world to the eye; the node turns the other way.
  aim = quat(-aim.x, -aim.y, -aim.z, aim.w);
  quat roll = kNoRotation;
  if (rollController) D3DXQuaternionRotationAxis(&roll, &up, rollController->value);
  quat turned;
  D3DXQuaternionMultiply(&turned, &roll, &aim);
  localMatrix = composeMatrix(eye, turned, *transformation->scale());
}

const vect3* HierarchyNode::position() { return transformation ? transformation->position() : &kOrigin; }

const quat* HierarchyNode::rotation() {
  if (target || !transformation) return &kNoRotation;
  return transformation->rotation();
}

const vect3* HierarchyNode::scale() { return transformation ? transformation->scale() : &kUnitScale; }

bool HierarchyNode::load(tsio::InStream& in) {
  int32_t hasTarget = 0;
  in.readInt32(&hasTarget);
  if (hasTarget & 1) {
    target = tsio::readShared<HierarchyNode>(in);
    auto* roll = tsio::readOwned<controller::ControllerBase<float>>(in);
    if (roll) {
      delete rollController;
      rollController = roll;
    }
  }
  if (auto* loaded = tsio::readOwned<ControllerTransformation>(in)) {
    delete transformation;
    transformation = loaded;
  }
  return in.isGood();
}

void HierarchyNode::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeInt32(target ? 1 : 0);
  if (target) {
    out.writeObject(target);
    out.writeObject(rollController);
  }
  out.writeObject(transformation);
}

}  // namespace ts3d

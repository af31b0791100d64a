#pragma once

#include <cstdint>
#include <vector>

#include "io/serializable.h"
#include "scene/controller/animatable.h"
#include "scene/controller/controller.h"
#include "scene/transformation.h"
#include "scene/value_types.h"

namespace ts3d {

class ControllerTransformation;

// A node of the scene's tree: an animated local matrix, and the world matrix that the scene
// computes from the parent's. With a target it keeps its position and scale but turns to
// look at the target, about the look-at axis by the roll. Owns its transformation and roll
// controller (plain fields, not on the Animatable list); the scene owns the nodes themselves.
// Body of HINO (version 1): int32 1 with a target, else 0; with one, objects target and roll;
// then object transformation. Children stand in the scene's body, not here.
class HierarchyNode : public Animatable, public Transformation {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("HINO");
  static constexpr int32_t kVersion = 1;

  HierarchyNode();
  ~HierarchyNode() override;
  HierarchyNode(const HierarchyNode&) = delete;
  HierarchyNode& operator=(const HierarchyNode&) = delete;

  // Sets localMatrix; leaves the children to the scene.
  void update(float time) override;

  const vect3* position() override;
  // The identity with a target, else the transformation's rotation.
  const quat* rotation() override;
  const vect3* scale() override;
  // The world matrix of the scene's last update.
  const ts3d::matrix* matrix() override { return &worldMatrix; }

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  HierarchyNode* parent = nullptr;
  HierarchyNode* target = nullptr;
  std::vector<HierarchyNode*> children;
  controller::ControllerBase<float>* rollController = nullptr;
  ControllerTransformation* transformation = nullptr;
  ts3d::matrix localMatrix;
  ts3d::matrix worldMatrix;
};

}  // namespace ts3d

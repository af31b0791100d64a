#include "scenebuild/import/motion_scene.h"

namespace tsimport {

namespace {

// One key or none: a constant, so that a still node stores no track.
template <class T>
ts3d::controller::ControllerBase<T>* controllerOf(const Track<T>& track, const T& still) {
  if (track.times.size() <= 1) return scenebuild::constant(track.times.empty() ? still : track.values[0]);
  auto* keyed = new ts3d::controller::Linear<T>;
  for (size_t k = 0; k < track.times.size(); ++k) keyed->keys.emplace_back(track.times[k], track.values[k]);
  return keyed;
}

}  // namespace

ts3d::HierarchyNode* animatedNode(scenebuild::SceneBuilder& builder, ts3d::HierarchyNode* parent, const Node& node) {
  const NodeAnimation& animation = node.animation;
  return builder.node(parent, controllerOf(animation.position, node.position),
                      controllerOf(animation.rotation, node.rotation), controllerOf(animation.scale, node.scale));
}

ts3d::MeshSimple* skinnedPart(scenebuild::SceneBuilder& builder, ts3d::GeometryWeighted* geometry,
                              const MeshPart& part, ts3d::Material* material, const Skin& skin,
                              const std::vector<ts3d::HierarchyNode*>& sceneNodes) {
  std::vector<ts3d::HierarchyNode*> bones;
  std::vector<ts3d::matrix> bindPose;
  for (size_t j = 0; j < skin.joints.size(); ++j) {
    bones.push_back(sceneNodes[static_cast<size_t>(skin.joints[j])]);
    // The joint's matrix in the bind pose; the builder takes its inverse back as the offset.
    ts3d::matrix pose;
    D3DXMatrixIdentity(&pose);  // kept for an inverse bind matrix without an inverse
    D3DXMatrixInverse(&pose, nullptr, &skin.inverseBind[j]);
    bindPose.push_back(pose);
  }
  for (const Influence& influence : part.influences) {
    ts3d::VertexWeight weight;
    std::copy_n(influence.joints, 4, weight.bones);
    std::copy_n(influence.weights, 3, weight.weights);  // the fourth is what the others leave
    geometry->vertexWeights.push_back(weight);
  }
  return builder.skinnedMesh(geometry, material, bones, bindPose);
}

}  // namespace tsimport

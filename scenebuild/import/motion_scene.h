#pragma once

// The moving half of an imported model as engine objects: keyed controllers for animated
// nodes, and skinned meshes. Windows build.

#include <vector>

#include "scenebuild/import/model.h"
#include "scenebuild/scene_builder.h"

namespace tsimport {

// A scene node under parent for node, its position, rotation and scale keyed where the
// node's animation has keys and constant (the node's own values) where it has none.
ts3d::HierarchyNode* animatedNode(scenebuild::SceneBuilder& builder, ts3d::HierarchyNode* parent, const Node& node);

// A mesh of geometry (taken over: part's vertices, without weights) that follows skin's joints
// by part's influences; sceneNodes holds the scene node made for each node of the model. Like
// a glTF skinned mesh it has no place of its own.
ts3d::MeshSimple* skinnedPart(scenebuild::SceneBuilder& builder, ts3d::GeometryWeighted* geometry,
                              const MeshPart& part, ts3d::Material* material, const Skin& skin,
                              const std::vector<ts3d::HierarchyNode*>& sceneNodes);

}  // namespace tsimport

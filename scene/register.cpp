#include "io/chunk_registry.h"
#include "scene/camera.h"
#include "scene/controller_transformation.h"
#include "scene/hierarchy_node.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/scene_hierarchy.h"
#include "scene/transformation.h"

namespace ts3d {
namespace {

// The registry is full before the first call into the module: static objects, made at start-up.
tsio::ChunkRegistrer<TransformationPRS> fixedTransformation(TransformationPRS::kCode);
tsio::ChunkRegistrer<ControllerTransformation> animatedTransformation(ControllerTransformation::kCode);
tsio::ChunkRegistrer<ControllerTransformationMatrix> matrixTransformation(
    ControllerTransformationMatrix::kCode);
tsio::ChunkRegistrer<CameraSimple> camera(CameraSimple::kCode);
tsio::ChunkRegistrer<LightOmni> light(LightOmni::kCode);
tsio::ChunkRegistrer<MeshSimple> mesh(MeshSimple::kCode);
tsio::ChunkRegistrer<HierarchyNode> node(HierarchyNode::kCode);
tsio::ChunkRegistrer<SceneHierarchy> scene(SceneHierarchy::kCode);

}  // namespace
}  // namespace ts3d

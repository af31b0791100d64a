#include "scene/register.h"

#include "geometry/register.h"
#include "io/chunk_registry.h"
#include "materials/register.h"
#include "scene/camera.h"
#include "scene/controller/register.h"
#include "scene/controller_transformation.h"
#include "scene/hierarchy_node.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/scene_hierarchy.h"
#include "scene/transformation.h"

namespace ts3d {

void registerSceneChunks() {
  controller::registerControllerChunks();
  registerGeometryChunks();
  registerMaterialChunks();
  static tsio::ChunkRegistrer<TransformationPRS> fixedTransformation(TransformationPRS::kCode);
  static tsio::ChunkRegistrer<ControllerTransformation> animatedTransformation(ControllerTransformation::kCode);
  static tsio::ChunkRegistrer<ControllerTransformationMatrix> matrixTransformation(
      ControllerTransformationMatrix::kCode);
  static tsio::ChunkRegistrer<CameraSimple> camera(CameraSimple::kCode);
  static tsio::ChunkRegistrer<LightOmni> light(LightOmni::kCode);
  static tsio::ChunkRegistrer<MeshSimple> mesh(MeshSimple::kCode);
  static tsio::ChunkRegistrer<HierarchyNode> node(HierarchyNode::kCode);
  static tsio::ChunkRegistrer<SceneHierarchy> scene(SceneHierarchy::kCode);
}

}  // namespace ts3d

#include "io/chunk_registry.h"
#include "scene/atmospheric_ambient.h"
#include "scene/atmospheric_background.h"
#include "scene/atmospheric_billboard.h"
#include "scene/atmospheric_fog.h"
#include "scene/camera.h"
#include "scene/controller_transformation.h"
#include "scene/hierarchy_node.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/particle_billboard.h"
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
tsio::ChunkRegistrer<AtmosphericAmbient> ambient(AtmosphericAmbient::kCode);
tsio::ChunkRegistrer<AtmosphericFog> fog(AtmosphericFog::kCode);
tsio::ChunkRegistrer<AtmosphericBackground> background(AtmosphericBackground::kCode);
tsio::ChunkRegistrer<AtmosphericBillboard> billboards(AtmosphericBillboard::kCode);
tsio::ChunkRegistrer<particle::Billboard> billboard(particle::Billboard::kCode);

}  // namespace
}  // namespace ts3d

#include "scene/register.h"

#include "io/chunk_registry.h"
#include "scene/camera.h"
#include "scene/controller/register.h"
#include "scene/controller_transformation.h"
#include "scene/light.h"
#include "scene/transformation.h"

namespace ts3d {

void registerSceneChunks() {
  controller::registerControllerChunks();
  static tsio::ChunkRegistrer<TransformationPRS> fixedTransformation(TransformationPRS::kCode);
  static tsio::ChunkRegistrer<ControllerTransformation> animatedTransformation(ControllerTransformation::kCode);
  static tsio::ChunkRegistrer<ControllerTransformationMatrix> matrixTransformation(
      ControllerTransformationMatrix::kCode);
  static tsio::ChunkRegistrer<CameraSimple> camera(CameraSimple::kCode);
  static tsio::ChunkRegistrer<LightOmni> light(LightOmni::kCode);
}

}  // namespace ts3d

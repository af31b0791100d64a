#include "io/chunk_registry.h"
#include "renderers/scene_renderer_dof.h"

namespace ts3d {
namespace {

// The registry is full before the first call into the module: static objects, made at start-up.
tsio::ChunkRegistrer<SceneRendererDOF> depthOfField(SceneRendererDOF::kCode);

}  // namespace
}  // namespace ts3d

#include "io/chunk_registry.h"
#include "renderers/scene_renderer_blur.h"
#include "renderers/scene_renderer_channels.h"
#include "renderers/scene_renderer_dof.h"
#include "renderers/scene_renderer_shadow.h"
#include "renderers/scene_renderer_mirror.h"

namespace ts3d {
namespace {

// The registry is full before the first call into the module: static objects, made at start-up.
tsio::ChunkRegistrer<SceneRendererBlur> blur(SceneRendererBlur::kCode);
tsio::ChunkRegistrer<SceneRendererChannels> channels(SceneRendererChannels::kCode);
tsio::ChunkRegistrer<SceneRendererDOF> depthOfField(SceneRendererDOF::kCode);
tsio::ChunkRegistrer<SceneRendererShadow> shadow(SceneRendererShadow::kCode);
tsio::ChunkRegistrer<SceneRendererMirror> mirror(SceneRendererMirror::kCode);

}  // namespace
}  // namespace ts3d

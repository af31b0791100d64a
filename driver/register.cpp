#include "driver/exported_animation.h"
#include "io/chunk_registry.h"

namespace {

// The registry is full before the first call into the module: a static object, made at start-up.
tsio::ChunkRegistrer<ExportedAnimation> animation(ExportedAnimation::kCode);

}  // namespace

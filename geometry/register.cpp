#include "geometry/geometry_composite.h"
#include "geometry/geometry_simple.h"
#include "geometry/geometry_weighted.h"
#include "geometry/modifier_skin.h"
#include "geometry/modifier_stack.h"
#include "io/chunk_registry.h"

namespace ts3d {
namespace {

// The registry is full before the first call into the module: static objects, made at start-up.
tsio::ChunkRegistrer<GeometrySimple> simple(GeometrySimple::kCode);
tsio::ChunkRegistrer<GeometryComposite> composite(GeometryComposite::kCode);
tsio::ChunkRegistrer<ModifierStack> stack(ModifierStack::kCode);
tsio::ChunkRegistrer<GeometryWeighted> weighted(GeometryWeighted::kCode);
tsio::ChunkRegistrer<ModifierSkin> skin(ModifierSkin::kCode);

}  // namespace
}  // namespace ts3d

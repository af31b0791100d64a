#include "geometry/register.h"

#include "geometry/geometry_composite.h"
#include "geometry/geometry_simple.h"
#include "geometry/modifier_stack.h"
#include "io/chunk_registry.h"

namespace ts3d {

void registerGeometryChunks() {
  static tsio::ChunkRegistrer<GeometrySimple> simple(GeometrySimple::kCode);
  static tsio::ChunkRegistrer<GeometryComposite> composite(GeometryComposite::kCode);
  static tsio::ChunkRegistrer<ModifierStack> stack(ModifierStack::kCode);
}

}  // namespace ts3d

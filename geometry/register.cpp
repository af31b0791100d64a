#include "geometry/register.h"

#include "geometry/geometry_simple.h"
#include "io/chunk_registry.h"

namespace ts3d {

void registerGeometryChunks() { static tsio::ChunkRegistrer<GeometrySimple> simple(GeometrySimple::kCode); }

}  // namespace ts3d

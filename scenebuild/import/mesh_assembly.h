#pragma once

// The one way a reader's triangles become mesh parts: indices checked, flat normals made when
// the file has none, and split into parts of at most kMaxPartVertices vertices that keep every
// triangle whole.

#include <cstdint>
#include <string>
#include <vector>

#include "scenebuild/import/model.h"

namespace tsimport {

// A reader's triangles of one material, already in the engine's coordinates.
struct Primitive {
  int material = -1;
  int sourcePrimitive = -1;
  std::vector<ts3d::vect3> positions;
  std::vector<ts3d::vect3> normals;    // empty: flat normals are made
  std::vector<TexCoord> texCoords;     // empty or one per position
  std::vector<ts3d::color> colors;     // empty or one per position
  std::vector<uint32_t> indices;       // three per triangle
};

// Appends the primitive's parts to mesh; false (error says why) when an index or a per-vertex
// array does not match the positions.
bool addPrimitive(const Primitive& primitive, Mesh& mesh, std::string& error);

}  // namespace tsimport

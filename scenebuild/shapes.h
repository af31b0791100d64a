#pragma once

// Triangle meshes generated in code for test and demo scenes: positions, outward normals,
// one texture coordinate pair per vertex, and faces wound counter-clockwise seen from
// outside (the engine's default culling drops clockwise ones). Platform-free.

#include <cstdint>
#include <vector>

#include "scene/value_types.h"

namespace scenebuild {

struct ShapeFace {
  uint16_t vertex[3];
};

struct Shape {
  std::vector<ts3d::vect3> positions;
  std::vector<ts3d::vect3> normals;
  std::vector<float> u, v;
  std::vector<ShapeFace> faces;

  uint32_t vertexCount() const { return static_cast<uint32_t>(positions.size()); }
};

// An axis-aligned box centred on the origin, with its full sizes; each side has its own
// four vertices so that normals and texture coordinates don't blend across edges.
Shape box(float sizeX, float sizeY, float sizeZ);

// A rectangle in the z = 0 plane facing +z, centred on the origin, cut into a grid of
// cellsX by cellsY quads; u runs along x, v downwards along y as images are stored.
Shape plane(float sizeX, float sizeY, uint32_t cellsX, uint32_t cellsY);

// A sphere about the z axis: slices around it, stacks from pole to pole. The seam repeats
// its vertices so that u runs 0 to 1 around.
Shape sphere(float radius, uint32_t slices, uint32_t stacks);

// A ring about the z axis: major radius to the tube's centre, minor radius of the tube.
Shape torus(float majorRadius, float minorRadius, uint32_t rings, uint32_t sides);

}  // namespace scenebuild

#pragma once

#include <cstdint>
#include <vector>

#include "io/serializable.h"
#include "scene/value_types.h"

namespace ts3d {

// One triangle: three vertex numbers in winding order. Laid out as the index buffer
// wants it, so a face list copies into a 16-bit index buffer as it is.
struct Face {
  uint16_t vertex[3] = {0, 0, 0};

  bool operator==(const Face& other) const {
    return vertex[0] == other.vertex[0] && vertex[1] == other.vertex[1] && vertex[2] == other.vertex[2];
  }
  bool operator!=(const Face& other) const { return !(*this == other); }
};
static_assert(sizeof(Face) == 6, "a face is three 16-bit indices");

struct TextureCoordinate {
  float u = 0.0f;
  float v = 0.0f;

  bool operator==(const TextureCoordinate& other) const { return u == other.u && v == other.v; }
  bool operator!=(const TextureCoordinate& other) const { return !(*this == other); }
};

// One coordinate pair per vertex.
struct TextureChannel {
  std::vector<TextureCoordinate> coordinates;

  bool operator==(const TextureChannel& other) const { return coordinates == other.coordinates; }
  bool operator!=(const TextureChannel& other) const { return !(*this == other); }
};

struct BoundingSphere {
  vect3 center{0.0f, 0.0f, 0.0f};
  float radius = 0.0f;
};

struct BoundingBox {
  vect3 minimum{0.0f, 0.0f, 0.0f};
  vect3 maximum{0.0f, 0.0f, 0.0f};
};

// Normal (a, b, c); a point p lies on the plane when dot(normal, p) == d.
struct Plane {
  float a = 0.0f, b = 0.0f, c = 0.0f, d = 0.0f;
};

// Kept through load and store for the tools that wrote it; nothing here reads it.
struct AuxiliaryRecord {
  uint16_t values[4] = {0, 0, 0, 0};

  bool operator==(const AuxiliaryRecord& other) const {
    return values[0] == other.values[0] && values[1] == other.values[1] && values[2] == other.values[2] &&
           values[3] == other.values[3];
  }
  bool operator!=(const AuxiliaryRecord& other) const { return !(*this == other); }
};

// What meshes, modifiers and the shadow code see of triangle data. A geometry has no
// material: whoever draws it sets material and world matrix around draw.
class Geometry : public tsio::Serializable {
 public:
  bool load(tsio::InStream& in) override = 0;
  void store(tsio::OutStream& out) override = 0;
  virtual bool isComposite() const { return false; }
  // One draw of the triangles with the current material and world matrix.
  virtual void draw() = 0;
  virtual BoundingSphere boundingSphere() = 0;
  virtual BoundingBox boundingBox() = 0;
  // The plane through the first vertex, across its normal (what a mirror needs).
  virtual Plane plane() = 0;
  // Once, after the scene is loaded and its references are bound.
  virtual void prepare() = 0;
  // (Re)makes the device buffers; may run any number of times.
  virtual void createResources() = 0;
  ~Geometry() override = default;
};

}  // namespace ts3d

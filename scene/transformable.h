#pragma once

#include "io/stream.h"

namespace ts3d {

class Transformation;

// Gives a mesh, camera or light its place. It only points at its transformation: a node
// belongs to the tree, any other transformation to the scene.
class Transformable {
 public:
  Transformable(const Transformable&) = delete;
  Transformable& operator=(const Transformable&) = delete;

  Transformation* transformation = nullptr;  // null: the object has no place of its own

 protected:
  Transformable() = default;
  ~Transformable() = default;

  // Reads the transformation field; another class than a transformation gives null.
  void loadTransformation(tsio::InStream& in);
};

}  // namespace ts3d

#pragma once

#include "io/stream.h"

namespace ts3d {

class Transformation;

// Gives a mesh, camera or light its place. A node of the scene's tree belongs to the tree; a
// fixed transformation (TransformationPRS) read from a file belongs to the first Transformable
// that read it, since every object of a file needs exactly one owner and no list of the scene
// holds these. Others that refer to the same one only point at it.
class Transformable {
 public:
  Transformable(const Transformable&) = delete;
  Transformable& operator=(const Transformable&) = delete;

  Transformation* transformation = nullptr;  // null: the object has no place of its own
  bool ownsTransformation = false;           // set only by loadTransformation

 protected:
  Transformable() = default;
  ~Transformable();

  // Reads the transformation field. A wrong class fails the stream.
  void loadTransformation(tsio::InStream& in);
};

}  // namespace ts3d

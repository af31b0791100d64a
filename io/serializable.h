#pragma once

#include "io/stream.h"

namespace tsio {

// Base of every persisted class. store opens with out.beginChunk(code, currentVersion) and
// writes the body with the typed operations; load reads the same fields in the same order,
// with the chunk header already read. A load that meets a version beyond what it knows
// returns false before reading anything.
//
// Ownership of what a load reads. Every object made while reading a file belongs to exactly
// one owner: the caller for the root, or the object that adopted it. Owned fields are read
// with readOwned, which adopts; fields that merely point at an object owned elsewhere are
// read with readShared. An object that nobody adopts, two owners of one object, or an owner
// inside its own subtree make the file unreadable, and then the stream deletes what it made:
// each owner must delete exactly what it adopted, in its destructor, and not before the read
// of the file has ended (the stream may still hand the object out as a reference).
class Serializable {
 public:
  virtual bool load(InStream& in) = 0;
  virtual void store(OutStream& out) = 0;
  virtual ~Serializable() = default;
};

// Reads an object that the caller owns from now on. Null when the stream holds a null
// reference or an unknown chunk there; an object of another class than T fails the stream.
template <class T>
T* readOwned(InStream& in) {
  Serializable* object = in.readObject();
  if (!object) return nullptr;
  T* typed = dynamic_cast<T*>(object);
  if (!typed) {
    in.fail("an owned object is of an unexpected class");
    return nullptr;
  }
  return in.adopt(object) ? typed : nullptr;
}

// Reads a pointer to an object that another object owns (or the object being read itself).
// Null for a null reference or an unknown chunk; another class than T fails the stream.
template <class T>
T* readShared(InStream& in) {
  Serializable* object = in.readObject();
  if (!object) return nullptr;
  T* typed = dynamic_cast<T*>(object);
  if (!typed) in.fail("a referenced object is of an unexpected class");
  return typed;
}

}  // namespace tsio

#pragma once

#include <vector>

#include "io/stream.h"

namespace tsio {

// Base of every persisted class. store opens with out.beginChunk(code, currentVersion) and
// writes the body with the typed operations; load reads the same fields in the same order,
// with the chunk header already read.
//
// Ownership of what a load reads. Owned fields are read with readOwned, which claims the
// object: its first claim makes the claimant the owner, which deletes it in its destructor.
// A second claim, or a claim of an object whose own body is still being read, gives null, so
// that a file can make nothing be deleted twice or own itself. Fields that merely point at an
// object are read with readShared. Objects that nothing claimed go to the root's keepUnowned
// once the whole file is read: other objects may point at them.
class Serializable {
 public:
  virtual bool load(InStream& in) = 0;
  virtual void store(OutStream& out) = 0;
  virtual ~Serializable() = default;
  // Takes the objects of this root's file that no owner claimed; they must live as long as
  // the root. By default they stay for the life of the process, as nothing owns them.
  virtual void keepUnowned(std::vector<Serializable*>& objects);
};

// Reads an object field that the caller owns from now on. Null for a null word, an unknown
// chunk, a reference to nothing, an object of another class than T (it stays in the file's
// graph), or an object that another field owns already.
template <class T>
T* readOwned(InStream& in) {
  T* typed = dynamic_cast<T*>(in.readObject());
  return typed && in.claim(typed) ? typed : nullptr;
}

// Reads a pointer to an object that something else owns (or the object being read itself).
// Null for a null word, an unknown chunk, a reference to nothing or an object of another class.
template <class T>
T* readShared(InStream& in) {
  return dynamic_cast<T*>(in.readObject());
}

}  // namespace tsio

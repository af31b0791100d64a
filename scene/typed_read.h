#pragma once

#include <string>

#include "io/serializable.h"

namespace ts3d {

// What stands at the read position as an object word: "null", "a GOSM" or "the object with
// id 3" (a reference), for messages about a member of the wrong class. Leaves the position.
std::string describeNextObject(tsio::InStream& in);

// Reads an object field that must be a T. Anything else fails the stream with a message
// naming the place and what was found there; owned members are adopted (see readOwned).
template <class T>
T* readTyped(tsio::InStream& in, const char* place, const char* expected, bool owned) {
  const std::string found = describeNextObject(in);
  tsio::Serializable* object = in.readObject();
  if (!object) return nullptr;
  T* typed = dynamic_cast<T*>(object);
  if (!typed) {
    in.fail(std::string(place) + " holds " + found + " where " + expected + " belongs");
    return nullptr;
  }
  if (owned && !in.adopt(object)) return nullptr;
  return typed;
}

}  // namespace ts3d

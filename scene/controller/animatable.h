#pragma once

#include <vector>

#include "io/serializable.h"
#include "scene/controller/controller.h"

namespace ts3d {

// Base of everything that can be animated. A derived class keeps each of its controllers in a
// named field, owns it and deletes it in its destructor; controllers lists them (without
// owning them) so that one call updates them all.
class Animatable {
 public:
  // Calls updateControllers first, then derives what it needs from their values.
  virtual void update(float time) = 0;
  virtual ~Animatable() = default;

  // In the order of the list.
  void updateControllers(float time);
  void addController(Controller* added);
  void removeController(Controller* removed);

  std::vector<Controller*> controllers;

 protected:
  // Reads a controller that this object owns from now on into field (null is allowed): the
  // controller that field held, if any, leaves the list and is deleted.
  template <class C>
  void loadController(tsio::InStream& in, C*& field) {
    C* loaded = tsio::readOwned<C>(in);
    if (field) {
      removeController(field);
      delete field;
    }
    field = loaded;
    if (loaded) addController(loaded);
  }
};

}  // namespace ts3d

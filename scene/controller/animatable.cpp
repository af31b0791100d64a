#include "scene/controller/animatable.h"

#include <algorithm>

namespace ts3d {

void Animatable::updateControllers(float time) {
  for (Controller* entry : controllers) entry->update(time);
}

void Animatable::addController(Controller* added) { controllers.push_back(added); }

void Animatable::removeController(Controller* removed) {
  controllers.erase(std::remove(controllers.begin(), controllers.end(), removed), controllers.end());
}

}  // namespace ts3d

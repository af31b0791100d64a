#pragma once

#include "scene/controller/animatable.h"

namespace ts3d {

// Puts replacement into an owned controller field: the controller that stood there leaves the
// owner's list and is deleted, the new one (null allowed) joins the list.
template <class C>
void replaceController(Animatable& owner, C*& field, C* replacement) {
  if (field == replacement) return;
  if (field) {
    owner.removeController(field);
    delete field;
  }
  field = replacement;
  if (replacement) owner.addController(replacement);
}

}  // namespace ts3d

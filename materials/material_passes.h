#pragma once

#include <cstdint>

#include "context/context.h"
#include "materials/material.h"

namespace ts3d {

// Runs draw once per pass of material, or once with the Context's default material when there
// is none. Needs a Context.
template <class Draw>
void drawWithMaterial(Material* material, Draw draw) {
  if (!material) {
    Context::instance->resetMaterial();
    draw();
    return;
  }
  const uint32_t passes = material->beginPasses(0);
  for (uint32_t pass = 0; pass < passes; ++pass) {
    material->applyPass(pass);
    draw();
  }
  material->endPasses();
}

}  // namespace ts3d

#pragma once

#include <cstdint>

#include "scene/value_types.h"

namespace ts3d {

// World, view and projection as last set, and the products and inverses derived
// from them, each computed at most once between two setter calls. The setters
// only store: callers make the matching SetTransform themselves.
class TransformCache {
 public:
  enum Bit : uint32_t {
    kWorld = 0x001,
    kView = 0x002,
    kProjection = 0x004,
    kInverseView = 0x010,
    kInverseProjection = 0x020,
    kWorldView = 0x040,
    kViewProjection = 0x080,
    kWorldViewProjection = 0x100,
    kInverseWorldView = 0x200,
  };

  TransformCache();

  void setWorld(const matrix& m);
  void setView(const matrix& m);
  void setProjection(const matrix& m);

  const matrix& getInverseView();
  const matrix& getInverseProjection();
  const matrix& getWorldView();
  const matrix& getViewProjection();
  const matrix& getWorldViewProjection();
  const matrix& getInverseWorldView();

  uint32_t valid = 0;
  matrix world, view, projection;
  matrix inverseView, inverseProjection, worldView, viewProjection, worldViewProjection, inverseWorldView;
  // How many products and inverses were computed, so a caller can see the cache work.
  uint32_t computations = 0;
};

}  // namespace ts3d

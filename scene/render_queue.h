#pragma once

#include <cstdint>
#include <vector>

#include "scene/value_types.h"

namespace ts3d {

class Geometry;
class Material;
class ModifierStack;

// One geometry to draw, as a mesh queues it.
struct RenderItem {
  int32_t orderClass = 1;  // 0 held and never drawn, 1 opaque, 2 back to front, 3 last
  float distance = 0.0f;   // sort key: distance from the camera
  Material* material = nullptr;
  Geometry* geometry = nullptr;
  ModifierStack* stack = nullptr;
  const matrix* world = nullptr;
};

// The drawing class of a material's order(): 0, 1, 1, 2, 3, 3 for orders 0 to 5. Orders
// outside that range are drawn as opaque.
int32_t orderClassOf(int order);

// The items of one drawing, kept sorted by ascending distance; equal distances keep their
// order of arrival. Owns its items. Made and destroyed for each drawing.
class RenderQueue {
 public:
  RenderQueue() = default;
  RenderQueue(const RenderQueue&) = delete;
  RenderQueue& operator=(const RenderQueue&) = delete;
  ~RenderQueue();

  void add(RenderItem* item);
  // Overwrite that field in every item: one set of items drawn another way.
  void setMaterial(Material* material);
  void setStack(ModifierStack* stack);
  // Opaque groups by material, then class 2 far to near, then class 3 groups.
  void draw();

  const std::vector<RenderItem*>& items() const { return queued; }

 private:
  std::vector<RenderItem*> queued;
};

}  // namespace ts3d

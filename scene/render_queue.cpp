#include "scene/render_queue.h"

#include <algorithm>
#include <map>

#include "context/context.h"
#include "geometry/geometry.h"
#include "geometry/modifier_stack.h"
#include "materials/material_passes.h"

namespace ts3d {

namespace {

const matrix& worldOf(const RenderItem& item) {
  static const matrix identity(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  return item.world ? *item.world : identity;
}

void drawItems(Context& context, const std::vector<RenderItem*>& items) {
  for (RenderItem* item : items) {
    context.setWorldMatrix(worldOf(*item));
    if (item->stack) item->stack->setupRender();
    if (item->geometry) item->geometry->draw();
  }
}

// One material for all items of a group: as few material changes as the queue allows.
void drawGroup(Context& context, Material* material, const std::vector<RenderItem*>& items) {
  drawWithMaterial(material, [&] { drawItems(context, items); });
}

}  // namespace

int32_t orderClassOf(int order) {
  static const int32_t classes[] = {0, 1, 1, 2, 3, 3};
  return order >= 0 && order < 6 ? classes[order] : 1;
}

RenderQueue::~RenderQueue() {
  for (RenderItem* item : queued) delete item;
}

void RenderQueue::add(RenderItem* item) {
  if (!item) return;
  // In front of the first greater key: equal keys keep their order of arrival.
  const auto at = std::upper_bound(queued.begin(), queued.end(), item->distance,
                                   [](float key, const RenderItem* other) { return key < other->distance; });
  queued.insert(at, item);
}

void RenderQueue::setMaterial(Material* material) {
  for (RenderItem* item : queued) item->material = material;
}

void RenderQueue::setStack(ModifierStack* stack) {
  for (RenderItem* item : queued) item->stack = stack;
}

void RenderQueue::draw() {
  Context* context = Context::instance;
  if (!context) return;
  // std::map orders the groups by material pointer; a group is in queue order inside.
  std::map<Material*, std::vector<RenderItem*>> groups;
  std::vector<RenderItem*> blended;
  for (RenderItem* item : queued) {
    if (item->orderClass == 2)
      blended.push_back(item);
    else
      groups[item->material].push_back(item);
  }
  for (const auto& [material, items] : groups)
    if (items.front()->orderClass == 1) drawGroup(*context, material, items);
  // Back to front, so that what lies behind shows through: the queue runs near to far.
  for (auto item = blended.rbegin(); item != blended.rend(); ++item) {
    if ((*item)->material) drawGroup(*context, (*item)->material, {*item});
  }
  for (const auto& [material, items] : groups)
    if (items.front()->orderClass == 3) drawGroup(*context, material, items);
}

}  // namespace ts3d

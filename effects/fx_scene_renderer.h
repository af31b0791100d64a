#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "driver/data_item.h"
#include "effects/timeline_item.h"
#include "io/trace.h"
#include "scene/scene_hierarchy.h"

// The renderers that all effects of one class share: the first two effects alive bring one
// each, and an open effect holds one at a time. Host thread only.
template <class Renderer>
class RendererSlots {
 public:
  static constexpr uint32_t kSlotCount = 2;

  // A new effect. Needs the Context: the renderer's device objects are made at once.
  void join() {
    if (instanceCount < kSlotCount) {
      slots[instanceCount] = std::make_unique<Renderer>();
      slots[instanceCount]->createResources();
    }
    ++instanceCount;
  }

  // An effect went, closed. Below two effects the renderer past the count goes; if an open
  // effect holds that one, it trades places with the first, which then is free (only one
  // effect is left to hold anything).
  void leave() {
    --instanceCount;
    if (instanceCount >= kSlotCount) return;
    if (busy[instanceCount]) {
      std::swap(slots[0], slots[instanceCount]);
      std::swap(busy[0], busy[instanceCount]);
    }
    slots[instanceCount].reset();
  }

  // A free renderer, now busy; null with a message when all are held.
  Renderer* take() {
    const uint32_t usable = std::min(instanceCount, kSlotCount);
    for (uint32_t i = 0; i < usable; ++i) {
      if (busy[i]) continue;
      busy[i] = true;
      return slots[i].get();
    }
    traceBox("You cannot use more than %u scene renderers at the same time", usable);
    return nullptr;
  }

  void giveBack(Renderer* renderer) {
    for (uint32_t i = 0; i < std::min(instanceCount, kSlotCount); ++i)
      if (slots[i].get() == renderer) busy[i] = false;
  }

 private:
  std::unique_ptr<Renderer> slots[kSlotCount];
  bool busy[kSlotCount] = {};
  uint32_t instanceCount = 0;
};

// An effect that draws nothing itself: while open it puts a renderer of its class into the
// chain of a scene item, so that whatever draws that scene goes through the post-process,
// and feeds the renderer its parameters. Parameter 0 is the scene item.
template <class Renderer>
class FxSceneRenderer : public EffectBase {
 public:
  FxSceneRenderer() { slots.join(); }
  FxSceneRenderer(const EffectDescriptor& descriptor_, const std::string& instanceName_, ControllerFactory* factory)
      : EffectBase(descriptor_, instanceName_, factory) {
    slots.join();
  }
  // A class that lets go of more than the renderer in disconnect closes in its own destructor.
  ~FxSceneRenderer() override {
    close();
    slots.leave();
  }
  FxSceneRenderer(const FxSceneRenderer&) = delete;
  FxSceneRenderer& operator=(const FxSceneRenderer&) = delete;

  // The scene's renderers are appended in the order of the opens.
  void open() override {
    renderer = slots.take();
    if (!renderer) return;
    connect(*renderer);
    if (ts3d::SceneHierarchy* scene = sceneOf(sceneData)) scene->renderers.push_back(renderer);
    traceWarnIf(sceneData == nullptr, "No scene data for effect.");
  }
  // Must come before the scene goes: the scene would delete the renderers of its list.
  void close() override {
    if (!renderer) return;
    if (ts3d::SceneHierarchy* scene = sceneOf(sceneData)) {
      auto& chain = scene->renderers;
      const auto found = std::find(chain.begin(), chain.end(), renderer);
      if (found != chain.end()) chain.erase(found);
    }
    disconnect(*renderer);
    slots.giveBack(renderer);
    renderer = nullptr;
  }
  // The renderer draws the scene: nothing to do in the frame.
  void clearFrame() override {}
  void setData(uint32_t index, DataItem* item) override {
    if (index == 0) sceneData = item;
  }

  DataItem* sceneData = nullptr;  // not owned
  Renderer* renderer = nullptr;   // one of the slots, while open

 protected:
  // Hands the renderer this effect's parameters, at open.
  virtual void connect(Renderer& taken) = 0;
  virtual void disconnect(Renderer&) {}

 private:
  static inline RendererSlots<Renderer> slots;
};

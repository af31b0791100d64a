#include "effects/fx_simple_scene.h"

#include "context/context.h"
#include "driver/data_item.h"
#include "io/trace.h"
#include "scene/scene_hierarchy.h"

FxSimpleScene::FxSimpleScene() = default;

FxSimpleScene::FxSimpleScene(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                             ControllerFactory* factory)
    : EffectBase(descriptor_, instanceName_, factory) {
  FxSimpleScene::applyParameters();
}

ts3d::SceneHierarchy* FxSimpleScene::scene() const { return sceneOf(data); }

void FxSimpleScene::open() {
  context = ts3d::Context::instance;
  traceWarnIf(data == nullptr, "No scene data for effect.");
}

void FxSimpleScene::close() { context = nullptr; }

void FxSimpleScene::clearFrame() {
  ts3d::SceneHierarchy* drawn = scene();
  // Without a scene the target keeps its old picture.
  if (!drawn || !context) return;
  sceneUpdated = true;
  drawn->update(time);
  context->beginScene();
  drawn->clear(time);
  context->endScene();
}

void FxSimpleScene::render() {
  ts3d::SceneHierarchy* drawn = scene();
  if (!drawn || !context) return;
  ts3d::Camera* camera = nullptr;
  if (!drawn->cameras.empty())
    camera = static_cast<size_t>(cameraIndex) < drawn->cameras.size() ? drawn->cameras[cameraIndex]
                                                                        : drawn->cameras.front();
  context->beginScene();
  if (!sceneUpdated) drawn->update(time);
  if (camera) drawn->activeCamera = camera;
  drawn->render();
  context->endScene();
  sceneUpdated = false;
}

void FxSimpleScene::setFloat(uint32_t index, float value) {
  if (index == 2) time = value * 100.0f;
}

void FxSimpleScene::setInt(uint32_t index, int32_t value) {
  // A negative index means the first camera, as one past the end does.
  if (index == 1) cameraIndex = value < 0 ? 0 : value;
}

void FxSimpleScene::setData(uint32_t index, DataItem* item) {
  if (index == 0) data = item;
}

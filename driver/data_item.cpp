#include "driver/data_item.h"

#include <memory>

#include "driver/host/project.h"
#include "io/persistence.h"
#include "materials/texture_bitmap_file.h"
#include "scene/scene_hierarchy.h"

namespace {

constexpr const char* kSceneDescription = "a ts3d 2 scene (should see how much data there is in).";

// The scene in the persistence file at path, with its device resources; null when the file
// can't be opened or its root is not a scene.
ts3d::SceneHierarchy* readScene(const std::string& path) {
  std::unique_ptr<tsio::InStream> in(tsio::openInStream(path));
  if (!in) return nullptr;
  std::unique_ptr<tsio::Serializable> root(in->readObject());
  in.reset();
  auto* scene = dynamic_cast<ts3d::SceneHierarchy*>(root.get());
  if (!scene) return nullptr;
  root.release();
  scene->createResources();
  return scene;
}

ts3d::TextureBitmapFile* makeTexture(const std::string& path) {
  auto* texture = new ts3d::TextureBitmapFile(path, 2);
  texture->createResources();
  return texture;
}

}  // namespace

void DataItem::accept(ItemVisitor* visitor) { visitor->visitData(this); }

std::string filePartOf(const std::string& path) {
  const size_t slash = path.rfind('\\');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

DataTexture::DataTexture(const std::string& path) : DataItem("data_texture") {
  path_ = path;
  payload = makeTexture(path);
  name_ = filePartOf(path);
  description_ = path;
}

DataTexture::DataTexture(ts3d::TextureBitmapFile* texture)
    : DataItem("data_texture"), payload(texture), ownsPayload(false) {}

DataTexture::~DataTexture() {
  if (ownsPayload) delete payload;
}

bool DataTexture::reload() {
  if (ownsPayload) delete payload;
  ownsPayload = true;
  payload = makeTexture(path_);
  return true;
}

DataScene::DataScene() : DataItem("data_scene") {}

DataScene::DataScene(ts3d::SceneHierarchy* scene) : DataItem("data_scene"), payload(scene), ownsPayload(false) {}

DataScene::~DataScene() { dropPayload(); }

void DataScene::dropPayload() {
  if (ownsPayload) delete payload;
  payload = nullptr;
  ownsPayload = true;
}

bool DataScene::load(const std::string& path) {
  ts3d::SceneHierarchy* scene = readScene(path);
  if (!scene) return false;
  dropPayload();
  payload = scene;
  name_ = filePartOf(path);
  path_ = path;
  description_ = kSceneDescription;
  return true;
}

bool DataScene::reload() {
  dropPayload();
  payload = readScene(path_);
  return payload != nullptr;
}

ts3d::TextureBitmapFile* textureOf(DataItem* item) {
  auto* texture = dynamic_cast<DataTexture*>(item);
  return texture ? texture->payload : nullptr;
}

ts3d::SceneHierarchy* sceneOf(DataItem* item) {
  auto* scene = dynamic_cast<DataScene*>(item);
  return scene ? scene->payload : nullptr;
}

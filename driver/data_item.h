#pragma once

#include <cstdint>
#include <string>

class ItemVisitor;

// What kind() tells the host.
constexpr int32_t kTextureItem = 1;
constexpr int32_t kSceneItem = 2;

namespace ts3d {
class SceneHierarchy;
class TextureBitmapFile;
}  // namespace ts3d

// A file the user added to a project, as the host lists it and hands it to effects.
// The order of the virtual operations is the host's interface.
class DataItem {
 public:
  explicit DataItem(const char* kindName) : typeName_(kindName) {}
  DataItem(const DataItem&) = delete;
  DataItem& operator=(const DataItem&) = delete;

  virtual void accept(ItemVisitor* visitor);
  virtual ~DataItem() = default;
  virtual std::string& name() { return name_; }
  virtual std::string& path() { return path_; }
  virtual void setName(const std::string& value) { name_ = value; }
  virtual std::string& description() { return description_; }
  virtual int32_t kind() = 0;
  virtual bool reload() = 0;
  virtual std::string& typeName() { return typeName_; }

 protected:
  std::string name_;
  std::string path_;
  std::string description_;
  std::string typeName_;
};

// The file part of a path: what follows the last backslash, or the whole path.
std::string filePartOf(const std::string& path);

// An image file as a texture. Making one needs a Context: the texture is created at once.
class DataTexture : public DataItem {
 public:
  // A file that can't be read still gives an item, with a texture that has no device texture.
  explicit DataTexture(const std::string& path);
  // Shows a texture of the loaded animation, which keeps it: items of one path share it, and
  // scenes' stages may point at it. The strings stay empty.
  explicit DataTexture(ts3d::TextureBitmapFile* texture);
  ~DataTexture() override;

  int32_t kind() override { return kTextureItem; }
  bool reload() override;

  ts3d::TextureBitmapFile* payload = nullptr;

 private:
  bool ownsPayload = true;
};

// A .ts2 scene file, with its device resources made.
class DataScene : public DataItem {
 public:
  DataScene();
  // Shows a scene of the loaded animation, which keeps it: items of one path share it. The
  // strings stay empty.
  explicit DataScene(ts3d::SceneHierarchy* scene);
  ~DataScene() override;

  int32_t kind() override { return kSceneItem; }
  bool reload() override;
  // Reads the scene at path; on failure the item keeps its empty strings and null payload.
  virtual bool load(const std::string& path);

  ts3d::SceneHierarchy* payload = nullptr;

 private:
  // Frees the payload if it is this item's, and makes the next one this item's.
  void dropPayload();

  bool ownsPayload = true;
};

// The payload behind an item, or null for no item, an item of another kind or an empty one.
ts3d::TextureBitmapFile* textureOf(DataItem* item);
ts3d::SceneHierarchy* sceneOf(DataItem* item);

#include "driver/exported_animation.h"

#include "materials/texture.h"
#include "scene/scene_hierarchy.h"

namespace {

// A key's terminating 0 and an object field.
constexpr uint32_t kMinEntryBytes = 1 + tsio::InStream::kObjectFieldBytes;

template <class T>
void storeEntries(tsio::OutStream& out, const std::map<std::string, T*>& entries) {
  out.writeInt32(static_cast<int32_t>(entries.size()));
  for (const auto& [key, object] : entries) {
    out.writeString(key);
    out.writeObject(object);
  }
}

// Nothing claims the objects: the file's root keeps them (see keepUnowned).
template <class T>
void loadEntries(tsio::InStream& in, std::map<std::string, T*>& entries) {
  uint32_t count = 0;
  if (!in.readCount(&count, kMinEntryBytes)) return;
  for (uint32_t i = 0; i < count && in.isGood(); ++i) {
    std::string key;
    in.readString(key);
    entries[key] = tsio::readShared<T>(in);
  }
}

}  // namespace

bool ExportedAnimation::load(tsio::InStream& in) {
  in.readString(projectText);
  loadEntries(in, textures);
  loadEntries(in, scenes);
  return true;
}

void ExportedAnimation::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeString(projectText);
  storeEntries(out, textures);
  storeEntries(out, scenes);
}

void ExportedAnimation::keepUnowned(std::vector<tsio::Serializable*>& objects) {
  for (tsio::Serializable* object : objects) kept.emplace_back(object);
  objects.clear();
}

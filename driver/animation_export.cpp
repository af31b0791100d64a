#include "driver/animation_export.h"

#include <algorithm>
#include <string>
#include <vector>

#include "driver/data_item.h"
#include "driver/exported_animation.h"
#include "driver/host/project.h"
#include "io/trace.h"
#include "materials/material_composite.h"
#include "materials/material_simple.h"
#include "materials/texture_bitmap_file.h"
#include "materials/texture_cubemap_file.h"
#include "scene/atmospheric_background.h"
#include "scene/scene_hierarchy.h"

namespace {

using ts3d::Material;
using ts3d::Texture;

constexpr const char* kMergeReport =
    "Replaced references to textures : %d.\nTexture with references not found : %d\n%s";

// The texture fields of every stage a material reaches. A file may make a composite lead back
// to itself: `open` holds the composites being walked, and such a loop ends.
void collectStages(Material* material, std::vector<Texture**>& references, std::vector<Material*>& open) {
  if (material->isComposite()) {
    auto* composite = dynamic_cast<ts3d::MaterialComposite*>(material);
    if (!composite || std::find(open.begin(), open.end(), material) != open.end()) return;
    open.push_back(material);
    for (Material* sub : composite->subMaterials)
      if (sub) collectStages(sub, references, open);
    open.pop_back();
    return;
  }
  // An effect material has no stages.
  auto* simple = dynamic_cast<ts3d::MaterialSimple*>(material);
  if (!simple) return;
  for (uint32_t i = 0; ts3d::TextureStage* stage = simple->stage(i); ++i) references.push_back(&stage->texture);
}

// The file a texture shows: a cube map goes by the file of its first face. Empty for one read
// from embedded bytes.
std::string fileNameOf(Texture* texture) {
  if (auto* bitmap = dynamic_cast<ts3d::TextureBitmapFile*>(texture)) return bitmap->fileName;
  if (auto* cube = dynamic_cast<ts3d::TextureCubemapFile*>(texture)) {
    const auto face = cube->fileNames.find(ts3d::TextureCubemapFile::kFirstFace);
    if (face != cube->fileNames.end()) return face->second;
  }
  return {};
}

// Merges the scenes' textures by file name into the animation's, so that each image file
// goes in once, embeds them all, and stores those that nothing reaches under numbers.
void replaceTextureReferences(ExportedAnimation& animation) {
  std::vector<Texture**> references;
  std::vector<Texture*> unclaimed;
  for (const auto& [path, scene] : animation.scenes) {
    if (!scene) continue;
    std::vector<Material*> open;
    for (Material* material : scene->materials)
      if (material) collectStages(material, references, open);
    auto* background = dynamic_cast<ts3d::AtmosphericBackground*>(scene->background);
    if (background && background->texture) references.push_back(&background->texture);
    // The scene's textures are reached through the stages and the animation from now on.
    unclaimed.insert(unclaimed.end(), scene->textures.begin(), scene->textures.end());
    scene->textures.clear();
  }
  int replaced = 0;
  for (Texture** field : references) {
    Texture* texture = *field;
    const std::string key = texture ? fileNameOf(texture) : std::string();
    if (key.empty()) continue;
    const auto [entry, added] = animation.textures.emplace(key, texture);
    if (!added) {
      *field = entry->second;
      ++replaced;
    }
    const auto found = std::find(unclaimed.begin(), unclaimed.end(), texture);
    if (found != unclaimed.end()) unclaimed.erase(found);
  }
  std::string report;
  for (const auto& [key, texture] : animation.textures) {
    report += key + "\n";
    if (texture) texture->embed();
  }
  for (size_t i = 0; i < unclaimed.size(); ++i) {
    if (i == 0) report += "Not found list :\n";
    unclaimed[i]->embed();
    report += fileNameOf(unclaimed[i]);
    animation.textures[std::to_string(i)] = unclaimed[i];
  }
  // A long report is cut where the tracer's buffer ends; the counts come first and stay.
  traceBox(kMergeReport, replaced, static_cast<int>(unclaimed.size()), report.c_str());
}

}  // namespace

void collectAnimation(Project& project, ExportedAnimation& animation) {
  project.prepare();
  const DataList* items = project.dataItems();
  for (size_t i = 0; i < items->count(); ++i) {
    DataItem* item = items->item(i);
    if (item->kind() == kSceneItem) animation.scenes[item->path()] = sceneOf(item);
    if (item->kind() == kTextureItem) animation.textures[item->path()] = textureOf(item);
  }
  // The bundle's text names the soundtrack as a file beside it; the project keeps its own.
  const std::string soundtrack = project.soundtrackPath();
  project.setSoundtrackPath(filePartOf(soundtrack));
  project.text(animation.projectText);
  project.setSoundtrackPath(soundtrack);
  replaceTextureReferences(animation);
  traceBox("DriverKMT - Exported animation :\n%d 3d Scenes.\n%d Bitmaps.", static_cast<int>(animation.scenes.size()),
           static_cast<int>(animation.textures.size()));
}

#include "driver/driver_kmt.h"

#include <memory>

#include "driver/animation_export.h"
#include "driver/data_item.h"
#include "driver/data_kind.h"
#include "driver/effect_factory.h"
#include "driver/exported_animation.h"
#include "io/persistence.h"
#include "io/stream_memory.h"
#include "io/trace.h"
#include "materials/texture_bitmap_file.h"
#include "platform/whole_file.h"
#include "scene/scene_hierarchy.h"

DriverKMT theDriver;

namespace {

// The scene or image stored under `path`; null when the animation has none, even if the file
// exists on disk.
DataItem* animationItem(const ExportedAnimation& animation, const std::string& path) {
  const auto scene = animation.scenes.find(path);
  if (scene != animation.scenes.end()) return new DataScene(scene->second);
  const auto texture = animation.textures.find(path);
  if (texture != animation.textures.end())
    return new DataTexture(dynamic_cast<ts3d::TextureBitmapFile*>(texture->second));
  return nullptr;
}

// The animation file at path, or null with a message that names the file.
std::unique_ptr<ExportedAnimation> readAnimation(const std::string& path) {
  std::unique_ptr<tsio::InStream> in(tsio::openInStream(path));
  if (!in) {
    traceBox("DriverKMT - cannot open the animation file \"%s\".", path.c_str());
    return nullptr;
  }
  std::unique_ptr<tsio::Serializable> root(in->readObject());
  in.reset();
  auto* animation = dynamic_cast<ExportedAnimation*>(root.get());
  if (!animation) {
    traceBox("DriverKMT - \"%s\" holds no animation: %s.", path.c_str(),
             root ? "its root is another object" : "the file is cut or damaged");
    return nullptr;
  }
  root.release();
  return std::unique_ptr<ExportedAnimation>(animation);
}

}  // namespace

int32_t DriverKMT::version() { return 3; }

const char* DriverKMT::description() { return "Kalmia Team Simpliest Driver(Final Version)"; }

TimelineItem* DriverKMT::createEffect(const EffectDescriptor& descriptor, const std::string& instanceName) {
  return ::createEffect(descriptor, instanceName, controllerFactory);
}

TimelineItem* DriverKMT::createEffect(const std::string& typeName) { return createEmptyEffect(typeName); }

DataItem* DriverKMT::loadData(const std::string& path) {
  if (animation) return animationItem(*animation, path);
  switch (dataKindOf(path)) {
    case DataKind::Scene: {
      auto* scene = new DataScene();
      if (scene->load(path)) return scene;
      delete scene;
      return nullptr;
    }
    case DataKind::Texture: {
      auto* texture = new DataTexture(path);
      if (texture->payload) return texture;
      delete texture;
      return nullptr;
    }
    case DataKind::None:
      break;
  }
  return nullptr;
}

const std::string& DriverKMT::fileFilter() {
  static const std::string filter =
      "TS2 3D Scene files (*.ts2)|*.ts2|"
      "TS2 3D Texture (*.bmp, *.dds, *.dib, *.jpg, *.png, *.tga)|*.bmp,*.dds,*.dib,*.jpg,*.png,*.tga|"
      "Texture BMP (*.bmp)|*.bmp|Texture DDS (*.dds)|*.dds|Texture DIB (*.dib)|*.dib|"
      "Texture JPG (*.jpg)|*.jpg|Texture PNG (*.png)|*.png|Texture TGA (*.tga)|*.tga|";
  return filter;
}

const std::string& DriverKMT::libraryPath() {
  static const std::string path = "..\\tsdriver\\libfx.xml";
  return path;
}

void DriverKMT::setControllerFactory(ControllerFactory* factory) { controllerFactory = factory; }

void DriverKMT::exportAnimation(Project* project, const std::string& path) {
  ExportedAnimation exported;
  collectAnimation(*project, exported);
  // Written whole in memory first: the file appears complete or not at all.
  tsio::OutStreamMemory memory;
  std::unique_ptr<tsio::OutStream> out(tsio::openOutStream(&memory, false, 0));
  out->writeObject(&exported);
  out.reset();
  if (!platform::writeWholeFile(path, memory.bytes().data(), memory.bytes().size()))
    traceBox("DriverKMT - cannot write the animation file \"%s\".", path.c_str());
}

void DriverKMT::loadAnimation(const std::string& path, std::string& projectText) {
  // A file that can't be read leaves the animation in use as it was, and no text: the host
  // then has nothing to play, rather than a project whose items are missing.
  projectText.clear();
  std::unique_ptr<ExportedAnimation> loaded = readAnimation(path);
  if (!loaded) return;
  for (const auto& [key, texture] : loaded->textures)
    if (texture) texture->createResources();
  for (const auto& [key, scene] : loaded->scenes)
    if (scene) scene->createResources();
  // The animation lives as long as the module: the data items made from it show its objects.
  animation = loaded.release();
  projectText = animation->projectText;
}

SoundPlayerFMOD* DriverKMT::soundPlayer() { return &sound; }

RenderWindow* DriverKMT::renderWindow() { return &window; }

ts3d::RenderSurface* DriverKMT::acquireSurface(int32_t kind) {
  if (kind == 0) return screenSurfaces.acquire();
  if (kind == 1) return smallSurfaces.acquire();
  return nullptr;
}

void DriverKMT::releaseSurface(ts3d::RenderSurface* surface) {
  if (!screenSurfaces.release(surface)) smallSurfaces.release(surface);
}

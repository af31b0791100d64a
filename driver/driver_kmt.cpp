#include "driver/driver_kmt.h"

#include "driver/data_item.h"
#include "driver/data_kind.h"
#include "driver/effect_factory.h"

DriverKMT theDriver;

int32_t DriverKMT::version() { return 3; }

const char* DriverKMT::description() { return "Kalmia Team Simpliest Driver(Final Version)"; }

TimelineItem* DriverKMT::createEffect(const EffectDescriptor& descriptor, const std::string& instanceName) {
  return ::createEffect(descriptor, instanceName, controllerFactory);
}

TimelineItem* DriverKMT::createEffect(const std::string& typeName) { return createEmptyEffect(typeName); }

DataItem* DriverKMT::loadData(const std::string& path) {
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

void DriverKMT::exportAnimation(Project*, const std::string&) {}

void DriverKMT::loadAnimation(const std::string&, std::string&) {}

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

#pragma once

#include <cstdint>
#include <string>

#include "effects/render_window.h"
#include "effects/surface_pool.h"
#include "sound/sound_player_fmod.h"

class ControllerFactory;
class DataItem;
class ExportedAnimation;
class Project;
class TimelineItem;
struct EffectDescriptor;

// The driver object the host receives from the module's one export. The order of
// the virtual operations is the host's interface: it calls them by position, so
// there is no virtual destructor in front of them; the one object is a global,
// never deleted through a pointer.
class DriverKMT final {
 public:
  DriverKMT() = default;
  ~DriverKMT() = default;
  DriverKMT(const DriverKMT&) = delete;
  DriverKMT& operator=(const DriverKMT&) = delete;

  virtual int32_t version();
  virtual const char* description();
  virtual TimelineItem* createEffect(const EffectDescriptor& descriptor, const std::string& instanceName);
  virtual TimelineItem* createEffect(const std::string& typeName);
  virtual DataItem* loadData(const std::string& path);
  virtual const std::string& fileFilter();
  virtual const std::string& libraryPath();
  virtual void setControllerFactory(ControllerFactory* factory);
  virtual void exportAnimation(Project* project, const std::string& path);
  virtual void loadAnimation(const std::string& path, std::string& projectText);
  virtual SoundPlayerFMOD* soundPlayer();
  virtual RenderWindow* renderWindow();

  // For the effects, on the global object: kind 0 is a 640 x 480 picture, kind 1 a
  // 256 x 256 one cut to the screen's aspect; any other kind gives null.
  ts3d::RenderSurface* acquireSurface(int32_t kind);
  void releaseSurface(ts3d::RenderSurface* surface);

  ControllerFactory* controllerFactory = nullptr;
  SurfacePool screenSurfaces{640, 480, true, false};
  SurfacePool smallSurfaces{256, 256, false, true};
  // Destroyed after the window, as members go in reverse: FMOD shuts down last.
  SoundPlayerFMOD sound;
  RenderWindow window{{&screenSurfaces, &smallSurfaces}};
  ExportedAnimation* animation = nullptr;
};

// The one driver object, alive as long as the module.
extern DriverKMT theDriver;

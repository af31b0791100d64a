#pragma once

#include <cstdint>
#include <string>

class ControllerFactory;
class DataItem;
class ExportedAnimation;
class Project;
class RenderWindow;
class SoundPlayerFMOD;
class TimelineItem;
struct EffectDescriptor;

// The driver object the host receives from the module's one export. The order of
// the virtual operations is the host's interface: it calls them by position.
class DriverKMT {
 public:
  DriverKMT() = default;
  virtual ~DriverKMT() = default;
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

  ControllerFactory* controllerFactory = nullptr;
  ExportedAnimation* animation = nullptr;
};

// The one driver object, alive as long as the module.
extern DriverKMT theDriver;

#include "player/host/driver_module.h"

#include "player/host/device_tap.h"
#include "player/host/driver_interface.h"
#include "player/host/driver_notices.h"

namespace host {

DriverModule::~DriverModule() {
  if (module) FreeLibrary(module);
}

bool DriverModule::load(const std::string& path, std::string& error) {
  module = LoadLibraryA(path.c_str());
  if (!module) {
    error = "cannot load the driver module '" + path + "' (error " + std::to_string(GetLastError()) + ")";
    return false;
  }
  using GetDriver = DriverKMT* (*)();
  auto entry = reinterpret_cast<GetDriver>(reinterpret_cast<void*>(GetProcAddress(module, "TESSARIN_GetDriver")));
  if (!entry) {
    error = "'" + path + "' has no entry point TESSARIN_GetDriver";
    return false;
  }
  driver_notices::attach(module);
  tapDevice(module);
  object = entry();
  return object != nullptr;
}

}  // namespace host

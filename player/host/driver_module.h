#pragma once

#include <windows.h>

#include <string>

namespace host {

class DriverKMT;

// The driver module, loaded as the host loads it: by name, through its one export.
class DriverModule {
 public:
  DriverModule() = default;
  ~DriverModule();
  DriverModule(const DriverModule&) = delete;
  DriverModule& operator=(const DriverModule&) = delete;

  // False with `error` set when the module or its entry point is missing.
  bool load(const std::string& path, std::string& error);
  DriverKMT* driver() const { return object; }
  HMODULE handle() const { return module; }

 private:
  HMODULE module = nullptr;
  DriverKMT* object = nullptr;
};

}  // namespace host

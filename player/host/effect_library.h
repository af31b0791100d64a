#pragma once

#include <string>
#include <vector>

#include "player/host/driver_interface.h"
#include "player/host/xml_file.h"

namespace host {

// The kinds of parameter as the library and project files spell them, in the
// order of ParamController::Kind.
const char* paramKindName(uint32_t kind);
// -1 for a name that is no kind.
int paramKindFromName(const std::string& name);
// Whether `value` can stand for a parameter of `kind`: numbers for numeric kinds.
bool acceptsValue(uint32_t kind, const char* value);

// The effect library description: every effect the host offers, with its
// parameters in the order the effect binds them.
class EffectLibrary {
 public:
  // False with `error` set at the first problem; the library is empty then.
  bool load(const std::string& path, LoadError& error);

  const std::vector<EffectDescriptor>& effects() const { return list; }
  // Null for a name the library does not list.
  const EffectDescriptor* find(const std::string& name) const;

 private:
  bool read(const std::string& path, LoadError& error);

  std::vector<EffectDescriptor> list;
};

}  // namespace host

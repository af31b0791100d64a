#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What the host read from its effect library, handed to the driver by value.
// The driver reads only the two names; the other fields are the host's own: our
// host keeps a parameter's kind and initial value there for its factory.

struct ParamChoice {
  std::string label;
  std::string value;
  uint32_t id = 0;
};

struct ParamDescriptor {
  uint32_t kind = 0;
  std::string name;
  std::string initialValue;
  std::vector<ParamChoice> choices;
  uint32_t flags = 0;
};

struct EffectDescriptor {
  uint32_t id = 0;
  std::string name;
  std::string label;
  uint32_t flags = 0;
  std::vector<ParamDescriptor> params;
};

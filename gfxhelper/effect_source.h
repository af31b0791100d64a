#pragma once

// The structure of an effect file: parameters, techniques and passes, as text was given.
// Platform-free: the parser never sees a device, so it can be tested and fuzzed natively.
// What the states mean and how shaders are built is the effect object's business.

#include <cstdint>
#include <string>
#include <vector>

namespace fx {

enum class BaseType { Float, Int, Bool, String, Texture, Sampler, Other };

// The right-hand side of a state assignment or of an annotation.
struct Value {
  enum Kind {
    Numbers,      // one or more numbers: 1, true, float4(1, 2, 3, 4), {1, 2}
    Identifiers,  // names joined by '|': None, Linear, RED | ALPHA
    Reference,    // a parameter: <Name> or (Name); `text` is the name
    Null,         // NULL
    Assembly,     // asm { ... }: `text` is the body, `line` the line of its first character
    Compile,      // compile profile entry(): `profile`, `text` the function's name
    String,       // "text"
  };
  Kind kind = Numbers;
  std::vector<float> numbers;
  std::vector<std::string> identifiers;
  std::string text;
  std::string profile;
  int line = 0;
};

struct Annotation {
  std::string typeName;
  std::string name;
  Value value;
};

// Name = value; or Name[index] = value; `index` is -1 without brackets.
struct StateAssignment {
  std::string name;
  int index = -1;
  Value value;
  int line = 0;
};

struct Parameter {
  std::string typeName;  // as written: float4, float4x4, texture2D, sampler2D, ...
  BaseType type = BaseType::Other;
  uint32_t rows = 1, columns = 1;  // float: 1 x 1, float4: 1 x 4, float4x4: 4 x 4
  uint32_t elements = 0;           // array size; 0 when not an array
  std::string name;
  std::string semantic;  // empty when none
  std::vector<Annotation> annotations;
  std::vector<float> defaults;                // the initialiser's numbers; empty when none
  std::vector<StateAssignment> samplerStates;  // of sampler_state { ... }
  // register(c4), register(vs, c4), register(s0): kind 'c', 'b', 'i' or 's'; index -1 when
  // unbound. `shader` is 'v' or 'p' when the binding names one, 0 when it binds for both.
  char registerKind = 0;
  int registerIndex = -1;
  char registerShader = 0;
  int line = 0;
};

struct Pass {
  std::string name;
  std::vector<Annotation> annotations;
  std::vector<StateAssignment> states;
};

struct Technique {
  std::string name;
  std::vector<Annotation> annotations;
  std::vector<Pass> passes;
};

struct EffectSource {
  std::vector<Parameter> parameters;  // in source order; `static` globals are not parameters
  std::vector<Technique> techniques;  // in source order
  // The source with every technique and the parameters' annotations and initial values
  // blanked to spaces, line breaks kept: what an HLSL compiler gets for the functions that
  // `compile` entries name. The effect sets parameter values itself, and some compilers
  // (Wine's) take neither annotations nor initial values.
  std::string hlsl;
};

// Parses an effect file. On failure gives false and `error` as "line N: reason".
bool parseEffect(const std::string& text, EffectSource& effect, std::string& error);

}  // namespace fx

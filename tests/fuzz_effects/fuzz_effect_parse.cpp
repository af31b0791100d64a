// The effect-file parser on any text: a refusal that names a line of the text, or a structure
// whose HLSL text is the input with only techniques blanked, and which reads again with the same
// parameters and no techniques. Never a crash, a hang or an allocation beyond the input's measure.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "gfxhelper/effect_source.h"

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  fx::EffectSource effect;
  std::string error;
  if (!fx::parseEffect(text, effect, error)) {
    const long line = std::strtol(error.c_str() + 5, nullptr, 10);
    check(error.rfind("line ", 0) == 0 && line >= 1 && line <= 1 + std::count(text.begin(), text.end(), '\n'));
    return 0;
  }
  check(effect.hlsl.size() == text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    check(effect.hlsl[i] == text[i] || (effect.hlsl[i] == ' ' && text[i] != '\n' && text[i] != '\r'));
  }
  fx::EffectSource again;
  check(fx::parseEffect(effect.hlsl, again, error) && again.techniques.empty() &&
        again.parameters.size() == effect.parameters.size());
  for (size_t i = 0; i < effect.parameters.size(); ++i) {
    check(again.parameters[i].name == effect.parameters[i].name && again.parameters[i].line == effect.parameters[i].line);
  }
  return 0;
}

// The shader assembler on any text: tokens that start with a version and stop at the end
// token, or a refusal that names its line; never a crash. The same bytes, read as tokens,
// go through the constant-table reader, which must stay inside them.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "gfxhelper/shader_asm.h"

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<uint32_t> tokens;
  std::string error;
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (fx::assembleShader(text, tokens, error)) {
    check(error.empty() && tokens.size() >= 2 && (tokens.front() >> 17) == 0x7FFF && tokens.back() == 0x0000FFFF);
  } else {
    check(tokens.empty() && error.compare(0, 5, "line ") == 0);
  }

  std::vector<uint32_t> words(size / sizeof(uint32_t));
  if (!words.empty()) std::memcpy(words.data(), data, words.size() * sizeof(uint32_t));
  std::vector<fx::ShaderConstant> constants;
  if (fx::readConstantTable(words.data(), words.size(), constants)) {
    for (const fx::ShaderConstant& constant : constants) check(constant.name.size() < size);
  }
  return 0;
}

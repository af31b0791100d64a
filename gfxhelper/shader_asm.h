#pragma once

// Direct3D 9 shader assembly: text of vs_1_1, vs_2_0, ps_1_1 to ps_1_4 and ps_2_0 into the
// token stream that CreateVertexShader and CreatePixelShader take. Platform-free, so that
// effect files can be checked and fuzzed natively.

#include <cstdint>
#include <string>
#include <vector>

namespace fx {

// Assembles one shader: its version line, then instructions, one per line. Gives the tokens,
// version token first and end token last, or false with `error` set to "line N: reason",
// where N counts from `firstLine` (the line of the text's first line in its file).
bool assembleShader(const std::string& text, std::vector<uint32_t>& tokens, std::string& error,
                    int firstLine = 1);

// One constant of a compiled shader's constant table.
struct ShaderConstant {
  std::string name;
  uint32_t registerSet = 0;  // 0 bool, 1 int4, 2 float4, 3 sampler
  uint32_t registerIndex = 0;
  uint32_t registerCount = 0;
};

// Reads the constant table comment ("CTAB") of a token stream, bounded by `count` words.
// False when there is none or it is malformed.
bool readConstantTable(const uint32_t* tokens, size_t count, std::vector<ShaderConstant>& constants);

}  // namespace fx

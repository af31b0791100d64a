// The shader assembler against token words worked out by hand from the token layout:
// parameter tokens are bit 31, the register type in bits 28-30 and 11-12, the number,
// then a write mask (16-19), result modifier (20-23) and shift (24-27), or a swizzle
// (16-23) and source modifier (24-27).
#include <gtest/gtest.h>

#include "gfxhelper/shader_asm.h"

namespace {

struct Assembled {
  const char* text;
  std::vector<uint32_t> tokens;
};

const Assembled kAssembled[] = {
    {"vs_1_1\n"
     "dcl_position v0\n"
     "dcl_texcoord1 v2   // a usage index\n"
     "m4x4 oPos, v0, c0\n"
     "mov oD0, c[a0.x + 5].zyxw\n"
     "MOV oT0.xy, -V2 ; either comment\n"
     "sub r1.w, r0.x, c4\n"
     "def c95, 1, 0, -0.5, 2\n",
     {0xFFFE0101, 0x0000001F, 0x80000000, 0x900F0000, 0x0000001F, 0x80010005, 0x900F0002,
      0x00000014, 0xC00F0000, 0x90E40000, 0xA0E40000, 0x00000001, 0xD00F0000, 0xA0C62005,
      0x00000001, 0xE0030000, 0x91E40002, 0x00000003, 0x80080001, 0x80000000, 0xA0E40004,
      0x00000051, 0xA00F005F, 0x3F800000, 0x00000000, 0xBF000000, 0x40000000, 0x0000FFFF}},
    {"vs_2_0\n"
     "dcl_normal v1\n"
     "defi i0, 3, 0, 1, 0\n"
     "defb b1, true\n"
     "mova a0.y, r0.x\n"
     "mov r2, c2[a0.y]\n"
     "sincos r1.xy, r0.x, c10, c11\n"
     "rep i0\n"
     "endrep\n"
     "if b1\n"
     "call l1\n"
     "endif\n"
     "ret\n"
     "label l1\n"
     "ret\n",
     {0xFFFE0200, 0x0200001F, 0x80000003, 0x900F0001, 0x05000030, 0xF00F0000, 0x00000003, 0x00000000,
      0x00000001, 0x00000000, 0x0200002F, 0xE00F0801, 0x00000001, 0x0200002E, 0xB0020000, 0x80000000,
      0x03000001, 0x800F0002, 0xA0E42002, 0xB0550000, 0x04000025, 0x80030001, 0x80000000, 0xA0E4000A,
      0xA0E4000B, 0x01000026, 0xF0E40000, 0x00000027, 0x01000028, 0xE0E40801, 0x01000019, 0xA0E41001,
      0x0000002B, 0x0000001C, 0x0100001E, 0xA0E41001, 0x0000001C, 0x0000FFFF}},
    {"ps_1_1\n"
     "def c7, 1.0, 0.5, 0, 1\n"
     "tex t0\n"
     "texbem t1, t0\n"
     "mul_x2 r0.rgb, t0, v0_bx2\n"
     "+add_d2 r0.a, 1-t1.a, -c1_bias\n"
     "cnd r0, r0.a, t0, r1\n",
     {0xFFFF0101, 0x00000051, 0xA00F0007, 0x3F800000, 0x3F000000, 0x00000000, 0x3F800000, 0x00000042,
      0xB00F0000, 0x00000043, 0xB00F0001, 0xB0E40000, 0x00000005, 0x81070000, 0xB0E40000, 0x94E40000,
      0x40000002, 0x8F080000, 0xB6FF0001, 0xA3E40001, 0x00000050, 0x800F0000, 0x80FF0000, 0xB0E40000,
      0x80E40001, 0x0000FFFF}},
    {"ps.1.3\n"
     "tex t0\n"
     "texm3x3pad t1, t0\n"
     "texm3x3pad t2, t0\n"
     "texm3x3spec t3, t0, c0\n"
     "mov_sat r0, t3\n",
     {0xFFFF0103, 0x00000042, 0xB00F0000, 0x00000049, 0xB00F0001, 0xB0E40000, 0x00000049, 0xB00F0002,
      0xB0E40000, 0x0000004C, 0xB00F0003, 0xB0E40000, 0xA0E40000, 0x00000001, 0x801F0000, 0xB0E40003,
      0x0000FFFF}},
    {"ps_1_4\n"
     "texld r0, t0\n"
     "texcrd r1.rgb, t1_dw.xyw\n"
     "bem r2.rg, r0, r1\n"
     "phase\n"
     "texld r3, r0_dz\n"
     "mov_x8 r0, -r3_x2\n"
     "texdepth r5\n",
     {0xFFFF0104, 0x00000042, 0x800F0000, 0xB0E40000, 0x00000040, 0x80070001, 0xBAF40001, 0x00000059,
      0x80030002, 0x80E40000, 0x80E40001, 0x0000FFFD, 0x00000042, 0x800F0003, 0x89E40000, 0x00000001,
      0x830F0000, 0x88E40003, 0x00000057, 0x800F0005, 0x0000FFFF}},
    {"ps_2_0\n"
     "dcl t0.xy\n"
     "dcl_cube s1\n"
     "dcl_2d s0\n"
     "texld_pp r0, t0, s0\n"
     "texldp r1, t0, s1\n"
     "mul_sat oC0, r0, -c31.x\n"
     "texkill t0\n"
     "dp2add r2.x, r0, r1, c0.w\n"
     "mov oDepth, r2.x\n",
     {0xFFFF0200, 0x0200001F, 0x80000000, 0xB0030000, 0x0200001F, 0x98000000, 0xA00F0801, 0x0200001F,
      0x90000000, 0xA00F0800, 0x03000042, 0x802F0000, 0xB0E40000, 0xA0E40800, 0x03010042, 0x800F0001,
      0xB0E40000, 0xA0E40801, 0x03000005, 0x801F0800, 0x80E40000, 0xA100001F, 0x01000041, 0xB00F0000,
      0x0400005A, 0x80010002, 0x80E40000, 0x80E40001, 0xA0FF0000, 0x02000001, 0x900F0800, 0x80000002,
      0x0000FFFF}},
};

TEST(ShaderAsm, AssemblesEachVersion) {
  for (const Assembled& row : kAssembled) {
    std::vector<uint32_t> tokens;
    std::string error;
    EXPECT_TRUE(fx::assembleShader(row.text, tokens, error)) << error;
    EXPECT_EQ(tokens, row.tokens) << row.text;
  }
}

struct Refused {
  const char* text;
  int firstLine;
  const char* error;
};

const Refused kRefused[] = {
    {"vs_1_1\nmov r0, c300", 1, "line 2: register c300 out of range"},
    {"vs_1_1\n\nfoo r0, r1", 1, "line 3: unknown instruction 'foo'"},
    {"\nps_1_1\ntexld r0, t0, s0", 20, "line 22: 'texld' is not available in ps_1_1"},
    {"ps_1_1\nmov r0, t4", 1, "line 2: register t4 out of range"},
    {"vs_1_1\nmov r0, s0", 1, "line 2: register 's0' is not available in vs_1_1"},
    {"ps_2_0\nmov r0", 1, "line 2: 'mov' takes 2 operands, not 1"},
    {"vs_1_1\nadd r0, r1,", 1, "line 2: missing operand"},
    {"vs_1_1\nmov c0, r0", 1, "line 2: register in 'c0' cannot be written"},
    {"vs_1_1\nmov r0, c[a0.y]", 1, "line 2: bad relative address 'a0.y'"},
    {"vs_2_0\nmov_sat r0, r1", 1, "line 2: modifier '_sat' not allowed here"},
    {"ps_2_0\n+mov r0, r1", 1, "line 2: co-issue is not available in ps_2_0"},
    {"ps_2_0\ndcl_2d t0", 1, "line 2: 't0' cannot be declared so"},
    {"vs_1_1\ndef c0, 1, 2, x, 4", 1, "line 2: bad number 'x'"},
    {"vs_1_1\nmov r0.xx, r1", 1, "line 2: bad write mask in 'r0.xx'"},
    {"ps_1_4\nmov r0, r1_bx2.q", 1, "line 2: bad operand 'r1_bx2.q'"},
    {"%$#\nmov r0, r1", 1, "line 1: expected a shader version, not '%$#'"},
    {" // nothing", 5, "line 5: no shader version"},
};

TEST(ShaderAsm, RefusesWithTheLine) {
  for (const Refused& row : kRefused) {
    std::vector<uint32_t> tokens;
    std::string error;
    EXPECT_FALSE(fx::assembleShader(row.text, tokens, error, row.firstLine)) << row.text;
    EXPECT_EQ(error, row.error);
    EXPECT_TRUE(tokens.empty());
  }
}

TEST(ShaderAsm, ReadsTheConstantTable) {
  // A version token, the "CTAB" comment (header, two entries, names at byte 68 and 76 of
  // the header), then the end token.
  const std::vector<uint32_t> shader = {
      0xFFFF0200, 0x0015FFFE, 0x42415443, 28,         0,          0xFFFF0200, 2, 28, 0, 0,
      68,         0x00040002, 4,          0,          0,          76,         0x00010003, 1, 0, 0,
      0x6C726F57, 0x00000064, 0x00786554, 0x0000FFFF};
  std::vector<fx::ShaderConstant> constants;
  ASSERT_TRUE(fx::readConstantTable(shader.data(), shader.size(), constants));
  ASSERT_EQ(constants.size(), 2u);
  const auto describe = [](const fx::ShaderConstant& c) {
    return c.name + ' ' + std::to_string(c.registerSet) + ' ' + std::to_string(c.registerIndex) + ' ' +
           std::to_string(c.registerCount);
  };
  EXPECT_EQ(describe(constants[0]), "World 2 4 4");
  EXPECT_EQ(describe(constants[1]), "Tex 3 1 1");
  // Cut inside the comment; then a comment that claims a third entry past its end.
  EXPECT_FALSE(fx::readConstantTable(shader.data(), shader.size() - 4, constants));
  std::vector<uint32_t> overrun = shader;
  overrun[6] = 3;
  EXPECT_FALSE(fx::readConstantTable(overrun.data(), overrun.size(), constants));
}

}  // namespace

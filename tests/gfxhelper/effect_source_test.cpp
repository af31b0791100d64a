// The effect-file parser on one effect that uses every construct, and on texts it refuses.
#include "gfxhelper/effect_source.h"
#include "gfxhelper/shader_asm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <tuple>

namespace {

const std::string kEffect = R"(// lit and textured
float4x4 WorldViewProj : WORLDVIEWPROJECTION;
uniform const float4 Tint : COLOR < string UIName = "Tint"; float UIMax = 2; > = {1, 0.5, .25f, 1e0};
shared float Fade = -0.5 : register(c7);
extern int Count : register(vs, c4) = 3;
bool Flags[2] = {true, false};
static const float Pi = 3.14;
texture Diffuse < string ResourceName = "stone.dds"; >;
sampler2D DiffuseSampler : register(s1) = sampler_state {
  Texture = <Diffuse>;
  MinFilter = Linear; AddressU = 0x3;
};
struct Output { float4 position : POSITION; };
float4 Shade(float2 uv : TEXCOORD0) : COLOR0 {
  return tex2D(DiffuseSampler, uv) * Tint * Fade;  /* { */
}
technique Assembled < string Pipeline = "fixed"; > {
  pass Solid {
    CullMode = None;
    ColorWriteEnable = RED | ALPHA;
    Texture[0] = <Diffuse>;
    Sampler[0] = (DiffuseSampler);
    VertexShader = asm {
      vs_1_1 ; } in a comment
      m4x4 oPos, v0, c0
    };
    PixelShader = NULL;
  }
  pass { FogColor = float4(1, 0, 0, 1); ZEnable = false; }
};
technique Compiled { pass P0 { PixelShader = compile ps_2_0 Shade(); } }
)";

TEST(EffectSource, ReadsEveryConstruct) {
  fx::EffectSource effect;
  std::string error;
  ASSERT_TRUE(fx::parseEffect(kEffect, effect, error)) << error;

  // name, type, rows, columns, elements, semantic, register kind, index and shader, defaults, line
  using Expected = std::tuple<std::string, fx::BaseType, uint32_t, uint32_t, uint32_t, std::string, char, int, char,
                              std::vector<float>, int>;
  using T = fx::BaseType;
  const Expected expected[] = {
      {"WorldViewProj", T::Float, 4, 4, 0, "WORLDVIEWPROJECTION", 0, -1, 0, {}, 2},
      {"Tint", T::Float, 1, 4, 0, "COLOR", 0, -1, 0, {1, 0.5f, 0.25f, 1}, 3},
      {"Fade", T::Float, 1, 1, 0, "", 'c', 7, 0, {-0.5f}, 4},
      {"Count", T::Int, 1, 1, 0, "", 'c', 4, 'v', {3}, 5},
      {"Flags", T::Bool, 1, 1, 2, "", 0, -1, 0, {1, 0}, 6},
      {"Diffuse", T::Texture, 1, 1, 0, "", 0, -1, 0, {}, 8},
      {"DiffuseSampler", T::Sampler, 1, 1, 0, "", 's', 1, 0, {}, 9},
  };
  ASSERT_EQ(effect.parameters.size(), std::size(expected));
  for (size_t i = 0; i < std::size(expected); ++i) {
    const fx::Parameter& p = effect.parameters[i];
    EXPECT_EQ(std::tie(p.name, p.type, p.rows, p.columns, p.elements, p.semantic, p.registerKind, p.registerIndex,
                       p.registerShader, p.defaults, p.line),
              expected[i]);
  }
  const auto& tint = effect.parameters[1].annotations;
  ASSERT_EQ(tint.size(), 2u);
  EXPECT_EQ(tint[0].value.kind, fx::Value::String);
  EXPECT_EQ(tint[0].value.text, "Tint");
  EXPECT_EQ(tint[1].value.numbers, std::vector<float>{2});
  EXPECT_EQ(effect.parameters[5].annotations.at(0).value.text, "stone.dds");
  const auto& sampler = effect.parameters[6].samplerStates;
  ASSERT_EQ(sampler.size(), 3u);
  EXPECT_EQ(sampler[0].value.kind, fx::Value::Reference);
  EXPECT_EQ(sampler[0].value.text, "Diffuse");
  EXPECT_EQ(sampler[1].value.identifiers, std::vector<std::string>{"Linear"});
  EXPECT_EQ(sampler[2].value.numbers, std::vector<float>{3});

  ASSERT_EQ(effect.techniques.size(), 2u);
  const fx::Technique& assembled = effect.techniques[0];
  EXPECT_EQ(assembled.name, "Assembled");
  EXPECT_EQ(assembled.annotations.at(0).value.text, "fixed");
  ASSERT_EQ(assembled.passes.size(), 2u);
  EXPECT_EQ(assembled.passes[0].name, "Solid");
  const auto& states = assembled.passes[0].states;
  ASSERT_EQ(states.size(), 6u);
  EXPECT_EQ(states[0].value.identifiers, std::vector<std::string>{"None"});
  EXPECT_EQ(states[1].value.identifiers, (std::vector<std::string>{"RED", "ALPHA"}));
  EXPECT_EQ(states[2].index, 0);
  EXPECT_EQ(states[2].value.text, "Diffuse");
  EXPECT_EQ(states[3].value.kind, fx::Value::Reference);
  EXPECT_EQ(states[3].value.text, "DiffuseSampler");
  EXPECT_EQ(states[4].value.kind, fx::Value::Assembly);
  EXPECT_EQ(states[4].value.text, "\n      vs_1_1 ; } in a comment\n      m4x4 oPos, v0, c0\n    ");
  EXPECT_EQ(states[4].value.line, 23);
  EXPECT_EQ(states[4].line, 23);
  EXPECT_EQ(states[5].value.kind, fx::Value::Null);
  const auto& unnamed = assembled.passes[1];
  EXPECT_EQ(unnamed.name, "");
  ASSERT_EQ(unnamed.states.size(), 2u);
  EXPECT_EQ(unnamed.states[0].value.numbers, (std::vector<float>{1, 0, 0, 1}));
  EXPECT_EQ(unnamed.states[1].value.numbers, std::vector<float>{0});
  const fx::Value& compiled = effect.techniques[1].passes.at(0).states.at(0).value;
  EXPECT_EQ(compiled.kind, fx::Value::Compile);
  EXPECT_EQ(compiled.profile, "ps_2_0");
  EXPECT_EQ(compiled.text, "Shade");

  // The HLSL text keeps declarations and functions, blanks what only the effect reads
  // (annotations, initial values, techniques) and keeps the lines.
  const size_t techniques = kEffect.find("technique");
  for (const char* kept : {"static const float Pi = 3.14;", "return tex2D(DiffuseSampler, uv) * Tint * Fade;",
                           "uniform const float4 Tint : COLOR ", "sampler2D DiffuseSampler : register(s1) "}) {
    EXPECT_NE(effect.hlsl.find(kept), std::string::npos) << kept;
  }
  for (const char* gone : {"UIName", "ResourceName", "sampler_state", "= {1", "= -0.5", "= 3;"}) {
    EXPECT_EQ(effect.hlsl.find(gone), std::string::npos) << gone;
  }
  EXPECT_EQ(effect.hlsl.size(), kEffect.size());
  EXPECT_EQ(effect.hlsl.find_first_not_of(" \n", techniques), std::string::npos);
  EXPECT_EQ(std::count(effect.hlsl.begin(), effect.hlsl.end(), '\n'), std::count(kEffect.begin(), kEffect.end(), '\n'));
}

TEST(EffectSource, RefusesWithTheLine) {
  const std::pair<std::string, const char*> refused[] = {
      {"float4 a;\nfloat4 b", "line 2: expected ';'"},
      {"float4 f() {\n  return 1;\n", "line 1: '{' is not closed"},
      {"float4 a : register(q3);", "line 1: unknown register 'q3'"},
      {"float a = " + std::string(40, '{'), "line 1: values nested too deeply"},
      {"\nfloat a[100000];", "line 2: array size out of range"},
      {"float a = 1e99;", "line 1: number out of range"},
      {"float a = 99999999999;", "line 1: number out of range"},
      {"\n\n#include \"x.fx\"", "line 3: preprocessor directives are not supported"},
      {"float a;\n/* open", "line 2: comment is not closed"},
      {"technique T { pass { VertexShader = asm {\n vs_1_1\n", "line 1: asm block is not closed"},
      {"float4 a = {1, 2};", "line 1: 2 numbers for 4 in 'a'"},
      {"\nfloat5 x;", "line 2: unknown type 'float5'"},
      {"string s = \"abc\n\";", "line 1: string is not closed"},
      {"technique T {\n CullMode = None; }", "line 2: expected a pass"},
      {"technique T { pass { PixelShader = compile ps_2_0 f(1); } }",
       "line 1: arguments to compiled functions are not supported"},
      {"float a;\n\x01", "line 2: unexpected character"},
  };
  for (const auto& [text, message] : refused) {
    fx::EffectSource effect;
    std::string error;
    EXPECT_FALSE(fx::parseEffect(text, effect, error)) << text;
    EXPECT_EQ(error, message) << text;
  }
}

}  // namespace

#if defined(TS_EFFECT_SOURCES)
// The module's own effect sources parse, and every shader in them assembles.
TEST(EffectSources, EveryShaderOfTheBuiltInSourcesAssembles) {
  for (const char* name : {"depth_of_field.fx", "blur.fx", "channels.fx"}) {
    std::ifstream file(std::string(TS_EFFECT_SOURCES) + "/" + name, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    fx::EffectSource effect;
    std::string error;
    ASSERT_TRUE(fx::parseEffect(text, effect, error)) << name << ": " << error;
    int shaders = 0;
    for (const fx::Technique& technique : effect.techniques) {
      for (const fx::Pass& pass : technique.passes) {
        for (const fx::StateAssignment& state : pass.states) {
          if (state.value.kind != fx::Value::Assembly) continue;
          std::vector<uint32_t> tokens;
          EXPECT_TRUE(fx::assembleShader(state.value.text, tokens, error, state.value.line))
              << name << " " << technique.name << ": " << error;
          ++shaders;
        }
      }
    }
    EXPECT_GE(shaders, 4) << name;
  }
}
#endif

#pragma once

// Effect sources of the pixel and player tests and of the scene benchmark.
namespace tstest {

// A ps_2_0 technique that paints Tint, and a fixed-function one that paints red.
inline const char* const kTwoTechniques = R"(
float4 Tint : register(c0) = {0, 1, 0, 1};
technique shaded {
  pass P0 {
    CullMode = None;
    Lighting = false;
    VertexShader = NULL;
    PixelShader = asm {
      ps_2_0
      mov oC0, c0
    };
  }
}
technique fixed {
  pass P0 {
    CullMode = None;
    Lighting = false;
    TextureFactor = float4(1, 0, 0, 1);
    ColorOp[0] = SelectArg1;
    ColorArg1[0] = TFactor;
    AlphaOp[0] = SelectArg1;
    AlphaArg1[0] = TFactor;
    PixelShader = NULL;
  }
}
)";

// The same white triangle, placed from WORLDVIEWPROJECTION by an assembled vertex shader
// and by a compiled one, and by the fixed-function transforms.
inline const char* const kPlacement = R"(
float4x4 Transform : WORLDVIEWPROJECTION;
technique byShader {
  pass P0 {
    CullMode = None;
    VertexShaderConstant4[0] = <Transform>;
    VertexShader = asm {
      vs_1_1
      dcl_position v0
      m4x4 oPos, v0, c0
    };
    PixelShader = asm {
      ps_1_1
      def c0, 1, 1, 1, 1
      mov r0, c0
    };
  }
}
float4 Place(float4 position : POSITION) : POSITION { return mul(position, Transform); }
float4 Paint = {1, 1, 1, 1};
float4 White() : COLOR { return Paint; }
technique byCompiler {
  pass P0 {
    CullMode = None;
    VertexShader = compile vs_2_0 Place();
    PixelShader = compile ps_2_0 White();
  }
}
technique byPipeline {
  pass P0 {
    CullMode = None;
    Lighting = false;
    TextureFactor = float4(1, 1, 1, 1);
    ColorOp[0] = SelectArg1;
    ColorArg1[0] = TFactor;
    VertexShader = NULL;
    PixelShader = NULL;
  }
}
)";

}  // namespace tstest

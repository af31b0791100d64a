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

// The same white triangle, once placed by a vertex shader from WORLDVIEWPROJECTION and
// once by the fixed-function transforms.
inline const char* const kPlacement = R"(
float4x4 Transform : WORLDVIEWPROJECTION : register(vs, c0);
technique byShader {
  pass P0 {
    CullMode = None;
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

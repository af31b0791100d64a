// Lit and textured, with both shader paths
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
      dcl_position v0
      m4x4 oPos, v0, c0
    };
    PixelShader = NULL;
  }
  pass { FogColor = float4(1, 0, 0, 1); ZEnable = false; }
};
technique Compiled { pass P0 { PixelShader = compile ps_2_0 Shade(); } }

// Bloom's blur: four taps around each texel at a growing radius, one pass per step.
// "blur" needs ps_1_1; "blur_nops" does the same with the fixed-function stages in two
// additive passes, for devices without pixel shaders.

texture2D RenderTarget : RENDERTARGET;
float4 TexOffsetIter : register(vs, c0) = {0, 0, 0, 0};
const float4 WeightTex0 : register(ps, c0) = {0.25, 0.25, 0.25, 0.25};
const float4 WeightTex1 : register(ps, c1) = {0.25, 0.25, 0.25, 0.25};
const float4 WeightTex2 : register(ps, c2) = {0.25, 0.25, 0.25, 0.25};
const float4 WeightTex3 : register(ps, c3) = {0.25, 0.25, 0.25, 0.25};

sampler Sampler = sampler_state {
  MipFilter = Linear;
  MinFilter = Linear;
  MagFilter = Linear;
  AddressU = Clamp;
  AddressV = Clamp;
};

technique blur {
  pass P0 {
    Texture[0] = <RenderTarget>;
    Texture[1] = <RenderTarget>;
    Texture[2] = <RenderTarget>;
    Texture[3] = <RenderTarget>;
    Sampler[0] = (Sampler);
    Sampler[1] = (Sampler);
    Sampler[2] = (Sampler);
    Sampler[3] = (Sampler);
    TexCoordIndex[0] = 0;
    TexCoordIndex[1] = 1;
    TexCoordIndex[2] = 2;
    TexCoordIndex[3] = 3;
    TextureTransformFlags[0] = Disable;
    TextureTransformFlags[1] = Disable;
    TextureTransformFlags[2] = Disable;
    TextureTransformFlags[3] = Disable;
    CullMode = None;
    ZEnable = false;
    FogEnable = false;
    SrcBlend = One;
    DestBlend = Zero;

    // The coordinate + (x, y), + (x, -y), + (-x, y), + (-x, -y).
    VertexShader = asm {
      vs_1_1
      dcl_position v0
      dcl_color v1
      dcl_texcoord0 v2
      def c1, 1, -1, 0, 0
      mov oPos, v0
      mul r0.xy, c0, c1
      add oT0.xy, v2, c0
      add oT1.xy, v2, r0
      sub oT2.xy, v2, r0
      sub oT3.xy, v2, c0
    };

    PixelShader = asm {
      ps_1_1
      tex t0
      tex t1
      tex t2
      tex t3
      mul r0, t0, c0
      mad r0, t1, c1, r0
      mad r0, t2, c2, r0
      mad r0, t3, c3, r0
    };
  }
}

technique blur_nops {
  pass P0 {
    Texture[0] = <RenderTarget>;
    Texture[1] = <RenderTarget>;
    Texture[2] = NULL;
    Texture[3] = NULL;
    Sampler[0] = (Sampler);
    Sampler[1] = (Sampler);
    TexCoordIndex[0] = 0;
    TexCoordIndex[1] = 1;
    TexCoordIndex[2] = 2;
    TexCoordIndex[3] = 3;
    TextureTransformFlags[0] = Disable;
    TextureTransformFlags[1] = Disable;
    TextureTransformFlags[2] = Disable;
    TextureTransformFlags[3] = Disable;
    CullMode = None;
    ZEnable = false;
    FogEnable = false;
    AlphaBlendEnable = false;
    SrcBlend = One;
    DestBlend = Zero;
    TextureFactor = <WeightTex0>;
    ColorOp[0] = Modulate;
    ColorArg1[0] = Texture;
    ColorArg2[0] = TFactor;
    ColorOp[1] = MultiplyAdd;
    ColorArg0[1] = Current;
    ColorArg1[1] = Texture;
    ColorArg2[1] = TFactor;
    ColorOp[2] = Disable;
    AlphaOp[0] = Disable;
    PixelShader = NULL;

    VertexShader = asm {
      vs_1_1
      dcl_position v0
      dcl_color v1
      dcl_texcoord0 v2
      def c1, 1, -1, 0, 0
      mov oPos, v0
      mul r0.xy, c0, c1
      add oT0.xy, v2, c0
      add oT1.xy, v2, r0
    };
  }

  pass P1 {
    Texture[0] = <RenderTarget>;
    Texture[1] = <RenderTarget>;
    Texture[2] = NULL;
    Texture[3] = NULL;
    Sampler[0] = (Sampler);
    Sampler[1] = (Sampler);
    TexCoordIndex[0] = 0;
    TexCoordIndex[1] = 1;
    TexCoordIndex[2] = 2;
    TexCoordIndex[3] = 3;
    TextureTransformFlags[0] = Disable;
    TextureTransformFlags[1] = Disable;
    TextureTransformFlags[2] = Disable;
    TextureTransformFlags[3] = Disable;
    CullMode = None;
    ZEnable = false;
    FogEnable = false;
    AlphaBlendEnable = true;
    SrcBlend = One;
    DestBlend = One;
    TextureFactor = <WeightTex0>;
    ColorOp[0] = Modulate;
    ColorArg1[0] = Texture;
    ColorArg2[0] = TFactor;
    ColorOp[1] = MultiplyAdd;
    ColorArg0[1] = Current;
    ColorArg1[1] = Texture;
    ColorArg2[1] = TFactor;
    ColorOp[2] = Disable;
    AlphaOp[0] = Disable;
    PixelShader = NULL;

    // The second pair: + (-x, y), + (-x, -y).
    VertexShader = asm {
      vs_1_1
      dcl_position v0
      dcl_color v1
      dcl_texcoord0 v2
      def c1, 1, -1, 0, 0
      mov oPos, v0
      mul r0.xy, c0, c1
      sub oT0.xy, v2, r0
      sub oT1.xy, v2, c0
    };
  }
}

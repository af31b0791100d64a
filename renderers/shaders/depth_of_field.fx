// Depth of field: the scene's depth becomes a blur amount in alpha, two blurred copies are
// made at low resolution, and the merge mixes the three by that alpha. Assembly throughout,
// so every technique runs wherever vs_1_1 and ps_1_1 do.

float4 Black = {0, 0, 0, 0};
texture2D RenderTarget : RENDERTARGET;
texture2D RenderTargetSBlur : RENDERTARGET;

// Vertex constants: the matrix c0-c3, the tap offsets c4-c7, the focus c8.
float4x4 WorldViewProjection : WORLDVIEWPROJECTION : register(vs, c0);
const float4 OffsetTex0 : register(vs, c4);
const float4 OffsetTex1 : register(vs, c5);
const float4 OffsetTex2 : register(vs, c6);
const float4 OffsetTex3 : register(vs, c7);
float4 Target : register(vs, c8) = {10, 0.5, 0.01, 0};

// Pixel constants: the tap weights.
const float4 WeightTex0 : register(ps, c0) = {0.25, 0.25, 0.25, 0.25};
const float4 WeightTex1 : register(ps, c1) = {0.25, 0.25, 0.25, 0.25};
const float4 WeightTex2 : register(ps, c2) = {0.25, 0.25, 0.25, 0.25};
const float4 WeightTex3 : register(ps, c3) = {0.25, 0.25, 0.25, 0.25};

texture2D LookupMap : LOOKUPDEPTH;
float4 Clip = {1, 1000, 0, 0};

sampler MultiTapSampler = sampler_state {
  MipFilter = Linear;
  MinFilter = Linear;
  MagFilter = Linear;
};

sampler Sampler = sampler_state {
  MipFilter = Linear;
  MinFilter = Linear;
  MagFilter = Linear;
};

sampler DepthSampler = sampler_state {
  MipFilter = Linear;
  MinFilter = Linear;
  MagFilter = Linear;
  AddressU = Clamp;
  AddressV = Clamp;
};

technique multitap {
  pass p0 {
    Texture[0] = <RenderTarget>;
    Texture[1] = <RenderTarget>;
    Texture[2] = <RenderTarget>;
    Texture[3] = <RenderTarget>;
    Sampler[0] = (MultiTapSampler);
    Sampler[1] = (MultiTapSampler);
    Sampler[2] = (MultiTapSampler);
    Sampler[3] = (MultiTapSampler);
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

    VertexShader = asm {
      vs_1_1
      dcl_position v0
      dcl_color v1
      dcl_texcoord0 v2
      mov oPos, v0
      add oT0.xy, v2, c4
      add oT1.xy, v2, c5
      add oT2.xy, v2, c6
      add oT3.xy, v2, c7
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

technique depth {
  pass P0 {
    Texture[0] = <LookupMap>;
    Sampler[0] = (DepthSampler);
    TexCoordIndex[0] = 0;
    TextureTransformFlags[0] = Disable;
    ColorWriteEnable = Alpha;

    // u = Target.y + (projected z - Target.x) * Target.z
    VertexShader = asm {
      vs_1_1
      dcl_position v0
      def c9, 0, 0, 0, 1
      m4x4 r0, v0, c0
      mov oPos, r0
      add r2.x, r0.z, -c8.x
      mad oT0.x, r2.x, c8.z, c8.y
      mov oT0.y, c9.x
    };

    // The lookup holds the curve in all four channels: its red lands in alpha.
    PixelShader = asm {
      ps_1_1
      tex t0
      mov r0, t0
    };
  }
}

technique merge {
  pass P0 {
    Texture[0] = <RenderTarget>;
    Texture[1] = <RenderTargetSBlur>;
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

    VertexShader = asm {
      vs_1_1
      dcl_position v0
      dcl_color v1
      dcl_texcoord0 v2
      dcl_texcoord1 v3
      dcl_texcoord2 v4
      mov oPos, v0
      mov oT0.xy, v2
      mov oT1.xy, v3
      mov oT2.xy, v4
      mov oT3.xy, v2
    };

    // t0 the sharp image with its blur amount a, t1 the small blur, t2 the wide one.
    // factor = saturate((a - 0.5) * 1.75), mix = saturate(2 a),
    // result = lerp(t0, (lerp(t1, t2, factor).rgb, mix), mix).
    PixelShader = asm {
      ps_1_1
      def c4, 0.5, 0.5, 0.5, 0.5
      def c5, 0.875, 0.875, 0.875, 0.875
      tex t0
      tex t1
      tex t2
      sub_sat r0.a, t0.a, c4.a
      mul_x2_sat r0.a, r0.a, c5.a
      mov_x2_sat r1.a, t0.a
      lrp r1.rgb, r0.a, t2, t1
      lrp r0, r1.a, r1, t0
    };
  }
}

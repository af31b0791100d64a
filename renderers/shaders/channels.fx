// Colour grading: each of red, green and blue goes through its own curve, read from a row
// of the lookup image. "filter" reads the curves directly (ps_2_0); "filter1_3" reads a
// table that "gradient" baked, with the two-channel dependent reads of ps_1_3;
// "filter_nops" only shifts the levels with the fixed-function stages.

texture2D RenderTarget : RENDERTARGET;
texture2D Lookup;
float4 Offset : register(c0) = {0, 0, 0, 0};

sampler Sampler = sampler_state {
  MipFilter = Linear;
  MinFilter = Linear;
  MagFilter = Linear;
};

sampler LookupSampler = sampler_state {
  Texture = <Lookup>;
  MipFilter = None;
  MinFilter = Linear;
  MagFilter = Linear;
  AddressU = Clamp;
  AddressV = Clamp;
};

technique filter {
  pass P0 {
    Texture[0] = <RenderTarget>;
    Texture[1] = <Lookup>;
    Texture[2] = NULL;
    Texture[3] = NULL;
    Sampler[0] = (Sampler);
    Sampler[1] = (LookupSampler);
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
      dcl_texcoord3 v5
      mov oPos, v0
      mov oT0.xy, v2
      mov oT1.xy, v3
      mov oT2.xy, v4
      mov oT3.xy, v5
    };

    // Each channel p.c is looked up at (p.c + Offset.x, Offset.y) and keeps its own curve.
    PixelShader = asm {
      ps_2_0
      dcl t0.xy
      dcl_2d s0
      dcl_2d s1
      def c1, 0, 0, 0, 0
      texld r0, t0, s0
      add r1.x, r0.x, c0.x
      mov r1.y, c0.y
      add r2.x, r0.y, c0.x
      mov r2.y, c0.y
      add r3.x, r0.z, c0.x
      mov r3.y, c0.y
      texld r1, r1, s1
      texld r2, r2, s1
      texld r3, r3, s1
      mov r4.x, r1.x
      mov r4.y, r2.y
      mov r4.z, r3.z
      mov r4.w, c1.w
      mov oC0, r4
    };
  }
}

technique filter1_3 {
  pass P0 {
    Texture[0] = <RenderTarget>;
    Texture[1] = <Lookup>;
    Texture[2] = <RenderTarget>;
    Texture[3] = <Lookup>;
    Sampler[0] = (Sampler);
    Sampler[1] = (LookupSampler);
    Sampler[2] = (Sampler);
    Sampler[3] = (LookupSampler);
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
      dcl_texcoord3 v5
      mov oPos, v0
      mov oT0.xy, v2
      mov oT1.xy, v3
      mov oT2.xy, v4
      mov oT3.xy, v5
    };

    // The baked table at (a, r) gives red and alpha, at (g, b) green and blue.
    PixelShader = asm {
      ps_1_3
      def c1, 1, 0, 0, 0
      tex t0
      texreg2ar t1, t0
      tex t2
      texreg2gb t3, t2
      lrp r0.rgb, c1, t1, t3
      + mov r0.a, t1.a
    };
  }
}

technique filter_nops {
  pass P0 {
    Texture[0] = <RenderTarget>;
    Texture[1] = NULL;
    Texture[2] = NULL;
    Texture[3] = NULL;
    Sampler[0] = (Sampler);
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
    TextureFactor = <Offset>;
    ColorOp[0] = AddSigned;
    ColorArg1[0] = Texture;
    ColorArg2[0] = TFactor;
    ColorOp[1] = AddSigned;
    ColorArg1[1] = Current;
    ColorArg2[1] = TFactor;
    ColorOp[2] = Disable;
    AlphaOp[0] = Disable;
    PixelShader = NULL;

    VertexShader = asm {
      vs_1_1
      dcl_position v0
      dcl_color v1
      dcl_texcoord0 v2
      dcl_texcoord1 v3
      dcl_texcoord2 v4
      dcl_texcoord3 v5
      mov oPos, v0
      mov oT0.xy, v2
      mov oT1.xy, v3
      mov oT2.xy, v4
      mov oT3.xy, v5
    };
  }
}

// Bakes the table that filter1_3 reads: at (x, y) red is L(y).r, green L(x).g, blue L(y).b,
// alpha L(x).a, with L(t) the lookup at (t + Offset.x, Offset.y).
technique gradient {
  pass P0 {
    Texture[0] = <Lookup>;
    Texture[1] = <Lookup>;
    Texture[2] = <Lookup>;
    Texture[3] = <Lookup>;
    Sampler[0] = (LookupSampler);
    Sampler[1] = (LookupSampler);
    Sampler[2] = (LookupSampler);
    Sampler[3] = (LookupSampler);
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
      mov oPos, v0
      add r0.x, v2.x, c0.x
      mov r0.y, c0.y
      add r1.x, v2.y, c0.x
      mov r1.y, c0.y
      mov oT0.xy, r0
      mov oT1.xy, r1
      mov oT2.xy, r0
      mov oT3.xy, r1
    };

    PixelShader = asm {
      ps_1_1
      def c1, 1, 0, 0, 0
      def c2, 0, 1, 0, 0
      def c3, 0, 0, 1, 0
      tex t0
      tex t1
      tex t2
      tex t3
      mul r0.rgb, t1, c1
      mad r0.rgb, t2, c2, r0
      mad r0.rgb, t3, c3, r0
      + mov r0.a, t0.a
    };
  }
}

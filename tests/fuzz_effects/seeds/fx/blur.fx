/* Two-pass blur over a render target */
texture Source;
sampler SourceSampler = sampler_state
{
    Texture = (Source);
    MinFilter = POINT; MagFilter = POINT; MipFilter = NONE;
    AddressU = CLAMP; AddressV = CLAMP;
};
float2 TexelSize : VIEWPORTPIXELSIZE = {0.0015625, 0.0020833};
float Weights[3] = { 0.4, 0.2, 0.1 };
float3x3 Kernel = float3x3(1, 2, 1, 2, 4, 2, 1, 2, 1);

Technique Blur
{
    Pass Horizontal
    {
        ZEnable = FALSE; ZWriteEnable = FALSE; AlphaBlendEnable = FALSE;
        Sampler[0] = <SourceSampler>;
        VertexShaderConstantF[4] = <TexelSize>;
        VertexShader = asm
        {
            vs_2_0
            dcl_position v0
            dcl_texcoord v1
            mov oPos, v0
            add oT0.xy, v1, c4   // one texel over
        };
        PixelShader = asm
        {
            ps_2_0
            dcl t0.xy
            dcl_2d s0
            texld r0, t0, s0
            mov oC0, r0
        };
    }
    pass Vertical { PixelShader = NULL; VertexShader = NULL; }
}

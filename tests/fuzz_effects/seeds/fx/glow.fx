half4 GlowColor : DIFFUSE <
    string UIWidget = "Color";
    bool UIVisible = true;
> = half4(1.0h, 0.8h, 0.2h, 1);
int Passes = 0x2;
uint Mask = 15u;
matrix World : WORLD;
vector Light = {0, 1, 0, 0};
textureCUBE Environment;
samplerCUBE EnvironmentSampler : register(ps, s2) = sampler_state { Texture = <Environment>; };
float4 Glow(float4 color : COLOR0) : COLOR0 { return color * GlowColor; }

technique Additive
{
    pass P0
    {
        AlphaBlendEnable = TRUE;
        SrcBlend = ONE; DestBlend = ONE;
        CullMode = CCW; AlphaRef = 128; MipMapLodBias = -1.5;
        TextureTransformFlags[0] = COUNT2 | PROJECTED;
        WorldTransform[0] = (World);
        PixelShader = compile ps_2_0 Glow();
    }
}

#include "gfxhelper/d3dx9effect.h"

#include <d3dcompiler.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gfxhelper/effect_source.h"
#include "gfxhelper/shader_asm.h"
#include "io/trace.h"
#include "platform/com_object.h"
#include "platform/com_ptr.h"

namespace {

using platform::ComPtr;

// Bounds that keep a hostile file from exhausting memory; no real effect comes near them.
constexpr size_t kMaxSourceBytes = 16u << 20;
constexpr uint32_t kMaxRegisters = 256;          // the most constant registers any version has
constexpr uint32_t kMaxParameterFloats = 4 * kMaxRegisters;  // beyond that no register could take it
constexpr int kMaxStage = 16;                    // samplers of ps_2_0; fixed-function stages are fewer

bool sameText(const std::string& a, const char* b) {
  size_t i = 0;
  for (; i < a.size() && b[i] != '\0'; ++i) {
    if (tolower(static_cast<unsigned char>(a[i])) != tolower(static_cast<unsigned char>(b[i]))) return false;
  }
  return i == a.size() && b[i] == '\0';
}

// How the value of a state is written: a number, or one of a set of names.
enum class ValueKind {
  Bool, Dword, Float, Color, Cull, Blend, Compare, BlendOp, StencilOp, Fill, Shade, FogMode, ZBuffer,
  ColorWrite, TextureOp, TextureArg, TransformFlags, TexCoordIndex, Address, Filter, None
};

struct NamedValue {
  ValueKind kind;
  const char* name;
  DWORD value;
};

// The names each kind takes. ColorWrite, TextureArg and TexCoordIndex values may be joined with '|'.
constexpr NamedValue kNamedValues[] = {
    {ValueKind::Bool, "true", 1}, {ValueKind::Bool, "false", 0},
    {ValueKind::ZBuffer, "true", D3DZB_TRUE}, {ValueKind::ZBuffer, "false", D3DZB_FALSE},
    {ValueKind::ZBuffer, "UseW", D3DZB_USEW},
    {ValueKind::Cull, "None", D3DCULL_NONE}, {ValueKind::Cull, "CW", D3DCULL_CW}, {ValueKind::Cull, "CCW", D3DCULL_CCW},
    {ValueKind::Blend, "Zero", D3DBLEND_ZERO}, {ValueKind::Blend, "One", D3DBLEND_ONE},
    {ValueKind::Blend, "SrcColor", D3DBLEND_SRCCOLOR}, {ValueKind::Blend, "InvSrcColor", D3DBLEND_INVSRCCOLOR},
    {ValueKind::Blend, "SrcAlpha", D3DBLEND_SRCALPHA}, {ValueKind::Blend, "InvSrcAlpha", D3DBLEND_INVSRCALPHA},
    {ValueKind::Blend, "DestAlpha", D3DBLEND_DESTALPHA}, {ValueKind::Blend, "InvDestAlpha", D3DBLEND_INVDESTALPHA},
    {ValueKind::Blend, "DestColor", D3DBLEND_DESTCOLOR}, {ValueKind::Blend, "InvDestColor", D3DBLEND_INVDESTCOLOR},
    {ValueKind::Blend, "SrcAlphaSat", D3DBLEND_SRCALPHASAT}, {ValueKind::Blend, "BlendFactor", D3DBLEND_BLENDFACTOR},
    {ValueKind::Blend, "InvBlendFactor", D3DBLEND_INVBLENDFACTOR},
    {ValueKind::Compare, "Never", D3DCMP_NEVER}, {ValueKind::Compare, "Less", D3DCMP_LESS},
    {ValueKind::Compare, "Equal", D3DCMP_EQUAL}, {ValueKind::Compare, "LessEqual", D3DCMP_LESSEQUAL},
    {ValueKind::Compare, "Greater", D3DCMP_GREATER}, {ValueKind::Compare, "NotEqual", D3DCMP_NOTEQUAL},
    {ValueKind::Compare, "GreaterEqual", D3DCMP_GREATEREQUAL}, {ValueKind::Compare, "Always", D3DCMP_ALWAYS},
    {ValueKind::BlendOp, "Add", D3DBLENDOP_ADD}, {ValueKind::BlendOp, "Subtract", D3DBLENDOP_SUBTRACT},
    {ValueKind::BlendOp, "RevSubtract", D3DBLENDOP_REVSUBTRACT}, {ValueKind::BlendOp, "Min", D3DBLENDOP_MIN},
    {ValueKind::BlendOp, "Max", D3DBLENDOP_MAX},
    {ValueKind::StencilOp, "Keep", D3DSTENCILOP_KEEP}, {ValueKind::StencilOp, "Zero", D3DSTENCILOP_ZERO},
    {ValueKind::StencilOp, "Replace", D3DSTENCILOP_REPLACE}, {ValueKind::StencilOp, "IncrSat", D3DSTENCILOP_INCRSAT},
    {ValueKind::StencilOp, "DecrSat", D3DSTENCILOP_DECRSAT}, {ValueKind::StencilOp, "Invert", D3DSTENCILOP_INVERT},
    {ValueKind::StencilOp, "Incr", D3DSTENCILOP_INCR}, {ValueKind::StencilOp, "Decr", D3DSTENCILOP_DECR},
    {ValueKind::Fill, "Point", D3DFILL_POINT}, {ValueKind::Fill, "Wireframe", D3DFILL_WIREFRAME},
    {ValueKind::Fill, "Solid", D3DFILL_SOLID},
    {ValueKind::Shade, "Flat", D3DSHADE_FLAT}, {ValueKind::Shade, "Gouraud", D3DSHADE_GOURAUD},
    {ValueKind::FogMode, "None", D3DFOG_NONE}, {ValueKind::FogMode, "Exp", D3DFOG_EXP},
    {ValueKind::FogMode, "Exp2", D3DFOG_EXP2}, {ValueKind::FogMode, "Linear", D3DFOG_LINEAR},
    {ValueKind::ColorWrite, "Red", D3DCOLORWRITEENABLE_RED}, {ValueKind::ColorWrite, "Green", D3DCOLORWRITEENABLE_GREEN},
    {ValueKind::ColorWrite, "Blue", D3DCOLORWRITEENABLE_BLUE}, {ValueKind::ColorWrite, "Alpha", D3DCOLORWRITEENABLE_ALPHA},
    {ValueKind::TextureOp, "Disable", D3DTOP_DISABLE}, {ValueKind::TextureOp, "SelectArg1", D3DTOP_SELECTARG1},
    {ValueKind::TextureOp, "SelectArg2", D3DTOP_SELECTARG2}, {ValueKind::TextureOp, "Modulate", D3DTOP_MODULATE},
    {ValueKind::TextureOp, "Modulate2x", D3DTOP_MODULATE2X}, {ValueKind::TextureOp, "Modulate4x", D3DTOP_MODULATE4X},
    {ValueKind::TextureOp, "Add", D3DTOP_ADD}, {ValueKind::TextureOp, "AddSigned", D3DTOP_ADDSIGNED},
    {ValueKind::TextureOp, "AddSigned2x", D3DTOP_ADDSIGNED2X}, {ValueKind::TextureOp, "Subtract", D3DTOP_SUBTRACT},
    {ValueKind::TextureOp, "AddSmooth", D3DTOP_ADDSMOOTH},
    {ValueKind::TextureOp, "BlendDiffuseAlpha", D3DTOP_BLENDDIFFUSEALPHA},
    {ValueKind::TextureOp, "BlendTextureAlpha", D3DTOP_BLENDTEXTUREALPHA},
    {ValueKind::TextureOp, "BlendFactorAlpha", D3DTOP_BLENDFACTORALPHA},
    {ValueKind::TextureOp, "BlendCurrentAlpha", D3DTOP_BLENDCURRENTALPHA},
    {ValueKind::TextureOp, "DotProduct3", D3DTOP_DOTPRODUCT3}, {ValueKind::TextureOp, "MultiplyAdd", D3DTOP_MULTIPLYADD},
    {ValueKind::TextureOp, "Lerp", D3DTOP_LERP},
    {ValueKind::TextureArg, "Diffuse", D3DTA_DIFFUSE}, {ValueKind::TextureArg, "Current", D3DTA_CURRENT},
    {ValueKind::TextureArg, "Texture", D3DTA_TEXTURE}, {ValueKind::TextureArg, "TFactor", D3DTA_TFACTOR},
    {ValueKind::TextureArg, "Specular", D3DTA_SPECULAR}, {ValueKind::TextureArg, "Temp", D3DTA_TEMP},
    {ValueKind::TextureArg, "Complement", D3DTA_COMPLEMENT}, {ValueKind::TextureArg, "AlphaReplicate", D3DTA_ALPHAREPLICATE},
    {ValueKind::TransformFlags, "Disable", D3DTTFF_DISABLE}, {ValueKind::TransformFlags, "Count1", D3DTTFF_COUNT1},
    {ValueKind::TransformFlags, "Count2", D3DTTFF_COUNT2}, {ValueKind::TransformFlags, "Count3", D3DTTFF_COUNT3},
    {ValueKind::TransformFlags, "Count4", D3DTTFF_COUNT4}, {ValueKind::TransformFlags, "Projected", D3DTTFF_PROJECTED},
    {ValueKind::TexCoordIndex, "PassThru", D3DTSS_TCI_PASSTHRU},
    {ValueKind::TexCoordIndex, "CameraSpaceNormal", D3DTSS_TCI_CAMERASPACENORMAL},
    {ValueKind::TexCoordIndex, "CameraSpacePosition", D3DTSS_TCI_CAMERASPACEPOSITION},
    {ValueKind::TexCoordIndex, "CameraSpaceReflectionVector", D3DTSS_TCI_CAMERASPACEREFLECTIONVECTOR},
    {ValueKind::Address, "Wrap", D3DTADDRESS_WRAP}, {ValueKind::Address, "Mirror", D3DTADDRESS_MIRROR},
    {ValueKind::Address, "Clamp", D3DTADDRESS_CLAMP}, {ValueKind::Address, "Border", D3DTADDRESS_BORDER},
    {ValueKind::Address, "MirrorOnce", D3DTADDRESS_MIRRORONCE},
    {ValueKind::Filter, "None", D3DTEXF_NONE}, {ValueKind::Filter, "Point", D3DTEXF_POINT},
    {ValueKind::Filter, "Linear", D3DTEXF_LINEAR}, {ValueKind::Filter, "Anisotropic", D3DTEXF_ANISOTROPIC},
};

bool isFlagKind(ValueKind kind) {
  return kind == ValueKind::ColorWrite || kind == ValueKind::TextureArg || kind == ValueKind::TexCoordIndex;
}

// Where a state assignment lands.
enum class Target { RenderState, StageState, SamplerState, Texture, Sampler, VertexShader, PixelShader,
                    VertexConstant, PixelConstant };

struct StateInfo {
  const char* name;
  Target target;
  DWORD code;
  ValueKind kind;
};

constexpr StateInfo kStates[] = {
    {"ZEnable", Target::RenderState, D3DRS_ZENABLE, ValueKind::ZBuffer},
    {"FillMode", Target::RenderState, D3DRS_FILLMODE, ValueKind::Fill},
    {"ShadeMode", Target::RenderState, D3DRS_SHADEMODE, ValueKind::Shade},
    {"ZWriteEnable", Target::RenderState, D3DRS_ZWRITEENABLE, ValueKind::Bool},
    {"AlphaTestEnable", Target::RenderState, D3DRS_ALPHATESTENABLE, ValueKind::Bool},
    {"SrcBlend", Target::RenderState, D3DRS_SRCBLEND, ValueKind::Blend},
    {"DestBlend", Target::RenderState, D3DRS_DESTBLEND, ValueKind::Blend},
    {"CullMode", Target::RenderState, D3DRS_CULLMODE, ValueKind::Cull},
    {"ZFunc", Target::RenderState, D3DRS_ZFUNC, ValueKind::Compare},
    {"AlphaRef", Target::RenderState, D3DRS_ALPHAREF, ValueKind::Dword},
    {"AlphaFunc", Target::RenderState, D3DRS_ALPHAFUNC, ValueKind::Compare},
    {"DitherEnable", Target::RenderState, D3DRS_DITHERENABLE, ValueKind::Bool},
    {"AlphaBlendEnable", Target::RenderState, D3DRS_ALPHABLENDENABLE, ValueKind::Bool},
    {"FogEnable", Target::RenderState, D3DRS_FOGENABLE, ValueKind::Bool},
    {"SpecularEnable", Target::RenderState, D3DRS_SPECULARENABLE, ValueKind::Bool},
    {"FogColor", Target::RenderState, D3DRS_FOGCOLOR, ValueKind::Color},
    {"FogTableMode", Target::RenderState, D3DRS_FOGTABLEMODE, ValueKind::FogMode},
    {"FogVertexMode", Target::RenderState, D3DRS_FOGVERTEXMODE, ValueKind::FogMode},
    {"FogStart", Target::RenderState, D3DRS_FOGSTART, ValueKind::Float},
    {"FogEnd", Target::RenderState, D3DRS_FOGEND, ValueKind::Float},
    {"FogDensity", Target::RenderState, D3DRS_FOGDENSITY, ValueKind::Float},
    {"StencilEnable", Target::RenderState, D3DRS_STENCILENABLE, ValueKind::Bool},
    {"StencilFail", Target::RenderState, D3DRS_STENCILFAIL, ValueKind::StencilOp},
    {"StencilZFail", Target::RenderState, D3DRS_STENCILZFAIL, ValueKind::StencilOp},
    {"StencilPass", Target::RenderState, D3DRS_STENCILPASS, ValueKind::StencilOp},
    {"StencilFunc", Target::RenderState, D3DRS_STENCILFUNC, ValueKind::Compare},
    {"StencilRef", Target::RenderState, D3DRS_STENCILREF, ValueKind::Dword},
    {"StencilMask", Target::RenderState, D3DRS_STENCILMASK, ValueKind::Dword},
    {"StencilWriteMask", Target::RenderState, D3DRS_STENCILWRITEMASK, ValueKind::Dword},
    {"TextureFactor", Target::RenderState, D3DRS_TEXTUREFACTOR, ValueKind::Color},
    {"Lighting", Target::RenderState, D3DRS_LIGHTING, ValueKind::Bool},
    {"Ambient", Target::RenderState, D3DRS_AMBIENT, ValueKind::Color},
    {"ColorVertex", Target::RenderState, D3DRS_COLORVERTEX, ValueKind::Bool},
    {"NormalizeNormals", Target::RenderState, D3DRS_NORMALIZENORMALS, ValueKind::Bool},
    {"ClipPlaneEnable", Target::RenderState, D3DRS_CLIPPLANEENABLE, ValueKind::Dword},
    {"ColorWriteEnable", Target::RenderState, D3DRS_COLORWRITEENABLE, ValueKind::ColorWrite},
    {"BlendOp", Target::RenderState, D3DRS_BLENDOP, ValueKind::BlendOp},
    {"DepthBias", Target::RenderState, D3DRS_DEPTHBIAS, ValueKind::Float},
    {"SlopeScaleDepthBias", Target::RenderState, D3DRS_SLOPESCALEDEPTHBIAS, ValueKind::Float},
    {"ColorOp", Target::StageState, D3DTSS_COLOROP, ValueKind::TextureOp},
    {"ColorArg0", Target::StageState, D3DTSS_COLORARG0, ValueKind::TextureArg},
    {"ColorArg1", Target::StageState, D3DTSS_COLORARG1, ValueKind::TextureArg},
    {"ColorArg2", Target::StageState, D3DTSS_COLORARG2, ValueKind::TextureArg},
    {"AlphaOp", Target::StageState, D3DTSS_ALPHAOP, ValueKind::TextureOp},
    {"AlphaArg0", Target::StageState, D3DTSS_ALPHAARG0, ValueKind::TextureArg},
    {"AlphaArg1", Target::StageState, D3DTSS_ALPHAARG1, ValueKind::TextureArg},
    {"AlphaArg2", Target::StageState, D3DTSS_ALPHAARG2, ValueKind::TextureArg},
    {"ResultArg", Target::StageState, D3DTSS_RESULTARG, ValueKind::TextureArg},
    {"TexCoordIndex", Target::StageState, D3DTSS_TEXCOORDINDEX, ValueKind::TexCoordIndex},
    {"TextureTransformFlags", Target::StageState, D3DTSS_TEXTURETRANSFORMFLAGS, ValueKind::TransformFlags},
    {"AddressU", Target::SamplerState, D3DSAMP_ADDRESSU, ValueKind::Address},
    {"AddressV", Target::SamplerState, D3DSAMP_ADDRESSV, ValueKind::Address},
    {"AddressW", Target::SamplerState, D3DSAMP_ADDRESSW, ValueKind::Address},
    {"BorderColor", Target::SamplerState, D3DSAMP_BORDERCOLOR, ValueKind::Color},
    {"MagFilter", Target::SamplerState, D3DSAMP_MAGFILTER, ValueKind::Filter},
    {"MinFilter", Target::SamplerState, D3DSAMP_MINFILTER, ValueKind::Filter},
    {"MipFilter", Target::SamplerState, D3DSAMP_MIPFILTER, ValueKind::Filter},
    {"MipMapLodBias", Target::SamplerState, D3DSAMP_MIPMAPLODBIAS, ValueKind::Float},
    {"MaxMipLevel", Target::SamplerState, D3DSAMP_MAXMIPLEVEL, ValueKind::Dword},
    {"MaxAnisotropy", Target::SamplerState, D3DSAMP_MAXANISOTROPY, ValueKind::Dword},
    {"Texture", Target::Texture, 0, ValueKind::None},
    {"Sampler", Target::Sampler, 0, ValueKind::None},
    {"VertexShader", Target::VertexShader, 0, ValueKind::None},
    {"PixelShader", Target::PixelShader, 0, ValueKind::None},
    {"VertexShaderConstant", Target::VertexConstant, 0, ValueKind::None},
    {"VertexShaderConstantF", Target::VertexConstant, 0, ValueKind::None},
    {"VertexShaderConstant1", Target::VertexConstant, 1, ValueKind::None},
    {"VertexShaderConstant2", Target::VertexConstant, 2, ValueKind::None},
    {"VertexShaderConstant3", Target::VertexConstant, 3, ValueKind::None},
    {"VertexShaderConstant4", Target::VertexConstant, 4, ValueKind::None},
    {"PixelShaderConstant", Target::PixelConstant, 0, ValueKind::None},
    {"PixelShaderConstantF", Target::PixelConstant, 0, ValueKind::None},
    {"PixelShaderConstant1", Target::PixelConstant, 1, ValueKind::None},
    {"PixelShaderConstant2", Target::PixelConstant, 2, ValueKind::None},
    {"PixelShaderConstant3", Target::PixelConstant, 3, ValueKind::None},
    {"PixelShaderConstant4", Target::PixelConstant, 4, ValueKind::None},
};

const StateInfo* findState(const std::string& name) {
  for (const StateInfo& state : kStates) {
    if (sameText(name, state.name)) return &state;
  }
  return nullptr;
}

D3DCOLOR packColor(const float* rgba) {
  auto channel = [](float value) {
    return static_cast<DWORD>(std::clamp(value, 0.0f, 1.0f) * 255.0f + 0.5f);
  };
  return (channel(rgba[3]) << 24) | (channel(rgba[0]) << 16) | (channel(rgba[1]) << 8) | channel(rgba[2]);
}

DWORD floatBits(float value) {
  DWORD bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

// A state's value as the device takes it, from numbers.
DWORD numbersToState(ValueKind kind, const float* values, size_t count) {
  if (kind == ValueKind::Float) return floatBits(values[0]);
  if (kind == ValueKind::Color && count >= 4) return packColor(values);
  return static_cast<DWORD>(static_cast<int64_t>(values[0]));
}

struct Parameter {
  fx::Parameter source;
  std::vector<float> values;
  ComPtr<IDirect3DBaseTexture9> texture;
};

// One thing a pass puts on the device: a fixed value, or the current value of a parameter.
struct Binding {
  Target target;
  DWORD code;   // the state
  DWORD index;  // stage, sampler or first register
  ValueKind kind;
  DWORD value = 0;
  int parameter = -1;
  UINT registers = 0;
  std::vector<float> constants;  // a constant assignment of numbers

  explicit Binding(Target where, DWORD state = 0, DWORD at = 0, ValueKind valueKind = ValueKind::None)
      : target(where), code(state), index(at), kind(valueKind) {}
};

struct PassSlot {
  std::string name;
  std::vector<Binding> bindings;
  ComPtr<IDirect3DVertexShader9> vertexShader;
  ComPtr<IDirect3DPixelShader9> pixelShader;
  DWORD vertexVersion = 0, pixelVersion = 0;  // major << 8 | minor; 0 without a shader
  int maxStage = -1;                          // highest fixed-function stage the pass sets
};

struct TechniqueSlot {
  std::string name;
  uint32_t annotations = 0;
  std::vector<PassSlot> passes;
  std::string failure;  // why it can't run; empty when it built
  ComPtr<IDirect3DStateBlock9> saved;
};

class ShaderCompiler {
 public:
  // d3dcompiler_47 stays loaded for the process: effects compile at any time.
  static pD3DCompile function() {
    static pD3DCompile compile = [] {
      HMODULE module = LoadLibraryA(D3DCOMPILER_DLL_A);
      return module ? reinterpret_cast<pD3DCompile>(reinterpret_cast<void*>(GetProcAddress(module, "D3DCompile")))
                    : nullptr;
    }();
    return compile;
  }
};

class TextBuffer final : public platform::ComObject<TextBuffer, ID3DXBuffer> {
 public:
  explicit TextBuffer(std::string value) : text(std::move(value)) {}
  LPVOID STDMETHODCALLTYPE GetBufferPointer() override { return text.data(); }
  DWORD STDMETHODCALLTYPE GetBufferSize() override { return static_cast<DWORD>(text.size() + 1); }

 private:
  friend class platform::ComObject<TextBuffer, ID3DXBuffer>;
  ~TextBuffer() = default;
  std::string text;
};

class Effect final : public platform::ComObject<Effect, ID3DXEffect> {
 public:
  Effect(IDirect3DDevice9* owner, std::string name) : device(owner), sourceName(std::move(name)) {
    device->AddRef();
    device->GetDeviceCaps(&caps);
  }

  // Builds every technique; false only when the text doesn't parse.
  bool build(const std::string& text, const D3DXMACRO* defines, std::string& error);

  HRESULT STDMETHODCALLTYPE GetParameterDesc(D3DXHANDLE handle, D3DXPARAMETER_DESC* desc) override;
  HRESULT STDMETHODCALLTYPE GetTechniqueDesc(D3DXHANDLE handle, D3DXTECHNIQUE_DESC* desc) override;
  D3DXHANDLE STDMETHODCALLTYPE GetParameterByName(D3DXHANDLE parent, LPCSTR name) override;
  D3DXHANDLE STDMETHODCALLTYPE GetParameterBySemantic(D3DXHANDLE parent, LPCSTR semantic) override;
  D3DXHANDLE STDMETHODCALLTYPE GetTechniqueByName(LPCSTR name) override;
  HRESULT STDMETHODCALLTYPE FindNextValidTechnique(D3DXHANDLE technique, D3DXHANDLE* next) override;
  HRESULT STDMETHODCALLTYPE ValidateTechnique(D3DXHANDLE technique) override;
  HRESULT STDMETHODCALLTYPE SetTechnique(D3DXHANDLE technique) override;
  HRESULT STDMETHODCALLTYPE SetFloat(D3DXHANDLE handle, FLOAT value) override { return setFloats(handle, &value, 1); }
  HRESULT STDMETHODCALLTYPE SetVector(D3DXHANDLE handle, const D3DXVECTOR4* value) override {
    return value ? setFloats(handle, &value->x, 4) : D3DERR_INVALIDCALL;
  }
  HRESULT STDMETHODCALLTYPE SetMatrix(D3DXHANDLE handle, const D3DXMATRIX* value) override {
    return value ? setFloats(handle, &value->_11, 16) : D3DERR_INVALIDCALL;
  }
  HRESULT STDMETHODCALLTYPE SetTexture(D3DXHANDLE handle, IDirect3DBaseTexture9* texture) override;
  HRESULT STDMETHODCALLTYPE Begin(UINT* passes, DWORD flags) override;
  HRESULT STDMETHODCALLTYPE Pass(UINT pass) override;
  HRESULT STDMETHODCALLTYPE End() override;

 private:
  friend class platform::ComObject<Effect, ID3DXEffect>;
  ~Effect() { device->Release(); }

  Parameter* parameterOf(D3DXHANDLE handle);
  TechniqueSlot* techniqueOf(D3DXHANDLE handle);
  static D3DXHANDLE handleOf(const void* slot) { return static_cast<D3DXHANDLE>(slot); }
  int parameterIndex(const std::string& name) const;
  bool isValid(const TechniqueSlot& technique) const;

  std::string buildPass(PassSlot& pass, const fx::Pass& source, const D3DXMACRO* defines);
  std::string bindState(PassSlot& pass, const StateInfo& state, int index, const fx::StateAssignment& assignment);
  std::string bindSampler(PassSlot& pass, int sampler, DWORD stage);
  std::string buildShader(PassSlot& pass, Target target, const fx::Value& value, const D3DXMACRO* defines);
  void bindRegisters(PassSlot& pass, Target target);
  void bindConstantTable(PassSlot& pass, Target target, const std::vector<fx::ShaderConstant>& table);
  void addConstantBinding(PassSlot& pass, Target target, int parameter, DWORD first, UINT registers);

  HRESULT setFloats(D3DXHANDLE handle, const float* values, size_t count);
  void refresh(int parameter);
  void apply(const PassSlot& pass, const Binding& binding);
  DWORD stateValue(const Binding& binding) const;
  void uploadConstants(const Binding& binding);
  void recordSavedStates(TechniqueSlot& technique);

  IDirect3DDevice9* device;
  D3DCAPS9 caps{};
  std::string sourceName;
  std::string hlsl;
  std::vector<Parameter> parameters;
  std::vector<TechniqueSlot> techniques;
  TechniqueSlot* current = nullptr;
  bool begun = false;
  bool saveOnEnd = false;
  const PassSlot* activePass = nullptr;
};

bool Effect::build(const std::string& text, const D3DXMACRO* defines, std::string& error) {
  fx::EffectSource source;
  if (!fx::parseEffect(text, source, error)) return false;
  hlsl = std::move(source.hlsl);
  parameters.reserve(source.parameters.size());
  for (fx::Parameter& declared : source.parameters) {
    Parameter parameter;
    size_t floats = size_t{declared.rows} * declared.columns * std::max<uint32_t>(1, declared.elements);
    if (declared.type == fx::BaseType::Float || declared.type == fx::BaseType::Int ||
        declared.type == fx::BaseType::Bool) {
      // What no register could hold is not stored: Set* writes the first elements only.
      parameter.values.assign(std::min<size_t>(floats, kMaxParameterFloats), 0.0f);
      std::copy_n(declared.defaults.begin(), std::min(declared.defaults.size(), parameter.values.size()),
                  parameter.values.begin());
    }
    parameter.source = std::move(declared);
    parameters.push_back(std::move(parameter));
  }
  techniques.resize(source.techniques.size());
  for (size_t t = 0; t < techniques.size(); ++t) {
    TechniqueSlot& technique = techniques[t];
    const fx::Technique& declared = source.techniques[t];
    technique.name = declared.name;
    technique.annotations = static_cast<uint32_t>(declared.annotations.size());
    technique.passes.resize(declared.passes.size());
    for (size_t p = 0; p < technique.passes.size() && technique.failure.empty(); ++p) {
      technique.passes[p].name = declared.passes[p].name;
      technique.failure = buildPass(technique.passes[p], declared.passes[p], defines);
    }
    if (!technique.failure.empty()) {
      traceLog("effect \"%s\": technique \"%s\" is not valid: %s", sourceName.c_str(), technique.name.c_str(),
               technique.failure.c_str());
    }
  }
  return true;
}

std::string Effect::buildPass(PassSlot& pass, const fx::Pass& source, const D3DXMACRO* defines) {
  for (const fx::StateAssignment& assignment : source.states) {
    const StateInfo* state = findState(assignment.name);
    if (state == nullptr) return "line " + std::to_string(assignment.line) + ": unknown state '" + assignment.name + "'";
    int index = std::max(assignment.index, 0);
    std::string failure;
    if (state->target == Target::VertexShader || state->target == Target::PixelShader) {
      failure = buildShader(pass, state->target, assignment.value, defines);
      if (failure.empty() && assignment.value.kind == fx::Value::Assembly) bindRegisters(pass, state->target);
    } else {
      failure = bindState(pass, *state, index, assignment);
    }
    if (!failure.empty()) return "line " + std::to_string(assignment.line) + ": " + failure;
  }
  return {};
}

std::string Effect::bindState(PassSlot& pass, const StateInfo& state, int index,
                              const fx::StateAssignment& assignment) {
  const fx::Value& value = assignment.value;
  const bool constant = state.target == Target::VertexConstant || state.target == Target::PixelConstant;
  const int limit = constant ? static_cast<int>(kMaxRegisters) : kMaxStage;
  if (index >= limit) return "index " + std::to_string(index) + " of '" + assignment.name + "' out of range";
  if (state.target == Target::StageState) pass.maxStage = std::max(pass.maxStage, index);

  int referenced = -1;
  if (value.kind == fx::Value::Reference) {
    referenced = parameterIndex(value.text);
    if (referenced < 0) return "unknown parameter '" + value.text + "'";
  }
  const fx::BaseType referencedType = referenced >= 0 ? parameters[referenced].source.type : fx::BaseType::Other;
  const bool numeric = referencedType == fx::BaseType::Float || referencedType == fx::BaseType::Int ||
                       referencedType == fx::BaseType::Bool;

  Binding binding(state.target, state.code, static_cast<DWORD>(index), state.kind);
  switch (state.target) {
    case Target::Sampler:
      if (referencedType != fx::BaseType::Sampler) return "'" + assignment.name + "' takes a sampler";
      return bindSampler(pass, referenced, static_cast<DWORD>(index));
    case Target::Texture:
      if (value.kind == fx::Value::Null) break;
      if (referencedType != fx::BaseType::Texture) return "'" + assignment.name + "' takes a texture or NULL";
      binding.parameter = referenced;
      break;
    case Target::VertexConstant:
    case Target::PixelConstant:
      if (value.kind == fx::Value::Numbers) {
        binding.constants = value.numbers;
        binding.constants.resize((value.numbers.size() + 3) / 4 * 4, 0.0f);
        binding.registers = static_cast<UINT>(binding.constants.size() / 4);
        if (index + binding.registers > kMaxRegisters) return "constants beyond the last register";
        break;
      }
      if (!numeric) return "'" + assignment.name + "' takes numbers or a numeric parameter";
      addConstantBinding(pass, state.target, referenced, static_cast<DWORD>(index), state.code);
      return {};
    default:
      if (referenced >= 0) {
        if (!numeric) return "'" + assignment.name + "' takes a numeric parameter";
        binding.parameter = referenced;
      } else if (value.kind == fx::Value::Numbers && !value.numbers.empty()) {
        binding.value = numbersToState(state.kind, value.numbers.data(), value.numbers.size());
      } else if (value.kind == fx::Value::Identifiers && !value.identifiers.empty()) {
        DWORD combined = 0;
        for (const std::string& name : value.identifiers) {
          const NamedValue* found = nullptr;
          for (const NamedValue& named : kNamedValues) {
            if (named.kind == state.kind && sameText(name, named.name)) found = &named;
          }
          if (found == nullptr) return "unknown value '" + name + "' for '" + assignment.name + "'";
          combined |= found->value;
        }
        if (value.identifiers.size() > 1 && !isFlagKind(state.kind)) {
          return "'" + assignment.name + "' takes one value";
        }
        binding.value = combined;
      } else {
        return "'" + assignment.name + "' has no value it can take";
      }
  }
  pass.bindings.push_back(std::move(binding));
  return {};
}

// A sampler's states, and its texture when it names one, on one stage.
std::string Effect::bindSampler(PassSlot& pass, int sampler, DWORD stage) {
  for (const fx::StateAssignment& assignment : parameters[sampler].source.samplerStates) {
    const StateInfo* state = findState(assignment.name);
    if (state == nullptr || (state->target != Target::SamplerState && state->target != Target::Texture)) {
      return "line " + std::to_string(assignment.line) + ": unknown sampler state '" + assignment.name + "'";
    }
    std::string failure = bindState(pass, *state, static_cast<int>(stage), assignment);
    if (!failure.empty()) return "line " + std::to_string(assignment.line) + ": " + failure;
  }
  return {};
}

std::string Effect::buildShader(PassSlot& pass, Target target, const fx::Value& value, const D3DXMACRO* defines) {
  const bool vertex = target == Target::VertexShader;
  if ((vertex && pass.vertexVersion) || (!vertex && pass.pixelVersion)) return "a second shader of one kind";
  pass.bindings.emplace_back(target);
  if (value.kind == fx::Value::Null) return {};

  std::vector<uint32_t> tokens;
  std::vector<fx::ShaderConstant> table;
  if (value.kind == fx::Value::Assembly) {
    std::string error;
    if (!fx::assembleShader(value.text, tokens, error, value.line)) return error;
  } else if (value.kind == fx::Value::Compile) {
    pD3DCompile compile = ShaderCompiler::function();
    if (compile == nullptr) return "no HLSL compiler on this system";
    ComPtr<ID3DBlob> code, messages;
    HRESULT result = compile(hlsl.data(), hlsl.size(), sourceName.c_str(),
                             reinterpret_cast<const D3D_SHADER_MACRO*>(defines), nullptr, value.text.c_str(),
                             value.profile.c_str(), 0, 0, code.out(), messages.out());
    if (FAILED(result) || !code) {
      std::string text = messages ? std::string(static_cast<const char*>(messages->GetBufferPointer()),
                                                strnlen(static_cast<const char*>(messages->GetBufferPointer()),
                                                        messages->GetBufferSize()))
                                  : std::string("refused");
      return "compiling " + value.text + " for " + value.profile + ": " + text;
    }
    tokens.resize(code->GetBufferSize() / sizeof(uint32_t));
    std::memcpy(tokens.data(), code->GetBufferPointer(), tokens.size() * sizeof(uint32_t));
    fx::readConstantTable(tokens.data(), tokens.size(), table);
  } else {
    return "a shader must be asm { }, compile or NULL";
  }

  const uint32_t kind = tokens.empty() ? 0 : tokens[0] >> 16;
  if (kind != (vertex ? 0xFFFEu : 0xFFFFu)) return vertex ? "not a vertex shader" : "not a pixel shader";
  const DWORD version = tokens[0] & 0xFFFF;
  HRESULT result = vertex ? device->CreateVertexShader(reinterpret_cast<const DWORD*>(tokens.data()),
                                                       pass.vertexShader.out())
                          : device->CreatePixelShader(reinterpret_cast<const DWORD*>(tokens.data()),
                                                      pass.pixelShader.out());
  if (FAILED(result)) return "the device refuses the shader";
  (vertex ? pass.vertexVersion : pass.pixelVersion) = version;
  if (value.kind == fx::Value::Compile) bindConstantTable(pass, target, table);
  return {};
}

// Parameters that carry register(...) feed an assembled shader of that kind.
void Effect::bindRegisters(PassSlot& pass, Target target) {
  const bool vertex = target == Target::VertexShader;
  for (size_t i = 0; i < parameters.size(); ++i) {
    const fx::Parameter& declared = parameters[i].source;
    if (declared.registerIndex < 0) continue;
    if (declared.registerShader != 0 && declared.registerShader != (vertex ? 'v' : 'p')) continue;
    if (declared.registerKind == 'c' && declared.type == fx::BaseType::Float) {
      addConstantBinding(pass, vertex ? Target::VertexConstant : Target::PixelConstant, static_cast<int>(i),
                         static_cast<DWORD>(declared.registerIndex), 0);
    } else if (declared.registerKind == 's' && declared.type == fx::BaseType::Sampler && !vertex) {
      bindSampler(pass, static_cast<int>(i), static_cast<DWORD>(declared.registerIndex));
    }
  }
}

void Effect::bindConstantTable(PassSlot& pass, Target target, const std::vector<fx::ShaderConstant>& table) {
  const bool vertex = target == Target::VertexShader;
  constexpr uint32_t kFloatSet = 2, kSamplerSet = 3;
  for (const fx::ShaderConstant& constant : table) {
    int parameter = parameterIndex(constant.name);
    if (parameter < 0) continue;
    if (constant.registerSet == kFloatSet) {
      addConstantBinding(pass, vertex ? Target::VertexConstant : Target::PixelConstant, parameter,
                         constant.registerIndex, constant.registerCount);
    } else if (constant.registerSet == kSamplerSet && parameters[parameter].source.type == fx::BaseType::Sampler) {
      bindSampler(pass, parameter, constant.registerIndex);
    }
  }
}

// A float parameter into constant registers: a vector or scalar takes one register, a matrix
// one per column; `registers` 0 means all that the parameter needs.
void Effect::addConstantBinding(PassSlot& pass, Target target, int parameter, DWORD first, UINT registers) {
  const fx::Parameter& declared = parameters[parameter].source;
  const UINT perElement = declared.rows > 1 ? declared.columns : 1;
  const UINT needed = perElement * std::max<uint32_t>(1, declared.elements);
  UINT count = registers ? std::min(registers, needed) : needed;
  count = std::min<UINT>(count, first < kMaxRegisters ? kMaxRegisters - first : 0);
  if (count == 0) return;
  Binding binding(target, 0, first);
  binding.parameter = parameter;
  binding.registers = count;
  pass.bindings.push_back(std::move(binding));
}

int Effect::parameterIndex(const std::string& name) const {
  for (size_t i = 0; i < parameters.size(); ++i) {
    if (parameters[i].source.name == name) return static_cast<int>(i);
  }
  return -1;
}

Parameter* Effect::parameterOf(D3DXHANDLE handle) {
  for (Parameter& parameter : parameters) {
    if (handleOf(&parameter) == handle) return &parameter;
  }
  return nullptr;
}

TechniqueSlot* Effect::techniqueOf(D3DXHANDLE handle) {
  for (TechniqueSlot& technique : techniques) {
    if (handleOf(&technique) == handle) return &technique;
  }
  return nullptr;
}

bool Effect::isValid(const TechniqueSlot& technique) const {
  if (!technique.failure.empty()) return false;
  const DWORD vertexCaps = caps.VertexShaderVersion & 0xFFFF, pixelCaps = caps.PixelShaderVersion & 0xFFFF;
  for (const PassSlot& pass : technique.passes) {
    if (pass.vertexVersion > vertexCaps || pass.pixelVersion > pixelCaps) return false;
    if (pass.maxStage >= static_cast<int>(caps.MaxTextureBlendStages)) return false;
  }
  return true;
}

HRESULT Effect::GetParameterDesc(D3DXHANDLE handle, D3DXPARAMETER_DESC* desc) {
  Parameter* parameter = parameterOf(handle);
  if (parameter == nullptr || desc == nullptr) return D3DERR_INVALIDCALL;
  const fx::Parameter& declared = parameter->source;
  *desc = D3DXPARAMETER_DESC{};
  desc->Name = declared.name.c_str();
  desc->Semantic = declared.semantic.empty() ? nullptr : declared.semantic.c_str();
  desc->Rows = declared.rows;
  desc->Columns = declared.columns;
  desc->Elements = declared.elements;
  desc->Annotations = static_cast<UINT>(declared.annotations.size());
  switch (declared.type) {
    case fx::BaseType::Float: desc->Type = D3DXPT_FLOAT; break;
    case fx::BaseType::Int: desc->Type = D3DXPT_INT; break;
    case fx::BaseType::Bool: desc->Type = D3DXPT_BOOL; break;
    case fx::BaseType::String: desc->Type = D3DXPT_STRING; break;
    case fx::BaseType::Texture: desc->Type = D3DXPT_TEXTURE; break;
    case fx::BaseType::Sampler: desc->Type = D3DXPT_SAMPLER; break;
    case fx::BaseType::Other: desc->Type = D3DXPT_VOID; break;
  }
  const bool object = desc->Type == D3DXPT_STRING || desc->Type == D3DXPT_TEXTURE || desc->Type == D3DXPT_SAMPLER;
  desc->Class = object ? D3DXPC_OBJECT
                       : declared.rows > 1 ? D3DXPC_MATRIX_ROWS : declared.columns > 1 ? D3DXPC_VECTOR : D3DXPC_SCALAR;
  desc->Bytes = static_cast<UINT>(parameter->values.size() * sizeof(float));
  return D3D_OK;
}

HRESULT Effect::GetTechniqueDesc(D3DXHANDLE handle, D3DXTECHNIQUE_DESC* desc) {
  TechniqueSlot* technique = techniqueOf(handle);
  if (technique == nullptr || desc == nullptr) return D3DERR_INVALIDCALL;
  desc->Name = technique->name.c_str();
  desc->Passes = static_cast<UINT>(technique->passes.size());
  desc->Annotations = technique->annotations;
  return D3D_OK;
}

D3DXHANDLE Effect::GetParameterByName(D3DXHANDLE parent, LPCSTR name) {
  if (parent != nullptr || name == nullptr) return nullptr;
  int index = parameterIndex(name);
  return index < 0 ? nullptr : handleOf(&parameters[index]);
}

D3DXHANDLE Effect::GetParameterBySemantic(D3DXHANDLE parent, LPCSTR semantic) {
  if (parent != nullptr || semantic == nullptr) return nullptr;
  for (Parameter& parameter : parameters) {
    if (!parameter.source.semantic.empty() && sameText(parameter.source.semantic, semantic)) {
      return handleOf(&parameter);
    }
  }
  return nullptr;
}

D3DXHANDLE Effect::GetTechniqueByName(LPCSTR name) {
  if (name == nullptr) return nullptr;
  for (TechniqueSlot& technique : techniques) {
    if (technique.name == name) return handleOf(&technique);
  }
  return nullptr;
}

HRESULT Effect::FindNextValidTechnique(D3DXHANDLE after, D3DXHANDLE* next) {
  if (next == nullptr) return D3DERR_INVALIDCALL;
  *next = nullptr;
  size_t start = 0;
  if (after != nullptr) {
    TechniqueSlot* technique = techniqueOf(after);
    if (technique == nullptr) return D3DERR_INVALIDCALL;
    start = static_cast<size_t>(technique - techniques.data()) + 1;
  }
  for (size_t i = start; i < techniques.size(); ++i) {
    if (isValid(techniques[i])) {
      *next = handleOf(&techniques[i]);
      return D3D_OK;
    }
  }
  return S_FALSE;
}

HRESULT Effect::ValidateTechnique(D3DXHANDLE handle) {
  TechniqueSlot* technique = techniqueOf(handle);
  return technique != nullptr && isValid(*technique) ? D3D_OK : D3DERR_INVALIDCALL;
}

HRESULT Effect::SetTechnique(D3DXHANDLE handle) {
  TechniqueSlot* technique = techniqueOf(handle);
  if (technique == nullptr || begun) return D3DERR_INVALIDCALL;
  current = technique;
  return D3D_OK;
}

HRESULT Effect::setFloats(D3DXHANDLE handle, const float* values, size_t count) {
  Parameter* parameter = parameterOf(handle);
  if (parameter == nullptr || parameter->values.empty()) return D3DERR_INVALIDCALL;
  std::copy_n(values, std::min(count, parameter->values.size()), parameter->values.begin());
  refresh(static_cast<int>(parameter - parameters.data()));
  return D3D_OK;
}

HRESULT Effect::SetTexture(D3DXHANDLE handle, IDirect3DBaseTexture9* texture) {
  Parameter* parameter = parameterOf(handle);
  if (parameter == nullptr || parameter->source.type != fx::BaseType::Texture) return D3DERR_INVALIDCALL;
  if (texture) texture->AddRef();
  parameter->texture.reset(texture);
  refresh(static_cast<int>(parameter - parameters.data()));
  return D3D_OK;
}

// Inside a pass a new value goes to the device at once.
void Effect::refresh(int parameter) {
  if (activePass == nullptr) return;
  for (const Binding& binding : activePass->bindings) {
    if (binding.parameter == parameter) apply(*activePass, binding);
  }
}

HRESULT Effect::Begin(UINT* passes, DWORD flags) {
  if (current == nullptr || begun || !isValid(*current)) return D3DERR_INVALIDCALL;
  if (!(flags & D3DXFX_DONOTSAVESTATE)) {
    if (!current->saved) recordSavedStates(*current);
    if (current->saved) current->saved->Capture();
  }
  saveOnEnd = !(flags & D3DXFX_DONOTSAVESTATE);
  begun = true;
  if (passes) *passes = static_cast<UINT>(current->passes.size());
  return D3D_OK;
}

HRESULT Effect::Pass(UINT pass) {
  if (!begun || pass >= current->passes.size()) return D3DERR_INVALIDCALL;
  activePass = &current->passes[pass];
  for (const Binding& binding : activePass->bindings) apply(*activePass, binding);
  return D3D_OK;
}

HRESULT Effect::End() {
  if (!begun) return D3DERR_INVALIDCALL;
  if (saveOnEnd && current->saved) current->saved->Apply();
  begun = false;
  activePass = nullptr;
  return D3D_OK;
}

// A state block of exactly the states the technique's passes set: Begin captures it, End
// applies it. The values recorded here don't matter, capture replaces them.
void Effect::recordSavedStates(TechniqueSlot& technique) {
  if (FAILED(device->BeginStateBlock())) return;
  for (const PassSlot& pass : technique.passes) {
    for (const Binding& binding : pass.bindings) {
      switch (binding.target) {
        case Target::RenderState:
          device->SetRenderState(static_cast<D3DRENDERSTATETYPE>(binding.code), 0);
          break;
        case Target::StageState:
          device->SetTextureStageState(binding.index, static_cast<D3DTEXTURESTAGESTATETYPE>(binding.code), 0);
          break;
        case Target::SamplerState:
          device->SetSamplerState(binding.index, static_cast<D3DSAMPLERSTATETYPE>(binding.code), 0);
          break;
        case Target::Texture: device->SetTexture(binding.index, nullptr); break;
        case Target::VertexShader: device->SetVertexShader(nullptr); break;
        case Target::PixelShader: device->SetPixelShader(nullptr); break;
        default: break;
      }
    }
  }
  device->EndStateBlock(technique.saved.out());
}

DWORD Effect::stateValue(const Binding& binding) const {
  if (binding.parameter < 0) return binding.value;
  const std::vector<float>& values = parameters[binding.parameter].values;
  return numbersToState(binding.kind, values.data(), values.size());
}

void Effect::apply(const PassSlot& pass, const Binding& binding) {
  switch (binding.target) {
    case Target::RenderState:
      device->SetRenderState(static_cast<D3DRENDERSTATETYPE>(binding.code), stateValue(binding));
      break;
    case Target::StageState:
      device->SetTextureStageState(binding.index, static_cast<D3DTEXTURESTAGESTATETYPE>(binding.code),
                                   stateValue(binding));
      break;
    case Target::SamplerState:
      device->SetSamplerState(binding.index, static_cast<D3DSAMPLERSTATETYPE>(binding.code), stateValue(binding));
      break;
    case Target::Texture:
      device->SetTexture(binding.index, binding.parameter >= 0 ? parameters[binding.parameter].texture.get() : nullptr);
      break;
    case Target::VertexShader: device->SetVertexShader(pass.vertexShader.get()); break;
    case Target::PixelShader: device->SetPixelShader(pass.pixelShader.get()); break;
    case Target::VertexConstant:
    case Target::PixelConstant: uploadConstants(binding); break;
    case Target::Sampler: break;  // expanded into sampler states when the pass was built
  }
}

// Registers of four floats: vectors as they stand, matrices column by column.
void Effect::uploadConstants(const Binding& binding) {
  float registers[kMaxRegisters * 4] = {};
  if (!binding.constants.empty()) {
    std::copy(binding.constants.begin(), binding.constants.end(), registers);
  } else {
    const Parameter& parameter = parameters[binding.parameter];
    const uint32_t rows = parameter.source.rows, columns = parameter.source.columns;
    const size_t elementSize = size_t{rows} * columns;
    const UINT perElement = rows > 1 ? columns : 1;
    for (UINT r = 0; r < binding.registers; ++r) {
      const size_t element = r / perElement, column = r % perElement;
      for (uint32_t component = 0; component < 4; ++component) {
        const size_t at = rows > 1 ? element * elementSize + component * columns + column
                                   : element * elementSize + component;
        const bool inside = rows > 1 ? component < rows : component < columns;
        if (inside && at < parameter.values.size()) registers[r * 4 + component] = parameter.values[at];
      }
    }
  }
  if (binding.target == Target::VertexConstant) {
    device->SetVertexShaderConstantF(binding.index, registers, binding.registers);
  } else {
    device->SetPixelShaderConstantF(binding.index, registers, binding.registers);
  }
}

HRESULT createEffect(IDirect3DDevice9* device, const std::string& text, const std::string& name,
                     const D3DXMACRO* defines, void* include, DWORD flags, void* pool, ID3DXEffect** effect,
                     ID3DXBuffer** errors) {
  if (errors) *errors = nullptr;
  if (device == nullptr || effect == nullptr || include != nullptr || flags != 0 || pool != nullptr) {
    return D3DERR_INVALIDCALL;
  }
  *effect = nullptr;
  Effect* made = new Effect(device, name);
  std::string error;
  if (!made->build(text, defines, error)) {
    made->Release();
    traceLog("effect \"%s\": %s", name.c_str(), error.c_str());
    if (errors) *errors = new TextBuffer(name + ": " + error);
    return E_FAIL;
  }
  *effect = made;
  return D3D_OK;
}

HRESULT failWith(const std::string& message, ID3DXBuffer** errors) {
  traceLog("%s", message.c_str());
  if (errors) *errors = new TextBuffer(message);
  return E_FAIL;
}

}  // namespace

HRESULT WINAPI D3DXCreateEffectFromFileA(IDirect3DDevice9* device, LPCSTR file, const D3DXMACRO* defines,
                                         void* include, DWORD flags, void* pool, ID3DXEffect** effect,
                                         ID3DXBuffer** errors) {
  if (errors) *errors = nullptr;
  if (file == nullptr) return D3DERR_INVALIDCALL;
  std::ifstream in(file, std::ios::binary);
  if (!in) return failWith(std::string("effect \"") + file + "\": cannot be opened", errors);
  std::string text;
  char chunk[4096];
  while (in.read(chunk, sizeof chunk) || in.gcount() > 0) {
    text.append(chunk, static_cast<size_t>(in.gcount()));
    if (text.size() > kMaxSourceBytes) return failWith(std::string("effect \"") + file + "\": file too large", errors);
  }
  return createEffect(device, text, file, defines, include, flags, pool, effect, errors);
}

HRESULT WINAPI D3DXCreateEffectFromResourceA(IDirect3DDevice9* device, HMODULE module, LPCSTR resource,
                                             const D3DXMACRO* defines, void* include, DWORD flags, void* pool,
                                             ID3DXEffect** effect, ID3DXBuffer** errors) {
  if (errors) *errors = nullptr;
  const std::string name = IS_INTRESOURCE(resource)
                               ? "resource " + std::to_string(reinterpret_cast<ULONG_PTR>(resource))
                               : std::string("resource ") + (resource ? resource : "(null)");
  HRSRC found = FindResourceA(module, resource, MAKEINTRESOURCEA(10));  // RT_RCDATA
  HGLOBAL loaded = found ? LoadResource(module, found) : nullptr;
  const void* data = loaded ? LockResource(loaded) : nullptr;
  if (data == nullptr) return failWith("effect " + name + ": not in the module", errors);
  return createEffect(device, std::string(static_cast<const char*>(data), SizeofResource(module, found)), name,
                      defines, include, flags, pool, effect, errors);
}

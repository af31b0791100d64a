#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <optional>

// The engine's own small enumerations. Files store them as bytes and blocks keep them as
// int32; each is turned into its Direct3D constant only when it is sent.
//
// The values come from files, and files may be hostile or damaged, so every mapping below
// is total: a value that no table row has (negative, or past the last row) maps to nothing,
// and the caller then sends nothing for that field: the device keeps what it held, as it
// does for a depth mode that no row names.
namespace ts3d {

enum BlendFactor : int32_t {
  BlendZero,
  BlendOne,
  BlendSrcColor,
  BlendInvSrcColor,
  BlendSrcAlpha,
  BlendInvSrcAlpha,
  BlendDestAlpha,
  BlendInvDestAlpha,
  BlendDestColor,
  BlendInvDestColor,
  BlendSrcAlphaSat,
  BlendBothSrcAlpha,
  BlendBothInvSrcAlpha,
};

enum CompareFunction : int32_t {
  CompareNever,
  CompareLess,
  CompareEqual,
  CompareLessEqual,
  CompareGreater,
  CompareNotEqual,
  CompareGreaterEqual,
  CompareAlways,
};

enum StencilOperation : int32_t {
  StencilKeep,
  StencilZero,
  StencilReplace,
  StencilIncrSat,
  StencilDecrSat,
  StencilInvert,
  StencilIncr,
  StencilDecr,
};

// How depth is written and tested; one value sets two device states.
enum DepthMode : int32_t {
  DepthTestWrite,    // z written, less-or-equal test
  DepthTestNoWrite,  // z kept, less-or-equal test
  DepthAlwaysWrite,  // z written, every fragment passes
};

enum CullMode : int32_t { CullClockwise, CullCounterClockwise, CullNone };

enum FillMode : int32_t { FillPoint, FillWireframe, FillSolid };

enum VertexBlendMode : int32_t {
  VertexBlendDisable,
  VertexBlend0Weights,
  VertexBlend1Weight,
  VertexBlend2Weights,
  VertexBlend3Weights,
  VertexBlendTweening,
};

enum TextureOperation : int32_t {
  TextureDisable,
  TextureSelectArg1,
  TextureSelectArg2,
  TextureModulate,
  TextureModulate2x,
  TextureModulate4x,
  TextureAdd,
  TextureAddSigned,
  TextureAddSigned2x,
  TextureSubtract,
  TextureDotProduct3,
  TextureMultiplyAdd,
};

enum TextureArgument : int32_t {
  ArgDiffuse,
  ArgCurrent,
  ArgTexture,
  ArgTFactor,
  ArgSpecular,
  ArgTemp,
  ArgComplement,
  ArgAlphaReplicate,
};

enum AddressMode : int32_t { AddressWrap, AddressMirror, AddressClamp, AddressBorder, AddressMirrorOnce };

enum TextureFilter : int32_t {
  FilterNone,
  FilterPoint,
  FilterLinear,
  FilterAnisotropic,
  FilterPyramidalQuad,
  FilterGaussianQuad,
};

// Texture coordinate indices up to this one go to the device unchanged; the three after it
// ask the device to generate coordinates.
constexpr int32_t TexCoordLastIndex = 16;
constexpr int32_t TexCoordCameraSpaceNormal = 17;
constexpr int32_t TexCoordCameraSpacePosition = 18;
constexpr int32_t TexCoordCameraSpaceReflection = 19;

// The two device states behind one depth mode.
struct DepthStates {
  DWORD zWriteEnable;
  DWORD zFunc;
};

std::optional<DWORD> deviceBlendFactor(int32_t value);
std::optional<DWORD> deviceCompareFunction(int32_t value);
std::optional<DWORD> deviceStencilOperation(int32_t value);
std::optional<DepthStates> deviceDepthMode(int32_t value);
std::optional<DWORD> deviceCullMode(int32_t value);
std::optional<DWORD> deviceFillMode(int32_t value);
std::optional<DWORD> deviceVertexBlend(int32_t value);
std::optional<DWORD> deviceTextureOperation(int32_t value);
std::optional<DWORD> deviceTextureArgument(int32_t value);
std::optional<DWORD> deviceAddressMode(int32_t value);
std::optional<DWORD> deviceFilter(int32_t value);
std::optional<DWORD> deviceTexCoordIndex(int32_t value);
// D3DTSS_TEXTURETRANSFORMFLAGS from a coordinate count of 0 to 4 and the projection flag.
std::optional<DWORD> deviceTransformFlags(int32_t count, bool projected);

}  // namespace ts3d

#include "materials/render_enums.h"

#include <iterator>

namespace ts3d {

namespace {

// The row of a table for an engine value, or nothing when the table has no such row.
template <class T, size_t N>
std::optional<DWORD> lookUp(const T (&table)[N], int32_t value) {
  if (value < 0 || static_cast<size_t>(value) >= N) return std::nullopt;
  return static_cast<DWORD>(table[value]);
}

const D3DBLEND blendFactors[] = {
    D3DBLEND_ZERO,        D3DBLEND_ONE,          D3DBLEND_SRCCOLOR,        D3DBLEND_INVSRCCOLOR, D3DBLEND_SRCALPHA,
    D3DBLEND_INVSRCALPHA, D3DBLEND_DESTALPHA,    D3DBLEND_INVDESTALPHA,    D3DBLEND_DESTCOLOR,   D3DBLEND_INVDESTCOLOR,
    D3DBLEND_SRCALPHASAT, D3DBLEND_BOTHSRCALPHA, D3DBLEND_BOTHINVSRCALPHA,
};

const D3DCMPFUNC compareFunctions[] = {
    D3DCMP_NEVER,   D3DCMP_LESS,     D3DCMP_EQUAL,        D3DCMP_LESSEQUAL,
    D3DCMP_GREATER, D3DCMP_NOTEQUAL, D3DCMP_GREATEREQUAL, D3DCMP_ALWAYS,
};

const D3DSTENCILOP stencilOperations[] = {
    D3DSTENCILOP_KEEP,    D3DSTENCILOP_ZERO,   D3DSTENCILOP_REPLACE, D3DSTENCILOP_INCRSAT,
    D3DSTENCILOP_DECRSAT, D3DSTENCILOP_INVERT, D3DSTENCILOP_INCR,    D3DSTENCILOP_DECR,
};

const DepthStates depthModes[] = {
    {TRUE, D3DCMP_LESSEQUAL},
    {FALSE, D3DCMP_LESSEQUAL},
    {TRUE, D3DCMP_ALWAYS},
};

const D3DCULL cullModes[] = {D3DCULL_CW, D3DCULL_CCW, D3DCULL_NONE};

const D3DFILLMODE fillModes[] = {D3DFILL_POINT, D3DFILL_WIREFRAME, D3DFILL_SOLID};

const D3DVERTEXBLENDFLAGS vertexBlends[] = {
    D3DVBF_DISABLE, D3DVBF_0WEIGHTS, D3DVBF_1WEIGHTS, D3DVBF_2WEIGHTS, D3DVBF_3WEIGHTS, D3DVBF_TWEENING,
};

const D3DTEXTUREOP textureOperations[] = {
    D3DTOP_DISABLE, D3DTOP_SELECTARG1, D3DTOP_SELECTARG2,  D3DTOP_MODULATE, D3DTOP_MODULATE2X,  D3DTOP_MODULATE4X,
    D3DTOP_ADD,     D3DTOP_ADDSIGNED,  D3DTOP_ADDSIGNED2X, D3DTOP_SUBTRACT, D3DTOP_DOTPRODUCT3, D3DTOP_MULTIPLYADD,
};

const DWORD textureArguments[] = {
    D3DTA_DIFFUSE,  D3DTA_CURRENT, D3DTA_TEXTURE,    D3DTA_TFACTOR,
    D3DTA_SPECULAR, D3DTA_TEMP,    D3DTA_COMPLEMENT, D3DTA_ALPHAREPLICATE,
};

const D3DTEXTUREADDRESS addressModes[] = {
    D3DTADDRESS_WRAP, D3DTADDRESS_MIRROR, D3DTADDRESS_CLAMP, D3DTADDRESS_BORDER, D3DTADDRESS_MIRRORONCE,
};

const D3DTEXTUREFILTERTYPE filters[] = {
    D3DTEXF_NONE, D3DTEXF_POINT, D3DTEXF_LINEAR, D3DTEXF_ANISOTROPIC, D3DTEXF_PYRAMIDALQUAD, D3DTEXF_GAUSSIANQUAD,
};

const DWORD generatedTexCoords[] = {
    D3DTSS_TCI_CAMERASPACENORMAL,
    D3DTSS_TCI_CAMERASPACEPOSITION,
    D3DTSS_TCI_CAMERASPACEREFLECTIONVECTOR,
};

}  // namespace

std::optional<DWORD> deviceBlendFactor(int32_t value) { return lookUp(blendFactors, value); }
std::optional<DWORD> deviceCompareFunction(int32_t value) { return lookUp(compareFunctions, value); }
std::optional<DWORD> deviceStencilOperation(int32_t value) { return lookUp(stencilOperations, value); }
std::optional<DWORD> deviceCullMode(int32_t value) { return lookUp(cullModes, value); }
std::optional<DWORD> deviceFillMode(int32_t value) { return lookUp(fillModes, value); }
std::optional<DWORD> deviceVertexBlend(int32_t value) { return lookUp(vertexBlends, value); }
std::optional<DWORD> deviceTextureOperation(int32_t value) { return lookUp(textureOperations, value); }
std::optional<DWORD> deviceTextureArgument(int32_t value) { return lookUp(textureArguments, value); }
std::optional<DWORD> deviceAddressMode(int32_t value) { return lookUp(addressModes, value); }
std::optional<DWORD> deviceFilter(int32_t value) { return lookUp(filters, value); }

std::optional<DepthStates> deviceDepthMode(int32_t value) {
  if (value < 0 || static_cast<size_t>(value) >= std::size(depthModes)) return std::nullopt;
  return depthModes[value];
}

std::optional<DWORD> deviceTexCoordIndex(int32_t value) {
  if (value < 0) return std::nullopt;
  if (value <= TexCoordLastIndex) return static_cast<DWORD>(value);
  return lookUp(generatedTexCoords, value - TexCoordCameraSpaceNormal);
}

std::optional<DWORD> deviceTransformFlags(int32_t count, bool projected) {
  // D3DTTFF_DISABLE is 0 and D3DTTFF_COUNT1 to D3DTTFF_COUNT4 are 1 to 4: the count itself.
  if (count < 0 || count > 4) return std::nullopt;
  return static_cast<DWORD>(count) | (projected ? static_cast<DWORD>(D3DTTFF_PROJECTED) : 0u);
}

}  // namespace ts3d

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/materials/shadowed_device.h"

// Each engine value of each enumeration, sent to a device through a block, against the
// Direct3D constant it stands for.
namespace {

using namespace ts3d;
using tstest::Calls;
using tstest::renderStateCall;
using tstest::samplerStateCall;
using tstest::stageStateCall;
using Mapping = std::vector<std::pair<int32_t, DWORD>>;

// Values no table has: negative, one past the last row, the largest byte.
const int32_t notInAnyTable[] = {-5, 255};

class EnumMapping : public tstest::ShadowedDevice {
 protected:
  // What one render state field sends when it differs from the shadow.
  Calls sendRenderField(int32_t RenderStateBlock::*field, int32_t value) {
    RenderStateBlock old(RenderStateBlock::AllGroups);
    old.*field = -1;  // unknown to every table, so the field differs
    RenderStateBlock next(RenderStateBlock::AllGroups);
    next.*field = value;
    proxy->clearLog();
    sendDifference(proxy, next, old);
    return proxy->calls();
  }

  // The same for a field of a stage block, on stage 2.
  Calls sendStageField(int32_t TextureStageStateBlock::*field, int32_t value) {
    TextureStageStateBlock old;
    old.*field = -1;
    TextureStageStateBlock next;
    next.*field = value;
    proxy->clearLog();
    sendDifference(proxy, 2, next, old);
    return proxy->calls();
  }

  void expectRenderMapping(int32_t RenderStateBlock::*field, D3DRENDERSTATETYPE state, const Mapping& mapping) {
    for (const auto& [value, constant] : mapping)
      EXPECT_EQ(sendRenderField(field, value), Calls{renderStateCall(state, constant)}) << "engine value " << value;
    for (int32_t value : {static_cast<int32_t>(mapping.size()), notInAnyTable[0], notInAnyTable[1]})
      EXPECT_EQ(sendRenderField(field, value), Calls{}) << "engine value " << value;
  }

  void expectStageMapping(int32_t TextureStageStateBlock::*field, D3DTEXTURESTAGESTATETYPE state,
                          const Mapping& mapping) {
    for (const auto& [value, constant] : mapping)
      EXPECT_EQ(sendStageField(field, value), Calls{stageStateCall(2, state, constant)}) << "engine value " << value;
    for (int32_t value : {static_cast<int32_t>(mapping.size()), notInAnyTable[0], notInAnyTable[1]})
      EXPECT_EQ(sendStageField(field, value), Calls{}) << "engine value " << value;
  }

  void expectSamplerMapping(int32_t TextureStageStateBlock::*field, D3DSAMPLERSTATETYPE state, const Mapping& mapping) {
    for (const auto& [value, constant] : mapping)
      EXPECT_EQ(sendStageField(field, value), Calls{samplerStateCall(2, state, constant)}) << "engine value " << value;
    for (int32_t value : {static_cast<int32_t>(mapping.size()), notInAnyTable[0], notInAnyTable[1]})
      EXPECT_EQ(sendStageField(field, value), Calls{}) << "engine value " << value;
  }
};

const Mapping blendFactors = {
    {0, D3DBLEND_ZERO},
    {1, D3DBLEND_ONE},
    {2, D3DBLEND_SRCCOLOR},
    {3, D3DBLEND_INVSRCCOLOR},
    {4, D3DBLEND_SRCALPHA},
    {5, D3DBLEND_INVSRCALPHA},
    {6, D3DBLEND_DESTALPHA},
    {7, D3DBLEND_INVDESTALPHA},
    {8, D3DBLEND_DESTCOLOR},
    {9, D3DBLEND_INVDESTCOLOR},
    {10, D3DBLEND_SRCALPHASAT},
    {11, D3DBLEND_BOTHSRCALPHA},
    {12, D3DBLEND_BOTHINVSRCALPHA},
};

const Mapping compareFunctions = {
    {0, D3DCMP_NEVER},   {1, D3DCMP_LESS},     {2, D3DCMP_EQUAL},        {3, D3DCMP_LESSEQUAL},
    {4, D3DCMP_GREATER}, {5, D3DCMP_NOTEQUAL}, {6, D3DCMP_GREATEREQUAL}, {7, D3DCMP_ALWAYS},
};

const Mapping stencilOperations = {
    {0, D3DSTENCILOP_KEEP},    {1, D3DSTENCILOP_ZERO},   {2, D3DSTENCILOP_REPLACE}, {3, D3DSTENCILOP_INCRSAT},
    {4, D3DSTENCILOP_DECRSAT}, {5, D3DSTENCILOP_INVERT}, {6, D3DSTENCILOP_INCR},    {7, D3DSTENCILOP_DECR},
};

TEST_F(EnumMapping, BlendFactors) {
  expectRenderMapping(&RenderStateBlock::srcBlend, D3DRS_SRCBLEND, blendFactors);
  expectRenderMapping(&RenderStateBlock::destBlend, D3DRS_DESTBLEND, blendFactors);
}

TEST_F(EnumMapping, CompareFunctions) {
  expectRenderMapping(&RenderStateBlock::alphaFunc, D3DRS_ALPHAFUNC, compareFunctions);
  expectRenderMapping(&RenderStateBlock::stencilFunc, D3DRS_STENCILFUNC, compareFunctions);
  expectRenderMapping(&RenderStateBlock::ccwStencilFunc, D3DRS_CCW_STENCILFUNC, compareFunctions);
}

TEST_F(EnumMapping, StencilOperations) {
  expectRenderMapping(&RenderStateBlock::stencilFail, D3DRS_STENCILFAIL, stencilOperations);
  expectRenderMapping(&RenderStateBlock::stencilZFail, D3DRS_STENCILZFAIL, stencilOperations);
  expectRenderMapping(&RenderStateBlock::stencilPass, D3DRS_STENCILPASS, stencilOperations);
  expectRenderMapping(&RenderStateBlock::ccwStencilFail, D3DRS_CCW_STENCILFAIL, stencilOperations);
  expectRenderMapping(&RenderStateBlock::ccwStencilZFail, D3DRS_CCW_STENCILZFAIL, stencilOperations);
  expectRenderMapping(&RenderStateBlock::ccwStencilPass, D3DRS_CCW_STENCILPASS, stencilOperations);
}

TEST_F(EnumMapping, CullFillAndVertexBlendModes) {
  expectRenderMapping(&RenderStateBlock::cullMode, D3DRS_CULLMODE,
                      {{0, D3DCULL_CW}, {1, D3DCULL_CCW}, {2, D3DCULL_NONE}});
  expectRenderMapping(&RenderStateBlock::fillMode, D3DRS_FILLMODE,
                      {{0, D3DFILL_POINT}, {1, D3DFILL_WIREFRAME}, {2, D3DFILL_SOLID}});
  expectRenderMapping(&RenderStateBlock::vertexBlend, D3DRS_VERTEXBLEND,
                      {{0, D3DVBF_DISABLE},
                       {1, D3DVBF_0WEIGHTS},
                       {2, D3DVBF_1WEIGHTS},
                       {3, D3DVBF_2WEIGHTS},
                       {4, D3DVBF_3WEIGHTS},
                       {5, D3DVBF_TWEENING}});
}

TEST_F(EnumMapping, DepthModesSetWritingAndTheTestTogether) {
  const Calls expected[3] = {
      {renderStateCall(D3DRS_ZWRITEENABLE, TRUE), renderStateCall(D3DRS_ZFUNC, D3DCMP_LESSEQUAL)},
      {renderStateCall(D3DRS_ZWRITEENABLE, FALSE), renderStateCall(D3DRS_ZFUNC, D3DCMP_LESSEQUAL)},
      {renderStateCall(D3DRS_ZWRITEENABLE, TRUE), renderStateCall(D3DRS_ZFUNC, D3DCMP_ALWAYS)},
  };
  for (int32_t mode = 0; mode < 3; ++mode)
    EXPECT_EQ(sendRenderField(&RenderStateBlock::depthMode, mode), expected[mode]) << "depth mode " << mode;
  for (int32_t mode : {3, notInAnyTable[0], notInAnyTable[1]})
    EXPECT_EQ(sendRenderField(&RenderStateBlock::depthMode, mode), Calls{}) << "depth mode " << mode;
}

TEST_F(EnumMapping, TextureOperations) {
  const Mapping operations = {
      {0, D3DTOP_DISABLE},     {1, D3DTOP_SELECTARG1}, {2, D3DTOP_SELECTARG2},   {3, D3DTOP_MODULATE},
      {4, D3DTOP_MODULATE2X},  {5, D3DTOP_MODULATE4X}, {6, D3DTOP_ADD},          {7, D3DTOP_ADDSIGNED},
      {8, D3DTOP_ADDSIGNED2X}, {9, D3DTOP_SUBTRACT},   {10, D3DTOP_DOTPRODUCT3}, {11, D3DTOP_MULTIPLYADD},
  };
  expectStageMapping(&TextureStageStateBlock::colorOp, D3DTSS_COLOROP, operations);
  expectStageMapping(&TextureStageStateBlock::alphaOp, D3DTSS_ALPHAOP, operations);
}

TEST_F(EnumMapping, TextureArguments) {
  const Mapping arguments = {
      {0, D3DTA_DIFFUSE},  {1, D3DTA_CURRENT}, {2, D3DTA_TEXTURE},    {3, D3DTA_TFACTOR},
      {4, D3DTA_SPECULAR}, {5, D3DTA_TEMP},    {6, D3DTA_COMPLEMENT}, {7, D3DTA_ALPHAREPLICATE},
  };
  expectStageMapping(&TextureStageStateBlock::colorArg1, D3DTSS_COLORARG1, arguments);
  expectStageMapping(&TextureStageStateBlock::colorArg2, D3DTSS_COLORARG2, arguments);
  expectStageMapping(&TextureStageStateBlock::alphaArg1, D3DTSS_ALPHAARG1, arguments);
  expectStageMapping(&TextureStageStateBlock::alphaArg2, D3DTSS_ALPHAARG2, arguments);
}

TEST_F(EnumMapping, AddressModesAndFilters) {
  const Mapping addressModes = {
      {0, D3DTADDRESS_WRAP},   {1, D3DTADDRESS_MIRROR},     {2, D3DTADDRESS_CLAMP},
      {3, D3DTADDRESS_BORDER}, {4, D3DTADDRESS_MIRRORONCE},
  };
  expectSamplerMapping(&TextureStageStateBlock::addressU, D3DSAMP_ADDRESSU, addressModes);
  expectSamplerMapping(&TextureStageStateBlock::addressV, D3DSAMP_ADDRESSV, addressModes);
  expectSamplerMapping(&TextureStageStateBlock::addressW, D3DSAMP_ADDRESSW, addressModes);
  const Mapping filters = {
      {0, D3DTEXF_NONE},        {1, D3DTEXF_POINT},         {2, D3DTEXF_LINEAR},
      {3, D3DTEXF_ANISOTROPIC}, {4, D3DTEXF_PYRAMIDALQUAD}, {5, D3DTEXF_GAUSSIANQUAD},
  };
  expectSamplerMapping(&TextureStageStateBlock::magFilter, D3DSAMP_MAGFILTER, filters);
  expectSamplerMapping(&TextureStageStateBlock::minFilter, D3DSAMP_MINFILTER, filters);
  expectSamplerMapping(&TextureStageStateBlock::mipFilter, D3DSAMP_MIPFILTER, filters);
}

TEST_F(EnumMapping, TexCoordIndicesPassUpTo16ThenGenerate) {
  for (int32_t index = 0; index <= 16; ++index)
    EXPECT_EQ(sendStageField(&TextureStageStateBlock::texCoordIndex, index),
              Calls{stageStateCall(2, D3DTSS_TEXCOORDINDEX, static_cast<DWORD>(index))})
        << "index " << index;
  const Mapping generated = {
      {17, D3DTSS_TCI_CAMERASPACENORMAL},
      {18, D3DTSS_TCI_CAMERASPACEPOSITION},
      {19, D3DTSS_TCI_CAMERASPACEREFLECTIONVECTOR},
  };
  for (const auto& [value, constant] : generated)
    EXPECT_EQ(sendStageField(&TextureStageStateBlock::texCoordIndex, value),
              Calls{stageStateCall(2, D3DTSS_TEXCOORDINDEX, constant)})
        << "index " << value;
  for (int32_t index : {20, notInAnyTable[0], notInAnyTable[1]})
    EXPECT_EQ(sendStageField(&TextureStageStateBlock::texCoordIndex, index), Calls{}) << "index " << index;
}

TEST_F(EnumMapping, TransformCountsAndProjection) {
  const matrix identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  const DWORD flags[5] = {D3DTTFF_DISABLE, D3DTTFF_COUNT1, D3DTTFF_COUNT2, D3DTTFF_COUNT3, D3DTTFF_COUNT4};
  for (int32_t count = 0; count <= 4; ++count) {
    Calls expected = {stageStateCall(2, D3DTSS_TEXTURETRANSFORMFLAGS, flags[count])};
    if (count != 0) expected.push_back(tstest::transformCall(D3DTS_TEXTURE2, identity));
    EXPECT_EQ(sendStageField(&TextureStageStateBlock::transformCount, count), expected) << "count " << count;
  }

  TextureStageStateBlock old;
  TextureStageStateBlock next;
  next.transformCount = 3;
  next.projected = true;
  proxy->clearLog();
  sendDifference(proxy, 2, next, old);
  const Calls projected = {stageStateCall(2, D3DTSS_TEXTURETRANSFORMFLAGS, D3DTTFF_COUNT3 | D3DTTFF_PROJECTED),
                           tstest::transformCall(D3DTS_TEXTURE2, identity)};
  EXPECT_EQ(proxy->calls(), projected);

  // A count beyond 4 sends no flags; the matrix still goes, as for every non-zero count.
  EXPECT_EQ(sendStageField(&TextureStageStateBlock::transformCount, 9),
            Calls{tstest::transformCall(D3DTS_TEXTURE2, identity)});
}

TEST_F(EnumMapping, AlphaReferenceAndMasksGoUnmapped) {
  RenderStateBlock next(RenderStateBlock::AllGroups);
  next.alphaRef = 200;
  next.stencilMask = 0x12345678;
  next.colorWriteMask = 0xfffffff5;  // only red and blue of the low four bits
  proxy->clearLog();
  sendDifference(proxy, next, RenderStateBlock::defaultBlock());
  const Calls expected = {renderStateCall(D3DRS_ALPHAREF, 200),
                          renderStateCall(D3DRS_COLORWRITEENABLE, D3DCOLORWRITEENABLE_RED | D3DCOLORWRITEENABLE_BLUE),
                          renderStateCall(D3DRS_STENCILMASK, 0x12345678)};
  EXPECT_EQ(proxy->calls(), expected);
}

}  // namespace

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "io/stream_memory.h"
#include "materials/render_state_block.h"
#include "materials/texture_stage_state_block.h"
#include "tests/materials/shadowed_device.h"

// The block bodies that materials write inside their chunks, byte for byte.
namespace {

using namespace ts3d;
using Bytes = std::vector<uint8_t>;

template <class Block>
Bytes stored(const Block& block) {
  tsio::OutStreamMemory out;
  block.store(out);
  return out.bytes();
}

template <class Block>
bool loadFrom(Block& block, const Bytes& bytes, bool* good = nullptr) {
  tsio::InStreamMemory in;
  in.setRange(bytes.data(), static_cast<int32_t>(bytes.size()));
  const bool result = block.load(in);
  if (good) *good = in.isGood();
  return result;
}

// Distinct values wherever the layout could swap two neighbours.
RenderStateBlock sample(uint32_t mask) {
  RenderStateBlock block(mask);
  block.alphaBlendEnable = true;
  block.destBlend = BlendInvDestColor;
  block.srcBlend = BlendSrcAlphaSat;
  block.alphaTestEnable = false;
  block.alphaFunc = CompareLessEqual;
  block.alphaRef = 0x7f;
  block.colorWriteMask = 0x0b;
  block.zEnable = false;
  block.depthMode = DepthAlwaysWrite;
  block.cullMode = CullCounterClockwise;
  block.fillMode = FillPoint;
  block.clipping = true;
  block.lighting = false;
  block.specularEnable = true;
  block.normalizeNormals = true;
  block.localViewer = false;
  block.indexedVertexBlend = true;
  block.vertexBlend = VertexBlendTweening;
  block.softwareVertexProcessing = false;
  block.stencilEnable = true;
  block.stencilFail = StencilZero;
  block.stencilZFail = StencilReplace;
  block.stencilPass = StencilIncrSat;
  block.stencilFunc = CompareGreater;
  block.stencilMask = 0x11223344;
  block.stencilWriteMask = 0x55667788;
  block.stencilRef = 0xab;
  block.twoSidedStencil = false;
  block.ccwStencilFail = StencilInvert;
  block.ccwStencilZFail = StencilIncr;
  block.ccwStencilPass = StencilDecr;
  block.ccwStencilFunc = CompareGreaterEqual;
  return block;
}

const Bytes blendingBytes = {0x01, 0x09, 0x0a, 0x00, 0x03, 0x7f, 0x0b, 0x00, 0x00, 0x00};
const Bytes depthBytes = {0x00, 0x02};
const Bytes rasteriserBytes = {0x01, 0x00, 0x01};
const Bytes lightingBytes = {0x00, 0x01, 0x01, 0x00};  // lighting, specular, normalise, local viewer
const Bytes vertexBlendingBytes = {0x01, 0x05, 0x00};
const Bytes stencilBytes = {0x01, 0x01, 0x02, 0x03, 0x04, 0x44, 0x33, 0x22, 0x11, 0x88, 0x77,
                            0x66, 0x55, 0xab, 0x00, 0x00, 0x00, 0x00, 0x05, 0x06, 0x07, 0x06};

Bytes concat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST(RenderStateBody, AllGroupsInFileOrder) {
  const Bytes expected = concat({{0xff, 0xff, 0x00, 0x00},
                                 blendingBytes,
                                 depthBytes,
                                 rasteriserBytes,
                                 lightingBytes,
                                 vertexBlendingBytes,
                                 stencilBytes});
  ASSERT_EQ(expected.size(), 48u);
  EXPECT_EQ(stored(sample(RenderStateBlock::AllGroups)), expected);
}

TEST(RenderStateBody, LoadReadsEveryFieldAndStoresTheSameBytes) {
  const Bytes body = concat({{0x3f, 0x00, 0x00, 0x00},
                             blendingBytes,
                             depthBytes,
                             rasteriserBytes,
                             lightingBytes,
                             vertexBlendingBytes,
                             stencilBytes});
  RenderStateBlock block(0);
  bool good = false;
  EXPECT_TRUE(loadFrom(block, body, &good));
  EXPECT_TRUE(good);
  EXPECT_EQ(block.groupMask, 0x3fu);
  tstest::expectSameFields(block, sample(0));
  EXPECT_EQ(stored(block), body);
}

TEST(RenderStateBody, GroupsFollowFileOrderNotBitOrder) {
  // Vertex blending is bit 0x01 and rasteriser 0x20, yet the rasteriser comes first.
  const RenderStateBlock block = sample(RenderStateBlock::VertexBlendingGroup | RenderStateBlock::RasteriserGroup);
  const Bytes expected = concat({{0x21, 0x00, 0x00, 0x00}, rasteriserBytes, vertexBlendingBytes});
  EXPECT_EQ(stored(block), expected);
}

TEST(RenderStateBody, EmptyMaskIsTheMaskAlone) {
  EXPECT_EQ(stored(sample(0)), (Bytes{0x00, 0x00, 0x00, 0x00}));
  // Bits beyond the six groups are kept, and name no fields.
  EXPECT_EQ(stored(sample(0x40)), (Bytes{0x40, 0x00, 0x00, 0x00}));
}

TEST(RenderStateBody, GroupsTheFileLacksHoldTheirDefaults) {
  RenderStateBlock block = sample(RenderStateBlock::AllGroups);
  const Bytes body = concat({{0x08, 0x00, 0x00, 0x00}, stencilBytes});
  EXPECT_TRUE(loadFrom(block, body));
  EXPECT_EQ(block.groupMask, RenderStateBlock::StencilGroup);
  RenderStateBlock expected(0);
  merge(expected, sample(RenderStateBlock::StencilGroup));
  tstest::expectSameFields(block, expected);
}

TEST(RenderStateBody, EnumerationBytesWidenUnsigned) {
  RenderStateBlock block(0);
  EXPECT_TRUE(loadFrom(block, Bytes{0x20, 0x00, 0x00, 0x00, 0xc8, 0xff, 0x00}));
  EXPECT_EQ(block.cullMode, 200);
  EXPECT_EQ(block.fillMode, 255);
}

TEST(RenderStateBody, ShortBodyLeavesTheStreamNotGood) {
  const Bytes full = concat({{0x0a, 0x00, 0x00, 0x00}, blendingBytes, stencilBytes});
  const Bytes cut(full.begin(), full.begin() + 20);
  RenderStateBlock block(0);
  bool good = true;
  EXPECT_TRUE(loadFrom(block, cut, &good));
  EXPECT_FALSE(good);
  EXPECT_TRUE(block.alphaBlendEnable);  // what was there is read
  EXPECT_EQ(block.stencilFail, StencilZero);
}

// Texture stage body: 14 single bytes, the projection flag, then the matrix.

TextureStageStateBlock stageSample() {
  TextureStageStateBlock block;
  block.colorOp = TextureMultiplyAdd;
  block.colorArg1 = ArgAlphaReplicate;
  block.colorArg2 = ArgComplement;
  block.alphaOp = TextureDotProduct3;
  block.alphaArg1 = ArgTemp;
  block.alphaArg2 = ArgSpecular;
  block.addressU = AddressMirrorOnce;
  block.addressV = AddressBorder;
  block.addressW = AddressClamp;
  block.magFilter = FilterGaussianQuad;
  block.minFilter = FilterPyramidalQuad;
  block.mipFilter = FilterAnisotropic;
  block.texCoordIndex = TexCoordCameraSpaceReflection;
  block.transformCount = 3;
  block.projected = true;
  for (int i = 0; i < 16; ++i) block.textureMatrix.m[i / 4][i % 4] = static_cast<float>(i + 1) * 0.5f;
  return block;
}

Bytes stageSampleBytes() {
  Bytes bytes = {11, 7, 6, 10, 5, 4, 4, 3, 2, 5, 4, 3, 19, 3, 1};
  for (int i = 0; i < 16; ++i) {
    const float value = static_cast<float>(i + 1) * 0.5f;
    uint8_t raw[4];
    std::memcpy(raw, &value, 4);  // little-endian, as the target is
    bytes.insert(bytes.end(), raw, raw + 4);
  }
  return bytes;
}

TEST(TextureStageBody, SeventyNineBytesInFieldOrder) {
  const Bytes bytes = stored(stageSample());
  ASSERT_EQ(bytes.size(), 79u);
  EXPECT_EQ(bytes, stageSampleBytes());
}

TEST(TextureStageBody, LoadReadsEveryFieldAndStoresTheSameBytes) {
  TextureStageStateBlock block;
  bool good = false;
  EXPECT_TRUE(loadFrom(block, stageSampleBytes(), &good));
  EXPECT_TRUE(good);
  // The store is checked against the sample above, so this also proves every field read.
  EXPECT_EQ(stored(block), stageSampleBytes());
}

TEST(TextureStageBody, EnumerationBytesWidenUnsigned) {
  Bytes bytes = stageSampleBytes();
  bytes[0] = 0xfe;
  bytes[12] = 0x80;
  TextureStageStateBlock block;
  EXPECT_TRUE(loadFrom(block, bytes));
  EXPECT_EQ(block.colorOp, 254);
  EXPECT_EQ(block.texCoordIndex, 128);
}

TEST(TextureStageBody, ShortBodyLeavesTheStreamNotGood) {
  const Bytes bytes = stageSampleBytes();
  TextureStageStateBlock block;
  bool good = true;
  EXPECT_TRUE(loadFrom(block, Bytes(bytes.begin(), bytes.begin() + 40), &good));
  EXPECT_FALSE(good);
  EXPECT_EQ(block.colorOp, TextureMultiplyAdd);
}

}  // namespace

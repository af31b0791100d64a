#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "io/stream_memory.h"
#include "tests/geometry/geometry_support.h"

// The "GOSM" chunk body: its layout, round trips in each combination of flags, and files
// shaped by an attacker.
namespace {

using ts3d::color;
using ts3d::GeometrySimple;
using ts3d::vect3;
using tstest::ByteWriter;
using tstest::Bytes;
using tstest::face;
using tstest::fileOf;
using tstest::readFile;
using tstest::storeFile;

// The body behind the 16 bytes of magic and chunk header.
Bytes bodyOf(const Bytes& file) { return Bytes(file.begin() + 16, file.end()); }

TEST(GeometryBody, SmallBodyHasTheLayoutOfTheFormat) {
  GeometrySimple g(false, true);
  g.positions = {vect3(0.0f, 0.0f, 0.0f), vect3(1.0f, 0.0f, 0.0f), vect3(0.0f, 2.0f, 0.0f)};
  g.normals = {vect3(0.0f, 0.0f, 1.0f), vect3(0.0f, 0.0f, 1.0f), vect3(0.0f, 0.0f, -1.0f)};
  g.faces = {face(0, 1, 2)};
  ts3d::AuxiliaryRecord record;
  record.values[0] = 1;
  record.values[1] = 2;
  record.values[2] = 3;
  record.values[3] = 0xFFFF;
  g.auxiliaryRecords = {record};

  ByteWriter expected;
  expected.u32(0x1 | 0x2 | 0x4 | 0x10 | 0x100 | 0x200 | 0x20000).u32(3).u32(1);
  expected.f32(0).f32(0).f32(0).f32(1).f32(0).f32(0).f32(0).f32(2).f32(0);
  expected.f32(0).f32(0).f32(1).f32(0).f32(0).f32(1).f32(0).f32(0).f32(-1);
  expected.u16(0).u16(1).u16(2);
  expected.u32(1).u16(1).u16(2).u16(3).u16(0xFFFF);

  const Bytes file = storeFile(g);
  ASSERT_EQ(file.size(), 16u + 102u);
  EXPECT_EQ(file, fileOf("GOSM", 1, expected.bytes));
}

// One combination of filled vectors and booleans.
struct Combination {
  const char* name;
  bool positions, normals, colors;
  int channels;
  bool faces, records, dynamicVertices, dynamicIndices, tangentSpace;
};

void PrintTo(const Combination& c, std::ostream* out) { *out << c.name; }

class GeometryRoundTrip : public ::testing::TestWithParam<Combination> {};

GeometrySimple* makeGeometry(const Combination& c) {
  auto* g = new GeometrySimple(c.dynamicVertices, c.dynamicIndices);
  const int n = 4;
  for (int i = 0; i < n; ++i) {
    const float f = static_cast<float>(i);
    if (c.positions) g->positions.push_back(vect3(f, -f * 0.5f, 3.25f + f));
    if (c.normals) g->normals.push_back(vect3(0.0f, f / 4.0f, 1.0f));
    if (c.colors) g->colors.push_back(color(f / 3.0f, 1.0f - f / 3.0f, 0.5f, 0.75f));
  }
  for (int k = 0; k < c.channels; ++k) {
    ts3d::TextureChannel channel;
    for (int i = 0; i < n; ++i)
      channel.coordinates.push_back({static_cast<float>(i + k) * 0.125f, 1.0f - static_cast<float>(k)});
    g->textureChannels.push_back(channel);
  }
  if (c.faces) g->faces = {face(0, 1, 2), face(2, 3, 0)};
  if (c.records) {
    ts3d::AuxiliaryRecord r;
    r.values[0] = 7;
    r.values[3] = 0x8000;
    g->auxiliaryRecords = {r, ts3d::AuxiliaryRecord()};
  }
  g->hasTangentSpace = c.tangentSpace;
  // Never stored: they must not come back.
  g->tangents = g->positions;
  g->binormals = g->positions;
  return g;
}

TEST_P(GeometryRoundTrip, StoreThenLoadGivesTheSameVectorsAndBooleans) {
  const Combination& c = GetParam();
  std::unique_ptr<GeometrySimple> original(makeGeometry(c));
  const tstest::ReadOutcome outcome = readFile(storeFile(*original));
  ASSERT_NE(outcome.geometry(), nullptr) << (outcome.boxes.empty() ? "" : outcome.boxes[0]);
  const GeometrySimple& loaded = *outcome.geometry();
  EXPECT_EQ(loaded.positions, original->positions);
  EXPECT_EQ(loaded.normals, original->normals);
  EXPECT_EQ(loaded.textureChannels, original->textureChannels);
  EXPECT_EQ(loaded.faces, original->faces);
  EXPECT_EQ(loaded.auxiliaryRecords, original->auxiliaryRecords);
  EXPECT_EQ(loaded.dynamicVertices, c.dynamicVertices);
  EXPECT_EQ(loaded.dynamicIndices, c.dynamicIndices);
  EXPECT_EQ(loaded.hasTangentSpace, c.tangentSpace);
  EXPECT_TRUE(loaded.tangents.empty());
  EXPECT_TRUE(loaded.binormals.empty());
  EXPECT_TRUE(loaded.weldedFaces.empty());
  EXPECT_EQ(loaded.vertexBuffer.get(), nullptr) << "load must not touch the device";
  EXPECT_EQ(loaded.indexBuffer.get(), nullptr);
  // Colours travel only with other vertex data.
  if (c.positions || c.normals || c.channels > 0)
    EXPECT_EQ(loaded.colors, original->colors);
  else
    EXPECT_TRUE(loaded.colors.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Flags, GeometryRoundTrip,
    ::testing::Values(Combination{"PositionsOnly", true, false, false, 0, true, false, false, false, false},
                      Combination{"PositionsNormals", true, true, false, 0, true, false, false, false, false},
                      Combination{"PositionsColours", true, false, true, 0, true, false, false, false, false},
                      Combination{"NormalsColoursTwoChannels", true, true, true, 2, true, false, false, false, false},
                      Combination{"OneChannelNoFaces", true, false, false, 1, false, false, false, false, false},
                      Combination{"RecordsOnly", false, false, false, 0, false, true, false, false, false},
                      Combination{"DynamicBoth", true, true, false, 1, true, true, true, true, false},
                      Combination{"TangentSpace", true, true, false, 1, true, false, false, true, true},
                      Combination{"EverythingAtOnce", true, true, true, 3, true, true, true, true, true},
                      Combination{"Nothing", false, false, false, 0, false, false, false, false, false}),
    [](const ::testing::TestParamInfo<Combination>& param) { return std::string(param.param.name); });

TEST(GeometryBody, FlagsOfARoundTripFollowTheFilledVectors) {
  // Positions, colours, one channel, faces, tangent space: checked by hand.
  Combination c{"", true, false, true, 1, true, false, false, false, true};
  std::unique_ptr<GeometrySimple> g(makeGeometry(c));
  const Bytes body = bodyOf(storeFile(*g));
  ASSERT_GE(body.size(), 12u);
  EXPECT_EQ(Bytes(body.begin(), body.begin() + 12), ByteWriter().u32(0x40D13).u32(4).u32(2).bytes);
  // flags, counts, 4 positions, 4 colours, channel count and 4 pairs, 2 faces.
  EXPECT_EQ(body.size(), 12u + 48u + 64u + 4u + 32u + 12u);
}

TEST(GeometryBody, LoadKeepsVectorsWhoseFlagIsAbsent) {
  // A body with faces only, read into a geometry that already has vertices.
  GeometrySimple g;
  g.positions = {vect3(1, 2, 3), vect3(4, 5, 6), vect3(7, 8, 9)};
  g.boxValid = true;
  GeometrySimple source;
  source.faces = {face(2, 1, 0)};
  source.dynamicIndices = true;
  // Read straight into the geometry that has vertices: they stay.
  const Bytes body = bodyOf(storeFile(source));
  tsio::InStreamMemory stream;
  stream.setRange(body.data(), static_cast<int32_t>(body.size()));
  EXPECT_TRUE(g.load(stream));
  EXPECT_EQ(g.positions.size(), 3u) << "no vertex flag: positions stay";
  EXPECT_EQ(g.faces.size(), 1u);
  EXPECT_EQ(g.faces[0], face(2, 1, 0));
  EXPECT_TRUE(g.dynamicIndices);
  EXPECT_FALSE(g.boxValid);
}

// ---- hostile files ----------------------------------------------------------------------

Bytes validFile() {
  Combination c{"", true, true, true, 2, true, true, false, false, false};
  std::unique_ptr<GeometrySimple> g(makeGeometry(c));
  return storeFile(*g);
}

TEST(GeometryHostile, EveryTruncationIsRefusedWithOneMessage) {
  const Bytes file = validFile();
  ASSERT_NE(readFile(file).root, nullptr) << "the intact file must load";
  for (size_t length = 16; length < file.size(); ++length) {
    // Cut the body but keep the header's size honest, so the body itself runs short.
    Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
    const uint32_t bodySize = static_cast<uint32_t>(length - 16);
    for (int i = 0; i < 4; ++i) cut[12 + i] = static_cast<uint8_t>(bodySize >> (8 * i));
    const tstest::ReadOutcome outcome = readFile(cut);
    EXPECT_EQ(outcome.root, nullptr) << "cut at " << length;
    EXPECT_EQ(outcome.boxes.size(), 1u) << "cut at " << length;
  }
}

// A body of three positions (0..8) and two faces; the last index is the one given.
Bytes twoFaces(uint16_t lastIndex) {
  ByteWriter body;
  body.u32(0x1 | 0x2 | 0x100).u32(3).u32(2);
  for (int i = 0; i < 9; ++i) body.f32(static_cast<float>(i));
  body.u16(0).u16(1).u16(2).u16(2).u16(lastIndex).u16(0);
  return fileOf("GOSM", 1, body.bytes);
}

// A body of one position and the given number of texture channels, one pair each.
Bytes channels(uint32_t flags, uint32_t channelCount) {
  ByteWriter body;
  body.u32(flags | 0x1 | 0x100 | 0x400).u32(1).f32(0).f32(0).f32(0).u32(channelCount);
  for (uint32_t c = 0; c < channelCount; ++c) body.f32(0.5f).f32(0.25f);
  return fileOf("GOSM", 1, body.bytes);
}

}  // namespace

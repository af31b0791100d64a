#include "geometry/geometry_composite.h"
#include "geometry/geometry_simple.h"
#include "geometry/geometry_weighted.h"
#include "geometry/modifier_skin.h"
#include "geometry/modifier_stack.h"
#include "tests/persistence/contract.h"

namespace tstest {
namespace {

using ts3d::GeometrySimple;

// Auxiliary records only: no vertex data, so no vertex count. Flags 0x4.
GeometrySimple* recordsOnly() {
  auto* g = new GeometrySimple;
  g->auxiliaryRecords.resize(1);
  g->auxiliaryRecords[0].values[0] = 7;
  g->auxiliaryRecords[0].values[3] = 0x8000;
  return g;
}

// Floats: 1 = 0000803F, 2 = 00000040, 3 = 00004040, 0.5 = 0000003F, 0.25 = 0000803E.
const ChunkCase kGeometries[] = {
    // One vertex of every kind, one face, one record, both buffers dynamic, tangent space:
    // flags 0x1 0x2 0x4 0x10 | 0x100 0x200 0x400 0x800 | 0x10000 0x20000 0x40000.
    chunkCase<GeometrySimple>(
        "GeometrySimpleEveryFlag",
        [] {
          auto* g = new GeometrySimple(true, true);
          g->positions = {ts3d::vect3(1, 2, 3)};
          g->normals = {ts3d::vect3(0, 0, 1)};
          g->colors = {ts3d::color(1, 0.5f, 0.25f, 2)};
          g->textureChannels = {ts3d::TextureChannel{{{0.5f, 0.25f}}}};
          g->faces.resize(1);
          g->auxiliaryRecords.resize(1);
          g->auxiliaryRecords[0].values[0] = 1;
          g->auxiliaryRecords[0].values[3] = 0xFFFF;
          g->hasTangentSpace = true;
          return g;
        },
        "4E4F4E45 | 474F534D 0100 0000 52000000 | 170F0700 | 01000000 | 01000000 | 0000803F 00000040 00004040 | "
        "00000000 00000000 0000803F | 0000803F 0000003F 0000803E 00000040 | 01000000 0000003F 0000803E | "
        "0000 0000 0000 | 01000000 0100 0000 0000 FFFF",
        0, kAnyVersion),
    chunkCase<GeometrySimple>("GeometrySimpleRecordsOnly", recordsOnly,
                              "4E4F4E45 | 474F534D 0100 0000 10000000 | 04000000 | 01000000 0700 0000 0000 0080", 0,
                              kAnyVersion),
    chunkCase<ts3d::GeometryComposite>(
        "GeometryComposite", [] { return new ts3d::GeometryComposite({recordsOnly()}); },
        "4E4F4E45 | 474F4350 0100 0000 20000000 | 01000000 | "
        "474F534D 0100 0100 10000000 | 04000000 | 01000000 0700 0000 0000 0080",
        1, 1),
    // A null entry keeps its place in the list.
    chunkCase<ts3d::ModifierStack>(
        "ModifierStack",
        [] {
          auto* stack = new ts3d::ModifierStack;
          stack->add(nullptr);
          return stack;
        },
        "4E4F4E45 | 4D4F5354 0100 0000 08000000 | 01000000 | 00000000", 1, 1),
    // One position (flags 0x101), then one record: bones 1 2 3 4, weights 0.5 0.25 1.
    chunkCase<ts3d::GeometryWeighted>(
        "GeometryWeighted",
        [] {
          auto* g = new ts3d::GeometryWeighted;
          g->positions = {ts3d::vect3(1, 2, 3)};
          g->vertexWeights = {{{1, 2, 3, 4}, {0.5f, 0.25f, 1}}};
          return g;
        },
        "4E4F4E45 | 474F5754 0100 0000 28000000 | 01010000 01000000 | 0000803F 00000040 00004040 |"
        "01000000 | 01020304 0000003F 0000803E 0000803F",
        0, kAnyVersion),
    // A null bone keeps its place; its offset doubles and moves by (4, 5, 6), the reference
    // moves by (1, 2, 3).
    chunkCase<ts3d::ModifierSkin>(
        "ModifierSkin",
        [] {
          auto* skin = new ts3d::ModifierSkin;
          skin->bones = {nullptr};
          skin->boneOffsets = {ts3d::matrix(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 4, 5, 6, 1)};
          D3DXMatrixTranslation(&skin->referenceMatrix, 1, 2, 3);
          return skin;
        },
        "4E4F4E45 | 4D44534B 0100 0000 88000000 | 01000000 | 00000000 |"
        "00000040 00000000 00000000 00000000 | 00000000 00000040 00000000 00000000 |"
        "00000000 00000000 00000040 00000000 | 00008040 0000A040 0000C040 0000803F |"
        "0000803F 00000000 00000000 00000000 | 00000000 0000803F 00000000 00000000 |"
        "00000000 00000000 0000803F 00000000 | 0000803F 00000040 00004040 0000803F",
        1, 1),
};

INSTANTIATE_TEST_SUITE_P(Geometries, ChunkContract, testing::ValuesIn(kGeometries), CaseName());

}  // namespace
}  // namespace tstest

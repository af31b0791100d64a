// The platform-free importer on models written here: a mesh beyond 16-bit indices arrives
// whole, strips and fans arrive as lists, a model without a camera is framed by the default
// one, and hostile files are refused with a message naming the file and the problem.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <functional>
#include <set>

#include "platform/whole_file.h"
#include "scenebuild/import/folder_files.h"
#include "scenebuild/import/gltf_accessor.h"
#include "scenebuild/import/import.h"
#include "tests/import/gltf_build.h"
#include "tests/import/model_writer.h"

namespace {

const std::string kFolder = "import_models";

std::string save(const std::string& name, const std::string& text) {
  std::filesystem::create_directories(kFolder);
  const std::string path = kFolder + "/" + name;
  EXPECT_TRUE(platform::writeWholeFile(path, text.data(), text.size()));
  return path;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

using Triangle = std::array<uint32_t, 3>;

// The same triangle whichever corner it starts from.
Triangle canonical(Triangle t) {
  std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
  return t;
}

// The triangles of a model's one mesh as the file's vertex numbers, each from its smallest.
std::multiset<Triangle> arrivedTriangles(const tsimport::Model& model) {
  std::multiset<Triangle> arrived;
  for (const tsimport::MeshPart& part : model.meshes.at(0).parts)
    for (size_t i = 0; i < part.indices.size(); i += 3)
      arrived.insert(canonical({part.sourceVertices[part.indices[i]], part.sourceVertices[part.indices[i + 1]],
                                part.sourceVertices[part.indices[i + 2]]}));
  return arrived;
}

TEST(Import, MeshBeyond16BitIndicesArrivesWhole) {
  const importtest::TestMesh strip = importtest::strip(70000);
  const std::vector<uint8_t> file = importtest::glb(strip, {});
  tsimport::Model model;
  std::string error;
  ASSERT_TRUE(tsimport::importFile(save("strip.glb", std::string(file.begin(), file.end())), tsimport::Conversion(),
                                   model, error))
      << error;
  ASSERT_EQ(model.meshes.size(), 1u);
  size_t vertices = 0;
  for (const tsimport::MeshPart& part : model.meshes[0].parts) {
    EXPECT_LE(part.positions.size(), tsimport::kMaxPartVertices);
    vertices += part.positions.size();
  }
  const std::multiset<Triangle> arrived = arrivedTriangles(model);
  EXPECT_GE(model.meshes[0].parts.size(), 2u);
  EXPECT_GE(vertices, 70000u);
  std::multiset<Triangle> sent;
  for (size_t i = 0; i < strip.indices.size(); i += 3)
    sent.insert(canonical({strip.indices[i], strip.indices[i + 1], strip.indices[i + 2]}));
  EXPECT_EQ(arrived.size(), 69998u);
  EXPECT_TRUE(arrived == sent);
}

TEST(Import, DefaultCameraFramesTheModel) {
  tsimport::Model model;
  std::string error;
  ASSERT_TRUE(tsimport::importFile(save("framed.gltf", importtest::gltf(importtest::cube(), {})),
                                   tsimport::Conversion(3.0f), model, error))
      << error;
  ts3d::vect3 low, high;
  ASSERT_TRUE(tsimport::bounds(model, low, high));
  const std::vector<ts3d::matrix> world = tsimport::worldMatrices(model);
  const auto camera = std::find_if(model.nodes.begin(), model.nodes.end(), [](const auto& n) { return n.camera >= 0; });
  ASSERT_NE(camera, model.nodes.end());
  const tsimport::Camera& lens = model.cameras[camera->camera];
  ts3d::matrix view, projection, both;
  D3DXMatrixInverse(&view, nullptr, &world[camera - model.nodes.begin()]);
  D3DXMatrixPerspectiveFovRH(&projection, lens.yfov, 4.0f / 3.0f, lens.znear, lens.zfar);
  D3DXMatrixMultiply(&both, &view, &projection);
  float spanLow = 1, spanHigh = -1;
  for (int corner = 0; corner < 8; ++corner) {
    const ts3d::vect3 point(corner & 1 ? high.x : low.x, corner & 2 ? high.y : low.y, corner & 4 ? high.z : low.z);
    ts3d::vect3 screen;
    D3DXVec3TransformCoord(&screen, &point, &both);
    EXPECT_TRUE(std::fabs(screen.x) <= 1 && std::fabs(screen.y) <= 1 && screen.z >= 0 && screen.z <= 1) << corner;
    spanLow = std::min(spanLow, screen.y);
    spanHigh = std::max(spanHigh, screen.y);
  }
  // The model fills more than half the height of the view.
  EXPECT_GT(spanHigh - spanLow, 1.0f);
}

// Strips and fans arrive as the triangles glTF says they hold, each turned as the file means
// it; those a strip's join repeats a vertex in are left out.
TEST(Import, StripsAndFansArriveAsTheirTriangles) {
  importtest::TestMesh mesh = importtest::strip(8);
  const struct {
    const char* file;
    std::vector<uint32_t> indices;  // empty: none, the vertices in order
    const char* mode;
    std::multiset<Triangle> expected;
  } rows[] = {
      {"strip.gltf", {0, 1, 2, 3, 3, 4, 5}, "5", {{0, 1, 2}, {1, 3, 2}, {3, 4, 5}}},
      {"fan.gltf", {0, 1, 2, 3, 4}, "6", {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}}},
      {"unindexed.gltf", {}, "5", {{0, 1, 2}, {1, 3, 2}, {2, 3, 4}, {3, 5, 4}, {4, 5, 6}, {5, 7, 6}}},
  };
  for (const auto& row : rows) {
    mesh.indices = row.indices.empty() ? std::vector<uint32_t>{0, 1, 2} : row.indices;
    const std::string mode = std::string("\"mode\":") + row.mode;
    std::string text = importtest::gltf(mesh, {});
    text = row.indices.empty() ? replaced(text, ",\"indices\":1", "," + mode)
                               : replaced(text, "\"indices\":1", mode + ",\"indices\":1");
    tsimport::Model model;
    std::string error;
    ASSERT_TRUE(tsimport::importFile(save(row.file, text), tsimport::Conversion(), model, error)) << error;
    std::multiset<Triangle> expected;
    for (const Triangle& t : row.expected) expected.insert(canonical(t));
    EXPECT_TRUE(arrivedTriangles(model) == expected) << row.file;
  }
}

// Whatever the up axis and scale, converting then turning or moving a point gives what turning
// or moving it in the file and then converting gives.
TEST(Import, ConversionKeepsRotationsAndMatricesInStepWithPoints) {
  ts3d::quat turn(0.2f, 0.5f, -0.3f, 0.8f);
  D3DXQuaternionNormalize(&turn, &turn);
  ts3d::matrix turning, moving, placed;
  D3DXMatrixRotationQuaternion(&turning, &turn);
  D3DXMatrixTranslation(&moving, 4, -5, 6);
  D3DXMatrixMultiply(&placed, &turning, &moving);  // a file's column-major matrix is our row form
  const ts3d::vect3 p(1, 2, 3);
  for (const tsimport::Conversion& conversion :
       {tsimport::Conversion(), tsimport::Conversion(2.5f, tsimport::UpAxis::Z)}) {
    ts3d::vect3 inFile, converted, expected, actual;
    D3DXVec3TransformCoord(&inFile, &p, &turning);
    expected = conversion.direction(inFile.x, inFile.y, inFile.z);
    const ts3d::quat ours = conversion.rotation(turn.x, turn.y, turn.z, turn.w);
    ts3d::matrix oursTurning;
    D3DXMatrixRotationQuaternion(&oursTurning, &ours);
    converted = conversion.direction(p.x, p.y, p.z);
    D3DXVec3TransformCoord(&actual, &converted, &oursTurning);
    ts3d::vect3 miss = actual - expected;
    EXPECT_LT(D3DXVec3Length(&miss), 1e-5f);
    D3DXVec3TransformCoord(&inFile, &p, &placed);
    expected = conversion.position(inFile.x, inFile.y, inFile.z);
    converted = conversion.position(p.x, p.y, p.z);
    const ts3d::matrix oursPlaced = conversion.matrix(static_cast<const float*>(placed));
    D3DXVec3TransformCoord(&actual, &converted, &oursPlaced);
    miss = actual - expected;
    EXPECT_LT(D3DXVec3Length(&miss), 1e-4f);
  }
}

TEST(Import, HostileModelsAreRefusedWithTheFileAndTheProblem) {
  const importtest::TestMesh cube = importtest::cube();
  const uint8_t texels[] = {1, 2, 3};
  const std::string gltf = importtest::gltf(cube, std::vector<uint8_t>(texels, texels + 3));
  const std::vector<uint8_t> glbBytes = importtest::glb(cube, {});
  const std::string glb(glbBytes.begin(), glbBytes.end());
  std::string flipped = glb;
  flipped[12] ^= 0x40;  // the JSON chunk's length
  importtest::TestMesh pastTheEnd = cube;
  pastTheEnd.indices[5] = 99;
  const std::string imageUri = gltf.substr(gltf.find("data:image"), gltf.find('"', gltf.find("data:image")) - gltf.find("data:image"));
  const struct {
    const char* file;
    std::string bytes;
    const char* problem;
  } rows[] = {
      {"cut.glb", glb.substr(0, glb.size() / 2), "GLB header claims"},
      {"flipped.glb", flipped, "GLB"},
      {"count.gltf", replaced(gltf, "\"count\":24", "\"count\":2400"), "2400 elements run past the end"},
      {"offset.gltf", replaced(gltf, "\"bufferView\":0,", "\"bufferView\":0,\"byteOffset\":1000000000,"), "past the end"},
      {"index.gltf", importtest::gltf(pastTheEnd, {}), "index 99 past the 24 vertices"},
      {"huge.gltf", replaced(gltf, "\"buffers\":[{\"byteLength\":", "\"buffers\":[{\"byteLength\":4000000000"), "byteLength declares"},
      {"outside.gltf", replaced(gltf, imageUri, "../outside.png"), "outside the model's folder"},
  };
  for (const auto& row : rows) {
    tsimport::Model model;
    std::string error;
    const std::string path = save(row.file, row.bytes);
    EXPECT_FALSE(tsimport::importFile(path, tsimport::Conversion(), model, error)) << row.file;
    EXPECT_EQ(error.rfind(path + ": ", 0), 0u) << error;
    EXPECT_NE(error.find(row.problem), std::string::npos) << error;
  }
}

// What is read again each time something names it (an accessor, a buffer view, a file) counts
// again, so that a small model can't make the importer hold many times its size.
TEST(Import, RereadsCountAgainstOneBudget) {
  tinygltf::Model gltf;
  const int floats = motiontest::floats(gltf, std::vector<float>(3 << 18, 1.0f), TINYGLTF_TYPE_VEC3);
  const int shorts = motiontest::addAccessor(gltf, std::vector<uint16_t>(1 << 19, 7), TINYGLTF_TYPE_SCALAR,
                                             TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT);
  const struct {
    const char* what;
    uint64_t decoded;  // by one read
    std::function<bool(tsimport::DecodeBudget&, std::string&)> read;
  } rows[] = {
      {"floats", 3 << 20,
       [&](tsimport::DecodeBudget& budget, std::string& error) {
         std::vector<float> out;
         return tsimport::readFloats(gltf, floats, 3, budget, out, error);
       }},
      {"indices", 2 << 20,
       [&](tsimport::DecodeBudget& budget, std::string& error) {
         std::vector<uint32_t> out;
         return tsimport::readUnsigned(gltf, shorts, 1, budget, out, error);
       }},
      {"buffer view", 1 << 20,
       [&](tsimport::DecodeBudget& budget, std::string& error) {
         std::vector<uint8_t> out;
         return tsimport::readBufferView(gltf, gltf.accessors[shorts].bufferView, budget, out, error);
       }},
  };
  for (const auto& row : rows) {
    tsimport::DecodeBudget budget(row.decoded * 3 / 2);
    std::string error;
    EXPECT_TRUE(row.read(budget, error)) << row.what << ": " << error;
    EXPECT_FALSE(row.read(budget, error)) << row.what;
    EXPECT_TRUE(budget.exhausted()) << row.what;
    EXPECT_EQ(error, "the model's data comes to more than " + std::to_string(row.decoded * 3 / 2 >> 20) +
                         " MB once each use of an accessor or buffer view is counted");
  }
  const std::string bytes(1 << 20, 'x');
  save("twice.bin", bytes);
  tsimport::FolderFiles files(kFolder, (5 << 20) / 2);
  std::vector<uint8_t> read;
  std::string error;
  EXPECT_TRUE(files.read("twice.bin", read, error)) << error;
  EXPECT_TRUE(files.read("twice.bin", read, error)) << error;
  EXPECT_FALSE(files.read("twice.bin", read, error));
  EXPECT_EQ(error, "'twice.bin' would take the files the model names past 2 MB together (a file counts each time it is named)");
}

}  // namespace

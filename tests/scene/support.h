#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "scene/value_types.h"
#include "tests/controller/support.h"

namespace tstest {

inline FileBuilder& f32(FileBuilder& file, float value) {
  uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return file.u32(bits);
}

inline FileBuilder& floats(FileBuilder& file, std::initializer_list<float> values) {
  for (float value : values) f32(file, value);
  return file;
}

// Chunk header of a given version (FileBuilder::header writes version 1).
inline FileBuilder& headerV(FileBuilder& file, const char (&letters)[5], uint16_t version, uint16_t id,
                            uint32_t size) {
  return file.code(letters).u16(version).u16(id).u32(size);
}

// Every element within tolerance.
inline void expectMatrixNear(const ts3d::matrix& actual, const ts3d::matrix& expected, float tolerance = 1e-5f) {
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 4; ++column)
      EXPECT_NEAR(actual.m[row][column], expected.m[row][column], tolerance) << "element " << row << ", " << column;
}

// Row vector (x, y, z, 1) times m, written out so that tests don't lean on the code's helpers.
inline ts3d::vect3 transformPoint(const ts3d::matrix& m, const ts3d::vect3& p) {
  return ts3d::vect3(p.x * m.m[0][0] + p.y * m.m[1][0] + p.z * m.m[2][0] + m.m[3][0],
                     p.x * m.m[0][1] + p.y * m.m[1][1] + p.z * m.m[2][1] + m.m[3][1],
                     p.x * m.m[0][2] + p.y * m.m[1][2] + p.z * m.m[2][2] + m.m[3][2]);
}

inline void expectVectNear(const ts3d::vect3& actual, const ts3d::vect3& expected, float tolerance = 1e-5f) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

inline ts3d::matrix identityMatrix() {
  return ts3d::matrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
}

class SceneTest : public testing::Test {
 protected:
};

}  // namespace tstest

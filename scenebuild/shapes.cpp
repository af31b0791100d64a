#include "scenebuild/shapes.h"

#include <algorithm>
#include <cmath>

namespace scenebuild {
namespace {

constexpr float kPi = 3.14159265358979f;

// Bounded so every vertex number fits the 16-bit faces.
uint32_t clampCells(uint32_t cells, uint32_t minimum) { return std::min(std::max(cells, minimum), 250u); }

void addVertex(Shape& shape, const ts3d::vect3& position, const ts3d::vect3& normal, float u, float v) {
  shape.positions.push_back(position);
  shape.normals.push_back(normal);
  shape.u.push_back(u);
  shape.v.push_back(v);
}

// A grid of (columns + 1) x (rows + 1) vertices made by vertexAt, and two faces per cell,
// wound so that faces look along the normal.
template <class VertexAt>
void addGrid(Shape& shape, uint32_t columns, uint32_t rows, VertexAt vertexAt) {
  const uint32_t first = shape.vertexCount();
  for (uint32_t row = 0; row <= rows; ++row)
    for (uint32_t column = 0; column <= columns; ++column)
      vertexAt(static_cast<float>(column) / static_cast<float>(columns),
               static_cast<float>(row) / static_cast<float>(rows));
  const uint32_t stride = columns + 1;
  for (uint32_t row = 0; row < rows; ++row) {
    for (uint32_t column = 0; column < columns; ++column) {
      const auto at = [&](uint32_t c, uint32_t r) { return static_cast<uint16_t>(first + r * stride + c); };
      shape.faces.push_back({{at(column, row), at(column + 1, row), at(column + 1, row + 1)}});
      shape.faces.push_back({{at(column, row), at(column + 1, row + 1), at(column, row + 1)}});
    }
  }
}

}  // namespace

Shape plane(float sizeX, float sizeY, uint32_t cellsX, uint32_t cellsY) {
  Shape shape;
  const uint32_t columns = clampCells(cellsX, 1), rows = clampCells(cellsY, 1);
  // Rows run towards -y so that the grid's (column, row) order winds counter-clockwise
  // seen from +z.
  addGrid(shape, columns, rows, [&](float s, float t) {
    addVertex(shape, ts3d::vect3((s - 0.5f) * sizeX, (0.5f - t) * sizeY, 0.0f), ts3d::vect3(0, 0, 1), s, t);
  });
  for (ShapeFace& face : shape.faces) std::swap(face.vertex[1], face.vertex[2]);
  return shape;
}

Shape box(float sizeX, float sizeY, float sizeZ) {
  Shape shape;
  const ts3d::vect3 half(sizeX * 0.5f, sizeY * 0.5f, sizeZ * 0.5f);
  // Each side: its normal and two axes across it whose cross product is the normal, so
  // that the grid below winds counter-clockwise seen from outside.
  struct Side {
    ts3d::vect3 normal, across, up;
  };
  const Side sides[6] = {
      {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}},  {{-1, 0, 0}, {0, -1, 0}, {0, 0, 1}}, {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}},
      {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}, {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}},   {{0, 0, -1}, {1, 0, 0}, {0, -1, 0}},
  };
  for (const Side& side : sides) {
    addGrid(shape, 1, 1, [&](float s, float t) {
      ts3d::vect3 p;
      for (int axis = 0; axis < 3; ++axis) {
        const float n = (&side.normal.x)[axis], a = (&side.across.x)[axis], b = (&side.up.x)[axis];
        (&p.x)[axis] = (n + a * (2.0f * s - 1.0f) + b * (2.0f * t - 1.0f)) * (&half.x)[axis];
      }
      addVertex(shape, p, side.normal, s, 1.0f - t);
    });
  }
  return shape;
}

Shape sphere(float radius, uint32_t slices, uint32_t stacks) {
  Shape shape;
  const uint32_t columns = clampCells(slices, 3), rows = clampCells(stacks, 2);
  // Grid rows from the south pole up; columns around the z axis counter-clockwise.
  addGrid(shape, columns, rows, [&](float s, float t) {
    const float around = 2.0f * kPi * s, upAngle = kPi * (t - 0.5f);
    const ts3d::vect3 n(std::cos(upAngle) * std::cos(around), std::cos(upAngle) * std::sin(around),
                        std::sin(upAngle));
    addVertex(shape, n * radius, n, s, 1.0f - t);
  });
  return shape;
}

Shape torus(float majorRadius, float minorRadius, uint32_t rings, uint32_t sides) {
  Shape shape;
  const uint32_t columns = clampCells(rings, 3), rows = clampCells(sides, 3);
  addGrid(shape, columns, rows, [&](float s, float t) {
    const float around = 2.0f * kPi * s, tube = 2.0f * kPi * t;
    const ts3d::vect3 radial(std::cos(around), std::sin(around), 0.0f);
    const ts3d::vect3 n = radial * std::cos(tube) + ts3d::vect3(0, 0, std::sin(tube));
    addVertex(shape, radial * majorRadius + n * minorRadius, n, s, t);
  });
  return shape;
}

}  // namespace scenebuild

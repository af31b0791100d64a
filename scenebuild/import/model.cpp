#include "scenebuild/import/model.h"

#include <cmath>
#include <sstream>

namespace tsimport {

void addWarningLines(const std::string& lines, Model& model) {
  std::istringstream in(lines);
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) model.warnings.push_back(line);
}

ts3d::vect3 Conversion::turned(float x, float y, float z) const {
  return up == UpAxis::Z ? ts3d::vect3(x, z, -y) : ts3d::vect3(x, y, z);
}

ts3d::vect3 Conversion::position(float x, float y, float z) const { return turned(x, y, z) * factor; }

ts3d::vect3 Conversion::direction(float x, float y, float z) const { return turned(x, y, z); }

ts3d::vect3 Conversion::scaleFactors(float x, float y, float z) const {
  // Factors have no sign to turn: only the axes they lie along change places.
  return up == UpAxis::Z ? ts3d::vect3(x, z, y) : ts3d::vect3(x, y, z);
}

ts3d::quat Conversion::rotation(float x, float y, float z, float w) const {
  // A rotation R turns a rotation about axis a into one about R a by the same angle. The
  // engine's quaternion matrices are the row-vector transposes of glTF's: the same values.
  ts3d::vect3 axis = turned(x, y, z);
  return ts3d::quat(axis.x, axis.y, axis.z, w);
}

ts3d::matrix Conversion::matrix(const float columnMajor[16]) const {
  // The file's column-vector matrix A (A[r][c] = columnMajor[c * 4 + r]) becomes R A R^T; as a
  // row-vector matrix that is its transpose, so out[r][c] = (R A R^T)[c][r].
  ts3d::vect3 axes[3] = {turned(1, 0, 0), turned(0, 1, 0), turned(0, 0, 1)};
  float turn[4][4] = {}, back[4][4] = {};
  for (int c = 0; c < 3; ++c) {
    const float column[3] = {axes[c].x, axes[c].y, axes[c].z};
    for (int r = 0; r < 3; ++r) turn[r][c] = back[c][r] = column[r];
  }
  turn[3][3] = back[3][3] = 1.0f;
  float a[4][4];
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) a[r][c] = columnMajor[c * 4 + r];
  float ma[4][4] = {}, mam[4][4] = {};
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      for (int k = 0; k < 4; ++k) ma[r][c] += turn[r][k] * a[k][c];
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      for (int k = 0; k < 4; ++k) mam[r][c] += ma[r][k] * back[k][c];
  ts3d::matrix out;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) out.m[r][c] = mam[c][r];
  // Scaling the whole model scales the translations; the linear parts stay.
  for (int c = 0; c < 3; ++c) out.m[3][c] *= factor;
  return out;
}

bool Conversion::decompose(const float columnMajor[16], ts3d::vect3& position, ts3d::quat& rotation,
                           ts3d::vect3& scale) const {
  ts3d::matrix converted = matrix(columnMajor);
  if (D3DXMatrixDecompose(&scale, &rotation, &position, &converted) != 0) return false;
  // The decomposition must give the matrix back: shear does not survive it.
  ts3d::matrix scaling, turning, rebuilt;
  D3DXMatrixScaling(&scaling, scale.x, scale.y, scale.z);
  D3DXMatrixRotationQuaternion(&turning, &rotation);
  D3DXMatrixMultiply(&rebuilt, &scaling, &turning);
  constexpr float kTolerance = 1e-3f;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c)
      if (std::fabs(rebuilt.m[r][c] - converted.m[r][c]) > kTolerance * (1.0f + std::fabs(converted.m[r][c])))
        return false;
  return true;
}

}  // namespace tsimport

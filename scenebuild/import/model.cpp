#include "scenebuild/import/model.h"

#include <cmath>

namespace tsimport {

ts3d::vect3 Conversion::mirrored(float x, float y, float z) const {
  // Z up, right-handed, to Y up, left-handed is a swap of y and z; Y up needs z negated.
  return up == UpAxis::Z ? ts3d::vect3(x, z, y) : ts3d::vect3(x, y, -z);
}

ts3d::vect3 Conversion::position(float x, float y, float z) const { return mirrored(x, y, z) * factor; }

ts3d::vect3 Conversion::direction(float x, float y, float z) const { return mirrored(x, y, z); }

ts3d::vect3 Conversion::scaleFactors(float x, float y, float z) const {
  return up == UpAxis::Z ? ts3d::vect3(x, z, y) : ts3d::vect3(x, y, z);
}

ts3d::quat Conversion::rotation(float x, float y, float z, float w) const {
  // A mirror M turns a rotation about axis a into one about M a the other way round:
  // the vector part becomes -M v, the scalar stays.
  ts3d::vect3 axis = mirrored(x, y, z);
  return ts3d::quat(-axis.x, -axis.y, -axis.z, w);
}

ts3d::matrix Conversion::matrix(const float columnMajor[16]) const {
  // The file's column-vector matrix A (A[r][c] = columnMajor[c * 4 + r]) becomes M A M; as a
  // row-vector matrix that is its transpose, so out[r][c] = (M A M)[c][r].
  ts3d::vect3 axes[3] = {mirrored(1, 0, 0), mirrored(0, 1, 0), mirrored(0, 0, 1)};
  float mirror[4][4] = {};
  for (int c = 0; c < 3; ++c) {
    mirror[0][c] = axes[c].x;
    mirror[1][c] = axes[c].y;
    mirror[2][c] = axes[c].z;
  }
  mirror[3][3] = 1.0f;
  float a[4][4];
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) a[r][c] = columnMajor[c * 4 + r];
  float ma[4][4] = {}, mam[4][4] = {};
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      for (int k = 0; k < 4; ++k) ma[r][c] += mirror[r][k] * a[k][c];
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      for (int k = 0; k < 4; ++k) mam[r][c] += ma[r][k] * mirror[k][c];
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

#include "gfxhelper/d3dx9math.h"

#include <cfloat>
#include <cmath>

// The device and the engine read these as plain floats: x, y, z, w and rows of four.
static_assert(sizeof(D3DXVECTOR2) == 8 && sizeof(D3DXVECTOR3) == 12 && sizeof(D3DXVECTOR4) == 16,
              "vectors are plain floats");
static_assert(sizeof(D3DXQUATERNION) == 16 && sizeof(D3DXPLANE) == 16 && sizeof(D3DXCOLOR) == 16,
              "quaternions, planes and colours are four floats");
static_assert(sizeof(D3DXMATRIX) == 64, "a matrix is sixteen floats");

namespace {

// D3DERR_INVALIDCALL: kept here so the platform-free build needs no Direct3D header.
constexpr HRESULT kInvalidCall = static_cast<HRESULT>(0x8876086Cu);
constexpr HRESULT kOk = 0;

// Below this ratio of |det| to the product of the row lengths (1 for orthogonal
// rows) a matrix counts as singular. It only catches rows that are dependent up to
// the rounding of the double expansion; ill-conditioned but genuine transforms,
// such as strongly non-uniform scales under a rotation, still invert.
constexpr double kSingularRatio = 1e-14;

float clampUnit(float value) { return value > 1.0f ? 1.0f : (value < -1.0f ? -1.0f : value); }

unsigned int packChannel(float value) {
  if (value >= 1.0f) {
    return 255u;
  }
  if (value > 0.0f) {  // also sends NaN to 0, where a cast would be undefined
    return static_cast<unsigned int>(value * 255.0f + 0.5f);
  }
  return 0u;
}

// Determinant and, on request, the adjugate of a row-major 4x4, by Laplace
// expansion over the 2x2 minors of rows 0-1 and rows 2-3. Doubles hold the products
// of two floats exactly, so exactly dependent rows give a determinant of (nearly) 0.
double expand4x4(const D3DXMATRIX& matrix, double* adjugate) {
  double a[16];
  for (int i = 0; i < 16; ++i) {
    a[i] = static_cast<double>(matrix.m[i / 4][i % 4]);
  }
  // Minors of rows 0 and 1, columns (0,1) (0,2) (0,3) (1,2) (1,3) (2,3).
  const double s0 = a[0] * a[5] - a[1] * a[4];
  const double s1 = a[0] * a[6] - a[2] * a[4];
  const double s2 = a[0] * a[7] - a[3] * a[4];
  const double s3 = a[1] * a[6] - a[2] * a[5];
  const double s4 = a[1] * a[7] - a[3] * a[5];
  const double s5 = a[2] * a[7] - a[3] * a[6];
  // Minors of rows 2 and 3, same column pairs.
  const double c0 = a[8] * a[13] - a[9] * a[12];
  const double c1 = a[8] * a[14] - a[10] * a[12];
  const double c2 = a[8] * a[15] - a[11] * a[12];
  const double c3 = a[9] * a[14] - a[10] * a[13];
  const double c4 = a[9] * a[15] - a[11] * a[13];
  const double c5 = a[10] * a[15] - a[11] * a[14];

  const double det = s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
  if (adjugate == nullptr) {
    return det;
  }
  // adjugate[r][c] is the cofactor of element (c, r).
  adjugate[0] = a[5] * c5 - a[6] * c4 + a[7] * c3;
  adjugate[1] = -a[1] * c5 + a[2] * c4 - a[3] * c3;
  adjugate[2] = a[13] * s5 - a[14] * s4 + a[15] * s3;
  adjugate[3] = -a[9] * s5 + a[10] * s4 - a[11] * s3;
  adjugate[4] = -a[4] * c5 + a[6] * c2 - a[7] * c1;
  adjugate[5] = a[0] * c5 - a[2] * c2 + a[3] * c1;
  adjugate[6] = -a[12] * s5 + a[14] * s2 - a[15] * s1;
  adjugate[7] = a[8] * s5 - a[10] * s2 + a[11] * s1;
  adjugate[8] = a[4] * c4 - a[5] * c2 + a[7] * c0;
  adjugate[9] = -a[0] * c4 + a[1] * c2 - a[3] * c0;
  adjugate[10] = a[12] * s4 - a[13] * s2 + a[15] * s0;
  adjugate[11] = -a[8] * s4 + a[9] * s2 - a[11] * s0;
  adjugate[12] = -a[4] * c3 + a[5] * c1 - a[6] * c0;
  adjugate[13] = a[0] * c3 - a[1] * c1 + a[2] * c0;
  adjugate[14] = -a[12] * s3 + a[13] * s1 - a[14] * s0;
  adjugate[15] = a[8] * s3 - a[9] * s1 + a[10] * s0;
  return det;
}

// Shared by the view matrices: the axes as columns, the eye moved to the origin.
D3DXMATRIX* viewFromAxes(D3DXMATRIX* out, const D3DXVECTOR3& xAxis, const D3DXVECTOR3& yAxis,
                         const D3DXVECTOR3& zAxis, const D3DXVECTOR3& eye) {
  *out = D3DXMATRIX(xAxis.x, yAxis.x, zAxis.x, 0.0f,
                    xAxis.y, yAxis.y, zAxis.y, 0.0f,
                    xAxis.z, yAxis.z, zAxis.z, 0.0f,
                    -D3DXVec3Dot(&xAxis, &eye), -D3DXVec3Dot(&yAxis, &eye), -D3DXVec3Dot(&zAxis, &eye), 1.0f);
  return out;
}

}  // namespace

// ---- Type operators ----------------------------------------------------------------

D3DXVECTOR2& D3DXVECTOR2::operator+=(const D3DXVECTOR2& v) { return *this = *this + v; }
D3DXVECTOR2& D3DXVECTOR2::operator-=(const D3DXVECTOR2& v) { return *this = *this - v; }
D3DXVECTOR2& D3DXVECTOR2::operator*=(float s) { return *this = *this * s; }
D3DXVECTOR2& D3DXVECTOR2::operator/=(float s) { return *this = *this / s; }
D3DXVECTOR2 D3DXVECTOR2::operator/(float s) const { return D3DXVECTOR2(x / s, y / s); }

D3DXVECTOR3& D3DXVECTOR3::operator+=(const D3DXVECTOR3& v) { return *this = *this + v; }
D3DXVECTOR3& D3DXVECTOR3::operator-=(const D3DXVECTOR3& v) { return *this = *this - v; }
D3DXVECTOR3& D3DXVECTOR3::operator*=(float s) { return *this = *this * s; }
D3DXVECTOR3& D3DXVECTOR3::operator/=(float s) { return *this = *this / s; }
D3DXVECTOR3 D3DXVECTOR3::operator/(float s) const { return D3DXVECTOR3(x / s, y / s, z / s); }

D3DXVECTOR4& D3DXVECTOR4::operator+=(const D3DXVECTOR4& v) { return *this = *this + v; }
D3DXVECTOR4& D3DXVECTOR4::operator-=(const D3DXVECTOR4& v) { return *this = *this - v; }
D3DXVECTOR4& D3DXVECTOR4::operator*=(float s) { return *this = *this * s; }
D3DXVECTOR4& D3DXVECTOR4::operator/=(float s) { return *this = *this / s; }
D3DXVECTOR4 D3DXVECTOR4::operator/(float s) const { return D3DXVECTOR4(x / s, y / s, z / s, w / s); }

D3DXMATRIX::D3DXMATRIX(const float* values) : D3DMATRIX() {
  for (int i = 0; i < 16; ++i) {
    m[i / 4][i % 4] = values[i];
  }
}

D3DXMATRIX::D3DXMATRIX(float f11, float f12, float f13, float f14,
                       float f21, float f22, float f23, float f24,
                       float f31, float f32, float f33, float f34,
                       float f41, float f42, float f43, float f44)
    : D3DMATRIX() {
  m[0][0] = f11; m[0][1] = f12; m[0][2] = f13; m[0][3] = f14;
  m[1][0] = f21; m[1][1] = f22; m[1][2] = f23; m[1][3] = f24;
  m[2][0] = f31; m[2][1] = f32; m[2][2] = f33; m[2][3] = f34;
  m[3][0] = f41; m[3][1] = f42; m[3][2] = f43; m[3][3] = f44;
}

D3DXMATRIX& D3DXMATRIX::operator*=(const D3DXMATRIX& other) {
  D3DXMatrixMultiply(this, this, &other);
  return *this;
}

D3DXMATRIX& D3DXMATRIX::operator+=(const D3DXMATRIX& other) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      m[r][c] += other.m[r][c];
    }
  }
  return *this;
}

D3DXMATRIX& D3DXMATRIX::operator-=(const D3DXMATRIX& other) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      m[r][c] -= other.m[r][c];
    }
  }
  return *this;
}

D3DXMATRIX& D3DXMATRIX::operator*=(float s) {
  for (auto& row : m) {
    for (float& value : row) {
      value *= s;
    }
  }
  return *this;
}

D3DXMATRIX& D3DXMATRIX::operator/=(float s) {
  for (auto& row : m) {
    for (float& value : row) {
      value /= s;
    }
  }
  return *this;
}

D3DXMATRIX D3DXMATRIX::operator-() const { return *this * -1.0f; }

D3DXMATRIX D3DXMATRIX::operator*(const D3DXMATRIX& other) const {
  D3DXMATRIX result;
  D3DXMatrixMultiply(&result, this, &other);
  return result;
}

D3DXMATRIX D3DXMATRIX::operator+(const D3DXMATRIX& other) const { return D3DXMATRIX(*this) += other; }
D3DXMATRIX D3DXMATRIX::operator-(const D3DXMATRIX& other) const { return D3DXMATRIX(*this) -= other; }
D3DXMATRIX D3DXMATRIX::operator*(float s) const { return D3DXMATRIX(*this) *= s; }
D3DXMATRIX D3DXMATRIX::operator/(float s) const { return D3DXMATRIX(*this) /= s; }

bool D3DXMATRIX::operator==(const D3DXMATRIX& other) const {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      if (m[r][c] != other.m[r][c]) {
        return false;
      }
    }
  }
  return true;
}

D3DXQUATERNION& D3DXQUATERNION::operator+=(const D3DXQUATERNION& q) { return *this = *this + q; }
D3DXQUATERNION& D3DXQUATERNION::operator-=(const D3DXQUATERNION& q) { return *this = *this - q; }
D3DXQUATERNION& D3DXQUATERNION::operator*=(const D3DXQUATERNION& q) {
  D3DXQuaternionMultiply(this, this, &q);
  return *this;
}
D3DXQUATERNION& D3DXQUATERNION::operator*=(float s) { return *this = *this * s; }
D3DXQUATERNION& D3DXQUATERNION::operator/=(float s) { return *this = *this / s; }
D3DXQUATERNION D3DXQUATERNION::operator*(const D3DXQUATERNION& q) const {
  D3DXQUATERNION result;
  D3DXQuaternionMultiply(&result, this, &q);
  return result;
}
D3DXQUATERNION D3DXQUATERNION::operator/(float s) const { return D3DXQUATERNION(x / s, y / s, z / s, w / s); }

D3DXPLANE& D3DXPLANE::operator*=(float s) { return *this = *this * s; }
D3DXPLANE& D3DXPLANE::operator/=(float s) { return *this = *this / s; }
D3DXPLANE D3DXPLANE::operator/(float s) const { return D3DXPLANE(a / s, b / s, c / s, d / s); }

D3DXCOLOR::D3DXCOLOR(D3DCOLOR argb)
    : D3DCOLORVALUE{static_cast<float>((argb >> 16) & 0xffu) / 255.0f,
                    static_cast<float>((argb >> 8) & 0xffu) / 255.0f,
                    static_cast<float>(argb & 0xffu) / 255.0f,
                    static_cast<float>((argb >> 24) & 0xffu) / 255.0f} {}

D3DXCOLOR::operator D3DCOLOR() const {
  return static_cast<D3DCOLOR>((packChannel(a) << 24) | (packChannel(r) << 16) | (packChannel(g) << 8) |
                               packChannel(b));
}

D3DXCOLOR& D3DXCOLOR::operator+=(const D3DXCOLOR& other) { return *this = *this + other; }
D3DXCOLOR& D3DXCOLOR::operator-=(const D3DXCOLOR& other) { return *this = *this - other; }
D3DXCOLOR& D3DXCOLOR::operator*=(float s) { return *this = *this * s; }
D3DXCOLOR& D3DXCOLOR::operator/=(float s) { return *this = *this / s; }
D3DXCOLOR D3DXCOLOR::operator/(float s) const { return D3DXCOLOR(r / s, g / s, b / s, a / s); }

// ---- 2D vectors --------------------------------------------------------------------

float D3DXVec2Length(const D3DXVECTOR2* v) { return std::sqrt(D3DXVec2LengthSq(v)); }
float D3DXVec2LengthSq(const D3DXVECTOR2* v) { return v->x * v->x + v->y * v->y; }
float D3DXVec2Dot(const D3DXVECTOR2* v1, const D3DXVECTOR2* v2) { return v1->x * v2->x + v1->y * v2->y; }
float D3DXVec2CCW(const D3DXVECTOR2* v1, const D3DXVECTOR2* v2) { return v1->x * v2->y - v1->y * v2->x; }

D3DXVECTOR2* D3DXVec2Add(D3DXVECTOR2* out, const D3DXVECTOR2* v1, const D3DXVECTOR2* v2) {
  *out = *v1 + *v2;
  return out;
}

D3DXVECTOR2* D3DXVec2Subtract(D3DXVECTOR2* out, const D3DXVECTOR2* v1, const D3DXVECTOR2* v2) {
  *out = *v1 - *v2;
  return out;
}

D3DXVECTOR2* D3DXVec2Scale(D3DXVECTOR2* out, const D3DXVECTOR2* v, float s) {
  *out = *v * s;
  return out;
}

D3DXVECTOR2* D3DXVec2Lerp(D3DXVECTOR2* out, const D3DXVECTOR2* v1, const D3DXVECTOR2* v2, float s) {
  *out = D3DXVECTOR2(v1->x + s * (v2->x - v1->x), v1->y + s * (v2->y - v1->y));
  return out;
}

D3DXVECTOR2* D3DXVec2Minimize(D3DXVECTOR2* out, const D3DXVECTOR2* v1, const D3DXVECTOR2* v2) {
  *out = D3DXVECTOR2(v1->x < v2->x ? v1->x : v2->x, v1->y < v2->y ? v1->y : v2->y);
  return out;
}

D3DXVECTOR2* D3DXVec2Maximize(D3DXVECTOR2* out, const D3DXVECTOR2* v1, const D3DXVECTOR2* v2) {
  *out = D3DXVECTOR2(v1->x > v2->x ? v1->x : v2->x, v1->y > v2->y ? v1->y : v2->y);
  return out;
}

D3DXVECTOR2* D3DXVec2Normalize(D3DXVECTOR2* out, const D3DXVECTOR2* v) {
  const float length = D3DXVec2Length(v);
  *out = length > 0.0f ? *v / length : D3DXVECTOR2();
  return out;
}

// ---- 3D vectors --------------------------------------------------------------------

float D3DXVec3Length(const D3DXVECTOR3* v) { return std::sqrt(D3DXVec3LengthSq(v)); }
float D3DXVec3LengthSq(const D3DXVECTOR3* v) { return v->x * v->x + v->y * v->y + v->z * v->z; }
float D3DXVec3Dot(const D3DXVECTOR3* v1, const D3DXVECTOR3* v2) {
  return v1->x * v2->x + v1->y * v2->y + v1->z * v2->z;
}

D3DXVECTOR3* D3DXVec3Cross(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2) {
  *out = D3DXVECTOR3(v1->y * v2->z - v1->z * v2->y,
                     v1->z * v2->x - v1->x * v2->z,
                     v1->x * v2->y - v1->y * v2->x);
  return out;
}

D3DXVECTOR3* D3DXVec3Add(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2) {
  *out = *v1 + *v2;
  return out;
}

D3DXVECTOR3* D3DXVec3Subtract(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2) {
  *out = *v1 - *v2;
  return out;
}

D3DXVECTOR3* D3DXVec3Scale(D3DXVECTOR3* out, const D3DXVECTOR3* v, float s) {
  *out = *v * s;
  return out;
}

D3DXVECTOR3* D3DXVec3Lerp(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2, float s) {
  *out = D3DXVECTOR3(v1->x + s * (v2->x - v1->x), v1->y + s * (v2->y - v1->y), v1->z + s * (v2->z - v1->z));
  return out;
}

D3DXVECTOR3* D3DXVec3Minimize(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2) {
  *out = D3DXVECTOR3(v1->x < v2->x ? v1->x : v2->x, v1->y < v2->y ? v1->y : v2->y, v1->z < v2->z ? v1->z : v2->z);
  return out;
}

D3DXVECTOR3* D3DXVec3Maximize(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2) {
  *out = D3DXVECTOR3(v1->x > v2->x ? v1->x : v2->x, v1->y > v2->y ? v1->y : v2->y, v1->z > v2->z ? v1->z : v2->z);
  return out;
}

D3DXVECTOR3* D3DXVec3Normalize(D3DXVECTOR3* out, const D3DXVECTOR3* v) {
  const float length = D3DXVec3Length(v);
  *out = length > 0.0f ? *v / length : D3DXVECTOR3();
  return out;
}

D3DXVECTOR4* D3DXVec3Transform(D3DXVECTOR4* out, const D3DXVECTOR3* v, const D3DXMATRIX* m) {
  const D3DXVECTOR4 point(*v, 1.0f);
  return D3DXVec4Transform(out, &point, m);
}

D3DXVECTOR3* D3DXVec3TransformCoord(D3DXVECTOR3* out, const D3DXVECTOR3* v, const D3DXMATRIX* m) {
  D3DXVECTOR4 h;
  D3DXVec3Transform(&h, v, m);
  *out = D3DXVECTOR3(h.x / h.w, h.y / h.w, h.z / h.w);
  return out;
}

D3DXVECTOR3* D3DXVec3TransformNormal(D3DXVECTOR3* out, const D3DXVECTOR3* v, const D3DXMATRIX* m) {
  const D3DXVECTOR3 n = *v;
  *out = D3DXVECTOR3(n.x * m->m[0][0] + n.y * m->m[1][0] + n.z * m->m[2][0],
                     n.x * m->m[0][1] + n.y * m->m[1][1] + n.z * m->m[2][1],
                     n.x * m->m[0][2] + n.y * m->m[1][2] + n.z * m->m[2][2]);
  return out;
}

// ---- 4D vectors --------------------------------------------------------------------

float D3DXVec4Length(const D3DXVECTOR4* v) { return std::sqrt(D3DXVec4LengthSq(v)); }
float D3DXVec4LengthSq(const D3DXVECTOR4* v) { return D3DXVec4Dot(v, v); }
float D3DXVec4Dot(const D3DXVECTOR4* v1, const D3DXVECTOR4* v2) {
  return v1->x * v2->x + v1->y * v2->y + v1->z * v2->z + v1->w * v2->w;
}

D3DXVECTOR4* D3DXVec4Add(D3DXVECTOR4* out, const D3DXVECTOR4* v1, const D3DXVECTOR4* v2) {
  *out = *v1 + *v2;
  return out;
}

D3DXVECTOR4* D3DXVec4Subtract(D3DXVECTOR4* out, const D3DXVECTOR4* v1, const D3DXVECTOR4* v2) {
  *out = *v1 - *v2;
  return out;
}

D3DXVECTOR4* D3DXVec4Scale(D3DXVECTOR4* out, const D3DXVECTOR4* v, float s) {
  *out = *v * s;
  return out;
}

D3DXVECTOR4* D3DXVec4Lerp(D3DXVECTOR4* out, const D3DXVECTOR4* v1, const D3DXVECTOR4* v2, float s) {
  *out = *v1 + (*v2 - *v1) * s;
  return out;
}

D3DXVECTOR4* D3DXVec4Normalize(D3DXVECTOR4* out, const D3DXVECTOR4* v) {
  const float length = D3DXVec4Length(v);
  *out = length > 0.0f ? *v / length : D3DXVECTOR4();
  return out;
}

D3DXVECTOR4* D3DXVec4Transform(D3DXVECTOR4* out, const D3DXVECTOR4* v, const D3DXMATRIX* m) {
  const D3DXVECTOR4 p = *v;
  float result[4];
  for (int c = 0; c < 4; ++c) {
    result[c] = p.x * m->m[0][c] + p.y * m->m[1][c] + p.z * m->m[2][c] + p.w * m->m[3][c];
  }
  *out = D3DXVECTOR4(result);
  return out;
}

// ---- Matrices ----------------------------------------------------------------------

D3DXMATRIX* D3DXMatrixIdentity(D3DXMATRIX* out) {
  *out = D3DXMATRIX(1.0f, 0.0f, 0.0f, 0.0f,
                    0.0f, 1.0f, 0.0f, 0.0f,
                    0.0f, 0.0f, 1.0f, 0.0f,
                    0.0f, 0.0f, 0.0f, 1.0f);
  return out;
}

bool D3DXMatrixIsIdentity(const D3DXMATRIX* m) {
  D3DXMATRIX identity;
  return *m == *D3DXMatrixIdentity(&identity);
}

float D3DXMatrixDeterminant(const D3DXMATRIX* m) { return static_cast<float>(expand4x4(*m, nullptr)); }

D3DXMATRIX* D3DXMatrixMultiply(D3DXMATRIX* out, const D3DXMATRIX* a, const D3DXMATRIX* b) {
  D3DXMATRIX result;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      result.m[r][c] = a->m[r][0] * b->m[0][c] + a->m[r][1] * b->m[1][c] + a->m[r][2] * b->m[2][c] +
                       a->m[r][3] * b->m[3][c];
    }
  }
  *out = result;
  return out;
}

D3DXMATRIX* D3DXMatrixTranspose(D3DXMATRIX* out, const D3DXMATRIX* m) {
  D3DXMATRIX result;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      result.m[r][c] = m->m[c][r];
    }
  }
  *out = result;
  return out;
}

D3DXMATRIX* D3DXMatrixInverse(D3DXMATRIX* out, float* determinant, const D3DXMATRIX* m) {
  double adjugate[16];
  const double det = expand4x4(*m, adjugate);
  if (determinant != nullptr) {
    *determinant = static_cast<float>(det);
  }

  double rowLengths = 1.0;
  for (const auto& row : m->m) {
    double lengthSq = 0.0;
    for (const float value : row) {
      lengthSq += static_cast<double>(value) * static_cast<double>(value);
    }
    rowLengths *= std::sqrt(lengthSq);
  }
  if (!std::isfinite(det) || !(std::fabs(det) > kSingularRatio * rowLengths)) {
    return nullptr;
  }

  const double scale = 1.0 / det;
  for (int i = 0; i < 16; ++i) {
    out->m[i / 4][i % 4] = static_cast<float>(adjugate[i] * scale);
  }
  return out;
}

HRESULT D3DXMatrixDecompose(D3DXVECTOR3* outScale, D3DXQUATERNION* outRotation, D3DXVECTOR3* outTranslation,
                            const D3DXMATRIX* m) {
  D3DXVECTOR3 rows[3] = {D3DXVECTOR3(m->m[0]), D3DXVECTOR3(m->m[1]), D3DXVECTOR3(m->m[2])};
  const D3DXVECTOR3 translation(m->m[3]);
  D3DXVECTOR3 scale(D3DXVec3Length(&rows[0]), D3DXVec3Length(&rows[1]), D3DXVec3Length(&rows[2]));

  // A negative determinant is a mirror: put it into the x scale so that what is left
  // is a proper rotation.
  D3DXVECTOR3 cross;
  D3DXVec3Cross(&cross, &rows[1], &rows[2]);
  if (D3DXVec3Dot(&rows[0], &cross) < 0.0f) {
    scale.x = -scale.x;
  }

  *outScale = scale;
  *outTranslation = translation;
  if (scale.x == 0.0f || scale.y == 0.0f || scale.z == 0.0f) {
    return kInvalidCall;
  }

  D3DXMATRIX rotation;
  D3DXMatrixIdentity(&rotation);
  for (int r = 0; r < 3; ++r) {
    const float s = r == 0 ? scale.x : (r == 1 ? scale.y : scale.z);
    for (int c = 0; c < 3; ++c) {
      rotation.m[r][c] = rows[r][c] / s;
    }
  }
  D3DXQuaternionRotationMatrix(outRotation, &rotation);
  return kOk;
}

D3DXMATRIX* D3DXMatrixScaling(D3DXMATRIX* out, float sx, float sy, float sz) {
  D3DXMatrixIdentity(out);
  out->m[0][0] = sx;
  out->m[1][1] = sy;
  out->m[2][2] = sz;
  return out;
}

D3DXMATRIX* D3DXMatrixTranslation(D3DXMATRIX* out, float x, float y, float z) {
  D3DXMatrixIdentity(out);
  out->m[3][0] = x;
  out->m[3][1] = y;
  out->m[3][2] = z;
  return out;
}

D3DXMATRIX* D3DXMatrixRotationX(D3DXMATRIX* out, float angle) {
  const float c = std::cos(angle);
  const float s = std::sin(angle);
  *out = D3DXMATRIX(1.0f, 0.0f, 0.0f, 0.0f,
                    0.0f, c, s, 0.0f,
                    0.0f, -s, c, 0.0f,
                    0.0f, 0.0f, 0.0f, 1.0f);
  return out;
}

D3DXMATRIX* D3DXMatrixRotationY(D3DXMATRIX* out, float angle) {
  const float c = std::cos(angle);
  const float s = std::sin(angle);
  *out = D3DXMATRIX(c, 0.0f, -s, 0.0f,
                    0.0f, 1.0f, 0.0f, 0.0f,
                    s, 0.0f, c, 0.0f,
                    0.0f, 0.0f, 0.0f, 1.0f);
  return out;
}

D3DXMATRIX* D3DXMatrixRotationZ(D3DXMATRIX* out, float angle) {
  const float c = std::cos(angle);
  const float s = std::sin(angle);
  *out = D3DXMATRIX(c, s, 0.0f, 0.0f,
                    -s, c, 0.0f, 0.0f,
                    0.0f, 0.0f, 1.0f, 0.0f,
                    0.0f, 0.0f, 0.0f, 1.0f);
  return out;
}

D3DXMATRIX* D3DXMatrixRotationAxis(D3DXMATRIX* out, const D3DXVECTOR3* axis, float angle) {
  D3DXVECTOR3 n;
  D3DXVec3Normalize(&n, axis);
  const float c = std::cos(angle);
  const float s = std::sin(angle);
  const float t = 1.0f - c;
  // Rodrigues' rotation, transposed for row vectors.
  *out = D3DXMATRIX(t * n.x * n.x + c, t * n.x * n.y + s * n.z, t * n.x * n.z - s * n.y, 0.0f,
                    t * n.x * n.y - s * n.z, t * n.y * n.y + c, t * n.y * n.z + s * n.x, 0.0f,
                    t * n.x * n.z + s * n.y, t * n.y * n.z - s * n.x, t * n.z * n.z + c, 0.0f,
                    0.0f, 0.0f, 0.0f, 1.0f);
  return out;
}

D3DXMATRIX* D3DXMatrixRotationQuaternion(D3DXMATRIX* out, const D3DXQUATERNION* q) {
  const float x = q->x, y = q->y, z = q->z, w = q->w;
  *out = D3DXMATRIX(1.0f - 2.0f * (y * y + z * z), 2.0f * (x * y + z * w), 2.0f * (x * z - y * w), 0.0f,
                    2.0f * (x * y - z * w), 1.0f - 2.0f * (x * x + z * z), 2.0f * (y * z + x * w), 0.0f,
                    2.0f * (x * z + y * w), 2.0f * (y * z - x * w), 1.0f - 2.0f * (x * x + y * y), 0.0f,
                    0.0f, 0.0f, 0.0f, 1.0f);
  return out;
}

D3DXMATRIX* D3DXMatrixRotationYawPitchRoll(D3DXMATRIX* out, float yaw, float pitch, float roll) {
  const float cy = std::cos(yaw), sy = std::sin(yaw);
  const float cp = std::cos(pitch), sp = std::sin(pitch);
  const float cr = std::cos(roll), sr = std::sin(roll);
  // RotationZ(roll) * RotationX(pitch) * RotationY(yaw), multiplied out.
  *out = D3DXMATRIX(cr * cy + sr * sp * sy, sr * cp, sr * sp * cy - cr * sy, 0.0f,
                    cr * sp * sy - sr * cy, cr * cp, sr * sy + cr * sp * cy, 0.0f,
                    cp * sy, -sp, cp * cy, 0.0f,
                    0.0f, 0.0f, 0.0f, 1.0f);
  return out;
}

D3DXMATRIX* D3DXMatrixLookAtRH(D3DXMATRIX* out, const D3DXVECTOR3* eye, const D3DXVECTOR3* at,
                               const D3DXVECTOR3* up) {
  D3DXVECTOR3 xAxis, yAxis, zAxis;
  const D3DXVECTOR3 back = *eye - *at;  // the camera looks along its -Z
  D3DXVec3Normalize(&zAxis, &back);
  D3DXVec3Cross(&xAxis, up, &zAxis);
  D3DXVec3Normalize(&xAxis, &xAxis);
  D3DXVec3Cross(&yAxis, &zAxis, &xAxis);
  return viewFromAxes(out, xAxis, yAxis, zAxis, *eye);
}

D3DXMATRIX* D3DXMatrixLookAtLH(D3DXMATRIX* out, const D3DXVECTOR3* eye, const D3DXVECTOR3* at,
                               const D3DXVECTOR3* up) {
  D3DXVECTOR3 xAxis, yAxis, zAxis;
  const D3DXVECTOR3 forward = *at - *eye;
  D3DXVec3Normalize(&zAxis, &forward);
  D3DXVec3Cross(&xAxis, up, &zAxis);
  D3DXVec3Normalize(&xAxis, &xAxis);
  D3DXVec3Cross(&yAxis, &zAxis, &xAxis);
  return viewFromAxes(out, xAxis, yAxis, zAxis, *eye);
}

D3DXMATRIX* D3DXMatrixPerspectiveFovRH(D3DXMATRIX* out, float fovY, float aspect, float zNear, float zFar) {
  const float yScale = 1.0f / std::tan(fovY * 0.5f);
  const float xScale = yScale / aspect;
  const float depth = zFar / (zNear - zFar);
  *out = D3DXMATRIX(xScale, 0.0f, 0.0f, 0.0f,
                    0.0f, yScale, 0.0f, 0.0f,
                    0.0f, 0.0f, depth, -1.0f,
                    0.0f, 0.0f, zNear * depth, 0.0f);
  return out;
}

D3DXMATRIX* D3DXMatrixPerspectiveFovLH(D3DXMATRIX* out, float fovY, float aspect, float zNear, float zFar) {
  const float yScale = 1.0f / std::tan(fovY * 0.5f);
  const float xScale = yScale / aspect;
  const float depth = zFar / (zFar - zNear);
  *out = D3DXMATRIX(xScale, 0.0f, 0.0f, 0.0f,
                    0.0f, yScale, 0.0f, 0.0f,
                    0.0f, 0.0f, depth, 1.0f,
                    0.0f, 0.0f, -zNear * depth, 0.0f);
  return out;
}

D3DXMATRIX* D3DXMatrixOrthoRH(D3DXMATRIX* out, float width, float height, float zNear, float zFar) {
  const float halfWidth = width * 0.5f;
  const float halfHeight = height * 0.5f;
  return D3DXMatrixOrthoOffCenterRH(out, -halfWidth, halfWidth, -halfHeight, halfHeight, zNear, zFar);
}

D3DXMATRIX* D3DXMatrixOrthoOffCenterRH(D3DXMATRIX* out, float left, float right, float bottom, float top,
                                       float zNear, float zFar) {
  const float depth = 1.0f / (zNear - zFar);
  *out = D3DXMATRIX(2.0f / (right - left), 0.0f, 0.0f, 0.0f,
                    0.0f, 2.0f / (top - bottom), 0.0f, 0.0f,
                    0.0f, 0.0f, depth, 0.0f,
                    (left + right) / (left - right), (top + bottom) / (bottom - top), zNear * depth, 1.0f);
  return out;
}

D3DXMATRIX* D3DXMatrixReflect(D3DXMATRIX* out, const D3DXPLANE* plane) {
  D3DXPLANE p;
  D3DXPlaneNormalize(&p, plane);
  // x' = x - 2 (n.x + d) n, written for row vectors.
  *out = D3DXMATRIX(1.0f - 2.0f * p.a * p.a, -2.0f * p.a * p.b, -2.0f * p.a * p.c, 0.0f,
                    -2.0f * p.b * p.a, 1.0f - 2.0f * p.b * p.b, -2.0f * p.b * p.c, 0.0f,
                    -2.0f * p.c * p.a, -2.0f * p.c * p.b, 1.0f - 2.0f * p.c * p.c, 0.0f,
                    -2.0f * p.d * p.a, -2.0f * p.d * p.b, -2.0f * p.d * p.c, 1.0f);
  return out;
}

// ---- Quaternions -------------------------------------------------------------------

D3DXQUATERNION* D3DXQuaternionIdentity(D3DXQUATERNION* out) {
  *out = D3DXQUATERNION(0.0f, 0.0f, 0.0f, 1.0f);
  return out;
}

bool D3DXQuaternionIsIdentity(const D3DXQUATERNION* q) {
  return *q == D3DXQUATERNION(0.0f, 0.0f, 0.0f, 1.0f);
}

float D3DXQuaternionDot(const D3DXQUATERNION* q1, const D3DXQUATERNION* q2) {
  return q1->x * q2->x + q1->y * q2->y + q1->z * q2->z + q1->w * q2->w;
}

float D3DXQuaternionLength(const D3DXQUATERNION* q) { return std::sqrt(D3DXQuaternionLengthSq(q)); }
float D3DXQuaternionLengthSq(const D3DXQUATERNION* q) { return D3DXQuaternionDot(q, q); }

D3DXQUATERNION* D3DXQuaternionConjugate(D3DXQUATERNION* out, const D3DXQUATERNION* q) {
  *out = D3DXQUATERNION(-q->x, -q->y, -q->z, q->w);
  return out;
}

D3DXQUATERNION* D3DXQuaternionNormalize(D3DXQUATERNION* out, const D3DXQUATERNION* q) {
  const float length = D3DXQuaternionLength(q);
  *out = length > 0.0f ? *q / length : D3DXQUATERNION();
  return out;
}

D3DXQUATERNION* D3DXQuaternionInverse(D3DXQUATERNION* out, const D3DXQUATERNION* q) {
  const float lengthSq = D3DXQuaternionLengthSq(q);
  if (!(lengthSq > 0.0f)) {
    *out = D3DXQUATERNION();
    return out;
  }
  D3DXQuaternionConjugate(out, q);
  *out /= lengthSq;
  return out;
}

D3DXQUATERNION* D3DXQuaternionMultiply(D3DXQUATERNION* out, const D3DXQUATERNION* q1, const D3DXQUATERNION* q2) {
  // Hamilton product p q with p = q2, q = q1: q1's rotation acts first.
  const D3DXQUATERNION p = *q2;
  const D3DXQUATERNION q = *q1;
  *out = D3DXQUATERNION(p.w * q.x + q.w * p.x + (p.y * q.z - p.z * q.y),
                        p.w * q.y + q.w * p.y + (p.z * q.x - p.x * q.z),
                        p.w * q.z + q.w * p.z + (p.x * q.y - p.y * q.x),
                        p.w * q.w - (p.x * q.x + p.y * q.y + p.z * q.z));
  return out;
}

D3DXQUATERNION* D3DXQuaternionRotationAxis(D3DXQUATERNION* out, const D3DXVECTOR3* axis, float angle) {
  D3DXVECTOR3 n;
  D3DXVec3Normalize(&n, axis);
  const float s = std::sin(angle * 0.5f);
  *out = D3DXQUATERNION(n.x * s, n.y * s, n.z * s, std::cos(angle * 0.5f));
  return out;
}

D3DXQUATERNION* D3DXQuaternionRotationMatrix(D3DXQUATERNION* out, const D3DXMATRIX* m) {
  const float m00 = m->m[0][0], m01 = m->m[0][1], m02 = m->m[0][2];
  const float m10 = m->m[1][0], m11 = m->m[1][1], m12 = m->m[1][2];
  const float m20 = m->m[2][0], m21 = m->m[2][1], m22 = m->m[2][2];
  const float trace = m00 + m11 + m22;
  // Solve for the largest component first, so that the divisor stays away from 0.
  if (trace > 0.0f) {
    const float s = 2.0f * std::sqrt(trace + 1.0f);  // 4w
    *out = D3DXQUATERNION((m12 - m21) / s, (m20 - m02) / s, (m01 - m10) / s, 0.25f * s);
  } else if (m00 >= m11 && m00 >= m22) {
    const float s = 2.0f * std::sqrt(1.0f + m00 - m11 - m22);  // 4x
    *out = D3DXQUATERNION(0.25f * s, (m01 + m10) / s, (m02 + m20) / s, (m12 - m21) / s);
  } else if (m11 >= m22) {
    const float s = 2.0f * std::sqrt(1.0f + m11 - m00 - m22);  // 4y
    *out = D3DXQUATERNION((m01 + m10) / s, 0.25f * s, (m12 + m21) / s, (m20 - m02) / s);
  } else {
    const float s = 2.0f * std::sqrt(1.0f + m22 - m00 - m11);  // 4z
    *out = D3DXQUATERNION((m02 + m20) / s, (m12 + m21) / s, 0.25f * s, (m01 - m10) / s);
  }
  return out;
}

D3DXQUATERNION* D3DXQuaternionRotationYawPitchRoll(D3DXQUATERNION* out, float yaw, float pitch, float roll) {
  const float cy = std::cos(yaw * 0.5f), sy = std::sin(yaw * 0.5f);
  const float cp = std::cos(pitch * 0.5f), sp = std::sin(pitch * 0.5f);
  const float cr = std::cos(roll * 0.5f), sr = std::sin(roll * 0.5f);
  // Hamilton product yaw * pitch * roll: roll acts first.
  *out = D3DXQUATERNION(cy * sp * cr + sy * cp * sr,
                        sy * cp * cr - cy * sp * sr,
                        cy * cp * sr - sy * sp * cr,
                        cy * cp * cr + sy * sp * sr);
  return out;
}

D3DXQUATERNION* D3DXQuaternionSlerp(D3DXQUATERNION* out, const D3DXQUATERNION* q1, const D3DXQUATERNION* q2,
                                    float t) {
  float cosine = D3DXQuaternionDot(q1, q2);
  // q2 and -q2 are one rotation; the one on q1's side gives the shorter arc.
  const float sign = cosine < 0.0f ? -1.0f : 1.0f;
  cosine *= sign;

  float weight1 = 1.0f - t;
  float weight2 = t;
  if (1.0f - cosine > FLT_EPSILON) {
    const float angle = std::acos(cosine);
    const float sine = std::sin(angle);
    weight1 = std::sin((1.0f - t) * angle) / sine;
    weight2 = std::sin(t * angle) / sine;
  }
  weight2 *= sign;
  *out = *q1 * weight1 + *q2 * weight2;
  return out;
}

void D3DXQuaternionToAxisAngle(const D3DXQUATERNION* q, D3DXVECTOR3* axis, float* angle) {
  if (axis != nullptr) {
    *axis = D3DXVECTOR3(q->x, q->y, q->z);
  }
  if (angle != nullptr) {
    *angle = 2.0f * std::acos(clampUnit(q->w));
  }
}

// ---- Planes ------------------------------------------------------------------------

float D3DXPlaneDot(const D3DXPLANE* p, const D3DXVECTOR4* v) {
  return p->a * v->x + p->b * v->y + p->c * v->z + p->d * v->w;
}

float D3DXPlaneDotCoord(const D3DXPLANE* p, const D3DXVECTOR3* v) {
  return p->a * v->x + p->b * v->y + p->c * v->z + p->d;
}

float D3DXPlaneDotNormal(const D3DXPLANE* p, const D3DXVECTOR3* v) { return p->a * v->x + p->b * v->y + p->c * v->z; }

D3DXPLANE* D3DXPlaneNormalize(D3DXPLANE* out, const D3DXPLANE* p) {
  const float length = std::sqrt(p->a * p->a + p->b * p->b + p->c * p->c);
  *out = length > 0.0f ? *p / length : D3DXPLANE();
  return out;
}

D3DXPLANE* D3DXPlaneFromPointNormal(D3DXPLANE* out, const D3DXVECTOR3* point, const D3DXVECTOR3* normal) {
  *out = D3DXPLANE(normal->x, normal->y, normal->z, -D3DXVec3Dot(point, normal));
  return out;
}

D3DXPLANE* D3DXPlaneFromPoints(D3DXPLANE* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2, const D3DXVECTOR3* v3) {
  const D3DXVECTOR3 edge1 = *v2 - *v1;
  const D3DXVECTOR3 edge2 = *v3 - *v1;
  const D3DXVECTOR3 point = *v1;
  D3DXVECTOR3 normal;
  D3DXVec3Cross(&normal, &edge1, &edge2);
  D3DXVec3Normalize(&normal, &normal);
  return D3DXPlaneFromPointNormal(out, &point, &normal);
}

D3DXPLANE* D3DXPlaneTransform(D3DXPLANE* out, const D3DXPLANE* p, const D3DXMATRIX* m) {
  const D3DXVECTOR4 coefficients(p->a, p->b, p->c, p->d);
  D3DXVECTOR4 result;
  D3DXVec4Transform(&result, &coefficients, m);
  *out = D3DXPLANE(result.x, result.y, result.z, result.w);
  return out;
}

D3DXVECTOR3* D3DXPlaneIntersectLine(D3DXVECTOR3* out, const D3DXPLANE* p, const D3DXVECTOR3* v1,
                                    const D3DXVECTOR3* v2) {
  const D3DXVECTOR3 start = *v1;
  const D3DXVECTOR3 direction = *v2 - start;
  const float along = D3DXPlaneDotNormal(p, &direction);
  if (along == 0.0f) {
    return nullptr;
  }
  const float t = -D3DXPlaneDotCoord(p, &start) / along;
  *out = start + direction * t;
  return out;
}

// ---- Colours -----------------------------------------------------------------------

D3DXCOLOR* D3DXColorLerp(D3DXCOLOR* out, const D3DXCOLOR* c1, const D3DXCOLOR* c2, float s) {
  *out = *c1 + (*c2 - *c1) * s;
  return out;
}

D3DXCOLOR* D3DXColorModulate(D3DXCOLOR* out, const D3DXCOLOR* c1, const D3DXCOLOR* c2) {
  *out = D3DXCOLOR(c1->r * c2->r, c1->g * c2->g, c1->b * c2->b, c1->a * c2->a);
  return out;
}

D3DXCOLOR* D3DXColorScale(D3DXCOLOR* out, const D3DXCOLOR* c, float s) {
  *out = *c * s;
  return out;
}

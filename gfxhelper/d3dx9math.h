#pragma once

// Vector, matrix, quaternion, plane and colour maths under the public D3DX 9 names.
//
// Conventions: row vectors, so v * A * B applies A first; a matrix is 16 floats row
// by row with the translation in _41, _42, _43. Quaternions are x, y, z, w with the
// identity (0, 0, 0, 1), and D3DXQuaternionMultiply(out, a, b) is "a, then b", the
// order of D3DXMatrixMultiply. Planes are a*x + b*y + c*z + d = 0.
//
// Every function takes the result pointer first and returns it; the result may be
// one of the inputs. Arithmetic is single precision. Default-constructed values are
// all zero.

#include "gfxhelper/d3dtypes.h"

constexpr float D3DX_PI = 3.141592654f;
constexpr float D3DX_1BYPI = 0.318309886f;

constexpr float D3DXToRadian(float degree) { return degree * (D3DX_PI / 180.0f); }
constexpr float D3DXToDegree(float radian) { return radian * (180.0f / D3DX_PI); }

struct D3DXMATRIX;

struct D3DXVECTOR2 {
  float x = 0.0f;
  float y = 0.0f;

  D3DXVECTOR2() = default;
  explicit D3DXVECTOR2(const float* values) : x(values[0]), y(values[1]) {}
  D3DXVECTOR2(float xValue, float yValue) : x(xValue), y(yValue) {}

  operator float*() { return &x; }
  operator const float*() const { return &x; }

  D3DXVECTOR2& operator+=(const D3DXVECTOR2& v);
  D3DXVECTOR2& operator-=(const D3DXVECTOR2& v);
  D3DXVECTOR2& operator*=(float s);
  D3DXVECTOR2& operator/=(float s);

  D3DXVECTOR2 operator+() const { return *this; }
  D3DXVECTOR2 operator-() const { return D3DXVECTOR2(-x, -y); }
  D3DXVECTOR2 operator+(const D3DXVECTOR2& v) const { return D3DXVECTOR2(x + v.x, y + v.y); }
  D3DXVECTOR2 operator-(const D3DXVECTOR2& v) const { return D3DXVECTOR2(x - v.x, y - v.y); }
  D3DXVECTOR2 operator*(float s) const { return D3DXVECTOR2(x * s, y * s); }
  D3DXVECTOR2 operator/(float s) const;
  friend D3DXVECTOR2 operator*(float s, const D3DXVECTOR2& v) { return v * s; }

  bool operator==(const D3DXVECTOR2& v) const { return x == v.x && y == v.y; }
  bool operator!=(const D3DXVECTOR2& v) const { return !(*this == v); }
};

struct D3DXVECTOR3 : public D3DVECTOR {
  D3DXVECTOR3() : D3DVECTOR() {}
  explicit D3DXVECTOR3(const float* values) : D3DVECTOR{values[0], values[1], values[2]} {}
  D3DXVECTOR3(const D3DVECTOR& v) : D3DVECTOR(v) {}
  D3DXVECTOR3(float xValue, float yValue, float zValue) : D3DVECTOR{xValue, yValue, zValue} {}

  operator float*() { return &x; }
  operator const float*() const { return &x; }

  D3DXVECTOR3& operator+=(const D3DXVECTOR3& v);
  D3DXVECTOR3& operator-=(const D3DXVECTOR3& v);
  D3DXVECTOR3& operator*=(float s);
  D3DXVECTOR3& operator/=(float s);

  D3DXVECTOR3 operator+() const { return *this; }
  D3DXVECTOR3 operator-() const { return D3DXVECTOR3(-x, -y, -z); }
  D3DXVECTOR3 operator+(const D3DXVECTOR3& v) const { return D3DXVECTOR3(x + v.x, y + v.y, z + v.z); }
  D3DXVECTOR3 operator-(const D3DXVECTOR3& v) const { return D3DXVECTOR3(x - v.x, y - v.y, z - v.z); }
  D3DXVECTOR3 operator*(float s) const { return D3DXVECTOR3(x * s, y * s, z * s); }
  D3DXVECTOR3 operator/(float s) const;
  friend D3DXVECTOR3 operator*(float s, const D3DXVECTOR3& v) { return v * s; }

  bool operator==(const D3DXVECTOR3& v) const { return x == v.x && y == v.y && z == v.z; }
  bool operator!=(const D3DXVECTOR3& v) const { return !(*this == v); }
};

struct D3DXVECTOR4 {
  float x = 0.0f;
  float y = 0.0f;
  float z = 0.0f;
  float w = 0.0f;

  D3DXVECTOR4() = default;
  explicit D3DXVECTOR4(const float* values) : x(values[0]), y(values[1]), z(values[2]), w(values[3]) {}
  D3DXVECTOR4(const D3DVECTOR& xyz, float wValue) : x(xyz.x), y(xyz.y), z(xyz.z), w(wValue) {}
  D3DXVECTOR4(float xValue, float yValue, float zValue, float wValue)
      : x(xValue), y(yValue), z(zValue), w(wValue) {}

  operator float*() { return &x; }
  operator const float*() const { return &x; }

  D3DXVECTOR4& operator+=(const D3DXVECTOR4& v);
  D3DXVECTOR4& operator-=(const D3DXVECTOR4& v);
  D3DXVECTOR4& operator*=(float s);
  D3DXVECTOR4& operator/=(float s);

  D3DXVECTOR4 operator+() const { return *this; }
  D3DXVECTOR4 operator-() const { return D3DXVECTOR4(-x, -y, -z, -w); }
  D3DXVECTOR4 operator+(const D3DXVECTOR4& v) const { return D3DXVECTOR4(x + v.x, y + v.y, z + v.z, w + v.w); }
  D3DXVECTOR4 operator-(const D3DXVECTOR4& v) const { return D3DXVECTOR4(x - v.x, y - v.y, z - v.z, w - v.w); }
  D3DXVECTOR4 operator*(float s) const { return D3DXVECTOR4(x * s, y * s, z * s, w * s); }
  D3DXVECTOR4 operator/(float s) const;
  friend D3DXVECTOR4 operator*(float s, const D3DXVECTOR4& v) { return v * s; }

  bool operator==(const D3DXVECTOR4& v) const { return x == v.x && y == v.y && z == v.z && w == v.w; }
  bool operator!=(const D3DXVECTOR4& v) const { return !(*this == v); }
};

struct D3DXMATRIX : public D3DMATRIX {
  D3DXMATRIX() : D3DMATRIX() {}
  explicit D3DXMATRIX(const float* values);
  D3DXMATRIX(const D3DMATRIX& matrix) : D3DMATRIX(matrix) {}
  D3DXMATRIX(float f11, float f12, float f13, float f14,
             float f21, float f22, float f23, float f24,
             float f31, float f32, float f33, float f34,
             float f41, float f42, float f43, float f44);

  float& operator()(unsigned int row, unsigned int column) { return m[row][column]; }
  float operator()(unsigned int row, unsigned int column) const { return m[row][column]; }

  operator float*() { return &m[0][0]; }
  operator const float*() const { return &m[0][0]; }

  D3DXMATRIX& operator*=(const D3DXMATRIX& other);
  D3DXMATRIX& operator+=(const D3DXMATRIX& other);
  D3DXMATRIX& operator-=(const D3DXMATRIX& other);
  D3DXMATRIX& operator*=(float s);
  D3DXMATRIX& operator/=(float s);

  D3DXMATRIX operator+() const { return *this; }
  D3DXMATRIX operator-() const;
  D3DXMATRIX operator*(const D3DXMATRIX& other) const;
  D3DXMATRIX operator+(const D3DXMATRIX& other) const;
  D3DXMATRIX operator-(const D3DXMATRIX& other) const;
  D3DXMATRIX operator*(float s) const;
  D3DXMATRIX operator/(float s) const;
  friend D3DXMATRIX operator*(float s, const D3DXMATRIX& matrix) { return matrix * s; }

  bool operator==(const D3DXMATRIX& other) const;
  bool operator!=(const D3DXMATRIX& other) const { return !(*this == other); }
};

struct D3DXQUATERNION {
  float x = 0.0f;
  float y = 0.0f;
  float z = 0.0f;
  float w = 0.0f;

  D3DXQUATERNION() = default;
  explicit D3DXQUATERNION(const float* values) : x(values[0]), y(values[1]), z(values[2]), w(values[3]) {}
  D3DXQUATERNION(float xValue, float yValue, float zValue, float wValue)
      : x(xValue), y(yValue), z(zValue), w(wValue) {}

  operator float*() { return &x; }
  operator const float*() const { return &x; }

  D3DXQUATERNION& operator+=(const D3DXQUATERNION& q);
  D3DXQUATERNION& operator-=(const D3DXQUATERNION& q);
  // This rotation, then q's: as D3DXQuaternionMultiply(out, this, q).
  D3DXQUATERNION& operator*=(const D3DXQUATERNION& q);
  D3DXQUATERNION& operator*=(float s);
  D3DXQUATERNION& operator/=(float s);

  D3DXQUATERNION operator+() const { return *this; }
  D3DXQUATERNION operator-() const { return D3DXQUATERNION(-x, -y, -z, -w); }
  D3DXQUATERNION operator+(const D3DXQUATERNION& q) const { return D3DXQUATERNION(x + q.x, y + q.y, z + q.z, w + q.w); }
  D3DXQUATERNION operator-(const D3DXQUATERNION& q) const { return D3DXQUATERNION(x - q.x, y - q.y, z - q.z, w - q.w); }
  D3DXQUATERNION operator*(const D3DXQUATERNION& q) const;
  D3DXQUATERNION operator*(float s) const { return D3DXQUATERNION(x * s, y * s, z * s, w * s); }
  D3DXQUATERNION operator/(float s) const;
  friend D3DXQUATERNION operator*(float s, const D3DXQUATERNION& q) { return q * s; }

  bool operator==(const D3DXQUATERNION& q) const { return x == q.x && y == q.y && z == q.z && w == q.w; }
  bool operator!=(const D3DXQUATERNION& q) const { return !(*this == q); }
};

struct D3DXPLANE {
  float a = 0.0f;
  float b = 0.0f;
  float c = 0.0f;
  float d = 0.0f;

  D3DXPLANE() = default;
  explicit D3DXPLANE(const float* values) : a(values[0]), b(values[1]), c(values[2]), d(values[3]) {}
  D3DXPLANE(float aValue, float bValue, float cValue, float dValue) : a(aValue), b(bValue), c(cValue), d(dValue) {}

  operator float*() { return &a; }
  operator const float*() const { return &a; }

  D3DXPLANE& operator*=(float s);
  D3DXPLANE& operator/=(float s);

  D3DXPLANE operator+() const { return *this; }
  D3DXPLANE operator-() const { return D3DXPLANE(-a, -b, -c, -d); }
  D3DXPLANE operator*(float s) const { return D3DXPLANE(a * s, b * s, c * s, d * s); }
  D3DXPLANE operator/(float s) const;
  friend D3DXPLANE operator*(float s, const D3DXPLANE& p) { return p * s; }

  bool operator==(const D3DXPLANE& p) const { return a == p.a && b == p.b && c == p.c && d == p.d; }
  bool operator!=(const D3DXPLANE& p) const { return !(*this == p); }
};

// Same layout as D3DCOLORVALUE, and one: it passes wherever a D3DCOLORVALUE is asked.
struct D3DXCOLOR : public D3DCOLORVALUE {
  D3DXCOLOR() : D3DCOLORVALUE() {}
  // From A, R, G, B bytes, each mapped to 0..1.
  D3DXCOLOR(D3DCOLOR argb);
  explicit D3DXCOLOR(const float* values) : D3DCOLORVALUE{values[0], values[1], values[2], values[3]} {}
  D3DXCOLOR(const D3DCOLORVALUE& value) : D3DCOLORVALUE(value) {}
  D3DXCOLOR(float red, float green, float blue, float alpha) : D3DCOLORVALUE{red, green, blue, alpha} {}

  // Packs each channel: 1 or more gives 255, 0 or less gives 0, else value * 255 + 0.5
  // truncated.
  operator D3DCOLOR() const;

  operator float*() { return &r; }
  operator const float*() const { return &r; }

  D3DXCOLOR& operator+=(const D3DXCOLOR& other);
  D3DXCOLOR& operator-=(const D3DXCOLOR& other);
  D3DXCOLOR& operator*=(float s);
  D3DXCOLOR& operator/=(float s);

  D3DXCOLOR operator+() const { return *this; }
  D3DXCOLOR operator-() const { return D3DXCOLOR(-r, -g, -b, -a); }
  D3DXCOLOR operator+(const D3DXCOLOR& o) const { return D3DXCOLOR(r + o.r, g + o.g, b + o.b, a + o.a); }
  D3DXCOLOR operator-(const D3DXCOLOR& o) const { return D3DXCOLOR(r - o.r, g - o.g, b - o.b, a - o.a); }
  D3DXCOLOR operator*(float s) const { return D3DXCOLOR(r * s, g * s, b * s, a * s); }
  D3DXCOLOR operator/(float s) const;
  friend D3DXCOLOR operator*(float s, const D3DXCOLOR& color) { return color * s; }

  bool operator==(const D3DXCOLOR& o) const { return r == o.r && g == o.g && b == o.b && a == o.a; }
  bool operator!=(const D3DXCOLOR& o) const { return !(*this == o); }
};

// ---- 2D vectors --------------------------------------------------------------------

float D3DXVec2Length(const D3DXVECTOR2* v);
float D3DXVec2LengthSq(const D3DXVECTOR2* v);
float D3DXVec2Dot(const D3DXVECTOR2* v1, const D3DXVECTOR2* v2);
// The z of the 3D cross product: positive when v2 lies counter-clockwise of v1.
float D3DXVec2CCW(const D3DXVECTOR2* v1, const D3DXVECTOR2* v2);
D3DXVECTOR2* D3DXVec2Add(D3DXVECTOR2* out, const D3DXVECTOR2* v1, const D3DXVECTOR2* v2);
D3DXVECTOR2* D3DXVec2Subtract(D3DXVECTOR2* out, const D3DXVECTOR2* v1, const D3DXVECTOR2* v2);
D3DXVECTOR2* D3DXVec2Scale(D3DXVECTOR2* out, const D3DXVECTOR2* v, float s);
D3DXVECTOR2* D3DXVec2Lerp(D3DXVECTOR2* out, const D3DXVECTOR2* v1, const D3DXVECTOR2* v2, float s);
D3DXVECTOR2* D3DXVec2Minimize(D3DXVECTOR2* out, const D3DXVECTOR2* v1, const D3DXVECTOR2* v2);
D3DXVECTOR2* D3DXVec2Maximize(D3DXVECTOR2* out, const D3DXVECTOR2* v1, const D3DXVECTOR2* v2);
// A zero vector stays zero.
D3DXVECTOR2* D3DXVec2Normalize(D3DXVECTOR2* out, const D3DXVECTOR2* v);

// ---- 3D vectors --------------------------------------------------------------------

float D3DXVec3Length(const D3DXVECTOR3* v);
float D3DXVec3LengthSq(const D3DXVECTOR3* v);
float D3DXVec3Dot(const D3DXVECTOR3* v1, const D3DXVECTOR3* v2);
D3DXVECTOR3* D3DXVec3Cross(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2);
D3DXVECTOR3* D3DXVec3Add(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2);
D3DXVECTOR3* D3DXVec3Subtract(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2);
D3DXVECTOR3* D3DXVec3Scale(D3DXVECTOR3* out, const D3DXVECTOR3* v, float s);
D3DXVECTOR3* D3DXVec3Lerp(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2, float s);
D3DXVECTOR3* D3DXVec3Minimize(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2);
D3DXVECTOR3* D3DXVec3Maximize(D3DXVECTOR3* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2);
// A zero vector stays zero.
D3DXVECTOR3* D3DXVec3Normalize(D3DXVECTOR3* out, const D3DXVECTOR3* v);
// (x, y, z, 1) * m.
D3DXVECTOR4* D3DXVec3Transform(D3DXVECTOR4* out, const D3DXVECTOR3* v, const D3DXMATRIX* m);
// (x, y, z, 1) * m, divided by its w.
D3DXVECTOR3* D3DXVec3TransformCoord(D3DXVECTOR3* out, const D3DXVECTOR3* v, const D3DXMATRIX* m);
// (x, y, z, 0) * m: the upper 3x3 only.
D3DXVECTOR3* D3DXVec3TransformNormal(D3DXVECTOR3* out, const D3DXVECTOR3* v, const D3DXMATRIX* m);

// ---- 4D vectors --------------------------------------------------------------------

float D3DXVec4Length(const D3DXVECTOR4* v);
float D3DXVec4LengthSq(const D3DXVECTOR4* v);
float D3DXVec4Dot(const D3DXVECTOR4* v1, const D3DXVECTOR4* v2);
D3DXVECTOR4* D3DXVec4Add(D3DXVECTOR4* out, const D3DXVECTOR4* v1, const D3DXVECTOR4* v2);
D3DXVECTOR4* D3DXVec4Subtract(D3DXVECTOR4* out, const D3DXVECTOR4* v1, const D3DXVECTOR4* v2);
D3DXVECTOR4* D3DXVec4Scale(D3DXVECTOR4* out, const D3DXVECTOR4* v, float s);
D3DXVECTOR4* D3DXVec4Lerp(D3DXVECTOR4* out, const D3DXVECTOR4* v1, const D3DXVECTOR4* v2, float s);
D3DXVECTOR4* D3DXVec4Normalize(D3DXVECTOR4* out, const D3DXVECTOR4* v);
D3DXVECTOR4* D3DXVec4Transform(D3DXVECTOR4* out, const D3DXVECTOR4* v, const D3DXMATRIX* m);

// ---- Matrices ----------------------------------------------------------------------

D3DXMATRIX* D3DXMatrixIdentity(D3DXMATRIX* out);
bool D3DXMatrixIsIdentity(const D3DXMATRIX* m);
float D3DXMatrixDeterminant(const D3DXMATRIX* m);
// a * b: a row vector meets a first.
D3DXMATRIX* D3DXMatrixMultiply(D3DXMATRIX* out, const D3DXMATRIX* a, const D3DXMATRIX* b);
D3DXMATRIX* D3DXMatrixTranspose(D3DXMATRIX* out, const D3DXMATRIX* m);
// General 4x4 inverse. determinant may be null. A singular matrix gives null and
// leaves out as it was.
D3DXMATRIX* D3DXMatrixInverse(D3DXMATRIX* out, float* determinant, const D3DXMATRIX* m);
// Splits m = scale * rotation * translation. A mirroring matrix gets a negative x
// scale. Fails (negative result) when a scale is zero; outputs are then unreliable.
HRESULT D3DXMatrixDecompose(D3DXVECTOR3* outScale, D3DXQUATERNION* outRotation, D3DXVECTOR3* outTranslation,
                            const D3DXMATRIX* m);

D3DXMATRIX* D3DXMatrixScaling(D3DXMATRIX* out, float sx, float sy, float sz);
D3DXMATRIX* D3DXMatrixTranslation(D3DXMATRIX* out, float x, float y, float z);
// Angles in radians, counter-clockwise looking from the positive axis to the origin.
D3DXMATRIX* D3DXMatrixRotationX(D3DXMATRIX* out, float angle);
D3DXMATRIX* D3DXMatrixRotationY(D3DXMATRIX* out, float angle);
D3DXMATRIX* D3DXMatrixRotationZ(D3DXMATRIX* out, float angle);
// The axis need not be unit length.
D3DXMATRIX* D3DXMatrixRotationAxis(D3DXMATRIX* out, const D3DXVECTOR3* axis, float angle);
// q is taken as unit length.
D3DXMATRIX* D3DXMatrixRotationQuaternion(D3DXMATRIX* out, const D3DXQUATERNION* q);
// Roll about Z first, then pitch about X, then yaw about Y.
D3DXMATRIX* D3DXMatrixRotationYawPitchRoll(D3DXMATRIX* out, float yaw, float pitch, float roll);

// View matrices: the eye goes to the origin; RH looks along -Z, LH along +Z.
D3DXMATRIX* D3DXMatrixLookAtRH(D3DXMATRIX* out, const D3DXVECTOR3* eye, const D3DXVECTOR3* at,
                               const D3DXVECTOR3* up);
D3DXMATRIX* D3DXMatrixLookAtLH(D3DXMATRIX* out, const D3DXVECTOR3* eye, const D3DXVECTOR3* at,
                               const D3DXVECTOR3* up);
// Projections to depth 0 at the near plane and 1 at the far plane.
D3DXMATRIX* D3DXMatrixPerspectiveFovRH(D3DXMATRIX* out, float fovY, float aspect, float zNear, float zFar);
D3DXMATRIX* D3DXMatrixPerspectiveFovLH(D3DXMATRIX* out, float fovY, float aspect, float zNear, float zFar);
D3DXMATRIX* D3DXMatrixOrthoRH(D3DXMATRIX* out, float width, float height, float zNear, float zFar);
D3DXMATRIX* D3DXMatrixOrthoOffCenterRH(D3DXMATRIX* out, float left, float right, float bottom, float top,
                                       float zNear, float zFar);

// Mirror in a plane (normalised first).
D3DXMATRIX* D3DXMatrixReflect(D3DXMATRIX* out, const D3DXPLANE* plane);

// ---- Quaternions -------------------------------------------------------------------

D3DXQUATERNION* D3DXQuaternionIdentity(D3DXQUATERNION* out);
bool D3DXQuaternionIsIdentity(const D3DXQUATERNION* q);
float D3DXQuaternionDot(const D3DXQUATERNION* q1, const D3DXQUATERNION* q2);
float D3DXQuaternionLength(const D3DXQUATERNION* q);
float D3DXQuaternionLengthSq(const D3DXQUATERNION* q);
D3DXQUATERNION* D3DXQuaternionConjugate(D3DXQUATERNION* out, const D3DXQUATERNION* q);
// A zero quaternion stays zero.
D3DXQUATERNION* D3DXQuaternionNormalize(D3DXQUATERNION* out, const D3DXQUATERNION* q);
// Conjugate over squared length; a zero quaternion stays zero.
D3DXQUATERNION* D3DXQuaternionInverse(D3DXQUATERNION* out, const D3DXQUATERNION* q);
// Rotation q1, then rotation q2 (q2 q1 in Hamilton's product).
D3DXQUATERNION* D3DXQuaternionMultiply(D3DXQUATERNION* out, const D3DXQUATERNION* q1, const D3DXQUATERNION* q2);
// The axis need not be unit length.
D3DXQUATERNION* D3DXQuaternionRotationAxis(D3DXQUATERNION* out, const D3DXVECTOR3* axis, float angle);
// From the upper 3x3 of a pure rotation.
D3DXQUATERNION* D3DXQuaternionRotationMatrix(D3DXQUATERNION* out, const D3DXMATRIX* m);
// The same rotation as D3DXMatrixRotationYawPitchRoll.
D3DXQUATERNION* D3DXQuaternionRotationYawPitchRoll(D3DXQUATERNION* out, float yaw, float pitch, float roll);
// Along the shorter arc; where q1 and q2 are nearly parallel the weights are plain
// 1 - t and t. The result is not renormalised.
D3DXQUATERNION* D3DXQuaternionSlerp(D3DXQUATERNION* out, const D3DXQUATERNION* q1, const D3DXQUATERNION* q2,
                                    float t);
// For a unit quaternion: the axis is its vector part (not normalised), the angle
// 2 acos(w) in radians. Either output may be null.
void D3DXQuaternionToAxisAngle(const D3DXQUATERNION* q, D3DXVECTOR3* axis, float* angle);

// ---- Planes ------------------------------------------------------------------------

// a*x + b*y + c*z + d*w.
float D3DXPlaneDot(const D3DXPLANE* p, const D3DXVECTOR4* v);
// Signed distance (times the normal's length) of a point: a*x + b*y + c*z + d.
float D3DXPlaneDotCoord(const D3DXPLANE* p, const D3DXVECTOR3* v);
// a*x + b*y + c*z.
float D3DXPlaneDotNormal(const D3DXPLANE* p, const D3DXVECTOR3* v);
// Scales so that the normal has length 1; a zero normal gives the zero plane.
D3DXPLANE* D3DXPlaneNormalize(D3DXPLANE* out, const D3DXPLANE* p);
// The normal is kept as given.
D3DXPLANE* D3DXPlaneFromPointNormal(D3DXPLANE* out, const D3DXVECTOR3* point, const D3DXVECTOR3* normal);
// Normal = normalise((v2 - v1) x (v3 - v1)).
D3DXPLANE* D3DXPlaneFromPoints(D3DXPLANE* out, const D3DXVECTOR3* v1, const D3DXVECTOR3* v2, const D3DXVECTOR3* v3);
// (a, b, c, d) * m. To move a plane by a transform T, pass the inverse transpose of T.
D3DXPLANE* D3DXPlaneTransform(D3DXPLANE* out, const D3DXPLANE* p, const D3DXMATRIX* m);
// Where the infinite line through v1 and v2 meets the plane; null when it is parallel.
D3DXVECTOR3* D3DXPlaneIntersectLine(D3DXVECTOR3* out, const D3DXPLANE* p, const D3DXVECTOR3* v1,
                                    const D3DXVECTOR3* v2);

// ---- Colours -----------------------------------------------------------------------

D3DXCOLOR* D3DXColorLerp(D3DXCOLOR* out, const D3DXCOLOR* c1, const D3DXCOLOR* c2, float s);
// Channel by channel product, alpha included.
D3DXCOLOR* D3DXColorModulate(D3DXCOLOR* out, const D3DXCOLOR* c1, const D3DXCOLOR* c2);
// All four channels times s.
D3DXCOLOR* D3DXColorScale(D3DXCOLOR* out, const D3DXCOLOR* c, float s);

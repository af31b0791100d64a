#pragma once

#include <cstdint>

#include "io/stream.h"
#include "scene/value_types.h"

// What the controller templates need of each value type: its floats as files store them, how
// two values blend, and how a value scales.
namespace ts3d::controller {

// 1 for a float, 3 for a vect3, 4 for a quat or a color, 16 for a matrix.
template <class T>
constexpr uint32_t kFloatCount = sizeof(T) / sizeof(float);

inline float* floatsOf(float& value) { return &value; }
inline const float* floatsOf(const float& value) { return &value; }
// The maths types convert to a pointer to their first float.
template <class T>
float* floatsOf(T& value) {
  return value;
}
template <class T>
const float* floatsOf(const T& value) {
  return value;
}

template <class T>
void readValue(tsio::InStream& in, T& value) {
  float* floats = floatsOf(value);
  for (uint32_t i = 0; i < kFloatCount<T>; ++i) in.readFloat(&floats[i]);
}

template <class T>
void writeValue(tsio::OutStream& out, const T& value) {
  const float* floats = floatsOf(value);
  for (uint32_t i = 0; i < kFloatCount<T>; ++i) out.writeFloat(floats[i]);
}

// (1 - u) * a + u * b on each float: float, vect3 and color.
template <class T>
T blend(const T& a, const T& b, float u) {
  T result{};
  const float* from = floatsOf(a);
  const float* to = floatsOf(b);
  float* out = floatsOf(result);
  for (uint32_t i = 0; i < kFloatCount<T>; ++i) out[i] = (1.0f - u) * from[i] + u * to[i];
  return result;
}
// D3DXQuaternionSlerp: the shorter arc, not normalised.
quat blend(const quat& a, const quat& b, float u);
// Matrices don't blend: a up to the middle (a tie goes to a), b after it.
matrix blend(const matrix& a, const matrix& b, float u);

// Every float times factor: float, vect3, color and all 16 elements of a matrix.
template <class T>
T scaled(const T& value, float factor) {
  T result = value;
  float* out = floatsOf(result);
  for (uint32_t i = 0; i < kFloatCount<T>; ++i) out[i] *= factor;
  return result;
}
// The rotation's share: D3DXQuaternionSlerp from the identity to value by factor.
quat scaled(const quat& value, float factor);

}  // namespace ts3d::controller

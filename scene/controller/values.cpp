#include "scene/controller/values.h"

namespace ts3d::controller {

quat blend(const quat& a, const quat& b, float u) {
  quat result;
  D3DXQuaternionSlerp(&result, &a, &b, u);
  return result;
}

matrix blend(const matrix& a, const matrix& b, float u) { return u <= 0.5f ? a : b; }

quat scaled(const quat& value, float factor) {
  const quat identity(0.0f, 0.0f, 0.0f, 1.0f);
  quat result;
  D3DXQuaternionSlerp(&result, &identity, &value, factor);
  return result;
}

}  // namespace ts3d::controller

#include "scene/controller/op.h"

namespace ts3d::controller {

Op<color, color, float>::~Op() {
  delete left;
  delete right;
}

bool Op<color, color, float>::isConstant() const {
  return (!left || left->isConstant()) && (!right || right->isConstant());
}

void Op<color, color, float>::update(float time) {
  if (left) left->update(time);
  if (right) right->update(time);
  if (operation == kMultiply && left && right) value = left->value * right->value;
}

bool Op<color, color, float>::load(tsio::InStream& in) {
  in.readInt32(&operation);
  left = tsio::readOwned<ControllerBase<color>>(in);
  right = tsio::readOwned<ControllerBase<float>>(in);
  return in.isGood();
}

void Op<color, color, float>::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kChunkVersion);
  out.writeInt32(operation);
  out.writeObject(left);
  out.writeObject(right);
}

}  // namespace ts3d::controller

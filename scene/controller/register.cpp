#include "scene/controller/register.h"

#include "io/chunk_registry.h"
#include "scene/controller/const.h"
#include "scene/controller/conv.h"
#include "scene/controller/linear.h"
#include "scene/controller/op.h"

namespace ts3d::controller {

void registerControllerChunks() {
  static tsio::ChunkRegistrer<Const<float>> constFloat(Const<float>::kCode);
  static tsio::ChunkRegistrer<Const<vect3>> constVect3(Const<vect3>::kCode);
  static tsio::ChunkRegistrer<Const<quat>> constQuat(Const<quat>::kCode);
  static tsio::ChunkRegistrer<Const<color>> constColor(Const<color>::kCode);
  static tsio::ChunkRegistrer<Linear<float>> linearFloat(Linear<float>::kCode);
  static tsio::ChunkRegistrer<Linear<vect3>> linearVect3(Linear<vect3>::kCode);
  static tsio::ChunkRegistrer<Linear<quat>> linearQuat(Linear<quat>::kCode);
  static tsio::ChunkRegistrer<Linear<color>> linearColor(Linear<color>::kCode);
  static tsio::ChunkRegistrer<Linear<matrix>> linearMatrix(Linear<matrix>::kCode);
  static tsio::ChunkRegistrer<Op<color, color, float>> opColor(Op<color, color, float>::kCode);
  static tsio::ChunkRegistrer<Conv<color, vect3>> convColor(Conv<color, vect3>::kCode);
}

}  // namespace ts3d::controller

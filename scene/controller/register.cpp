#include "io/chunk_registry.h"
#include "scene/controller/const.h"
#include "scene/controller/conv.h"
#include "scene/controller/linear.h"
#include "scene/controller/op.h"

namespace ts3d::controller {
namespace {

// The registry is full before the first call into the module: static objects, made at start-up.
tsio::ChunkRegistrer<Const<float>> constFloat(Const<float>::kCode);
tsio::ChunkRegistrer<Const<vect3>> constVect3(Const<vect3>::kCode);
tsio::ChunkRegistrer<Const<quat>> constQuat(Const<quat>::kCode);
tsio::ChunkRegistrer<Const<color>> constColor(Const<color>::kCode);
tsio::ChunkRegistrer<Linear<float>> linearFloat(Linear<float>::kCode);
tsio::ChunkRegistrer<Linear<vect3>> linearVect3(Linear<vect3>::kCode);
tsio::ChunkRegistrer<Linear<quat>> linearQuat(Linear<quat>::kCode);
tsio::ChunkRegistrer<Linear<color>> linearColor(Linear<color>::kCode);
tsio::ChunkRegistrer<Linear<matrix>> linearMatrix(Linear<matrix>::kCode);
tsio::ChunkRegistrer<Op<color, color, float>> opColor(Op<color, color, float>::kCode);
tsio::ChunkRegistrer<Conv<color, vect3>> convColor(Conv<color, vect3>::kCode);

}  // namespace
}  // namespace ts3d::controller

#include "scene/controller/const.h"
#include "scene/controller/conv.h"
#include "scene/controller/linear.h"
#include "scene/controller/op.h"
#include "tests/persistence/contract.h"

namespace tstest {
namespace {

using ts3d::color;
using ts3d::matrix;
using ts3d::quat;
using ts3d::vect3;
using ts3d::controller::Const;
using ts3d::controller::Linear;
using ColorOp = ts3d::controller::Op<color, color, float>;
using ColorFromVector = ts3d::controller::Conv<color, vect3>;

template <class T>
Linear<T>* track(std::vector<ts3d::controller::LinearKey<T>> keys) {
  auto* linear = new Linear<T>;
  linear->keys = std::move(keys);
  return linear;
}

}  // namespace

// Floats: 1 = 0000803F, 2 = 00000040, 3 = 00004040, 0.5 = 0000003F, 0.25 = 0000803E,
// 2.5 = 00002040, 10 = 00002041, -1 = 000080BF. Keys: time, then the value.
const std::vector<ChunkCase>& controllerCases() {
  static const std::vector<ChunkCase> rows = {
      chunkCase<Const<float>>(
          "ConstFloat", [] { return new Const<float>(2.5f); },
          "4E4F4E45 | 4343464C 0100 0000 04000000 | 00002040", 0, kAnyVersion),
      chunkCase<Const<vect3>>(
          "ConstVect3", [] { return new Const<vect3>(vect3(1, 2, 3)); },
          "4E4F4E45 | 43435633 0100 0000 0C000000 | 0000803F 00000040 00004040", 0, kAnyVersion),
      chunkCase<Const<quat>>(
          "ConstQuat", [] { return new Const<quat>(quat(0.5f, -1, 2, 0.25f)); },
          "4E4F4E45 | 43435155 0100 0000 10000000 | 0000003F 000080BF 00000040 0000803E", 0, kAnyVersion),
      chunkCase<Const<color>>(
          "ConstColor", [] { return new Const<color>(color(1, 0.5f, 0.25f, 2)); },
          "4E4F4E45 | 4343434F 0100 0000 10000000 | 0000803F 0000003F 0000803E 00000040", 0, kAnyVersion),
      chunkCase<Linear<float>>(
          "LinearFloat", [] { return track<float>({{0, 1}, {10, 3}}); },
          "4E4F4E45 | 434C464C 0100 0000 14000000 | 02000000 | 00000000 0000803F | 00002041 00004040", 0,
          kAnyVersion),
      chunkCase<Linear<vect3>>(
          "LinearVect3", [] { return track<vect3>({{1, vect3(1, 2, 3)}}); },
          "4E4F4E45 | 434C5633 0100 0000 14000000 | 01000000 | 0000803F | 0000803F 00000040 00004040", 0, kAnyVersion),
      chunkCase<Linear<quat>>(
          "LinearQuat", [] { return track<quat>({{2, quat(0.5f, -1, 2, 0.25f)}}); },
          "4E4F4E45 | 434C5155 0100 0000 18000000 | 01000000 | 00000040 | 0000003F 000080BF 00000040 0000803E", 0,
          kAnyVersion),
      chunkCase<Linear<color>>(
          "LinearColor", [] { return track<color>({{-1, color(1, 0.5f, 0.25f, 2)}}); },
          "4E4F4E45 | 434C434F 0100 0000 18000000 | 01000000 | 000080BF | 0000803F 0000003F 0000803E 00000040", 0,
          kAnyVersion),
      // The sixteen elements row by row: _11 _12 ... _44 = 1 ... 16.
      chunkCase<Linear<matrix>>(
          "LinearMatrix",
          [] { return track<matrix>({{0.5f, matrix(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16)}}); },
          "4E4F4E45 | 434C4D54 0100 0000 48000000 | 01000000 | 0000003F | 0000803F 00000040 00004040 00008040 | "
          "0000A040 0000C040 0000E040 00000041 | 00001041 00002041 00003041 00004041 | "
          "00005041 00006041 00007041 00008041",
          0, kAnyVersion),
      // The operation comes first, then the two operands as nested chunks with ids 1 and 2.
      chunkCase<ColorOp>(
          "OpColorFloat",
          [] {
            auto* op = new ColorOp;
            op->operation = ColorOp::kMultiply;
            op->left = new Const<color>(color(1, 0.5f, 0.25f, 2));
            op->right = new Const<float>(2.5f);
            return op;
          },
          "4E4F4E45 | 436F4346 0100 0000 30000000 | 05000000 | "
          "4343434F 0100 0100 10000000 | 0000803F 0000003F 0000803E 00000040 | 4343464C 0100 0200 04000000 | 00002040",
          0, kAnyVersion),
      // The source belongs to another object (see the controller tests): alone, a Conv stores a null word.
      chunkCase<ColorFromVector>(
          "ConvColorVect3", [] { return new ColorFromVector; }, "4E4F4E45 | 43564356 0100 0000 04000000 | 00000000", 0,
          kAnyVersion),
  };
  return rows;
}

}  // namespace tstest

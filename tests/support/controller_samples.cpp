#include "tests/support/controller_samples.h"

#include "scene/controller/const.h"
#include "scene/controller/conv.h"
#include "scene/controller/linear.h"
#include "scene/controller/op.h"
#include "tests/support/test_chunks.h"

namespace tstest {
namespace {

using ts3d::color;
using ts3d::matrix;
using ts3d::quat;
using ts3d::vect3;
using ts3d::controller::Const;
using ts3d::controller::Linear;
using ts3d::controller::LinearKey;

template <class T>
Linear<T>* twoKeys(const T& first, const T& second) {
  auto* linear = new Linear<T>;
  linear->keys = {LinearKey<T>(0.0f, first), LinearKey<T>(10.0f, second)};
  return linear;
}

}  // namespace

std::vector<std::vector<uint8_t>> controllerSampleFiles() {
  std::vector<std::vector<uint8_t>> files;
  const auto add = [&files](tsio::Serializable* root) {
    files.push_back(storeToBytes(root, 0));
    delete root;
  };
  add(new Const<float>(1.0f));
  add(new Const<vect3>(vect3(1.0f, 2.0f, 3.0f)));
  add(new Const<quat>(quat(0.0f, 0.0f, 0.0f, 1.0f)));
  add(new Const<color>(color(1.0f, 0.5f, 0.25f, 1.0f)));
  add(twoKeys(0.0f, 1.0f));
  add(twoKeys(vect3(0.0f, 0.0f, 0.0f), vect3(1.0f, 1.0f, 1.0f)));
  add(twoKeys(quat(0.0f, 0.0f, 0.0f, 1.0f), quat(0.0f, 1.0f, 0.0f, 0.0f)));
  add(twoKeys(color(0.0f, 0.0f, 0.0f, 0.0f), color(1.0f, 1.0f, 1.0f, 1.0f)));
  add(twoKeys(matrix(), matrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1)));
  auto* op = new ts3d::controller::Op<color, color, float>;
  op->operation = ts3d::controller::Op<color, color, float>::kMultiply;
  op->left = twoKeys(color(0.0f, 0.0f, 0.0f, 0.0f), color(1.0f, 1.0f, 1.0f, 1.0f));
  op->right = new Const<float>(0.5f);
  add(op);
  auto* source = new Const<vect3>(vect3(0.25f, 0.5f, 0.75f));
  auto* conv = new ts3d::controller::Conv<color, vect3>;
  conv->source = source;
  auto* owner = new Node;
  owner->children = {conv, source};
  add(owner);
  return files;
}

}  // namespace tstest

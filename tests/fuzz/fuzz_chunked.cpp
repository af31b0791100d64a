// The chunked reader over the registered classes: any input gives null or a graph, never a
// crash, leak or endless loop. A graph that loads must write back and read again to the same bytes.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "io/serializable.h"
#include "scene/controller/controller.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const tstest::RecordingTracer quiet;  // every message formatted, none shown
  tsio::Serializable* root = tstest::loadFromBytes(data, size);
  if (root) {
    // A controller that loads must evaluate anywhere on its time line.
    if (auto* controller = dynamic_cast<ts3d::Controller*>(root))
      for (float t : {-1.0f, 0.0f, 5.0f, 1e30f, __builtin_nanf("")}) controller->update(t);
    const std::vector<uint8_t> first = tstest::storeToBytes(root, 0);
    delete root;
    std::unique_ptr<tsio::Serializable> again(tstest::loadFromBytes(first));
    if (!again || tstest::storeToBytes(again.get(), 0) != first) std::abort();
  }
  // Every object made for the input is gone, whatever happened.
  if (tstest::Node::live != 0 || tstest::Leaf::live != 0) std::abort();
  return 0;
}

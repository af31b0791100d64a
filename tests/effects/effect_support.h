#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "driver/host/effect_descriptor.h"
#include "player/host/host_controllers.h"
#include "tests/support/host_bridge.h"
#include "tests/context/context_fixture.h"
#include "tests/support/recording_tracer.h"

class TimelineItem;

namespace tstest {

// One parameter of a library entry: its kind and the initial value the host reads.
struct ParamDeclaration {
  uint32_t kind;
  const char* initialValue;
};

// A library entry as the host would read it, parameters named p0, p1, ...
EffectDescriptor describeEffect(const char* typeName, std::initializer_list<ParamDeclaration> params);

// Data items by name, as the host resolves a data parameter's value.
class ItemLookup : public host::DataLookup {
 public:
  host::DataItem* find(const std::string& name) const override;
  std::map<std::string, DataItem*> items;
};

// Writes bytes to a file; false when it can't be written.
bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes);

// A w x h PNG of one colour, bytes r, g, b.
std::vector<uint8_t> solidPng(int width, int height, uint8_t r, uint8_t g, uint8_t b);

// The Context the render window makes, blue clear colour, messages recorded; effects are
// made by the global driver from library entries, with the host's controllers.
class EffectTest : public ContextTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Through the driver, as the host asks for a library effect; the test owns the result.
  TimelineItem* makeEffect(const EffectDescriptor& descriptor);
  // Gives parameter `index` a new constant and delivers every value, as the host's reset does.
  static void setParam(TimelineItem* effect, uint32_t index, const std::string& value);
  // One frame of a bottom layer: update, clearFrame, render; the target's pixels after it.
  std::vector<uint32_t> drawFrame(TimelineItem* effect, float time);

  uint32_t at(const std::vector<uint32_t>& pixels, int x, int y) const {
    return pixels[static_cast<size_t>(y) * width + static_cast<size_t>(x)];
  }
  // Saves the frame as a PNG when the test has failed, for a person to look at.
  void keepOnFailure(const std::vector<uint32_t>& pixels, const char* name) const;

  RecordingTracer tracer;
  ItemLookup lookup;
  host::HostControllerFactory factory{&lookup};
  uint32_t width = 640, height = 480;
};

// The same on a 1024 x 768 back buffer.
class LargeEffectTest : public EffectTest {
 protected:
  void SetUp() override;
};

}  // namespace tstest

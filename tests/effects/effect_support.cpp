#include "tests/effects/effect_support.h"

#include <cstdio>

#include "driver/driver_kmt.h"
#include "effects/timeline_item.h"
#include "tests/gfxhelper/test_images.h"

namespace tstest {

EffectDescriptor describeEffect(const char* typeName, std::initializer_list<ParamDeclaration> params) {
  EffectDescriptor descriptor;
  descriptor.name = typeName;
  for (const ParamDeclaration& declared : params) {
    ParamDescriptor param;
    param.kind = declared.kind;
    param.name = "p" + std::to_string(descriptor.params.size());
    param.initialValue = declared.initialValue;
    descriptor.params.push_back(param);
  }
  return descriptor;
}

host::DataItem* ItemLookup::find(const std::string& name) const {
  const auto found = items.find(name);
  return found == items.end() ? nullptr : hostSide(found->second);
}

bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return std::fclose(file) == 0 && written;
}

std::vector<uint8_t> solidPng(int width, int height, uint8_t r, uint8_t g, uint8_t b) {
  std::vector<uint8_t> rgb;
  for (int i = 0; i < width * height; ++i) rgb.insert(rgb.end(), {r, g, b});
  return encodePng(width, height, 3, rgb.data());
}

void EffectTest::SetUp() {
  ContextTest::SetUp();
  context->setClearColor(ts3d::color(0, 0, 1, 1));
  theDriver.setControllerFactory(driverSide(&factory));
}

void EffectTest::TearDown() {
  theDriver.setControllerFactory(nullptr);
  ContextTest::TearDown();
}

TimelineItem* EffectTest::makeEffect(const EffectDescriptor& descriptor) {
  return theDriver.createEffect(descriptor, "layer");
}

void EffectTest::setParam(TimelineItem* effect, uint32_t index, const std::string& value) {
  static_cast<host::HostParamController*>(hostSide(effect->controller(index)))->setConstant(value);
  effect->reset();
}

std::vector<uint32_t> EffectTest::drawFrame(TimelineItem* effect, float time) {
  effect->update(0, time);
  effect->clearFrame();
  effect->render();
  return readTarget(context->currentTarget->surface.get());
}

void EffectTest::keepOnFailure(const std::vector<uint32_t>& pixels, const char* name) const {
  if (testing::Test::HasFailure()) saveFailedFrame(pixels, width, height, name);
}

void LargeEffectTest::SetUp() {
  // The fixture's Context, on a larger window and back buffer.
  width = 1024;
  height = 768;
  window = createHiddenWindow(width, height);
  ts3d::Context::setWindows(window, nullptr);
  ts3d::Context::setFullscreenOptions(false, false, false);
  ts3d::Context::setMultisample(0, 0);
  ts3d::Context::setDisplayMode(width, height, -1);
  ts3d::Context::wrapDevice = &wrap;
  ts3d::Context::create();
  context = ts3d::Context::instance;
  ASSERT_NE(context, nullptr);
  proxy = static_cast<ProxyDevice*>(context->device.get());
  context->setClearColor(ts3d::color(0, 0, 1, 1));
  theDriver.setControllerFactory(driverSide(&factory));
}

}  // namespace tstest

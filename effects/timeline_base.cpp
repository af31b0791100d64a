#include "effects/timeline_base.h"

#include "context/context.h"
#include "driver/host/param_controller.h"
#include "driver/host/tree_element.h"
#include "io/trace.h"

namespace {
const char* const kControllerTag = "controler";
const char* const kNameKey = "name";
}  // namespace

TimelineBase::TimelineBase() = default;

TimelineBase::TimelineBase(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                           ControllerFactory* factory)
    : descriptor(descriptor_), instanceName(instanceName_) {
  controllers.reserve(descriptor.params.size());
  for (const ParamDescriptor& param : descriptor.params) controllers.push_back(factory->create(param));
}

TimelineBase::~TimelineBase() {
  for (ParamController* controller : controllers) delete controller;
}

void TimelineBase::reset() { applyParameters(); }

void TimelineBase::deliver(uint32_t index, ParamController* controller) {
  switch (controller->kind) {
    case ParamController::kString: {
      std::string value;
      setString(index, controller->stringValue(value));
      break;
    }
    case ParamController::kFloat:
      setFloat(index, controller->floatValue());
      break;
    case ParamController::kInteger:
    case ParamController::kIntegerAtReset:
      setInt(index, controller->intValue());
      break;
    case ParamController::kData:
      setData(index, controller->dataValue());
      break;
    default:
      break;
  }
}

void TimelineBase::applyParameters() {
  for (uint32_t i = 0; i < controllers.size(); ++i) deliver(i, controllers[i]);
}

void TimelineBase::update(uint32_t, float time) {
  currentTime = time;
  // Not clamped: before the start t is negative, after the end above 1.
  const float t = (time - start) / length;
  for (uint32_t i = 0; i < controllers.size(); ++i) {
    ParamController* controller = controllers[i];
    if (controller->isFixed()) continue;
    controller->update(t);
    // An integer read at reset keeps the value it had then for the whole playback.
    if (controller->kind != ParamController::kIntegerAtReset) deliver(i, controller);
  }
}

void TimelineBase::clearFrame() { ts3d::Context::instance->clear(ts3d::Context::ClearAll, true); }

uint32_t TimelineBase::controllerCount() const { return static_cast<uint32_t>(controllers.size()); }

ParamController* TimelineBase::controller(uint32_t index) const { return controllers[index]; }

std::string& TimelineBase::name() { return instanceName; }

void TimelineBase::setName(const std::string& value) { instanceName = value; }

EffectDescriptor& TimelineBase::description() { return descriptor; }

void TimelineBase::setFloat(uint32_t, float) {}
void TimelineBase::setInt(uint32_t, int32_t) {}
void TimelineBase::setString(uint32_t, const std::string&) {}
void TimelineBase::setData(uint32_t, DataItem*) {}

void TimelineBase::destroy() { delete this; }

bool TimelineBase::load(TreeElement* element, uintptr_t context) {
  std::string name;
  for (size_t i = 0; i < element->childCount(); ++i) {
    TreeElement* child = element->child(i);
    if (child->tag() != kControllerTag) {
      traceBox("Unknown category : \"%s\", in TimelineBase.", child->tag().c_str());
      continue;
    }
    child->attribute(name, kNameKey);
    size_t index = 0;
    while (index < descriptor.params.size() && descriptor.params[index].name != name) ++index;
    if (index == descriptor.params.size()) {
      traceBox("Controller named : \"%s\", no more exists.", name.c_str());
      continue;
    }
    controllers[index]->load(child, context);
  }
  reset();
  return true;
}

bool TimelineBase::loadWithFactory(TreeElement* element, uintptr_t context, ControllerFactory* factory) {
  for (size_t i = 0; i < element->childCount(); ++i) {
    TreeElement* child = element->child(i);
    if (child->tag() != kControllerTag) continue;
    ParamController* controller = factory->create(child);
    ParamDescriptor param;
    child->attribute(param.name, kNameKey);
    descriptor.params.push_back(param);
    controllers.push_back(controller);
  }
  return load(element, context);
}

float TimelineBase::startTime() const { return start; }
void TimelineBase::setStartTime(float value) { start = value; }
float TimelineBase::duration() const { return length; }
void TimelineBase::setDuration(float value) { length = value; }

float TimelineBase::progress(bool* active) const {
  if (active) *active = currentTime > start && currentTime < start + length;
  return (currentTime - start) / length;
}

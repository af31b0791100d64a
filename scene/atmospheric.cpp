#include "scene/atmospheric.h"

#include "context/context.h"

namespace ts3d {

void Atmospheric::clearInColor(const color& value, uint32_t flags, bool direct) {
  Context* context = Context::instance;
  const color kept = context->clearColor;
  context->setClearColor(value);
  context->clear(flags, direct);
  context->setClearColor(kept);
}

}  // namespace ts3d

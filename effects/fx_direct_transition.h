#pragma once

#include <string>

#include "effects/timeline_item.h"

// A hard cut at progress 0.5: input 1 before it, input 2 from it on, and nothing of its
// own to draw. Parameter: 0 the progress.
class FxDirectTransition : public TransitionBase {
 public:
  FxDirectTransition() = default;
  FxDirectTransition(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);
};

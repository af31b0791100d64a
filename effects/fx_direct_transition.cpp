#include "effects/fx_direct_transition.h"

FxDirectTransition::FxDirectTransition(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                                       ControllerFactory* factory)
    : TransitionBase(descriptor_, instanceName_, factory) {
  FxDirectTransition::applyParameters();
}

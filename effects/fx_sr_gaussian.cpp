#include "effects/fx_sr_gaussian.h"

FxSrGaussian::FxSrGaussian(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                           ControllerFactory* factory)
    : FxSceneRenderer(descriptor_, instanceName_, factory) {
  FxSrGaussian::applyParameters();
}

void FxSrGaussian::setFloat(uint32_t index, float value) {
  if (index == 1) radiusValue.setValue(value);
}

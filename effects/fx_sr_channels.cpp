#include "effects/fx_sr_channels.h"

#include "materials/texture_bitmap_file.h"

FxSrChannels::FxSrChannels(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                           ControllerFactory* factory)
    : FxSceneRenderer(descriptor_, instanceName_, factory) {
  FxSrChannels::applyParameters();
}

void FxSrChannels::setFloat(uint32_t index, float value) {
  if (index == 2) offsetValue.setValue(value);
  if (index == 3) rowValue.setValue(value);
}

void FxSrChannels::setData(uint32_t index, DataItem* item) {
  if (index == 1) lookupData = item;
  FxSceneRenderer::setData(index, item);
}

void FxSrChannels::connect(ts3d::SceneRendererChannels& taken) {
  taken.offsetController = &offsetValue;
  taken.rowController = &rowValue;
  taken.lookupTexture = textureOf(lookupData);
}

void FxSrChannels::disconnect(ts3d::SceneRendererChannels& held) {
  if (lookupData) held.lookupTexture = nullptr;
  held.offsetController = nullptr;
  held.rowController = nullptr;
}

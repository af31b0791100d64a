#include "driver/effect_factory.h"

#include "driver/host/effect_descriptor.h"
#include "effects/fx_simple_bmp.h"
#include "effects/fx_simple_color.h"
#include "effects/fx_simple_scene.h"
#include "effects/fx_sr_channels.h"
#include "effects/fx_sr_gaussian.h"
#include "effects/timeline_item.h"

namespace {

using MakeFromDescriptor = TimelineItem* (*)(const EffectDescriptor&, const std::string&, ControllerFactory*);
using MakeEmpty = TimelineItem* (*)();

template <class Effect>
TimelineItem* makeFromDescriptor(const EffectDescriptor& descriptor, const std::string& instanceName,
                                 ControllerFactory* factory) {
  return new Effect(descriptor, instanceName, factory);
}

template <class Effect>
TimelineItem* makeEmpty() {
  return new Effect();
}

struct EffectType {
  const char* name;
  MakeFromDescriptor fromDescriptor;  // null while the class is not built
  MakeEmpty empty;
};

const EffectType kEffectTypes[kEffectTypeCount] = {
    {"fx_simple_bmp", makeFromDescriptor<FxSimpleBmp>, makeEmpty<FxSimpleBmp>},
    {"fx_simple_scene", makeFromDescriptor<FxSimpleScene>, makeEmpty<FxSimpleScene>},
    {"fx_simple_color", makeFromDescriptor<FxSimpleColor>, makeEmpty<FxSimpleColor>},
    {"fx_blur_radial", nullptr, nullptr},
    {"fx_trans_white", nullptr, nullptr},  {"fx_trans_blend", nullptr, nullptr},
    {"fx_trans_direct", nullptr, nullptr}, {"fx_render_bw", nullptr, nullptr},
    {"fx_render_rgb", nullptr, nullptr},
    {"fx_sr_gaussian", makeFromDescriptor<FxSrGaussian>, makeEmpty<FxSrGaussian>},
    {"fx_sr_channels", makeFromDescriptor<FxSrChannels>, makeEmpty<FxSrChannels>},
};

}  // namespace

const char* effectTypeName(int index) { return kEffectTypes[index].name; }

int effectTypeIndex(const std::string& typeName) {
  for (int i = 0; i < kEffectTypeCount; ++i)
    if (typeName == kEffectTypes[i].name) return i;
  return -1;
}

TimelineItem* createEffect(const EffectDescriptor& descriptor, const std::string& instanceName,
                           ControllerFactory* factory) {
  const int index = effectTypeIndex(descriptor.name);
  if (index < 0 || !kEffectTypes[index].fromDescriptor) return nullptr;
  return kEffectTypes[index].fromDescriptor(descriptor, instanceName, factory);
}

TimelineItem* createEmptyEffect(const std::string& typeName) {
  const int index = effectTypeIndex(typeName);
  if (index < 0 || !kEffectTypes[index].empty) return nullptr;
  return kEffectTypes[index].empty();
}

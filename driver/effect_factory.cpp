#include "driver/effect_factory.h"

#include "driver/host/effect_descriptor.h"
#include "effects/fx_blend_transition.h"
#include "effects/fx_blur_radial.h"
#include "effects/fx_direct_transition.h"
#include "effects/fx_render_bw.h"
#include "effects/fx_render_rgb.h"
#include "effects/fx_simple_bmp.h"
#include "effects/fx_simple_color.h"
#include "effects/fx_simple_scene.h"
#include "effects/fx_sr_channels.h"
#include "effects/fx_sr_gaussian.h"
#include "effects/fx_white_transition.h"
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
  MakeFromDescriptor fromDescriptor;
  MakeEmpty empty;
};

const EffectType kEffectTypes[kEffectTypeCount] = {
    {"fx_simple_bmp", makeFromDescriptor<FxSimpleBmp>, makeEmpty<FxSimpleBmp>},
    {"fx_simple_scene", makeFromDescriptor<FxSimpleScene>, makeEmpty<FxSimpleScene>},
    {"fx_simple_color", makeFromDescriptor<FxSimpleColor>, makeEmpty<FxSimpleColor>},
    {"fx_blur_radial", makeFromDescriptor<FxBlurRadial>, makeEmpty<FxBlurRadial>},
    {"fx_trans_white", makeFromDescriptor<FxWhiteTransition>, makeEmpty<FxWhiteTransition>},
    {"fx_trans_blend", makeFromDescriptor<FxBlendTransition>, makeEmpty<FxBlendTransition>},
    {"fx_trans_direct", makeFromDescriptor<FxDirectTransition>, makeEmpty<FxDirectTransition>},
    {"fx_render_bw", makeFromDescriptor<FxRenderBw>, makeEmpty<FxRenderBw>},
    {"fx_render_rgb", makeFromDescriptor<FxRenderRgb>, makeEmpty<FxRenderRgb>},
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
  if (index < 0) return nullptr;
  return kEffectTypes[index].fromDescriptor(descriptor, instanceName, factory);
}

TimelineItem* createEmptyEffect(const std::string& typeName) {
  const int index = effectTypeIndex(typeName);
  if (index < 0) return nullptr;
  return kEffectTypes[index].empty();
}

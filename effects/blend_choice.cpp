#include "effects/blend_choice.h"

#include "materials/render_enums.h"

int32_t blendFactorOfChoice(int32_t choice, int32_t current) {
  static const int32_t kFactors[] = {ts3d::BlendZero, ts3d::BlendOne, ts3d::BlendInvSrcAlpha, ts3d::BlendSrcAlpha};
  if (choice < 0 || choice >= static_cast<int32_t>(sizeof kFactors / sizeof kFactors[0])) return current;
  return kFactors[choice];
}

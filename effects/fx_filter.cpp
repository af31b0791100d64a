#include "effects/fx_filter.h"

#include "context/context.h"

FxFilter::FxFilter(int32_t surfaceKind, const EffectDescriptor& descriptor_, const std::string& instanceName_,
                   ControllerFactory* factory)
    : EffectBase(descriptor_, instanceName_, factory), capture(surfaceKind) {
  SurfaceCapture::warmUp();
}

void FxFilter::open() {
  context = ts3d::Context::instance;
  capture.acquire();
  states.cullMode = ts3d::CullNone;
  states.zEnable = false;
  states.lighting = false;
}

void FxFilter::close() {
  capture.release();
  context = nullptr;
}

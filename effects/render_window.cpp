#include "effects/render_window.h"

#include "context/context.h"
#include "effects/surface_pool.h"

RenderWindow::RenderWindow(std::vector<SurfacePool*> pools_) : pools(std::move(pools_)) {}

RenderWindow::~RenderWindow() {
  if (isOpen) close();
}

bool RenderWindow::open(HWND window, HMODULE module, uint32_t width_, uint32_t height_, int32_t bits, bool windowed,
                        int32_t antialias) {
  width = width_;
  height = height_;
  ts3d::Context::setFullscreenOptions(!windowed, false, false);
  ts3d::Context::setMultisample(antialias == 2 ? 4 : antialias == 1 ? 2 : 0, 0);
  ts3d::Context::setWindows(window, nullptr);
  ts3d::Context::setResourceModule(module);
  ts3d::Context::setDisplayMode(width, height, windowed ? -1 : bits);
  ts3d::Context::create();
  context = ts3d::Context::instance;
  isOpen = true;
  return true;
}

void RenderWindow::close() {
  for (SurfacePool* pool : pools) pool->empty();
  ts3d::Context::destroy();
  context = nullptr;
  isOpen = false;
}

void RenderWindow::drawIdleFrame() {
  ts3d::Context* c = ts3d::Context::instance;
  c->clear(ts3d::Context::ClearAll, true);
  c->beginScene();
  const ts3d::color red(1.0f, 0.0f, 0.0f, 0.0f);
  const float w = static_cast<float>(width), h = static_cast<float>(height);
  const float topLeft[2] = {0.0f, 0.0f}, bottomRight[2] = {w, h};
  const float bottomLeft[2] = {0.0f, h}, topRight[2] = {w, 0.0f};
  c->drawLine(topLeft, bottomRight, red);
  c->drawLine(bottomLeft, topRight, red);
  c->endScene();
}

void RenderWindow::present() { ts3d::Context::instance->present(); }

#include "effects/screen_vertex.h"

#include "context/context.h"

void drawScreenPrimitives(D3DPRIMITIVETYPE type, UINT count, const ScreenVertex* vertices) {
  ts3d::Context* context = ts3d::Context::instance;
  context->useFvf(kScreenVertexFvf);
  context->device->DrawPrimitiveUP(type, count, vertices, sizeof(ScreenVertex));
}

void drawScreenQuad(const ScreenVertex quad[4]) { drawScreenPrimitives(D3DPT_TRIANGLESTRIP, 2, quad); }

void setPictureQuad(ScreenVertex quad[4], const ScreenRect& place, const ScreenRect& picture, D3DCOLOR color) {
  const float xs[2] = {place.left, place.right}, ys[2] = {place.top, place.bottom};
  const float us[2] = {picture.left, picture.right}, vs[2] = {picture.top, picture.bottom};
  for (int i = 0; i < 4; ++i) quad[i] = {xs[i % 2], ys[i / 2], 1.0f, 1.0f, color, us[i % 2], vs[i / 2]};
}

#include "effects/screen_vertex.h"

#include "context/context.h"

void drawScreenQuad(const ScreenVertex quad[4]) {
  ts3d::Context* context = ts3d::Context::instance;
  context->useFvf(kScreenVertexFvf);
  context->device->DrawPrimitiveUP(D3DPT_TRIANGLESTRIP, 2, quad, sizeof(ScreenVertex));
}

#include "scene/atmospheric_background.h"

#include "context/context.h"
#include "io/trace.h"
#include "materials/texture_cubemap_file.h"
#include "scene/camera.h"
#include "scene/transformation.h"

namespace ts3d {

namespace {

constexpr DWORD kPictureFvf = D3DFVF_XYZRHW | D3DFVF_DIFFUSE | D3DFVF_TEX1;
constexpr DWORD kSkyFvf = D3DFVF_XYZ | D3DFVF_DIFFUSE | D3DFVF_TEX1;
constexpr D3DCOLOR kPictureColor = 0xffff0000;
constexpr D3DCOLOR kSkyColor = 0xffffffff;
constexpr float kSkyScale = 0.5f;  // of the camera's far plane

struct PictureVertex {
  float x, y, z, rhw;
  D3DCOLOR colour;
  float u, v;
};
struct SkyVertex {
  float x, y, z;
  D3DCOLOR colour;
  float u, v;
};
static_assert(sizeof(PictureVertex) == 28 && sizeof(SkyVertex) == 24, "the vertex layouts of their formats");

// A corner of a sky box face: its place on the unit box, and which end of the inset texture
// range each coordinate takes (false the low end, true the high one).
struct SkyCorner {
  float x, y, z;
  bool highU, highV;
};
// Faces 1 to 6 name the face images of the cube map; each a strip of four corners.
constexpr SkyCorner kSkyFaces[6][4] = {
    {{1, 1, 1, true, true}, {-1, 1, 1, false, true}, {1, -1, 1, true, false}, {-1, -1, 1, false, false}},
    {{1, 1, -1, true, false}, {-1, 1, -1, false, false}, {1, -1, -1, true, true}, {-1, -1, -1, false, true}},
    {{-1, -1, 1, false, false}, {-1, 1, 1, true, false}, {-1, -1, -1, false, true}, {-1, 1, -1, true, true}},
    {{1, 1, 1, false, false}, {1, -1, 1, true, false}, {1, 1, -1, false, true}, {1, -1, -1, true, true}},
    {{1, -1, 1, false, false}, {-1, -1, 1, true, false}, {1, -1, -1, false, true}, {-1, -1, -1, true, true}},
    {{1, 1, 1, true, false}, {-1, 1, 1, false, false}, {1, 1, -1, true, true}, {-1, 1, -1, false, true}},
};

// No depth test, no culling; stage 0 shows the texture filtered, stage 1 is off.
void applyBackgroundStates(Context& context) {
  RenderStateBlock states(0xffff);
  states.zEnable = false;
  states.cullMode = CullNone;
  context.applyRenderState(states);
  TextureStageStateBlock texture;
  texture.magFilter = FilterLinear;
  texture.minFilter = FilterLinear;
  texture.mipFilter = FilterNone;
  texture.colorOp = TextureSelectArg2;
  texture.colorArg1 = ArgCurrent;
  texture.colorArg2 = ArgTexture;
  context.applyStageState(0, texture);
  TextureStageStateBlock off;
  off.colorOp = TextureDisable;
  off.alphaOp = TextureDisable;
  context.applyStageState(1, off);
}

}  // namespace

void AtmosphericBackground::clear(Camera* camera, uint32_t flags, bool direct) {
  Context& context = *Context::instance;
  switch (clearFunction) {
    case kClearColor:
      // Without a colour there is nothing to clear in.
      if (colorController) clearInColor(colorController->value, flags, direct);
      return;
    case kClearPicture:
      context.clear(flags & ~Context::ClearTarget, direct);
      if ((flags & Context::ClearTarget) && texture) drawPicture();
      return;
    case kClearSkyBox:
      context.clear(flags & ~Context::ClearTarget, direct);
      // The sky box needs the camera's place and far plane.
      if ((flags & Context::ClearTarget) && camera) {
        camera->apply();
        drawSkyBox(*camera);
      }
      return;
    default:
      traceBox("Invalid clear function");
  }
}

void AtmosphericBackground::drawPicture() {
  Context& context = *Context::instance;
  const D3DVIEWPORT9& viewport = context.currentTarget->viewport;
  const float left = static_cast<float>(viewport.X), top = static_cast<float>(viewport.Y);
  const float right = left + static_cast<float>(viewport.Width), bottom = top + static_cast<float>(viewport.Height);
  auto* quad = static_cast<PictureVertex*>(context.lockDynamicVertices(kPictureFvf, sizeof(PictureVertex), 4));
  if (!quad) return;
  quad[0] = {left, top, 1.0f, 1.0f, kPictureColor, 0.0f, 0.0f};
  quad[1] = {right, top, 1.0f, 1.0f, kPictureColor, 1.0f, 0.0f};
  quad[2] = {left, bottom, 1.0f, 1.0f, kPictureColor, 0.0f, 1.0f};
  quad[3] = {right, bottom, 1.0f, 1.0f, kPictureColor, 1.0f, 1.0f};
  context.unlockDynamicVertices();
  applyBackgroundStates(context);
  texture->bind(0);
  context.drawDynamicVertices(D3DPT_TRIANGLESTRIP, 0, 2);
}

void AtmosphericBackground::drawSkyBox(Camera& camera) {
  // A cube without face images (one read from a cube file) has no faces to show here.
  if (!cubemap || cubemap->faceWidth == 0 || cubemap->faceHeight == 0) return;
  Context& context = *Context::instance;
  applyBackgroundStates(context);
  context.setTexture(1, nullptr);
  const matrix& eye = context.transforms.getInverseView();
  const float scale = camera.clipFar() * kSkyScale;
  context.setWorldMatrix(composeMatrix(vect3(eye._41, eye._42, eye._43), quat(0.0f, 0.0f, 0.0f, 1.0f),
                                       vect3(scale, scale, scale)));
  // Texel centres at the edges, so that filtering doesn't wrap to the other side.
  const float w = static_cast<float>(cubemap->faceWidth), h = static_cast<float>(cubemap->faceHeight);
  const float lowU = 1.0f / w, lowV = 1.0f / h, highU = 1.0f - 1.0f / w, highV = 1.0f - 1.0f / h;
  for (int face = 0; face < 6; ++face) {
    auto* strip = static_cast<SkyVertex*>(context.lockDynamicVertices(kSkyFvf, sizeof(SkyVertex), 4));
    if (!strip) return;
    for (int corner = 0; corner < 4; ++corner) {
      const SkyCorner& c = kSkyFaces[face][corner];
      strip[corner] = {c.x, c.y, c.z, kSkyColor, c.highU ? highU : lowU, c.highV ? highV : lowV};
    }
    context.unlockDynamicVertices();
    context.setTexture(0, cubemap->texture(TextureCubemapFile::kFirstFace + face));
    context.drawDynamicVertices(D3DPT_TRIANGLESTRIP, 0, 2);
  }
}

bool AtmosphericBackground::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  int8_t function = 0;
  in.readInt8(&function);
  clearFunction = function;
  if (clearFunction == kClearColor) {
    loadController(in, colorController);
  } else if (clearFunction == kClearPicture) {
    texture = tsio::readShared<Texture>(in);
  } else if (clearFunction == kClearSkyBox) {
    texture = tsio::readShared<Texture>(in);
    // Another kind of texture in its place draws no sky box.
    cubemap = dynamic_cast<TextureCubemapFile*>(texture);
  }
  return in.isGood();
}

void AtmosphericBackground::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeInt8(static_cast<int8_t>(clearFunction));
  if (clearFunction == kClearColor)
    out.writeObject(colorController);
  else if (clearFunction == kClearPicture)
    out.writeObject(texture);
  else if (clearFunction == kClearSkyBox)
    out.writeObject(cubemap);
}

}  // namespace ts3d

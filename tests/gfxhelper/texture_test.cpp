// The texture functions where only a device can show what they did: files drawn with
// point sampling (so that the device itself reads the texels, DXT blocks included), the
// formats the device is given, and reference counts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "gfxhelper/d3dx9tex.h"
#include "tests/device/test_device.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using tstest::Bytes;

// Each row of the 4 x 4 test images, as R, G, B: the four colours of a DXT1 block of red
// over blue (red, blue, then two thirds and one third of the way).
const uint8_t kRow[4][3] = {{255, 0, 0}, {0, 0, 255}, {170, 0, 85}, {85, 0, 170}};
const int kCycle[16] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};

Bytes png() {
  Bytes rgb;
  for (int i = 0; i < 16; ++i) rgb.insert(rgb.end(), kRow[i % 4], kRow[i % 4] + 3);
  return tstest::encodePng(4, 4, 3, rgb.data());
}

ULONG referenceCount(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

class TextureTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(test.ok()) << "no Direct3D 9 device"; }

  IDirect3DDevice9* device() const { return test.get(); }

  bool supports(D3DFORMAT format) {
    IDirect3D9* d3d = nullptr;
    device()->GetDirect3D(&d3d);
    D3DDISPLAYMODE mode;
    d3d->GetAdapterDisplayMode(D3DADAPTER_DEFAULT, &mode);
    const HRESULT hr =
        d3d->CheckDeviceFormat(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, mode.Format, 0, D3DRTYPE_TEXTURE, format);
    d3d->Release();
    return SUCCEEDED(hr);
  }

  IDirect3DTexture9* load(const Bytes& file, D3DPOOL pool = D3DPOOL_MANAGED) {
    IDirect3DTexture9* texture = nullptr;
    EXPECT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), file.data(), static_cast<UINT>(file.size()), D3DX_DEFAULT,
                                                  D3DX_DEFAULT, D3DX_DEFAULT, 0, D3DFMT_UNKNOWN, pool, D3DX_DEFAULT,
                                                  D3DX_DEFAULT, 0, nullptr, nullptr, &texture),
              D3D_OK)
        << gfxhelper::lastTextureError();
    return texture;
  }

  static D3DSURFACE_DESC levelDesc(IDirect3DTexture9* texture, UINT level = 0) {
    D3DSURFACE_DESC desc = {};
    texture->GetLevelDesc(level, &desc);
    return desc;
  }

  // Draws the texture over 64 x 64 pixels with point sampling and compares the middle of
  // each of its 4 x 4 texels with kRow.
  void expectDrawn(IDirect3DTexture9* texture, const std::string& name) {
    struct Vertex {
      float x, y, z, rhw, u, v;
    };
    const Vertex quad[4] = {{-0.5f, -0.5f, 0, 1, 0, 0}, {63.5f, -0.5f, 0, 1, 1, 0}, {-0.5f, 63.5f, 0, 1, 0, 1},
                            {63.5f, 63.5f, 0, 1, 1, 1}};
    IDirect3DDevice9* d = device();
    d->Clear(0, nullptr, D3DCLEAR_TARGET, D3DCOLOR_XRGB(7, 7, 7), 1.0f, 0);
    d->SetRenderState(D3DRS_LIGHTING, FALSE);
    d->SetRenderState(D3DRS_CULLMODE, D3DCULL_NONE);
    d->SetRenderState(D3DRS_ZENABLE, D3DZB_FALSE);
    d->SetTexture(0, texture);
    d->SetTextureStageState(0, D3DTSS_COLOROP, D3DTOP_SELECTARG1);
    d->SetTextureStageState(0, D3DTSS_COLORARG1, D3DTA_TEXTURE);
    d->SetSamplerState(0, D3DSAMP_MINFILTER, D3DTEXF_POINT);
    d->SetSamplerState(0, D3DSAMP_MAGFILTER, D3DTEXF_POINT);
    d->SetSamplerState(0, D3DSAMP_MIPFILTER, D3DTEXF_POINT);
    d->SetFVF(D3DFVF_XYZRHW | D3DFVF_TEX1);
    ASSERT_EQ(d->BeginScene(), D3D_OK);
    d->DrawPrimitiveUP(D3DPT_TRIANGLESTRIP, 2, quad, sizeof(Vertex));
    d->EndScene();
    d->SetTexture(0, nullptr);
    const std::vector<uint32_t> frame = test.readBack();
    ASSERT_FALSE(frame.empty());
    for (int i = 0; i < 16; ++i) {
      const uint32_t pixel = test.pixel(frame, (i % 4) * 16 + 8, (i / 4) * 16 + 8);
      EXPECT_TRUE(tstest::pixelNear(pixel, kRow[i % 4][0], kRow[i % 4][1], kRow[i % 4][2]))
          << name << ": texel " << i << " is " << std::hex << pixel;
    }
    if (HasFailure()) test.saveFailure(frame, name);
  }

  tstest::TestDevice test;
};

TEST_F(TextureTest, LosslessFileDrawnFromEitherPool) {
  // The default pool cannot be locked: it is filled through a twin in system memory.
  for (D3DPOOL pool : {D3DPOOL_MANAGED, D3DPOOL_DEFAULT}) {
    IDirect3DTexture9* texture = load(png(), pool);
    ASSERT_NE(texture, nullptr);
    EXPECT_EQ(levelDesc(texture).Pool, pool);
    expectDrawn(texture, "texture_png_pool_" + std::to_string(pool));
    texture->Release();
  }
}

TEST_F(TextureTest, DxtStaysCompressedOnTheDevice) {
  if (!supports(D3DFMT_DXT1)) GTEST_SKIP() << "the device has no DXT1";
  IDirect3DTexture9* texture = load(tstest::ddsFile(tstest::ddsFourCC(4, 4, D3DFMT_DXT1),
                                                    tstest::dxtColourBlock(0xF800, 0x001F, kCycle)));
  ASSERT_NE(texture, nullptr);
  EXPECT_EQ(levelDesc(texture).Format, D3DFMT_DXT1);
  expectDrawn(texture, "texture_dxt1");
  texture->Release();
}

TEST_F(TextureTest, TwentyFourBitTexelsBecomeThirtyTwo) {
  Bytes bgr;
  for (int i = 0; i < 16; ++i) bgr.insert(bgr.end(), {kRow[i % 4][2], kRow[i % 4][1], kRow[i % 4][0]});
  IDirect3DTexture9* texture = load(tstest::ddsFile(tstest::ddsMasks(4, 4, 24, 0xff0000, 0xff00, 0xff, 0), bgr));
  ASSERT_NE(texture, nullptr);
  const D3DFORMAT made = levelDesc(texture).Format;
  EXPECT_TRUE(made == D3DFMT_X8R8G8B8 || made == D3DFMT_A8R8G8B8) << made;
  expectDrawn(texture, "texture_r8g8b8");
  texture->Release();
}

TEST_F(TextureTest, ReferenceCountsComeBack) {
  const ULONG before = referenceCount(device());
  IDirect3DTexture9* loaded = load(png());
  IDirect3DTexture9* normals = nullptr;
  ASSERT_EQ(D3DXCreateTexture(device(), 16, 16, 0, 0, D3DFMT_A8R8G8B8, D3DPOOL_DEFAULT, &normals), D3D_OK);
  ASSERT_NE(loaded, nullptr);
  ASSERT_EQ(D3DXComputeNormalMap(normals, loaded, nullptr, D3DX_NORMALMAP_COMPUTE_OCCLUSION, D3DX_CHANNEL_LUMINANCE, 10.0f),
            D3D_OK);
  EXPECT_EQ(loaded->Release(), 0u);
  EXPECT_EQ(normals->Release(), 0u);
  EXPECT_EQ(referenceCount(device()), before);
}

// Red and green: the texel's centre; blue: the texel's width, which tells the level.
VOID WINAPI fillByPlace(D3DXVECTOR4* out, const D3DXVECTOR2* coord, const D3DXVECTOR2* size, LPVOID calls) {
  ++*static_cast<int*>(calls);
  *out = D3DXVECTOR4(coord->x, coord->y, size->x, 1.0f);
}

TEST_F(TextureTest, FillTextureEveryTexelOfEveryLevel) {
  IDirect3DTexture9* texture = nullptr;
  ASSERT_EQ(D3DXCreateTexture(device(), 8, 4, 0, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture), D3D_OK);
  int calls = 0;
  ASSERT_EQ(D3DXFillTexture(texture, fillByPlace, &calls), D3D_OK);
  EXPECT_EQ(calls, 8 * 4 + 4 * 2 + 2 * 1 + 1 * 1);
  const auto byte = [](float value) { return static_cast<uint32_t>(std::lround(std::min(value, 1.0f) * 255.0f)); };
  for (UINT level = 0; level < texture->GetLevelCount(); ++level) {
    const D3DSURFACE_DESC desc = levelDesc(texture, level);
    D3DLOCKED_RECT locked;
    ASSERT_EQ(texture->LockRect(level, &locked, nullptr, D3DLOCK_READONLY), D3D_OK);
    for (UINT y = 0; y < desc.Height; ++y)
      for (UINT x = 0; x < desc.Width; ++x)
        EXPECT_EQ(static_cast<const uint32_t*>(locked.pBits)[y * locked.Pitch / 4 + x],
                  0xFF000000u | byte((x + 0.5f) / desc.Width) << 16 | byte((y + 0.5f) / desc.Height) << 8 |
                      byte(1.0f / desc.Width))
            << "level " << level << " texel " << x << ", " << y;
    texture->UnlockRect(level);
  }
  texture->Release();
}

TEST_F(TextureTest, RefusedFilesSayWhy) {
  IDirect3DTexture9* texture = reinterpret_cast<IDirect3DTexture9*>(0x1);
  EXPECT_EQ(D3DXCreateTextureFromFileA(device(), "no_such_file.png", &texture), D3DERR_NOTFOUND);
  EXPECT_EQ(texture, nullptr);
  const Bytes huge = tstest::ddsFile(tstest::ddsFourCC(65536, 65536, D3DFMT_DXT1), Bytes(64, 0));
  EXPECT_EQ(D3DXCreateTextureFromFileInMemory(device(), huge.data(), static_cast<UINT>(huge.size()), &texture),
            D3DXERR_INVALIDDATA);
  EXPECT_NE(gfxhelper::lastTextureError().find("65536 x 65536"), std::string::npos) << gfxhelper::lastTextureError();
}

}  // namespace

// The texture and font functions where only a device can show what they did: the texels and
// formats the device is given, and reference counts.
#include <gtest/gtest.h>

#include <cstring>

#include "gfxhelper/d3dx9font.h"
#include "gfxhelper/d3dx9tex.h"
#include "tests/device/test_device.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using platform::ComPtr;
using tstest::Bytes;

// The JPEG's 4 x 2 texels as B, G, R: a 24-bit DDS file's order.
Bytes bgr() {
  Bytes out;
  for (const auto& t : tstest::kJpegTexels) out.insert(out.end(), {t[2], t[1], t[0]});
  return out;
}

ULONG referenceCount(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

class DeviceHelpers : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(test.ok()) << "no Direct3D 9 device"; }
  tstest::TestDevice test;
};

// Every texture also goes through the normal map; the device's references all come back.
TEST_F(DeviceHelpers, FilesReachTheDeviceInTheirFormatWithTheirTexels) {
  const int cycle[16] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};
  const struct {
    Bytes file;
    D3DFORMAT format;
  } files[] = {
      {tstest::encodePng(4, 2, 3, tstest::kJpegTexels[0]), D3DFMT_X8R8G8B8},
      {tstest::ddsFile(tstest::ddsFourCC(4, 4, D3DFMT_DXT1), tstest::dxtColourBlock(0xF800, 0x001F, cycle)), D3DFMT_DXT1},
      // 24-bit texels, which the device does not take, widened to 32.
      {tstest::ddsFile(tstest::ddsMasks(4, 2, 24, 0xff0000, 0xff00, 0xff, 0), bgr()), D3DFMT_X8R8G8B8},
  };
  const ULONG before = referenceCount(test.get());
  for (const auto& f : files) {
    ComPtr<IDirect3DTexture9> texture, normals;
    ASSERT_EQ(D3DXCreateTextureFromFileInMemory(test.get(), f.file.data(), static_cast<UINT>(f.file.size()), texture.out()),
              D3D_OK) << gfxhelper::lastTextureError();
    D3DSURFACE_DESC desc = {};
    texture->GetLevelDesc(0, &desc);
    EXPECT_EQ(desc.Format, f.format);
    ASSERT_EQ(D3DXCreateTexture(test.get(), 16, 16, 0, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, normals.out()), D3D_OK);
    EXPECT_EQ(D3DXComputeNormalMap(normals.get(), texture.get(), nullptr, D3DX_NORMALMAP_COMPUTE_OCCLUSION,
                                   D3DX_CHANNEL_LUMINANCE, 10.0f), D3D_OK);
    EXPECT_EQ(referenceCount(texture.get()), 1u);
    if (f.format == D3DFMT_DXT1) continue;  // blocks are decoded by the device; their colours are checked natively
    D3DLOCKED_RECT locked;
    ASSERT_EQ(texture->LockRect(0, &locked, nullptr, D3DLOCK_READONLY), D3D_OK);
    const Bytes expected = bgr();
    for (int i = 0; i < 8; ++i)
      EXPECT_EQ(std::memcmp(static_cast<const uint8_t*>(locked.pBits) + (i / 4) * locked.Pitch + (i % 4) * 4, &expected[i * 3], 3), 0)
          << "texel " << i;
    texture->UnlockRect(0);
  }
  EXPECT_EQ(referenceCount(test.get()), before);
}

// The context's font is made and given back; one too big for its glyph atlas is refused.
TEST_F(DeviceHelpers, FontsAreMadeWithinTheirAtlasAndGivenBack) {
  const ULONG before = referenceCount(test.get());
  D3DXFONT_DESCA desc = {};
  desc.Height = 256;  // 256 glyphs of 256 pixels fill no atlas
  desc.MipLevels = 1;
  std::strcpy(desc.FaceName, "Verdana");
  ComPtr<ID3DXFont> font;
  EXPECT_NE(D3DXCreateFontIndirect(test.get(), &desc, font.out()), D3D_OK);
  desc.Height = 16;
  ASSERT_EQ(D3DXCreateFontIndirect(test.get(), &desc, font.out()), D3D_OK);
  EXPECT_EQ(font->PreloadCharacters(0, 127), D3D_OK);
  font.reset();
  EXPECT_EQ(referenceCount(test.get()), before);
}

}  // namespace

// The texture functions on a real device: files of every kind made by our own code,
// loaded and then drawn with point sampling (so that the device itself reads the
// texels, DXT blocks included) or locked and compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "gfxhelper/d3dx9tex.h"
#include "tests/device/test_device.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using tstest::Bytes;

struct Rgba {
  int r, g, b, a;
};

ULONG referenceCount(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

// 16 colours for a 4 x 4 image, opaque, each channel 0, 128 or 255 apart from a few.
const Rgba kColours[16] = {{255, 0, 0, 255},   {0, 255, 0, 255},   {0, 0, 255, 255},   {255, 255, 255, 255},
                           {0, 0, 0, 255},     {255, 255, 0, 255}, {0, 255, 255, 255}, {255, 0, 255, 255},
                           {128, 128, 128, 255}, {200, 100, 50, 255}, {50, 100, 200, 255}, {16, 32, 64, 255},
                           {255, 128, 0, 255}, {0, 128, 255, 255}, {128, 0, 255, 255}, {90, 180, 30, 255}};

std::vector<uint8_t> colourPixels(int channels) {
  std::vector<uint8_t> pixels;
  for (const Rgba& c : kColours) {
    const uint8_t values[4] = {static_cast<uint8_t>(c.r), static_cast<uint8_t>(c.g), static_cast<uint8_t>(c.b),
                               static_cast<uint8_t>(c.a)};
    pixels.insert(pixels.end(), values, values + channels);
  }
  return pixels;
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
    const bool ok = SUCCEEDED(d3d->CheckDeviceFormat(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, mode.Format, 0,
                                                     D3DRTYPE_TEXTURE, format));
    d3d->Release();
    return ok;
  }

  IDirect3DTexture9* load(const Bytes& file) {
    IDirect3DTexture9* texture = nullptr;
    const HRESULT hr =
        D3DXCreateTextureFromFileInMemory(device(), file.data(), static_cast<UINT>(file.size()), &texture);
    EXPECT_EQ(hr, D3D_OK) << gfxhelper::lastTextureError();
    return SUCCEEDED(hr) ? texture : nullptr;
  }

  // Draws `texture` as a square of `size` pixels at (left, top), one texel per
  // size / texture width pixels, with point sampling; optionally blended by its alpha
  // over what is there, optionally from a lower mip level.
  void draw(IDirect3DBaseTexture9* texture, float left, float top, float size, bool blend = false,
            DWORD largestLevel = 0) {
    struct Vertex {
      float x, y, z, rhw, u, v;
    };
    const Vertex quad[4] = {{left - 0.5f, top - 0.5f, 0, 1, 0, 0},
                            {left + size - 0.5f, top - 0.5f, 0, 1, 1, 0},
                            {left - 0.5f, top + size - 0.5f, 0, 1, 0, 1},
                            {left + size - 0.5f, top + size - 0.5f, 0, 1, 1, 1}};
    IDirect3DDevice9* d = device();
    d->SetRenderState(D3DRS_LIGHTING, FALSE);
    d->SetRenderState(D3DRS_CULLMODE, D3DCULL_NONE);
    d->SetRenderState(D3DRS_ZENABLE, D3DZB_FALSE);
    d->SetRenderState(D3DRS_ALPHABLENDENABLE, blend ? TRUE : FALSE);
    d->SetRenderState(D3DRS_SRCBLEND, D3DBLEND_SRCALPHA);
    d->SetRenderState(D3DRS_DESTBLEND, D3DBLEND_INVSRCALPHA);
    d->SetTexture(0, texture);
    d->SetTextureStageState(0, D3DTSS_COLOROP, D3DTOP_SELECTARG1);
    d->SetTextureStageState(0, D3DTSS_COLORARG1, D3DTA_TEXTURE);
    d->SetTextureStageState(0, D3DTSS_ALPHAOP, D3DTOP_SELECTARG1);
    d->SetTextureStageState(0, D3DTSS_ALPHAARG1, D3DTA_TEXTURE);
    d->SetTextureStageState(1, D3DTSS_COLOROP, D3DTOP_DISABLE);
    d->SetSamplerState(0, D3DSAMP_MINFILTER, D3DTEXF_POINT);
    d->SetSamplerState(0, D3DSAMP_MAGFILTER, D3DTEXF_POINT);
    d->SetSamplerState(0, D3DSAMP_MIPFILTER, D3DTEXF_POINT);
    d->SetSamplerState(0, D3DSAMP_MAXMIPLEVEL, largestLevel);
    d->SetSamplerState(0, D3DSAMP_ADDRESSU, D3DTADDRESS_CLAMP);
    d->SetSamplerState(0, D3DSAMP_ADDRESSV, D3DTADDRESS_CLAMP);
    d->SetFVF(D3DFVF_XYZRHW | D3DFVF_TEX1);
    ASSERT_EQ(d->BeginScene(), D3D_OK);
    d->DrawPrimitiveUP(D3DPT_TRIANGLESTRIP, 2, quad, sizeof(Vertex));
    d->EndScene();
    d->SetTexture(0, nullptr);
  }

  void clear(D3DCOLOR colour) { device()->Clear(0, nullptr, D3DCLEAR_TARGET, colour, 1.0f, 0); }

  // Draws a 4 x 4 texture at 16 pixels a texel and compares the middle of each cell.
  void expectCells(IDirect3DTexture9* texture, const Rgba* expected, int tolerance, const std::string& name,
                   DWORD largestLevel = 0, int cells = 4) {
    clear(D3DCOLOR_XRGB(7, 7, 7));
    draw(texture, 0, 0, 64, false, largestLevel);
    const std::vector<uint32_t> frame = test.readBack();
    ASSERT_FALSE(frame.empty());
    bool all = true;
    const int cell = 64 / cells;
    for (int i = 0; i < cells * cells; ++i) {
      const uint32_t pixel = test.pixel(frame, (i % cells) * cell + cell / 2, (i / cells) * cell + cell / 2);
      const bool matches = tstest::pixelNear(pixel, expected[i].r, expected[i].g, expected[i].b, tolerance);
      EXPECT_TRUE(matches) << name << ": cell " << i << " is " << std::hex << pixel << std::dec << ", expected "
                        << expected[i].r << " " << expected[i].g << " " << expected[i].b;
      all = all && matches;
    }
    if (!all) test.saveFailure(frame, name);
  }

  // The level's texels as 0xAARRGGBB, for a texture in A8R8G8B8 or X8R8G8B8.
  std::vector<uint32_t> lockLevel(IDirect3DTexture9* texture, UINT level) {
    std::vector<uint32_t> texels;
    D3DSURFACE_DESC desc;
    texture->GetLevelDesc(level, &desc);
    EXPECT_TRUE(desc.Format == D3DFMT_A8R8G8B8 || desc.Format == D3DFMT_X8R8G8B8);
    D3DLOCKED_RECT locked;
    if (FAILED(texture->LockRect(level, &locked, nullptr, D3DLOCK_READONLY))) return texels;
    for (UINT y = 0; y < desc.Height; ++y) {
      const auto* row = reinterpret_cast<const uint32_t*>(static_cast<const char*>(locked.pBits) + y * locked.Pitch);
      texels.insert(texels.end(), row, row + desc.Width);
    }
    texture->UnlockRect(level);
    return texels;
  }

  D3DSURFACE_DESC levelDesc(IDirect3DTexture9* texture, UINT level) {
    D3DSURFACE_DESC desc = {};
    texture->GetLevelDesc(level, &desc);
    return desc;
  }

  tstest::TestDevice test;
};

Bytes ddsWithData(const tstest::DdsHeader& header, const Bytes& data) {
  Bytes file = tstest::ddsHeader(header);
  file.insert(file.end(), data.begin(), data.end());
  return file;
}

// The 4 x 4 colours as a DDS of 16-bit texels, packed by `pack`.
template <typename Pack>
Bytes dds16(uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha, Pack pack) {
  Bytes data;
  for (const Rgba& c : kColours) tstest::appendLe16(&data, pack(c));
  return ddsWithData(tstest::ddsMasks(4, 4, 16, red, green, blue, alpha), data);
}

// What a channel of `bits` bits, narrowed from 8 with rounding, reads as on 8 bits.
int through(int value, int bits) {
  const int top = (1 << bits) - 1;
  const int narrow = (value * top + 127) / 255;
  return (narrow * 255 + top / 2) / top;
}

int narrow(int value, int bits) { return (value * ((1 << bits) - 1) + 127) / 255; }

TEST_F(TextureTest, PngBmpTgaAndJpegDrawTheirTexels) {
  const std::vector<uint8_t> rgba = colourPixels(4), rgb = colourPixels(3);
  const struct {
    const char* name;
    Bytes file;
    int tolerance;
  } files[] = {
      {"png", tstest::encodePng(4, 4, 4, rgba.data()), 2},
      {"png_rgb", tstest::encodePng(4, 4, 3, rgb.data()), 2},
      {"bmp", tstest::encodeBmp(4, 4, 3, rgb.data()), 2},
      {"tga", tstest::encodeTga(4, 4, 4, rgba.data(), false), 2},
      {"tga_rle", tstest::encodeTga(4, 4, 3, rgb.data(), true), 2},
      // Single texels of many colours are hard on JPEG: our own writer keeps every
      // coefficient; stb_image_write's quantises at quality 100.
      {"jpeg", tstest::encodeJpeg(4, 4, rgb.data()), 6},
  };
  for (const auto& f : files) {
    ASSERT_FALSE(f.file.empty()) << f.name;
    IDirect3DTexture9* texture = load(f.file);
    ASSERT_NE(texture, nullptr) << f.name;
    EXPECT_EQ(referenceCount(texture), 1u) << f.name;
    expectCells(texture, kColours, f.tolerance, std::string("texture_") + f.name);
    texture->Release();
  }
}

TEST_F(TextureTest, JpegFromStbImageWrite) {
  // Flat 8 x 8 blocks survive its quantisation nearly unchanged.
  std::vector<uint8_t> rgb(32 * 32 * 3);
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 32; ++x) {
      const Rgba& c = kColours[(y / 8) * 4 + x / 8];
      rgb[(y * 32 + x) * 3 + 0] = static_cast<uint8_t>(c.r);
      rgb[(y * 32 + x) * 3 + 1] = static_cast<uint8_t>(c.g);
      rgb[(y * 32 + x) * 3 + 2] = static_cast<uint8_t>(c.b);
    }
  IDirect3DTexture9* texture = load(tstest::encodeJpegStb(32, 32, 3, rgb.data(), 100));
  ASSERT_NE(texture, nullptr);
  EXPECT_EQ(levelDesc(texture, 0).Width, 32u);
  expectCells(texture, kColours, 8, "texture_jpeg_stb");
  texture->Release();
}

TEST_F(TextureTest, UncompressedDdsLayouts) {
  Bytes argb;
  for (const Rgba& c : kColours)
    argb.insert(argb.end(), {static_cast<uint8_t>(c.b), static_cast<uint8_t>(c.g), static_cast<uint8_t>(c.r),
                             static_cast<uint8_t>(c.a)});
  Bytes rgb24;
  for (const Rgba& c : kColours)
    rgb24.insert(rgb24.end(), {static_cast<uint8_t>(c.b), static_cast<uint8_t>(c.g), static_cast<uint8_t>(c.r)});
  Bytes grey;
  for (const Rgba& c : kColours) grey.push_back(static_cast<uint8_t>(c.g));

  Rgba as565[16], as555[16], as444[16], asGrey[16];
  for (int i = 0; i < 16; ++i) {
    const Rgba& c = kColours[i];
    as565[i] = {through(c.r, 5), through(c.g, 6), through(c.b, 5), 255};
    as555[i] = {through(c.r, 5), through(c.g, 5), through(c.b, 5), 255};
    as444[i] = {through(c.r, 4), through(c.g, 4), through(c.b, 4), 255};
    asGrey[i] = {c.g, c.g, c.g, 255};
  }
  tstest::DdsHeader luminance = tstest::ddsMasks(4, 4, 8, 0xff, 0, 0, 0);
  luminance.pixelFlags = tstest::kDdpfLuminance;
  const struct {
    const char* name;
    Bytes file;
    const Rgba* expected;
    D3DFORMAT format;
  } files[] = {
      {"a8r8g8b8", ddsWithData(tstest::ddsMasks(4, 4, 32, 0xff0000, 0xff00, 0xff, 0xff000000), argb), kColours,
       D3DFMT_A8R8G8B8},
      {"r8g8b8", ddsWithData(tstest::ddsMasks(4, 4, 24, 0xff0000, 0xff00, 0xff, 0), rgb24), kColours, D3DFMT_R8G8B8},
      {"r5g6b5", dds16(0xf800, 0x7e0, 0x1f, 0,
                       [](const Rgba& c) { return (narrow(c.r, 5) << 11) | (narrow(c.g, 6) << 5) | narrow(c.b, 5); }),
       as565, D3DFMT_R5G6B5},
      {"a1r5g5b5", dds16(0x7c00, 0x3e0, 0x1f, 0x8000,
                         [](const Rgba& c) {
                           return 0x8000 | (narrow(c.r, 5) << 10) | (narrow(c.g, 5) << 5) | narrow(c.b, 5);
                         }),
       as555, D3DFMT_A1R5G5B5},
      {"a4r4g4b4", dds16(0xf00, 0xf0, 0xf, 0xf000,
                         [](const Rgba& c) {
                           return 0xf000 | (narrow(c.r, 4) << 8) | (narrow(c.g, 4) << 4) | narrow(c.b, 4);
                         }),
       as444, D3DFMT_A4R4G4B4},
      {"l8", ddsWithData(luminance, grey), asGrey, D3DFMT_L8},
  };
  for (const auto& f : files) {
    IDirect3DTexture9* texture = load(f.file);
    ASSERT_NE(texture, nullptr) << f.name;
    const D3DFORMAT made = levelDesc(texture, 0).Format;
    // 24-bit texels are avoided unless asked for by name.
    if (f.format == D3DFMT_R8G8B8 || !supports(f.format)) {
      EXPECT_TRUE(made == D3DFMT_X8R8G8B8 || made == D3DFMT_A8R8G8B8) << f.name << " became " << made;
    } else {
      EXPECT_EQ(made, f.format) << f.name << ": the file's own format, which the device takes";
    }
    expectCells(texture, f.expected, 3, std::string("texture_dds_") + f.name);
    texture->Release();
  }
}

const int kCycle[16] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};

TEST_F(TextureTest, DxtFilesAreDecodedByTheDevice) {
  // Rows of the 4 x 4 block read palette entries 0, 1, 2, 3 across; red over blue in
  // four-colour mode gives red, blue, 2/3 red + 1/3 blue, 1/3 red + 2/3 blue.
  const Bytes colour = tstest::dxtColourBlock(0xF800, 0x001F, kCycle);
  const Rgba row[4] = {{255, 0, 0, 255}, {0, 0, 255, 255}, {170, 0, 85, 255}, {85, 0, 170, 255}};
  Rgba expected[16];
  for (int i = 0; i < 16; ++i) expected[i] = row[i % 4];

  Bytes dxt3(8, 0xff);  // opaque
  dxt3.insert(dxt3.end(), colour.begin(), colour.end());
  Bytes dxt5 = {255, 255, 0, 0, 0, 0, 0, 0};  // a0 = a1 = 255, all index 0
  dxt5.insert(dxt5.end(), colour.begin(), colour.end());
  const struct {
    const char* name;
    D3DFORMAT format;
    Bytes data;
  } files[] = {{"dxt1", D3DFMT_DXT1, colour}, {"dxt3", D3DFMT_DXT3, dxt3}, {"dxt5", D3DFMT_DXT5, dxt5}};
  for (const auto& f : files) {
    tstest::DdsHeader header = tstest::ddsFourCC(4, 4, static_cast<uint32_t>(f.format));
    header.mipCount = 1;
    IDirect3DTexture9* texture = nullptr;
    D3DXIMAGE_INFO info = {};
    const Bytes file = ddsWithData(header, f.data);
    ASSERT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), file.data(), static_cast<UINT>(file.size()), D3DX_DEFAULT,
                                                  D3DX_DEFAULT, D3DX_FROM_FILE, 0, D3DFMT_UNKNOWN, D3DPOOL_MANAGED,
                                                  D3DX_DEFAULT, D3DX_DEFAULT, 0, &info, nullptr, &texture),
              D3D_OK)
        << f.name << ": " << gfxhelper::lastTextureError();
    EXPECT_EQ(info.Format, f.format);
    EXPECT_EQ(info.ImageFileFormat, D3DXIFF_DDS);
    EXPECT_EQ(texture->GetLevelCount(), 1u);
    if (supports(f.format)) {
      EXPECT_EQ(levelDesc(texture, 0).Format, f.format) << f.name << " stays compressed";
    }
    expectCells(texture, expected, 3, std::string("texture_") + f.name);
    texture->Release();
  }
}

TEST_F(TextureTest, AlphaReachesTheDevice) {
  // White texels whose alpha steps 0, 85, 170, 255 across, blended over black: grey = alpha.
  const int alpha[4] = {0, 85, 170, 255};
  Rgba expected[16];
  for (int i = 0; i < 16; ++i) expected[i] = {alpha[i % 4], alpha[i % 4], alpha[i % 4], 255};

  std::vector<uint8_t> rgba;
  for (int i = 0; i < 16; ++i) rgba.insert(rgba.end(), {255, 255, 255, static_cast<uint8_t>(alpha[i % 4])});
  const Bytes white = tstest::dxtColourBlock(0xFFFF, 0xFFFF, kCycle);
  // DXT3: each row of four texels is two bytes of 4-bit alpha 0, 5, 10, 15 (times 17).
  Bytes explicitAlpha;
  for (int i = 0; i < 8; ++i) explicitAlpha.push_back(i % 2 ? static_cast<uint8_t>(10 | (15 << 4)) : static_cast<uint8_t>(5 << 4));
  explicitAlpha.insert(explicitAlpha.end(), white.begin(), white.end());
  // DXT5 with a0 = 0, a1 = 255: six steps, so entries 6, 3, 5, 7 are 0, 102, 204, 255.
  Bytes interpolated = {0, 255};
  uint64_t bits = 0;
  const int indices[4] = {6, 3, 5, 7};
  for (int t = 0; t < 16; ++t) bits |= static_cast<uint64_t>(indices[t % 4]) << (3 * t);
  for (int i = 0; i < 6; ++i) interpolated.push_back(static_cast<uint8_t>(bits >> (8 * i)));
  interpolated.insert(interpolated.end(), white.begin(), white.end());
  const int dxt5Alpha[4] = {0, 102, 204, 255};
  Rgba expected5[16];
  for (int i = 0; i < 16; ++i) expected5[i] = {dxt5Alpha[i % 4], dxt5Alpha[i % 4], dxt5Alpha[i % 4], 255};
  // A8 is black with alpha: over white it leaves 255 - alpha.
  Bytes alphaOnly;
  for (int i = 0; i < 16; ++i) alphaOnly.push_back(static_cast<uint8_t>(alpha[i % 4]));
  Rgba inverse[16];
  for (int i = 0; i < 16; ++i) inverse[i] = {255 - alpha[i % 4], 255 - alpha[i % 4], 255 - alpha[i % 4], 255};

  const struct {
    const char* name;
    Bytes file;
    const Rgba* expected;
    D3DCOLOR background;
  } files[] = {
      {"png", tstest::encodePng(4, 4, 4, rgba.data()), expected, D3DCOLOR_XRGB(0, 0, 0)},
      {"tga", tstest::encodeTga(4, 4, 4, rgba.data(), true), expected, D3DCOLOR_XRGB(0, 0, 0)},
      {"dxt3", ddsWithData(tstest::ddsFourCC(4, 4, tstest::fourCC('D', 'X', 'T', '3')), explicitAlpha), expected,
       D3DCOLOR_XRGB(0, 0, 0)},
      {"dxt5", ddsWithData(tstest::ddsFourCC(4, 4, tstest::fourCC('D', 'X', 'T', '5')), interpolated), expected5,
       D3DCOLOR_XRGB(0, 0, 0)},
      {"a8", ddsWithData(tstest::ddsMasks(4, 4, 8, 0, 0, 0, 0xff), alphaOnly), inverse, D3DCOLOR_XRGB(255, 255, 255)},
  };
  for (const auto& f : files) {
    IDirect3DTexture9* texture = load(f.file);
    ASSERT_NE(texture, nullptr) << f.name;
    clear(f.background);
    draw(texture, 0, 0, 64, true);
    const std::vector<uint32_t> frame = test.readBack();
    for (int i = 0; i < 16; ++i) {
      const uint32_t pixel = test.pixel(frame, (i % 4) * 16 + 8, (i / 4) * 16 + 8);
      EXPECT_TRUE(tstest::pixelNear(pixel, f.expected[i].r, f.expected[i].g, f.expected[i].b, 3))
          << f.name << " cell " << i << ": " << std::hex << pixel;
    }
    texture->Release();
  }
}

TEST_F(TextureTest, FullMipChainIsBoxFiltered) {
  // 8 x 4 grey levels; level 1 (4 x 2) averages 2 x 2 squares.
  std::vector<uint8_t> grey(32);
  for (int i = 0; i < 32; ++i) grey[i] = static_cast<uint8_t>(i * 8);
  IDirect3DTexture9* texture = load(tstest::encodePng(8, 4, 1, grey.data()));
  ASSERT_NE(texture, nullptr);
  ASSERT_EQ(texture->GetLevelCount(), 4u);
  const UINT sizes[4][2] = {{8, 4}, {4, 2}, {2, 1}, {1, 1}};
  for (UINT level = 0; level < 4; ++level) {
    EXPECT_EQ(levelDesc(texture, level).Width, sizes[level][0]) << level;
    EXPECT_EQ(levelDesc(texture, level).Height, sizes[level][1]) << level;
  }
  const std::vector<uint32_t> level1 = lockLevel(texture, 1);
  ASSERT_EQ(level1.size(), 8u);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) {
      const int sum = grey[(2 * y) * 8 + 2 * x] + grey[(2 * y) * 8 + 2 * x + 1] + grey[(2 * y + 1) * 8 + 2 * x] +
                      grey[(2 * y + 1) * 8 + 2 * x + 1];
      EXPECT_EQ(level1[y * 4 + x] & 0xff, static_cast<uint32_t>((sum + 2) / 4)) << x << ", " << y;
    }
  // The last level is the mean of all.
  int total = 0;
  for (uint8_t g : grey) total += g;
  EXPECT_NEAR(static_cast<int>(lockLevel(texture, 3)[0] & 0xff), total / 32, 1);
  texture->Release();
}

TEST_F(TextureTest, MipLevelCountsAsAsked) {
  std::vector<uint8_t> grey(64, 90);
  const Bytes file = tstest::encodePng(8, 8, 1, grey.data());
  const struct {
    UINT asked;
    UINT made;
  } cases[] = {{D3DX_DEFAULT, 4}, {0, 4}, {D3DX_FROM_FILE, 1}, {1, 1}, {2, 2}, {10, 4}};
  for (const auto& c : cases) {
    IDirect3DTexture9* texture = nullptr;
    ASSERT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), file.data(), static_cast<UINT>(file.size()), D3DX_DEFAULT,
                                                  D3DX_DEFAULT, c.asked, 0, D3DFMT_UNKNOWN, D3DPOOL_MANAGED,
                                                  D3DX_DEFAULT, D3DX_DEFAULT, 0, nullptr, nullptr, &texture),
              D3D_OK);
    EXPECT_EQ(texture->GetLevelCount(), c.made) << c.asked;
    texture->Release();
  }
}

TEST_F(TextureTest, DxtChainFromTheFileAndLevelsMadeForIt) {
  if (!supports(D3DFMT_DXT1)) GTEST_SKIP() << "the device has no DXT1";
  // 8 x 8 DXT1 with the whole chain: level 0 blocks red, level 1 green, 2 blue, 3 white.
  tstest::DdsHeader header = tstest::ddsFourCC(8, 8, tstest::fourCC('D', 'X', 'T', '1'));
  header.mipCount = 4;
  const int solid[16] = {};
  Bytes data;
  for (int block = 0; block < 4; ++block) {
    const Bytes b = tstest::dxtColourBlock(0xF800, 0, solid);
    data.insert(data.end(), b.begin(), b.end());
  }
  for (uint16_t colour : {0x07E0, 0x001F, 0xFFFF}) {
    const Bytes b = tstest::dxtColourBlock(colour, 0, solid);
    data.insert(data.end(), b.begin(), b.end());
  }
  IDirect3DTexture9* texture = load(ddsWithData(header, data));
  ASSERT_NE(texture, nullptr);
  EXPECT_EQ(levelDesc(texture, 0).Format, D3DFMT_DXT1);
  ASSERT_EQ(texture->GetLevelCount(), 4u);
  Rgba green[16], blue[16];
  for (int i = 0; i < 16; ++i) {
    green[i] = {0, 255, 0, 255};
    blue[i] = {0, 0, 255, 255};
  }
  expectCells(texture, green, 3, "texture_dxt_level1", 1);
  expectCells(texture, blue, 3, "texture_dxt_level2", 2);
  texture->Release();

  // The same 8 x 8 picture without its chain: the levels below are made and compressed.
  header.mipCount = 0;
  texture = load(ddsWithData(header, Bytes(data.begin(), data.begin() + 32)));
  ASSERT_NE(texture, nullptr);
  EXPECT_EQ(levelDesc(texture, 0).Format, D3DFMT_DXT1);
  ASSERT_EQ(texture->GetLevelCount(), 4u);
  Rgba red[16];
  for (Rgba& r : red) r = {255, 0, 0, 255};
  expectCells(texture, red, 3, "texture_dxt_made_level2", 2);
  texture->Release();
}

TEST_F(TextureTest, SizeFilterFormatAndPool) {
  const std::vector<uint8_t> rgba = colourPixels(4);
  const Bytes file = tstest::encodePng(4, 4, 4, rgba.data());
  // Twice the size with point filtering: each texel four times.
  IDirect3DTexture9* texture = nullptr;
  ASSERT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), file.data(), static_cast<UINT>(file.size()), 8, 8, 1, 0,
                                                D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, D3DX_FILTER_POINT, D3DX_DEFAULT, 0,
                                                nullptr, nullptr, &texture),
            D3D_OK);
  const std::vector<uint32_t> big = lockLevel(texture, 0);
  ASSERT_EQ(big.size(), 64u);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x) {
      const Rgba& c = kColours[(y / 2) * 4 + x / 2];
      EXPECT_EQ(big[y * 8 + x], static_cast<uint32_t>((c.a << 24) | (c.r << 16) | (c.g << 8) | c.b)) << x << ", " << y;
    }
  texture->Release();

  // No filter: the image in the corner, transparent black beside it.
  ASSERT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), file.data(), static_cast<UINT>(file.size()), 8, 8, 1, 0,
                                                D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, D3DX_FILTER_NONE, D3DX_DEFAULT, 0,
                                                nullptr, nullptr, &texture),
            D3D_OK);
  const std::vector<uint32_t> corner = lockLevel(texture, 0);
  ASSERT_EQ(corner.size(), 64u);
  EXPECT_EQ(corner[0], 0xFFFF0000u);
  EXPECT_EQ(corner[7], 0u);
  EXPECT_EQ(corner[63], 0u);
  texture->Release();

  // A format asked for: X8R8G8B8 drops alpha; R5G6B5 where the device has it.
  for (D3DFORMAT format : {D3DFMT_X8R8G8B8, D3DFMT_R5G6B5}) {
    ASSERT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), file.data(), static_cast<UINT>(file.size()), D3DX_DEFAULT,
                                                  D3DX_DEFAULT, 1, 0, format, D3DPOOL_MANAGED, D3DX_DEFAULT,
                                                  D3DX_DEFAULT, 0, nullptr, nullptr, &texture),
              D3D_OK);
    if (supports(format)) {
      EXPECT_EQ(levelDesc(texture, 0).Format, format);
    }
    Rgba expected[16];
    for (int i = 0; i < 16; ++i)
      expected[i] = format == D3DFMT_R5G6B5 ? Rgba{through(kColours[i].r, 5), through(kColours[i].g, 6),
                                                    through(kColours[i].b, 5), 255}
                                            : kColours[i];
    expectCells(texture, expected, 3, "texture_format_" + std::to_string(format));
    texture->Release();
  }

  // The default pool cannot be locked: filled through a copy in system memory.
  ASSERT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), file.data(), static_cast<UINT>(file.size()), D3DX_DEFAULT,
                                                D3DX_DEFAULT, D3DX_DEFAULT, 0, D3DFMT_UNKNOWN, D3DPOOL_DEFAULT,
                                                D3DX_DEFAULT, D3DX_DEFAULT, 0, nullptr, nullptr, &texture),
            D3D_OK)
      << gfxhelper::lastTextureError();
  EXPECT_EQ(levelDesc(texture, 0).Pool, D3DPOOL_DEFAULT);
  expectCells(texture, kColours, 2, "texture_default_pool");
  texture->Release();

  // DXT5 asked of a PNG: compressed by our encoder, read back by the device.
  if (supports(D3DFMT_DXT5)) {
    std::vector<uint8_t> flat;
    for (int i = 0; i < 16; ++i) flat.insert(flat.end(), {200, 40, 90, 255});
    const Bytes flatFile = tstest::encodePng(4, 4, 4, flat.data());
    ASSERT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), flatFile.data(), static_cast<UINT>(flatFile.size()),
                                                  D3DX_DEFAULT, D3DX_DEFAULT, 1, 0, D3DFMT_DXT5, D3DPOOL_MANAGED,
                                                  D3DX_DEFAULT, D3DX_DEFAULT, 0, nullptr, nullptr, &texture),
              D3D_OK);
    EXPECT_EQ(levelDesc(texture, 0).Format, D3DFMT_DXT5);
    Rgba expected[16];
    for (Rgba& e : expected) e = {200, 40, 90, 255};
    expectCells(texture, expected, 5, "texture_encoded_dxt5");
    texture->Release();
  }
}

TEST_F(TextureTest, ColorKeyMakesTransparentBlack) {
  std::vector<uint8_t> rgba = colourPixels(4);
  IDirect3DTexture9* texture = nullptr;
  const Bytes file = tstest::encodePng(4, 4, 4, rgba.data());
  ASSERT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), file.data(), static_cast<UINT>(file.size()), D3DX_DEFAULT,
                                                D3DX_DEFAULT, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, D3DX_DEFAULT,
                                                D3DX_DEFAULT, 0xFFFF00FF, nullptr, nullptr, &texture),
            D3D_OK);
  const std::vector<uint32_t> texels = lockLevel(texture, 0);
  ASSERT_EQ(texels.size(), 16u);
  EXPECT_EQ(texels[7], 0u) << "magenta is the key";
  EXPECT_EQ(texels[0], 0xFFFF0000u);
  texture->Release();
}

TEST_F(TextureTest, ImageInfo) {
  const std::vector<uint8_t> rgb = colourPixels(3);
  const Bytes png = tstest::encodePng(4, 4, 3, rgb.data());
  D3DXIMAGE_INFO info = {};
  ASSERT_EQ(D3DXGetImageInfoFromFileInMemory(png.data(), static_cast<UINT>(png.size()), &info), D3D_OK);
  EXPECT_EQ(info.Width, 4u);
  EXPECT_EQ(info.Height, 4u);
  EXPECT_EQ(info.Depth, 1u);
  EXPECT_EQ(info.MipLevels, 1u);
  EXPECT_EQ(info.Format, D3DFMT_X8R8G8B8);
  EXPECT_EQ(info.ResourceType, D3DRTYPE_TEXTURE);
  EXPECT_EQ(info.ImageFileFormat, D3DXIFF_PNG);

  tstest::DdsHeader header = tstest::ddsMasks(8, 2, 16, 0xf800, 0x7e0, 0x1f, 0);
  header.mipCount = 3;
  const Bytes dds = ddsWithData(header, Bytes(2 * (16 + 4 + 2), 0));
  IDirect3DTexture9* texture = nullptr;
  ASSERT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), dds.data(), static_cast<UINT>(dds.size()), D3DX_DEFAULT,
                                                D3DX_DEFAULT, D3DX_DEFAULT, 0, D3DFMT_UNKNOWN, D3DPOOL_MANAGED,
                                                D3DX_DEFAULT, D3DX_DEFAULT, 0, &info, nullptr, &texture),
            D3D_OK);
  EXPECT_EQ(info.Width, 8u);
  EXPECT_EQ(info.Height, 2u);
  EXPECT_EQ(info.MipLevels, 3u);
  EXPECT_EQ(info.Format, D3DFMT_R5G6B5);
  EXPECT_EQ(info.ImageFileFormat, D3DXIFF_DDS);
  EXPECT_EQ(texture->GetLevelCount(), 4u) << "the full chain of 8 x 2, the file's three levels and one made";
  texture->Release();
}

TEST_F(TextureTest, FromFileAndFailures) {
  const std::vector<uint8_t> rgba = colourPixels(4);
  const Bytes png = tstest::encodePng(4, 4, 4, rgba.data());
  const char* path = "texture_test_image.png";
  std::FILE* out = std::fopen(path, "wb");
  ASSERT_NE(out, nullptr);
  std::fwrite(png.data(), 1, png.size(), out);
  std::fclose(out);
  IDirect3DTexture9* texture = nullptr;
  ASSERT_EQ(D3DXCreateTextureFromFileA(device(), path, &texture), D3D_OK);
  expectCells(texture, kColours, 2, "texture_from_file");
  texture->Release();
  std::remove(path);

  texture = reinterpret_cast<IDirect3DTexture9*>(0x1);
  EXPECT_EQ(D3DXCreateTextureFromFileA(device(), "no_such_file.png", &texture), D3DERR_NOTFOUND);
  EXPECT_EQ(texture, nullptr);
  EXPECT_NE(gfxhelper::lastTextureError().find("no_such_file.png"), std::string::npos);

  const Bytes garbage = {'n', 'o', 't', ' ', 'a', 'n', ' ', 'i', 'm', 'a', 'g', 'e', 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(D3DXCreateTextureFromFileInMemory(device(), garbage.data(), static_cast<UINT>(garbage.size()), &texture),
            static_cast<HRESULT>(0x88760B59u));
  EXPECT_EQ(D3DXERR_INVALIDDATA, static_cast<HRESULT>(0x88760B59u));
  EXPECT_EQ(texture, nullptr);
  EXPECT_FALSE(gfxhelper::lastTextureError().empty());

  const Bytes cut(png.begin(), png.begin() + static_cast<std::ptrdiff_t>(png.size() / 2));
  EXPECT_EQ(D3DXCreateTextureFromFileInMemory(device(), cut.data(), static_cast<UINT>(cut.size()), &texture),
            D3DXERR_INVALIDDATA);
  tstest::DdsHeader huge = tstest::ddsFourCC(65536, 65536, tstest::fourCC('D', 'X', 'T', '1'));
  const Bytes hugeFile = ddsWithData(huge, Bytes(64, 0));
  EXPECT_EQ(D3DXCreateTextureFromFileInMemory(device(), hugeFile.data(), static_cast<UINT>(hugeFile.size()), &texture),
            D3DXERR_INVALIDDATA);
  EXPECT_NE(gfxhelper::lastTextureError().find("65536 x 65536"), std::string::npos) << gfxhelper::lastTextureError();

  EXPECT_EQ(D3DXCreateTextureFromFileInMemory(nullptr, png.data(), static_cast<UINT>(png.size()), &texture),
            D3DERR_INVALIDCALL);
  EXPECT_EQ(D3DXCreateTextureFromFileInMemory(device(), nullptr, 10, &texture), D3DERR_INVALIDCALL);
  EXPECT_EQ(D3DXCreateTextureFromFileInMemory(device(), png.data(), static_cast<UINT>(png.size()), nullptr),
            D3DERR_INVALIDCALL);
  EXPECT_EQ(D3DXCreateTextureFromFileInMemoryEx(device(), png.data(), static_cast<UINT>(png.size()), D3DX_DEFAULT,
                                                D3DX_DEFAULT, D3DX_DEFAULT, 0, D3DFMT_UNKNOWN, D3DPOOL_MANAGED, 9,
                                                D3DX_DEFAULT, 0, nullptr, nullptr, &texture),
            D3DERR_INVALIDCALL)
      << "filter 9 does not exist";
  tstest::DdsHeader cube = tstest::ddsMasks(1, 1, 32, 0xff0000, 0xff00, 0xff, 0);
  cube.caps2 = 0x200 | 0xfc00;
  const Bytes cubeFile = ddsWithData(cube, Bytes(24, 0));
  EXPECT_EQ(D3DXCreateTextureFromFileInMemory(device(), cubeFile.data(), static_cast<UINT>(cubeFile.size()), &texture),
            D3DXERR_INVALIDDATA);
}

TEST_F(TextureTest, ReferenceCountsComeBack) {
  const ULONG before = referenceCount(device());
  const std::vector<uint8_t> rgba = colourPixels(4);
  const Bytes png = tstest::encodePng(4, 4, 4, rgba.data());
  IDirect3DTexture9* loaded = load(png);
  IDirect3DTexture9* empty = nullptr;
  ASSERT_EQ(D3DXCreateTexture(device(), 16, 16, 0, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &empty), D3D_OK);
  IDirect3DTexture9* pooled = nullptr;
  ASSERT_EQ(D3DXCreateTexture(device(), 16, 16, 0, 0, D3DFMT_A8R8G8B8, D3DPOOL_DEFAULT, &pooled), D3D_OK);
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(referenceCount(loaded), 1u);
  EXPECT_EQ(referenceCount(empty), 1u);
  ASSERT_EQ(D3DXComputeNormalMap(empty, loaded, nullptr, D3DX_NORMALMAP_COMPUTE_OCCLUSION, D3DX_CHANNEL_LUMINANCE, 10.0f),
            D3D_OK);
  ASSERT_EQ(D3DXComputeNormalMap(pooled, loaded, nullptr, 0, D3DX_CHANNEL_LUMINANCE, 10.0f), D3D_OK);
  EXPECT_EQ(referenceCount(loaded), 1u);
  EXPECT_EQ(referenceCount(empty), 1u);
  EXPECT_EQ(referenceCount(pooled), 1u);
  EXPECT_EQ(loaded->Release(), 0u);
  EXPECT_EQ(empty->Release(), 0u);
  EXPECT_EQ(pooled->Release(), 0u);
  EXPECT_EQ(referenceCount(device()), before);
}

TEST_F(TextureTest, CreateTextureSizesAndDefaults) {
  D3DCAPS9 caps;
  device()->GetDeviceCaps(&caps);
  const bool pow2 = (caps.TextureCaps & D3DPTEXTURECAPS_POW2) != 0;
  IDirect3DTexture9* texture = nullptr;
  ASSERT_EQ(D3DXCreateTexture(device(), 64, 16, 0, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture), D3D_OK);
  EXPECT_EQ(texture->GetLevelCount(), 7u);
  EXPECT_EQ(levelDesc(texture, 6).Width, 1u);
  texture->Release();

  ASSERT_EQ(D3DXCreateTexture(device(), D3DX_DEFAULT, D3DX_DEFAULT, 1, 0, D3DFMT_UNKNOWN, D3DPOOL_MANAGED, &texture),
            D3D_OK);
  EXPECT_EQ(levelDesc(texture, 0).Width, 256u);
  EXPECT_EQ(levelDesc(texture, 0).Height, 256u);
  EXPECT_EQ(levelDesc(texture, 0).Format, D3DFMT_A8R8G8B8);
  texture->Release();

  ASSERT_EQ(D3DXCreateTexture(device(), D3DX_DEFAULT, 32, 1, 0, D3DFMT_X8R8G8B8, D3DPOOL_MANAGED, &texture), D3D_OK);
  EXPECT_EQ(levelDesc(texture, 0).Width, 32u);
  texture->Release();

  ASSERT_EQ(D3DXCreateTexture(device(), 0, 5, D3DX_DEFAULT, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture), D3D_OK);
  EXPECT_EQ(levelDesc(texture, 0).Width, 1u);
  EXPECT_EQ(levelDesc(texture, 0).Height, pow2 ? 8u : 5u);
  texture->Release();

  if (supports(D3DFMT_DXT1)) {
    ASSERT_EQ(D3DXCreateTexture(device(), 6, 6, 1, 0, D3DFMT_DXT1, D3DPOOL_MANAGED, &texture), D3D_OK);
    EXPECT_EQ(levelDesc(texture, 0).Width % 4, 0u) << "whole DXT blocks";
    texture->Release();
  }
  EXPECT_EQ(D3DXCreateTexture(nullptr, 4, 4, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture), D3DERR_INVALIDCALL);
  EXPECT_EQ(D3DXCreateTexture(device(), 4, 4, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, nullptr), D3DERR_INVALIDCALL);
}

// Red and green: the texel's centre; blue: the texel's width, which tells the level; alpha 1.
VOID WINAPI fillByPlace(D3DXVECTOR4* out, const D3DXVECTOR2* coord, const D3DXVECTOR2* size, LPVOID data) {
  ++*static_cast<int*>(data);
  *out = D3DXVECTOR4(coord->x, coord->y, size->x, 1.0f);
}

TEST_F(TextureTest, FillTextureEveryTexelOfEveryLevel) {
  IDirect3DTexture9* texture = nullptr;
  ASSERT_EQ(D3DXCreateTexture(device(), 8, 4, 0, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture), D3D_OK);
  int calls = 0;
  ASSERT_EQ(D3DXFillTexture(texture, fillByPlace, &calls), D3D_OK);
  EXPECT_EQ(calls, 8 * 4 + 4 * 2 + 2 * 1 + 1 * 1);
  for (UINT level = 0; level < texture->GetLevelCount(); ++level) {
    const D3DSURFACE_DESC desc = levelDesc(texture, level);
    const std::vector<uint32_t> texels = lockLevel(texture, level);
    ASSERT_EQ(texels.size(), desc.Width * desc.Height);
    for (UINT y = 0; y < desc.Height; ++y)
      for (UINT x = 0; x < desc.Width; ++x) {
        const auto byte = [](float value) { return static_cast<uint32_t>(std::lround(std::min(value, 1.0f) * 255.0f)); };
        const uint32_t want = 0xFF000000u | (byte((x + 0.5f) / desc.Width) << 16) |
                              (byte((y + 0.5f) / desc.Height) << 8) | byte(1.0f / desc.Width);
        EXPECT_EQ(texels[y * desc.Width + x], want) << "level " << level << " texel " << x << ", " << y;
      }
  }
  texture->Release();
}

VOID WINAPI fillRed(D3DXVECTOR4* out, const D3DXVECTOR2*, const D3DXVECTOR2*, LPVOID) {
  *out = D3DXVECTOR4(1.0f, 0.0f, 0.0f, 1.0f);
}

TEST_F(TextureTest, FillTextureInOtherFormatsAndPools) {
  Rgba red[16];
  for (Rgba& r : red) r = {255, 0, 0, 255};
  for (D3DPOOL pool : {D3DPOOL_MANAGED, D3DPOOL_DEFAULT}) {
    for (D3DFORMAT format : {D3DFMT_R5G6B5, D3DFMT_X8R8G8B8}) {
      IDirect3DTexture9* texture = nullptr;
      ASSERT_EQ(D3DXCreateTexture(device(), 4, 4, 1, 0, format, pool, &texture), D3D_OK);
      ASSERT_EQ(D3DXFillTexture(texture, fillRed, nullptr), D3D_OK) << gfxhelper::lastTextureError();
      expectCells(texture, red, 2, "texture_fill_" + std::to_string(format) + "_" + std::to_string(pool));
      texture->Release();
    }
  }
  EXPECT_EQ(D3DXFillTexture(nullptr, fillRed, nullptr), D3DERR_INVALIDCALL);
}

// The engine's conversion: a loaded image, an empty A8R8G8B8 chain of its size, the
// normal map from its luminance with occlusion and amplitude 10.
TEST_F(TextureTest, NormalMapOfARamp) {
  std::vector<uint8_t> grey;
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 64; ++x) grey.push_back(static_cast<uint8_t>(40 + 2 * x));
  IDirect3DTexture9* heights = load(tstest::encodePng(64, 16, 1, grey.data()));
  ASSERT_NE(heights, nullptr);
  D3DSURFACE_DESC desc = levelDesc(heights, 0);
  IDirect3DTexture9* normal = nullptr;
  ASSERT_EQ(D3DXCreateTexture(device(), desc.Width, desc.Height, 0, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &normal),
            D3D_OK);
  ASSERT_EQ(D3DXComputeNormalMap(normal, heights, nullptr, D3DX_NORMALMAP_COMPUTE_OCCLUSION, D3DX_CHANNEL_LUMINANCE,
                                 10.0f),
            D3D_OK)
      << gfxhelper::lastTextureError();
  heights->Release();

  // Rising to the right by 2 levels a texel: the normal leans left (-x), not up or down.
  const float slope = 10.0f * 2.0f / 255.0f;
  const float length = std::sqrt(1.0f + slope * slope);
  const auto channel = [](uint32_t texel, int shift) { return static_cast<float>((texel >> shift) & 0xff) / 127.5f - 1.0f; };
  const std::vector<uint32_t> level0 = lockLevel(normal, 0);
  ASSERT_EQ(level0.size(), 64u * 16u);
  const uint32_t texel = level0[8 * 64 + 30];
  EXPECT_NEAR(channel(texel, 16), -slope / length, 0.01f);
  EXPECT_NEAR(channel(texel, 8), 0.0f, 0.01f);
  EXPECT_NEAR(channel(texel, 0), 1.0f / length, 0.01f);
  // Occlusion: uphill the horizon rises at the slope, along the two uphill diagonals at
  // slope / sqrt 2; five of the eight directions are open.
  const float d = slope / std::sqrt(2.0f);
  const float blocked = slope / std::sqrt(1 + slope * slope) + 2 * d / std::sqrt(1 + d * d);
  EXPECT_NEAR(static_cast<float>(texel >> 24), (1.0f - blocked / 8.0f) * 255.0f, 1.0f);

  // Every level holds unit normals leaning the same way.
  ASSERT_EQ(normal->GetLevelCount(), 7u);
  for (UINT level = 1; level < normal->GetLevelCount(); ++level) {
    const std::vector<uint32_t> texels = lockLevel(normal, level);
    const D3DSURFACE_DESC d2 = levelDesc(normal, level);
    const uint32_t middle = texels[(d2.Height / 2) * d2.Width + d2.Width / 2];
    const float x = channel(middle, 16), y = channel(middle, 8), z = channel(middle, 0);
    EXPECT_NEAR(std::sqrt(x * x + y * y + z * z), 1.0f, 0.02f) << level;
    if (d2.Width >= 8) {
      EXPECT_LT(x, -0.03f) << level;
    }
  }
  normal->Release();

  // The other flags: the sign turned, and no occlusion leaves alpha at 1.
  heights = load(tstest::encodePng(64, 16, 1, grey.data()));
  ASSERT_EQ(D3DXCreateTexture(device(), 64, 16, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &normal), D3D_OK);
  ASSERT_EQ(D3DXComputeNormalMap(normal, heights, nullptr, D3DX_NORMALMAP_INVERTSIGN, D3DX_CHANNEL_LUMINANCE, 10.0f),
            D3D_OK);
  const uint32_t inverted = lockLevel(normal, 0)[8 * 64 + 30];
  EXPECT_NEAR(channel(inverted, 16), slope / length, 0.01f);
  EXPECT_EQ(inverted >> 24, 255u);
  EXPECT_EQ(D3DXComputeNormalMap(normal, heights, nullptr, 0, D3DX_CHANNEL_RED | D3DX_CHANNEL_GREEN, 10.0f),
            D3DERR_INVALIDCALL);
  EXPECT_EQ(D3DXComputeNormalMap(nullptr, heights, nullptr, 0, D3DX_CHANNEL_LUMINANCE, 10.0f), D3DERR_INVALIDCALL);
  normal->Release();
  heights->Release();
}

}  // namespace

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

#include "gfxhelper/d3dx9font.h"
#include "tests/device/test_device.h"

namespace {

// The font the rendering context makes at start-up.
D3DXFONT_DESCA verdana16() {
  D3DXFONT_DESCA desc = {};
  desc.Height = 16;
  desc.Weight = FW_NORMAL;
  desc.MipLevels = 1;
  desc.CharSet = 1;
  desc.Quality = 4;
  desc.PitchAndFamily = 2;
  std::strcpy(desc.FaceName, "Verdana");
  return desc;
}

ULONG referenceCount(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

// The smallest box around every pixel that is not black, and what the pixels held.
struct Ink {
  RECT box = {LONG_MAX, LONG_MAX, LONG_MIN, LONG_MIN};
  int pixels = 0;
  int red = 0;    // bright red
  int other = 0;  // any green or blue
  bool inside(const RECT& rect) const {
    return box.left >= rect.left && box.top >= rect.top && box.right <= rect.right && box.bottom <= rect.bottom;
  }
};

class FontTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(test.ok()) << "no Direct3D 9 device";
    const D3DXFONT_DESCA desc = verdana16();
    ASSERT_EQ(D3DXCreateFontIndirect(test.get(), &desc, &font), D3D_OK);
  }
  void TearDown() override {
    if (font) font->Release();
  }

  // Draws on black in red and returns DrawTextA's result, with the ink it left.
  int draw(const char* text, RECT rect, DWORD format, Ink* ink) {
    test.get()->Clear(0, nullptr, D3DCLEAR_TARGET, 0, 1.0f, 0);
    if (FAILED(test.get()->BeginScene())) return -1;
    const int height = font->DrawTextA(nullptr, text, -1, &rect, format, D3DCOLOR_XRGB(255, 0, 0));
    test.get()->EndScene();
    const std::vector<uint32_t> frame = test.readBack();
    for (unsigned int y = 0; y < test.height; ++y)
      for (unsigned int x = 0; x < test.width && !frame.empty(); ++x) {
        const uint32_t pixel = test.pixel(frame, x, y);
        if ((pixel & 0x00ffffffu) == 0) continue;
        ++ink->pixels;
        ink->red += (pixel >> 16 & 0xff) >= 200;
        ink->other += (pixel & 0xffff) != 0;
        ink->box = {std::min<LONG>(ink->box.left, x), std::min<LONG>(ink->box.top, y),
                    std::max<LONG>(ink->box.right, x + 1), std::max<LONG>(ink->box.bottom, y + 1)};
      }
    if (HasFailure()) test.saveFailure(frame, "font");
    return height;
  }

  RECT measure(const char* text, DWORD format = DT_SINGLELINE, RECT rect = {0, 0, 0, 0}) {
    font->DrawTextA(nullptr, text, -1, &rect, format | DT_CALCRECT, 0xffffffff);
    return rect;
  }

  tstest::TestDevice test;
  ID3DXFont* font = nullptr;
};

TEST_F(FontTest, DrawsInItsColourWithinTheMeasuredBox) {
  const RECT rect = {100, 100, 300, 160}, size = measure("HI");
  Ink ink;
  EXPECT_EQ(draw("HI", rect, DT_LEFT | DT_TOP | DT_SINGLELINE, &ink), size.bottom);
  EXPECT_GE(size.bottom, 12);
  EXPECT_LE(size.bottom, 24);
  EXPECT_GE(ink.red, 10);
  EXPECT_EQ(ink.other, 0) << "green or blue in red text";
  EXPECT_TRUE(ink.inside({rect.left, rect.top, rect.left + size.right, rect.top + size.bottom}));
  EXPECT_GE(ink.box.right - ink.box.left, size.right / 2) << "both letters";
  Ink corner;
  draw("HI", rect, DT_RIGHT | DT_BOTTOM | DT_SINGLELINE, &corner);
  EXPECT_TRUE(corner.inside({rect.right - size.right, rect.bottom - size.bottom, rect.right, rect.bottom}));
}

TEST_F(FontTest, MeasuresLinesWithoutDrawing) {
  const RECT one = measure("HI");
  EXPECT_GT(measure("HIHI").right, one.right);
  EXPECT_EQ(measure("HI\nHI", 0).bottom, 2 * one.bottom);
  EXPECT_EQ(measure("HI\nHI", DT_SINGLELINE).bottom, one.bottom);
  EXPECT_EQ(measure("HI", DT_SINGLELINE, {LONG_MAX - 2, 0, LONG_MAX - 2, 0}).right, LONG_MAX) << "no overflow";
  Ink ink;
  EXPECT_EQ(draw("HI", {10, 20, 10, 20}, DT_CALCRECT, &ink), one.bottom);
  EXPECT_EQ(ink.pixels, 0) << "DT_CALCRECT drew";
}

TEST_F(FontTest, ClipsToTheRectUnlessNoClip) {
  const RECT small = {200, 200, 212, 208};  // narrower and lower than the text
  Ink clipped, unclipped;
  draw("HIHIHI", small, DT_SINGLELINE, &clipped);
  EXPECT_GT(clipped.pixels, 0);
  EXPECT_TRUE(clipped.inside(small));
  draw("HIHIHI", small, DT_SINGLELINE | DT_NOCLIP, &unclipped);
  EXPECT_GT(unclipped.box.right, small.right);
  EXPECT_GT(unclipped.box.bottom, small.bottom);
}

TEST_F(FontTest, LeavesTheCallersStatesAndTexture) {
  IDirect3DDevice9* d = test.get();
  IDirect3DTexture9* own = nullptr;
  ASSERT_EQ(d->CreateTexture(4, 4, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &own, nullptr), D3D_OK);
  d->SetTexture(0, own);
  const ULONG count = referenceCount(own);
  const D3DRENDERSTATETYPE states[] = {D3DRS_ALPHABLENDENABLE, D3DRS_ZENABLE, D3DRS_SRCBLEND, D3DRS_CULLMODE};
  const DWORD values[] = {FALSE, D3DZB_TRUE, D3DBLEND_ONE, D3DCULL_CW};
  for (int i = 0; i < 4; ++i) d->SetRenderState(states[i], values[i]);
  d->SetFVF(D3DFVF_XYZ | D3DFVF_NORMAL);
  Ink ink;
  ASSERT_GT(draw("HI", {10, 10, 200, 60}, DT_SINGLELINE, &ink), 0);
  EXPECT_GT(ink.pixels, 0) << "nothing drawn, so nothing was at stake";
  for (int i = 0; i < 4; ++i) {
    DWORD value = 0;
    d->GetRenderState(states[i], &value);
    EXPECT_EQ(value, values[i]) << states[i];
  }
  DWORD fvf = 0;
  d->GetFVF(&fvf);
  EXPECT_EQ(fvf, static_cast<DWORD>(D3DFVF_XYZ | D3DFVF_NORMAL));
  IDirect3DBaseTexture9* bound = nullptr;
  d->GetTexture(0, &bound);
  EXPECT_EQ(bound, static_cast<IDirect3DBaseTexture9*>(own));
  if (bound) bound->Release();
  EXPECT_EQ(referenceCount(own), count);
  d->SetTexture(0, nullptr);
  own->Release();
}

TEST(FontLifetime, BadDescriptionsAreRefusedAndTheDeviceGivenBack) {
  tstest::TestDevice test;
  ASSERT_TRUE(test.ok()) << "no Direct3D 9 device";
  const ULONG before = referenceCount(test.get());
  const auto made = [&](void (*change)(D3DXFONT_DESCA&)) {
    D3DXFONT_DESCA desc = verdana16();
    change(desc);
    ID3DXFont* font = reinterpret_cast<ID3DXFont*>(&test);  // must be overwritten
    const HRESULT result = D3DXCreateFontIndirect(test.get(), &desc, &font);
    EXPECT_EQ(SUCCEEDED(result), font != nullptr) << result;
    return font && font->Release() == 0;
  };
  EXPECT_TRUE(made([](D3DXFONT_DESCA&) {}));
  EXPECT_TRUE(made([](D3DXFONT_DESCA& d) { d.Height = 64; }));
  EXPECT_FALSE(made([](D3DXFONT_DESCA& d) { d.Height = 0; }));
  EXPECT_FALSE(made([](D3DXFONT_DESCA& d) { d.Height = 256; })) << "256 glyphs of 256 pixels fill no atlas";
  EXPECT_FALSE(made([](D3DXFONT_DESCA& d) { d.Width = 257; }));
  EXPECT_FALSE(made([](D3DXFONT_DESCA& d) { std::memset(d.FaceName, 'A', sizeof d.FaceName); })) << "unended name";
  EXPECT_EQ(referenceCount(test.get()), before);
}

}  // namespace

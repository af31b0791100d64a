#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "gfxhelper/d3dx9font.h"
#include "tests/device/test_device.h"

namespace {

// The font the rendering context makes at start-up.
D3DXFONT_DESCA verdana16() {
  D3DXFONT_DESCA desc = {};
  desc.Height = 16;
  desc.Width = 0;
  desc.Weight = FW_NORMAL;
  desc.MipLevels = 1;
  desc.Italic = FALSE;
  desc.CharSet = 1;
  desc.OutputPrecision = 0;
  desc.Quality = 4;
  desc.PitchAndFamily = 2;
  std::strcpy(desc.FaceName, "Verdana");
  return desc;
}

ULONG referenceCount(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

// The smallest box around every pixel that is not black.
struct InkBox {
  LONG left = LONG_MAX, top = LONG_MAX, right = LONG_MIN, bottom = LONG_MIN;
  int pixels = 0;   // not black
  int bright = 0;   // near white
  bool empty() const { return pixels == 0; }
  bool inside(const RECT& rect) const {
    return left >= rect.left && top >= rect.top && right <= rect.right && bottom <= rect.bottom;
  }
};

InkBox inkBox(const tstest::TestDevice& test, const std::vector<uint32_t>& frame) {
  InkBox box;
  for (unsigned int y = 0; y < test.height; ++y)
    for (unsigned int x = 0; x < test.width; ++x) {
      const uint32_t pixel = test.pixel(frame, x, y);
      if ((pixel & 0x00ffffffu) == 0) continue;
      ++box.pixels;
      if (tstest::pixelNear(pixel, 255, 255, 255, 55)) ++box.bright;
      box.left = std::min(box.left, static_cast<LONG>(x));
      box.top = std::min(box.top, static_cast<LONG>(y));
      box.right = std::max(box.right, static_cast<LONG>(x) + 1);
      box.bottom = std::max(box.bottom, static_cast<LONG>(y) + 1);
    }
  return box;
}

class FontTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(test.ok()) << "no Direct3D 9 device";
    const D3DXFONT_DESCA desc = verdana16();
    ASSERT_EQ(D3DXCreateFontIndirect(device(), &desc, &font), D3D_OK);
    ASSERT_NE(font, nullptr);
  }
  void TearDown() override {
    if (font) font->Release();
  }

  IDirect3DDevice9* device() const { return test.get(); }

  // Clears to black, draws in a scene and returns DrawTextA's result.
  int drawOnBlack(const char* text, RECT rect, DWORD format, D3DCOLOR color = 0xffffffff) {
    device()->Clear(0, nullptr, D3DCLEAR_TARGET, 0, 1.0f, 0);
    if (FAILED(device()->BeginScene())) return -1;
    const int height = font->DrawTextA(nullptr, text, -1, &rect, format, color);
    device()->EndScene();
    return height;
  }

  RECT measure(const char* text, DWORD format = DT_SINGLELINE) {
    RECT rect = {0, 0, 0, 0};
    font->DrawTextA(nullptr, text, -1, &rect, format | DT_CALCRECT, 0xffffffff);
    return rect;
  }

  tstest::TestDevice test;
  ID3DXFont* font = nullptr;
};

TEST_F(FontTest, DescriptionGivenIsReadBack) {
  const D3DXFONT_DESCA given = verdana16();
  D3DXFONT_DESCA read;
  std::memset(&read, 0xcd, sizeof read);
  ASSERT_EQ(font->GetDescA(&read), D3D_OK);
  EXPECT_EQ(read.Height, given.Height);
  EXPECT_EQ(read.Width, given.Width);
  EXPECT_EQ(read.Weight, given.Weight);
  EXPECT_EQ(read.MipLevels, given.MipLevels);
  EXPECT_EQ(read.Italic, given.Italic);
  EXPECT_EQ(read.CharSet, given.CharSet);
  EXPECT_EQ(read.OutputPrecision, given.OutputPrecision);
  EXPECT_EQ(read.Quality, given.Quality);
  EXPECT_EQ(read.PitchAndFamily, given.PitchAndFamily);
  EXPECT_STREQ(read.FaceName, "Verdana");
  EXPECT_EQ(font->GetDescA(nullptr), D3DERR_INVALIDCALL);
}

TEST_F(FontTest, GetDeviceGivesTheDeviceWithAReference) {
  const ULONG before = referenceCount(device());
  IDirect3DDevice9* got = nullptr;
  ASSERT_EQ(font->GetDevice(&got), D3D_OK);
  EXPECT_EQ(got, device());
  EXPECT_EQ(referenceCount(device()), before + 1);
  got->Release();
  EXPECT_EQ(referenceCount(device()), before);
}

TEST_F(FontTest, PreloadsTheAsciiRangeAndText) {
  EXPECT_EQ(font->PreloadCharacters(0, 127), D3D_OK);
  EXPECT_EQ(font->PreloadCharacters(128, 255), D3D_OK);
  EXPECT_EQ(font->PreloadCharacters(0, 0xffffffffu), D3D_OK);  // codes past 255 are ignored
  EXPECT_EQ(font->PreloadTextA("Hello, world", -1), D3D_OK);
  EXPECT_EQ(font->PreloadTextA("\xe9\xe8", 2), D3D_OK);
  EXPECT_EQ(font->PreloadTextA(nullptr, 3), D3DERR_INVALIDCALL);
}

TEST_F(FontTest, DrawsWhiteTextInsideItsRectOnly) {
  const RECT rect = {100, 100, 300, 160};
  const int height = drawOnBlack("HI", rect, DT_LEFT | DT_TOP | DT_SINGLELINE);
  const std::vector<uint32_t> frame = test.readBack();
  ASSERT_EQ(frame.size(), 640u * 480u);
  const InkBox ink = inkBox(test, frame);
  const RECT measured = measure("HI");
  const RECT textBox = {rect.left, rect.top, rect.left + measured.right, rect.top + measured.bottom};

  EXPECT_GE(height, 12);
  EXPECT_LE(height, 24);
  EXPECT_GE(ink.bright, 10) << "too little of the glyphs came out white";
  EXPECT_TRUE(ink.inside(rect)) << "ink at " << ink.left << "," << ink.top << " - " << ink.right << "," << ink.bottom;
  EXPECT_TRUE(ink.inside(textBox)) << "ink beyond the measured text";
  // "H" and "I" both: ink reaches over most of the measured width.
  EXPECT_GE(ink.right - ink.left, (textBox.right - textBox.left) / 2);
  if (HasFailure()) test.saveFailure(frame, "FontDrawsWhiteText");
}

TEST_F(FontTest, ColourModulatesTheGlyphs) {
  const RECT rect = {40, 40, 300, 100};
  drawOnBlack("HI", rect, DT_SINGLELINE, D3DCOLOR_ARGB(255, 255, 0, 0));
  const std::vector<uint32_t> frame = test.readBack();
  ASSERT_EQ(frame.size(), 640u * 480u);
  int red = 0;
  int other = 0;
  for (uint32_t pixel : frame) {
    if (((pixel >> 16) & 0xff) >= 200) ++red;
    if ((pixel & 0xffff) != 0) ++other;
  }
  EXPECT_GE(red, 10);
  EXPECT_EQ(other, 0) << "green or blue in red text";
  if (HasFailure()) test.saveFailure(frame, "FontColour");
}

TEST_F(FontTest, ClipsToTheRectUnlessNoClip) {
  const RECT small = {200, 200, 212, 208};  // narrower and lower than the text
  drawOnBlack("HIHIHI", small, DT_SINGLELINE);
  std::vector<uint32_t> frame = test.readBack();
  ASSERT_EQ(frame.size(), 640u * 480u);
  const InkBox clipped = inkBox(test, frame);
  EXPECT_FALSE(clipped.empty());
  EXPECT_TRUE(clipped.inside(small));
  if (HasFailure()) test.saveFailure(frame, "FontClipped");

  drawOnBlack("HIHIHI", small, DT_SINGLELINE | DT_NOCLIP);
  frame = test.readBack();
  const InkBox unclipped = inkBox(test, frame);
  EXPECT_GT(unclipped.right, small.right);
  EXPECT_GT(unclipped.bottom, small.bottom);
  EXPECT_GT(unclipped.pixels, clipped.pixels);
}

TEST_F(FontTest, CalcRectMeasuresWithoutDrawing) {
  device()->Clear(0, nullptr, D3DCLEAR_TARGET, 0, 1.0f, 0);
  ASSERT_EQ(device()->BeginScene(), D3D_OK);
  RECT rect = {10, 20, 10, 20};
  const int height = font->DrawTextA(nullptr, "HI", -1, &rect, DT_LEFT | DT_TOP | DT_CALCRECT, 0xffffffff);
  device()->EndScene();
  EXPECT_GT(height, 0);
  EXPECT_EQ(rect.left, 10);
  EXPECT_EQ(rect.top, 20);
  EXPECT_GT(rect.right, 10);
  EXPECT_EQ(rect.bottom, 20 + height);
  const std::vector<uint32_t> frame = test.readBack();
  ASSERT_EQ(frame.size(), 640u * 480u);
  EXPECT_TRUE(inkBox(test, frame).empty()) << "DT_CALCRECT drew";

  // Longer text is wider; a line break doubles the height unless the text is one line.
  const RECT hi = measure("HI");
  EXPECT_GT(measure("HIHI").right, hi.right);
  EXPECT_EQ(measure("HI\nHI", 0).bottom, 2 * hi.bottom);
  EXPECT_EQ(measure("HI\nHI", 0).right, hi.right);
  EXPECT_EQ(measure("HI\nHI", DT_SINGLELINE).bottom, hi.bottom);
}

TEST_F(FontTest, AlignsRightAndBottom) {
  const RECT rect = {100, 100, 400, 300};
  const RECT size = measure("HI");
  drawOnBlack("HI", rect, DT_RIGHT | DT_BOTTOM | DT_SINGLELINE);
  const std::vector<uint32_t> frame = test.readBack();
  ASSERT_EQ(frame.size(), 640u * 480u);
  const InkBox ink = inkBox(test, frame);
  const RECT corner = {rect.right - size.right, rect.bottom - size.bottom, rect.right, rect.bottom};
  EXPECT_FALSE(ink.empty());
  EXPECT_TRUE(ink.inside(corner)) << "ink at " << ink.left << "," << ink.top << " - " << ink.right << "," << ink.bottom;
  if (HasFailure()) test.saveFailure(frame, "FontAligned");
}

TEST_F(FontTest, BreaksLinesAtNewlines) {
  const RECT rect = {50, 50, 400, 300};
  const int height = drawOnBlack("HI\nHI", rect, DT_LEFT | DT_TOP);
  const std::vector<uint32_t> frame = test.readBack();
  ASSERT_EQ(frame.size(), 640u * 480u);
  const RECT one = measure("HI");
  EXPECT_EQ(height, 2 * one.bottom);
  // Ink in the lower half of the second line's cell means a second line was drawn.
  const InkBox ink = inkBox(test, frame);
  EXPECT_GT(ink.bottom, rect.top + one.bottom + one.bottom / 2);
  EXPECT_LE(ink.bottom, rect.top + 2 * one.bottom);
  EXPECT_LE(ink.right, rect.left + one.right);
}

TEST_F(FontTest, LeavesTheCallersStatesAsTheyWere) {
  IDirect3DDevice9* d = device();
  d->SetRenderState(D3DRS_ALPHABLENDENABLE, FALSE);
  d->SetRenderState(D3DRS_ZENABLE, D3DZB_TRUE);
  d->SetRenderState(D3DRS_ZWRITEENABLE, TRUE);
  d->SetRenderState(D3DRS_SRCBLEND, D3DBLEND_ONE);
  d->SetRenderState(D3DRS_DESTBLEND, D3DBLEND_ZERO);
  d->SetRenderState(D3DRS_CULLMODE, D3DCULL_CW);
  d->SetRenderState(D3DRS_LIGHTING, TRUE);
  d->SetTexture(0, nullptr);
  d->SetFVF(D3DFVF_XYZ | D3DFVF_NORMAL);
  d->SetTextureStageState(0, D3DTSS_COLOROP, D3DTOP_SELECTARG2);
  d->SetSamplerState(0, D3DSAMP_MAGFILTER, D3DTEXF_LINEAR);

  ASSERT_GT(drawOnBlack("HI", RECT{10, 10, 200, 60}, DT_SINGLELINE), 0);
  const std::vector<uint32_t> frame = test.readBack();
  EXPECT_FALSE(inkBox(test, frame).empty()) << "nothing drawn, so nothing was at stake";

  DWORD value = 0;
  d->GetRenderState(D3DRS_ALPHABLENDENABLE, &value);
  EXPECT_EQ(value, static_cast<DWORD>(FALSE));
  d->GetRenderState(D3DRS_ZENABLE, &value);
  EXPECT_EQ(value, static_cast<DWORD>(D3DZB_TRUE));
  d->GetRenderState(D3DRS_ZWRITEENABLE, &value);
  EXPECT_EQ(value, static_cast<DWORD>(TRUE));
  d->GetRenderState(D3DRS_SRCBLEND, &value);
  EXPECT_EQ(value, static_cast<DWORD>(D3DBLEND_ONE));
  d->GetRenderState(D3DRS_DESTBLEND, &value);
  EXPECT_EQ(value, static_cast<DWORD>(D3DBLEND_ZERO));
  d->GetRenderState(D3DRS_CULLMODE, &value);
  EXPECT_EQ(value, static_cast<DWORD>(D3DCULL_CW));
  d->GetRenderState(D3DRS_LIGHTING, &value);
  EXPECT_EQ(value, static_cast<DWORD>(TRUE));
  d->GetTextureStageState(0, D3DTSS_COLOROP, &value);
  EXPECT_EQ(value, static_cast<DWORD>(D3DTOP_SELECTARG2));
  d->GetSamplerState(0, D3DSAMP_MAGFILTER, &value);
  EXPECT_EQ(value, static_cast<DWORD>(D3DTEXF_LINEAR));
  d->GetFVF(&value);
  EXPECT_EQ(value, static_cast<DWORD>(D3DFVF_XYZ | D3DFVF_NORMAL));
  IDirect3DBaseTexture9* texture = reinterpret_cast<IDirect3DBaseTexture9*>(1);
  d->GetTexture(0, &texture);
  EXPECT_EQ(texture, nullptr);
  if (texture) texture->Release();
}

TEST_F(FontTest, LeavesTheCallersTextureBoundWithItsCount) {
  IDirect3DTexture9* own = nullptr;
  ASSERT_EQ(device()->CreateTexture(4, 4, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &own, nullptr), D3D_OK);
  device()->SetTexture(0, own);
  const ULONG before = referenceCount(own);

  ASSERT_GT(drawOnBlack("HI", RECT{10, 10, 200, 60}, DT_SINGLELINE), 0);

  IDirect3DBaseTexture9* bound = nullptr;
  device()->GetTexture(0, &bound);
  EXPECT_EQ(bound, static_cast<IDirect3DBaseTexture9*>(own));
  if (bound) bound->Release();
  EXPECT_EQ(referenceCount(own), before);
  device()->SetTexture(0, nullptr);
  own->Release();
}

TEST_F(FontTest, RefusesASpriteAndNullText) {
  RECT rect = {10, 10, 200, 60};
  int fakeSprite = 0;
  device()->Clear(0, nullptr, D3DCLEAR_TARGET, 0, 1.0f, 0);
  ASSERT_EQ(device()->BeginScene(), D3D_OK);
  EXPECT_EQ(font->DrawTextA(&fakeSprite, "HI", -1, &rect, DT_SINGLELINE, 0xffffffff), 0);
  EXPECT_EQ(font->DrawTextA(nullptr, nullptr, -1, &rect, DT_SINGLELINE, 0xffffffff), 0);
  EXPECT_EQ(font->DrawTextA(nullptr, "HI", -1, nullptr, DT_CALCRECT, 0xffffffff), 0);
  device()->EndScene();
  const std::vector<uint32_t> frame = test.readBack();
  ASSERT_EQ(frame.size(), 640u * 480u);
  EXPECT_TRUE(inkBox(test, frame).empty());
}

TEST_F(FontTest, CountLimitsTheText) {
  const RECT one = measure("H");
  RECT counted = {0, 0, 0, 0};
  font->DrawTextA(nullptr, "HIHI", 1, &counted, DT_CALCRECT | DT_SINGLELINE, 0xffffffff);
  EXPECT_EQ(counted.right, one.right);
  EXPECT_EQ(counted.bottom, one.bottom);
}

TEST_F(FontTest, ExtremeRectsDoNotOverflow) {
  // Centred in a rect that spans the whole coordinate range, the text lands near 0,0.
  const RECT huge = {LONG_MIN, LONG_MIN, LONG_MAX, LONG_MAX};
  const RECT one = measure("HI");
  EXPECT_EQ(drawOnBlack("HI", huge, DT_CENTER | DT_VCENTER | DT_SINGLELINE), one.bottom);
  const std::vector<uint32_t> frame = test.readBack();
  ASSERT_EQ(frame.size(), 640u * 480u);
  const InkBox ink = inkBox(test, frame);
  EXPECT_FALSE(ink.empty());
  EXPECT_TRUE(ink.inside(RECT{-one.right, -one.bottom, one.right, one.bottom}));

  // Measuring at the far end stops at the largest coordinate.
  RECT edge = {LONG_MAX - 2, LONG_MAX - 2, LONG_MAX - 2, LONG_MAX - 2};
  font->DrawTextA(nullptr, "HI", -1, &edge, DT_CALCRECT, 0xffffffff);
  EXPECT_EQ(edge.right, LONG_MAX);
  EXPECT_EQ(edge.bottom, LONG_MAX);
}

TEST_F(FontTest, AnswersUnknownAndDeviceResetCalls) {
  // IUnknown's id, and an id that no interface has.
  const GUID unknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
  const GUID otherId = {0x12345678, 0x9abc, 0xdef0, {0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef}};
  IUnknown* unknown = nullptr;
  ASSERT_EQ(font->QueryInterface(unknownId, reinterpret_cast<void**>(&unknown)), S_OK);
  EXPECT_EQ(unknown, static_cast<IUnknown*>(font));
  EXPECT_EQ(unknown->Release(), 1u);
  void* other = &unknown;
  EXPECT_EQ(font->QueryInterface(otherId, &other), E_NOINTERFACE);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(font->OnLostDevice(), D3D_OK);
  EXPECT_EQ(font->OnResetDevice(), D3D_OK);
}

TEST(FontLifetime, ReleaseFreesTheFontAndGivesBackTheDevice) {
  tstest::TestDevice test;
  ASSERT_TRUE(test.ok()) << "no Direct3D 9 device";
  IDirect3DDevice9* device = test.get();
  const ULONG before = referenceCount(device);

  const D3DXFONT_DESCA desc = verdana16();
  ID3DXFont* font = nullptr;
  ASSERT_EQ(D3DXCreateFontIndirect(device, &desc, &font), D3D_OK);
  EXPECT_GT(referenceCount(device), before);
  EXPECT_EQ(font->AddRef(), 2u);
  EXPECT_EQ(font->Release(), 1u);

  ASSERT_EQ(font->PreloadCharacters(0, 127), D3D_OK);
  RECT rect = {0, 0, 100, 40};
  ASSERT_EQ(device->BeginScene(), D3D_OK);
  EXPECT_GT(font->DrawTextA(nullptr, "HI", -1, &rect, DT_SINGLELINE, 0xffffffff), 0);
  device->EndScene();

  EXPECT_EQ(font->Release(), 0u);
  EXPECT_EQ(referenceCount(device), before);
}

TEST(FontLifetime, RefusesBadDescriptionsCleanly) {
  tstest::TestDevice test;
  ASSERT_TRUE(test.ok()) << "no Direct3D 9 device";
  IDirect3DDevice9* device = test.get();
  const ULONG before = referenceCount(device);

  auto refused = [&](const D3DXFONT_DESCA& desc) {
    ID3DXFont* font = reinterpret_cast<ID3DXFont*>(&test);  // must be overwritten with null
    const HRESULT result = D3DXCreateFontIndirect(device, &desc, &font);
    const bool ok = FAILED(result) && font == nullptr;
    if (!FAILED(result) && font) font->Release();
    return ok;
  };

  D3DXFONT_DESCA desc = verdana16();
  desc.Height = 0;
  EXPECT_TRUE(refused(desc)) << "height 0";
  desc.Height = -16;
  EXPECT_TRUE(refused(desc)) << "negative height";
  desc.Height = 257;
  EXPECT_TRUE(refused(desc)) << "height 257";
  desc.Height = 100000;
  EXPECT_TRUE(refused(desc)) << "huge height";

  desc = verdana16();
  desc.Width = 257;
  EXPECT_TRUE(refused(desc)) << "width 257";
  desc = verdana16();
  desc.Weight = 5000;
  EXPECT_TRUE(refused(desc)) << "weight 5000";
  desc = verdana16();
  std::memset(desc.FaceName, 'A', sizeof desc.FaceName);
  EXPECT_TRUE(refused(desc)) << "face name without its end";

  // 256 glyphs of 256 pixels cannot share a 2048 x 2048 atlas.
  desc = verdana16();
  desc.Height = 256;
  ID3DXFont* font = nullptr;
  EXPECT_EQ(D3DXCreateFontIndirect(device, &desc, &font), E_OUTOFMEMORY);
  EXPECT_EQ(font, nullptr);
  if (font) font->Release();

  desc = verdana16();
  font = reinterpret_cast<ID3DXFont*>(&test);
  EXPECT_EQ(D3DXCreateFontIndirect(nullptr, &desc, &font), D3DERR_INVALIDCALL);
  EXPECT_EQ(font, nullptr);
  EXPECT_EQ(D3DXCreateFontIndirect(device, nullptr, &font), D3DERR_INVALIDCALL);
  EXPECT_EQ(D3DXCreateFontIndirect(device, &desc, nullptr), D3DERR_INVALIDCALL);

  // A large font within the bounds is still made.
  desc.Height = 64;
  ASSERT_EQ(D3DXCreateFontIndirect(device, &desc, &font), D3D_OK);
  EXPECT_EQ(font->PreloadCharacters(0, 255), D3D_OK);
  font->Release();

  EXPECT_EQ(referenceCount(device), before) << "a refused font kept the device";
}

}  // namespace

#include "gfxhelper/d3dx9font.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "platform/com_object.h"
#include "platform/com_ptr.h"

namespace {

constexpr INT kMaxHeight = 256;
constexpr UINT kMaxWidth = 256;
constexpr UINT kMaxWeight = 1000;
constexpr int kMinAtlas = 64;
constexpr int kMaxAtlas = 2048;
constexpr int kCodes = 256;
// Empty texels between cells, so that no glyph ever samples its neighbour.
constexpr int kPad = 1;
// Quads per DrawPrimitiveUP call, well below any device's primitive limit.
constexpr size_t kQuadsPerBatch = 2000;

struct Glyph {
  int left = 0;     // the cell's left edge relative to the pen; <= 0 for overhangs
  int width = 0;    // the cell's width in pixels
  int advance = 0;  // how far the pen moves
  int x = 0;        // the cell's place in the atlas
  int y = 0;
  bool ready = false;  // rasterised into the atlas
};

struct Vertex {
  float x, y, z, rhw;
  D3DCOLOR color;
  float u, v;
};
constexpr DWORD kFvf = D3DFVF_XYZRHW | D3DFVF_DIFFUSE | D3DFVF_TEX1;

bool validDesc(const D3DXFONT_DESCA& desc) {
  return desc.Height >= 1 && desc.Height <= kMaxHeight && desc.Width <= kMaxWidth && desc.Weight <= kMaxWeight &&
         std::memchr(desc.FaceName, 0, sizeof desc.FaceName) != nullptr;
}

size_t textLength(const char* text, INT count) {
  return count < 0 ? std::strlen(text) : static_cast<size_t>(count);
}

bool isLineBreak(char c) { return c == '\n' || c == '\r'; }

class Font final : public platform::ComObject<Font, ID3DXFont> {
 public:
  Font(IDirect3DDevice9* device, const D3DXFONT_DESCA& desc) : desc_(desc) {
    device->AddRef();
    device_.reset(device);
  }
  Font(const Font&) = delete;
  Font& operator=(const Font&) = delete;

  HRESULT create();

  HRESULT STDMETHODCALLTYPE GetDevice(IDirect3DDevice9** device) override {
    if (!device) return D3DERR_INVALIDCALL;
    device_->AddRef();
    *device = device_.get();
    return D3D_OK;
  }
  HRESULT STDMETHODCALLTYPE GetDescA(D3DXFONT_DESCA* desc) override {
    if (!desc) return D3DERR_INVALIDCALL;
    *desc = desc_;
    return D3D_OK;
  }

  HRESULT STDMETHODCALLTYPE PreloadCharacters(UINT first, UINT last) override {
    last = std::min(last, static_cast<UINT>(kCodes - 1));
    for (UINT code = first; code <= last; ++code) {
      const HRESULT result = rasterise(code);
      if (FAILED(result)) return result;
    }
    return D3D_OK;
  }
  HRESULT STDMETHODCALLTYPE PreloadTextA(const char* text, INT count) override {
    if (!text) return D3DERR_INVALIDCALL;
    const size_t length = textLength(text, count);
    for (size_t i = 0; i < length; ++i) {
      const HRESULT result = rasterise(static_cast<unsigned char>(text[i]));
      if (FAILED(result)) return result;
    }
    return D3D_OK;
  }

  INT STDMETHODCALLTYPE DrawTextA(void* sprite, const char* text, INT count, RECT* rect, DWORD format,
                                  D3DCOLOR color) override;

  HRESULT STDMETHODCALLTYPE OnLostDevice() override { return D3D_OK; }
  HRESULT STDMETHODCALLTYPE OnResetDevice() override { return D3D_OK; }

 private:
  friend class platform::ComObject<Font, ID3DXFont>;
  ~Font();

  HRESULT rasterise(UINT code);
  long long lineWidth(const char* begin, const char* end) const;
  void drawQuads(const std::vector<Vertex>& vertices);

  platform::ComPtr<IDirect3DDevice9> device_;
  D3DXFONT_DESCA desc_;

  HDC dc_ = nullptr;
  HFONT font_ = nullptr;
  HGDIOBJ previousFont_ = nullptr;
  HBITMAP dib_ = nullptr;
  HGDIOBJ previousBitmap_ = nullptr;
  uint32_t* dibBits_ = nullptr;  // top-down, dibWidth_ x lineHeight_
  int dibWidth_ = 0;
  int lineHeight_ = 0;

  platform::ComPtr<IDirect3DTexture9> atlas_;
  int atlasSize_ = 0;
  Glyph glyphs_[kCodes];
};

Font::~Font() {
  if (dc_) {
    if (previousBitmap_) SelectObject(dc_, previousBitmap_);
    if (previousFont_) SelectObject(dc_, previousFont_);
    DeleteDC(dc_);
  }
  if (dib_) DeleteObject(dib_);
  if (font_) DeleteObject(font_);
}

HRESULT Font::create() {
  dc_ = CreateCompatibleDC(nullptr);
  if (!dc_) return E_FAIL;

  LOGFONTA logFont = {};
  logFont.lfHeight = desc_.Height;
  logFont.lfWidth = static_cast<LONG>(desc_.Width);
  logFont.lfWeight = static_cast<LONG>(desc_.Weight);
  logFont.lfItalic = desc_.Italic ? TRUE : FALSE;
  logFont.lfCharSet = desc_.CharSet;
  logFont.lfOutPrecision = desc_.OutputPrecision;
  logFont.lfClipPrecision = CLIP_DEFAULT_PRECIS;
  logFont.lfQuality = desc_.Quality;
  logFont.lfPitchAndFamily = desc_.PitchAndFamily;
  std::memcpy(logFont.lfFaceName, desc_.FaceName, sizeof logFont.lfFaceName);
  font_ = CreateFontIndirectA(&logFont);
  if (!font_) return E_FAIL;
  previousFont_ = SelectObject(dc_, font_);

  TEXTMETRICA metrics;
  if (!GetTextMetricsA(dc_, &metrics) || metrics.tmHeight < 1) return E_FAIL;
  lineHeight_ = metrics.tmHeight;
  if (lineHeight_ > kMaxAtlas) return E_OUTOFMEMORY;

  // Cells reach from the leftmost ink (a negative A width) to the farther of the
  // advance and the right end of the ink, plus a pixel either side for smoothing.
  ABC abc[kCodes];
  if (!GetCharABCWidthsA(dc_, 0, kCodes - 1, abc)) {
    INT widths[kCodes];
    if (!GetCharWidth32A(dc_, 0, kCodes - 1, widths)) return E_FAIL;
    for (int code = 0; code < kCodes; ++code) {
      abc[code].abcA = 0;
      abc[code].abcB = static_cast<UINT>(std::max(widths[code], 0) + metrics.tmOverhang);
      abc[code].abcC = -metrics.tmOverhang;
    }
  }
  int widest = 1;
  for (int code = 0; code < kCodes; ++code) {
    Glyph& glyph = glyphs_[code];
    const int inkRight = abc[code].abcA + static_cast<int>(abc[code].abcB);
    glyph.advance = std::max(inkRight + abc[code].abcC, 0);
    glyph.left = std::min(abc[code].abcA, 0) - 1;
    glyph.width = std::max(glyph.advance, inkRight) + 1 - glyph.left;
    if (glyph.width > kMaxAtlas) return E_OUTOFMEMORY;
    widest = std::max(widest, glyph.width);
  }

  // Rows of cells in code order; the smallest square atlas that holds all of them.
  D3DCAPS9 caps;
  if (FAILED(device_->GetDeviceCaps(&caps))) return E_FAIL;
  const int largest = std::min({kMaxAtlas, static_cast<int>(caps.MaxTextureWidth), static_cast<int>(caps.MaxTextureHeight)});
  for (int size = kMinAtlas; size <= largest && atlasSize_ == 0; size *= 2) {
    int x = 0;
    int y = 0;
    bool fits = lineHeight_ <= size;
    for (int code = 0; code < kCodes && fits; ++code) {
      Glyph& glyph = glyphs_[code];
      if (x + glyph.width > size) {
        x = 0;
        y += lineHeight_ + kPad;
        fits = glyph.width <= size && y + lineHeight_ <= size;
      }
      glyph.x = x;
      glyph.y = y;
      x += glyph.width + kPad;
    }
    if (fits) atlasSize_ = size;
  }
  if (atlasSize_ == 0) return E_OUTOFMEMORY;

  // White ink on black in a 32-bit DIB, one glyph at a time; its brightness is the coverage.
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = widest;
  info.bmiHeader.biHeight = -lineHeight_;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  dib_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (!dib_ || !bits) return E_FAIL;
  dibBits_ = static_cast<uint32_t*>(bits);
  dibWidth_ = widest;
  previousBitmap_ = SelectObject(dc_, dib_);
  SetTextColor(dc_, RGB(255, 255, 255));
  SetBkMode(dc_, TRANSPARENT);
  SetTextAlign(dc_, TA_LEFT | TA_TOP | TA_NOUPDATECP);

  HRESULT result = device_->CreateTexture(static_cast<UINT>(atlasSize_), static_cast<UINT>(atlasSize_), 1, 0,
                                          D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, atlas_.out(), nullptr);
  if (FAILED(result)) {
    atlas_.reset();
    return result;
  }
  D3DLOCKED_RECT locked;
  result = atlas_->LockRect(0, &locked, nullptr, 0);
  if (FAILED(result)) return result;
  for (int row = 0; row < atlasSize_; ++row)
    std::memset(static_cast<char*>(locked.pBits) + static_cast<ptrdiff_t>(row) * locked.Pitch, 0,
                static_cast<size_t>(atlasSize_) * 4);
  atlas_->UnlockRect(0);
  return D3D_OK;
}

HRESULT Font::rasterise(UINT code) {
  if (code >= static_cast<UINT>(kCodes)) return D3DERR_INVALIDCALL;
  Glyph& glyph = glyphs_[code];
  if (glyph.ready) return D3D_OK;

  std::memset(dibBits_, 0, static_cast<size_t>(dibWidth_) * static_cast<size_t>(lineHeight_) * 4);
  const char character = static_cast<char>(code);
  TextOutA(dc_, -glyph.left, 0, &character, 1);
  GdiFlush();

  RECT cell = {glyph.x, glyph.y, glyph.x + glyph.width, glyph.y + lineHeight_};
  D3DLOCKED_RECT locked;
  const HRESULT result = atlas_->LockRect(0, &locked, &cell, 0);
  if (FAILED(result)) return result;
  for (int row = 0; row < lineHeight_; ++row) {
    const uint32_t* source = dibBits_ + static_cast<ptrdiff_t>(row) * dibWidth_;
    auto* target = reinterpret_cast<uint32_t*>(static_cast<char*>(locked.pBits) + static_cast<ptrdiff_t>(row) * locked.Pitch);
    for (int column = 0; column < glyph.width; ++column) {
      const uint32_t pixel = source[column];
      const uint32_t coverage = std::max({(pixel >> 16) & 0xffu, (pixel >> 8) & 0xffu, pixel & 0xffu});
      target[column] = (coverage << 24) | 0x00ffffffu;
    }
  }
  atlas_->UnlockRect(0);
  glyph.ready = true;
  return D3D_OK;
}

long long Font::lineWidth(const char* begin, const char* end) const {
  long long width = 0;
  for (const char* c = begin; c != end; ++c)
    if (!isLineBreak(*c)) width += glyphs_[static_cast<unsigned char>(*c)].advance;
  return width;
}

INT Font::DrawTextA(void* sprite, const char* text, INT count, RECT* rect, DWORD format, D3DCOLOR color) {
  if (sprite || !text) return 0;
  if (!rect && (format & DT_CALCRECT)) return 0;
  // Positions are 64-bit so that no rect or text length can overflow them.
  long long left = 0;
  long long top = 0;
  long long right = 0;
  long long bottom = 0;
  if (rect) {
    left = rect->left;
    top = rect->top;
    right = rect->right;
    bottom = rect->bottom;
  } else {
    // Without a rect there is nothing to clip or align to.
    format = (format | DT_NOCLIP) & ~static_cast<DWORD>(DT_CENTER | DT_RIGHT | DT_VCENTER | DT_BOTTOM);
  }

  const size_t length = textLength(text, count);
  struct Line {
    const char* begin;
    const char* end;
  };
  std::vector<Line> lines;
  const char* const textEnd = text + length;
  if (format & DT_SINGLELINE) {
    lines.push_back({text, textEnd});
  } else {
    const char* begin = text;
    for (const char* c = text; c != textEnd; ++c)
      if (*c == '\n') {
        lines.push_back({begin, c});
        begin = c + 1;
      }
    lines.push_back({begin, textEnd});
  }

  const long long textHeight = static_cast<long long>(lines.size()) * lineHeight_;
  const INT result = static_cast<INT>(std::min<long long>(textHeight, INT_MAX));
  if (format & DT_CALCRECT) {
    long long widest = 0;
    for (const Line& line : lines) widest = std::max(widest, lineWidth(line.begin, line.end));
    rect->right = static_cast<LONG>(std::min<long long>(left + widest, LONG_MAX));
    rect->bottom = static_cast<LONG>(std::min<long long>(top + textHeight, LONG_MAX));
    return result;
  }

  long long textTop = top;
  if (format & DT_BOTTOM)
    textTop = bottom - textHeight;
  else if (format & DT_VCENTER)
    textTop = top + (bottom - top - textHeight) / 2;

  const bool clip = (format & DT_NOCLIP) == 0;
  const float size = static_cast<float>(atlasSize_);
  std::vector<Vertex> vertices;
  for (size_t index = 0; index < lines.size(); ++index) {
    const Line& line = lines[index];
    const long long lineTop = textTop + static_cast<long long>(index) * lineHeight_;
    if (clip && (lineTop >= bottom || lineTop + lineHeight_ <= top)) continue;
    const long long width = lineWidth(line.begin, line.end);
    long long pen = left;
    if (format & DT_RIGHT)
      pen = right - width;
    else if (format & DT_CENTER)
      pen = left + (right - left - width) / 2;

    for (const char* c = line.begin; c != line.end; ++c) {
      if (isLineBreak(*c)) continue;
      const UINT code = static_cast<unsigned char>(*c);
      const Glyph& glyph = glyphs_[code];
      long long x0 = pen + glyph.left;
      long long y0 = lineTop;
      long long x1 = x0 + glyph.width;
      long long y1 = y0 + lineHeight_;
      pen += glyph.advance;
      // Texel offsets of the visible part of the cell.
      long long u0 = 0;
      long long v0 = 0;
      if (clip) {
        const long long visibleLeft = std::max(x0, left);
        const long long visibleTop = std::max(y0, top);
        x1 = std::min(x1, right);
        y1 = std::min(y1, bottom);
        u0 = visibleLeft - x0;
        v0 = visibleTop - y0;
        x0 = visibleLeft;
        y0 = visibleTop;
        if (x0 >= x1 || y0 >= y1) continue;
      }
      if (FAILED(rasterise(code))) continue;
      const float tu0 = static_cast<float>(glyph.x + u0) / size;
      const float tv0 = static_cast<float>(glyph.y + v0) / size;
      const float tu1 = static_cast<float>(glyph.x + u0 + (x1 - x0)) / size;
      const float tv1 = static_cast<float>(glyph.y + v0 + (y1 - y0)) / size;
      // Half a pixel back puts texel centres on pixel centres.
      const float quadLeft = static_cast<float>(x0) - 0.5f;
      const float quadRight = static_cast<float>(x1) - 0.5f;
      const float quadTop = static_cast<float>(y0) - 0.5f;
      const float quadBottom = static_cast<float>(y1) - 0.5f;
      const Vertex a = {quadLeft, quadTop, 0.0f, 1.0f, color, tu0, tv0};
      const Vertex b = {quadRight, quadTop, 0.0f, 1.0f, color, tu1, tv0};
      const Vertex d = {quadLeft, quadBottom, 0.0f, 1.0f, color, tu0, tv1};
      const Vertex e = {quadRight, quadBottom, 0.0f, 1.0f, color, tu1, tv1};
      vertices.insert(vertices.end(), {a, b, d, d, b, e});
    }
  }

  if (!vertices.empty()) drawQuads(vertices);
  return result;
}

void Font::drawQuads(const std::vector<Vertex>& vertices) {
  // Everything the caller had set comes back afterwards.
  platform::ComPtr<IDirect3DStateBlock9> saved;
  if (FAILED(device_->CreateStateBlock(D3DSBT_ALL, saved.out()))) return;

  device_->SetVertexShader(nullptr);
  device_->SetPixelShader(nullptr);
  device_->SetFVF(kFvf);
  device_->SetTexture(0, atlas_.get());
  for (DWORD stage = 1; stage < 8; ++stage) device_->SetTexture(stage, nullptr);

  device_->SetRenderState(D3DRS_ZENABLE, D3DZB_FALSE);
  device_->SetRenderState(D3DRS_ZWRITEENABLE, FALSE);
  device_->SetRenderState(D3DRS_FILLMODE, D3DFILL_SOLID);
  device_->SetRenderState(D3DRS_SHADEMODE, D3DSHADE_GOURAUD);
  device_->SetRenderState(D3DRS_CULLMODE, D3DCULL_NONE);
  device_->SetRenderState(D3DRS_LIGHTING, FALSE);
  device_->SetRenderState(D3DRS_FOGENABLE, FALSE);
  device_->SetRenderState(D3DRS_SPECULARENABLE, FALSE);
  device_->SetRenderState(D3DRS_ALPHATESTENABLE, FALSE);
  device_->SetRenderState(D3DRS_STENCILENABLE, FALSE);
  device_->SetRenderState(D3DRS_CLIPPING, TRUE);
  device_->SetRenderState(D3DRS_CLIPPLANEENABLE, 0);
  device_->SetRenderState(D3DRS_SCISSORTESTENABLE, FALSE);
  device_->SetRenderState(D3DRS_COLORWRITEENABLE, 0xf);
  device_->SetRenderState(D3DRS_SRGBWRITEENABLE, FALSE);
  device_->SetRenderState(D3DRS_ALPHABLENDENABLE, TRUE);
  device_->SetRenderState(D3DRS_SEPARATEALPHABLENDENABLE, FALSE);
  device_->SetRenderState(D3DRS_BLENDOP, D3DBLENDOP_ADD);
  device_->SetRenderState(D3DRS_SRCBLEND, D3DBLEND_SRCALPHA);
  device_->SetRenderState(D3DRS_DESTBLEND, D3DBLEND_INVSRCALPHA);

  device_->SetTextureStageState(0, D3DTSS_COLOROP, D3DTOP_MODULATE);
  device_->SetTextureStageState(0, D3DTSS_COLORARG1, D3DTA_TEXTURE);
  device_->SetTextureStageState(0, D3DTSS_COLORARG2, D3DTA_DIFFUSE);
  device_->SetTextureStageState(0, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
  device_->SetTextureStageState(0, D3DTSS_ALPHAARG1, D3DTA_TEXTURE);
  device_->SetTextureStageState(0, D3DTSS_ALPHAARG2, D3DTA_DIFFUSE);
  device_->SetTextureStageState(0, D3DTSS_TEXCOORDINDEX, 0);
  device_->SetTextureStageState(0, D3DTSS_TEXTURETRANSFORMFLAGS, D3DTTFF_DISABLE);
  device_->SetTextureStageState(0, D3DTSS_RESULTARG, D3DTA_CURRENT);
  device_->SetTextureStageState(1, D3DTSS_COLOROP, D3DTOP_DISABLE);
  device_->SetTextureStageState(1, D3DTSS_ALPHAOP, D3DTOP_DISABLE);

  // Cells map one texel to one pixel: point sampling, nothing from beyond the cell.
  device_->SetSamplerState(0, D3DSAMP_ADDRESSU, D3DTADDRESS_CLAMP);
  device_->SetSamplerState(0, D3DSAMP_ADDRESSV, D3DTADDRESS_CLAMP);
  device_->SetSamplerState(0, D3DSAMP_MAGFILTER, D3DTEXF_POINT);
  device_->SetSamplerState(0, D3DSAMP_MINFILTER, D3DTEXF_POINT);
  device_->SetSamplerState(0, D3DSAMP_MIPFILTER, D3DTEXF_NONE);
  device_->SetSamplerState(0, D3DSAMP_SRGBTEXTURE, FALSE);

  for (size_t first = 0; first < vertices.size(); first += kQuadsPerBatch * 6) {
    const size_t quads = std::min(kQuadsPerBatch, (vertices.size() - first) / 6);
    device_->DrawPrimitiveUP(D3DPT_TRIANGLELIST, static_cast<UINT>(quads * 2), &vertices[first], sizeof(Vertex));
  }

  saved->Apply();
}

}  // namespace

HRESULT WINAPI D3DXCreateFontIndirectA(IDirect3DDevice9* device, const D3DXFONT_DESCA* desc, ID3DXFont** font) {
  if (font) *font = nullptr;
  if (!device || !desc || !font || !validDesc(*desc)) return D3DERR_INVALIDCALL;
  platform::ComPtr<Font> made(new (std::nothrow) Font(device, *desc));
  if (!made) return E_OUTOFMEMORY;
  const HRESULT result = made->create();
  if (FAILED(result)) return result;
  *font = made.release();
  return D3D_OK;
}

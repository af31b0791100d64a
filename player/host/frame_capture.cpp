#include "player/host/frame_capture.h"

#include <cstring>

#include "platform/png_write.h"

namespace host {

bool BackBufferReader::read(IDirect3DDevice9* device, Frame& frame) {
  platform::ComPtr<IDirect3DSurface9> back;
  if (!device || FAILED(device->GetBackBuffer(0, 0, D3DBACKBUFFER_TYPE_MONO, back.out()))) return false;
  D3DSURFACE_DESC desc;
  back->GetDesc(&desc);
  if (!copy || desc.Width != copyDesc.Width || desc.Height != copyDesc.Height || desc.Format != copyDesc.Format) {
    if (FAILED(device->CreateOffscreenPlainSurface(desc.Width, desc.Height, desc.Format, D3DPOOL_SYSTEMMEM, copy.out(),
                                                   nullptr)))
      return false;
    copyDesc = desc;
  }
  D3DLOCKED_RECT locked;
  if (FAILED(device->GetRenderTargetData(back.get(), copy.get())) ||
      FAILED(copy->LockRect(&locked, nullptr, D3DLOCK_READONLY)))
    return false;
  frame.width = desc.Width;
  frame.height = desc.Height;
  frame.pixels.resize(static_cast<size_t>(desc.Width) * desc.Height);
  const bool sixteenBits = desc.Format == D3DFMT_R5G6B5;
  for (unsigned int y = 0; y < desc.Height; ++y) {
    const char* row = static_cast<const char*>(locked.pBits) + static_cast<size_t>(y) * locked.Pitch;
    uint32_t* out = &frame.pixels[static_cast<size_t>(y) * desc.Width];
    if (!sixteenBits) {
      std::memcpy(out, row, desc.Width * sizeof(uint32_t));
      continue;
    }
    for (unsigned int x = 0; x < desc.Width; ++x) {
      const uint16_t p = reinterpret_cast<const uint16_t*>(row)[x];
      const uint32_t r = (p >> 11) & 31, g = (p >> 5) & 63, b = p & 31;
      out[x] = 0xff000000u | ((r * 255 / 31) << 16) | ((g * 255 / 63) << 8) | (b * 255 / 31);
    }
  }
  copy->UnlockRect();
  return true;
}

bool saveFrame(const Frame& frame, const std::string& path) {
  // writePng writes whole files only.
  return platform::writePng(path, static_cast<int>(frame.width), static_cast<int>(frame.height),
                            frame.pixels.data(), static_cast<int>(frame.width * 4));
}

}  // namespace host

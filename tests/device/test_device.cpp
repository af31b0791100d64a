#include "tests/device/test_device.h"

#include <algorithm>

#include "platform/png_write.h"

namespace tstest {

HWND createHiddenWindow(unsigned int width, unsigned int height) {
  static const char* const kClass = "tsTestWindow";
  HINSTANCE instance = GetModuleHandleA(nullptr);
  WNDCLASSA windowClass = {};
  windowClass.lpfnWndProc = DefWindowProcA;
  windowClass.hInstance = instance;
  windowClass.lpszClassName = kClass;
  RegisterClassA(&windowClass);  // refused, harmlessly, from the second window on
  RECT rect = {0, 0, static_cast<LONG>(width), static_cast<LONG>(height)};
  AdjustWindowRect(&rect, WS_OVERLAPPEDWINDOW, FALSE);
  return CreateWindowA(kClass, "test", WS_OVERLAPPEDWINDOW, 0, 0, rect.right - rect.left, rect.bottom - rect.top,
                       nullptr, nullptr, instance, nullptr);
}

TestDevice::TestDevice(unsigned int width_, unsigned int height_)
    : width(width_), height(height_), hwnd(createHiddenWindow(width, height)), d3d(Direct3DCreate9(D3D_SDK_VERSION)) {
  if (!hwnd || !d3d) return;
  // In the structure's order: one back buffer, no multisampling, windowed, a depth-stencil buffer.
  D3DPRESENT_PARAMETERS params = {width, height, D3DFMT_X8R8G8B8, 1, D3DMULTISAMPLE_NONE, 0, D3DSWAPEFFECT_DISCARD,
                                  hwnd, TRUE, TRUE, D3DFMT_D24S8, 0, 0, D3DPRESENT_INTERVAL_IMMEDIATE};
  if (FAILED(d3d->CreateDevice(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, hwnd, D3DCREATE_MIXED_VERTEXPROCESSING, &params,
                               device.out())))
    device.release();  // nothing was made
}

TestDevice::~TestDevice() {
  device.reset();
  d3d.reset();
  if (hwnd) DestroyWindow(hwnd);
}

std::vector<uint32_t> TestDevice::readBack() const {
  std::vector<uint32_t> frame;
  platform::ComPtr<IDirect3DSurface9> target, copy;
  D3DSURFACE_DESC desc;
  D3DLOCKED_RECT locked;
  if (FAILED(device->GetRenderTarget(0, target.out())) || FAILED(target->GetDesc(&desc)) ||
      FAILED(device->CreateOffscreenPlainSurface(desc.Width, desc.Height, desc.Format, D3DPOOL_SYSTEMMEM, copy.out(),
                                                 nullptr)) ||
      FAILED(device->GetRenderTargetData(target.get(), copy.get())) ||
      FAILED(copy->LockRect(&locked, nullptr, D3DLOCK_READONLY)))
    return frame;
  frame.resize(static_cast<size_t>(desc.Width) * desc.Height);
  for (unsigned int y = 0; y < desc.Height; ++y) {
    const auto* row = reinterpret_cast<const uint32_t*>(static_cast<const char*>(locked.pBits) + y * locked.Pitch);
    std::copy(row, row + desc.Width, frame.begin() + static_cast<std::ptrdiff_t>(y) * desc.Width);
  }
  copy->UnlockRect();
  return frame;
}

void saveFailedFrame(const std::vector<uint32_t>& frame, unsigned int width, unsigned int height,
                     const std::string& name) {
  if (frame.size() != static_cast<size_t>(width) * height) return;
  char program[MAX_PATH] = {};
  const DWORD length = GetModuleFileNameA(nullptr, program, MAX_PATH);
  std::string folder(program, length);
  folder.erase(folder.find_last_of("\\/") + 1);
  platform::writePng(folder + name + ".failed.png", static_cast<int>(width), static_cast<int>(height), frame.data(),
                     static_cast<int>(width * 4));
}

bool pixelNear(uint32_t pixel, int r, int g, int b, int tolerance) {
  auto close = [tolerance](int value, int expected) { return value >= expected - tolerance && value <= expected + tolerance; };
  return close((pixel >> 16) & 0xff, r) && close((pixel >> 8) & 0xff, g) && close(pixel & 0xff, b);
}

}  // namespace tstest

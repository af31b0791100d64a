#include "player/host/device_tap.h"

#include "player/host/module_imports.h"

namespace host {
namespace {

// The place of CreateDevice in IDirect3D9's table: IUnknown's three, then thirteen.
constexpr size_t kCreateDeviceSlot = 16;

using CreateDevice = HRESULT(WINAPI*)(IDirect3D9*, UINT, D3DDEVTYPE, HWND, DWORD, D3DPRESENT_PARAMETERS*,
                                      IDirect3DDevice9**);
using Create9 = IDirect3D9*(WINAPI*)(UINT);

Create9 realCreate9 = nullptr;
CreateDevice realCreateDevice = nullptr;
IDirect3DDevice9* device = nullptr;
UINT askedVersion = 0;

HRESULT WINAPI createDevice(IDirect3D9* d3d, UINT adapter, D3DDEVTYPE type, HWND focus, DWORD flags,
                            D3DPRESENT_PARAMETERS* parameters, IDirect3DDevice9** made) {
  const HRESULT result = realCreateDevice(d3d, adapter, type, focus, flags, parameters, made);
  if (SUCCEEDED(result)) device = *made;
  return result;
}

IDirect3D9* WINAPI create9(UINT version) {
  askedVersion = version;
  IDirect3D9* d3d = realCreate9(version);
  if (!d3d) return d3d;
  // Every IDirect3D9 shares one table: it is taken over once.
  void** table = *reinterpret_cast<void***>(d3d);
  void* current = table[kCreateDeviceSlot];
  if (current != reinterpret_cast<void*>(&createDevice)) {
    realCreateDevice = reinterpret_cast<CreateDevice>(current);
    writeProtectedPointer(&table[kCreateDeviceSlot], reinterpret_cast<void*>(&createDevice));
  }
  return d3d;
}

}  // namespace

void tapDevice(HMODULE module) {
  void* original = replaceImport(module, "d3d9.dll", "Direct3DCreate9", reinterpret_cast<void*>(&create9));
  if (original && original != reinterpret_cast<void*>(&create9)) realCreate9 = reinterpret_cast<Create9>(original);
}

IDirect3DDevice9* tappedDevice() { return device; }

UINT tappedInterfaceVersion() { return askedVersion; }

}  // namespace host

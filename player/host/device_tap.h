#pragma once

#include <windows.h>
#include <d3d9.h>

namespace host {

// The Direct3D device the driver makes when its render window opens, which the
// driver's interface does not hand out: taken at the module's Direct3DCreate9
// import, so that we can read frames back.
void tapDevice(HMODULE module);

// The device of the render window opened last; null before. Valid while that
// window stays open.
IDirect3DDevice9* tappedDevice();

// The interface version the module asked Direct3DCreate9 for; 0 before it asked.
UINT tappedInterfaceVersion();

}  // namespace host

#pragma once

#include <d3d9.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/com_ptr.h"

namespace host {

// The back buffer of a device as 0xAARRGGBB pixels, read back after a frame.
struct Frame {
  unsigned int width = 0, height = 0;
  std::vector<uint32_t> pixels;
};

// Reads a device's back buffer through a system-memory copy that is kept from frame to
// frame while the size and format stay, so that a run of frames makes one surface.
class BackBufferReader {
 public:
  // False without a device.
  bool read(IDirect3DDevice9* device, Frame& frame);

 private:
  platform::ComPtr<IDirect3DSurface9> copy;
  D3DSURFACE_DESC copyDesc = {};
};

// The frame as a PNG file at `path`, which appears whole or not at all.
bool saveFrame(const Frame& frame, const std::string& path);

}  // namespace host

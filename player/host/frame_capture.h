#pragma once

#include <d3d9.h>

#include <cstdint>
#include <string>
#include <vector>

namespace host {

// The back buffer of a device as 0xAARRGGBB pixels, read back after a frame.
struct Frame {
  unsigned int width = 0, height = 0;
  std::vector<uint32_t> pixels;
};

// False without a device.
bool captureBackBuffer(IDirect3DDevice9* device, Frame& frame);
// The frame as a PNG file at `path`, which appears whole or not at all.
bool saveFrame(const Frame& frame, const std::string& path);

}  // namespace host

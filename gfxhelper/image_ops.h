#pragma once

// Operations on B, G, R, A images that the texture functions build on: scaling,
// mip levels, the colour key, height maps to normal maps. Platform-free.

#include <cstdint>

#include "gfxhelper/image.h"

namespace gfximage {

enum class Filter {
  None,    // copied to the top-left corner; what lies outside is transparent black
  Point,   // the nearest texel
  Linear,  // bilinear between texel centres, clamped at the edges
  Box,     // each target texel averages the source area that it covers
};

// A copy of `source` at `width` x `height` (both at least 1).
Result resample(const Image& source, uint32_t width, uint32_t height, Filter filter, Image* target);

// The level below: half the size, never below 1.
Result nextMipLevel(const Image& level, Filter filter, Image* next);

// Texels equal to `argb` (alpha included) become transparent black; 0 does nothing.
void applyColorKey(Image* image, uint32_t argb);

// Which channel of the source is the height, with the values of D3DX_CHANNEL_*.
enum HeightChannel : uint32_t {
  kChannelRed = 1,
  kChannelBlue = 2,
  kChannelGreen = 4,
  kChannelAlpha = 8,
  kChannelLuminance = 16,
};

struct NormalMapOptions {
  uint32_t channel = kChannelLuminance;
  float amplitude = 1.0f;
  bool mirrorU = false;  // beyond the left and right edges mirror the image rather than wrap around
  bool mirrorV = false;
  bool invertSign = false;  // turn the slopes the other way, as for a depth map
  bool occlusion = false;   // alpha gets how open the sky above each texel is; otherwise 255
};

// Height (the channel, 0 to 1, times the amplitude, in texels) into normals. The
// slope along u (to the right) and v (down) is the central difference over the two
// neighbours, halved; the normal is (-slope u, -slope v, 1) made unit length and
// stored as R, G, B = 255 * (n + 1) / 2. Occlusion is 1 minus the mean, over eight
// directions, of the sine of the highest horizon seen within 16 texels; a flat map
// is fully open.
Result computeNormalMap(const Image& heights, const NormalMapOptions& options, Image* normals);

// Makes the vectors stored in R, G, B unit length again, after filtering has
// averaged them.
void renormalize(Image* normals);

}  // namespace gfximage

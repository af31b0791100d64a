#pragma once

// A reader of BMP (DIB) files. Platform-free.
//
// Headers: the 12-byte core header and the 40-byte header with its later forms (52,
// 56, 108, 124 bytes). Pixels: 1, 4 and 8 bits through the palette, 16, 24 and 32
// bits packed, channel masks (BI_BITFIELDS) at 16 and 32 bits, run-length RLE8 and
// RLE4; rows bottom-up, or top-down for a negative height.
//
// Every offset and count is checked against the bytes present before it is read, and
// every palette index against the palette; the size against Limits before pixel memory
// is taken. Pixels that a run-length file skips with its escapes stay transparent black.

#include <cstddef>

#include "gfxhelper/image.h"

namespace gfximage {
namespace bmp {

bool hasSignature(const void* data, size_t size);

// The header alone: A8R8G8B8 when the pixels carry alpha, X8R8G8B8 otherwise.
Result readInfo(const void* data, size_t size, ImageInfo* info, const Limits& limits = Limits());

// The header and the pixels, rows top to bottom.
Result decode(const void* data, size_t size, ImageInfo* info, Image* image, const Limits& limits = Limits());

}  // namespace bmp
}  // namespace gfximage

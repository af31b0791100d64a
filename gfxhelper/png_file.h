#pragma once

// PNG files through libpng: every bit depth and colour type, palettes, transparency
// and Adam7 interlacing, into B, G, R, A pixels (16-bit channels keep their high byte).
// Platform-free.
//
// The library's errors come back as a failed Result with its message. Chunk checksums
// are not enforced, as other readers do not; ancillary chunks other than tRNS are
// skipped unread. The size is checked against Limits from the header, and the file
// must hold enough compressed data for it, before any pixel memory is taken.

#include <cstddef>

#include "gfxhelper/image_decode.h"

namespace gfximage {
namespace png {

// The header alone: A8R8G8B8 when it declares alpha (a channel, or a palette with
// transparent entries), X8R8G8B8 otherwise.
Result readInfo(const void* data, size_t size, ImageInfo* info, const Limits& limits);

// Level 0 of the image; info.format becomes A8R8G8B8 when any texel is transparent.
Result decode(const void* data, size_t size, DecodedImage* out, const Limits& limits);

}  // namespace png
}  // namespace gfximage

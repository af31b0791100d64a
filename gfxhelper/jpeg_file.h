#pragma once

// JPEG files through libjpeg-turbo: baseline and progressive, grey, YCbCr, RGB and
// CMYK, into B, G, R, A pixels. Platform-free.
//
// The library's errors come back as a failed Result with its message; its warnings
// (corrupt or missing data, which it decodes as grey) are not errors, as with other
// readers. The size is checked against Limits from the header, before any pixel memory
// is taken, and the library's own memory is capped to a few times the image's size.

#include <cstddef>

#include "gfxhelper/image_decode.h"

namespace gfximage {
namespace jpeg {

// The header alone; the format is always X8R8G8B8.
Result readInfo(const void* data, size_t size, ImageInfo* info, const Limits& limits);

// Level 0 of the image.
Result decode(const void* data, size_t size, DecodedImage* out, const Limits& limits);

}  // namespace jpeg
}  // namespace gfximage

#pragma once

// A reader of TGA files. Platform-free.
//
// True colour of 15, 16 (five bits a channel, the attribute bit ignored as most writers
// leave it unset), 24 and 32 bits; grey of 8 bits, and of 16 with alpha; colour-mapped
// with 8- or 16-bit indices into a map of any of those kinds; each also run-length
// encoded; rows from the bottom or from the top. The image ID is skipped, trailing
// bytes (a footer) are ignored.
//
// Every count is checked against the bytes present and every index against the
// colour map; the size against Limits before pixel memory is taken.

#include <cstddef>

#include "gfxhelper/image.h"

namespace gfximage {
namespace tga {

// TGA has no signature: a file is taken for one when its header is consistent.
bool looksLike(const void* data, size_t size);

// The header alone: A8R8G8B8 when the pixels carry alpha, X8R8G8B8 otherwise.
Result readInfo(const void* data, size_t size, ImageInfo* info, const Limits& limits = Limits());

// The header and the pixels, rows top to bottom.
Result decode(const void* data, size_t size, ImageInfo* info, Image* image, const Limits& limits = Limits());

}  // namespace tga
}  // namespace gfximage

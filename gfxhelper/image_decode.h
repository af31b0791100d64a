#pragma once

// Image files from memory into B, G, R, A pixels. Platform-free.
//
// JPEG goes through libjpeg-turbo, PNG through libpng, BMP (also named .dib), TGA and
// DDS through our own readers. The kind is told by the bytes, not by a file name. Sizes
// beyond Limits are refused from the header, before pixel memory is taken, and the memory
// that the decoders may take is capped to a few times the image's own size, so that no
// file can make them allocate without bound.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "gfxhelper/image.h"

namespace gfximage {

// A decoded file: the header's description and level 0 (with a DDS file, all the
// levels it stores) of a 2D image.
struct DecodedImage {
  ImageInfo info;
  std::vector<Image> levels;
};

// The kind of file from its first bytes; Unknown when no reader claims it.
FileType identify(const void* data, size_t size);

// The header alone: size, levels, layout. For the formats but DDS, the format is
// A8R8G8B8 when the header declares alpha and X8R8G8B8 otherwise.
Result readInfo(const void* data, size_t size, ImageInfo* info, const Limits& limits = Limits());

// The whole image. Cube maps are refused here (readInfo still describes them).
// info.format becomes A8R8G8B8 when decoding finds transparency that the header
// did not declare (a PNG's transparent palette entry, say).
Result decode(const void* data, size_t size, DecodedImage* image, const Limits& limits = Limits());


}  // namespace gfximage

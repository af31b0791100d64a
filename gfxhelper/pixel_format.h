#pragma once

// Conversions between B, G, R, A pixels and the texel layouts of textures and DDS
// files. Platform-free.
//
// Channels widen to 8 bits and narrow from them with rounding, so every layout of
// at most 8 bits per channel survives a round trip through B, G, R, A unchanged.
// Reading: luminance goes to R, G and B; a layout without alpha reads as opaque; one
// with alpha alone reads as black with that alpha. Writing luminance uses the
// weights 0.2125 R + 0.7154 G + 0.0721 B.

#include <cstddef>
#include <cstdint>

#include "gfxhelper/image.h"

namespace gfximage {

// Whole texels of 8, 16, 24 or 32 bits, little-endian, with one mask per channel,
// as a DDS file describes them. With `luminance` the red mask holds luminance.
struct MaskLayout {
  uint32_t bits = 0;
  uint32_t red = 0;
  uint32_t green = 0;
  uint32_t blue = 0;
  uint32_t alpha = 0;
  bool luminance = false;
};

// Usable masks: a bit count of 8, 16, 24 or 32, every mask contiguous and within it,
// at least one channel.
bool validLayout(const MaskLayout& layout);

// The layout of a format of whole texels; false for block and unknown formats.
bool layoutOf(PixelFormat format, MaskLayout* layout);

// The format with exactly this layout, or Unknown.
PixelFormat formatOfLayout(const MaskLayout& layout);

// Formats that this file can read and write (all named in PixelFormat).
bool isKnownFormat(PixelFormat format);
bool hasAlpha(PixelFormat format);
bool isLuminanceOnly(PixelFormat format);

// Bytes in a row of texels, or in a row of 4 x 4 blocks, and how many such rows a
// surface has; 0 for an unknown format.
uint64_t surfacePitch(PixelFormat format, uint32_t width);
uint32_t surfaceRows(PixelFormat format, uint32_t height);

uint8_t luminanceOf(uint8_t red, uint8_t green, uint8_t blue);

// One row of `width` texels.
void unpackRow(const MaskLayout& layout, const uint8_t* source, uint32_t width, uint8_t* bgra);
void packRow(const MaskLayout& layout, const uint8_t* bgra, uint32_t width, uint8_t* destination);

// A whole surface whose rows (of texels or blocks) lie `pitch` bytes apart. Block
// formats take partial blocks at the right and bottom edges. False for an unknown
// format (or one that is only read, when packing: DXT2 and DXT4).
bool packSurface(PixelFormat format, const Image& source, uint8_t* destination, size_t pitch);
bool unpackSurface(PixelFormat format, const uint8_t* source, size_t pitch, uint32_t width, uint32_t height,
                   Image* image);

}  // namespace gfximage

#pragma once

// DXT1 to DXT5 blocks: 4 x 4 texels in 8 (DXT1) or 16 bytes. Platform-free.
//
// Colour block: two R5G6B5 end points c0, c1 (little-endian), then 32 bits of
// 2-bit indices, texel 0 in the lowest bits, row by row. The end points expand to
// 8 bits by repeating their top bits. With c0 > c1 (or always in DXT2 to DXT5) the
// palette is c0, c1, (2 c0 + c1) / 3, (c0 + 2 c1) / 3; in DXT1 with c0 <= c1 it is
// c0, c1, (c0 + c1) / 2 and transparent black.
// DXT2/3 alpha: 64 bits of 4-bit alpha, texel 0 in the low nibble of byte 0.
// DXT4/5 alpha: end points a0, a1, then 48 bits of 3-bit indices; with a0 > a1 six
// steps lie between them, otherwise four, followed by 0 and 255.
// DXT2 and DXT4 hold premultiplied colour; it is decoded as it is stored.

#include <cstddef>
#include <cstdint>

#include "gfxhelper/image.h"

namespace gfximage {
namespace dxt {

bool isBlockFormat(PixelFormat format);
// 8 for DXT1, 16 for the others, 0 for a format without blocks.
uint32_t blockBytes(PixelFormat format);

// Expands a 5- or 6-bit channel to 8 bits by repeating its top bits.
uint8_t expand5(uint32_t value);
uint8_t expand6(uint32_t value);

// One block into 16 texels, B, G, R, A, row by row.
void decodeBlock(PixelFormat format, const uint8_t* block, uint8_t texels[64]);

// 16 texels into one block of DXT1, DXT3 or DXT5 (the premultiplied forms are not
// written). DXT1 makes texels with alpha below 128 transparent.
void encodeBlock(PixelFormat format, const uint8_t texels[64], uint8_t* block);

}  // namespace dxt
}  // namespace gfximage

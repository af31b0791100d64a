#pragma once

// Little-endian fields of file formats; the caller has checked that the bytes are there.

#include <cstdint>

namespace gfximage {

inline uint32_t le16(const uint8_t* at) { return static_cast<uint32_t>(at[0]) | (static_cast<uint32_t>(at[1]) << 8); }
inline uint32_t le32(const uint8_t* at) { return le16(at) | (le16(at + 2) << 16); }

}  // namespace gfximage

#pragma once

// Texture functions under the public D3DX 9 names, Windows only.
//
// Files: PNG, JPEG, BMP/DIB, TGA and DDS (DXT1 to DXT5 and uncompressed 2D images,
// with their mip levels; cube maps for the cube functions), told apart by their
// bytes. Images beyond 8192 x 8192 are refused. DXT data is handed to the device as it is stored when the device takes
// the format and nothing asks for a change; otherwise images are decoded, colour
// keyed, scaled with the filter, given their mip levels by the mip filter and
// written in the texture's format (DXT1, DXT3 and DXT5 are compressed by our own
// encoder when a texture in them needs texels from us).
//
// Formats: a requested format that the device lacks, or that we cannot write, is
// replaced by the nearest common one (A8R8G8B8 with alpha, X8R8G8B8 without).
// Palettes are never made: palette arguments are accepted and left alone.
// Textures in D3DPOOL_DEFAULT are filled through a system-memory copy.
//
// Results: D3D_OK and a texture with one reference; D3DERR_INVALIDCALL for bad
// arguments; D3DXERR_INVALIDDATA for data that is no image we read (too large,
// damaged, a cube map or volume where a 2D image is wanted); D3DERR_NOTFOUND for a
// file that cannot be read; E_OUTOFMEMORY; or the device's own failure. Nothing is
// printed: the reason of the last failure on this thread is in
// gfxhelper::lastTextureError(), for the caller to report as it sees fit.

#include <windows.h>
#include <d3d9.h>

#include <string>

#include "gfxhelper/d3dx9math.h"

#ifndef D3DX_DEFAULT
#define D3DX_DEFAULT (static_cast<UINT>(-1))
#endif
#ifndef D3DX_DEFAULT_NONPOW2
#define D3DX_DEFAULT_NONPOW2 (static_cast<UINT>(-2))
#endif
#ifndef D3DX_FROM_FILE
#define D3DX_FROM_FILE (static_cast<UINT>(-3))
#endif
#ifndef D3DFMT_FROM_FILE
#define D3DFMT_FROM_FILE (static_cast<D3DFORMAT>(-3))
#endif

#ifndef D3DXERR_INVALIDDATA
#define D3DXERR_INVALIDDATA (static_cast<HRESULT>(0x88760B59u))
#endif

// Filters: the low byte is the kind, the bits above are options. Mirroring,
// dithering and sRGB are accepted and have no effect; triangle filtering is done
// as box (area) filtering.
#define D3DX_FILTER_NONE (1u << 0)
#define D3DX_FILTER_POINT (2u << 0)
#define D3DX_FILTER_LINEAR (3u << 0)
#define D3DX_FILTER_TRIANGLE (4u << 0)
#define D3DX_FILTER_BOX (5u << 0)
#define D3DX_FILTER_MIRROR_U (1u << 16)
#define D3DX_FILTER_MIRROR_V (2u << 16)
#define D3DX_FILTER_MIRROR_W (4u << 16)
#define D3DX_FILTER_MIRROR (7u << 16)
#define D3DX_FILTER_DITHER (1u << 19)
#define D3DX_FILTER_DITHER_DIFFUSION (2u << 19)
#define D3DX_FILTER_SRGB_IN (1u << 21)
#define D3DX_FILTER_SRGB_OUT (2u << 21)
#define D3DX_FILTER_SRGB (3u << 21)

#define D3DX_CHANNEL_RED (1u << 0)
#define D3DX_CHANNEL_BLUE (1u << 1)
#define D3DX_CHANNEL_GREEN (1u << 2)
#define D3DX_CHANNEL_ALPHA (1u << 3)
#define D3DX_CHANNEL_LUMINANCE (1u << 4)

#define D3DX_NORMALMAP_MIRROR_U (1u << 16)
#define D3DX_NORMALMAP_MIRROR_V (2u << 16)
#define D3DX_NORMALMAP_MIRROR (3u << 16)
#define D3DX_NORMALMAP_INVERTSIGN (8u << 16)
#define D3DX_NORMALMAP_COMPUTE_OCCLUSION (16u << 16)

typedef enum _D3DXIMAGE_FILEFORMAT {
  D3DXIFF_BMP = 0,
  D3DXIFF_JPG = 1,
  D3DXIFF_TGA = 2,
  D3DXIFF_PNG = 3,
  D3DXIFF_DDS = 4,
  D3DXIFF_PPM = 5,
  D3DXIFF_DIB = 6,
  D3DXIFF_HDR = 7,
  D3DXIFF_PFM = 8,
  D3DXIFF_FORCE_DWORD = 0x7fffffff
} D3DXIMAGE_FILEFORMAT;

// What a file holds. Format is the file's own layout (for PNG, JPEG, BMP and TGA:
// A8R8G8B8 with an alpha channel, X8R8G8B8 without). A .dib file reports D3DXIFF_BMP:
// the bytes are the same.
typedef struct _D3DXIMAGE_INFO {
  UINT Width;
  UINT Height;
  UINT Depth;
  UINT MipLevels;
  D3DFORMAT Format;
  D3DRESOURCETYPE ResourceType;
  D3DXIMAGE_FILEFORMAT ImageFileFormat;
} D3DXIMAGE_INFO;

static_assert(sizeof(D3DXIMAGE_INFO) == 28, "D3DXIMAGE_INFO must keep its public layout");

// The fill callback: `out` gets R, G, B, A (x, y, z, w) in 0..1 for the texel whose
// centre lies at `texCoord`, of size `texelSize`, both in 0..1 of the level.
typedef VOID(WINAPI* LPD3DXFILL2D)(D3DXVECTOR4* out, const D3DXVECTOR2* texCoord, const D3DXVECTOR2* texelSize,
                                   LPVOID data);

HRESULT WINAPI D3DXGetImageInfoFromFileInMemory(LPCVOID data, UINT size, D3DXIMAGE_INFO* info);
HRESULT WINAPI D3DXGetImageInfoFromFileA(LPCSTR file, D3DXIMAGE_INFO* info);

// An empty texture. Width or height 0 mean 1; both D3DX_DEFAULT mean 256, one of
// them the other's value. Sizes round up to powers of two when the device needs
// that, and DXT sizes to multiples of 4; mip levels 0 or D3DX_DEFAULT make the full
// chain; D3DFMT_UNKNOWN means A8R8G8B8.
HRESULT WINAPI D3DXCreateTexture(LPDIRECT3DDEVICE9 device, UINT width, UINT height, UINT mipLevels, DWORD usage,
                                 D3DFORMAT format, D3DPOOL pool, LPDIRECT3DTEXTURE9* texture);

// Width and height: 0, D3DX_DEFAULT or D3DX_FROM_FILE take the file's (rounded up to
// powers of two when the device needs that), D3DX_DEFAULT_NONPOW2 the file's as they
// are. Mip levels: 0 or D3DX_DEFAULT the full chain, D3DX_FROM_FILE the file's count.
// Format: D3DFMT_UNKNOWN or D3DFMT_FROM_FILE the file's. Filter D3DX_DEFAULT means
// triangle, mip filter D3DX_DEFAULT box; D3DX_FILTER_NONE as mip filter leaves the
// levels below those the file brings untouched. Levels that the file stores are used
// as they are when the size is the file's. ColorKey: texels equal to this A8R8G8B8
// value become transparent black; 0 for none.
HRESULT WINAPI D3DXCreateTextureFromFileInMemoryEx(LPDIRECT3DDEVICE9 device, LPCVOID data, UINT size, UINT width,
                                                   UINT height, UINT mipLevels, DWORD usage, D3DFORMAT format,
                                                   D3DPOOL pool, DWORD filter, DWORD mipFilter, D3DCOLOR colorKey,
                                                   D3DXIMAGE_INFO* info, PALETTEENTRY* palette,
                                                   LPDIRECT3DTEXTURE9* texture);
HRESULT WINAPI D3DXCreateTextureFromFileExA(LPDIRECT3DDEVICE9 device, LPCSTR file, UINT width, UINT height,
                                            UINT mipLevels, DWORD usage, D3DFORMAT format, D3DPOOL pool, DWORD filter,
                                            DWORD mipFilter, D3DCOLOR colorKey, D3DXIMAGE_INFO* info,
                                            PALETTEENTRY* palette, LPDIRECT3DTEXTURE9* texture);

// The plain forms: every option at its default, the managed pool.
HRESULT WINAPI D3DXCreateTextureFromFileInMemory(LPDIRECT3DDEVICE9 device, LPCVOID data, UINT size,
                                                 LPDIRECT3DTEXTURE9* texture);
HRESULT WINAPI D3DXCreateTextureFromFileA(LPDIRECT3DDEVICE9 device, LPCSTR file, LPDIRECT3DTEXTURE9* texture);

// An empty cube texture, as D3DXCreateTexture with one edge for width and height.
HRESULT WINAPI D3DXCreateCubeTexture(LPDIRECT3DDEVICE9 device, UINT edge, UINT mipLevels, DWORD usage,
                                     D3DFORMAT format, D3DPOOL pool, LPDIRECT3DCUBETEXTURE9* texture);
// A cube texture from a DDS cube file holding all six faces, in the managed pool with the
// full mip chain (the levels the file lacks box-filtered from the one above). Any other
// file is D3DXERR_INVALIDDATA.
HRESULT WINAPI D3DXCreateCubeTextureFromFileInMemory(LPDIRECT3DDEVICE9 device, LPCVOID data, UINT size,
                                                     LPDIRECT3DCUBETEXTURE9* texture);
HRESULT WINAPI D3DXCreateCubeTextureFromFileA(LPDIRECT3DDEVICE9 device, LPCSTR file, LPDIRECT3DCUBETEXTURE9* texture);

// Calls `function` for every texel of every level and writes the colour it gives,
// clamped to 0..1, in the texture's format.
HRESULT WINAPI D3DXFillTexture(LPDIRECT3DTEXTURE9 texture, LPD3DXFILL2D function, LPVOID data);

// Fills every level of `texture` with the normal map of `source`'s level 0, read as
// heights from one channel (D3DX_CHANNEL_*) times `amplitude`, scaled to the size of
// `texture` first. See gfximage::computeNormalMap for the exact rule; lower levels
// are box-filtered and renormalised. Flags: D3DX_NORMALMAP_MIRROR_U/_V (mirror, not
// wrap, beyond the edges), D3DX_NORMALMAP_INVERTSIGN, D3DX_NORMALMAP_COMPUTE_OCCLUSION
// (alpha = how open each texel is; otherwise 1). `palette` is not used.
HRESULT WINAPI D3DXComputeNormalMap(LPDIRECT3DTEXTURE9 texture, LPDIRECT3DTEXTURE9 source, const PALETTEENTRY* palette,
                                    DWORD flags, DWORD channel, FLOAT amplitude);

inline HRESULT D3DXCreateTextureFromFile(LPDIRECT3DDEVICE9 device, LPCSTR file, LPDIRECT3DTEXTURE9* texture) {
  return D3DXCreateTextureFromFileA(device, file, texture);
}
inline HRESULT D3DXCreateTextureFromFileEx(LPDIRECT3DDEVICE9 device, LPCSTR file, UINT width, UINT height,
                                           UINT mipLevels, DWORD usage, D3DFORMAT format, D3DPOOL pool, DWORD filter,
                                           DWORD mipFilter, D3DCOLOR colorKey, D3DXIMAGE_INFO* info,
                                           PALETTEENTRY* palette, LPDIRECT3DTEXTURE9* texture) {
  return D3DXCreateTextureFromFileExA(device, file, width, height, mipLevels, usage, format, pool, filter, mipFilter,
                                      colorKey, info, palette, texture);
}
inline HRESULT D3DXGetImageInfoFromFile(LPCSTR file, D3DXIMAGE_INFO* info) {
  return D3DXGetImageInfoFromFileA(file, info);
}

namespace gfxhelper {

// Why the last texture function on this thread failed; empty after a success.
std::string lastTextureError();

}  // namespace gfxhelper

#include "gfxhelper/d3dx9tex.h"

#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "gfxhelper/dds.h"
#include "gfxhelper/dxt.h"
#include "gfxhelper/image_decode.h"
#include "gfxhelper/image_ops.h"
#include "gfxhelper/pixel_format.h"
#include "platform/com_ptr.h"

using gfximage::Filter;
using gfximage::Image;
using gfximage::PixelFormat;

static_assert(static_cast<uint32_t>(PixelFormat::A8R8G8B8) == D3DFMT_A8R8G8B8, "format codes are Direct3D's");
static_assert(static_cast<uint32_t>(PixelFormat::R5G6B5) == D3DFMT_R5G6B5, "format codes are Direct3D's");
static_assert(static_cast<uint32_t>(PixelFormat::A2R10G10B10) == D3DFMT_A2R10G10B10, "format codes are Direct3D's");
static_assert(static_cast<uint32_t>(PixelFormat::L16) == D3DFMT_L16, "format codes are Direct3D's");
static_assert(static_cast<uint32_t>(PixelFormat::DXT1) == D3DFMT_DXT1, "format codes are Direct3D's");
static_assert(static_cast<uint32_t>(PixelFormat::DXT5) == D3DFMT_DXT5, "format codes are Direct3D's");
static_assert(static_cast<int>(gfximage::FileType::Dds) == D3DXIFF_DDS, "file kinds are D3DX's");

namespace {

// Files beyond this are not read: no image within the size limits needs it.
constexpr long kMaxFileBytes = 1l << 30;

thread_local std::string lastError;

HRESULT fail(HRESULT code, std::string why) {
  lastError = std::move(why);
  return code;
}

HRESULT fail(const gfximage::Result& result) {
  switch (result.status) {
    case gfximage::Status::InvalidArgument:
      return fail(D3DERR_INVALIDCALL, result.reason);
    case gfximage::Status::OutOfMemory:
      return fail(E_OUTOFMEMORY, result.reason);
    default:
      return fail(D3DXERR_INVALIDDATA, result.reason);
  }
}

HRESULT succeed() {
  lastError.clear();
  return D3D_OK;
}

D3DFORMAT toD3D(PixelFormat format) { return static_cast<D3DFORMAT>(static_cast<uint32_t>(format)); }
PixelFormat fromD3D(D3DFORMAT format) { return static_cast<PixelFormat>(static_cast<uint32_t>(format)); }

bool isBlock(D3DFORMAT format) { return gfximage::dxt::isBlockFormat(fromD3D(format)); }

// Formats whose texels we can write from B, G, R, A.
bool writable(D3DFORMAT format) {
  const PixelFormat pixel = fromD3D(format);
  return gfximage::isKnownFormat(pixel) && pixel != PixelFormat::DXT2 && pixel != PixelFormat::DXT4;
}

// What the device can do, asked once per call.
struct Device {
  IDirect3DDevice9* device = nullptr;
  platform::ComPtr<IDirect3D9> d3d;
  D3DDEVICE_CREATION_PARAMETERS creation = {};
  D3DFORMAT adapterFormat = D3DFMT_X8R8G8B8;
  D3DCAPS9 caps = {};
  D3DRESOURCETYPE resource = D3DRTYPE_TEXTURE;  // what formats are asked for

  HRESULT query(IDirect3DDevice9* target) {
    device = target;
    HRESULT hr = device->GetDirect3D(d3d.out());
    if (FAILED(hr)) return hr;
    if (FAILED(hr = device->GetCreationParameters(&creation))) return hr;
    if (FAILED(hr = device->GetDeviceCaps(&caps))) return hr;
    D3DDISPLAYMODE mode;
    if (SUCCEEDED(d3d->GetAdapterDisplayMode(creation.AdapterOrdinal, &mode))) adapterFormat = mode.Format;
    return D3D_OK;
  }

  bool supports(D3DFORMAT format, DWORD usage) const {
    const DWORD checked = usage & (D3DUSAGE_RENDERTARGET | D3DUSAGE_DYNAMIC | D3DUSAGE_AUTOGENMIPMAP);
    return SUCCEEDED(
        d3d->CheckDeviceFormat(creation.AdapterOrdinal, creation.DeviceType, adapterFormat, checked, resource, format));
  }
};

// The requested format if the device takes it (and, when texels must be written, we
// can write it), else the nearest common one.
D3DFORMAT chooseFormat(const Device& device, D3DFORMAT wanted, DWORD usage, bool mustWrite, bool blocksFit) {
  auto usable = [&](D3DFORMAT format) {
    return (!mustWrite || writable(format)) && (blocksFit || !isBlock(format)) && device.supports(format, usage);
  };
  if (wanted != D3DFMT_UNKNOWN && usable(wanted)) return wanted;
  const PixelFormat pixel = fromD3D(wanted);
  static const D3DFORMAT kWithAlpha[] = {D3DFMT_A8R8G8B8, D3DFMT_A8B8G8R8, D3DFMT_A4R4G4B4, D3DFMT_A1R5G5B5};
  static const D3DFORMAT kOpaque[] = {D3DFMT_X8R8G8B8, D3DFMT_A8R8G8B8, D3DFMT_R5G6B5, D3DFMT_X1R5G5B5};
  const bool alpha = wanted == D3DFMT_UNKNOWN || gfximage::hasAlpha(pixel) || !gfximage::isKnownFormat(pixel);
  for (D3DFORMAT format : alpha ? kWithAlpha : kOpaque)
    if (usable(format)) return format;
  return D3DFMT_UNKNOWN;
}

uint32_t roundUpPow2(uint32_t value) {
  uint32_t result = 1;
  while (result < value && result < (1u << 31)) result <<= 1;
  return result;
}

// The texture's size and levels as the device will take them: powers of two when
// the device needs them (a single level may escape that where the device allows it),
// squares, its largest size, whole DXT blocks for a DXT format.
void fitSize(const Device& device, D3DFORMAT format, UINT* width, UINT* height, UINT* levels) {
  const DWORD textureCaps = device.caps.TextureCaps;
  const bool pow2 = (textureCaps & D3DPTEXTURECAPS_POW2) &&
                    !((textureCaps & D3DPTEXTURECAPS_NONPOW2CONDITIONAL) && *levels == 1);
  if (pow2) {
    *width = roundUpPow2(*width);
    *height = roundUpPow2(*height);
  }
  if (textureCaps & D3DPTEXTURECAPS_SQUAREONLY) *width = *height = (*width > *height ? *width : *height);
  if (device.caps.MaxTextureWidth && *width > device.caps.MaxTextureWidth) *width = device.caps.MaxTextureWidth;
  if (device.caps.MaxTextureHeight && *height > device.caps.MaxTextureHeight) *height = device.caps.MaxTextureHeight;
  if (isBlock(format)) {
    *width = (*width + 3) & ~3u;
    *height = (*height + 3) & ~3u;
  }
  const UINT full = gfximage::fullMipChain(*width, *height);
  if (!(textureCaps & D3DPTEXTURECAPS_MIPMAP)) *levels = 1;
  if (*levels == 0 || *levels > full) *levels = full;
}

bool parseFilter(DWORD filter, DWORD fallback, Filter* kind) {
  if (filter == D3DX_DEFAULT) filter = fallback;
  switch (filter & 0xff) {
    case D3DX_FILTER_NONE:
      *kind = Filter::None;
      return true;
    case D3DX_FILTER_POINT:
      *kind = Filter::Point;
      return true;
    case D3DX_FILTER_LINEAR:
      *kind = Filter::Linear;
      return true;
    case D3DX_FILTER_TRIANGLE:
    case D3DX_FILTER_BOX:
      *kind = Filter::Box;
      return true;
    default:
      return false;
  }
}

// Runs `fill` on a texture whose levels can be locked: the texture itself, or for
// the default pool a system-memory twin that then goes to the device.
template <typename Fill>
HRESULT withLockable(IDirect3DTexture9* texture, Fill fill) {
  D3DSURFACE_DESC desc;
  HRESULT hr = texture->GetLevelDesc(0, &desc);
  if (FAILED(hr)) return fail(hr, "the texture has no level 0");
  const bool staged = desc.Pool == D3DPOOL_DEFAULT && !(desc.Usage & D3DUSAGE_DYNAMIC);
  if (!staged) {
    hr = fill(texture);
    if (SUCCEEDED(hr) && (desc.Usage & D3DUSAGE_AUTOGENMIPMAP)) texture->GenerateMipSubLevels();
    return hr;
  }
  platform::ComPtr<IDirect3DDevice9> device;
  if (FAILED(hr = texture->GetDevice(device.out()))) return fail(hr, "the texture has no device");
  platform::ComPtr<IDirect3DTexture9> staging;
  hr = device->CreateTexture(desc.Width, desc.Height, texture->GetLevelCount(), 0, desc.Format, D3DPOOL_SYSTEMMEM,
                             staging.out(), nullptr);
  if (FAILED(hr)) return fail(hr, "no system-memory copy of the texture can be made");
  if (FAILED(hr = fill(staging.get()))) return hr;
  if (FAILED(hr = device->UpdateTexture(staging.get(), texture))) return fail(hr, "the device did not take the texels");
  return D3D_OK;
}

HRESULT writeLevel(IDirect3DTexture9* texture, UINT level, const Image& image) {
  D3DSURFACE_DESC desc;
  HRESULT hr = texture->GetLevelDesc(level, &desc);
  if (FAILED(hr)) return fail(hr, "the texture lacks a level");
  if (desc.Width != image.width || desc.Height != image.height) return fail(D3DERR_INVALIDCALL, "a level has the wrong size");
  D3DLOCKED_RECT locked;
  if (FAILED(hr = texture->LockRect(level, &locked, nullptr, 0))) return fail(hr, "a texture level cannot be locked");
  const bool packed = gfximage::packSurface(fromD3D(desc.Format), image, static_cast<uint8_t*>(locked.pBits),
                                            static_cast<size_t>(locked.Pitch));
  texture->UnlockRect(level);
  return packed ? D3D_OK : fail(D3DERR_INVALIDCALL, "the texture's format cannot be written");
}

HRESULT copyLevel(IDirect3DTexture9* texture, UINT level, const uint8_t* bytes, const gfximage::dds::Surface& surface) {
  D3DLOCKED_RECT locked;
  const HRESULT hr = texture->LockRect(level, &locked, nullptr, 0);
  if (FAILED(hr)) return fail(hr, "a texture level cannot be locked");
  for (uint32_t row = 0; row < surface.rows; ++row)
    std::memcpy(static_cast<uint8_t*>(locked.pBits) + static_cast<size_t>(row) * locked.Pitch,
                bytes + surface.offset + row * surface.pitch, surface.pitch);
  texture->UnlockRect(level);
  return D3D_OK;
}

// Level `level` of any texture that can be read back, in B, G, R, A.
HRESULT readLevel(IDirect3DTexture9* texture, UINT level, Image* image) {
  D3DSURFACE_DESC desc;
  HRESULT hr = texture->GetLevelDesc(level, &desc);
  if (FAILED(hr)) return fail(hr, "the texture lacks a level");
  platform::ComPtr<IDirect3DSurface9> surface;
  if (FAILED(hr = texture->GetSurfaceLevel(level, surface.out()))) return fail(hr, "the texture lacks a level");
  platform::ComPtr<IDirect3DSurface9> copy;
  IDirect3DSurface9* readable = surface.get();
  if (desc.Pool == D3DPOOL_DEFAULT && !(desc.Usage & D3DUSAGE_DYNAMIC)) {
    if (!(desc.Usage & D3DUSAGE_RENDERTARGET)) return fail(D3DERR_INVALIDCALL, "a default-pool texture cannot be read");
    platform::ComPtr<IDirect3DDevice9> device;
    if (FAILED(hr = texture->GetDevice(device.out()))) return fail(hr, "the texture has no device");
    if (FAILED(hr = device->CreateOffscreenPlainSurface(desc.Width, desc.Height, desc.Format, D3DPOOL_SYSTEMMEM,
                                                        copy.out(), nullptr)) ||
        FAILED(hr = device->GetRenderTargetData(surface.get(), copy.get())))
      return fail(hr, "the render target cannot be read");
    readable = copy.get();
  }
  D3DLOCKED_RECT locked;
  if (FAILED(hr = readable->LockRect(&locked, nullptr, D3DLOCK_READONLY))) return fail(hr, "a texture level cannot be locked");
  const bool unpacked = gfximage::unpackSurface(fromD3D(desc.Format), static_cast<const uint8_t*>(locked.pBits),
                                                static_cast<size_t>(locked.Pitch), desc.Width, desc.Height, image);
  readable->UnlockRect();
  return unpacked ? D3D_OK : fail(D3DERR_INVALIDCALL, "the texture's format cannot be read");
}

bool readFile(LPCSTR path, std::vector<uint8_t>* bytes) {
  std::FILE* file = std::fopen(path, "rb");
  if (!file) return false;
  bool ok = std::fseek(file, 0, SEEK_END) == 0;
  const long size = ok ? std::ftell(file) : -1;
  ok = ok && size > 0 && size <= kMaxFileBytes && std::fseek(file, 0, SEEK_SET) == 0;
  if (ok) {
    try {
      bytes->resize(static_cast<size_t>(size));
    } catch (...) {
      ok = false;
    }
  }
  ok = ok && std::fread(bytes->data(), 1, bytes->size(), file) == bytes->size();
  std::fclose(file);
  return ok;
}

void fillInfo(const gfximage::ImageInfo& header, D3DXIMAGE_INFO* info) {
  info->Width = header.width;
  info->Height = header.height;
  info->Depth = 1;
  info->MipLevels = header.mipLevels;
  info->Format = toD3D(header.format);
  info->ResourceType = header.faces == 6 ? D3DRTYPE_CUBETEXTURE : D3DRTYPE_TEXTURE;
  info->ImageFileFormat = static_cast<D3DXIMAGE_FILEFORMAT>(static_cast<int>(header.type));
}

// The texels of every level of `texture` from a file. Levels the file stores are
// used as they are (copied untouched when they are DXT in the texture's format);
// the others come from the level above through the mip filter.
class LevelSource {
 public:
  LevelSource(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}

  HRESULT prepare(bool dds, bool needDecoded) {
    if (dds) {
      const gfximage::Result parsed = gfximage::dds::parse(bytes_, size_, &dds_);
      if (!parsed.ok()) return fail(parsed);
    }
    if (!needDecoded) return D3D_OK;
    const gfximage::Result decoded = gfximage::decode(bytes_, size_, &decoded_);
    return decoded.ok() ? D3D_OK : fail(decoded);
  }

  const gfximage::dds::File& dds() const { return dds_; }
  gfximage::DecodedImage& decoded() { return decoded_; }
  const uint8_t* bytes() const { return bytes_; }

 private:
  const uint8_t* bytes_;
  size_t size_;
  gfximage::dds::File dds_;
  gfximage::DecodedImage decoded_;
};

HRESULT createFromBytes(IDirect3DDevice9* device, const void* data, UINT size, UINT width, UINT height, UINT mipLevels,
                        DWORD usage, D3DFORMAT format, D3DPOOL pool, DWORD filter, DWORD mipFilter, D3DCOLOR colorKey,
                        D3DXIMAGE_INFO* info, IDirect3DTexture9** texture) {
  if (texture) *texture = nullptr;
  if (!device || !data || size == 0 || !texture) return fail(D3DERR_INVALIDCALL, "a null device, data or result, or no bytes");
  Filter scaling, mipping;
  if (!parseFilter(filter, D3DX_FILTER_TRIANGLE, &scaling) || !parseFilter(mipFilter, D3DX_FILTER_BOX, &mipping))
    return fail(D3DERR_INVALIDCALL, "an unknown filter");

  gfximage::ImageInfo header;
  const gfximage::Result read = gfximage::readInfo(data, size, &header);
  if (!read.ok()) return fail(read);
  if (header.faces != 1) return fail(D3DXERR_INVALIDDATA, "DDS: a cube map, not a 2D image");
  if (info) fillInfo(header, info);

  Device facts;
  HRESULT hr = facts.query(device);
  if (FAILED(hr)) return fail(hr, "the device cannot be asked for its abilities");

  const bool fromFileSize = width == 0 || width == D3DX_DEFAULT || width == D3DX_FROM_FILE || width == D3DX_DEFAULT_NONPOW2;
  const bool fromFileHeight =
      height == 0 || height == D3DX_DEFAULT || height == D3DX_FROM_FILE || height == D3DX_DEFAULT_NONPOW2;
  UINT targetWidth = fromFileSize ? header.width : width;
  UINT targetHeight = fromFileHeight ? header.height : height;
  UINT levels = mipLevels == D3DX_DEFAULT ? 0 : (mipLevels == D3DX_FROM_FILE ? header.mipLevels : mipLevels);
  // The file's format, but never 24-bit texels unless they are asked for by name.
  D3DFORMAT wanted = format;
  if (format == D3DFMT_UNKNOWN || format == D3DFMT_FROM_FILE) {
    wanted = toD3D(header.format);
    if (wanted == D3DFMT_R8G8B8) wanted = D3DFMT_X8R8G8B8;
  }
  const bool autoMips = (usage & D3DUSAGE_AUTOGENMIPMAP) != 0;

  // The size is the image's (not rounded to DXT blocks, which would blur it); a DXT
  // format is only kept when the size is whole blocks.
  fitSize(facts, D3DFMT_UNKNOWN, &targetWidth, &targetHeight, &levels);
  const bool blocksFit = targetWidth % 4 == 0 && targetHeight % 4 == 0;
  const bool fileBlocks = header.type == gfximage::FileType::Dds && isBlock(toD3D(header.format));
  const bool resized = targetWidth != header.width || targetHeight != header.height;
  // Stored DXT levels go to the device untouched when nothing asks for a change.
  const bool copyStored = fileBlocks && wanted == toD3D(header.format) && colorKey == 0 && !resized && blocksFit &&
                          facts.supports(wanted, usage);
  const D3DFORMAT chosen = copyStored ? wanted : chooseFormat(facts, wanted, usage, true, blocksFit);
  if (chosen == D3DFMT_UNKNOWN) return fail(D3DERR_NOTAVAILABLE, "the device takes no format that the image fits");

  platform::ComPtr<IDirect3DTexture9> created;
  hr = device->CreateTexture(targetWidth, targetHeight, autoMips ? (levels == 1 ? 1 : 0) : levels, usage, chosen, pool,
                             created.out(), nullptr);
  if (FAILED(hr)) return fail(hr, "the device cannot make the texture");
  const bool allCopied = copyStored && created->GetLevelCount() <= header.mipLevels;

  LevelSource source(static_cast<const uint8_t*>(data), size);
  if (FAILED(hr = source.prepare(copyStored, !allCopied))) return hr;

  hr = withLockable(created.get(), [&](IDirect3DTexture9* target) -> HRESULT {
    const UINT count = target->GetLevelCount();
    Image previous;
    for (UINT level = 0; level < count; ++level) {
      const bool stored = !resized && level < header.mipLevels;
      if (stored && copyStored) {
        const HRESULT copied = copyLevel(target, level, source.bytes(), source.dds().surface(0, level));
        if (FAILED(copied)) return copied;
        if (!allCopied) previous = source.decoded().levels[level];
        continue;
      }
      Image image;
      gfximage::Result made = gfximage::Result::success();
      if (stored) {
        image = std::move(source.decoded().levels[level]);
        gfximage::applyColorKey(&image, colorKey);
      } else if (level == 0) {
        Image& original = source.decoded().levels[0];
        gfximage::applyColorKey(&original, colorKey);
        made = gfximage::resample(original, targetWidth, targetHeight, scaling, &image);
      } else {
        if (mipping == Filter::None) break;
        made = gfximage::nextMipLevel(previous, mipping, &image);
      }
      if (!made.ok()) return fail(made);
      const HRESULT written = writeLevel(target, level, image);
      if (FAILED(written)) return written;
      previous = std::move(image);
    }
    return D3D_OK;
  });
  if (FAILED(hr)) return hr;
  *texture = created.release();
  return succeed();
}

HRESULT createEmpty(IDirect3DDevice9* device, UINT width, UINT height, UINT mipLevels, DWORD usage, D3DFORMAT format,
                    D3DPOOL pool, IDirect3DTexture9** texture) {
  if (texture) *texture = nullptr;
  if (!device || !texture) return fail(D3DERR_INVALIDCALL, "a null device or result");
  Device facts;
  HRESULT hr = facts.query(device);
  if (FAILED(hr)) return fail(hr, "the device cannot be asked for its abilities");
  if (width == D3DX_DEFAULT && height == D3DX_DEFAULT) {
    width = height = 256;
  } else if (width == D3DX_DEFAULT) {
    width = height;
  } else if (height == D3DX_DEFAULT) {
    height = width;
  }
  if (width == 0) width = 1;
  if (height == 0) height = 1;
  UINT levels = mipLevels == D3DX_DEFAULT ? 0 : mipLevels;
  const D3DFORMAT wanted = format == D3DFMT_UNKNOWN ? D3DFMT_A8R8G8B8 : format;
  const D3DFORMAT chosen = chooseFormat(facts, wanted, usage, false, true);
  if (chosen == D3DFMT_UNKNOWN) return fail(D3DERR_NOTAVAILABLE, "the device takes no such texture format");
  fitSize(facts, chosen, &width, &height, &levels);
  const bool autoMips = (usage & D3DUSAGE_AUTOGENMIPMAP) != 0;
  hr = device->CreateTexture(width, height, autoMips ? (levels == 1 ? 1 : 0) : levels, usage, chosen, pool, texture,
                             nullptr);
  if (FAILED(hr)) {
    *texture = nullptr;
    return fail(hr, "the device cannot make the texture");
  }
  return succeed();
}

// A cube map from a DDS cube file, in the managed pool with the full mip chain: every
// stored level decoded, the levels the file lacks made from the one above by box filtering,
// each written in the file's format when the device takes it and we can write it.
HRESULT createCubeFromBytes(IDirect3DDevice9* device, const void* data, UINT size, IDirect3DCubeTexture9** texture) {
  if (texture) *texture = nullptr;
  if (!device || !data || size == 0 || !texture) return fail(D3DERR_INVALIDCALL, "a null device, data or result, or no bytes");
  gfximage::dds::File file;
  if (!gfximage::dds::hasMagic(data, size)) return fail(D3DXERR_INVALIDDATA, "not a DDS cube map");
  const gfximage::Result parsed = gfximage::dds::parse(data, size, &file);
  if (!parsed.ok()) return fail(parsed);
  if (file.faces != 6) return fail(D3DXERR_INVALIDDATA, "DDS: a 2D image, not a cube map");

  Device facts;
  facts.resource = D3DRTYPE_CUBETEXTURE;
  HRESULT hr = facts.query(device);
  if (FAILED(hr)) return fail(hr, "the device cannot be asked for its abilities");
  D3DFORMAT wanted = toD3D(file.format);
  if (wanted == D3DFMT_R8G8B8) wanted = D3DFMT_X8R8G8B8;
  const D3DFORMAT chosen = chooseFormat(facts, wanted, 0, true, file.width % 4 == 0);
  if (chosen == D3DFMT_UNKNOWN) return fail(D3DERR_NOTAVAILABLE, "the device takes no format that the cube fits");
  platform::ComPtr<IDirect3DCubeTexture9> cube;
  hr = device->CreateCubeTexture(file.width, 0, 0, chosen, D3DPOOL_MANAGED, cube.out(), nullptr);
  if (FAILED(hr)) return fail(hr, "the device cannot make the cube texture");

  for (uint32_t face = 0; face < file.faces; ++face) {
    Image previous;
    for (UINT level = 0; level < cube->GetLevelCount(); ++level) {
      Image image;
      const gfximage::Result made = level < file.mipLevels
                                        ? gfximage::dds::decodeSurface(data, size, file, face, level, &image)
                                        : gfximage::nextMipLevel(previous, Filter::Box, &image);
      if (!made.ok()) return fail(made);
      const auto side = static_cast<D3DCUBEMAP_FACES>(face);
      D3DLOCKED_RECT locked;
      if (FAILED(hr = cube->LockRect(side, level, &locked, nullptr, 0))) return fail(hr, "a cube face cannot be locked");
      const bool packed = gfximage::packSurface(fromD3D(chosen), image, static_cast<uint8_t*>(locked.pBits),
                                                static_cast<size_t>(locked.Pitch));
      cube->UnlockRect(side, level);
      if (!packed) return fail(D3DERR_INVALIDCALL, "the cube's format cannot be written");
      previous = std::move(image);
    }
  }
  *texture = cube.release();
  return succeed();
}

uint8_t unitToByte(float value) {
  if (!(value > 0.0f)) return 0;
  if (value >= 1.0f) return 255;
  return static_cast<uint8_t>(value * 255.0f + 0.5f);
}

}  // namespace

HRESULT WINAPI D3DXGetImageInfoFromFileInMemory(LPCVOID data, UINT size, D3DXIMAGE_INFO* info) {
  if (!data || size == 0 || !info) return fail(D3DERR_INVALIDCALL, "a null data or result, or no bytes");
  gfximage::ImageInfo header;
  const gfximage::Result read = gfximage::readInfo(data, size, &header);
  if (!read.ok()) return fail(read);
  fillInfo(header, info);
  return succeed();
}

HRESULT WINAPI D3DXGetImageInfoFromFileA(LPCSTR file, D3DXIMAGE_INFO* info) {
  if (!file || !info) return fail(D3DERR_INVALIDCALL, "a null file name or result");
  std::vector<uint8_t> bytes;
  if (!readFile(file, &bytes)) return fail(D3DERR_NOTFOUND, std::string("cannot read \"") + file + "\"");
  return D3DXGetImageInfoFromFileInMemory(bytes.data(), static_cast<UINT>(bytes.size()), info);
}

HRESULT WINAPI D3DXCreateTexture(LPDIRECT3DDEVICE9 device, UINT width, UINT height, UINT mipLevels, DWORD usage,
                                 D3DFORMAT format, D3DPOOL pool, LPDIRECT3DTEXTURE9* texture) {
  return createEmpty(device, width, height, mipLevels, usage, format, pool, texture);
}

HRESULT WINAPI D3DXCreateTextureFromFileInMemoryEx(LPDIRECT3DDEVICE9 device, LPCVOID data, UINT size, UINT width,
                                                   UINT height, UINT mipLevels, DWORD usage, D3DFORMAT format,
                                                   D3DPOOL pool, DWORD filter, DWORD mipFilter, D3DCOLOR colorKey,
                                                   D3DXIMAGE_INFO* info, PALETTEENTRY* /*palette*/,
                                                   LPDIRECT3DTEXTURE9* texture) {
  return createFromBytes(device, data, size, width, height, mipLevels, usage, format, pool, filter, mipFilter, colorKey,
                         info, texture);
}

HRESULT WINAPI D3DXCreateTextureFromFileExA(LPDIRECT3DDEVICE9 device, LPCSTR file, UINT width, UINT height,
                                            UINT mipLevels, DWORD usage, D3DFORMAT format, D3DPOOL pool, DWORD filter,
                                            DWORD mipFilter, D3DCOLOR colorKey, D3DXIMAGE_INFO* info,
                                            PALETTEENTRY* palette, LPDIRECT3DTEXTURE9* texture) {
  if (texture) *texture = nullptr;
  if (!device || !file || !texture) return fail(D3DERR_INVALIDCALL, "a null device, file name or result");
  std::vector<uint8_t> bytes;
  if (!readFile(file, &bytes)) return fail(D3DERR_NOTFOUND, std::string("cannot read \"") + file + "\"");
  return D3DXCreateTextureFromFileInMemoryEx(device, bytes.data(), static_cast<UINT>(bytes.size()), width, height,
                                             mipLevels, usage, format, pool, filter, mipFilter, colorKey, info, palette,
                                             texture);
}

HRESULT WINAPI D3DXCreateTextureFromFileInMemory(LPDIRECT3DDEVICE9 device, LPCVOID data, UINT size,
                                                 LPDIRECT3DTEXTURE9* texture) {
  return D3DXCreateTextureFromFileInMemoryEx(device, data, size, D3DX_DEFAULT, D3DX_DEFAULT, D3DX_DEFAULT, 0,
                                             D3DFMT_UNKNOWN, D3DPOOL_MANAGED, D3DX_DEFAULT, D3DX_DEFAULT, 0, nullptr,
                                             nullptr, texture);
}

HRESULT WINAPI D3DXCreateTextureFromFileA(LPDIRECT3DDEVICE9 device, LPCSTR file, LPDIRECT3DTEXTURE9* texture) {
  return D3DXCreateTextureFromFileExA(device, file, D3DX_DEFAULT, D3DX_DEFAULT, D3DX_DEFAULT, 0, D3DFMT_UNKNOWN,
                                      D3DPOOL_MANAGED, D3DX_DEFAULT, D3DX_DEFAULT, 0, nullptr, nullptr, texture);
}

HRESULT WINAPI D3DXCreateCubeTexture(LPDIRECT3DDEVICE9 device, UINT edge, UINT mipLevels, DWORD usage,
                                     D3DFORMAT format, D3DPOOL pool, LPDIRECT3DCUBETEXTURE9* texture) {
  if (texture) *texture = nullptr;
  if (!device || !texture) return fail(D3DERR_INVALIDCALL, "a null device or result");
  Device facts;
  facts.resource = D3DRTYPE_CUBETEXTURE;
  HRESULT hr = facts.query(device);
  if (FAILED(hr)) return fail(hr, "the device cannot be asked for its abilities");
  const D3DFORMAT chosen = chooseFormat(facts, format == D3DFMT_UNKNOWN ? D3DFMT_A8R8G8B8 : format, usage, false, true);
  if (chosen == D3DFMT_UNKNOWN) return fail(D3DERR_NOTAVAILABLE, "the device takes no such cube format");
  const UINT full = gfximage::fullMipChain(edge == 0 ? 1 : edge, edge == 0 ? 1 : edge);
  UINT levels = mipLevels == 0 || mipLevels == D3DX_DEFAULT || mipLevels > full ? full : mipLevels;
  if (usage & D3DUSAGE_AUTOGENMIPMAP) levels = levels == 1 ? 1 : 0;
  hr = device->CreateCubeTexture(edge == 0 ? 1 : edge, levels, usage, chosen, pool, texture, nullptr);
  if (FAILED(hr)) {
    *texture = nullptr;
    return fail(hr, "the device cannot make the cube texture");
  }
  return succeed();
}

HRESULT WINAPI D3DXCreateCubeTextureFromFileInMemory(LPDIRECT3DDEVICE9 device, LPCVOID data, UINT size,
                                                     LPDIRECT3DCUBETEXTURE9* texture) {
  return createCubeFromBytes(device, data, size, texture);
}

HRESULT WINAPI D3DXCreateCubeTextureFromFileA(LPDIRECT3DDEVICE9 device, LPCSTR file, LPDIRECT3DCUBETEXTURE9* texture) {
  if (texture) *texture = nullptr;
  if (!device || !file || !texture) return fail(D3DERR_INVALIDCALL, "a null device, file name or result");
  std::vector<uint8_t> bytes;
  if (!readFile(file, &bytes)) return fail(D3DERR_NOTFOUND, std::string("cannot read \"") + file + "\"");
  return createCubeFromBytes(device, bytes.data(), static_cast<UINT>(bytes.size()), texture);
}

HRESULT WINAPI D3DXFillTexture(LPDIRECT3DTEXTURE9 texture, LPD3DXFILL2D function, LPVOID data) {
  if (!texture || !function) return fail(D3DERR_INVALIDCALL, "a null texture or function");
  const HRESULT hr = withLockable(texture, [&](IDirect3DTexture9* target) -> HRESULT {
    const UINT count = target->GetLevelCount();
    for (UINT level = 0; level < count; ++level) {
      D3DSURFACE_DESC desc;
      const HRESULT described = target->GetLevelDesc(level, &desc);
      if (FAILED(described)) return fail(described, "the texture lacks a level");
      if (!writable(desc.Format)) return fail(D3DERR_INVALIDCALL, "the texture's format cannot be written");
      Image image;
      if (!image.allocate(desc.Width, desc.Height)) return fail(E_OUTOFMEMORY, "out of memory");
      const D3DXVECTOR2 size(1.0f / static_cast<float>(desc.Width), 1.0f / static_cast<float>(desc.Height));
      for (UINT y = 0; y < desc.Height; ++y) {
        for (UINT x = 0; x < desc.Width; ++x) {
          const D3DXVECTOR2 centre((static_cast<float>(x) + 0.5f) * size.x, (static_cast<float>(y) + 0.5f) * size.y);
          D3DXVECTOR4 colour;
          function(&colour, &centre, &size, data);
          uint8_t* texel = image.texel(x, y);
          texel[0] = unitToByte(colour.z);
          texel[1] = unitToByte(colour.y);
          texel[2] = unitToByte(colour.x);
          texel[3] = unitToByte(colour.w);
        }
      }
      const HRESULT written = writeLevel(target, level, image);
      if (FAILED(written)) return written;
    }
    return D3D_OK;
  });
  return FAILED(hr) ? hr : succeed();
}

HRESULT WINAPI D3DXComputeNormalMap(LPDIRECT3DTEXTURE9 texture, LPDIRECT3DTEXTURE9 source,
                                    const PALETTEENTRY* /*palette*/, DWORD flags, DWORD channel, FLOAT amplitude) {
  if (!texture || !source) return fail(D3DERR_INVALIDCALL, "a null texture");
  gfximage::NormalMapOptions options;
  options.channel = channel;
  options.amplitude = amplitude;
  options.mirrorU = (flags & D3DX_NORMALMAP_MIRROR_U) != 0;
  options.mirrorV = (flags & D3DX_NORMALMAP_MIRROR_V) != 0;
  options.invertSign = (flags & D3DX_NORMALMAP_INVERTSIGN) != 0;
  options.occlusion = (flags & D3DX_NORMALMAP_COMPUTE_OCCLUSION) != 0;

  Image heights;
  HRESULT hr = readLevel(source, 0, &heights);
  if (FAILED(hr)) return hr;
  D3DSURFACE_DESC desc;
  if (FAILED(hr = texture->GetLevelDesc(0, &desc))) return fail(hr, "the texture has no level 0");
  if (heights.width != desc.Width || heights.height != desc.Height) {
    Image scaled;
    const gfximage::Result result = gfximage::resample(heights, desc.Width, desc.Height, Filter::Box, &scaled);
    if (!result.ok()) return fail(result);
    heights = std::move(scaled);
  }
  Image normals;
  const gfximage::Result computed = gfximage::computeNormalMap(heights, options, &normals);
  if (!computed.ok()) return fail(computed);

  hr = withLockable(texture, [&](IDirect3DTexture9* target) -> HRESULT {
    Image level = normals;
    const UINT count = target->GetLevelCount();
    for (UINT index = 0; index < count; ++index) {
      if (index > 0) {
        Image next;
        const gfximage::Result result = gfximage::nextMipLevel(level, Filter::Box, &next);
        if (!result.ok()) return fail(result);
        gfximage::renormalize(&next);
        level = std::move(next);
      }
      const HRESULT written = writeLevel(target, index, level);
      if (FAILED(written)) return written;
    }
    return D3D_OK;
  });
  return FAILED(hr) ? hr : succeed();
}

namespace gfxhelper {

std::string lastTextureError() { return lastError; }

}  // namespace gfxhelper

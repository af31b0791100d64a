#include "materials/texture_cubemap_file.h"

#include <cstring>
#include <utility>

#include "context/context.h"
#include "gfxhelper/d3dx9tex.h"
#include "io/trace.h"
#include "materials/texture_file.h"

namespace ts3d {

namespace {

// Which image makes which face of the cube, and how far it is turned against the clock.
struct CubeFace {
  D3DCUBEMAP_FACES face;
  int32_t key;
  int degrees;
};
constexpr CubeFace kCubeFaces[] = {
    {D3DCUBEMAP_FACE_NEGATIVE_X, 3, 270}, {D3DCUBEMAP_FACE_POSITIVE_X, 4, 90}, {D3DCUBEMAP_FACE_POSITIVE_Y, 5, 180},
    {D3DCUBEMAP_FACE_NEGATIVE_Y, 6, 0},   {D3DCUBEMAP_FACE_POSITIVE_Z, 1, 0},  {D3DCUBEMAP_FACE_NEGATIVE_Z, 2, 180},
};

// Turns n x n 32-bit pixels in place, y pointing down: 90 moves (x, y) to (y, n - 1 - x),
// 180 to (n - 1 - x, n - 1 - y), 270 (90 then 180) to (n - 1 - y, x).
void turnSquare(uint8_t* bits, size_t pitch, uint32_t n, int degrees) {
  std::vector<uint32_t> copy(static_cast<size_t>(n) * n);
  for (uint32_t y = 0; y < n; ++y) std::memcpy(&copy[static_cast<size_t>(y) * n], bits + y * pitch, n * 4u);
  for (uint32_t y = 0; y < n; ++y)
    for (uint32_t x = 0; x < n; ++x) {
      uint32_t toX = x, toY = y;
      if (degrees == 90) toX = y, toY = n - 1 - x;
      if (degrees == 180) toX = n - 1 - x, toY = n - 1 - y;
      if (degrees == 270) toX = n - 1 - y, toY = x;
      std::memcpy(bits + toY * pitch + toX * 4u, &copy[static_cast<size_t>(y) * n + x], 4);
    }
}

// Turns a system-memory image's level 0, which must be square and 32 bits a pixel.
bool turnImage(IDirect3DTexture9* image, int degrees) {
  D3DSURFACE_DESC desc;
  if (FAILED(image->GetLevelDesc(0, &desc)) || desc.Width != desc.Height) return false;
  D3DLOCKED_RECT locked;
  if (FAILED(image->LockRect(0, &locked, nullptr, 0))) return false;
  turnSquare(static_cast<uint8_t*>(locked.pBits), static_cast<size_t>(locked.Pitch), desc.Width, degrees);
  image->UnlockRect(0);
  return true;
}

}  // namespace

IDirect3DBaseTexture9* TextureCubemapFile::d3dTexture() {
  IDirect3DBaseTexture9* cube = texture(kCubeKey);
  traceBoxIf(!cube, "TextureCubemapFile :: Cannot set a separated cubemap texture.");
  return cube;
}

IDirect3DBaseTexture9* TextureCubemapFile::texture(int32_t key) const {
  const auto found = textures.find(key);
  return found == textures.end() ? nullptr : found->second.get();
}

void TextureCubemapFile::bind(uint32_t stage) {
  if (Context::instance) Context::instance->setTexture(stage, d3dTexture());
}

void TextureCubemapFile::createResources() {
  Context* context = Context::instance;
  if (!context) return;
  IDirect3DDevice9* device = context->device.get();
  // May run again: the textures of an earlier run are replaced, not leaked.
  textures.clear();
  faceWidth = faceHeight = 0;
  if (!separated) {
    if (context->capabilities.cubeMaps)
      loadCube(device);
    else
      separated = true;
    if (!separated) return;
  }
  for (auto& [key, image] : loadImages(device, D3DFMT_UNKNOWN, D3DPOOL_MANAGED)) {
    if (key == kFirstFace) {
      D3DSURFACE_DESC desc;
      if (SUCCEEDED(image->GetLevelDesc(0, &desc))) faceWidth = desc.Width, faceHeight = desc.Height;
    }
    textures[key] = platform::ComPtr<IDirect3DBaseTexture9>(image.release());
  }
  if (context->capabilities.cubeMaps)
    if (platform::ComPtr<IDirect3DCubeTexture9> cube = assemble(device))
      textures[kCubeKey] = platform::ComPtr<IDirect3DBaseTexture9>(cube.release());
}

void TextureCubemapFile::loadCube(IDirect3DDevice9* device) {
  const bool embedded = !fileData.empty();
  if (embedded ? !fileData.count(kCubeKey) : !fileNames.count(kCubeKey)) {
    traceBox("cubemap with separated bitmaps is not supported");
    separated = true;
    return;
  }
  platform::ComPtr<IDirect3DCubeTexture9> cube;
  if (embedded) {
    const std::vector<uint8_t>& bytes = fileData[kCubeKey];
    D3DXCreateCubeTextureFromFileInMemory(device, bytes.data(), static_cast<UINT>(bytes.size()), cube.out());
  } else if (FAILED(D3DXCreateCubeTextureFromFileA(device, fileNames[kCubeKey].c_str(), cube.out()))) {
    reportUnreadableImage(fileNames[kCubeKey]);
  }
  if (cube) textures[kCubeKey] = platform::ComPtr<IDirect3DBaseTexture9>(cube.release());
}

TextureCubemapFile::Images TextureCubemapFile::loadImages(IDirect3DDevice9* device, D3DFORMAT format, D3DPOOL pool) {
  Images images;
  const auto create = [&](int32_t key, auto make) {
    platform::ComPtr<IDirect3DTexture9> image;
    const HRESULT result = make(image.out());
    if (SUCCEEDED(result) && image) images[key] = std::move(image);
    return SUCCEEDED(result);
  };
  if (!fileData.empty()) {
    for (const auto& [key, bytes] : fileData)
      create(key, [&](IDirect3DTexture9** out) {
        return D3DXCreateTextureFromFileInMemoryEx(device, bytes.data(), static_cast<UINT>(bytes.size()), D3DX_DEFAULT,
                                                   D3DX_DEFAULT, D3DX_DEFAULT, 0, format, pool, D3DX_DEFAULT,
                                                   D3DX_DEFAULT, 0, nullptr, nullptr, out);
      });
    return images;
  }
  for (const auto& [key, path] : fileNames)
    if (!create(key, [&](IDirect3DTexture9** out) {
          return D3DXCreateTextureFromFileExA(device, path.c_str(), D3DX_DEFAULT, D3DX_DEFAULT, D3DX_DEFAULT, 0, format,
                                              pool, D3DX_DEFAULT, D3DX_DEFAULT, 0, nullptr, nullptr, out);
        }))
      reportUnreadableImage(path);
  return images;
}

platform::ComPtr<IDirect3DCubeTexture9> TextureCubemapFile::assemble(IDirect3DDevice9* device) {
  Images images = loadImages(device, D3DFMT_X8R8G8B8, D3DPOOL_SYSTEMMEM);
  platform::ComPtr<IDirect3DCubeTexture9> cube;
  D3DSURFACE_DESC desc;
  if (!images.count(kFirstFace) || FAILED(images[kFirstFace]->GetLevelDesc(0, &desc))) return cube;
  const bool autoMips = Context::instance->capabilities.autoGenMipMap;
  if (FAILED(D3DXCreateCubeTexture(device, desc.Width, autoMips ? 0 : 1, autoMips ? D3DUSAGE_AUTOGENMIPMAP : 0,
                                   desc.Format, D3DPOOL_DEFAULT, cube.out())))
    return platform::ComPtr<IDirect3DCubeTexture9>();
  for (const CubeFace& face : kCubeFaces) {
    const auto image = images.find(face.key);
    // A missing image leaves its face as the device made it; one that can't be turned too.
    if (image == images.end()) continue;
    if (face.degrees != 0 && !turnImage(image->second.get(), face.degrees)) continue;
    platform::ComPtr<IDirect3DSurface9> target, source;
    if (SUCCEEDED(cube->GetCubeMapSurface(face.face, 0, target.out())) &&
        SUCCEEDED(image->second->GetSurfaceLevel(0, source.out())))
      device->UpdateSurface(source.get(), nullptr, target.get(), nullptr);
    if (autoMips) {
      cube->SetAutoGenFilterType(D3DTEXF_LINEAR);
      cube->GenerateMipSubLevels();
    }
  }
  return cube;
}

bool TextureCubemapFile::embed() {
  if (!fileData.empty()) return true;
  for (const auto& [key, path] : fileNames) {
    std::vector<uint8_t> bytes;
    if (!embedFile(path, bytes)) return false;
    fileData[key] = std::move(bytes);
  }
  return true;
}

bool TextureCubemapFile::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  uint32_t flags = 0;
  in.readUint32(&flags);
  if (!in.isGood()) return false;
  separated = (flags & kFlagFaces) != 0;
  fileNames.clear();
  fileData.clear();
  std::vector<int32_t> keys;
  if (flags & kFlagCube) keys.push_back(kCubeKey);
  if (flags & kFlagFaces)
    for (int32_t key = kFirstFace; key <= kLastFace; ++key) keys.push_back(key);
  for (int32_t key : keys) {
    if (flags & kFlagEmbedded) {
      uint32_t size = 0;
      // Checked against the bytes left before the buffer is sized.
      if (!in.readCount(&size, 1)) return false;
      std::vector<uint8_t>& bytes = fileData[key];
      bytes.resize(size);
      if (size > 0) in.readBytes(bytes.data(), size);
    } else {
      in.readString(fileNames[key]);
    }
    if (!in.isGood()) return false;
  }
  return in.isGood();
}

void TextureCubemapFile::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  const bool embedded = !fileData.empty();
  const auto has = [&](int32_t key) { return embedded ? fileData.count(key) != 0 : fileNames.count(key) != 0; };
  // Face 5 stands for all six.
  const bool cube = has(kCubeKey), faces = has(5);
  out.writeUint32((cube ? kFlagCube : 0u) | (faces ? kFlagFaces : 0u) | (embedded ? kFlagEmbedded : 0u));
  // A face missing among the six is written empty.
  const auto write = [&](int32_t key) {
    if (!embedded) {
      const auto name = fileNames.find(key);
      return out.writeString(name == fileNames.end() ? std::string() : name->second);
    }
    const auto bytes = fileData.find(key);
    const uint32_t size = bytes == fileData.end() ? 0 : static_cast<uint32_t>(bytes->second.size());
    out.writeInt32(static_cast<int32_t>(size));
    if (size > 0) out.writeBytes(bytes->second.data(), size);
  };
  if (cube) write(kCubeKey);
  if (faces)
    for (int32_t key = kFirstFace; key <= kLastFace; ++key) write(key);
}

}  // namespace ts3d

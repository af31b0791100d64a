#include "materials/texture_bitmap_file.h"

#include <utility>

#include "context/context.h"
#include "gfxhelper/d3dx9tex.h"
#include "materials/texture_file.h"

namespace ts3d {

TextureBitmapFile::TextureBitmapFile(const std::string& path, int32_t creationTag)
    : fileName(path), tag(creationTag) {}

void TextureBitmapFile::bind(uint32_t stage) {
  if (Context::instance) Context::instance->setTexture(stage, deviceTexture.get());
}

void TextureBitmapFile::createResources() {
  if (!Context::instance) return;
  IDirect3DDevice9* device = Context::instance->device.get();
  // May run again: the texture of an earlier run is replaced, not leaked.
  deviceTexture.reset();
  if (!fileData.empty()) {
    D3DXCreateTextureFromFileInMemory(device, fileData.data(), static_cast<UINT>(fileData.size()),
                                      deviceTexture.out());
  } else if (FAILED(D3DXCreateTextureFromFileA(device, fileName.c_str(), deviceTexture.out()))) {
    reportUnreadableImage(fileName);
  }
  if (deviceTexture && asNormalMap) convertToNormalMap(device);
}

void TextureBitmapFile::convertToNormalMap(IDirect3DDevice9* device) {
  D3DSURFACE_DESC desc;
  if (FAILED(deviceTexture->GetLevelDesc(0, &desc))) return;
  platform::ComPtr<IDirect3DTexture9> normal;
  if (FAILED(D3DXCreateTexture(device, desc.Width, desc.Height, 0, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, normal.out())))
    return;
  D3DXComputeNormalMap(normal.get(), deviceTexture.get(), nullptr, D3DX_NORMALMAP_COMPUTE_OCCLUSION,
                       D3DX_CHANNEL_LUMINANCE, 10.0f);
  deviceTexture = std::move(normal);
}

bool TextureBitmapFile::embed() {
  if (!fileData.empty()) return true;
  return embedFile(fileName, fileData);
}

bool TextureBitmapFile::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  uint32_t flags = 0;
  in.readUint32(&flags);
  if (!in.isGood()) return false;
  asNormalMap = (flags & kFlagNormalMap) != 0;
  fileName.clear();
  fileData.clear();
  if (flags & kFlagEmbedded) {
    uint32_t size = 0;
    // Checked against the bytes left before the buffer is sized.
    if (!in.readCount(&size, 1)) return false;
    fileData.resize(size);
    if (size > 0) in.readBytes(fileData.data(), size);
  } else {
    in.readString(fileName);
  }
  return in.isGood();
}

void TextureBitmapFile::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  const bool embedded = !fileData.empty();
  out.writeUint32((embedded ? kFlagEmbedded : 0u) | (asNormalMap ? kFlagNormalMap : 0u));
  if (embedded) {
    out.writeInt32(static_cast<int32_t>(fileData.size()));
    out.writeBytes(fileData.data(), static_cast<uint32_t>(fileData.size()));
  } else {
    out.writeString(fileName);
  }
}

}  // namespace ts3d

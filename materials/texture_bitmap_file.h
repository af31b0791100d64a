#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <string>
#include <vector>

#include "materials/texture.h"
#include "platform/com_ptr.h"

namespace ts3d {

// A 2D texture from an image file: read from its path once the device exists, or from a byte
// copy of the file embedded in the scene.
// Body of TXBF (version 1): uint32 flags (bit 0 embedded, bit 1 normal map), then the file
// name as a string when bit 0 is clear, or an int32 size and that many bytes when it is set.
class TextureBitmapFile : public Texture {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("TXBF");
  static constexpr int32_t kVersion = 1;
  static constexpr uint32_t kFlagEmbedded = 1;
  static constexpr uint32_t kFlagNormalMap = 2;

  TextureBitmapFile() = default;
  // Driver data items pass creationTag 2; nothing branches on it.
  TextureBitmapFile(const std::string& path, int32_t creationTag);
  TextureBitmapFile(const TextureBitmapFile&) = delete;
  TextureBitmapFile& operator=(const TextureBitmapFile&) = delete;

  void update(float) override {}
  IDirect3DBaseTexture9* d3dTexture() override { return deviceTexture.get(); }
  // Needs a Context.
  void bind(uint32_t stage) override;
  void prepare() override {}
  // A file that can't be read leaves the device texture null and writes one debug line.
  void createResources() override;
  bool embed() override;
  uint32_t dimension() override { return 1; }
  int32_t creationTag() override { return tag; }
  void setAsNormalMap(bool normalMap) override { asNormalMap = normalMap; }

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  std::vector<uint8_t> fileData;  // empty when not embedded
  std::string fileName;           // empty when read from embedded data
  platform::ComPtr<IDirect3DTexture9> deviceTexture;
  int32_t tag = 0;
  bool asNormalMap = false;

 private:
  // Replaces the loaded image by its normal map: luminance as height, amplitude 10.
  void convertToNormalMap(IDirect3DDevice9* device);
};

}  // namespace ts3d

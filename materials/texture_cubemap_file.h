#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "materials/texture.h"
#include "platform/com_ptr.h"

namespace ts3d {

// A cube texture from image files: one cube file (key 0), or six square images (keys 1 to 6)
// assembled into a cube on the device, each turned as its face needs. Like the bitmap texture
// it holds paths or embedded copies of the files.
// Body of TXCF (version 1): uint32 flags (bit 0 key 0 present, bit 1 keys 1 to 6 present,
// bit 2 embedded), then the entries in key order: a string each, or when embedded an int32
// size and that many bytes.
class TextureCubemapFile : public Texture {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("TXCF");
  static constexpr int32_t kVersion = 1;
  static constexpr uint32_t kFlagCube = 1;
  static constexpr uint32_t kFlagFaces = 2;
  static constexpr uint32_t kFlagEmbedded = 4;
  static constexpr int32_t kCubeKey = 0;
  static constexpr int32_t kFirstFace = 1;
  static constexpr int32_t kLastFace = 6;

  TextureCubemapFile() = default;
  TextureCubemapFile(const TextureCubemapFile&) = delete;
  TextureCubemapFile& operator=(const TextureCubemapFile&) = delete;

  void update(float) override {}
  // The cube (key 0); without one a message box, and null.
  IDirect3DBaseTexture9* d3dTexture() override;
  // Needs a Context.
  void bind(uint32_t stage) override;
  void prepare() override {}
  // The cube file, or the six images and the cube assembled from them; files that can't be
  // read leave their entries out and write one debug line each.
  void createResources() override;
  // Reads every named file into fileData; the first that can't be read stops it with a warning.
  bool embed() override;
  uint32_t dimension() override { return 2; }
  int32_t creationTag() override { return 0; }
  void setAsNormalMap(bool) override {}

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  // The face image (1 to 6) as drawn, or the cube (0); null when there is none.
  IDirect3DBaseTexture9* texture(int32_t key) const;

  bool separated = false;  // the source is six images
  std::map<int32_t, std::string> fileNames;
  std::map<int32_t, std::vector<uint8_t>> fileData;
  std::map<int32_t, platform::ComPtr<IDirect3DBaseTexture9>> textures;
  // Level 0 of face image 1, kept when the faces are loaded: the sky box insets its texels by it.
  uint32_t faceWidth = 0, faceHeight = 0;

 private:
  using Images = std::map<int32_t, platform::ComPtr<IDirect3DTexture9>>;

  void loadCube(IDirect3DDevice9* device);
  // Every entry as a 2D image in format and pool; unreadable files are left out.
  Images loadImages(IDirect3DDevice9* device, D3DFORMAT format, D3DPOOL pool);
  // The cube from the six images, each turned as its face needs; null without image 1.
  platform::ComPtr<IDirect3DCubeTexture9> assemble(IDirect3DDevice9* device);
};

}  // namespace ts3d

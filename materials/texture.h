#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>

#include "io/serializable.h"
#include "scene/controller/animatable.h"

namespace ts3d {

// A texture of the engine. Scene files share one object among all stages that name it;
// the scene's texture list owns it.
class Texture : public Animatable, public tsio::Serializable {
 public:
  // Textures that don't move do nothing.
  void update(float time) override = 0;
  // The device texture; null before createResources or when the image could not be made.
  virtual IDirect3DBaseTexture9* d3dTexture() = 0;
  // Puts the texture on a device stage, unfiltered.
  virtual void bind(uint32_t stage) = 0;
  virtual void prepare() = 0;
  virtual void createResources() = 0;
  // Takes the file's bytes into the object, so that a store carries the image.
  virtual bool embed() = 0;
  // 1 for a 2D texture, 2 for a cube map.
  virtual uint32_t dimension() = 0;
  virtual int32_t creationTag() = 0;
  virtual void setAsNormalMap(bool normalMap) = 0;
};

}  // namespace ts3d

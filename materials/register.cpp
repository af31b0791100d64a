#include "materials/register.h"

#include "io/chunk_registry.h"
#include "materials/material_simple.h"
#include "materials/texture_bitmap_file.h"
#include "materials/texture_stage.h"
#include "scene/controller/register.h"

namespace ts3d {

void registerMaterialChunks() {
  controller::registerControllerChunks();
  static tsio::ChunkRegistrer<TextureBitmapFile> bitmap(TextureBitmapFile::kCode);
  static tsio::ChunkRegistrer<TextureStage> stage(TextureStage::kCode);
  static tsio::ChunkRegistrer<MaterialSimple> simple(MaterialSimple::kCode);
}

}  // namespace ts3d

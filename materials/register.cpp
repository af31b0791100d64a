#include "io/chunk_registry.h"
#include "materials/material_composite.h"
#include "materials/material_fx.h"
#include "materials/material_simple.h"
#include "materials/texture_bitmap_file.h"
#include "materials/texture_cubemap_file.h"
#include "materials/texture_stage.h"

namespace ts3d {
namespace {

// The registry is full before the first call into the module: static objects, made at start-up.
tsio::ChunkRegistrer<TextureBitmapFile> bitmap(TextureBitmapFile::kCode);
tsio::ChunkRegistrer<TextureCubemapFile> cubemap(TextureCubemapFile::kCode);
tsio::ChunkRegistrer<TextureStage> stage(TextureStage::kCode);
tsio::ChunkRegistrer<MaterialSimple> simple(MaterialSimple::kCode);
tsio::ChunkRegistrer<MaterialFX> effect(MaterialFX::kCode);
tsio::ChunkRegistrer<MaterialComposite> composite(MaterialComposite::kCode);

}  // namespace
}  // namespace ts3d

#pragma once

// Scenes assembled in code from the engine's own classes, for tests, demos and benchmarks,
// and written as .ts2 files through the persistence streams. Windows build: the classes
// hold device objects.

#include <cstdint>
#include <array>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "geometry/geometry_simple.h"
#include "geometry/geometry_weighted.h"
#include "geometry/modifier_skin.h"
#include "materials/material_composite.h"
#include "materials/material_fx.h"
#include "materials/material_simple.h"
#include "materials/texture_bitmap_file.h"
#include "materials/texture_cubemap_file.h"
#include "materials/texture_stage.h"
#include "renderers/scene_renderer_dof.h"
#include "renderers/scene_renderer_shadow.h"
#include "renderers/scene_renderer_mirror.h"
#include "scene/atmospheric_ambient.h"
#include "scene/atmospheric_background.h"
#include "scene/atmospheric_billboard.h"
#include "scene/atmospheric_fog.h"
#include "scene/camera.h"
#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "scene/hierarchy_node.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/scene_hierarchy.h"
#include "scenebuild/shapes.h"

namespace scenebuild {

template <class T>
ts3d::controller::ControllerBase<T>* constant(const T& value) {
  return new ts3d::controller::Const<T>(value);
}

// Keys as (time, value) pairs, in time order.
template <class T>
ts3d::controller::ControllerBase<T>* keyed(std::initializer_list<std::pair<float, T>> keys) {
  auto* track = new ts3d::controller::Linear<T>;
  for (const auto& key : keys) track->addKey(ts3d::controller::LinearKey<T>(key.first, key.second));
  return track;
}

// The shape as a static triangle list with normals and, when asked, one texture channel.
ts3d::GeometrySimple* makeGeometry(const Shape& shape, bool textureCoordinates = true);

// What a material is made of; the defaults give a lit, opaque, white material.
struct MaterialSettings {
  ts3d::color diffuse{1, 1, 1, 1};
  ts3d::color ambient{0.2f, 0.2f, 0.2f, 1};
  ts3d::color specular{0, 0, 0, 1};
  ts3d::color emissive{0, 0, 0, 0};
  float power = 0.0f;
  int32_t order = 1;  // 3 draws back to front, after the opaque ones
  bool lighting = true;
  bool alphaBlend = false;  // source alpha over what is drawn
  bool additive = false;    // its colour added to what is drawn: glows over a black ground
  ts3d::controller::ControllerBase<ts3d::color>* animatedDiffuse = nullptr;  // taken over
  ts3d::controller::ControllerBase<float>* opacity = nullptr;                // taken over
};

// One child of a composite mesh: the shape moved by offset, and the id of its sub-material.
struct CompositePart {
  Shape shape;
  ts3d::vect3 offset;
  uint32_t materialId = 0;
};

// Builds one SceneHierarchy. Every object made here belongs to the scene; the builder
// deletes the scene unless release took it.
class SceneBuilder {
 public:
  SceneBuilder();
  ~SceneBuilder();
  SceneBuilder(const SceneBuilder&) = delete;
  SceneBuilder& operator=(const SceneBuilder&) = delete;

  ts3d::HierarchyNode* root() { return built->root; }
  // A node under parent, moved by the controllers given (taken over); null ones stand for
  // the origin, no rotation and unit scale.
  ts3d::HierarchyNode* node(ts3d::HierarchyNode* parent, ts3d::controller::ControllerBase<ts3d::vect3>* position,
                            ts3d::controller::ControllerBase<ts3d::quat>* rotation = nullptr,
                            ts3d::controller::ControllerBase<ts3d::vect3>* scale = nullptr);
  ts3d::HierarchyNode* node(ts3d::HierarchyNode* parent, const ts3d::vect3& position);
  // The node turns to face target; roll (taken over) turns it about that axis.
  void aim(ts3d::HierarchyNode* from, ts3d::HierarchyNode* target,
           ts3d::controller::ControllerBase<float>* roll = nullptr);

  // A texture holding a copy of an image file's bytes, so that the scene file carries it.
  ts3d::TextureBitmapFile* texture(const std::vector<uint8_t>& imageFile);
  // A texture that names a file, read when the device exists.
  ts3d::TextureBitmapFile* textureFile(const std::string& path);
  // A cube texture holding a copy of a DDS cube file.
  ts3d::TextureCubemapFile* cubeTexture(const std::vector<uint8_t>& cubeFile);
  // A cube texture holding copies of six square image files, faces 1 to 6 (+Z, -Z, -X, +X,
  // -Y, +Y as the sky box shows them), assembled into a cube when the device exists.
  ts3d::TextureCubemapFile* cubeTexture(const std::array<std::vector<uint8_t>, 6>& faceFiles);
  ts3d::MaterialSimple* material(const MaterialSettings& settings);
  // A material that runs the effect file at path, read when the device exists; base (may be
  // null) prepares the fixed-function state under the effect.
  ts3d::MaterialFX* effectMaterial(const std::string& path, ts3d::Material* base = nullptr);
  // Appends a stage that modulates the texture with the lit colour; offsetU (taken over, may
  // be null) slides the texture along u.
  ts3d::TextureStage* stage(ts3d::MaterialSimple* material, ts3d::Texture* texture,
                            ts3d::controller::ControllerBase<float>* offsetU = nullptr);
  ts3d::MeshSimple* mesh(ts3d::HierarchyNode* node, const Shape& shape, ts3d::Material* material,
                         bool textureCoordinates = true);
  // A mesh of geometry made elsewhere (taken over). With ids, geometry is a composite and
  // ids[i] is the material id of its child i.
  ts3d::MeshSimple* geometryMesh(ts3d::HierarchyNode* node, ts3d::Geometry* geometry, ts3d::Material* material,
                                 const std::vector<uint32_t>& ids = {});
  // A table of sub-materials, each given with the material id that selects it.
  ts3d::MaterialComposite* compositeMaterial(const std::vector<std::pair<uint32_t, ts3d::Material*>>& subMaterials);
  // A mesh of composite geometry, one child per part: under a composite material each child is
  // drawn with the sub-material of its id, under another material all with that one.
  ts3d::MeshSimple* compositeMesh(ts3d::HierarchyNode* node, const std::vector<CompositePart>& parts,
                                  ts3d::Material* material, bool textureCoordinates = true);
  // A mesh that follows bones (nodes of this scene) through a skin: vertex i of shape goes
  // with weights[i] (bone numbers index bones), and bindPose holds each bone's matrix in the
  // shape's own space in the pose the shape is modelled in. The mesh has no place of its own:
  // its bones put it in the world.
  ts3d::MeshSimple* skinnedMesh(const Shape& shape, ts3d::Material* material,
                                const std::vector<ts3d::HierarchyNode*>& bones,
                                const std::vector<ts3d::matrix>& bindPose, std::vector<ts3d::VertexWeight> weights);
  // The same for weighted geometry made elsewhere (taken over).
  ts3d::MeshSimple* skinnedMesh(ts3d::GeometryWeighted* geometry, ts3d::Material* material,
                                const std::vector<ts3d::HierarchyNode*>& bones,
                                const std::vector<ts3d::matrix>& bindPose);
  // The first camera made becomes the active one. Vertical field of view in radians.
  ts3d::CameraSimple* camera(ts3d::HierarchyNode* node, float fieldOfView, float nearPlane = 0.5f,
                             float farPlane = 1000.0f);
  ts3d::LightOmni* light(ts3d::HierarchyNode* node, const ts3d::color& diffuse, float range,
                         const ts3d::color& ambient = ts3d::color(0, 0, 0, 0));
  // Depth of field for camera, appended to the renderers (one renderer serves every camera
  // given); the focus controllers (taken over) may be null.
  ts3d::SceneRendererDOF* depthOfField(ts3d::Camera* camera, ts3d::controller::ControllerBase<float>* focusScale,
                                       ts3d::controller::ControllerBase<float>* focusDistance);
  // A stencil shadow of caster from light: the caster is marked and joins the light's shadow
  // list; the light becomes the scene's shadowLight unless it has one; and the scene gets a
  // shadow renderer unless it has one, first in the list, as it draws the contents itself.
  ts3d::SceneRendererShadow* shadow(ts3d::Light* light, ts3d::MeshSimple* caster);

  // Mirrors of those meshes (already made here), in a renderer appended to the renderers.
  ts3d::SceneRendererMirror* mirror(const std::vector<ts3d::Mesh*>& meshes);

  // Ambient light while the meshes are drawn, appended to the atmospheres.
  ts3d::AtmosphericAmbient* ambient(const ts3d::color& colour);
  // Linear fog in colour, from nothing at start to full at end, both in the active camera's
  // range taken as 0 to 1; appended to the atmospheres.
  ts3d::AtmosphericFog* fog(const ts3d::color& colour, float start, float end);
  // The scene's background, replacing the one it had: a colour, a picture over the viewport,
  // or a sky box of the cube texture's six face images.
  ts3d::AtmosphericBackground* background(const ts3d::color& colour);
  ts3d::AtmosphericBackground* pictureBackground(ts3d::Texture* picture);
  ts3d::AtmosphericBackground* skyBox(ts3d::TextureCubemapFile* cube);
  // Quads facing the camera, one on each node with its side, in material (may be null); drawn
  // after the meshes, as an overlay.
  ts3d::AtmosphericBillboard* billboards(ts3d::Material* material,
                                         const std::vector<std::pair<ts3d::HierarchyNode*, float>>& placed);

  ts3d::SceneHierarchy* scene() { return built; }
  // Hands the scene over; the builder holds nothing afterwards.
  ts3d::SceneHierarchy* release();

  // The scene as a persistence file in memory: mode 0 plain, 1 compressed.
  std::vector<uint8_t> bytes(int mode);
  // Writes it to path through a temporary file, so that a failed write leaves no half file.
  // On failure error names the file and the reason.
  bool write(const std::string& path, int mode, std::string* error);

 private:
  ts3d::AtmosphericBackground* replaceBackground(int32_t clearFunction);

  ts3d::SceneHierarchy* built;
};

}  // namespace scenebuild

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "io/serializable.h"
#include "scene/controller/animatable.h"
#include "scene/value_types.h"

namespace ts3d {

class Atmospheric;
class Camera;
class Frustum;
class HierarchyNode;
class Light;
class Material;
class Mesh;
class RenderQueue;
struct Ray;
class SceneRenderer;
class Texture;

// What the effects animate and draw.
class Scene : public Animatable, public tsio::Serializable {
 public:
  void update(float time) override = 0;
  // Called inside update, behind the pass over the tree.
  virtual void onHierarchyUpdated() = 0;
  // Second stage of set-up.
  virtual void prepare() = 0;
  // First stage of set-up: device objects; ends with prepare.
  virtual void createResources() = 0;
  ~Scene() override = default;
  // Draws with the active camera.
  virtual void render() = 0;
};

// The root of a scene file. Owns every member of its lists, the background and the whole
// tree of nodes; activeCamera and shadowLight point into the lists. Body of SCHE (version
// 2): lists (int32 count, then the objects) of textures and materials, the tree from root
// (each node as an object, then when it isn't null an int32 child count and each child the
// same way), lists of meshes and cameras, object activeCamera, list of lights, object
// shadowLight (version 2 only), lists of atmospheres and overlays, object background, list of
// renderers. Members of another class read as null; trees deeper than kMaxTreeDepth are refused.
class SceneHierarchy : public Scene {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("SCHE");
  static constexpr int32_t kVersion = 2;
  static constexpr uint32_t kMaxTreeDepth = 256;

  SceneHierarchy() = default;
  ~SceneHierarchy() override;
  SceneHierarchy(const SceneHierarchy&) = delete;
  SceneHierarchy& operator=(const SceneHierarchy&) = delete;

  // The tree, the world matrices, then every list in order, renderers last.
  void update(float time) override;
  void onHierarchyUpdated() override {}
  void prepare() override;
  void createResources() override;
  // The renderer chain, the last renderer outermost; without renderers the active camera
  // is applied and the contents drawn. Needs a Context.
  void render() override;
  // Each mesh's box as a yellow wire frame.
  virtual void drawBounds();
  // The mesh whose box the ray meets nearest to its origin (boxes as of the last update), or null.
  virtual Mesh* pick(const Ray& ray);

  // The background (stepped to time first) or the device clears target, depth and stencil.
  void clear(float time);
  void clear(Camera* camera, uint32_t flags, bool direct);
  // Lights, atmospheres and the meshes in the active camera's frustum, then the overlays.
  void renderContents();
  // The same in another frustum, without the overlays (for mirrors).
  void renderContents(const Frustum& frustum);
  // The meshes that the active camera sees, queued, not drawn; the caller owns the queue.
  RenderQueue* collectVisible();
  // Queues the meshes whose box is in the frustum and draws them grouped by material.
  void drawVisible(const Frustum& frustum);
  // World matrices of a subtree: the node's local matrix times its parent's world.
  static void computeWorld(HierarchyNode* node, const matrix& parentWorld);

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;
  // What the file holds that nothing owns (texture stages, transformations of meshes, objects
  // of an unexpected class): its members may point at them.
  void keepUnowned(std::vector<tsio::Serializable*>& objects) override;
  // Holds an object made in code that members point at and that nothing else owns (a texture
  // stage, a fixed transformation); it goes with the scene.
  void keep(tsio::Serializable* object);

  std::vector<SceneRenderer*> renderers;
  uint32_t rendererDepth = 0;         // active renderers; 0 outside render
  Atmospheric* background = nullptr;  // may also stand in atmospheres or overlays
  std::vector<Atmospheric*> atmospheres;
  std::vector<Atmospheric*> overlays;
  std::vector<Texture*> textures;
  std::vector<Material*> materials;
  std::vector<Camera*> cameras;
  Camera* activeCamera = nullptr;  // one of cameras
  std::vector<Light*> lights;
  Light* shadowLight = nullptr;  // one of lights
  std::vector<Mesh*> meshes;
  HierarchyNode* root = nullptr;

 private:
  void queueVisible(const Frustum& frustum, RenderQueue& queue);
  HierarchyNode* loadTree(tsio::InStream& in, uint32_t depth);
  void storeTree(tsio::OutStream& out);
  void deleteTree();

  std::vector<std::unique_ptr<tsio::Serializable>> kept;
};

}  // namespace ts3d

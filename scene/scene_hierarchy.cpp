#include "scene/scene_hierarchy.h"

#include <set>
#include <utility>

#include "context/context.h"
#include "geometry/oriented_box.h"
#include "geometry/ray_box.h"
#include "materials/material.h"
#include "materials/texture.h"
#include "scene/atmospheric.h"
#include "scene/camera.h"
#include "scene/frustum.h"
#include "scene/hierarchy_node.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/render_queue.h"
#include "renderers/scene_renderer.h"

namespace ts3d {

namespace {

// The scene's lists keep the null members a file may hold; every walk passes them by.
template <class T, class Action>
void forEach(const std::vector<T*>& list, Action action) {
  for (T* member : list)
    if (member) action(*member);
}

// A list owns its members. Null entries (a null word, an unknown chunk, an object of another
// class) are kept: they keep the places of the others.
template <class T>
void loadList(tsio::InStream& in, std::vector<T*>& list) {
  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes)) return;
  list.reserve(count);
  for (uint32_t i = 0; i < count && in.isGood(); ++i) {
    T* member = tsio::readShared<T>(in);
    // Only the scene claims objects of these classes: a refused claim is a member that stands
    // in its lists already, which the destructor deletes once.
    if (member) in.claim(member);
    list.push_back(member);
  }
}

template <class T>
void storeList(tsio::OutStream& out, const std::vector<T*>& list) {
  out.writeInt32(static_cast<int32_t>(list.size()));
  for (T* member : list) out.writeObject(member);
}

// Deletes each member that `deleted` doesn't hold yet: an object may stand in several lists.
template <class T>
void deleteOnce(std::vector<T*>& list, std::set<const void*>& deleted) {
  for (T* member : list)
    if (member && deleted.insert(member).second) delete member;
  list.clear();
}

}  // namespace

SceneHierarchy::~SceneHierarchy() {
  std::set<const void*> deleted;
  deleteOnce(lights, deleted);
  deleteOnce(cameras, deleted);
  deleteOnce(meshes, deleted);
  deleteOnce(materials, deleted);
  deleteOnce(textures, deleted);
  std::vector<Atmospheric*> clearing{background};
  deleteOnce(atmospheres, deleted);
  deleteOnce(overlays, deleted);
  deleteOnce(clearing, deleted);
  deleteOnce(renderers, deleted);
  deleteTree();
}

void SceneHierarchy::keep(tsio::Serializable* object) { kept.emplace_back(object); }

void SceneHierarchy::keepUnowned(std::vector<tsio::Serializable*>& objects) {
  for (tsio::Serializable* object : objects) keep(object);
  objects.clear();
}

void SceneHierarchy::deleteTree() {
  // Without recursion: a tree built in code may be deeper than a file's.
  std::vector<HierarchyNode*> pending;
  if (root) pending.push_back(root);
  root = nullptr;
  while (!pending.empty()) {
    HierarchyNode* node = pending.back();
    pending.pop_back();
    for (HierarchyNode* child : node->children)
      if (child) pending.push_back(child);
    delete node;
  }
}

void SceneHierarchy::update(float time) {
  if (root) {
    // A node's update leaves its children alone: they come from this stack.
    std::vector<HierarchyNode*> pending{root};
    while (!pending.empty()) {
      HierarchyNode* node = pending.back();
      pending.pop_back();
      node->update(time);
      for (HierarchyNode* child : node->children)
        if (child) pending.push_back(child);
    }
    matrix identity;
    D3DXMatrixIdentity(&identity);
    computeWorld(root, identity);
  }
  onHierarchyUpdated();
  forEach(textures, [time](Texture& texture) { texture.update(time); });
  forEach(materials, [time](Material& material) { material.update(time); });
  forEach(meshes, [time](Mesh& mesh) { mesh.update(time); });
  forEach(cameras, [time](Camera& camera) { camera.update(time); });
  forEach(lights, [time](Light& light) { light.update(time); });
  forEach(atmospheres, [time](Atmospheric& atmosphere) { atmosphere.update(time); });
  forEach(overlays, [time](Atmospheric& overlay) { overlay.update(time); });
  forEach(renderers, [time](SceneRenderer& renderer) { renderer.update(time); });
}

void SceneHierarchy::computeWorld(HierarchyNode* node, const matrix& parentWorld) {
  // Without recursion: a tree built in code may be deeper than a file's.
  std::vector<std::pair<HierarchyNode*, const matrix*>> pending{{node, &parentWorld}};
  while (!pending.empty()) {
    auto [current, parent] = pending.back();
    pending.pop_back();
    D3DXMatrixMultiply(&current->worldMatrix, &current->localMatrix, parent);
    for (HierarchyNode* child : current->children)
      if (child) pending.emplace_back(child, &current->worldMatrix);
  }
}

void SceneHierarchy::createResources() {
  forEach(textures, [](Texture& texture) { texture.createResources(); });
  forEach(materials, [](Material& material) { material.createResources(); });
  forEach(meshes, [](Mesh& mesh) { mesh.createResources(); });
  forEach(renderers, [](SceneRenderer& renderer) { renderer.createResources(); });
  prepare();
}

void SceneHierarchy::prepare() {
  forEach(materials, [](Material& material) { material.prepare(); });
  forEach(meshes, [](Mesh& mesh) { mesh.prepare(); });
}

void SceneHierarchy::clear(float time) {
  if (background) background->update(time);
  clear(activeCamera, Context::ClearAll, true);
}

void SceneHierarchy::clear(Camera* camera, uint32_t flags, bool direct) {
  if (background)
    background->clear(camera, flags, direct);
  else if (Context::instance)
    Context::instance->clear(flags, direct);
}

void SceneHierarchy::render() {
  const auto count = static_cast<uint32_t>(renderers.size());
  if (count == 0) {
    if (activeCamera) activeCamera->apply();
    renderContents();
    return;
  }
  if (rendererDepth < count) {
    // The renderer's inner render() calls come back here one level deeper.
    const uint32_t index = rendererDepth;
    rendererDepth = index + 1;
    // A null member of the chain passes the drawing on to the next one in.
    if (SceneRenderer* renderer = renderers[count - 1 - index])
      renderer->render(*this, activeCamera);
    else
      render();
    rendererDepth = index;
    return;
  }
  // All renderers active: they have applied the camera themselves.
  renderContents();
}

void SceneHierarchy::renderContents() {
  // Without a camera there is no frustum, so nothing to draw.
  if (!activeCamera) return;
  Frustum frustum;
  activeCamera->frustum(frustum);
  renderContents(frustum);
  forEach(overlays, [this](Atmospheric& overlay) { overlay.enter(activeCamera); });
}

void SceneHierarchy::renderContents(const Frustum& frustum) {
  Context* context = Context::instance;
  if (!context) return;
  context->clearLights();
  forEach(atmospheres, [this](Atmospheric& atmosphere) { atmosphere.enter(activeCamera); });
  // Lights beyond what the device holds stay off.
  const size_t shining = std::min<size_t>(lights.size(), context->capabilities.maxLights);
  for (size_t i = 0; i < shining; ++i)
    if (lights[i]) lights[i]->apply();
  drawVisible(frustum);
  for (auto atmosphere = atmospheres.rbegin(); atmosphere != atmospheres.rend(); ++atmosphere)
    if (*atmosphere) (*atmosphere)->leave();
}

RenderQueue* SceneHierarchy::collectVisible() {
  auto* queue = new RenderQueue;
  if (activeCamera) {
    Frustum frustum;
    activeCamera->frustum(frustum);
    queueVisible(frustum, *queue);
  }
  return queue;
}

void SceneHierarchy::drawVisible(const Frustum& frustum) {
  RenderQueue queue;
  queueVisible(frustum, queue);
  queue.draw();
}

void SceneHierarchy::queueVisible(const Frustum& frustum, RenderQueue& queue) {
  for (Mesh* mesh : meshes)
    if (mesh && frustum.intersects(*mesh->orientedBox())) mesh->enqueue(queue);
}

void SceneHierarchy::drawBounds() {
  Context* context = Context::instance;
  if (!context) return;
  const color yellow(1.0f, 1.0f, 0.0f, 1.0f);
  for (Mesh* mesh : meshes)
    if (mesh) context->drawWireBox(*mesh->orientedBox(), yellow);
}

Mesh* SceneHierarchy::pick(const Ray& ray) {
  std::vector<const OrientedBox*> boxes;
  boxes.reserve(meshes.size());
  for (Mesh* mesh : meshes) boxes.push_back(mesh ? mesh->orientedBox() : nullptr);
  const int found = nearestBoxOnRay(boxes, ray);
  return found < 0 ? nullptr : meshes[found];
}

HierarchyNode* SceneHierarchy::loadTree(tsio::InStream& in, uint32_t depth) {
  if (depth >= kMaxTreeDepth) {
    in.failf("the tree of nodes is deeper than %u levels", kMaxTreeDepth);
    return nullptr;
  }
  HierarchyNode* node = tsio::readShared<HierarchyNode>(in);
  if (!node) return nullptr;
  // A node that stands in the tree already is not hung in again, which would make a ring;
  // its subtree in the file is still read, and hung under that one place.
  const bool placed = in.claim(node);
  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes)) return placed ? node : nullptr;
  node->children.reserve(node->children.size() + count);
  for (uint32_t i = 0; i < count && in.isGood(); ++i) {
    // Every node read is hung into the tree at once, so that the destructor finds it.
    if (HierarchyNode* child = loadTree(in, depth + 1)) {
      child->parent = node;
      node->children.push_back(child);
    }
  }
  return placed ? node : nullptr;
}

void SceneHierarchy::storeTree(tsio::OutStream& out) {
  // Without recursion: a tree built in code may be deeper than a file's.
  std::vector<HierarchyNode*> pending{root};
  while (!pending.empty()) {
    HierarchyNode* node = pending.back();
    pending.pop_back();
    out.writeObject(node);
    if (!node) continue;
    out.writeInt32(static_cast<int32_t>(node->children.size()));
    pending.insert(pending.end(), node->children.rbegin(), node->children.rend());
  }
}

bool SceneHierarchy::load(tsio::InStream& in) {
  if (!in.acceptsVersion(0, kVersion)) return false;
  loadList(in, textures);
  loadList(in, materials);
  root = loadTree(in, 0);
  loadList(in, meshes);
  loadList(in, cameras);
  activeCamera = tsio::readShared<Camera>(in);
  loadList(in, lights);
  if (in.chunkVersion() == 2) shadowLight = tsio::readShared<Light>(in);
  loadList(in, atmospheres);
  loadList(in, overlays);
  // The scene owns its background, which may also stand in one of the lists.
  background = tsio::readShared<Atmospheric>(in);
  if (background) in.claim(background);
  loadList(in, renderers);
  return in.isGood();
}

void SceneHierarchy::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  storeList(out, textures);
  storeList(out, materials);
  storeTree(out);
  storeList(out, meshes);
  storeList(out, cameras);
  out.writeObject(activeCamera);
  storeList(out, lights);
  out.writeObject(shadowLight);
  storeList(out, atmospheres);
  storeList(out, overlays);
  out.writeObject(background);
  storeList(out, renderers);
}

}  // namespace ts3d

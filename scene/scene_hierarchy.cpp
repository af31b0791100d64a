#include "scene/scene_hierarchy.h"

#include <algorithm>
#include <string>

#include "context/context.h"
#include "geometry/oriented_box.h"
#include "materials/material.h"
#include "materials/texture.h"
#include "scene/atmospheric.h"
#include "scene/camera.h"
#include "scene/frustum.h"
#include "scene/hierarchy_node.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/render_queue.h"
#include "scene/scene_renderer.h"
#include "scene/typed_read.h"

namespace ts3d {

namespace {

// Every member is owned by the scene. Null entries (a null word, or a chunk that nobody
// knows) are dropped: there is nothing to step or draw in them.
template <class T>
void loadList(tsio::InStream& in, std::vector<T*>& list, const char* place, const char* expected) {
  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes)) return;
  list.reserve(count);
  for (uint32_t i = 0; i < count && in.isGood(); ++i) {
    if (T* member = readTyped<T>(in, place, expected, true)) list.push_back(member);
  }
}

template <class T>
void storeList(tsio::OutStream& out, const std::vector<T*>& list) {
  out.writeInt32(static_cast<int32_t>(list.size()));
  for (T* member : list) out.writeObject(member);
}

template <class T>
void deleteAll(std::vector<T*>& list, const T* except) {
  for (T* member : list)
    if (member != except) delete member;
  list.clear();
}

bool contains(const std::vector<Atmospheric*>& list, const Atmospheric* member) {
  return std::find(list.begin(), list.end(), member) != list.end();
}

}  // namespace

SceneHierarchy::~SceneHierarchy() {
  deleteAll<Light>(lights, nullptr);
  deleteAll<Camera>(cameras, nullptr);
  deleteAll<Mesh>(meshes, nullptr);
  deleteAll<Material>(materials, nullptr);
  deleteAll<Texture>(textures, nullptr);
  deleteAll<Atmospheric>(atmospheres, background);
  deleteAll<Atmospheric>(overlays, background);
  deleteAll<SceneRenderer>(renderers, nullptr);
  delete background;
  deleteTree();
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
  for (Texture* texture : textures) texture->update(time);
  for (Material* material : materials) material->update(time);
  for (Mesh* mesh : meshes) mesh->update(time);
  for (Camera* camera : cameras) camera->update(time);
  for (Light* light : lights) light->update(time);
  for (Atmospheric* atmosphere : atmospheres) atmosphere->update(time);
  for (Atmospheric* overlay : overlays) overlay->update(time);
  for (SceneRenderer* renderer : renderers) renderer->update(time);
}

void SceneHierarchy::computeWorld(HierarchyNode* node, const matrix& parentWorld) {
  D3DXMatrixMultiply(&node->worldMatrix, &node->localMatrix, &parentWorld);
  for (HierarchyNode* child : node->children)
    if (child) computeWorld(child, node->worldMatrix);
}

void SceneHierarchy::createResources() {
  for (Texture* texture : textures) texture->createResources();
  for (Material* material : materials) material->createResources();
  for (Mesh* mesh : meshes) mesh->createResources();
  for (SceneRenderer* renderer : renderers) renderer->createResources();
  prepare();
}

void SceneHierarchy::prepare() {
  for (Material* material : materials) material->prepare();
  for (Mesh* mesh : meshes) mesh->prepare();
}

void SceneHierarchy::clear(float time) {
  if (background) background->update(time);
  clear(activeCamera, 7, true);
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
    renderers[count - 1 - index]->render(*this, activeCamera);
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
  for (Atmospheric* overlay : overlays) overlay->enter(activeCamera);
}

void SceneHierarchy::renderContents(const Frustum& frustum) {
  Context* context = Context::instance;
  if (!context) return;
  context->clearLights();
  for (Atmospheric* atmosphere : atmospheres) atmosphere->enter(activeCamera);
  // Lights beyond what the device holds stay off.
  const size_t shining = std::min<size_t>(lights.size(), context->capabilities.maxLights);
  for (size_t i = 0; i < shining; ++i) lights[i]->apply();
  drawVisible(frustum);
  for (auto atmosphere = atmospheres.rbegin(); atmosphere != atmospheres.rend(); ++atmosphere) (*atmosphere)->leave();
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
    if (frustum.intersects(*mesh->orientedBox())) mesh->enqueue(queue);
}

void SceneHierarchy::drawBounds() {
  Context* context = Context::instance;
  if (!context) return;
  const color yellow(1.0f, 1.0f, 0.0f, 1.0f);
  for (Mesh* mesh : meshes) context->drawWireBox(*mesh->orientedBox(), yellow);
}

HierarchyNode* SceneHierarchy::loadTree(tsio::InStream& in, uint32_t depth) {
  if (depth >= kMaxTreeDepth) {
    in.fail("the tree of nodes is deeper than " + std::to_string(kMaxTreeDepth) + " levels");
    return nullptr;
  }
  HierarchyNode* node = readTyped<HierarchyNode>(in, "the tree", "a node", true);
  if (!node) return nullptr;
  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes)) return node;
  node->children.reserve(count);
  for (uint32_t i = 0; i < count && in.isGood(); ++i) {
    // Every node read is hung into the tree at once, so that the destructor finds it.
    if (HierarchyNode* child = loadTree(in, depth + 1)) {
      child->parent = node;
      node->children.push_back(child);
    }
  }
  return node;
}

void SceneHierarchy::storeTree(tsio::OutStream& out, HierarchyNode* node) {
  out.writeObject(node);
  if (!node) return;
  out.writeInt32(static_cast<int32_t>(node->children.size()));
  for (HierarchyNode* child : node->children) storeTree(out, child);
}

bool SceneHierarchy::load(tsio::InStream& in) {
  if (in.isChunked() && in.chunkVersion() > kVersion) {
    // Unknown layout: step over it so that the enclosing chunk reads on in step.
    in.skip(in.chunkSize());
    return false;
  }
  loadList(in, textures, "the texture list", "a texture");
  loadList(in, materials, "the material list", "a material");
  root = loadTree(in, 0);
  loadList(in, meshes, "the mesh list", "a mesh");
  loadList(in, cameras, "the camera list", "a camera");
  activeCamera = readTyped<Camera>(in, "the active camera", "a camera", false);
  loadList(in, lights, "the light list", "a light");
  if (in.chunkVersion() == 2) shadowLight = readTyped<Light>(in, "the shadow light", "a light", false);
  loadList(in, atmospheres, "the atmosphere list", "an atmospheric");
  loadList(in, overlays, "the overlay list", "an atmospheric");
  // A background of neither list is the scene's own.
  Atmospheric* clearing = readTyped<Atmospheric>(in, "the background", "an atmospheric", false);
  if (clearing && !contains(atmospheres, clearing) && !contains(overlays, clearing) && !in.adopt(clearing))
    clearing = nullptr;
  background = clearing;
  loadList(in, renderers, "the renderer list", "a scene renderer");
  return in.isGood();
}

void SceneHierarchy::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  storeList(out, textures);
  storeList(out, materials);
  storeTree(out, root);
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

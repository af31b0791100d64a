#include "scene/mesh.h"

#include "context/context.h"
#include "geometry/geometry.h"
#include "geometry/geometry_composite.h"
#include "geometry/modifier_stack.h"
#include "io/trace.h"
#include "materials/material_composite.h"
#include "scene/render_queue.h"
#include "scene/transformation.h"

namespace ts3d {

MeshSimple::~MeshSimple() {
  delete modifierStack;
  delete meshGeometry;
}

Geometry* MeshSimple::currentGeometry() const { return modifierStack ? modifierStack->output() : meshGeometry; }

const matrix* MeshSimple::worldMatrix() {
  static const matrix identity(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  return transformation ? transformation->matrix() : &identity;
}

void MeshSimple::update(float time) {
  updateControllers(time);
  if (modifierStack) modifierStack->update(time);
  Geometry* current = currentGeometry();
  if (!current) return;
  const BoundingBox bounds = current->boundingBox();
  box.halfSize = (bounds.maximum - bounds.minimum) * 0.5f;
  const vect3 center = bounds.minimum + box.halfSize;
  matrix toCenter;
  D3DXMatrixTranslation(&toCenter, center.x, center.y, center.z);
  if (transformation)
    D3DXMatrixMultiply(&box.toWorld, &toCenter, transformation->matrix());
  else
    box.toWorld = toCenter;
}

void MeshSimple::createResources() {
  // An empty stack has no outputs: the mesh's own geometry is drawn then.
  if (!modifierStack || !modifierStack->createResources()) {
    traceBoxIf(meshGeometry == nullptr, "MeshSimple has no geometry.");
    if (meshGeometry) meshGeometry->createResources();
  }
  shadowVolume.reset();
  if (!shadowCaster || !currentGeometry()) return;
  shadowVolume = std::make_unique<ShadowVolume>(currentGeometry(), modifierStack != nullptr);
  shadowVolume->build();
}

void MeshSimple::updateShadow(const ShadowLight& light, bool directional) {
  if (!shadowCaster || !shadowVolume) return;
  // Skinned positions have moved since the last frame.
  if (modifierStack) shadowVolume->refresh();
  matrix inverse;
  // A world matrix that flattens space has no inverse: nothing sensible to cast then.
  if (!D3DXMatrixInverse(&inverse, nullptr, worldMatrix())) return;
  const vect3 end = light.position + light.vector;
  ShadowLight local;
  vect3 localEnd;
  D3DXVec3TransformCoord(&local.position, &light.position, &inverse);
  D3DXVec3TransformCoord(&localEnd, &end, &inverse);
  local.vector = localEnd - local.position;
  D3DXVec3Normalize(&local.vector, &local.vector);
  local.vector *= D3DXVec3Length(&light.vector);
  shadowVolume->update(local, directional);
}

void MeshSimple::drawShadow() {
  Context* context = Context::instance;
  if (!shadowCaster || !shadowVolume || !context) return;
  context->setWorldMatrix(*worldMatrix());
  shadowVolume->draw();
}

namespace {

// Child i of a composite geometry under a composite material: the sub-material of its id. A
// child beyond the ids a file gave draws as one of an unknown id, through the composite whole.
Material* childMaterial(MaterialComposite& table, const std::vector<uint32_t>& ids, size_t i) {
  return i < ids.size() ? table.subMaterialForId(ids[i]) : &table;
}

// The passes of the material begun, each drawing the geometry once.
void drawPasses(Material& material, uint32_t passes, Geometry& geometry) {
  for (uint32_t pass = 0; pass < passes; ++pass) {
    material.applyPass(pass);
    geometry.draw();
  }
  material.endPasses();
}

}  // namespace

MeshSimple::CompositePair MeshSimple::compositePair(Geometry* current) const {
  return {dynamic_cast<MaterialComposite*>(meshMaterial), dynamic_cast<GeometryComposite*>(current)};
}

void MeshSimple::enqueue(RenderQueue& queue) {
  if (isHidden || excluded) return;
  Geometry* current = currentGeometry();
  if (!current) return;
  const matrix* world = worldMatrix();
  // From the camera to the mesh's origin, not to its geometry.
  float distance = 0.0f;
  if (const Context* context = Context::instance) {
    const vect3 origin(world->_41, world->_42, world->_43);
    vect3 seen;
    D3DXVec3TransformCoord(&seen, &origin, &context->transforms.view);
    distance = D3DXVec3Length(&seen);
  }
  const auto add = [&](Material* material, Geometry* geometry) {
    auto* item = new RenderItem;
    item->orderClass = material ? orderClassOf(material->order()) : 1;
    item->distance = distance;
    item->material = material;
    item->geometry = geometry;
    item->stack = modifierStack;
    item->world = world;
    queue.add(item);
  };
  const auto [table, parts] = compositePair(current);
  if (table && parts) {
    // Each child with its own sub-material: the queue never sees the composite then.
    for (size_t i = 0; i < parts->children.size(); ++i)
      if (parts->children[i]) add(childMaterial(*table, materialIds, i), parts->children[i]);
    return;
  }
  // A composite geometry under one material draws as a whole: its children draw in order.
  add(meshMaterial, current);
}

void MeshSimple::draw() {
  if (isHidden || excluded) return;
  Context* context = Context::instance;
  if (!context) return;
  context->setWorldMatrix(*worldMatrix());
  if (modifierStack) modifierStack->setupRender();
  Geometry* current = currentGeometry();
  if (!current) return;
  if (!meshMaterial) {
    context->resetMaterial();
    current->draw();
    return;
  }
  const auto [table, parts] = compositePair(current);
  if (!table || !parts) {
    drawPasses(*meshMaterial, meshMaterial->beginPasses(0), *current);
    return;
  }
  for (size_t i = 0; i < parts->children.size(); ++i) {
    Geometry* child = parts->children[i];
    if (!child) continue;
    drawPasses(*table, i < materialIds.size() ? table->beginPassesForId(materialIds[i]) : table->beginPasses(0),
               *child);
  }
}

void MeshSimple::setGeometryAndGroups(Geometry* geometry, const std::vector<uint32_t>& ids) {
  meshGeometry = geometry;
  materialIds = ids;
}

bool MeshSimple::addModifier(Modifier* modifier) {
  if (!meshGeometry) return false;
  if (!modifierStack) {
    modifierStack = new ModifierStack;
    modifierStack->setSource(meshGeometry);
  }
  return modifierStack->add(modifier);
}

bool MeshSimple::load(tsio::InStream& in) {
  if (!in.acceptsVersion(0, kVersion)) return false;
  int32_t flags = 0;
  in.readInt32(&flags);
  if (flags & kFlagGeometry) {
    if (Geometry* loaded = tsio::readOwned<Geometry>(in)) {
      delete meshGeometry;
      meshGeometry = loaded;
    }
  }
  if (flags & kFlagStack) {
    if (ModifierStack* loaded = tsio::readOwned<ModifierStack>(in)) {
      delete modifierStack;
      modifierStack = loaded;
      if (meshGeometry) modifierStack->setSource(meshGeometry);
    }
  }
  in.readBool(&isHidden);
  if (in.chunkVersion() == 2) in.readBool(&shadowCaster);
  uint32_t count = 0;
  in.readCount(&count, 4);
  materialIds.assign(count, 0);
  for (uint32_t& id : materialIds) in.readUint32(&id);
  if (Material* loaded = tsio::readShared<Material>(in)) meshMaterial = loaded;
  loadTransformation(in);
  return in.isGood();
}

void MeshSimple::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeInt32((meshGeometry ? kFlagGeometry : 0) | (modifierStack ? kFlagStack : 0));
  if (meshGeometry) out.writeObject(meshGeometry);
  if (modifierStack) out.writeObject(modifierStack);
  out.writeBool(isHidden);
  out.writeBool(shadowCaster);
  out.writeInt32(static_cast<int32_t>(materialIds.size()));
  for (uint32_t id : materialIds) out.writeUint32(id);
  out.writeObject(meshMaterial);
  out.writeObject(transformation);
}

}  // namespace ts3d

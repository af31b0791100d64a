#include "scenebuild/scene_builder.h"

#include "geometry/geometry_composite.h"
#include "io/persistence.h"
#include "io/stream_memory.h"
#include "materials/controller_slot.h"
#include "platform/whole_file.h"
#include "scene/controller_transformation.h"

namespace scenebuild {

using ts3d::color;
using ts3d::quat;
using ts3d::vect3;
using ts3d::controller::ControllerBase;

namespace {

void fill(ts3d::GeometrySimple* geometry, const Shape& shape, bool textureCoordinates) {
  geometry->positions = shape.positions;
  geometry->normals = shape.normals;
  if (textureCoordinates) {
    ts3d::TextureChannel channel;
    for (uint32_t i = 0; i < shape.vertexCount(); ++i) channel.coordinates.push_back({shape.u[i], shape.v[i]});
    geometry->textureChannels.push_back(std::move(channel));
  }
  for (const ShapeFace& face : shape.faces) geometry->faces.push_back({{face.vertex[0], face.vertex[1], face.vertex[2]}});
}

}  // namespace

ts3d::GeometrySimple* makeGeometry(const Shape& shape, bool textureCoordinates) {
  auto* geometry = new ts3d::GeometrySimple;
  fill(geometry, shape, textureCoordinates);
  return geometry;
}

SceneBuilder::SceneBuilder() : built(new ts3d::SceneHierarchy) {
  built->root = new ts3d::HierarchyNode;
  built->root->transformation = new ts3d::ControllerTransformation;
}

SceneBuilder::~SceneBuilder() { delete built; }

ts3d::HierarchyNode* SceneBuilder::node(ts3d::HierarchyNode* parent, ControllerBase<vect3>* position,
                                        ControllerBase<quat>* rotation, ControllerBase<vect3>* scale) {
  auto* made = new ts3d::HierarchyNode;
  auto* transformation = new ts3d::ControllerTransformation;
  transformation->positionController = position;
  transformation->rotationController = rotation;
  transformation->scaleController = scale;
  for (ts3d::Controller* c :
       {static_cast<ts3d::Controller*>(position), static_cast<ts3d::Controller*>(rotation),
        static_cast<ts3d::Controller*>(scale)})
    if (c) transformation->addController(c);
  made->transformation = transformation;
  made->parent = parent;
  parent->children.push_back(made);
  return made;
}

ts3d::HierarchyNode* SceneBuilder::node(ts3d::HierarchyNode* parent, const vect3& position) {
  return node(parent, constant(position));
}

void SceneBuilder::aim(ts3d::HierarchyNode* from, ts3d::HierarchyNode* target, ControllerBase<float>* roll) {
  from->target = target;
  delete from->rollController;
  from->rollController = roll;
}

ts3d::TextureBitmapFile* SceneBuilder::texture(const std::vector<uint8_t>& imageFile) {
  auto* made = new ts3d::TextureBitmapFile;
  made->fileData = imageFile;
  built->textures.push_back(made);
  return made;
}

ts3d::TextureBitmapFile* SceneBuilder::textureFile(const std::string& path) {
  auto* made = new ts3d::TextureBitmapFile(path, 0);
  built->textures.push_back(made);
  return made;
}

ts3d::TextureCubemapFile* SceneBuilder::cubeTexture(const std::vector<uint8_t>& cubeFile) {
  auto* made = new ts3d::TextureCubemapFile;
  made->fileData[ts3d::TextureCubemapFile::kCubeKey] = cubeFile;
  built->textures.push_back(made);
  return made;
}

ts3d::TextureCubemapFile* SceneBuilder::cubeTexture(const std::array<std::vector<uint8_t>, 6>& faceFiles) {
  auto* made = new ts3d::TextureCubemapFile;
  made->separated = true;
  for (int32_t face = 0; face < 6; ++face) made->fileData[ts3d::TextureCubemapFile::kFirstFace + face] = faceFiles[face];
  built->textures.push_back(made);
  return made;
}

ts3d::MaterialSimple* SceneBuilder::material(const MaterialSettings& settings) {
  auto* made = new ts3d::MaterialSimple;
  made->setDiffuseController(settings.animatedDiffuse ? settings.animatedDiffuse : constant(settings.diffuse));
  made->setAmbientController(constant(settings.ambient));
  made->setSpecularController(constant(settings.specular));
  made->setEmissiveController(constant(settings.emissive));
  made->setPowerController(constant(settings.power));
  made->setOpacityController(settings.opacity);
  made->setOrder(settings.order);
  ts3d::RenderStateBlock& states = made->renderStates();
  states.lighting = settings.lighting;
  states.specularEnable = settings.power > 0.0f;
  if (settings.alphaBlend || settings.additive) {
    states.setBlendPreset(settings.additive ? 1 : 2);
    states.alphaBlendEnable = true;
    states.depthMode = ts3d::DepthTestNoWrite;
  }
  built->materials.push_back(made);
  return made;
}

ts3d::MaterialFX* SceneBuilder::effectMaterial(const std::string& path, ts3d::Material* base) {
  auto* made = new ts3d::MaterialFX;
  made->fileName = path;
  made->baseMaterial = base;
  built->materials.push_back(made);
  return made;
}

ts3d::TextureStage* SceneBuilder::stage(ts3d::MaterialSimple* material, ts3d::Texture* texture,
                                        ControllerBase<float>* offsetU) {
  auto* made = new ts3d::TextureStage;
  made->texture = texture;
  made->states = ts3d::TextureStageStateBlock::modulate();
  made->states.alphaOp = ts3d::TextureModulate;
  made->states.alphaArg2 = ts3d::ArgCurrent;
  if (offsetU)
    made->setControllers(offsetU, constant(0.0f), constant(1.0f), constant(1.0f), constant(0.0f), constant(0.0f),
                         constant(0.0f));
  material->setStage(material->stageCount(), made);
  built->keep(made);  // a material doesn't own its stages
  return made;
}

ts3d::MeshSimple* SceneBuilder::mesh(ts3d::HierarchyNode* node, const Shape& shape, ts3d::Material* material,
                                     bool textureCoordinates) {
  return geometryMesh(node, makeGeometry(shape, textureCoordinates), material);
}

ts3d::MeshSimple* SceneBuilder::geometryMesh(ts3d::HierarchyNode* node, ts3d::Geometry* geometry,
                                             ts3d::Material* material, const std::vector<uint32_t>& ids) {
  auto* made = new ts3d::MeshSimple;
  if (ids.empty())
    made->setGeometry(geometry);
  else
    made->setGeometryAndGroups(geometry, ids);
  made->setMaterial(material);
  made->transformation = node;
  built->meshes.push_back(made);
  return made;
}

ts3d::MaterialComposite* SceneBuilder::compositeMaterial(
    const std::vector<std::pair<uint32_t, ts3d::Material*>>& subMaterials) {
  auto* made = new ts3d::MaterialComposite;
  for (const auto& [id, sub] : subMaterials) {
    made->idToIndex[id] = static_cast<uint32_t>(made->subMaterials.size());
    made->subMaterials.push_back(sub);
  }
  built->materials.push_back(made);
  return made;
}

ts3d::MeshSimple* SceneBuilder::compositeMesh(ts3d::HierarchyNode* node, const std::vector<CompositePart>& parts,
                                              ts3d::Material* material, bool textureCoordinates) {
  auto* geometry = new ts3d::GeometryComposite;
  std::vector<uint32_t> ids;
  for (const CompositePart& part : parts) {
    ts3d::GeometrySimple* child = makeGeometry(part.shape, textureCoordinates);
    ts3d::matrix moved;
    D3DXMatrixTranslation(&moved, part.offset.x, part.offset.y, part.offset.z);
    child->transform(moved);
    geometry->children.push_back(child);
    ids.push_back(part.materialId);
  }
  return geometryMesh(node, geometry, material, ids);
}

ts3d::MeshSimple* SceneBuilder::skinnedMesh(const Shape& shape, ts3d::Material* material,
                                            const std::vector<ts3d::HierarchyNode*>& bones,
                                            const std::vector<ts3d::matrix>& bindPose,
                                            std::vector<ts3d::VertexWeight> weights) {
  auto* geometry = new ts3d::GeometryWeighted;
  fill(geometry, shape, true);
  geometry->vertexWeights = std::move(weights);
  return skinnedMesh(geometry, material, bones, bindPose);
}

ts3d::MeshSimple* SceneBuilder::skinnedMesh(ts3d::GeometryWeighted* geometry, ts3d::Material* material,
                                            const std::vector<ts3d::HierarchyNode*>& bones,
                                            const std::vector<ts3d::matrix>& bindPose) {
  auto* skin = new ts3d::ModifierSkin;
  skin->bones = bones;
  for (const ts3d::matrix& pose : bindPose) {
    ts3d::matrix offset;
    D3DXMatrixIdentity(&offset);  // kept for a pose without an inverse
    D3DXMatrixInverse(&offset, nullptr, &pose);
    skin->boneOffsets.push_back(offset);
  }
  auto* made = new ts3d::MeshSimple;
  made->setGeometry(geometry);
  made->setMaterial(material);
  made->addModifier(skin);
  built->meshes.push_back(made);
  return made;
}

ts3d::CameraSimple* SceneBuilder::camera(ts3d::HierarchyNode* node, float fieldOfView, float nearPlane,
                                         float farPlane) {
  auto* made = new ts3d::CameraSimple;
  made->transformation = node;
  const auto give = [&](ControllerBase<float>*& field, float value) {
    field = constant(value);
    made->addController(field);
  };
  give(made->fovController, fieldOfView);
  give(made->nearController, nearPlane);
  give(made->farController, farPlane);
  give(made->clipNearController, nearPlane);
  give(made->rangeFarController, farPlane);
  built->cameras.push_back(made);
  if (!built->activeCamera) built->activeCamera = made;
  return made;
}

ts3d::LightOmni* SceneBuilder::light(ts3d::HierarchyNode* node, const color& diffuse, float range,
                                     const color& ambient) {
  auto* made = new ts3d::LightOmni;
  made->transformation = node;
  const auto give = [&](auto*& field, auto* controller) {
    field = controller;
    made->addController(controller);
  };
  give(made->diffuseController, constant(diffuse));
  give(made->specularController, constant(diffuse));
  give(made->ambientController, constant(ambient));
  give(made->rangeController, constant(range));
  give(made->attenuation0Controller, constant(1.0f));
  give(made->attenuation1Controller, constant(0.0f));
  give(made->attenuation2Controller, constant(0.0f));
  built->lights.push_back(made);
  return made;
}

ts3d::SceneRendererDOF* SceneBuilder::depthOfField(ts3d::Camera* camera, ControllerBase<float>* focusScale,
                                                   ControllerBase<float>* focusDistance) {
  ts3d::SceneRendererDOF* renderer = nullptr;
  for (ts3d::SceneRenderer* member : built->renderers)
    if (auto* found = dynamic_cast<ts3d::SceneRendererDOF*>(member)) renderer = found;
  if (!renderer) {
    renderer = new ts3d::SceneRendererDOF;
    built->renderers.push_back(renderer);
  }
  // The renderer only points at its focus controllers.
  for (ControllerBase<float>* focus : {focusScale, focusDistance})
    if (focus) built->keep(focus);
  renderer->cameras[camera] = {focusScale, focusDistance};
  return renderer;
}

ts3d::SceneRendererShadow* SceneBuilder::shadow(ts3d::Light* light, ts3d::MeshSimple* caster) {
  caster->setCastsShadow(true);
  light->shadowMeshes().push_back(caster);
  if (!built->shadowLight) built->shadowLight = light;
  for (ts3d::SceneRenderer* member : built->renderers)
    if (auto* found = dynamic_cast<ts3d::SceneRendererShadow*>(member)) return found;
  auto* renderer = new ts3d::SceneRendererShadow;
  // Innermost: the renderers around it still see the whole picture.
  built->renderers.insert(built->renderers.begin(), renderer);
  return renderer;
}

ts3d::SceneRendererMirror* SceneBuilder::mirror(const std::vector<ts3d::Mesh*>& meshes) {
  auto* made = new ts3d::SceneRendererMirror;
  made->mirrors = meshes;
  built->renderers.push_back(made);
  return made;
}

ts3d::AtmosphericAmbient* SceneBuilder::ambient(const color& colour) {
  auto* made = new ts3d::AtmosphericAmbient;
  ts3d::replaceController(*made, made->colorController, constant(colour));
  built->atmospheres.push_back(made);
  return made;
}

ts3d::AtmosphericFog* SceneBuilder::fog(const color& colour, float start, float end) {
  auto* made = new ts3d::AtmosphericFog;
  ts3d::replaceController(*made, made->colorController, constant(colour));
  ts3d::replaceController(*made, made->startController, constant(start));
  ts3d::replaceController(*made, made->endController, constant(end));
  built->atmospheres.push_back(made);
  return made;
}

ts3d::AtmosphericBackground* SceneBuilder::replaceBackground(int32_t clearFunction) {
  delete built->background;
  auto* made = new ts3d::AtmosphericBackground;
  made->clearFunction = clearFunction;
  built->background = made;
  return made;
}

ts3d::AtmosphericBackground* SceneBuilder::background(const color& colour) {
  ts3d::AtmosphericBackground* made = replaceBackground(ts3d::AtmosphericBackground::kClearColor);
  ts3d::replaceController(*made, made->colorController, constant(colour));
  return made;
}

ts3d::AtmosphericBackground* SceneBuilder::pictureBackground(ts3d::Texture* picture) {
  ts3d::AtmosphericBackground* made = replaceBackground(ts3d::AtmosphericBackground::kClearPicture);
  made->texture = picture;
  return made;
}

ts3d::AtmosphericBackground* SceneBuilder::skyBox(ts3d::TextureCubemapFile* cube) {
  ts3d::AtmosphericBackground* made = replaceBackground(ts3d::AtmosphericBackground::kClearSkyBox);
  made->texture = cube;
  made->cubemap = cube;
  return made;
}

ts3d::AtmosphericBillboard* SceneBuilder::billboards(
    ts3d::Material* material, const std::vector<std::pair<ts3d::HierarchyNode*, float>>& placed) {
  auto* made = new ts3d::AtmosphericBillboard;
  made->billboard = new ts3d::particle::Billboard;
  made->billboard->material = material;
  for (const auto& [place, size] : placed) {
    ts3d::BillboardElement& element = made->elements.emplace_back();
    element.transformation = place;
    ts3d::replaceController(element, element.sizeController, constant(size));
  }
  made->centers.resize(made->elements.size());
  built->overlays.push_back(made);
  return made;
}

ts3d::SceneHierarchy* SceneBuilder::release() {
  ts3d::SceneHierarchy* taken = built;
  built = nullptr;
  return taken;
}

std::vector<uint8_t> SceneBuilder::bytes(int mode) {
  tsio::OutStreamMemory memory;
  tsio::OutStream* out = tsio::openOutStream(&memory, false, mode);
  if (!out) return {};
  out->writeObject(built);
  delete out;  // a compressed stream reaches memory only here
  return memory.bytes();
}

bool SceneBuilder::write(const std::string& path, int mode, std::string* error) {
  const std::vector<uint8_t> file = bytes(mode);
  if (file.empty() || !platform::writeWholeFile(path, file.data(), file.size())) {
    *error = "cannot write \"" + path + "\"";
    return false;
  }
  return true;
}

}  // namespace scenebuild

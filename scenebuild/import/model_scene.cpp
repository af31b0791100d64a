#include "scenebuild/import/model_scene.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "geometry/geometry_composite.h"
#include "scenebuild/import/motion_scene.h"

namespace tsimport {

namespace {

constexpr float kUnboundedRange = 1.0e6f;
constexpr int32_t kBlendedOrder = 3;  // after the opaque meshes, back to front

template <class Made = ts3d::GeometrySimple>
Made* makeGeometry(const MeshPart& part) {
  auto* geometry = new Made;
  geometry->positions = part.positions;
  geometry->normals = part.normals;
  geometry->colors = part.colors;
  if (!part.texCoords.empty()) {
    ts3d::TextureChannel channel;
    for (const TexCoord& uv : part.texCoords) channel.coordinates.push_back({uv.u, uv.v});
    geometry->textureChannels.push_back(std::move(channel));
  }
  for (size_t i = 0; i + 2 < part.indices.size(); i += 3)
    geometry->faces.push_back({{part.indices[i], part.indices[i + 1], part.indices[i + 2]}});
  return geometry;
}

// The scene's objects for the model's, each made once, when first used.
class SceneMaker {
 public:
  SceneMaker(const Model& imported, scenebuild::SceneBuilder& making)
      : model(imported), builder(making), textures(imported.textures.size()), materials(imported.materials.size()),
        nodes(imported.nodes.size()) {}

  SceneSummary make() {
    for (size_t n = 0; n < model.nodes.size(); ++n) node(static_cast<int>(n));
    summary.skins = static_cast<uint32_t>(model.skins.size());
    return summary;
  }

 private:
  ts3d::HierarchyNode* node(int index) {
    if (nodes[index]) return nodes[index];
    const Node& source = model.nodes[index];
    ts3d::HierarchyNode* parent = source.parent >= 0 ? node(source.parent) : builder.root();
    ts3d::HierarchyNode* made = animatedNode(builder, parent, source);
    nodes[index] = made;
    ++summary.nodes;
    const NodeAnimation& motion = source.animation;
    if (!motion.position.times.empty() || !motion.rotation.times.empty() || !motion.scale.times.empty())
      ++summary.animatedNodes;
    for (const std::vector<float>* times : {&motion.position.times, &motion.rotation.times, &motion.scale.times})
      if (!times->empty()) summary.animationSeconds = std::max(summary.animationSeconds, times->back());
    for (int mesh : source.meshes) {
      count(model.meshes[mesh]);
      if (source.skin >= 0)
        addSkinnedMesh(model.meshes[mesh], model.skins[source.skin]);
      else
        addMesh(made, model.meshes[mesh]);
    }
    if (source.camera >= 0) {
      const Camera& camera = model.cameras[source.camera];
      builder.camera(made, camera.yfov, camera.znear, camera.zfar);
      ++summary.cameras;
    }
    if (source.light >= 0) {
      const Light& light = model.lights[source.light];
      builder.light(made, light.color, light.range > 0.0f ? light.range : kUnboundedRange);
      ++summary.lights;
    }
    return made;
  }

  void count(const Mesh& mesh) {
    if (mesh.parts.empty()) return;
    for (const MeshPart& part : mesh.parts) summary.triangles += static_cast<uint32_t>(part.indices.size() / 3);
    ++summary.meshes;
  }

  void addMesh(ts3d::HierarchyNode* at, const Mesh& mesh) {
    if (mesh.parts.empty()) return;
    if (mesh.parts.size() == 1) {
      builder.geometryMesh(at, makeGeometry(mesh.parts[0]), material(mesh.parts[0].material));
      return;
    }
    // A part per child, each child's id its part number.
    auto* geometry = new ts3d::GeometryComposite;
    std::vector<uint32_t> ids;
    std::vector<std::pair<uint32_t, ts3d::Material*>> table;
    for (const MeshPart& part : mesh.parts) {
      const auto id = static_cast<uint32_t>(ids.size());
      geometry->children.push_back(makeGeometry(part));
      ids.push_back(id);
      table.push_back({id, material(part.material)});
    }
    builder.geometryMesh(at, geometry, builder.compositeMaterial(table), ids);
  }

  // A skinned mesh per part: a skin can't follow composite geometry. The joints' nodes are made
  // first where they are not yet.
  void addSkinnedMesh(const Mesh& mesh, const Skin& skin) {
    for (int joint : skin.joints) node(joint);
    for (const MeshPart& part : mesh.parts)
      skinnedPart(builder, makeGeometry<ts3d::GeometryWeighted>(part), part, material(part.material), skin, nodes);
  }

  ts3d::Material* material(int index) {
    if (index < 0) {
      if (!fallback) {
        fallback = builder.material({});
        ++summary.materials;
      }
      return fallback;
    }
    if (materials[index]) return materials[index];
    const Material& source = model.materials[index];
    scenebuild::MaterialSettings settings;
    settings.diffuse = source.baseColor;
    settings.emissive = ts3d::color(source.emissive.r, source.emissive.g, source.emissive.b, 0);
    if (source.alphaMode == AlphaMode::Blend) {
      settings.alphaBlend = true;
      settings.order = kBlendedOrder;
    }
    ts3d::MaterialSimple* made = builder.material(settings);
    ts3d::RenderStateBlock& states = made->renderStates();
    if (source.alphaMode == AlphaMode::Mask) {
      states.alphaTestEnable = true;
      states.alphaFunc = ts3d::CompareGreaterEqual;
      states.alphaRef = static_cast<uint8_t>(std::lround(std::fmin(std::fmax(source.alphaCutoff, 0.0f), 1.0f) * 255));
    }
    if (source.doubleSided) states.cullMode = ts3d::CullNone;
    if (source.texture >= 0) builder.stage(made, texture(source.texture));
    ++summary.materials;
    return materials[index] = made;
  }

  ts3d::Texture* texture(int index) {
    if (!textures[index]) {
      textures[index] = builder.texture(model.textures[index].file);
      ++summary.textures;
    }
    return textures[index];
  }

  const Model& model;
  scenebuild::SceneBuilder& builder;
  std::vector<ts3d::Texture*> textures;
  std::vector<ts3d::Material*> materials;
  std::vector<ts3d::HierarchyNode*> nodes;
  ts3d::Material* fallback = nullptr;
  SceneSummary summary;
};

std::string counted(uint32_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

// "2.50 s": hundredths, finer than a frame at the usual rates.
std::string seconds(float value) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(2) << value << " s";
  return text.str();
}

}  // namespace

std::string SceneSummary::line() const {
  return counted(nodes, "node", "nodes") + ", " + counted(meshes, "mesh", "meshes") + ", " +
         counted(triangles, "triangle", "triangles") + ", " + counted(materials, "material", "materials") + ", " +
         counted(textures, "texture", "textures") + ", " + counted(cameras, "camera", "cameras") + ", " +
         counted(lights, "light", "lights") + ", " + counted(animatedNodes, "animated node", "animated nodes") + ", " +
         counted(skins, "skin", "skins") + ", " + seconds(animationSeconds) + " of animation";
}

SceneSummary buildScene(const Model& model, scenebuild::SceneBuilder& builder) {
  return SceneMaker(model, builder).make();
}

}  // namespace tsimport

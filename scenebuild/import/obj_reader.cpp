#include "scenebuild/import/obj_reader.h"

#include <map>
#include <sstream>

#include <tiny_obj_loader.h>

#include "scenebuild/import/mesh_assembly.h"

namespace tsimport {

namespace {

// Material libraries come only from the model's folder, read through it.
class LibraryReader : public tinyobj::MaterialReader {
 public:
  explicit LibraryReader(FolderFiles& folder) : files(folder) {}

  bool operator()(const std::string& name, std::vector<tinyobj::material_t>* materials,
                  std::map<std::string, int>* names, std::string* warning, std::string* error) override {
    std::vector<uint8_t> bytes;
    std::string why;
    if (!files.read(name, bytes, why)) {
      *warning += "material library " + why + "\n";
      return false;
    }
    std::istringstream in(std::string(bytes.begin(), bytes.end()));
    tinyobj::LoadMtl(names, materials, &in, warning, error);
    return true;
  }

 private:
  FolderFiles& files;
};

void readMaterials(const std::vector<tinyobj::material_t>& sources, FolderFiles& files, Model& model) {
  for (const tinyobj::material_t& source : sources) {
    Material material;
    material.name = source.name;
    material.baseColor = ts3d::color(source.diffuse[0], source.diffuse[1], source.diffuse[2], source.dissolve);
    material.emissive = ts3d::color(source.emission[0], source.emission[1], source.emission[2], 1);
    if (source.dissolve < 1.0f) material.alphaMode = AlphaMode::Blend;
    if (!source.diffuse_texname.empty()) {
      Texture texture;
      texture.name = source.diffuse_texname;
      std::string why;
      if (files.read(source.diffuse_texname, texture.file, why)) {
        material.texture = static_cast<int>(model.textures.size());
        model.textures.push_back(std::move(texture));
      } else {
        model.warnings.push_back("material " + source.name + ": texture " + why + ", the material keeps its colour");
      }
    }
    model.materials.push_back(material);
  }
}

// One primitive per material of a shape, its vertices made once per distinct corner.
class ShapeSplitter {
 public:
  ShapeSplitter(const tinyobj::attrib_t& read, const Conversion& converting) : attrib(read), conversion(converting) {}

  bool add(const tinyobj::shape_t& shape, Mesh& mesh, std::string& error) {
    std::map<int, Primitive> byMaterial;
    std::map<int, std::map<std::tuple<int, int, int>, uint32_t>> corners;
    const tinyobj::mesh_t& faces = shape.mesh;
    size_t first = 0;
    for (size_t f = 0; f < faces.num_face_vertices.size(); ++f) {
      const size_t count = faces.num_face_vertices[f];
      if (first + count > faces.indices.size()) return (error = "face " + std::to_string(f) + " cut short"), false;
      const int material = f < faces.material_ids.size() ? faces.material_ids[f] : -1;
      Primitive& primitive = byMaterial[material];
      primitive.material = material;
      // A polygon left untriangulated becomes a fan.
      for (size_t k = 2; k < count; ++k)
        for (size_t corner : {first, first + k - 1, first + k}) {
          uint32_t vertex;
          if (!vertexOf(faces.indices[corner], primitive, corners[material], vertex, error)) return false;
          primitive.indices.push_back(vertex);
        }
      first += count;
    }
    for (auto& [material, primitive] : byMaterial) {
      // Corners without normals make the whole primitive flat.
      if (primitive.normals.size() != primitive.positions.size()) primitive.normals.clear();
      if (primitive.texCoords.size() != primitive.positions.size()) primitive.texCoords.clear();
      if (!addPrimitive(primitive, mesh, error)) return false;
    }
    return true;
  }

 private:
  bool vertexOf(const tinyobj::index_t& index, Primitive& primitive, std::map<std::tuple<int, int, int>, uint32_t>& made,
                uint32_t& vertex, std::string& error) {
    const auto key = std::make_tuple(index.vertex_index, index.normal_index, index.texcoord_index);
    if (auto found = made.find(key); found != made.end()) return (vertex = found->second), true;
    const size_t v = index.vertex_index, n = index.normal_index, t = index.texcoord_index;
    if (index.vertex_index < 0 || 3 * v + 2 >= attrib.vertices.size() ||
        (index.normal_index >= 0 && 3 * n + 2 >= attrib.normals.size()) ||
        (index.texcoord_index >= 0 && 2 * t + 1 >= attrib.texcoords.size()))
      return (error = "a face names a vertex, normal or texture coordinate that does not exist"), false;
    vertex = static_cast<uint32_t>(primitive.positions.size());
    made[key] = vertex;
    const float* p = &attrib.vertices[3 * v];
    primitive.positions.push_back(conversion.position(p[0], p[1], p[2]));
    if (index.normal_index >= 0) {
      const float* d = &attrib.normals[3 * n];
      primitive.normals.push_back(conversion.direction(d[0], d[1], d[2]));
    }
    // OBJ's v runs up the image, the engine's down.
    if (index.texcoord_index >= 0) primitive.texCoords.push_back({attrib.texcoords[2 * t], 1.0f - attrib.texcoords[2 * t + 1]});
    if (3 * v + 2 < attrib.colors.size()) {
      const float* c = &attrib.colors[3 * v];
      primitive.colors.push_back(ts3d::color(c[0], c[1], c[2], 1));
    }
    return true;
  }

  const tinyobj::attrib_t& attrib;
  const Conversion& conversion;
};

}  // namespace

bool readObj(const std::vector<uint8_t>& bytes, FolderFiles& files, const Conversion& conversion, Model& model,
             std::string& error) {
  tinyobj::attrib_t attrib;
  std::vector<tinyobj::shape_t> shapes;
  std::vector<tinyobj::material_t> materials;
  std::string warning, parseError;
  std::istringstream in(std::string(bytes.begin(), bytes.end()));
  LibraryReader libraries(files);
  const bool parsed = tinyobj::LoadObj(&attrib, &shapes, &materials, &warning, &parseError, &in, &libraries,
                                       /*triangulate=*/true, /*default_vcols_fallback=*/false);
  if (!files.refusedName().empty()) return (error = "'" + files.refusedName() + "' lies outside the model's folder"), false;
  if (!parsed) return (error = parseError.empty() ? "not an OBJ file" : parseError.substr(0, parseError.find('\n'))), false;
  addWarningLines(warning, model);
  readMaterials(materials, files, model);
  if (!files.refusedName().empty()) return (error = "'" + files.refusedName() + "' lies outside the model's folder"), false;
  ShapeSplitter splitter(attrib, conversion);
  for (const tinyobj::shape_t& shape : shapes) {
    Mesh mesh;
    mesh.name = shape.name;
    if (!splitter.add(shape, mesh, error)) return (error = "object " + shape.name + ": " + error), false;
    for (MeshPart& part : mesh.parts)
      if (part.material >= static_cast<int>(model.materials.size())) part.material = -1;
    Node node;
    node.name = shape.name.empty() ? "object " + std::to_string(model.nodes.size()) : shape.name;
    node.meshes.push_back(static_cast<int>(model.meshes.size()));
    model.meshes.push_back(std::move(mesh));
    model.nodes.push_back(std::move(node));
  }
  return true;
}

}  // namespace tsimport

#include "scenebuild/import/gltf_reader.h"

#include <cstring>
#include <sstream>

#include "scenebuild/import/gltf_accessor.h"
#include "scenebuild/import/gltf_motion.h"
#include "scenebuild/import/mesh_assembly.h"
#include "scenebuild/import/tinygltf.h"

namespace tsimport {

namespace {

// glTF's primitive modes that hold triangles; -1 is the parser's for a mode not given.
constexpr int kTriangles = 4, kTriangleStrip = 5, kTriangleFan = 6, kModeNotGiven = -1;
constexpr char kLightsExtension[] = "KHR_lights_punctual";

// The parser's file access, held to the model's folder. The parser joins names to the folder
// and a slash, and also tries the current folder: only the first kind is looked at.
bool relativeName(const std::string& path, const FolderFiles& files, std::string& name) {
  const std::string prefix = files.base() + "/";
  if (path.compare(0, prefix.size(), prefix) != 0) return false;
  name = path.substr(prefix.size());
  return true;
}

bool fileExists(const std::string& path, void* user) {
  auto* files = static_cast<FolderFiles*>(user);
  std::string name;
  return relativeName(path, *files, name) && files->exists(name);
}

std::string expandPath(const std::string& path, void*) { return path; }

bool readFile(std::vector<unsigned char>* out, std::string* error, const std::string& path, void* user) {
  auto* files = static_cast<FolderFiles*>(user);
  std::string name;
  if (!relativeName(path, *files, name)) return false;
  return files->read(name, *out, *error);
}

bool refuseWrite(std::string* error, const std::string&, const std::vector<unsigned char>&, void*) {
  *error = "writing is not done here";
  return false;
}

// Images keep the file's bytes: the engine decodes them. The parser hands over an image in a
// buffer view without checking the view against its buffer: those are read later, checked.
bool keepImageBytes(tinygltf::Image* image, int, std::string*, std::string*, int, int, const unsigned char* bytes,
                    int size, void*) {
  if (image->bufferView < 0) image->image.assign(bytes, bytes + size);
  return true;
}

struct Callbacks {
  explicit Callbacks(FolderFiles& files) {
    callbacks.FileExists = fileExists;
    callbacks.ExpandFilePath = expandPath;
    callbacks.ReadWholeFile = readFile;
    callbacks.WriteWholeFile = refuseWrite;
    callbacks.user_data = &files;
  }
  tinygltf::FsCallbacks callbacks{};
};

uint32_t littleEndian32(const uint8_t* at) {
  return uint32_t(at[0]) | uint32_t(at[1]) << 8 | uint32_t(at[2]) << 16 | uint32_t(at[3]) << 24;
}

// GLB's header and chunk lengths against the bytes there are, before the parser trusts them.
bool checkGlb(const std::vector<uint8_t>& bytes, std::string& error) {
  constexpr size_t kHeader = 12, kChunkHeader = 8;
  constexpr uint32_t kJsonChunk = 0x4E4F534A, kBinChunk = 0x004E4942;
  if (bytes.size() < kHeader + kChunkHeader) return error = "GLB shorter than its headers", false;
  if (littleEndian32(&bytes[4]) != 2) return error = "GLB version is not 2", false;
  const uint64_t length = littleEndian32(&bytes[8]);
  if (length > bytes.size()) return error = "GLB header claims " + std::to_string(length) + " bytes", false;
  uint64_t at = kHeader;
  for (int chunk = 0; at < length; ++chunk) {
    if (at + kChunkHeader > length) return error = "GLB chunk " + std::to_string(chunk) + " cut short", false;
    const uint64_t size = littleEndian32(&bytes[at]);
    const uint32_t type = littleEndian32(&bytes[at + 4]);
    if (chunk == 0 && type != kJsonChunk) return error = "GLB does not start with its JSON chunk", false;
    if (chunk == 1 && type != kBinChunk) return error = "GLB's second chunk is not binary", false;
    if (at + kChunkHeader + size > length)
      return error = "GLB chunk " + std::to_string(chunk) + " claims " + std::to_string(size) + " bytes", false;
    at += kChunkHeader + size;
  }
  return true;
}

float number(const std::vector<double>& values, size_t i, float otherwise) {
  return i < values.size() ? static_cast<float>(values[i]) : otherwise;
}

// The parser's first line of complaint, without the data URIs it quotes whole.
std::string parserMessage(const std::string& text) {
  constexpr size_t kMaxLength = 200;
  std::string line = text.substr(0, text.find('\n'));
  // The parser decodes a buffer's data URI only when it yields exactly the bytes the buffer
  // declares, and says no more than that it failed: a lying byteLength ends here.
  if (line.rfind("Failed to decode 'uri' : ", 0) == 0 && line.size() > 10 &&
      line.compare(line.size() - 10, 10, " in Buffer") == 0)
    return "a buffer's data URI does not hold the bytes its byteLength declares, or is not base64";
  for (size_t at; (at = line.find("data:")) != std::string::npos;)
    line.replace(at, line.find(' ', at) == std::string::npos ? std::string::npos : line.find(' ', at) - at, "(data URI)");
  return line.size() > kMaxLength ? line.substr(0, kMaxLength) + "..." : line;
}

bool readTextures(const tinygltf::Model& gltf, DecodeBudget& budget, Model& model, std::string& error) {
  for (size_t i = 0; i < gltf.images.size(); ++i) {
    const tinygltf::Image& image = gltf.images[i];
    Texture texture;
    texture.name = image.name.empty() ? image.uri : image.name;
    std::vector<unsigned char> bytes = image.image;
    std::string why;
    if (image.bufferView >= 0 && !readBufferView(gltf, image.bufferView, budget, bytes, why)) {
      if (budget.exhausted()) return (error = why), false;
      model.warnings.push_back("image " + std::to_string(i) + ": " + why);
    }
    const bool png = bytes.size() >= 8 && std::memcmp(bytes.data(), "\x89PNG\r\n\x1a\n", 8) == 0;
    const bool jpeg = bytes.size() >= 3 && std::memcmp(bytes.data(), "\xFF\xD8\xFF", 3) == 0;
    if (png || jpeg)
      texture.file.assign(bytes.begin(), bytes.end());
    else
      model.warnings.push_back("image " + std::to_string(i) + " (" + texture.name +
                               ") could not be read as PNG or JPEG: its materials keep their colour");
    model.textures.push_back(std::move(texture));
  }
  return true;
}

int textureImage(const tinygltf::Model& gltf, const Model& model, int texture) {
  if (texture < 0 || static_cast<size_t>(texture) >= gltf.textures.size()) return -1;
  int image = gltf.textures[texture].source;
  if (image < 0 || static_cast<size_t>(image) >= model.textures.size() || model.textures[image].file.empty())
    return -1;
  return image;
}

void readMaterials(const tinygltf::Model& gltf, Model& model) {
  for (const tinygltf::Material& source : gltf.materials) {
    Material material;
    material.name = source.name;
    const std::vector<double>& base = source.pbrMetallicRoughness.baseColorFactor;
    material.baseColor = ts3d::color(number(base, 0, 1), number(base, 1, 1), number(base, 2, 1), number(base, 3, 1));
    const tinygltf::TextureInfo& baseTexture = source.pbrMetallicRoughness.baseColorTexture;
    if (baseTexture.index >= 0) {
      if (baseTexture.texCoord != 0)
        model.warnings.push_back("material " + source.name + ": its texture uses a second UV set, dropped");
      else
        material.texture = textureImage(gltf, model, baseTexture.index);
    }
    material.emissive = ts3d::color(number(source.emissiveFactor, 0, 0), number(source.emissiveFactor, 1, 0),
                                    number(source.emissiveFactor, 2, 0), 1);
    if (source.alphaMode == "MASK") material.alphaMode = AlphaMode::Mask;
    if (source.alphaMode == "BLEND") material.alphaMode = AlphaMode::Blend;
    material.alphaCutoff = static_cast<float>(source.alphaCutoff);
    material.doubleSided = source.doubleSided;
    model.materials.push_back(material);
  }
}

// The triangles of a strip or a fan over `vertices` as a list, each turned the way the file
// means it. The engine draws lists only. A triangle that repeats a vertex has no area (strips
// repeat vertices to join their runs) and is left out.
std::vector<uint32_t> triangleList(const std::vector<uint32_t>& vertices, int mode) {
  std::vector<uint32_t> list;
  for (size_t i = 0; i + 2 < vertices.size(); ++i) {
    uint32_t a = vertices[i], b = vertices[i + 1], c = vertices[i + 2];
    if (mode == kTriangleFan)
      a = vertices[0];
    else if (i % 2 == 1)
      std::swap(b, c);  // every other triangle of a strip runs the other way round
    if (a != b && b != c && a != c) list.insert(list.end(), {a, b, c});
  }
  return list;
}

bool readPrimitive(const tinygltf::Model& gltf, const tinygltf::Primitive& source, const Conversion& conversion,
                   DecodeBudget& budget, Primitive& primitive, std::string& error) {
  const std::map<std::string, int>& attributes = source.attributes;
  std::vector<float> values;
  if (!readFloats(gltf, attributes.at("POSITION"), 3, budget, values, error)) return false;
  for (size_t i = 0; i < values.size(); i += 3)
    primitive.positions.push_back(conversion.position(values[i], values[i + 1], values[i + 2]));
  if (auto normal = attributes.find("NORMAL"); normal != attributes.end()) {
    if (!readFloats(gltf, normal->second, 3, budget, values, error)) return false;
    for (size_t i = 0; i < values.size(); i += 3)
      primitive.normals.push_back(conversion.direction(values[i], values[i + 1], values[i + 2]));
  }
  if (auto uv = attributes.find("TEXCOORD_0"); uv != attributes.end()) {
    if (!readFloats(gltf, uv->second, 2, budget, values, error)) return false;
    for (size_t i = 0; i < values.size(); i += 2) primitive.texCoords.push_back({values[i], values[i + 1]});
  }
  if (auto colour = attributes.find("COLOR_0"); colour != attributes.end()) {
    const int components = accessorComponents(gltf, colour->second) == 3 ? 3 : 4;
    if (!readFloats(gltf, colour->second, components, budget, values, error)) return false;
    for (size_t i = 0; i < values.size(); i += components)
      primitive.colors.push_back(
          ts3d::color(values[i], values[i + 1], values[i + 2], components == 4 ? values[i + 3] : 1.0f));
  }
  if (source.indices >= 0) {
    if (!readUnsigned(gltf, source.indices, 1, budget, primitive.indices, error)) return false;
  } else {
    primitive.indices.resize(primitive.positions.size());
    for (size_t i = 0; i < primitive.indices.size(); ++i) primitive.indices[i] = static_cast<uint32_t>(i);
  }
  if (source.mode == kTriangleStrip || source.mode == kTriangleFan) {
    // The list holds up to three times as many.
    if (!budget.take(uint64_t(primitive.indices.size()) * 2 * sizeof(uint32_t), error)) return false;
    primitive.indices = triangleList(primitive.indices, source.mode);
  }
  else if (source.indices < 0)
    primitive.indices.resize(primitive.indices.size() - primitive.indices.size() % 3);
  return true;
}

bool readMeshes(const tinygltf::Model& gltf, const Conversion& conversion, DecodeBudget& budget, Model& model,
                std::string& error) {
  for (size_t m = 0; m < gltf.meshes.size(); ++m) {
    const tinygltf::Mesh& source = gltf.meshes[m];
    Mesh mesh;
    mesh.name = source.name;
    const std::string label = "mesh " + std::to_string(m) + (source.name.empty() ? "" : " (" + source.name + ")");
    for (size_t p = 0; p < source.primitives.size(); ++p) {
      const tinygltf::Primitive& part = source.primitives[p];
      if (!part.targets.empty()) model.warnings.push_back(label + ": morph targets dropped");
      if (part.attributes.count("TEXCOORD_1")) model.warnings.push_back(label + ": UV sets after the first dropped");
      if (part.mode != kTriangles && part.mode != kTriangleStrip && part.mode != kTriangleFan &&
          part.mode != kModeNotGiven) {
        model.warnings.push_back(label + ": primitive " + std::to_string(p) + " holds points or lines, dropped");
        continue;
      }
      if (!part.attributes.count("POSITION")) {
        model.warnings.push_back(label + ": primitive " + std::to_string(p) + " has no positions, dropped");
        continue;
      }
      Primitive primitive;
      primitive.sourcePrimitive = static_cast<int>(p);
      primitive.material = part.material >= 0 && static_cast<size_t>(part.material) < model.materials.size() ? part.material : -1;
      if (!readPrimitive(gltf, part, conversion, budget, primitive, error) || !addPrimitive(primitive, mesh, error)) {
        error = label + ", primitive " + std::to_string(p) + ": " + error;
        return false;
      }
    }
    model.meshes.push_back(std::move(mesh));
  }
  return true;
}

void readCamerasAndLights(const tinygltf::Model& gltf, Model& model) {
  for (const tinygltf::Camera& source : gltf.cameras) {
    Camera camera;
    if (source.type == "perspective") {
      camera.yfov = static_cast<float>(source.perspective.yfov);
      camera.znear = static_cast<float>(source.perspective.znear);
      if (source.perspective.zfar > source.perspective.znear) camera.zfar = static_cast<float>(source.perspective.zfar);
    }
    model.cameras.push_back(camera);
  }
  for (const tinygltf::Light& source : gltf.lights) {
    Light light;
    light.color = ts3d::color(number(source.color, 0, 1), number(source.color, 1, 1), number(source.color, 2, 1), 1);
    light.intensity = static_cast<float>(source.intensity);
    light.range = static_cast<float>(source.range);
    model.lights.push_back(light);
  }
}

int lightOf(const tinygltf::Node& source) {
  auto extension = source.extensions.find(kLightsExtension);
  if (extension == source.extensions.end() || !extension->second.Has("light")) return -1;
  const tinygltf::Value& light = extension->second.Get("light");
  return light.IsInt() ? light.GetNumberAsInt() : -1;
}

template <class T>
int checkedIndex(int index, const std::vector<T>& table) {
  return index >= 0 && static_cast<size_t>(index) < table.size() ? index : -1;
}

void placeNode(const tinygltf::Node& source, const Conversion& conversion, Node& node, Model& model) {
  if (source.matrix.size() == 16) {
    float columns[16];
    for (int i = 0; i < 16; ++i) columns[i] = static_cast<float>(source.matrix[i]);
    if (!conversion.decompose(columns, node.position, node.rotation, node.scale))
      model.warnings.push_back("node " + node.name + ": its matrix shears, kept as the nearest rotation and scale");
    return;
  }
  if (source.translation.size() == 3)
    node.position = conversion.position(number(source.translation, 0, 0), number(source.translation, 1, 0),
                                        number(source.translation, 2, 0));
  if (source.rotation.size() == 4) {
    node.rotation = conversion.rotation(number(source.rotation, 0, 0), number(source.rotation, 1, 0),
                                        number(source.rotation, 2, 0), number(source.rotation, 3, 1));
    D3DXQuaternionNormalize(&node.rotation, &node.rotation);
  }
  if (source.scale.size() == 3)
    node.scale = conversion.scaleFactors(number(source.scale, 0, 1), number(source.scale, 1, 1), number(source.scale, 2, 1));
}

bool readNodes(const tinygltf::Model& gltf, const Conversion& conversion, Model& model, std::string& error) {
  model.nodes.resize(gltf.nodes.size());
  for (size_t n = 0; n < gltf.nodes.size(); ++n) {
    const tinygltf::Node& source = gltf.nodes[n];
    Node& node = model.nodes[n];
    node.name = source.name.empty() ? "node " + std::to_string(n) : source.name;
    placeNode(source, conversion, node, model);
    if (checkedIndex(source.mesh, model.meshes) >= 0) node.meshes.push_back(source.mesh);
    const int camera = checkedIndex(source.camera, gltf.cameras);
    if (camera >= 0 && gltf.cameras[camera].type != "perspective")
      model.warnings.push_back("node " + node.name + ": orthographic camera dropped");
    else
      node.camera = camera;
    const int light = checkedIndex(lightOf(source), gltf.lights);
    if (light >= 0 && gltf.lights[light].type != "point")
      model.warnings.push_back("node " + node.name + ": " + gltf.lights[light].type + " light dropped");
    else
      node.light = light;
    node.skin = checkedIndex(source.skin, gltf.skins);
    for (int child : source.children) {
      if (child < 0 || static_cast<size_t>(child) >= gltf.nodes.size() || model.nodes[child].parent >= 0 ||
          child == static_cast<int>(n)) {
        error = "node " + std::to_string(n) + " has a child " + std::to_string(child) + " that is missing or not its own";
        return false;
      }
      model.nodes[child].parent = static_cast<int>(n);
    }
  }
  // Walking up from every node must end at a root.
  for (size_t n = 0; n < model.nodes.size(); ++n) {
    size_t steps = 0;
    for (int at = static_cast<int>(n); at >= 0; at = model.nodes[at].parent)
      if (++steps > model.nodes.size()) {
        error = "node " + std::to_string(n) + " is its own ancestor";
        return false;
      }
  }
  return true;
}

}  // namespace

bool readGltf(const std::vector<uint8_t>& bytes, FolderFiles& files, const Conversion& conversion, Model& model,
              std::string& error) {
  tinygltf::TinyGLTF parser;
  Callbacks callbacks(files);
  parser.SetFsCallbacks(callbacks.callbacks);
  parser.SetImageLoader(keepImageBytes, nullptr);
  tinygltf::Model gltf;
  std::string parseError, parseWarning;
  const bool binary = bytes.size() >= 4 && std::memcmp(bytes.data(), "glTF", 4) == 0;
  if (binary && !checkGlb(bytes, error)) return false;
  const bool parsed =
      binary ? parser.LoadBinaryFromMemory(&gltf, &parseError, &parseWarning, bytes.data(),
                                           static_cast<unsigned int>(bytes.size()), files.base())
             : parser.LoadASCIIFromString(&gltf, &parseError, &parseWarning, reinterpret_cast<const char*>(bytes.data()),
                                          static_cast<unsigned int>(bytes.size()), files.base());
  if (!files.refusedName().empty()) {
    error = "'" + files.refusedName() + "' lies outside the model's folder";
    return false;
  }
  if (!parsed) {
    error = parseError.empty() ? "not a glTF file" : parserMessage(parseError);
    return false;
  }
  addWarningLines(parseWarning, model);
  DecodeBudget budget;
  if (!readTextures(gltf, budget, model, error)) return false;
  readMaterials(gltf, model);
  readCamerasAndLights(gltf, model);
  return readMeshes(gltf, conversion, budget, model, error) && readNodes(gltf, conversion, model, error) &&
         readMotion(gltf, conversion, budget, model, error);
}

}  // namespace tsimport

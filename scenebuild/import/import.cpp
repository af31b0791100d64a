#include "scenebuild/import/import.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "scenebuild/import/folder_files.h"
#include "scenebuild/import/gltf_reader.h"
#include "scenebuild/import/obj_reader.h"

namespace tsimport {

namespace {

constexpr float kDefaultFieldOfView = 0.8f;  // radians, vertical
constexpr float kFrameMargin = 1.1f;         // the bounding sphere's share of the view, inverted
// Seen from the front, a little from the right and above: the model shows depth.
const ts3d::vect3 kDefaultViewDirection(0.35f, 0.45f, 1.0f);

std::string folderOf(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string lowerExtension(const std::string& path) {
  const size_t dot = path.find_last_of('.');
  std::string extension = dot == std::string::npos ? "" : path.substr(dot + 1);
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension;
}

ts3d::matrix localMatrix(const Node& node) {
  ts3d::matrix scaling, rotating, translating, scaledRotated, local;
  D3DXMatrixScaling(&scaling, node.scale.x, node.scale.y, node.scale.z);
  D3DXMatrixRotationQuaternion(&rotating, &node.rotation);
  D3DXMatrixTranslation(&translating, node.position.x, node.position.y, node.position.z);
  D3DXMatrixMultiply(&scaledRotated, &scaling, &rotating);
  D3DXMatrixMultiply(&local, &scaledRotated, &translating);
  return local;
}

// A camera node at the front of the model's bounding sphere, looking at its centre, and a light
// beside the camera; nothing for what the model has.
void addDefaults(Model& model) {
  const bool hasCamera = std::any_of(model.nodes.begin(), model.nodes.end(), [](const Node& n) { return n.camera >= 0; });
  const bool hasLight = std::any_of(model.nodes.begin(), model.nodes.end(), [](const Node& n) { return n.light >= 0; });
  if (hasCamera && hasLight) return;
  ts3d::vect3 low(-1, -1, -1), high(1, 1, 1);
  bounds(model, low, high);
  const ts3d::vect3 centre = (low + high) * 0.5f;
  const ts3d::vect3 half = (high - low) * 0.5f;
  const float radius = std::max(D3DXVec3Length(&half), 1e-3f);
  const float distance = kFrameMargin * radius / std::sin(kDefaultFieldOfView / 2);
  ts3d::vect3 back;
  D3DXVec3Normalize(&back, &kDefaultViewDirection);
  Node place;
  place.position = centre + back * distance;
  // The camera looks along its -Z with +Y up: its Z axis points back from the centre.
  ts3d::vect3 up(0, 1, 0), side, trueUp;
  D3DXVec3Cross(&side, &up, &back);
  D3DXVec3Normalize(&side, &side);
  D3DXVec3Cross(&trueUp, &back, &side);
  ts3d::matrix axes(side.x, side.y, side.z, 0, trueUp.x, trueUp.y, trueUp.z, 0, back.x, back.y, back.z, 0, 0, 0, 0, 1);
  D3DXQuaternionRotationMatrix(&place.rotation, &axes);
  if (!hasCamera) {
    Camera camera;
    camera.yfov = kDefaultFieldOfView;
    camera.znear = std::max(distance - 2 * radius, distance / 100);
    camera.zfar = distance + 2 * radius;
    Node node = place;
    node.name = "default camera";
    node.camera = static_cast<int>(model.cameras.size());
    model.cameras.push_back(camera);
    model.nodes.push_back(node);
    model.notes.push_back("no camera: a default one frames the model");
  }
  if (!hasLight) {
    Light light;
    light.range = 4 * (distance + radius);
    Node node = place;
    node.name = "default light";
    node.light = static_cast<int>(model.lights.size());
    model.lights.push_back(light);
    model.nodes.push_back(node);
    model.notes.push_back("no light: a default one shines from the camera's side");
  }
}

}  // namespace

bool formatOf(const std::string& path, Format& format) {
  const std::string extension = lowerExtension(path);
  if (extension == "gltf" || extension == "glb") return (format = Format::Gltf), true;
  if (extension == "obj") return (format = Format::Obj), true;
  return false;
}

bool importBytes(const std::vector<uint8_t>& bytes, Format format, const std::string& folder,
                 const Conversion& conversion, Model& model, std::string& error) {
  FolderFiles files(folder);
  Model read;
  const bool ok = format == Format::Obj ? readObj(bytes, files, conversion, read, error)
                                        : readGltf(bytes, files, conversion, read, error);
  if (!ok) return false;
  addDefaults(read);
  model = std::move(read);
  return true;
}

bool importFile(const std::string& path, const Conversion& conversion, Model& model, std::string& error) {
  Format format;
  std::vector<uint8_t> bytes;
  if (!formatOf(path, format))
    error = "not a .gltf, .glb or .obj file";
  else if (!FolderFiles::readBounded(path, bytes))
    error = "missing, unreadable or larger than " + std::to_string(FolderFiles::kMaxFileBytes >> 20) + " MB";
  else if (importBytes(bytes, format, folderOf(path), conversion, model, error))
    return true;
  error = path + ": " + error;
  return false;
}

std::vector<ts3d::matrix> worldMatrices(const Model& model) {
  std::vector<ts3d::matrix> world(model.nodes.size());
  std::vector<bool> done(model.nodes.size(), false);
  for (size_t n = 0; n < model.nodes.size(); ++n) {
    // The chain up to the first node already placed, then placed downwards.
    std::vector<int> chain;
    for (int at = static_cast<int>(n); at >= 0 && !done[at]; at = model.nodes[at].parent) chain.push_back(at);
    for (auto at = chain.rbegin(); at != chain.rend(); ++at) {
      world[*at] = localMatrix(model.nodes[*at]);
      const int parent = model.nodes[*at].parent;
      if (parent >= 0) D3DXMatrixMultiply(&world[*at], &world[*at], &world[parent]);
      done[*at] = true;
    }
  }
  return world;
}

bool bounds(const Model& model, ts3d::vect3& low, ts3d::vect3& high) {
  const std::vector<ts3d::matrix> world = worldMatrices(model);
  bool found = false;
  for (size_t n = 0; n < model.nodes.size(); ++n)
    for (int mesh : model.nodes[n].meshes)
      for (const MeshPart& part : model.meshes[mesh].parts)
        for (const ts3d::vect3& position : part.positions) {
          ts3d::vect3 placed;
          D3DXVec3TransformCoord(&placed, &position, &world[n]);
          if (!found) low = high = placed;
          D3DXVec3Minimize(&low, &low, &placed);
          D3DXVec3Maximize(&high, &high, &placed);
          found = true;
        }
  return found;
}

}  // namespace tsimport

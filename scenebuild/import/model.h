#pragma once

// What an imported file holds, in the engine's own coordinates (right-handed, +Y up, as glTF
// and OBJ; the engine's maths takes row vectors), before any engine object exists: the
// platform-free half of the importer. The readers of each format fill it; the Windows half
// turns it into a scene.

#include <cstdint>
#include <string>
#include <vector>

#include "scene/value_types.h"

namespace tsimport {

// Linear keys, times ascending, one value per time.
template <class T>
struct Track {
  std::vector<float> times;
  std::vector<T> values;
};

struct NodeAnimation {
  Track<ts3d::vect3> position;
  Track<ts3d::quat> rotation;
  Track<ts3d::vect3> scale;
};

// Up to four joints of a vertex: joints index Skin::joints, weights sum to 1.
struct Influence {
  uint8_t joints[4];
  float weights[4];
};

struct Skin {
  std::vector<int> joints;  // node indices
  std::vector<ts3d::matrix> inverseBind;
};

struct Node {
  std::string name;
  int parent = -1;
  ts3d::vect3 position{0, 0, 0};
  ts3d::quat rotation{0, 0, 0, 1};
  ts3d::vect3 scale{1, 1, 1};
  std::vector<int> meshes;
  int camera = -1;
  int light = -1;
  int skin = -1;
  NodeAnimation animation;
};

struct TexCoord {
  float u, v;
};

// The vertices of one material within a mesh, at most kMaxPartVertices of them, and its
// triangles wound counter-clockwise seen from the front (glTF's and the engine's convention).
struct MeshPart {
  int material = -1;  // index into Model::materials; -1: the default material
  std::vector<ts3d::vect3> positions;
  std::vector<ts3d::vect3> normals;
  std::vector<TexCoord> texCoords;      // empty or one per vertex
  std::vector<ts3d::color> colors;      // empty or one per vertex
  std::vector<uint16_t> indices;        // three per triangle
  std::vector<Influence> influences;    // empty unless skinned
  // Where the vertices came from, for readers of per-vertex data added later (skin weights):
  // the glTF primitive within its mesh (-1 for OBJ) and each vertex's index among its own.
  int sourcePrimitive = -1;
  std::vector<uint32_t> sourceVertices;
};

// Parts share one index space: 16-bit indices reach this many vertices.
constexpr uint32_t kMaxPartVertices = 65535;

struct Mesh {
  std::string name;
  std::vector<MeshPart> parts;
};

enum class AlphaMode { Opaque, Mask, Blend };

struct Material {
  std::string name;
  ts3d::color baseColor{1, 1, 1, 1};
  int texture = -1;  // index into Model::textures
  ts3d::color emissive{0, 0, 0, 0};
  AlphaMode alphaMode = AlphaMode::Opaque;
  float alphaCutoff = 0.5f;
  bool doubleSided = false;
};

// An image file's bytes as found (PNG or JPEG), decoded only by the engine.
struct Texture {
  std::string name;
  std::vector<uint8_t> file;
};

struct Camera {
  float yfov = 0.8f;  // radians
  float znear = 0.1f;
  float zfar = 1000.0f;
};

struct Light {
  ts3d::color color{1, 1, 1, 1};
  float intensity = 1.0f;
  float range = 0.0f;  // 0: unbounded
};

// Nodes, meshes, cameras and skins keep the glTF file's numbering, so that what refers to them
// by index there (animation channels, skins' joints) does here too. A parent may come after
// its children; the readers refuse cycles and nodes with two parents.
struct Model {
  std::vector<Node> nodes;
  std::vector<Mesh> meshes;
  std::vector<Material> materials;
  std::vector<Texture> textures;
  std::vector<Camera> cameras;
  std::vector<Light> lights;
  std::vector<Skin> skins;
  std::vector<std::string> warnings;  // what was dropped
  std::vector<std::string> notes;     // what was made up: default camera, light
};

// A parser's warnings, one a line, as the model's.
void addWarningLines(const std::string& lines, Model& model);

enum class UpAxis { Y, Z };

// The one place where a file's coordinates become the engine's. Both are right-handed, so with
// +Y up only the scale applies; with +Z up (asked for) everything turns -90 degrees about X.
// A proper rotation keeps the triangles' winding.
class Conversion {
 public:
  explicit Conversion(float scale = 1.0f, UpAxis upAxis = UpAxis::Y) : factor(scale), up(upAxis) {}

  // A point: positions, translations.
  ts3d::vect3 position(float x, float y, float z) const;
  // A direction: normals. Not scaled.
  ts3d::vect3 direction(float x, float y, float z) const;
  // Scale factors along the file's axes, put along ours.
  ts3d::vect3 scaleFactors(float x, float y, float z) const;
  ts3d::quat rotation(float x, float y, float z, float w) const;
  // A column-major column-vector matrix of the file (16 floats) as a row-vector matrix of ours.
  ts3d::matrix matrix(const float columnMajor[16]) const;
  // A column-major matrix split into position, rotation and scale; false if it has shear or
  // no inverse (the parts are then the nearest the decomposition gives).
  bool decompose(const float columnMajor[16], ts3d::vect3& position, ts3d::quat& rotation,
                 ts3d::vect3& scale) const;

 private:
  ts3d::vect3 turned(float x, float y, float z) const;

  float factor;
  UpAxis up;
};

}  // namespace tsimport

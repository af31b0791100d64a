#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "geometry/geometry.h"
#include "platform/com_ptr.h"

namespace ts3d {

class GeometryComposite;

// A triangle list, held twice: as plain vectors (what files store and every computation
// reads) and as one vertex and one index buffer on the device (what is drawn). The vertex
// layout follows from which vectors are filled; see computeVertexFormat.
//
// Body of "GOSM", version 1: int32 flags; int32 vertex count (flag 0x1); int32 face count
// (0x2); with 0x1: positions (0x100), normals (0x200), colours r g b a (0x800), then an
// int32 channel count and each channel's u v pairs (0x400); faces as three int16 (0x2);
// int32 count and four int16 per auxiliary record (0x4).
class GeometrySimple : public Geometry {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("GOSM");
  static constexpr int32_t kVersion = 1;

  // Flags of the chunk body.
  static constexpr uint32_t kFlagVertices = 0x1;
  static constexpr uint32_t kFlagFaces = 0x2;
  static constexpr uint32_t kFlagAuxiliary = 0x4;
  static constexpr uint32_t kFlagFaceList = 0x10;  // written with kFlagFaces, read by nobody
  static constexpr uint32_t kFlagPositions = 0x100;
  static constexpr uint32_t kFlagNormals = 0x200;
  static constexpr uint32_t kFlagChannels = 0x400;
  static constexpr uint32_t kFlagColors = 0x800;
  static constexpr uint32_t kFlagDynamicVertices = 0x10000;
  static constexpr uint32_t kFlagDynamicIndices = 0x20000;
  static constexpr uint32_t kFlagTangentSpace = 0x40000;

  // Bits of updateBuffers' mask.
  static constexpr uint32_t kUpdatePositions = 0x1;
  static constexpr uint32_t kUpdateNormals = 0x2;
  static constexpr uint32_t kUpdateColors = 0x4;
  static constexpr uint32_t kUpdateChannel0 = 0x100;  // shifted left by the channel number
  static constexpr uint32_t kUpdateVertices = 0xFFFF;  // every element of a vertex
  static constexpr uint32_t kUpdateIndices = 0x10000;

  // A vertex format holds at most eight coordinate sets; tangent space takes two of them.
  static constexpr uint32_t kMaxCoordinateSets = 8;

  explicit GeometrySimple(bool dynamicVertexBuffer = false, bool dynamicIndexBuffer = false);
  ~GeometrySimple() override;
  GeometrySimple(const GeometrySimple&) = delete;
  GeometrySimple& operator=(const GeometrySimple&) = delete;

  // Refuses (fails the stream) counts beyond the bytes left. What can't be drawn safely is
  // made safe in this object alone: coordinate sets beyond what a vertex format holds are
  // stepped over, per-vertex vectors take the length of positions, and faces naming
  // vertices that don't exist are dropped.
  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;
  void draw() override;
  BoundingSphere boundingSphere() override;
  BoundingBox boundingBox() override;
  Plane plane() override;
  void prepare() override {}
  void createResources() override;

  // Bakes a matrix into positions and normals; the device buffers stay as they are.
  virtual void transform(const matrix& m);
  // Reverses the winding of every face.
  virtual void flipFaces();
  virtual void computeVertexFormat(uint32_t* fvf, uint32_t* stride);
  // A new composite (the caller's) with groupCount children: child g holds the faces whose
  // entry in faceGroups (one per face) is g, in their order, and only the vertices they use.
  // Faces without an entry, or with one beyond groupCount, go nowhere. Positions, normals,
  // colours and texture channels are carried; tangent space, records and buffers are not.
  virtual GeometryComposite* split(const std::vector<uint32_t>& faceGroups, uint32_t groupCount);
  // Copies the parts named by mask (kUpdate*) from the vectors to the device buffers. A
  // dynamic vertex buffer whose every element is named is discarded rather than rewritten
  // in place.
  virtual void updateBuffers(uint32_t mask);

  // Fills weldedFaces: faces with every vertex renumbered to the first vertex of bitwise
  // equal position, so an edge split by a texture or normal seam is one edge.
  void weldPositions();

  uint32_t vertexCount() const { return static_cast<uint32_t>(positions.size()); }
  uint32_t faceCount() const { return static_cast<uint32_t>(faces.size()); }

  std::vector<Face> faces;
  std::vector<Face> weldedFaces;
  std::vector<vect3> positions;
  std::vector<vect3> normals;
  std::vector<TextureChannel> textureChannels;
  std::vector<color> colors;
  platform::ComPtr<IDirect3DVertexBuffer9> vertexBuffer;
  platform::ComPtr<IDirect3DIndexBuffer9> indexBuffer;
  std::vector<AuxiliaryRecord> auxiliaryRecords;
  std::vector<vect3> tangents;
  std::vector<vect3> binormals;
  bool hasTangentSpace = false;
  bool dynamicVertices;
  bool dynamicIndices;
  uint32_t vertexFormat = 0;
  uint32_t vertexStride = 0;
  bool boxValid = false;
  BoundingBox box = emptyBox();

  static BoundingBox emptyBox();

 protected:
  // The body of the chunk, for a class that stores it inside a chunk of its own.
  void storeBody(tsio::OutStream& out);
  void conformToVertices();
  // Makes both buffers for the vectors in the current vertexFormat and vertexStride and fills
  // them: the faces as they are, the vertices by writeAll on the locked vertex buffer.
  void createBuffers(bool dynamicVertexBuffer, const std::function<void(uint8_t*)>& writeAll);
  // A new child of split holding the vertices at oldNumbers (their numbers here), no faces.
  virtual GeometrySimple* splitChild(const std::vector<uint32_t>& oldNumbers) const;
  void copyVertices(GeometrySimple& child, const std::vector<uint32_t>& oldNumbers) const;

  // The entries of values at the given old vertex numbers, in order; a number beyond values
  // (a vector shorter than the positions) gives a default entry.
  template <class T>
  static std::vector<T> gather(const std::vector<T>& values, const std::vector<uint32_t>& oldNumbers) {
    std::vector<T> result;
    result.reserve(oldNumbers.size());
    for (uint32_t old : oldNumbers) result.push_back(old < values.size() ? values[old] : T());
    return result;
  }

  // What the current buffers were made for. updateBuffers and draw follow it rather than
  // the vectors, which may have changed since, so no write or draw leaves the buffers.
  struct BufferLayout {
    uint32_t vertices = 0;
    uint32_t faces = 0;
    bool colors = false;
    bool normals = false;
    uint32_t channels = 0;
    bool tangentSpace = false;
    bool dynamicVertices = false;
    bool dynamicIndices = false;
  };

  void computeTangentSpace();
  // Writes the elements named by mask into a locked vertex buffer of the current layout;
  // elements not named keep their bytes. Tangent and binormal are always written.
  void writeVertices(uint8_t* destination, uint32_t mask) const;
  // True when writeVertices with mask leaves no byte of a vertex of the current layout as it was.
  bool rewritesWholeVertex(uint32_t mask) const;
  void releaseBuffers();

  BufferLayout layout;
};

}  // namespace ts3d

#include "geometry/geometry_composite.h"

#include <cfloat>
#include <cmath>
#include <utility>

#include "geometry/geometry_simple.h"
#include "io/trace.h"

namespace ts3d {

namespace {

// Grows running sphere a to hold b. The centre moves by the new radius itself (not by what
// the radius grew): files and scenes were made with spheres folded this way.
BoundingSphere fold(const BoundingSphere& a, const BoundingSphere& b) {
  const vect3 between = b.center - a.center;
  const float d = std::sqrt(between.x * between.x + between.y * between.y + between.z * between.z);
  if (a.radius > d + b.radius) return a;
  if (b.radius > d + a.radius) return b;
  const float r = (d + a.radius + b.radius) * 0.5f;
  BoundingSphere result;
  // Equal spheres on one centre have no direction between them; the centre stays.
  result.center = d > 0.0f ? a.center + between * (r / d) : a.center;
  result.radius = r;
  return result;
}

}  // namespace

GeometryComposite::GeometryComposite(std::vector<Geometry*> list) : children(std::move(list)) {}

GeometryComposite::~GeometryComposite() {
  for (Geometry* child : children) delete child;
}

bool GeometryComposite::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;

  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes)) return false;
  children.reserve(children.size() + count);
  // Children are taken as they come: a null or unknown one stays a null entry, which every
  // walk over the children passes by.
  for (uint32_t i = 0; i < count && in.isGood(); ++i) children.push_back(tsio::readOwned<Geometry>(in));
  return in.isGood();
}

void GeometryComposite::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeInt32(static_cast<int32_t>(children.size()));
  for (Geometry* child : children) out.writeObject(child);
}

void GeometryComposite::draw() {
  for (Geometry* child : children)
    if (child) child->draw();
}

void GeometryComposite::prepare() {
  for (Geometry* child : children)
    if (child) child->prepare();
}

void GeometryComposite::createResources() {
  for (Geometry* child : children)
    if (child) child->createResources();
}

BoundingSphere GeometryComposite::boundingSphere() {
  BoundingSphere sphere;
  sphere.radius = -FLT_MAX;  // any child's sphere replaces it
  for (Geometry* child : children)
    if (child) sphere = fold(sphere, child->boundingSphere());
  return sphere;
}

BoundingBox GeometryComposite::boundingBox() {
  BoundingBox box = GeometrySimple::emptyBox();
  for (Geometry* child : children) {
    if (!child) continue;
    const BoundingBox b = child->boundingBox();
    box.minimum.x = std::fmin(box.minimum.x, b.minimum.x);
    box.minimum.y = std::fmin(box.minimum.y, b.minimum.y);
    box.minimum.z = std::fmin(box.minimum.z, b.minimum.z);
    box.maximum.x = std::fmax(box.maximum.x, b.maximum.x);
    box.maximum.y = std::fmax(box.maximum.y, b.maximum.y);
    box.maximum.z = std::fmax(box.maximum.z, b.maximum.z);
  }
  return box;
}

GeometrySimple* GeometryComposite::merged() const {
  uint64_t total = 0;
  for (Geometry* child : children) {
    if (!child) continue;
    const GeometrySimple* simple = dynamic_cast<const GeometrySimple*>(child);
    if (!simple) {
      traceWarnIf(true, "GeometryComposite : only triangle lists can be merged; the shadow is left out");
      return nullptr;
    }
    total += simple->positions.size();
  }
  if (total > kMaxMergedVertices) {
    traceWarnIf(true, "GeometryComposite : %llu vertices are more than 16-bit faces can name; the shadow is left out",
                static_cast<unsigned long long>(total));
    return nullptr;
  }

  GeometrySimple* result = new GeometrySimple(false, false);
  for (Geometry* child : children) {
    if (!child) continue;
    const GeometrySimple* simple = static_cast<const GeometrySimple*>(child);
    const uint16_t base = static_cast<uint16_t>(result->positions.size());
    result->positions.insert(result->positions.end(), simple->positions.begin(), simple->positions.end());
    for (Face f : simple->faces) {
      for (uint16_t& v : f.vertex) v = static_cast<uint16_t>(v + base);
      result->faces.push_back(f);
    }
  }
  return result;
}

}  // namespace ts3d

#include "tests/geometry/geometry_samples.h"

#include "io/chunk_registry.h"
#include "io/stream_composite.h"

namespace tstest {
namespace {

tsio::ChunkRegistrer<TrackedGeometry> trackedRegistrer(TrackedGeometry::kCode);
tsio::ChunkRegistrer<ShiftModifier> shiftRegistrer(ShiftModifier::kCode);
tsio::ChunkRegistrer<SetupModifier> setupRegistrer(SetupModifier::kCode);

void note(const char* what, int tag) { sampleJournal().push_back(std::string(what) + " " + std::to_string(tag)); }

}  // namespace

int TrackedGeometry::live = 0;
int TrackedGeometry::made = 0;
int ShiftModifier::live = 0;
int SetupModifier::live = 0;

std::vector<std::string>& sampleJournal() {
  static std::vector<std::string> journal;
  return journal;
}

void TrackedGeometry::store(tsio::OutStream& out) {
  // The body of a triangle list under this class's own code.
  class Recoding : public tsio::OutStreamComposite {
   public:
    explicit Recoding(tsio::OutStream* wrapped) : OutStreamComposite(wrapped, false) {}
    void beginChunk(uint32_t, int32_t version) override { inner->beginChunk(kCode, version); }
  };
  Recoding recoding(&out);
  GeometrySimple::store(recoding);
}

void TrackedGeometry::createResources() {
  ++resourceRuns;
  GeometrySimple::createResources();
}

void ShapeGeometry::draw() { note("draw", tag); }
void ShapeGeometry::prepare() { note("prepare", tag); }
void ShapeGeometry::createResources() { note("resources", tag); }

ts3d::Plane ShapeGeometry::plane() {
  ts3d::Plane p;
  p.d = 1.0f;
  return p;
}

bool ShiftModifier::load(tsio::InStream& in) {
  if (in.isChunked() && in.chunkVersion() != 1) return false;
  in.readFloat(&step);
  return true;
}

void ShiftModifier::store(tsio::OutStream& out) {
  out.beginChunk(kCode, 1);
  out.writeFloat(step);
}

bool ShiftModifier::canHandle(ts3d::Geometry* geometry) { return dynamic_cast<ts3d::GeometrySimple*>(geometry); }

ts3d::Geometry* ShiftModifier::createOutput(ts3d::Geometry* input) {
  inputsSeen.push_back(input);
  auto* output = new TrackedGeometry;
  apply(output, input);
  return output;
}

void ShiftModifier::apply(ts3d::Geometry* output, ts3d::Geometry* input) {
  auto* to = dynamic_cast<ts3d::GeometrySimple*>(output);
  auto* from = dynamic_cast<ts3d::GeometrySimple*>(input);
  if (!to || !from) return;
  to->positions = from->positions;
  for (ts3d::vect3& p : to->positions) p.x += step * time;
  to->faces = from->faces;
}

void ShiftModifier::setupRender() { note("shift setup", 0); }

bool SetupModifier::load(tsio::InStream& in) {
  if (in.isChunked() && in.chunkVersion() != 1) return false;
  in.readInt32(&tag);
  return true;
}

void SetupModifier::store(tsio::OutStream& out) {
  out.beginChunk(kCode, 1);
  out.writeInt32(tag);
}

void SetupModifier::apply(ts3d::Geometry*, ts3d::Geometry*) { note("setup apply", tag); }
void SetupModifier::setupRender() { note("setup", tag); }

}  // namespace tstest

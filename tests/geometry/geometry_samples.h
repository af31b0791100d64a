#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "geometry/geometry_simple.h"
#include "geometry/modifier.h"

// Geometries and modifiers for tests, registered under codes that no class of the system uses
// ("tGEO", "tMOD", "tRSM"); they count their instances so tests see that nothing leaks.
namespace tstest {

// What the samples did, in order ("draw 1", "setup 2", ...), for tests of call order.
std::vector<std::string>& sampleJournal();

// A triangle list that counts its instances and createResources calls, and numbers itself so
// that a test can tell a new object from one made at a freed address. Body: that of "GOSM".
class TrackedGeometry : public ts3d::GeometrySimple {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tGEO");

  TrackedGeometry() : serial(++made) { ++live; }
  ~TrackedGeometry() override { --live; }
  TrackedGeometry(const TrackedGeometry&) = delete;
  TrackedGeometry& operator=(const TrackedGeometry&) = delete;

  void store(tsio::OutStream& out) override;
  void createResources() override;

  const int serial;
  int resourceRuns = 0;

  static int live;
  static int made;
};

// A geometry of given bounds that only notes its calls in the journal under its tag.
class ShapeGeometry : public ts3d::Geometry {
 public:
  explicit ShapeGeometry(int shapeTag = 0) : tag(shapeTag) {}

  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream&) override {}
  void draw() override;
  ts3d::BoundingSphere boundingSphere() override { return sphere; }
  ts3d::BoundingBox boundingBox() override { return box; }
  ts3d::Plane plane() override;
  void prepare() override;
  void createResources() override;

  int tag;
  ts3d::BoundingSphere sphere;
  ts3d::BoundingBox box;
};

// Changes geometry: its output is a TrackedGeometry holding the input's positions and faces
// moved along x by step times the last update time. Body: float step.
class ShiftModifier : public ts3d::Modifier {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tMOD");

  explicit ShiftModifier(float shiftStep = 1.0f) : step(shiftStep) { ++live; }
  ~ShiftModifier() override { --live; }
  ShiftModifier(const ShiftModifier&) = delete;
  ShiftModifier& operator=(const ShiftModifier&) = delete;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;
  void update(float t) override { time = t; }
  bool modifiesGeometry() override { return true; }
  bool needsRenderSetup() override { return false; }
  bool canHandle(ts3d::Geometry* geometry) override;
  ts3d::Geometry* createOutput(ts3d::Geometry* input) override;
  void apply(ts3d::Geometry* output, ts3d::Geometry* input) override;
  void setupRender() override;

  float step;
  float time = 0.0f;
  std::vector<ts3d::Geometry*> inputsSeen;  // of createOutput, in order

  static int live;
};

// Only sets up rendering: notes "setup <tag>" in the journal. Body: int32 tag.
class SetupModifier : public ts3d::Modifier {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tRSM");

  explicit SetupModifier(int32_t setupTag = 0) : tag(setupTag) { ++live; }
  ~SetupModifier() override { --live; }
  SetupModifier(const SetupModifier&) = delete;
  SetupModifier& operator=(const SetupModifier&) = delete;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;
  void update(float t) override { time = t; }
  bool modifiesGeometry() override { return false; }
  bool needsRenderSetup() override { return true; }
  bool canHandle(ts3d::Geometry*) override { return true; }
  ts3d::Geometry* createOutput(ts3d::Geometry* input) override { return input; }
  void apply(ts3d::Geometry*, ts3d::Geometry*) override;
  void setupRender() override;

  int32_t tag;
  float time = -1.0f;

  static int live;
};

}  // namespace tstest

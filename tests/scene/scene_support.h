#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "geometry/geometry.h"
#include "geometry/geometry_simple.h"
#include "materials/material.h"
#include "materials/render_state_block.h"
#include "scene/atmospheric.h"
#include "scene/controller_transformation.h"
#include "scene/scene_hierarchy.h"
#include "scene/scene_renderer.h"
#include "scene/value_types.h"

// Small stand-ins for the parts of a scene that other libraries provide, each writing what
// happens to it into one shared log, so tests can state orders of calls.
namespace tstest {

std::vector<std::string>& eventLog();

// A material with a settable order and pass count. Applying a pass sends its render states
// and passes the vertex colour. Body of tMAT: string name, int32 order, uint32 passes.
class TestMaterial : public ts3d::Material {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tMAT");

  TestMaterial() = default;
  TestMaterial(std::string materialName, int orderValue) : name(std::move(materialName)), orderNumber(orderValue) {}

  void update(float) override {}
  int order() override { return orderNumber; }
  bool isComposite() override { return false; }
  uint32_t beginPasses(uint32_t subIndex) override;
  void applyPass(uint32_t pass) override;
  void endPasses() override;
  void prepare() override { ++prepared; }
  void createResources() override { eventLog().push_back("resources " + name); }

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  std::string name;
  int orderNumber = 1;
  uint32_t passes = 1;
  int begun = 0, applied = 0, ended = 0, prepared = 0;
  ts3d::RenderStateBlock states{ts3d::RenderStateBlock::AllGroups};
};

// Triangle data that only logs its draws and answers a fixed box. Not persisted.
class LoggedGeometry : public ts3d::Geometry {
 public:
  explicit LoggedGeometry(std::string geometryName) : name(std::move(geometryName)) {}

  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream&) override {}
  void draw() override { eventLog().push_back("draw " + name); }
  ts3d::BoundingSphere boundingSphere() override { return {}; }
  ts3d::BoundingBox boundingBox() override { return bounds; }
  ts3d::Plane plane() override { return {}; }
  void prepare() override {}
  void createResources() override { eventLog().push_back("resources " + name); }

  std::string name;
  ts3d::BoundingBox bounds;
};

// A renderer that draws the rest of the chain `passes` times and notes the scene's depth
// each time. Body of tREN: string name, uint32 passes.
class TestRenderer : public ts3d::SceneRenderer {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tREN");

  TestRenderer() = default;
  explicit TestRenderer(std::string rendererName) : name(std::move(rendererName)) {}

  void update(float time) override { eventLog().push_back("update " + name + " " + std::to_string(time)); }
  void render(ts3d::SceneHierarchy& scene, ts3d::Camera* camera) override;
  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  std::string name;
  uint32_t passes = 1;
  ts3d::Camera* seenCamera = nullptr;
};

// An atmospheric that logs enter (with the depth of a watched scene's renderer chain), leave
// and clear. Body of tATM: string name.
class TestAtmospheric : public ts3d::Atmospheric {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tATM");

  TestAtmospheric() = default;
  explicit TestAtmospheric(std::string atmosphereName) : name(std::move(atmosphereName)) {}

  void update(float time) override { eventLog().push_back("update " + name + " " + std::to_string(time)); }
  void enter(ts3d::Camera*) override;
  void leave() override { eventLog().push_back("leave " + name); }
  bool canClear() override { return true; }
  void clear(ts3d::Camera*, uint32_t flags, bool direct) override;
  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  std::string name;
  const ts3d::SceneHierarchy* watched = nullptr;
};

// A square of the given half size in the plane z = 0 (or y = 0 when inXY is false),
// centred on the origin, in one vertex colour.
ts3d::GeometrySimple* colouredSquare(const ts3d::color& colour, float half, bool inXY = true);

// A node transformation at a fixed place, or moving linearly from one place at time 0 to
// another at time 1.
ts3d::ControllerTransformation* placeAt(const ts3d::vect3& position);
ts3d::ControllerTransformation* movingFrom(const ts3d::vect3& start, const ts3d::vect3& end);

// A scene with a member in every list, a tree whose one node aims at a node stored later, a
// mesh sharing the material and hanging on a node, and a background that stands in no list.
// Tree: root with children aimer (at 0, -10, 0, target: leaf) and holder (at 1, 0, 0), which
// has the child leaf (at 0, 1, 0); the mesh and the camera hang on holder and aimer.
ts3d::SceneHierarchy* sampleScene();

}  // namespace tstest

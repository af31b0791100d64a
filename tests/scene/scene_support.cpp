#include "tests/scene/scene_support.h"

#include "context/context.h"
#include "io/chunk_registry.h"
#include "scene/camera.h"
#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "scene/hierarchy_node.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/scene_hierarchy.h"

namespace tstest {

namespace {

// Kept in the test program: its object file is linked whole.
tsio::ChunkRegistrer<TestMaterial> materialRegistrer(TestMaterial::kCode);
tsio::ChunkRegistrer<TestRenderer> rendererRegistrer(TestRenderer::kCode);
tsio::ChunkRegistrer<TestAtmospheric> atmosphereRegistrer(TestAtmospheric::kCode);

}  // namespace

std::vector<std::string>& eventLog() {
  static std::vector<std::string> log;
  return log;
}

uint32_t TestMaterial::beginPasses(uint32_t) {
  ++begun;
  eventLog().push_back("begin " + name);
  return passes;
}

void TestMaterial::applyPass(uint32_t pass) {
  ++applied;
  eventLog().push_back("pass " + name + " " + std::to_string(pass));
  if (ts3d::Context* context = ts3d::Context::instance) {
    context->applyRenderState(states);
    context->resetTextureStages();
  }
}

void TestMaterial::endPasses() {
  ++ended;
  eventLog().push_back("end " + name);
}

bool TestMaterial::load(tsio::InStream& in) {
  in.readString(name);
  int32_t value = 0;
  in.readInt32(&value);
  orderNumber = value;
  in.readUint32(&passes);
  return in.isGood();
}

void TestMaterial::store(tsio::OutStream& out) {
  out.beginChunk(kCode, 1);
  out.writeString(name);
  out.writeInt32(orderNumber);
  out.writeUint32(passes);
}

void TestRenderer::render(ts3d::SceneHierarchy& scene, ts3d::Camera* camera) {
  seenCamera = camera;
  for (uint32_t pass = 0; pass < passes; ++pass) {
    eventLog().push_back("render " + name + " at depth " + std::to_string(scene.rendererDepth));
    scene.render();
  }
}

bool TestRenderer::load(tsio::InStream& in) {
  in.readString(name);
  in.readUint32(&passes);
  return in.isGood();
}

void TestRenderer::store(tsio::OutStream& out) {
  out.beginChunk(kCode, 1);
  out.writeString(name);
  out.writeUint32(passes);
}

void TestAtmospheric::enter(ts3d::Camera*) {
  eventLog().push_back("enter " + name + (watched ? " at depth " + std::to_string(watched->rendererDepth) : ""));
}

void TestAtmospheric::clear(ts3d::Camera*, uint32_t flags, bool direct) {
  eventLog().push_back("clear " + name + " " + std::to_string(flags) + (direct ? " direct" : ""));
}

bool TestAtmospheric::load(tsio::InStream& in) {
  in.readString(name);
  return in.isGood();
}

void TestAtmospheric::store(tsio::OutStream& out) {
  out.beginChunk(kCode, 1);
  out.writeString(name);
}

ts3d::GeometrySimple* colouredSquare(const ts3d::color& colour, float half, bool inXY) {
  auto* square = new ts3d::GeometrySimple;
  if (inXY)
    square->positions = {ts3d::vect3(-half, -half, 0), ts3d::vect3(-half, half, 0), ts3d::vect3(half, -half, 0),
                         ts3d::vect3(half, half, 0)};
  else
    square->positions = {ts3d::vect3(-half, 0, -half), ts3d::vect3(-half, 0, half), ts3d::vect3(half, 0, -half),
                         ts3d::vect3(half, 0, half)};
  square->colors.assign(4, colour);
  ts3d::Face first, second;
  first.vertex[0] = 0, first.vertex[1] = 1, first.vertex[2] = 2;
  second.vertex[0] = 2, second.vertex[1] = 1, second.vertex[2] = 3;
  square->faces = {first, second};
  return square;
}

ts3d::ControllerTransformation* placeAt(const ts3d::vect3& position) {
  auto* place = new ts3d::ControllerTransformation;
  place->positionController = new ts3d::controller::Const<ts3d::vect3>(position);
  place->addController(place->positionController);
  return place;
}

ts3d::ControllerTransformation* movingFrom(const ts3d::vect3& start, const ts3d::vect3& end) {
  auto* place = new ts3d::ControllerTransformation;
  auto* track = new ts3d::controller::Linear<ts3d::vect3>;
  track->addKey(ts3d::controller::LinearKey<ts3d::vect3>(0.0f, start));
  track->addKey(ts3d::controller::LinearKey<ts3d::vect3>(1.0f, end));
  place->positionController = track;
  place->addController(track);
  return place;
}

ts3d::SceneHierarchy* sampleScene() {
  auto* scene = new ts3d::SceneHierarchy;
  auto* stone = new TestMaterial("stone", 1);
  scene->materials = {stone};

  auto* root = new ts3d::HierarchyNode;
  root->transformation = placeAt(ts3d::vect3(0, 0, 0));
  auto* aimer = new ts3d::HierarchyNode;
  aimer->transformation = placeAt(ts3d::vect3(0, -10, 0));
  auto* holder = new ts3d::HierarchyNode;
  holder->transformation = placeAt(ts3d::vect3(1, 0, 0));
  auto* leaf = new ts3d::HierarchyNode;
  leaf->transformation = placeAt(ts3d::vect3(0, 1, 0));
  aimer->target = leaf;
  aimer->rollController = new ts3d::controller::Const<float>(0.0f);
  root->children = {aimer, holder};
  holder->children = {leaf};
  aimer->parent = holder->parent = root;
  leaf->parent = holder;
  scene->root = root;

  auto* mesh = new ts3d::MeshSimple;
  mesh->setGeometry(colouredSquare(ts3d::color(1, 0, 0, 1), 0.5f));
  mesh->setMaterial(stone);
  mesh->transformation = holder;
  scene->meshes = {mesh};

  auto* camera = new ts3d::CameraSimple;
  camera->transformation = aimer;
  camera->fovController = new ts3d::controller::Const<float>(1.0f);
  camera->addController(camera->fovController);
  scene->cameras = {camera};
  scene->activeCamera = camera;

  auto* light = new ts3d::LightOmni;
  light->included = {mesh};
  scene->lights = {light};
  scene->shadowLight = light;

  scene->atmospheres = {new TestAtmospheric("fog")};
  scene->overlays = {new TestAtmospheric("sky")};
  scene->background = new TestAtmospheric("back");
  scene->renderers = {new TestRenderer("pass")};
  return scene;
}

}  // namespace tstest

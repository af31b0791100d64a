// The scene engine's own cost per frame and its device traffic, on a stress scene of 1,000
// meshes over 20 materials made with the scene builder:
//  - update plus queue building and sorting (no drawing), in microseconds per mesh, against
//    the least any engine must do per mesh (one world product and one camera-space point);
//  - through the recording proxy device, SetRenderState and SetTextureStageState calls of
//    one drawn frame, and how many of them re-set a value the device already held;
//  - drawing the same 1,000 boxes with one MaterialFX, whose vertex shader each box's
//    MaterialFXModifier feeds WORLDVIEWPROJECTION, against one MaterialSimple: time per box;
//  - those boxes through each post-process (bloom's blur, the channel grade, depth of field)
//    against the plain frame at 640 x 480, with the render-target switches of one frame
//    beside the count that the renderer's passes call for;
//  - the shadow silhouette of a 10,000-triangle mesh from a moving light, per frame, against
//    one dot product per face over the same face data.
//  - skinning 10,000 vertices over 64 bones on the processor against four plain matrix
//    transforms per vertex.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "context/context.h"
#include "geometry/geometry_weighted.h"
#include "geometry/modifier_skin.h"
#include "geometry/shadow_volume.h"
#include "materials/material_fx.h"
#include "renderers/scene_renderer_blur.h"
#include "renderers/scene_renderer_channels.h"
#include "renderers/scene_renderer_dof.h"
#include "scene/controller/const.h"
#include "scene/render_queue.h"
#include "scene/scene_hierarchy.h"
#include "scenebuild/scene_builder.h"
#include "tests/device/test_device.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/renderers/effect_sources.h"
#include "tests/support/proxy_device.h"

namespace {

using Clock = std::chrono::steady_clock;
using scenebuild::constant;
using scenebuild::keyed;
using ts3d::color;
using ts3d::vect3;

constexpr int kMeshes = 1000, kMaterials = 20;

IDirect3DDevice9* wrap(IDirect3DDevice9* real) {
  // The proxy takes its own reference; the one given here goes with this scope.
  const platform::ComPtr<IDirect3DDevice9> given(real);
  return tstest::ProxyDevice::create(real);
}

// Place i of a grid of 40 columns in front of the camera.
vect3 gridPoint(int i) {
  return vect3(static_cast<float>(i % 40) * 1.5f - 30.0f, static_cast<float>(i / 40) * 1.5f - 18.0f, 0.0f);
}

// A grid of boxes in front of the camera, every third one moving; materials differ in
// colour, and some in blending, culling and a texture stage, as a real scene's would.
ts3d::SceneHierarchy* stressScene() {
  scenebuild::SceneBuilder builder;
  ts3d::HierarchyNode* root = builder.root();
  builder.camera(builder.node(root, vect3(0, 0, 60)), 1.0f, 1.0f, 500.0f);
  builder.light(builder.node(root, vect3(50, 50, 80)), color(1, 1, 1, 1), 1000.0f, color(0.1f, 0.1f, 0.1f, 1));
  std::vector<uint8_t> rgb(16 * 16 * 3);
  for (size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<uint8_t>(i * 7);
  ts3d::Texture* texture = builder.texture(tstest::encodePng(16, 16, 3, rgb.data()));
  std::vector<ts3d::MaterialSimple*> materials;
  for (int m = 0; m < kMaterials; ++m) {
    scenebuild::MaterialSettings settings;
    settings.diffuse = color(0.2f + 0.04f * static_cast<float>(m), 0.5f, 1.0f - 0.04f * static_cast<float>(m), 1);
    settings.power = (m % 4 == 0) ? 20.0f : 0.0f;
    if (m % 5 == 4) {
      settings.alphaBlend = true;
      settings.order = 3;
      settings.diffuse.a = 0.5f;
    }
    ts3d::MaterialSimple* material = builder.material(settings);
    if (m % 3 == 0) material->renderStates().cullMode = ts3d::CullNone;
    if (m % 2 == 1) builder.stage(material, texture);
    materials.push_back(material);
  }
  const scenebuild::Shape box = scenebuild::box(0.8f, 0.8f, 0.8f);
  for (int i = 0; i < kMeshes; ++i) {
    const vect3 at = gridPoint(i);
    ts3d::HierarchyNode* node =
        i % 3 == 0 ? builder.node(root, keyed<vect3>({{0.0f, at}, {10.0f, at + vect3(0, 0, 5)}})) : builder.node(root, at);
    builder.mesh(node, box, materials[static_cast<size_t>(i % kMaterials)]);
  }
  return builder.release();
}

// The grid of boxes, still, all with one material: the effect of effectPath with a modifier in
// every box's stack, or a plain lit one when effectPath is empty.
ts3d::SceneHierarchy* oneMaterialScene(const std::string& effectPath) {
  scenebuild::SceneBuilder builder;
  ts3d::HierarchyNode* root = builder.root();
  builder.camera(builder.node(root, vect3(0, 0, 60)), 1.0f, 1.0f, 500.0f);
  builder.light(builder.node(root, vect3(50, 50, 80)), color(1, 1, 1, 1), 1000.0f);
  ts3d::MaterialFX* effect = effectPath.empty() ? nullptr : builder.effectMaterial(effectPath);
  ts3d::Material* material = effect ? static_cast<ts3d::Material*>(effect) : builder.material({});
  const scenebuild::Shape box = scenebuild::box(0.8f, 0.8f, 0.8f);
  for (int i = 0; i < kMeshes; ++i) {
    ts3d::MeshSimple* mesh = builder.mesh(builder.node(root, gridPoint(i)), box, material);
    if (effect) mesh->addModifier(new ts3d::MaterialFXModifier(effect));
  }
  return builder.release();
}

// Microseconds per mesh of drawing whole frames, until the device has finished them; the
// draw calls of one frame in draws.
double drawingCost(ts3d::SceneHierarchy* scene, tstest::ProxyDevice* proxy, size_t& draws) {
  constexpr int kFrames = 100;
  ts3d::Context* context = ts3d::Context::instance;
  scene->createResources();
  scene->update(0.0f);
  const auto frame = [&] {
    proxy->clearLog();
    context->beginScene();
    scene->clear(0.0f);
    scene->render();
    context->endScene();
  };
  frame();  // makes the device buffers
  frame();
  draws = proxy->count(tstest::DeviceCallKind::DrawIndexedPrimitive);
  platform::ComPtr<IDirect3DQuery9> done;
  proxy->real()->CreateQuery(D3DQUERYTYPE_EVENT, done.out());
  const auto started = Clock::now();
  for (int f = 0; f < kFrames; ++f) frame();
  if (done) {
    done->Issue(D3DISSUE_END);
    while (done->GetData(nullptr, 0, D3DGETDATA_FLUSH) == S_FALSE) {
    }
  }
  return std::chrono::duration<double, std::micro>(Clock::now() - started).count() / kFrames / kMeshes;
}

// What the device holds now, for every render state and stage state the engine sets.
struct DeviceStates {
  std::map<DWORD, DWORD> render;
  std::map<std::pair<DWORD, DWORD>, DWORD> stage;

  void read(IDirect3DDevice9* device) {
    for (DWORD state = 7; state <= 209; ++state) {
      DWORD value = 0;
      if (SUCCEEDED(device->GetRenderState(static_cast<D3DRENDERSTATETYPE>(state), &value))) render[state] = value;
    }
    for (DWORD s = 0; s < 8; ++s)
      for (DWORD type = 1; type <= 32; ++type) {
        DWORD value = 0;
        if (SUCCEEDED(device->GetTextureStageState(s, static_cast<D3DTEXTURESTAGESTATETYPE>(type), &value)))
          stage[{s, type}] = value;
      }
  }
};

// The effect against the plain material, on the same boxes; false when the effect didn't draw
// every box.
bool measureEffectDrawing(tstest::ProxyDevice* proxy) {
  char temporary[MAX_PATH];
  const std::string effectPath = std::string(temporary, GetTempPathA(MAX_PATH, temporary)) + "bench_scene.fx";
  std::ofstream(effectPath, std::ios::binary) << tstest::kPlacement;
  ts3d::SceneHierarchy* effectScene = oneMaterialScene(effectPath);
  ts3d::SceneHierarchy* plainScene = oneMaterialScene("");
  size_t effectDraws = 0, plainDraws = 0;
  const double effectCost = drawingCost(effectScene, proxy, effectDraws);
  const double plainCost = drawingCost(plainScene, proxy, plainDraws);
  const bool drawn = static_cast<ts3d::MaterialFX*>(effectScene->materials.front())->isValid() &&
                     effectDraws == static_cast<size_t>(kMeshes) && plainDraws == effectDraws;
  delete effectScene;
  delete plainScene;
  DeleteFileA(effectPath.c_str());
  if (!drawn) {
    std::fprintf(stderr, "bench_scene: the effect material didn't draw every box (%zu and %zu draws)\n", effectDraws,
                 plainDraws);
    return false;
  }
  std::printf("drawing %d boxes: MaterialFX with a WORLDVIEWPROJECTION vertex shader, bound per box by its "
              "modifier, %.3f us per box; MaterialSimple %.3f us; ratio %.2f\n",
              kMeshes, effectCost, plainCost, effectCost / plainCost);
  return true;
}

// Each post-process in turn in the chain of the plain boxes: time per frame against the plain
// frame, and SetRenderTarget calls of one frame against what its passes call for (blur: its
// two surfaces, four ping-pong passes and the way back; grading: the scene surface and back,
// plus the table's surface when the device took filter1_3; depth of field: the scene surface,
// three blur passes and back). False when a renderer wasn't ready.
bool measurePostProcesses(tstest::ProxyDevice* proxy) {
  scenebuild::SceneBuilder builder;
  std::vector<uint8_t> ramp(256 * 3);
  for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<uint8_t>(255 - i / 3);
  ts3d::Texture* lookup = builder.texture(tstest::encodePng(256, 1, 3, ramp.data()));
  ts3d::SceneHierarchy* scene = oneMaterialScene("");
  scene->textures.push_back(lookup);
  builder.scene()->textures.clear();
  lookup->createResources();
  ts3d::controller::Const<float> radius(1.0f), offset(0.5f), row(0.5f);

  auto* blur = new ts3d::SceneRendererBlur;
  blur->radiusController = &radius;
  auto* channels = new ts3d::SceneRendererChannels;
  channels->lookupTexture = lookup;
  channels->offsetController = &offset;
  channels->rowController = &row;
  auto* lens = new ts3d::SceneRendererDOF;
  lens->cameras[scene->activeCamera] = ts3d::CameraFocus{};
  struct Variant {
    const char* name;
    ts3d::SceneRenderer* renderer;
    size_t switches;
  } variants[] = {{"plain", nullptr, 0}, {"bloom blur", blur, 7}, {"channel grade", channels, 2}, {"depth of field", lens, 5}};
  size_t draws = 0;
  double plain = 0.0;
  bool ready = true;
  std::string line = "post-process, 640 x 480, 1000 boxes:";
  for (Variant& variant : variants) {
    scene->renderers.clear();
    if (variant.renderer) {
      variant.renderer->createResources();
      scene->renderers.push_back(variant.renderer);
    }
    if (variant.renderer == channels && channels->usesFilter13) variant.switches = 3;
    const double frame = drawingCost(scene, proxy, draws) * kMeshes;
    const size_t switches = proxy->count(tstest::DeviceCallKind::SetRenderTarget);
    if (!variant.renderer) {
      plain = frame;
      line += " plain " + std::to_string(static_cast<int>(frame)) + " us a frame;";
      continue;
    }
    char text[200];
    std::snprintf(text, sizeof text, " %s %.0f us (ratio %.2f), %zu target switches (passes call for %zu);",
                  variant.name, frame, frame / plain, switches, variant.switches);
    line += text;
    ready = ready && switches == variant.switches;
  }
  scene->renderers = {blur, channels, lens};  // the scene owns them from here
  delete scene;
  line.back() = '\n';
  std::fputs(line.c_str(), stdout);
  if (!ready) std::fprintf(stderr, "bench_scene: a post-process didn't run its passes\n");
  return ready;
}

// The silhouette of a torus of 10,000 triangles from a light circling it, per frame, against
// the least a facing test needs: one dot product per face.
void measureSilhouette() {
  constexpr int kRuns = 2000;
  std::unique_ptr<ts3d::GeometrySimple> torus(scenebuild::makeGeometry(scenebuild::torus(3.0f, 1.0f, 100, 50), false));
  ts3d::ShadowVolume volume(torus.get(), false);
  volume.build();
  const auto lightAt = [](int run) {
    const float angle = 0.01f * static_cast<float>(run);
    return vect3(10.0f * std::cos(angle), 10.0f * std::sin(angle), 4.0f);
  };
  size_t edges = 0;
  const auto started = Clock::now();
  for (int run = 0; run < kRuns; ++run) {
    volume.update(ts3d::ShadowLight{lightAt(run), -lightAt(run)}, false);
    edges += volume.silhouette.size();
  }
  const double extraction = std::chrono::duration<double, std::micro>(Clock::now() - started).count() / kRuns;
  float sink = 0.0f;
  const auto floorStarted = Clock::now();
  for (int run = 0; run < kRuns; ++run) {
    const vect3 light = lightAt(run);
    for (const vect3& normal : volume.faceNormals) sink += D3DXVec3Dot(&normal, &light);
  }
  const double floor = std::chrono::duration<double, std::micro>(Clock::now() - floorStarted).count() / kRuns;
  std::printf("shadow silhouette of %zu triangles (%zu edges): %.1f us per frame (%.0f silhouette edges); floor of "
              "one dot product per face %.1f us; ratio %.1f%s\n",
              volume.faceNormals.size(), volume.edges.size(), extraction, static_cast<double>(edges) / kRuns, floor,
              extraction / floor, sink == 0.5f ? " " : "");
}

// Skinning on the processor: ModifierSkin::apply over kSkinVertices vertices of four bones
// each out of kBones, in nanoseconds per vertex of the median round, against a floor of the
// same four D3DXVec3TransformCoord and their weighted sum per vertex over a palette given;
// then the same with normals and the upload to the output's dynamic vertex buffer. False
// when the skin's positions differ from the floor's.
bool measureSkinning() {
  constexpr int kSkinVertices = 10000, kBones = 64, kRounds = 200;
  std::vector<std::unique_ptr<ts3d::HierarchyNode>> nodes;
  auto skin = std::make_unique<ts3d::ModifierSkin>();
  std::vector<ts3d::matrix> palette(kBones);
  for (int b = 0; b < kBones; ++b) {
    nodes.push_back(std::make_unique<ts3d::HierarchyNode>());
    ts3d::matrix turn, offset;
    D3DXMatrixRotationYawPitchRoll(&turn, 0.1f * static_cast<float>(b), 0.05f * static_cast<float>(b), 0.3f);
    turn._41 = static_cast<float>(b % 8);
    turn._42 = static_cast<float>(b / 8);
    nodes.back()->worldMatrix = turn;
    D3DXMatrixTranslation(&offset, -0.5f * static_cast<float>(b % 8), 0, 0);
    skin->bones.push_back(nodes.back().get());
    skin->boneOffsets.push_back(offset);
    D3DXMatrixMultiply(&palette[static_cast<size_t>(b)], &offset, &turn);
  }
  ts3d::GeometryWeighted bare;
  for (int i = 0; i < kSkinVertices; ++i) {
    const float f = static_cast<float>(i);
    bare.positions.emplace_back(std::sin(f), std::cos(f * 0.7f), 0.001f * f);
    const float first = 0.25f + 0.5f * static_cast<float>(i % 7) / 7.0f;
    bare.vertexWeights.push_back({{static_cast<uint8_t>(i % kBones), static_cast<uint8_t>((i * 7 + 3) % kBones),
                                   static_cast<uint8_t>((i * 13 + 5) % kBones), static_cast<uint8_t>((i / 3) % kBones)},
                                  {first, (1.0f - first) * 0.5f, (1.0f - first) * 0.3f}});
  }
  // The median round: on a machine shared with others, and with Wine's device thread among
  // them, some rounds stall for milliseconds.
  const auto timed = [](const auto& work) {
    work();
    std::vector<double> rounds;
    for (int round = 0; round < kRounds; ++round) {
      const auto started = Clock::now();
      work();
      rounds.push_back(std::chrono::duration<double, std::nano>(Clock::now() - started).count() / kSkinVertices);
    }
    std::nth_element(rounds.begin(), rounds.begin() + kRounds / 2, rounds.end());
    return rounds[kRounds / 2];
  };

  std::unique_ptr<ts3d::Geometry> output(skin->createOutput(&bare));
  const double skinned = timed([&] { skin->apply(output.get(), &bare); });
  std::vector<vect3> floorOut(kSkinVertices);
  const double floor = timed([&] {
    for (size_t i = 0; i < floorOut.size(); ++i) {
      const ts3d::VertexWeight& r = bare.vertexWeights[i];
      vect3 sum(0, 0, 0), t;
      float rest = 1.0f;
      for (int k = 0; k < 3; ++k) {
        sum += *D3DXVec3TransformCoord(&t, &bare.positions[i], &palette[r.bones[k]]) * r.weights[k];
        rest -= r.weights[k];
      }
      floorOut[i] = sum + *D3DXVec3TransformCoord(&t, &bare.positions[i], &palette[r.bones[3]]) * rest;
    }
  });
  const auto& positions = static_cast<ts3d::GeometrySimple*>(output.get())->positions;
  for (size_t i = 0; i < floorOut.size(); ++i) {
    const vect3 d = positions[i] - floorOut[i];
    if (D3DXVec3Length(&d) > 1e-4f) {
      std::fprintf(stderr, "bench_scene: skinned vertex %zu differs from the floor's\n", i);
      return false;
    }
  }

  // With normals, blended into the output's dynamic vertex buffer.
  ts3d::GeometryWeighted lit;
  lit.positions = bare.positions;
  lit.vertexWeights = bare.vertexWeights;
  lit.normals.assign(kSkinVertices, vect3(0, 0, 1));
  lit.textureChannels.resize(1);
  lit.textureChannels[0].coordinates.resize(kSkinVertices);
  std::unique_ptr<ts3d::Geometry> uploaded(skin->createOutput(&lit));
  uploaded->createResources();
  const double withNormals = timed([&] { skin->apply(uploaded.get(), &lit); });
  std::printf("skinning %d vertices over %d bones, four a vertex: %.2f ns per vertex; floor of four "
              "D3DXVec3TransformCoord %.2f ns; ratio %.2f; with normals and the upload to a dynamic vertex "
              "buffer %.2f ns\n",
              kSkinVertices, kBones, skinned, floor, skinned / floor, withNormals);
  return true;
}

}  // namespace

int main() {
  HWND window = tstest::createHiddenWindow(640, 480);
  ts3d::Context::setWindows(window, nullptr);
  ts3d::Context::setFullscreenOptions(false, false, false);
  ts3d::Context::setMultisample(0, 0);
  ts3d::Context::setDisplayMode(640, 480, -1);
  ts3d::Context::setResourceModule(GetModuleHandleA(nullptr));
  ts3d::Context::wrapDevice = &wrap;
  if (!ts3d::Context::create()) {
    std::fprintf(stderr, "bench_scene: no device\n");
    return 1;
  }
  ts3d::Context* context = ts3d::Context::instance;
  auto* proxy = static_cast<tstest::ProxyDevice*>(context->device.get());
  ts3d::SceneHierarchy* scene = stressScene();
  scene->createResources();

  // Our code alone: update and the queue of what the camera sees, sorted, not drawn. The
  // camera makes its projection when it is applied, so one frame is drawn first.
  constexpr int kFrames = 300;
  size_t queued = 0;
  scene->update(0.0f);
  context->beginScene();
  scene->render();
  context->endScene();
  for (int frame = 0; frame < 20; ++frame) {
    scene->update(0.01f * static_cast<float>(frame));
    delete scene->collectVisible();
  }
  const auto started = Clock::now();
  for (int frame = 0; frame < kFrames; ++frame) {
    scene->update(0.01f * static_cast<float>(frame));
    ts3d::RenderQueue* queue = scene->collectVisible();
    queued += queue->items().size();
    delete queue;
  }
  const double engine = std::chrono::duration<double, std::micro>(Clock::now() - started).count() / kFrames / kMeshes;

  // The floor: per mesh one world product and one point into camera space.
  std::vector<ts3d::matrix> worlds(kMeshes), locals(kMeshes);
  for (int i = 0; i < kMeshes; ++i) D3DXMatrixTranslation(&locals[static_cast<size_t>(i)], static_cast<float>(i), 1, 2);
  const ts3d::matrix& view = *scene->activeCamera->viewMatrix();
  float sink = 0.0f;
  const auto floorStarted = Clock::now();
  for (int frame = 0; frame < kFrames; ++frame)
    for (int i = 0; i < kMeshes; ++i) {
      D3DXMatrixMultiply(&worlds[static_cast<size_t>(i)], &locals[static_cast<size_t>(i)], &view);
      vect3 origin(worlds[static_cast<size_t>(i)]._41, worlds[static_cast<size_t>(i)]._42, static_cast<float>(frame));
      D3DXVec3TransformCoord(&origin, &origin, &view);
      sink += origin.z;
    }
  const double floor = std::chrono::duration<double, std::micro>(Clock::now() - floorStarted).count() / kFrames / kMeshes;
  std::printf("update + queue: %.3f us per mesh (%d meshes, %d materials, %.0f queued per frame); "
              "floor %.3f us; ratio %.1f%s\n",
              engine, kMeshes, kMaterials, static_cast<double>(queued) / kFrames, floor, engine / floor,
              sink == 0.5f ? " " : "");

  // Device traffic of one drawn frame, after two frames that settle the state.
  for (int frame = 0; frame < 3; ++frame) {
    DeviceStates held;
    if (frame == 2) {
      held.read(proxy->real());
      proxy->clearLog();
    }
    scene->update(1.0f);
    context->beginScene();
    scene->clear(1.0f);
    scene->render();
    context->endScene();
    if (frame < 2) continue;
    size_t renderCalls = 0, renderRepeats = 0, stageCalls = 0, stageRepeats = 0;
    std::string repeated;
    for (const tstest::DeviceCall& call : proxy->calls()) {
      if (call.kind == tstest::DeviceCallKind::SetRenderState) {
        ++renderCalls;
        DWORD& value = held.render[call.args[0]];
        if (value == call.args[1]) {
          ++renderRepeats;
          repeated += " " + std::to_string(call.args[0]);
        }
        value = call.args[1];
      } else if (call.kind == tstest::DeviceCallKind::SetTextureStageState) {
        ++stageCalls;
        DWORD& value = held.stage[{call.args[0], call.args[1]}];
        stageRepeats += value == call.args[2];
        value = call.args[2];
      }
    }
    std::printf("device per frame: %zu SetRenderState (%zu re-set a held value; ratio %.3f), %zu "
                "SetTextureStageState (%zu re-set; ratio %.3f), %zu draws%s%s\n",
                renderCalls, renderRepeats, renderCalls ? static_cast<double>(renderRepeats) / renderCalls : 0.0,
                stageCalls, stageRepeats, stageCalls ? static_cast<double>(stageRepeats) / stageCalls : 0.0,
                proxy->count(tstest::DeviceCallKind::DrawIndexedPrimitive),
                repeated.empty() ? "" : "; render states re-set:", repeated.c_str());
  }
  delete scene;

  measureSilhouette();
  const bool measured = measureEffectDrawing(proxy) && measurePostProcesses(proxy) && measureSkinning();
  ts3d::Context::destroy();
  DestroyWindow(window);
  return measured ? 0 : 1;
}

#include "driver/exported_animation.h"
#include "geometry/geometry_simple.h"
#include "geometry/modifier_stack.h"
#include "materials/texture_bitmap_file.h"
#include "renderers/scene_renderer_blur.h"
#include "renderers/scene_renderer_channels.h"
#include "renderers/scene_renderer_dof.h"
#include "renderers/scene_renderer_shadow.h"
#include "renderers/scene_renderer_mirror.h"
#include "scene/atmospheric_ambient.h"
#include "scene/atmospheric_background.h"
#include "scene/atmospheric_billboard.h"
#include "scene/atmospheric_fog.h"
#include "scene/camera.h"
#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "scene/controller_transformation.h"
#include "scene/hierarchy_node.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/scene_hierarchy.h"
#include "scene/transformation.h"
#include "tests/persistence/contract.h"
#include "tests/support/heap_count.h"
#include "tests/support/test_chunks.h"

namespace tstest {
namespace {

using namespace ts3d;
using controller::Const;

// A scene whose members point at each other: the mesh and the light hang on the child node,
// the camera on the root, the light lists the mesh. Lists of classes this library doesn't
// have hold a null member each.
SceneHierarchy* smallScene() {
  auto* scene = new SceneHierarchy;
  scene->root = new HierarchyNode;
  auto* child = new HierarchyNode;
  child->parent = scene->root;
  scene->root->children = {child};
  auto* mesh = new MeshSimple;
  mesh->transformation = child;
  auto* camera = new CameraSimple;
  camera->transformation = scene->root;
  auto* light = new LightOmni;
  light->transformation = child;
  light->included = {mesh};
  scene->meshes = {mesh};
  scene->cameras = {camera};
  scene->activeCamera = camera;
  scene->lights = {light};
  scene->shadowLight = light;
  scene->textures = {nullptr};
  scene->materials = {nullptr};
  scene->atmospheres = {nullptr};
  scene->overlays = {nullptr};
  scene->renderers = {nullptr};
  return scene;
}

// Cameras, lights and meshes only point at their transformation (the tree or the scene owns
// it): alone in a file they have none, and the scene's row stores them on its nodes.
const ChunkCase kSceneChunks[] = {
    chunkCase<TransformationPRS>(
        "FixedTransformation",
        [] { return new TransformationPRS(vect3(1, 2, 3), quat(0.5f, 0.25f, 0.125f, 0.75f), vect3(4, 5, 6)); },
        "4E4F4E45 | 54525052 0100 0000 28000000 | 0000803F 00000040 00004040 |"
        "0000003F 0000803E 0000003E 0000403F | 00008040 0000A040 0000C040",
        1, 1),
    chunkCase<ControllerTransformation>(
        "AnimatedTransformation",
        [] {
          auto* place = new ControllerTransformation;
          place->positionController = new Const<vect3>(vect3(1, 2, 3));
          place->rotationController = new Const<quat>(quat(0.5f, 0.25f, 0.125f, 0.75f));
          place->scaleController = new Const<vect3>(vect3(4, 5, 6));
          return place;
        },
        "4E4F4E45 | 43505253 0100 0000 4C000000 | 43435633 0100 0100 0C000000 0000803F 00000040 00004040 |"
        "43435155 0100 0200 10000000 0000003F 0000803E 0000003E 0000403F |"
        "43435633 0100 0300 0C000000 00008040 0000A040 0000C040",
        0, kAnyVersion),
    chunkCase<ControllerTransformationMatrix>(
        "MatrixTransformation",
        [] {
          auto* track = new controller::Linear<matrix>;
          track->addKey(controller::LinearKey<matrix>(0.5f, matrix(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 4, 5, 6, 1)));
          auto* animated = new ControllerTransformationMatrix;
          animated->matrixController = track;
          return animated;
        },
        "4E4F4E45 | 434D5458 0100 0000 54000000 | 434C4D54 0100 0100 48000000 | 01000000 | 0000003F |"
        "00000040 00000000 00000000 00000000 | 00000000 00000040 00000000 00000000 |"
        "00000000 00000000 00000040 00000000 | 00008040 0000A040 0000C040 0000803F",
        0, kAnyVersion),
    chunkCase<CameraSimple>(
        "Camera",
        [] {
          auto* camera = new CameraSimple;
          camera->fovController = new Const<float>(0.5f);
          camera->nearController = new Const<float>(2.0f);
          camera->farController = new Const<float>(100.0f);
          camera->clipNearController = new Const<float>(3.0f);
          camera->rangeFarController = new Const<float>(50.0f);
          return camera;
        },
        "4E4F4E45 | 6341534D 0100 0000 54000000 | 00000000 | 4343464C 0100 0100 04000000 0000003F |"
        "4343464C 0100 0200 04000000 00000040 | 4343464C 0100 0300 04000000 0000C842 |"
        "4343464C 0100 0400 04000000 00004040 | 4343464C 0100 0500 04000000 00004842",
        1, 1),
    chunkCase<LightOmni>(
        "Light",
        [] {
          auto* light = new LightOmni;
          light->ambientController = new Const<color>(color(0, 0, 1, 1));
          light->diffuseController = new Const<color>(color(1, 0, 0, 1));
          light->specularController = new Const<color>(color(0, 1, 0, 1));
          light->rangeController = new Const<float>(100.0f);
          light->attenuation0Controller = new Const<float>(1.0f);
          light->attenuation1Controller = new Const<float>(0.5f);
          light->attenuation2Controller = new Const<float>(0.25f);
          light->included = {nullptr, nullptr};
          light->shadowCasters = {nullptr};
          return light;
        },
        "4E4F4E45 | 4C544F4D 0100 0000 AC000000 | 00000000 |"
        "4343434F 0100 0100 10000000 00000000 00000000 0000803F 0000803F |"
        "4343434F 0100 0200 10000000 0000803F 00000000 00000000 0000803F |"
        "4343434F 0100 0300 10000000 00000000 0000803F 00000000 0000803F |"
        "4343464C 0100 0400 04000000 0000C842 | 4343464C 0100 0500 04000000 0000803F |"
        "4343464C 0100 0600 04000000 0000003F | 4343464C 0100 0700 04000000 0000803E |"
        "02000000 00000000 00000000 | 01000000 00000000",
        1, 1),
    chunkCase<MeshSimple>(
        "Mesh",
        [] {
          auto* mesh = new MeshSimple;
          mesh->setGeometryAndGroups(new GeometrySimple, {4, 9});
          mesh->modifierStack = new ModifierStack;
          mesh->setHidden(true);
          mesh->setCastsShadow(true);
          return mesh;
        },
        "4E4F4E45 | 4D45534D 0200 0000 3A000000 | 03000000 | 474F534D 0100 0100 04000000 00000000 |"
        "4D4F5354 0100 0200 04000000 00000000 | 01 | 01 | 02000000 04000000 09000000 | 00000000 | 00000000",
        0, 2),
    chunkCase<HierarchyNode>(
        "Node",
        [] {
          // Aiming at itself: the one target a node alone in a file can have.
          auto* node = new HierarchyNode;
          node->target = node;
          node->rollController = new Const<float>(0.25f);
          node->transformation = new ControllerTransformation;
          node->transformation->positionController = new Const<vect3>(vect3(1, 2, 3));
          return node;
        },
        "4E4F4E45 | 48494E4F 0100 0000 44000000 | 01000000 | 00000080 |"
        "4343464C 0100 0100 04000000 0000803E |"
        "43505253 0100 0200 20000000 | 43435633 0100 0300 0C000000 0000803F 00000040 00004040 | 00000000 | 00000000",
        0, kAnyVersion),
    chunkCase<SceneHierarchy>(
        "Scene", [] { return smallScene(); },
        "4E4F4E45 | 53434845 0200 0000 EA000000 | 01000000 00000000 | 01000000 00000000 |"
        "48494E4F 0100 0100 08000000 00000000 00000000 | 01000000 |"
        "48494E4F 0100 0200 08000000 00000000 00000000 | 00000000 |"
        "01000000 | 4D45534D 0200 0300 12000000 00000000 00 00 00000000 00000000 02000080 |"
        "01000000 | 6341534D 0100 0400 18000000 01000080 00000000 00000000 00000000 00000000 00000000 |"
        "04000080 |"
        "01000000 | 4C544F4D 0100 0500 2C000000 02000080 00000000 00000000 00000000 00000000 00000000 00000000"
        "           00000000 | 01000000 03000080 | 00000000 |"
        "05000080 | 01000000 00000000 | 01000000 00000000 | 00000000 | 01000000 00000000",
        0, 2),
    chunkCase<SceneHierarchy>(
        "DepthOfFieldInScene",
        [] {
          // The renderer only points at its camera and controllers: the scene holds them.
          auto* scene = new SceneHierarchy;
          auto* scale = new Const<float>(2.0f);
          auto* distance = new Const<float>(10.0f);
          scene->keep(scale);
          scene->keep(distance);
          scene->cameras = {new CameraSimple};
          auto* renderer = new SceneRendererDOF;
          renderer->cameras[scene->cameras[0]] = {scale, distance};
          scene->renderers = {renderer};
          return scene;
        },
        "4E4F4E45 | 53434845 0200 0000 88000000 | 00000000 | 00000000 | 00000000 | 00000000 |"
        "01000000 | 6341534D 0100 0100 18000000 00000000 00000000 00000000 00000000 00000000 00000000 |"
        "00000000 | 00000000 | 00000000 | 00000000 | 00000000 | 00000000 |"
        "01000000 | 53524446 0100 0200 28000000 | 01000000 | 01000080 |"
        "4343464C 0100 0300 04000000 00000040 | 4343464C 0100 0400 04000000 00002041",
        0, 2),
    chunkCase<SceneHierarchy>(
        "MirrorInScene",
        [] {
          // The renderer only points at its mirror: the scene's list holds it.
          auto* scene = new SceneHierarchy;
          scene->meshes = {new MeshSimple};
          auto* renderer = new SceneRendererMirror;
          renderer->mirrors = scene->meshes;
          scene->renderers = {renderer};
          return scene;
        },
        "4E4F4E45 | 53434845 0200 0000 62000000 | 00000000 | 00000000 | 00000000 |"
        "01000000 | 4D45534D 0200 0100 12000000 00000000 00 00 00000000 00000000 00000000 |"
        "00000000 | 00000000 | 00000000 | 00000000 | 00000000 | 00000000 | 00000000 |"
        "01000000 | 53524D52 0100 0200 08000000 | 01000000 | 01000080",
        0, 2),
    chunkCase<AtmosphericAmbient>(
        "Ambient",
        [] {
          auto* ambient = new AtmosphericAmbient;
          ambient->colorController = new Const<color>(color(0, 0, 1, 1));
          return ambient;
        },
        "4E4F4E45 | 4154414D 0100 0000 1C000000 | 4343434F 0100 0100 10000000 00000000 00000000 0000803F 0000803F",
        1, 1),
    chunkCase<AtmosphericFog>(
        "Fog",
        [] {
          auto* fog = new AtmosphericFog;
          fog->clears = true;
          fog->colorController = new Const<color>(color(1, 0, 0, 1));
          fog->startController = new Const<float>(0.25f);
          fog->endController = new Const<float>(0.75f);
          return fog;
        },
        "4E4F4E45 | 41544647 0100 0000 3D000000 | 01 | 4343434F 0100 0100 10000000 0000803F 00000000 00000000 "
        "0000803F | 4343464C 0100 0200 04000000 0000803E | 4343464C 0100 0300 04000000 0000403F",
        1, 1),
    // The picture and the sky box only point at their texture: the rich scene stores them.
    chunkCase<AtmosphericBackground>(
        "ColorBackground",
        [] {
          auto* background = new AtmosphericBackground;
          background->clearFunction = AtmosphericBackground::kClearColor;
          background->colorController = new Const<color>(color(0, 1, 0, 1));
          return background;
        },
        "4E4F4E45 | 41544247 0100 0000 1D000000 | 01 | 4343434F 0100 0100 10000000 00000000 0000803F 00000000 "
        "0000803F",
        1, 1),
    // Elements only point at their place, so alone in a file they have none.
    chunkCase<AtmosphericBillboard>(
        "Billboards",
        [] {
          auto* billboards = new AtmosphericBillboard;
          billboards->billboard = new particle::Billboard;
          billboards->elements.resize(2);
          billboards->elements[0].sizeController = new Const<float>(2.0f);
          return billboards;
        },
        "4E4F4E45 | 4154424C 0100 0000 30000000 | 46505242 0100 0100 04000000 00000000 | 02000000 |"
        "00000000 4343464C 0100 0200 04000000 00000040 | 00000000 00000000",
        1, 1),
    chunkCase<particle::Billboard>("BillboardQuads", [] { return new particle::Billboard; },
                                   "4E4F4E45 | 46505242 0100 0000 04000000 | 00000000", 1, 1),
    chunkCase<SceneRendererBlur>("Blur", [] { return new SceneRendererBlur; }, "4E4F4E45 | 5352424C 0100 0000 00000000",
                                 1, 1),
    chunkCase<SceneRendererChannels>("Channels", [] { return new SceneRendererChannels; },
                                     "4E4F4E45 | 53524348 0100 0000 00000000", 1, 1),
    chunkCase<SceneRendererShadow>("Shadow", [] { return new SceneRendererShadow; },
                                   "4E4F4E45 | 53525357 0100 0000 00000000", 1, 1),
    // The text, an image by name written in full, and a data item without a scene.
    chunkCase<ExportedAnimation>(
        "ExportedAnimation",
        [] {
          static TextureBitmapFile image("a.png", 2);  // the animation doesn't own it
          auto* animation = new ExportedAnimation;
          animation->projectText = "p";
          animation->textures["a.png"] = &image;
          animation->scenes["s"] = nullptr;
          return animation;
        },
        "4E4F4E45 | 73746678 0100 0000 2C000000 | 7000 | 01000000 612E706E6700 |"
        "54584246 0100 0100 0A000000 00000000 612E706E6700 | 01000000 7300 00000000",
        0, kAnyVersion),
};

INSTANTIATE_TEST_SUITE_P(Scene, ChunkContract, testing::ValuesIn(kSceneChunks), CaseName());

// The layouts before the current version load, and store as the current one.
TEST(SceneChunks, OlderLayoutsLoadAndStoreAsTheCurrentOne) {
  const struct {
    const char* file;
    const char* stored;
  } kOlder[] = {
      // Mesh version 1: no shadow caster flag.
      {"4E4F4E45 | 4D45534D 0100 0000 15000000 | 00000000 | 01 | 01000000 07000000 | 00000000 | 00000000",
       "4E4F4E45 | 4D45534D 0200 0000 16000000 | 00000000 | 01 | 00 | 01000000 07000000 | 00000000 | 00000000"},
      // Scene version 1: no shadow light behind the lights.
      {"4E4F4E45 | 53434845 0100 0000 2C000000 | 00000000 00000000 00000000 00000000 00000000 00000000 |"
       "00000000 | 00000000 00000000 00000000 00000000",
       "4E4F4E45 | 53434845 0200 0000 30000000 | 00000000 00000000 00000000 00000000 00000000 00000000 |"
       "00000000 00000000 | 00000000 00000000 00000000 00000000"},
  };
  for (const auto& row : kOlder) {
    expectDescribed(hexBytes(row.file));
    std::unique_ptr<tsio::Serializable> loaded(loadFromBytes(hexBytes(row.file)));
    EXPECT_EQ(hexOf(storeToBytes(loaded.get(), 0)), hexOf(hexBytes(row.stored)));
  }
}

// Each list's count is checked against the bytes left before anything is sized.
TEST(SceneChunks, CountsBeyondTheBytesLeftAreRefused) {
  const struct {
    const char* file;
    const char* reason;
  } kCounts[] = {
      {"4E4F4E45 | 53434845 0200 0000 30000000 | FFFFFF7F | 00000000 00000000 00000000 00000000 00000000 00000000"
       "00000000 00000000 00000000 00000000 00000000",
       "a count of 2147483647 items of 4 bytes or more, with 44 bytes left in chunk SCHE (id 0)"},
      {"4E4F4E45 | 53434845 0200 0000 44000000 | 00000000 00000000 |"
       "48494E4F 0100 0100 08000000 00000000 00000000 | 00000010 |"
       "00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000",
       "a count of 268435456 items of 4 bytes or more, with 36 bytes left in chunk SCHE (id 0)"},
      {"4E4F4E45 | 4C544F4D 0100 0000 24000000 | 00000000 00000000 00000000 00000000 00000000 00000000"
       "00000000 00000000 | FFFFFF7F",
       "a count of 2147483647 items of 4 bytes or more, with 0 bytes left in chunk LTOM (id 0)"},
      {"4E4F4E45 | 4D45534D 0200 0000 12000000 | 00000000 | 00 | 00 | 00000040 | 00000000 00000000",
       "a count of 1073741824 items of 4 bytes or more, with 8 bytes left in chunk MESM (id 0)"},
  };
  for (const auto& row : kCounts) expectRefused(hexBytes(row.file), row.reason);
}

}  // namespace
}  // namespace tstest

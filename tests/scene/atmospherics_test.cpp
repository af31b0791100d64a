#include <gtest/gtest.h>

#include <array>
#include <utility>
#include <vector>

#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/scenebuild/rich_scene.h"

// Atmospherics and cube textures on the device: the sky box around the camera, linear fog by
// distance, billboards turned to the viewer, and the two sources of a cube map.
namespace {

using namespace ts3d;
using scenebuild::constant;

constexpr float kQuarter = 1.5707963f;

// Six colours, one per face image 1 to 6.
constexpr uint32_t kFaceColors[6] = {0xff0000, 0x00ff00, 0x0000ff, 0xffff00, 0x00ffff, 0xff00ff};

// A 4 x 4 PNG in rgb, with a white 2 x 2 corner at the top left when marked.
std::vector<uint8_t> facePng(uint32_t rgb, bool marked) {
  std::vector<uint8_t> texels;
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x) {
      const uint32_t c = marked && x < 2 && y < 2 ? 0xffffff : rgb;
      texels.insert(texels.end(), {uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c)});
    }
  return tstest::encodePng(4, 4, 3, texels.data());
}

class AtmosphericPixels : public tstest::ContextTest {
 protected:
  void draw(SceneHierarchy& scene) {
    scene.update(0.0f);
    context->setClearColor(color(0, 0, 0, 1));
    context->beginScene();
    scene.clear(0.0f);
    scene.render();
    context->endScene();
    readTarget();
  }
  // A camera at `at` looking along -Z turned by `angle` about `axis`, far plane 100.
  Camera* camera(scenebuild::SceneBuilder& builder, const vect3& at, const vect3& axis, float angle,
                 float farPlane = 100.0f) {
    quat turn;
    D3DXQuaternionRotationAxis(&turn, &axis, angle);
    return builder.camera(builder.node(builder.root(), constant(at), constant(turn)), 1.0f, 1.0f, farPlane);
  }
  int grey(unsigned int x, unsigned int y) const { return static_cast<int>(rgbAt(x, y) & 0xff); }
};

TEST_F(AtmosphericPixels, TheSkyBoxShowsTheFaceImageEachViewLooksAt) {
  scenebuild::SceneBuilder builder;
  std::array<std::vector<uint8_t>, 6> faces;
  for (int i = 0; i < 6; ++i) faces[i] = facePng(kFaceColors[i], false);
  builder.skyBox(builder.cubeTexture(faces));
  // Looking along -Z, +X, +Y and -Y: faces 2, 4, 6 and 5 lie there.
  const struct {
    Camera* camera;
    int face;
  } views[] = {{camera(builder, vect3(0, 0, 0), vect3(0, 1, 0), 0.0f), 2},
               {camera(builder, vect3(0, 0, 0), vect3(0, 1, 0), -kQuarter), 4},
               {camera(builder, vect3(0, 0, 0), vect3(1, 0, 0), kQuarter), 6},
               {camera(builder, vect3(0, 0, 0), vect3(1, 0, 0), -kQuarter), 5}};
  SceneHierarchy& scene = *builder.scene();
  scene.createResources();
  for (const auto& view : views) {
    scene.activeCamera = view.camera;
    draw(scene);
    EXPECT_EQ(rgbAt(320, 240), kFaceColors[view.face - 1]) << "face " << view.face;
    EXPECT_EQ(rgbAt(20, 20), kFaceColors[view.face - 1]) << "face " << view.face << ", near a corner";
  }
}

// The picture covers the viewport, its white corner at the top left; a clear of depth and
// stencil alone leaves the target as it was.
TEST_F(AtmosphericPixels, ThePictureBackgroundFillsTheViewportOnlyWhenTheTargetIsCleared) {
  scenebuild::SceneBuilder builder;
  builder.pictureBackground(builder.texture(facePng(0xff0000, true)));
  camera(builder, vect3(0, 0, 0), vect3(0, 1, 0), 0.0f);
  SceneHierarchy& scene = *builder.scene();
  scene.createResources();
  draw(scene);
  EXPECT_EQ(rgbAt(100, 80), 0xffffffu);
  EXPECT_EQ(rgbAt(540, 400), 0xff0000u);
  context->setClearColor(color(0, 0, 1, 1));
  context->beginScene();
  context->clear(Context::ClearAll, true);
  scene.clear(scene.activeCamera, Context::ClearDepth | Context::ClearStencil, true);
  context->endScene();
  readTarget();
  EXPECT_EQ(rgbAt(540, 400), 0x0000ffu);
}

TEST_F(AtmosphericPixels, LinearFogFadesEachObjectByItsDistanceInTheCamerasRange) {
  scenebuild::SceneBuilder builder;
  camera(builder, vect3(0, 0, 0), vect3(0, 1, 0), 0.0f, 41.0f);  // range 1 to 41
  // Fog from 0.25 to 0.75 of the range: the ramp meets 0 at 1 - 20, held at 0, and 1 at 61.
  builder.fog(color(0, 0, 0, 1), 0.25f, 0.75f);
  MaterialSimple* white = builder.material(tstest::flat(color(1, 1, 1, 1)));
  // Two white squares 88 pixels wide, 10 and 30 away, left and right of the centre.
  builder.mesh(builder.node(builder.root(), vect3(-2, 0, -10)), scenebuild::plane(2, 2, 1, 1), white);
  builder.mesh(builder.node(builder.root(), vect3(6, 0, -30)), scenebuild::plane(6, 6, 1, 1), white);
  builder.scene()->createResources();
  draw(*builder.scene());
  const float start = 0.0f, end = 61.0f;
  for (const auto& [column, distance] : {std::pair<unsigned int, float>{232, 10.0f}, {408, 30.0f}}) {
    const float seen = (end - distance) / (end - start) * 255.0f;
    EXPECT_NEAR(grey(column, 240), seen, 6.0f) << "at distance " << distance;
  }
}

TEST_F(AtmosphericPixels, ABillboardFacesTheCameraFromEverySide) {
  scenebuild::SceneBuilder builder;
  Camera* front = camera(builder, vect3(0, 0, 10), vect3(0, 1, 0), 0.0f);
  Camera* side = camera(builder, vect3(10, 0, 0), vect3(0, 1, 0), kQuarter);
  // Side 2 at distance 10: 88 pixels across and up.
  builder.billboards(nullptr, {{builder.node(builder.root(), vect3(0, 0, 0)), 2.0f}});
  SceneHierarchy& scene = *builder.scene();
  scene.createResources();
  const int side2 = static_cast<int>(2 * tstest::RichScene::kPixelsPerUnit + 0.5f);
  for (Camera* view : {front, side}) {
    scene.activeCamera = view;
    draw(scene);
    int across = 0, up = 0;
    for (unsigned int i = 0; i < 480; ++i) {
      across += grey(80 + i, 240) > 128;
      up += grey(320, i) > 128;
    }
    EXPECT_NEAR(across, side2, 2) << (view == front ? "front" : "side");
    EXPECT_NEAR(up, side2, 2) << (view == front ? "front" : "side");
  }
}

// Each face of a cube texture drawn flat through its direction vectors, u to the right and v
// down, in a row of 64 x 64 blocks at `top`.
void drawCubeFaces(Context& context, Texture& cube, float top) {
  struct Vertex {
    float x, y, z, rhw, dx, dy, dz;
  };
  // Direction of texel (s, t), both -1 to 1, on each face in the device's face order.
  const auto direction = [](int face, float s, float t) {
    const vect3 directions[6] = {{1, -t, -s}, {-1, -t, s}, {s, 1, t}, {s, -1, -t}, {s, -t, 1}, {-s, -t, -1}};
    return directions[face];
  };
  RenderStateBlock states(0xffff);
  states.zEnable = false;
  states.cullMode = CullNone;
  context.applyRenderState(states);
  TextureStageStateBlock texture;
  texture.colorOp = TextureSelectArg1;
  context.applyStageState(0, texture);
  cube.bind(0);
  for (int face = 0; face < 6; ++face) {
    constexpr DWORD kFvf = D3DFVF_XYZRHW | D3DFVF_TEX1 | D3DFVF_TEXCOORDSIZE3(0);
    auto* quad = static_cast<Vertex*>(context.lockDynamicVertices(kFvf, sizeof(Vertex), 4));
    const float left = 10.0f + 80.0f * static_cast<float>(face);
    for (int corner = 0; corner < 4; ++corner) {
      const float s = corner % 2 ? 1.0f : -1.0f, t = corner / 2 ? 1.0f : -1.0f;
      const vect3 d = direction(face, s, t);
      quad[corner] = {left + 32.0f * (s + 1.0f), top + 32.0f * (t + 1.0f), 0.5f, 1.0f, d.x, d.y, d.z};
    }
    context.unlockDynamicVertices();
    context.drawDynamicVertices(D3DPT_TRIANGLESTRIP, 0, 2);
  }
}

TEST_F(AtmosphericPixels, ACubeFileAndSixTurnedImagesMakeTheSameCube) {
  // Which image makes each face (in the device's order +X, -X, +Y, -Y, +Z, -Z), and the corner
  // where its turn takes the image's marked top left: 0 top left, 1 top right, 2 bottom left,
  // 3 bottom right.
  const struct {
    int image, marked;
  } kFaces[6] = {{4, 2}, {3, 1}, {5, 3}, {6, 0}, {1, 0}, {2, 3}};
  std::vector<uint32_t> texels;
  for (const auto& face : kFaces)
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 4; ++x)
        texels.push_back(0xff000000 | (x / 2 + 2 * (y / 2) == face.marked ? 0xffffff : kFaceColors[face.image - 1]));
  scenebuild::SceneBuilder builder;
  std::array<std::vector<uint8_t>, 6> images;
  for (int i = 0; i < 6; ++i) images[i] = facePng(kFaceColors[i], true);
  Texture* fromFile = builder.cubeTexture(tstest::cubeDds(4, texels));
  Texture* fromImages = builder.cubeTexture(images);
  builder.scene()->createResources();
  context->setClearColor(color(0, 0, 0, 1));
  context->beginScene();
  context->clear(Context::ClearAll, true);
  drawCubeFaces(*context, *fromFile, 10.0f);
  drawCubeFaces(*context, *fromImages, 100.0f);
  context->endScene();
  readTarget();
  for (int face = 0; face < 6; ++face)
    for (int quadrant = 0; quadrant < 4; ++quadrant) {
      const unsigned int x = 10 + 80 * face + 16 + 32 * (quadrant % 2), y = 26 + 32 * (quadrant / 2);
      const uint32_t expected = quadrant == kFaces[face].marked ? 0xffffff : kFaceColors[kFaces[face].image - 1];
      EXPECT_EQ(rgbAt(x, y), expected) << "cube file, face " << face << " quadrant " << quadrant;
      EXPECT_EQ(rgbAt(x, y + 90), expected) << "six images, face " << face << " quadrant " << quadrant;
    }
}

}  // namespace

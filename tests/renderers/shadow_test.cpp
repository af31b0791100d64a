#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include "renderers/scene_renderer_shadow.h"
#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "tests/scenebuild/rich_scene.h"

// Stencil shadows on the device: a box floating over a white floor darkens the floor by the
// shade's alpha exactly where the box stands between the light and the floor, and leaves every
// other pixel as it was; on either stencil path the device is sent the prescribed counting and
// one draw of the walls of the box's silhouette per pass.
namespace {

using namespace ts3d;
using tstest::RichScene;

const vect3 kEye(0, 0, 10), kLight(3, 2, 6), kBoxCentre(0, 0, 1);
constexpr float kBoxHalf = 0.5f;
constexpr float kMargin = 0.05f;  // pixels this near an edge of the box or its shadow aren't judged
// What of a colour shows through the shade, in 255ths.
constexpr int kShowing = 255 - static_cast<int>(SceneRendererShadow::kShade >> 24);

// Whether the segment from `from` to `to` passes through the box grown by `grow` on every side.
bool crossesBox(const vect3& from, const vect3& to, float grow) {
  float enter = 0.0f, leave = 1.0f;
  for (int axis = 0; axis < 3; ++axis) {
    const float start = from[axis] - kBoxCentre[axis], step = to[axis] - from[axis], half = kBoxHalf + grow;
    if (step == 0.0f) {
      if (std::abs(start) > half) return false;
      continue;
    }
    const float t0 = (-half - start) / step, t1 = (half - start) / step;
    enter = std::max(enter, std::min(t0, t1));
    leave = std::min(leave, std::max(t0, t1));
  }
  return enter <= leave;
}

// An indexed draw with colour writes off and stencil on: cull mode, two-sided stencil, stencil
// pass, counter-clockwise stencil pass, stencil function, depth writes, then the primitive type,
// vertex count and primitive count.
using WallDraw = std::array<int64_t, 9>;
const D3DRENDERSTATETYPE kCounting[] = {D3DRS_CULLMODE,   D3DRS_TWOSIDEDSTENCILMODE, D3DRS_STENCILPASS,
                                        D3DRS_CCW_STENCILPASS, D3DRS_STENCILFUNC,   D3DRS_ZWRITEENABLE,
                                        D3DRS_COLORWRITEENABLE, D3DRS_STENCILENABLE};

class ShadowPixels : public tstest::ContextTest {
 protected:
  void draw(SceneHierarchy& scene) {
    for (D3DRENDERSTATETYPE state : kCounting) proxy->real()->GetRenderState(state, &held[state]);
    proxy->clearLog();
    scene.update(0.0f);
    context->beginScene();
    scene.clear(0.0f);
    scene.render();
    context->endScene();
    readTarget();
  }

  std::vector<WallDraw> wallDraws() {
    std::vector<WallDraw> draws;
    for (const tstest::DeviceCall& call : proxy->calls()) {
      if (call.kind == tstest::DeviceCallKind::SetRenderState) held[static_cast<DWORD>(call.args[0])] = static_cast<DWORD>(call.args[1]);
      if (call.kind != tstest::DeviceCallKind::DrawIndexedPrimitive || held[D3DRS_COLORWRITEENABLE] != 0 ||
          !held[D3DRS_STENCILENABLE])
        continue;
      WallDraw draw{};
      for (int i = 0; i < 6; ++i) draw[i] = held[kCounting[i]];
      draw[6] = call.args[0];
      draw[7] = call.args[3];
      draw[8] = call.args[5];
      draws.push_back(draw);
    }
    EXPECT_FALSE(held[D3DRS_STENCILENABLE]) << "stencil is off for whatever comes next";
    return draws;
  }

  std::map<DWORD, DWORD> held;
};

TEST_F(ShadowPixels, ABoxShadowsTheFloorWhereTheLightSaysAndNowhereElse) {
  scenebuild::SceneBuilder builder;
  builder.camera(builder.node(builder.root(), kEye), 1.0f, 1.0f, 100.0f);
  LightOmni* light = builder.light(builder.node(builder.root(), kLight), color(1, 1, 1, 1), 1000.0f);
  builder.mesh(builder.node(builder.root(), vect3(0, 0, 0)), scenebuild::plane(30, 30, 1, 1),
               builder.material(tstest::flat(color(1, 1, 1, 1))));
  MeshSimple* box = builder.mesh(builder.node(builder.root(), kBoxCentre), scenebuild::box(1, 1, 1),
                                 builder.material(tstest::flat(color(1, 0, 0, 1))));
  SceneRendererShadow* renderer = builder.shadow(light, box);
  SceneHierarchy& scene = *builder.scene();
  scene.createResources();

  std::vector<SceneRenderer*> chain;
  std::swap(chain, scene.renderers);
  draw(scene);
  const std::vector<uint32_t> plain = frame;
  std::swap(chain, scene.renderers);

  // Three faces of the box look at the light: a hexagon of six edges, one wall quad each.
  const WallDraw twoSided{D3DCULL_NONE, TRUE, D3DSTENCILOP_INCR, D3DSTENCILOP_DECR, D3DCMP_ALWAYS, FALSE,
                          D3DPT_TRIANGLELIST, 24, 12};
  WallDraw frontPass = twoSided, backPass = twoSided;
  frontPass[0] = D3DCULL_CCW;
  frontPass[2] = D3DSTENCILOP_DECR;
  backPass[0] = D3DCULL_CW;
  backPass[1] = FALSE;
  const std::pair<bool, std::vector<WallDraw>> paths[] = {{true, {twoSided}}, {false, {frontPass, backPass}}};
  for (const auto& [path, walls] : paths) {
    renderer->twoSided = path;
    draw(scene);
    EXPECT_EQ(wallDraws(), walls) << "two-sided " << path;
    int shaded = 0, wrong = 0;
    for (unsigned int y = 0; y < frameHeight; ++y)
      for (unsigned int x = 0; x < frameWidth; ++x) {
        const vect3 floor((static_cast<float>(x) - 320.0f) / RichScene::kPixelsPerUnit,
                          (240.0f - static_cast<float>(y)) / RichScene::kPixelsPerUnit, 0.0f);
        if (crossesBox(kEye, floor, kMargin)) continue;  // the box, not the floor
        const bool inShadow = crossesBox(kLight, floor, -kMargin);
        if (!inShadow && crossesBox(kLight, floor, kMargin)) continue;
        const uint32_t before = plain[y * frameWidth + x];
        const auto part = [&](int shift) { return static_cast<int>((before >> shift) & 0xff) * (inShadow ? kShowing : 255) / 255; };
        shaded += inShadow;
        wrong += !tstest::pixelNear(rgbAt(x, y), part(16), part(8), part(0), 2);
      }
    EXPECT_EQ(wrong, 0) << "two-sided " << path;
    EXPECT_GT(shaded, 3000);
  }

  // Without a shadow light: no volume, no shade, the plain picture.
  scene.shadowLight = nullptr;
  draw(scene);
  EXPECT_TRUE(wallDraws().empty());
  EXPECT_TRUE(frame == plain);
}

}  // namespace

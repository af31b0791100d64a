// Writes the project that ./run plays when it is given none: an animated scene (a camera moving
// through lit, textured meshes on a turning carousel under a sky box, in a light haze, a light
// circling them, a swaying skinned figure, glowing lanterns and a pool that mirrors them all) with
// a stretch blurred by the bloom renderer and one colour-graded through a gradient image; a second
// scene seen through a lens whose focus moves from the nearest pillar of a row to the farthest and
// back, while a swinging light sweeps the pillars' shadows over the floor, cross-faded in; a flash
// into the graded stretch; a stretch through each filter (black and white, colour split, radial
// blur); a bitmap fading in and out over it all, and colour fades at both ends. Everything is made
// here in code: the scenes through the scene builder, the images pixel by pixel.
//
// usage: make_default_project FOLDER   (writes default.ts2, its copies bloomed.ts2 and graded.ts2,
// lens.ts2, title.png, grade.png, tune.wav, default.xml, and scene_only.xml, the first scene
// alone, which ./bench plays beside the whole project)
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "platform/png_write.h"
#include "platform/whole_file.h"
#include "scenebuild/scene_builder.h"
#include "sound/wav_writer.h"

namespace {

using scenebuild::constant;
using scenebuild::keyed;
using scenebuild::MaterialSettings;
using ts3d::color;
using ts3d::quat;
using ts3d::vect3;

constexpr float kPi = 3.14159265f;
constexpr float kSeconds = 12.0f;  // the length of the flight; the lens follows it

// An image of size x size pixels from a colour function of (x, y) in 0..1.
template <class Colour>
std::vector<uint8_t> pngOf(int width, int height, Colour colourAt) {
  std::vector<uint32_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] =
          colourAt((static_cast<float>(x) + 0.5f) / static_cast<float>(width),
                   (static_cast<float>(y) + 0.5f) / static_cast<float>(height));
  return platform::encodePng(width, height, pixels.data(), width * 4);
}

uint32_t rgb(float r, float g, float b) {
  const auto byte = [](float v) { return static_cast<uint32_t>(std::fmin(std::fmax(v, 0.0f), 1.0f) * 255.0f + 0.5f); };
  return 0xff000000u | (byte(r) << 16) | (byte(g) << 8) | byte(b);
}

// A turn about z through `turns` whole turns over the project, in quarter-turn keys so that
// the shorter-arc interpolation goes the intended way.
ts3d::controller::ControllerBase<quat>* spin(float turns, float phase = 0.0f) {
  auto* track = new ts3d::controller::Linear<quat>;
  const int keys = static_cast<int>(std::ceil(std::fabs(turns) * 4.0f)) + 1;
  for (int k = 0; k < keys; ++k) {
    const float share = static_cast<float>(k) / static_cast<float>(keys - 1);
    quat q;
    const vect3 up(0, 0, 1);
    D3DXQuaternionRotationAxis(&q, &up, phase + share * turns * 2.0f * kPi);
    track->addKey(ts3d::controller::LinearKey<quat>(share * kSeconds, q));
  }
  return track;
}

// A circle of radius r at height z, `turns` times round over the project.
ts3d::controller::ControllerBase<vect3>* circle(float r, float z, float turns, float phase) {
  auto* track = new ts3d::controller::Linear<vect3>;
  const int keys = static_cast<int>(std::fabs(turns) * 24.0f) + 1;
  for (int k = 0; k < keys; ++k) {
    const float share = static_cast<float>(k) / static_cast<float>(keys - 1);
    const float a = phase + share * turns * 2.0f * kPi;
    track->addKey(ts3d::controller::LinearKey<vect3>(share * kSeconds, vect3(r * std::cos(a), r * std::sin(a), z)));
  }
  return track;
}

MaterialSettings lit(const color& diffuse, float power = 0.0f) {
  MaterialSettings settings;
  settings.diffuse = diffuse;
  settings.ambient = color(diffuse.r * 0.25f, diffuse.g * 0.25f, diffuse.b * 0.25f, 1);
  settings.specular = color(0.6f, 0.6f, 0.6f, 1);
  settings.power = power;
  return settings;
}

// The sky box's six faces, +Z, -Z, -X, +X, -Y, +Y: a deep blue zenith, a dusky ground, and
// sides that pale from the zenith's blue at their top row to the haze of the horizon.
constexpr float kHaze[3] = {0.72f, 0.62f, 0.70f};

std::array<std::vector<uint8_t>, 6> skyFaces() {
  const auto side = pngOf(64, 64, [](float, float v) {
    const float t = v * v;
    return rgb(0.12f + t * (kHaze[0] - 0.12f), 0.2f + t * (kHaze[1] - 0.2f), 0.45f + t * (kHaze[2] - 0.45f));
  });
  return {pngOf(64, 64, [](float, float) { return rgb(0.12f, 0.2f, 0.45f); }),
          pngOf(64, 64, [](float, float) { return rgb(0.3f, 0.25f, 0.3f); }),
          side, side, side, side};
}

// A figure of a stretched sphere, five units tall, standing at `place` and swaying from its
// waist: the lower half follows the base bone, the upper half the waist bone, which rocks
// about x; the vertices between blend the two.
void addSwayingFigure(scenebuild::SceneBuilder& builder, const vect3& place) {
  constexpr float kWaist = 2.5f;
  scenebuild::Shape body = scenebuild::sphere(1.0f, 20, 24);
  for (size_t i = 0; i < body.positions.size(); ++i) {
    vect3& p = body.positions[i];
    p = vect3(p.x * 0.6f, p.y * 0.6f, (p.z + 1.0f) * kWaist);
    vect3& n = body.normals[i];
    n = vect3(n.x / 0.6f, n.y / 0.6f, n.z / kWaist);
    D3DXVec3Normalize(&n, &n);
  }
  std::vector<ts3d::VertexWeight> weights;
  for (const vect3& p : body.positions) {
    const float upper = std::fmin(std::fmax((p.z - (kWaist - 0.6f)) / 1.2f, 0.0f), 1.0f);
    weights.push_back({{0, 1, 0, 0}, {1.0f - upper, upper, 0.0f}});
  }
  ts3d::HierarchyNode* base = builder.node(builder.root(), place);
  auto* rock = new ts3d::controller::Linear<quat>;
  const vect3 across(1, 0, 0);
  for (int k = 0; k <= 8; ++k) {
    quat q;
    D3DXQuaternionRotationAxis(&q, &across, (k % 2 ? 0.55f : -0.55f) * (k % 4 == 0 ? 0.0f : 1.0f));
    rock->addKey(ts3d::controller::LinearKey<quat>(static_cast<float>(k) * kSeconds / 8.0f, q));
  }
  ts3d::HierarchyNode* waist = builder.node(base, constant(vect3(0, 0, kWaist)), rock);
  ts3d::matrix atBase, atWaist;
  D3DXMatrixIdentity(&atBase);
  D3DXMatrixTranslation(&atWaist, 0, 0, kWaist);
  builder.skinnedMesh(body, builder.material(lit(color(0.55f, 0.85f, 0.8f, 1), 25.0f)), {base, waist},
                      {atBase, atWaist}, std::move(weights));
}

// Five glowing lanterns circling above the carousel, drawn as camera-facing quads that add a
// soft warm disc to what lies behind them.
void addLanterns(scenebuild::SceneBuilder& builder) {
  ts3d::Texture* disc = builder.texture(pngOf(64, 64, [](float u, float v) {
    const float d = std::sqrt((u - 0.5f) * (u - 0.5f) + (v - 0.5f) * (v - 0.5f)) * 2.0f;
    const float glow = std::fmax(0.0f, 1.0f - d);
    return rgb(glow, glow * 0.8f, glow * glow * 0.5f);
  }));
  MaterialSettings settings;
  settings.lighting = false;
  settings.additive = true;
  settings.order = 3;
  ts3d::MaterialSimple* glow = builder.material(settings);
  builder.stage(glow, disc);
  std::vector<std::pair<ts3d::HierarchyNode*, float>> lanterns;
  for (int i = 0; i < 5; ++i)
    lanterns.push_back({builder.node(builder.root(), circle(11.0f, 5.5f + 0.5f * static_cast<float>(i % 2), -0.75f,
                                                            static_cast<float>(i) * 2.0f * kPi / 5.0f)),
                        1.6f});
  builder.billboards(glow, lanterns);
}

void buildScene(scenebuild::SceneBuilder& builder) {
  ts3d::HierarchyNode* root = builder.root();

  // Textures: a checkered floor and a striped band.
  ts3d::Texture* checker = builder.texture(pngOf(128, 128, [](float u, float v) {
    const bool dark = (static_cast<int>(u * 8.0f) + static_cast<int>(v * 8.0f)) % 2 != 0;
    return dark ? rgb(0.25f, 0.27f, 0.35f) : rgb(0.85f, 0.85f, 0.8f);
  }));
  ts3d::Texture* stripes = builder.texture(pngOf(64, 64, [](float u, float) {
    const float s = 0.5f + 0.5f * std::sin(u * 6.0f * kPi);
    return rgb(1.0f, 0.55f + 0.45f * s, 0.2f + 0.6f * s);
  }));

  ts3d::MaterialSimple* floor = builder.material(lit(color(1, 1, 1, 1)));
  builder.stage(floor, checker);
  builder.mesh(builder.node(root, vect3(0, 0, 0)), scenebuild::plane(40, 40, 8, 8), floor);

  // The carousel turns once over the project; its six riders spin on their own.
  ts3d::HierarchyNode* carousel = builder.node(root, constant(vect3(0, 0, 0)), spin(1.0f));
  ts3d::MaterialSimple* banded = builder.material(lit(color(1, 1, 1, 1), 30.0f));
  builder.stage(banded, stripes, keyed<float>({{0.0f, 0.0f}, {kSeconds, 3.0f}}));
  const color colours[3] = {color(0.9f, 0.25f, 0.2f, 1), color(0.25f, 0.8f, 0.35f, 1), color(0.3f, 0.45f, 1.0f, 1)};
  for (int i = 0; i < 6; ++i) {
    const float a = static_cast<float>(i) * kPi / 3.0f;
    ts3d::HierarchyNode* rider =
        builder.node(carousel, constant(vect3(6.0f * std::cos(a), 6.0f * std::sin(a), 1.6f)),
                     spin(i % 2 ? 2.0f : -3.0f, a));
    ts3d::MaterialSimple* material = i % 3 == 1 ? banded : builder.material(lit(colours[i % 3], 20.0f));
    if (i % 3 == 0)
      builder.mesh(rider, scenebuild::sphere(1.2f, 24, 16), material);
    else if (i % 3 == 1)
      builder.mesh(rider, scenebuild::torus(1.1f, 0.45f, 32, 16), material);
    else
      builder.mesh(rider, scenebuild::box(1.8f, 1.8f, 1.8f), material);
  }

  // The hub: a pillar with an orb bobbing above it.
  ts3d::HierarchyNode* hub = builder.node(root, vect3(0, 0, 1.5f));
  builder.mesh(hub, scenebuild::box(1.2f, 1.2f, 3.0f), builder.material(lit(color(0.8f, 0.8f, 0.85f, 1), 10.0f)));
  ts3d::HierarchyNode* orb = builder.node(
      hub, keyed<vect3>({{0.0f, vect3(0, 0, 2.6f)}, {3.0f, vect3(0, 0, 3.6f)}, {6.0f, vect3(0, 0, 2.6f)},
                         {9.0f, vect3(0, 0, 3.6f)}, {12.0f, vect3(0, 0, 2.6f)}}));
  builder.mesh(orb, scenebuild::sphere(0.9f, 24, 16), builder.material(lit(color(1.0f, 0.85f, 0.3f, 1), 40.0f)));

  // A light circling twice, shown by a small glowing ball at its place.
  ts3d::HierarchyNode* lamp = builder.node(root, circle(9.0f, 7.0f, 2.0f, 0.5f));
  builder.light(lamp, color(1, 0.95f, 0.85f, 1), 200.0f, color(0.15f, 0.15f, 0.18f, 1));
  MaterialSettings glow;
  glow.diffuse = color(0, 0, 0, 1);
  glow.ambient = color(0, 0, 0, 1);
  glow.emissive = color(1, 0.95f, 0.7f, 1);
  builder.mesh(lamp, scenebuild::sphere(0.3f, 12, 8), builder.material(glow));

  // A pool beside the carousel mirrors what stands over it. (A mirror draws the scene itself,
  // so the shadows live in the lens scene.)
  MaterialSettings water = lit(color(0.3f, 0.5f, 0.7f, 1), 60.0f);
  water.diffuse.a = 0.35f;
  builder.mirror({builder.mesh(builder.node(root, vect3(0, -11.0f, 0.05f)), scenebuild::plane(12, 6, 1, 1),
                               builder.material(water))});

  addSwayingFigure(builder, vect3(-9.0f, -5.0f, 0.0f));
  addLanterns(builder);
  builder.skyBox(builder.cubeTexture(skyFaces()));
  builder.fog(color(kHaze[0], kHaze[1], kHaze[2], 1), 0.05f, 0.35f);

  // The camera flies round and through, always aimed at the hub's middle.
  ts3d::HierarchyNode* focus = builder.node(root, vect3(0, 0, 2.0f));
  ts3d::HierarchyNode* eye = builder.node(
      root, keyed<vect3>({{0.0f, vect3(0, -24, 9)},
                          {3.0f, vect3(15, -12, 5)},
                          {6.0f, vect3(13, 9, 3)},
                          {9.0f, vect3(-7, 13, 6)},
                          {12.0f, vect3(-17, -6, 10)}}));
  builder.aim(eye, focus);
  builder.camera(eye, 0.9f, 0.5f, 300.0f);
}

// A row of pillars going away from the camera; the lens's focus travels from the nearest
// (6 units away) to the farthest (42) and back over 4 seconds.
void buildLensScene(scenebuild::SceneBuilder& builder) {
  ts3d::HierarchyNode* root = builder.root();
  ts3d::Texture* tiles = builder.texture(pngOf(64, 64, [](float u, float v) {
    const bool dark = (static_cast<int>(u * 4.0f) + static_cast<int>(v * 4.0f)) % 2 != 0;
    return dark ? rgb(0.2f, 0.22f, 0.25f) : rgb(0.75f, 0.72f, 0.65f);
  }));
  ts3d::MaterialSimple* floor = builder.material(lit(color(1, 1, 1, 1)));
  builder.stage(floor, tiles);
  builder.mesh(builder.node(root, vect3(0, 24, 0)), scenebuild::plane(16, 60, 4, 15), floor);
  const color colours[3] = {color(0.95f, 0.3f, 0.25f, 1), color(0.3f, 0.85f, 0.4f, 1), color(0.35f, 0.5f, 1.0f, 1)};
  builder.background(color(0.35f, 0.4f, 0.55f, 1));
  // The light swings from side to side above the row, and each pillar's shadow sweeps the floor.
  ts3d::LightOmni* light = builder.light(
      builder.node(root, keyed<vect3>({{0.0f, vect3(-7, 8, 10)}, {2.0f, vect3(7, 14, 10)}, {4.0f, vect3(-7, 8, 10)}})),
      color(1, 0.95f, 0.9f, 1), 200.0f, color(0.2f, 0.2f, 0.22f, 1));
  for (int i = 0; i < 7; ++i) {
    const float side = i % 2 ? 1.8f : -1.8f;
    builder.shadow(light, builder.mesh(builder.node(root, vect3(side, 4.0f + 6.0f * static_cast<float>(i), 1.5f)),
                                       scenebuild::box(1.2f, 1.2f, 3.0f), builder.material(lit(colours[i % 3], 20.0f))));
  }
  ts3d::HierarchyNode* eye = builder.node(root, vect3(0, -2, 2.2f));
  builder.aim(eye, builder.node(root, vect3(0, 40, 1.5f)));
  ts3d::CameraSimple* lens = builder.camera(eye, 0.7f, 0.5f, 200.0f);
  builder.depthOfField(lens, nullptr, keyed<float>({{0.0f, 6.0f}, {2.0f, 42.0f}, {4.0f, 6.0f}}));
}

// The channel grade's curves, one row each, each channel its own curve of the level x:
// plain, warm (red lifted, blue lowered), cold, and inverted.
std::vector<uint8_t> gradeImage() {
  return pngOf(256, 4, [](float x, float v) {
    switch (static_cast<int>(v * 4.0f)) {
      case 0: return rgb(x, x, x);
      case 1: return rgb(std::sqrt(x), x, x * x);
      case 2: return rgb(x * x, x, std::sqrt(x));
      default: return rgb(1.0f - x, 1.0f - x, 1.0f - x);
    }
  });
}

// A panel for the bitmap layer: a deep blue plate with warm rings, framed.
std::vector<uint8_t> titleImage() {
  return pngOf(256, 128, [](float u, float v) {
    const float dx = (u - 0.5f) * 2.0f, dy = (v - 0.5f);
    const float ring = 0.5f + 0.5f * std::cos(std::sqrt(dx * dx + dy * dy) * 28.0f);
    const bool frame = u < 0.03f || u > 0.97f || v < 0.06f || v > 0.94f;
    if (frame) return rgb(1.0f, 0.85f, 0.4f);
    return rgb(0.1f + 0.8f * ring, 0.15f + 0.4f * ring, 0.45f - 0.2f * ring);
  });
}

// The timeline: the flight, a flash into its graded stretch, a cross-fade into the lens;
// filters over them; the bitmap fading in and out over it all, a fade from black and a fade
// to black.
// A post-process stays in its scene's chain for the whole project, so the flight's blurred
// and graded stretches draw copies of the scene that carry them, in step with the plain one.
// The copies are files of their own: an exported animation keeps one scene per path.

// An effect that shows the scene of data item `data` from `start` for `length` seconds, its
// scene time going on from `sceneStart` as fast as the host's (scene time is the parameter
// times 100).
std::string sceneStretch(const char* name, const char* data, double start, double length, double sceneStart) {
  char text[400];
  std::snprintf(text, sizeof text,
                "    <effect type=\"fx_simple_scene\" name=\"%s\" start=\"%g\" length=\"%g\">\n"
                "      <param name=\"data\" value=\"%s\"/>\n"
                "      <param name=\"time\"><key t=\"0\" value=\"%g\"/><key t=\"1\" value=\"%g\"/></param>\n"
                "    </effect>\n",
                name, start, length, data, sceneStart / 100.0, (sceneStart + length) / 100.0);
  return text;
}

// A stretch of the flight or of one of its copies, on the flight's line.
std::string flight(const char* name, const char* data, double start, double length) {
  return sceneStretch(name, data, start, length, start);
}

// The flight between the transitions' heads and tails: it is input 1 of the flash into its
// graded stretch, which is input 1 of the cross-fade into the lens. It is not drawn while the
// blurred stretch (2.5 to 5 s) and the graded one after the flash (7.4 to 9.5 s) clear the
// frame and draw their copies, which would erase it.
std::string transitionLayer() {
  std::string text = R"(  <layer>
    <transition type="fx_trans_blend" name="into the lens" start="11" length="1">
      <param name="progress"><key t="0" value="0"/><key t="1" value="1"/></param>
      <input><layer>
        <transition type="fx_trans_white" name="flash into the grade" start="6.6" length="0.8">
          <param name="progress"><key t="0" value="0"/><key t="1" value="1"/></param>
          <input><layer>
)";
  text += flight("flight", "scene", 0, 2.5) + flight("flight", "scene", 5, 2.4) + flight("flight", "scene", 9.5, 2.5);
  text += "          </layer></input>\n          <input><layer>\n";
  text += flight("graded flight", "graded", 7, 2.5);
  text += "          </layer></input>\n        </transition>\n      </layer></input>\n      <input><layer>\n";
  text += sceneStretch("lens", "lens", 11, 5, 0);
  return text + "      </layer></input>\n    </transition>\n  </layer>\n";
}

// The blurred and graded copies of the flight, and the post-processes in their chains.
std::string postLayer() {
  return "  <layer>\n" + flight("bloomed flight", "bloomed", 2.5, 2.5) + R"(    <effect type="fx_sr_gaussian" name="bloom" start="2.5" length="2.5">
      <param name="scene" value="bloomed"/>
      <param name="radius"><key t="0" value="0.3"/><key t="0.5" value="1"/><key t="1" value="0.3"/></param>
    </effect>
    <effect type="fx_sr_channels" name="grade" start="7" length="2.5">
      <param name="scene" value="graded"/>
      <param name="lookup" value="grade"/>
      <param name="offset" value="0.5"/>
      <param name="row"><key t="0" value="0.125"/><key t="0.3" value="0.375"/><key t="0.6" value="0.625"/><key t="1" value="0.125"/></param>
    </effect>
  </layer>
)";
}

const char* const kFilterLayer = R"(  <layer>
    <effect type="fx_render_bw" name="black and white" start="5" length="1.6">
      <param name="weight" value="0.333"/>
    </effect>
    <effect type="fx_render_rgb" name="colour split" start="9.5" length="1.5">
      <param name="shift"><key t="0" value="0"/><key t="0.5" value="0.02"/><key t="1" value="0"/></param>
    </effect>
    <effect type="fx_blur_radial" name="radial blur" start="12.5" length="2">
      <param name="passes" value="8"/>
      <param name="spread"><key t="0" value="0.03"/><key t="0.5" value="0.12"/><key t="1" value="0.03"/></param>
      <param name="destBlend" value="2"/>
      <param name="srcBlend" value="3"/>
    </effect>
  </layer>
)";

const char* const kOverLayers = R"(  <layer>
    <effect type="fx_simple_bmp" name="title" start="1.5" length="7">
      <param name="data" value="title"/>
      <param name="top" value="0.02"/>
      <param name="left" value="0.02"/>
      <param name="bottom" value="0.148"/>
      <param name="right" value="0.276"/>
      <param name="alpha"><key t="0" value="0"/><key t="0.15" value="1"/><key t="0.85" value="1"/><key t="1" value="0"/></param>
      <param name="destBlend" value="2"/>
      <param name="srcBlend" value="3"/>
    </effect>
  </layer>
  <layer>
    <effect type="fx_simple_color" name="fade in" start="0" length="1.5">
      <param name="alpha"><key t="0" value="1"/><key t="1" value="0"/></param>
      <param name="destBlend" value="2"/>
      <param name="srcBlend" value="3"/>
    </effect>
    <effect type="fx_simple_color" name="fade out" start="14.5" length="1.5">
      <param name="alpha"><key t="0" value="0"/><key t="1" value="1"/></param>
      <param name="destBlend" value="2"/>
      <param name="srcBlend" value="3"/>
    </effect>
  </layer>
)";

// The soundtrack: sixteen seconds of a tune at two beats a second, a plucked melody over a bass
// note each bar, synthesized as 44.1 kHz stereo.
bool writeTune(const std::string& path) {
  constexpr int kRate = 44100, kBeats = 32;
  constexpr float kBeat = 0.5f, kLength = kBeats * kBeat;
  // Semitones above A 220 Hz, one per beat, on a pentatonic scale; -1 rests.
  constexpr int kMelody[16] = {3, 7, 10, 15, 12, 10, 7, -1, 5, 8, 12, 17, 15, 12, 10, 7};
  constexpr int kBass[4] = {-9, -4, -7, -2};  // one per bar of four beats
  const auto tone = [](int semitones, float t, float decay) {
    const float frequency = 220.0f * std::pow(2.0f, static_cast<float>(semitones) / 12.0f);
    return std::sin(2.0f * kPi * frequency * t) * std::exp(-decay * t);
  };
  std::vector<int16_t> samples;
  const auto frames = static_cast<int>(kLength * kRate);
  for (int i = 0; i < frames; ++i) {
    const float t = static_cast<float>(i) / kRate;
    const int beat = static_cast<int>(t / kBeat);
    const float inBeat = t - static_cast<float>(beat) * kBeat, inBar = t - static_cast<float>(beat / 4 * 4) * kBeat;
    const int note = kMelody[beat % 16];
    const float melody = note < 0 ? 0.0f : tone(note, inBeat, 6.0f);
    const float bass = tone(kBass[beat / 4 % 4], inBar, 1.5f);
    // A little of the melody leans left and the bass right; a fade at both ends.
    const float fade = std::fmin(std::fmin(t / 0.5f, (kLength - t) / 1.5f), 1.0f);
    samples.push_back(static_cast<int16_t>((0.30f * melody + 0.20f * bass) * fade * 32767.0f));
    samples.push_back(static_cast<int16_t>((0.22f * melody + 0.28f * bass) * fade * 32767.0f));
  }
  return tssound::writeWav(path, samples, 2, kRate);
}

// The whole project, or its first scene alone.
std::string projectText(bool whole) {
  std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<project>\n";
  text += "  <data name=\"scene\" path=\"default.ts2\"/>\n";
  if (whole) {
    text += "  <soundtrack path=\"tune.wav\"/>\n";
    text += "  <data name=\"bloomed\" path=\"bloomed.ts2\"/>\n  <data name=\"graded\" path=\"graded.ts2\"/>\n";
    text += "  <data name=\"lens\" path=\"lens.ts2\"/>\n  <data name=\"grade\" path=\"grade.png\"/>\n";
    text += "  <data name=\"title\" path=\"title.png\"/>\n";
  }
  if (whole)
    text += transitionLayer() + postLayer() + kFilterLayer + kOverLayers;
  else
    text += "  <layer>\n" + flight("flight", "scene", 0, kSeconds) + "  </layer>\n";
  return text + "</project>\n";
}

bool writeFile(const std::string& path, const std::string& text) {
  return platform::writeWholeFile(path, text.data(), text.size());
}

bool writeBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
  return !bytes.empty() && platform::writeWholeFile(path, bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || std::string(argv[1]) == "--help") {
    std::fprintf(argc == 2 ? stdout : stderr,
                 "usage: make_default_project FOLDER\n"
                 "Writes the default project into FOLDER: default.ts2 and lens.ts2 (the scenes),\n"
                 "bloomed.ts2 and graded.ts2 (copies of the first for its post-processes),\n"
                 "title.png (the bitmap), grade.png (the colour grade's curves), tune.wav (the\n"
                 "soundtrack), default.xml (the project that plays them) and scene_only.xml (its\n"
                 "first scene alone).\n");
    return argc == 2 ? 0 : 2;
  }
  const std::string folder = argv[1];
  CreateDirectoryA(folder.c_str(), nullptr);
  for (const auto& [name, build] : {std::pair<const char*, void (*)(scenebuild::SceneBuilder&)>{"default.ts2", buildScene},
                                     {"bloomed.ts2", buildScene}, {"graded.ts2", buildScene},
                                     {"lens.ts2", buildLensScene}}) {
    scenebuild::SceneBuilder builder;
    build(builder);
    std::string error;
    if (!builder.write(folder + "/" + name, 1, &error)) {
      std::fprintf(stderr, "make_default_project: %s\n", error.c_str());
      return 1;
    }
  }
  for (const auto& [name, image] : {std::pair<const char*, std::vector<uint8_t>>{"title.png", titleImage()},
                                    {"grade.png", gradeImage()}}) {
    if (!writeBytes(folder + "/" + name, image)) {
      std::fprintf(stderr, "make_default_project: cannot write \"%s/%s\"\n", folder.c_str(), name);
      return 1;
    }
  }
  if (!writeTune(folder + "/tune.wav")) {
    std::fprintf(stderr, "make_default_project: cannot write \"%s/tune.wav\"\n", folder.c_str());
    return 1;
  }
  for (const auto& [name, whole] : {std::pair<const char*, bool>{"default.xml", true}, {"scene_only.xml", false}}) {
    if (!writeFile(folder + "/" + name, projectText(whole))) {
      std::fprintf(stderr, "make_default_project: cannot write \"%s/%s\"\n", folder.c_str(), name);
      return 1;
    }
  }
  std::printf("default project: %s/default.xml\n", folder.c_str());
  return 0;
}

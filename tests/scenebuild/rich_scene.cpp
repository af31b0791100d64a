#include "tests/scenebuild/rich_scene.h"

#include <cmath>

#include "geometry/geometry_composite.h"
#include "gfxhelper/dds.h"
#include "tests/gfxhelper/test_images.h"

namespace tstest {

using scenebuild::constant;
using scenebuild::keyed;
using scenebuild::MaterialSettings;
using ts3d::color;
using ts3d::vect3;

std::vector<uint8_t> redGreenPng() {
  std::vector<uint8_t> rgb;
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) {
      const bool red = x < 2;
      rgb.insert(rgb.end(), {static_cast<uint8_t>(red ? 255 : 0), static_cast<uint8_t>(red ? 0 : 255), 0});
    }
  return encodePng(4, 2, 3, rgb.data());
}

std::vector<uint8_t> cubeDds(uint32_t edge, const std::vector<uint32_t>& texels) {
  DdsHeader header = ddsMasks(edge, edge, 32, 0xff0000, 0xff00, 0xff, 0xff000000);
  header.caps2 = gfximage::dds::kCaps2CubeMap | gfximage::dds::kCaps2AllFaces;
  Bytes data;
  for (uint32_t texel : texels) appendLe32(&data, texel);
  return ddsFile(header, data);
}

MaterialSettings flat(const color& colour, float alpha) {
  MaterialSettings settings;
  settings.diffuse = color(0, 0, 0, alpha);
  settings.ambient = color(0, 0, 0, 1);
  settings.emissive = colour;
  return settings;
}

void buildRichScene(scenebuild::SceneBuilder& builder) {
  ts3d::HierarchyNode* root = builder.root();
  builder.camera(builder.node(root, vect3(0, 0, 10)), 1.0f, 1.0f, 100.0f);
  ts3d::LightOmni* light = builder.light(builder.node(root, vect3(30, 0, 20)), color(1, 1, 1, 1), 1000.0f);
  light->specularController->value = RichScene::kHighlight;

  MaterialSettings white;
  white.ambient = color(0, 0, 0, 1);
  builder.mesh(builder.node(root, vect3(0, 0, 0)), scenebuild::sphere(2.0f, 24, 12), builder.material(white));

  MaterialSettings unlit;
  unlit.lighting = false;
  ts3d::MaterialSimple* textured = builder.material(unlit);
  builder.stage(textured, builder.texture(redGreenPng()), keyed<float>({{0.0f, 0.0f}, {1.0f, 0.5f}}));
  builder.mesh(builder.node(root, vect3(-5, 3, 0)), scenebuild::plane(3, 3, 1, 1), textured);

  // Half-transparent red, then yellow, on one node in front of the child box below (at time 0).
  // Listed before the box, they are drawn after it: blended meshes come last, far to near, and of
  // two at the same distance the later one first.
  ts3d::HierarchyNode* pane = builder.node(root, vect3(2.1f, -1.4f, 3));
  for (const color& tint : {color(1, 0, 0, 1), color(1, 1, 0, 1)}) {
    MaterialSettings glass = flat(tint, 0.5f);
    glass.order = 3;
    glass.alphaBlend = true;
    builder.mesh(pane, scenebuild::plane(0.5f, 0.5f, 1, 1), builder.material(glass), false);
  }

  // The parent slides from x = 3 to x = 5 at the bottom, turned a quarter about +Z: the child
  // box, 1 along the parent's +X, stands 1 above it.
  const float half = std::sqrt(0.5f);
  ts3d::HierarchyNode* parent = builder.node(root, keyed<vect3>({{0.0f, vect3(3, -3, 0)}, {1.0f, vect3(5, -3, 0)}}),
                                             constant(ts3d::quat(0, 0, half, half)));
  ts3d::MaterialSimple* cyan = builder.material(flat(color(0, 1, 1, 1), 1.0f));
  builder.mesh(builder.node(parent, vect3(1, 0, 0)), scenebuild::box(1, 1, 1), cyan, false);

  // A node turning towards the textured quad, carrying a long box: it stands upright.
  ts3d::HierarchyNode* watcher = builder.node(root, vect3(-4, -3, 0));
  builder.aim(watcher, root->children[3], constant(0.25f));
  builder.mesh(watcher, scenebuild::box(0.5f, 0.5f, 2.5f), cyan, false);

  // A box cut in two groups of faces: composite geometry under one material.
  ts3d::MeshSimple* split = builder.mesh(builder.node(root, vect3(5, 3, -2)), scenebuild::box(1, 1, 1), cyan);
  auto* whole = static_cast<ts3d::GeometrySimple*>(split->geometry());
  std::vector<uint32_t> groups;
  for (uint32_t face = 0; face < whole->faceCount(); ++face) groups.push_back(face % 2);
  split->setGeometry(whole->split(groups, 2));
  delete whole;

  // Above the sphere, two quads of one mesh, red by id 4 and green by id 9 of one table; a third
  // child names an id the table lacks and draws with the table as a whole.
  ts3d::MaterialComposite* table = builder.compositeMaterial(
      {{9, builder.material(flat(color(0, 1, 0, 1)))}, {4, builder.material(flat(color(1, 0, 0, 1)))}});
  const scenebuild::Shape tile = scenebuild::plane(1, 1, 1, 1);
  builder.compositeMesh(builder.node(root, vect3(0, 3.6f, 0)),
                        {{tile, vect3(-1.1f, 0, 0), 4}, {tile, vect3(0, 0, 0), 7}, {tile, vect3(1.1f, 0, 0), 9}}, table,
                        false);

  // A half-transparent mirror to the upper right, reflecting what stands in front of it.
  builder.mirror({builder.mesh(builder.node(root, vect3(3, 3.6f, -1)), scenebuild::plane(2, 1.5f, 1, 1),
                               builder.material(flat(color(0.6f, 0.6f, 1, 1), 0.3f)), false)});

  // Beyond the far plane: never queued, but it casts a shadow, further away still.
  builder.shadow(light, builder.mesh(builder.node(root, vect3(0, 0, -150)), scenebuild::box(1, 1, 1), cyan, false));

  // Every material's ambient colour is black, and the fog begins at the far plane: neither
  // changes a pixel. The sky box is the blue of the clear colour.
  builder.ambient(color(0.5f, 0.5f, 0.5f, 1));
  builder.fog(color(1, 1, 1, 1), -1.0f, 0.0f);
  const std::vector<uint8_t> blue = encodePng(1, 1, 3, std::vector<uint8_t>{0, 0, 255}.data());
  builder.skyBox(builder.cubeTexture({blue, blue, blue, blue, blue, blue}));
  builder.cubeTexture(cubeDds(1, {0xffff0000, 0xff00ff00, 0xff0000ff, 0xffffff00, 0xff00ffff, 0xffff00ff}));
  builder.billboards(nullptr, {{builder.node(root, vect3(0, 3.5f, 0)), 1.0f}});

  // A magenta arm below the sphere, from the shoulder at (-1.5, -3.5) past the elbow at
  // (0, -3.5) to the hand; the forearm turns a quarter down by time 1. Vertices left of the
  // elbow follow the upper arm, those right of it the forearm (by the fourth bone's remaining
  // weight), and those on it both by halves.
  ts3d::HierarchyNode* shoulder = builder.node(root, vect3(-1.5f, -3.5f, 0));
  ts3d::HierarchyNode* elbow = builder.node(
      shoulder, constant(vect3(1.5f, 0, 0)),
      keyed<ts3d::quat>({{0.0f, ts3d::quat(0, 0, 0, 1)}, {1.0f, ts3d::quat(0, 0, -half, half)}}));
  const scenebuild::Shape arm = scenebuild::plane(3, 0.5f, 6, 1);
  const ts3d::VertexWeight upper{{0, 0, 0, 0}, {1, 0, 0}}, fore{{0, 0, 0, 1}, {0, 0, 0}}, halves{{0, 1, 0, 0}, {0.5f, 0.5f, 0}};
  std::vector<ts3d::VertexWeight> weights;
  for (const vect3& p : arm.positions) weights.push_back(p.x < 0 ? upper : p.x > 0 ? fore : halves);
  ts3d::matrix atShoulder, atElbow;
  D3DXMatrixTranslation(&atShoulder, -1.5f, 0, 0);
  D3DXMatrixIdentity(&atElbow);
  builder.skinnedMesh(arm, builder.material(flat(color(1, 0, 1, 1))), {shoulder, elbow}, {atShoulder, atElbow},
                      weights);
}

}  // namespace tstest

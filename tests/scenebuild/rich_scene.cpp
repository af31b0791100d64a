#include "tests/scenebuild/rich_scene.h"

#include "geometry/geometry_composite.h"
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

namespace {

// Lit, but only the emissive colour shows: a flat colour whose alpha is the diffuse alpha.
// (Unlit geometry without vertex colours would come out white.)
MaterialSettings flat(const color& colour, float alpha) {
  MaterialSettings settings;
  settings.diffuse = color(0, 0, 0, alpha);
  settings.ambient = color(0, 0, 0, 1);
  settings.emissive = colour;
  return settings;
}

}  // namespace

void buildRichScene(scenebuild::SceneBuilder& builder) {
  ts3d::HierarchyNode* root = builder.root();
  builder.camera(builder.node(root, vect3(0, 0, 10)), 1.0f, 1.0f, 100.0f);
  builder.light(builder.node(root, vect3(30, 0, 20)), color(1, 1, 1, 1), 1000.0f);

  MaterialSettings white;
  white.ambient = color(0, 0, 0, 1);
  builder.mesh(builder.node(root, vect3(0, 0, 0)), scenebuild::sphere(2.0f, 24, 12), builder.material(white));

  MaterialSettings unlit;
  unlit.lighting = false;
  ts3d::MaterialSimple* textured = builder.material(unlit);
  builder.stage(textured, builder.texture(redGreenPng()), keyed<float>({{0.0f, 0.0f}, {1.0f, 0.5f}}));
  builder.mesh(builder.node(root, vect3(-5, 3, 0)), scenebuild::plane(3, 3, 1, 1), textured);

  // The parent slides from x = 3 to x = 5 at the bottom; the child box stands 1 above it.
  ts3d::HierarchyNode* parent = builder.node(root, keyed<vect3>({{0.0f, vect3(3, -3, 0)}, {1.0f, vect3(5, -3, 0)}}));
  ts3d::MaterialSimple* blueMaterial = builder.material(flat(color(0, 0, 1, 1), 1.0f));
  builder.mesh(builder.node(parent, vect3(0, 1, 0)), scenebuild::box(1, 1, 1), blueMaterial, false);

  // A node turning towards the sphere, carrying a small box.
  ts3d::HierarchyNode* watcher = builder.node(root, vect3(-4, -3, 0));
  builder.aim(watcher, root->children[2], constant(0.25f));
  builder.mesh(watcher, scenebuild::box(0.5f, 0.5f, 1.5f), blueMaterial, false);

  // Half-transparent yellow over the sphere's lower right, drawn after the opaque meshes.
  MaterialSettings glass = flat(color(1, 1, 0, 1), 0.5f);
  glass.order = 3;
  glass.alphaBlend = true;
  builder.mesh(builder.node(root, vect3(1.5f, -1.5f, 3)), scenebuild::plane(1, 1, 1, 1), builder.material(glass),
               false);

  // A box cut in two groups of faces: composite geometry under one material.
  ts3d::MeshSimple* split = builder.mesh(builder.node(root, vect3(5, 3, -2)), scenebuild::box(1, 1, 1), blueMaterial);
  auto* whole = static_cast<ts3d::GeometrySimple*>(split->geometry());
  std::vector<uint32_t> groups;
  for (uint32_t face = 0; face < whole->faceCount(); ++face) groups.push_back(face % 2);
  split->setGeometry(whole->split(groups, 2));
  delete whole;
}

}  // namespace tstest

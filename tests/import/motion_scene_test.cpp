#include <gtest/gtest.h>

#include <iterator>

#include "scene/transformation.h"
#include "scenebuild/import/import.h"
#include "scenebuild/import/model_scene.h"
#include "tests/import/gltf_build.h"

namespace {

using ts3d::quat;
using ts3d::vect3;

// The written arm's elbow is at the keyed angles at the key times, and the skinned hand goes
// where the elbow takes it: from (2, 2) about the elbow at (1, 2).
TEST(ImportMotionScene, AKeyedElbowTurnsAndTheSkinnedHandFollowsIt) {
  const vect3 kHands[] = {{2, 2, 0}, {1, 3, 0}, {0, 2, 0}};
  tsimport::Model model;
  std::string error;
  ASSERT_TRUE(tsimport::importBytes(motiontest::glb(motiontest::arm()), tsimport::Format::Gltf, ".",
                                    tsimport::Conversion(), model, error))
      << error;
  scenebuild::SceneBuilder builder;
  EXPECT_NE(tsimport::buildScene(model, builder).line().find("4 animated nodes, 1 skin, 2.00 s of animation"),
            std::string::npos);
  ts3d::HierarchyNode* elbow = builder.root()->children[0]->children[0];
  auto* skinned = static_cast<ts3d::MeshSimple*>(builder.scene()->meshes[0]);
  for (size_t k = 0; k < std::size(kHands); ++k) {
    const auto time = static_cast<float>(k);
    builder.scene()->update(time);
    const ts3d::matrix expected = ts3d::composeMatrix({1, 2, 0}, quat(motiontest::kElbowTurns[k]), {1, 1, 1});
    for (int i = 0; i < 16; ++i) EXPECT_NEAR((*elbow->matrix())[i], expected[i], 1e-5f) << time << " " << i;
    const auto& posed = static_cast<ts3d::GeometrySimple*>(skinned->currentGeometry())->positions;
    ASSERT_EQ(posed.size(), 3u);
    EXPECT_NEAR(posed[0].x, 0.5f, 1e-5f) << time;
    EXPECT_NEAR(posed[1].x, kHands[k].x, 1e-5f) << time;
    EXPECT_NEAR(posed[1].y, kHands[k].y, 1e-5f) << time;
  }
}

}  // namespace
